// FakeRunHost: the in-memory image list and its range.
#include "support/fake_host.h"

#include <cstdio>

#include "com/bstr.h"
#include "com/bstr_out.h"

namespace lmk::test {
namespace {

// A new reference to the image as the interface it is asked for.
HRESULT Handout(ILumarkoImage* image, ILumarkoImage** ppImage) {
  image->AddRef();
  *ppImage = image;
  return S_OK;
}

}  // namespace

FakeRunHost::FakeRunHost(ULONG count) {
  for (ULONG i = 0; i < count; ++i) {
    wchar_t name[64];
    std::swprintf(name, 64, L"/pictures/img%04u.jpg", i);
    AddImage(name);
  }
}

CImageRecord& FakeRunHost::AddImage(const std::wstring& path, USHORT frame) {
  ComPtr<CImageRecord> image = MakeComObject<CImageRecord>();
  const ULONG index = static_cast<ULONG>(images_.size());
  LMKIMAGERECORD& r = image->record();
  r.index = index;
  r.cookie = 0x1000 + index;
  r.size = 1000 + index;
  r.frameNumber = frame;
  r.totalFrames = static_cast<USHORT>(frame + 1);
  r.multiFrames = frame > 0 ? TRUE : FALSE;
  image->SetText(&LMKIMAGERECORD::fullPath, path);
  const size_t dot = path.rfind(L'.');
  image->SetText(&LMKIMAGERECORD::pathNoExt, path.substr(0, dot));
  image->SetText(&LMKIMAGERECORD::extensions, dot == std::wstring::npos ? L"" : path.substr(dot));
  images_.push_back(image);
  return *image.Get();
}

std::vector<ULONG> FakeRunHost::Delivered() const {
  std::lock_guard guard(lock_);
  return delivered_;
}

HRESULT FakeRunHost::Deliver(ULONG index, ILumarkoImage** ppImage) {
  cursor_ = index + 1;
  if (index >= images_.size() || undeliverable.count(index) != 0) return E_FAIL;
  delivered_.push_back(index);
  return Handout(images_[index].Get(), ppImage);
}

HRESULT FakeRunHost::IsScanning(BOOL* pfScanning) {
  if (pfScanning == nullptr) return E_INVALIDARG;
  *pfScanning = scanning;
  return S_OK;
}

HRESULT FakeRunHost::GetImageCount(ULONG* pcImages) {
  if (pcImages == nullptr) return E_INVALIDARG;
  if (failCount) return E_FAIL;
  std::lock_guard guard(lock_);
  *pcImages = static_cast<ULONG>(images_.size());
  return S_OK;
}

HRESULT FakeRunHost::GetCurrentIndex(ULONG* pIndex) {
  if (pIndex == nullptr) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  if (images_.empty()) return E_FAIL;
  *pIndex = currentIndex;
  return S_OK;
}

HRESULT FakeRunHost::GetLastIndex(ULONG* pIndex) {
  if (pIndex == nullptr) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  if (images_.empty()) return E_FAIL;
  *pIndex = static_cast<ULONG>(images_.size() - 1);
  return S_OK;
}

HRESULT FakeRunHost::GetSessionInfo(FILETIME* pftStart, BSTR* pbstrVersion, ULONG* pKeepCopyIndex) {
  if (pftStart == nullptr || pbstrVersion == nullptr || pKeepCopyIndex == nullptr) {
    return E_INVALIDARG;
  }
  *pbstrVersion = nullptr;
  if (failSessionInfo) return E_FAIL;
  *pftStart = sessionStart;
  *pKeepCopyIndex = keepCopyIndex;
  return WriteBstr(version, pbstrVersion);
}

HRESULT FakeRunHost::SetSessionKeepCopyIndex(ULONG index) {
  ++keepCopyWrites;
  storedKeepCopyIndex = index;
  return S_OK;
}

HRESULT FakeRunHost::GetImagesFolder(BSTR* pbstrFolder) {
  return WriteBstr(imagesFolder, pbstrFolder);
}

HRESULT FakeRunHost::GetKeepCopyFolder(BSTR* pbstrFolder) {
  return WriteBstr(keepCopyFolder, pbstrFolder);
}

HRESULT FakeRunHost::GetCurrentImage(ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  std::lock_guard guard(lock_);
  return Deliver(currentIndex, ppImage);
}

HRESULT FakeRunHost::GetFirstImage(ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  std::lock_guard guard(lock_);
  return Deliver(0, ppImage);
}

HRESULT FakeRunHost::GetImageAt(ULONG index, ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  std::lock_guard guard(lock_);
  if (index >= images_.size()) return E_INVALIDARG;
  return Deliver(index, ppImage);
}

HRESULT FakeRunHost::GetNextImage(ILumarkoImage* pImage, ILumarkoImage** ppImage) {
  if (pImage == nullptr || ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  const LMKIMAGERECORD* record = nullptr;
  if (FAILED(pImage->GetRecord(&record))) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  if (record->index + 1 >= images_.size()) return S_FALSE;
  return Deliver(record->index + 1, ppImage);
}

HRESULT FakeRunHost::GetNextImageOfRange(ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  ++nextOfRangeCalls;
  std::lock_guard guard(lock_);
  if (cursor_ >= images_.size()) {
    ++nextOfRangePastEnd;
    return S_FALSE;
  }
  return Deliver(cursor_, ppImage);
}

HRESULT FakeRunHost::GetImageByCookie(ULONGLONG cookie, ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  std::lock_guard guard(lock_);
  for (const auto& image : images_) {
    if (image->record().cookie == cookie) {
      return Handout(image.Get(), ppImage);
    }
  }
  return E_INVALIDARG;
}

HRESULT FakeRunHost::IsRatingInPlace(BOOL* pfInPlace) {
  if (pfInPlace == nullptr) return E_INVALIDARG;
  *pfInPlace = TRUE;
  return S_OK;
}

HRESULT FakeRunHost::SetXmpRating(ULONGLONG, SHORT) { return S_OK; }
HRESULT FakeRunHost::SetXmpLabel(ULONGLONG, SHORT, SHORT) { return S_OK; }
HRESULT FakeRunHost::SetPhotoshopUrgency(ULONGLONG, SHORT) { return S_OK; }
HRESULT FakeRunHost::GetLabelNames(DWORD, SHORT, IEnumVARIANT**) { return E_NOTIMPL; }
HRESULT FakeRunHost::OnFileRenamed(ULONGLONG, LPCWSTR, LPCWSTR) { return S_OK; }
HRESULT FakeRunHost::OnFileDeleted(ULONGLONG, LPCWSTR) { return S_OK; }

}  // namespace lmk::test
