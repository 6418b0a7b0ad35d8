// A host for tests that need one but ask it nothing: every question fails with E_NOTIMPL. A
// test's own host derives from it and answers what the test looks at.
#pragma once

#include "com/com.h"
#include "com/com_object.h"
#include "host_api/lumarko_host.h"

namespace lmk::test {

template <typename Derived>
class UnansweringHost : public ComObject<Derived, ILumarkoHost> {
 public:
  HRESULT STDMETHODCALLTYPE IsScanning(BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetImageCount(ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCurrentIndex(ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetLastIndex(ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetSessionInfo(FILETIME*, BSTR*, ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetSessionKeepCopyIndex(ULONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetImagesFolder(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetKeepCopyFolder(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCurrentImage(ILumarkoImage**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetFirstImage(ILumarkoImage**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetImageAt(ULONG, ILumarkoImage**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetNextImage(ILumarkoImage*, ILumarkoImage**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetNextImageOfRange(ILumarkoImage**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetImageByCookie(ULONGLONG, ILumarkoImage**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE IsRatingInPlace(BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetXmpRating(ULONGLONG, SHORT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetXmpLabel(ULONGLONG, SHORT, SHORT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetPhotoshopUrgency(ULONGLONG, SHORT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetLabelNames(DWORD, SHORT, IEnumVARIANT**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE OnFileRenamed(ULONGLONG, LPCWSTR, LPCWSTR) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE OnFileDeleted(ULONGLONG, LPCWSTR) override { return E_NOTIMPL; }
};

}  // namespace lmk::test
