// CFileRecordSource: a standalone host, the run-wide dictionaries and the record builder.
#include "host/file_record_source.h"

#include <utility>

#include "batch/file_record_builder.h"
#include "batch/run_globals.h"
#include "com/com_error.h"
#include "com/com_object.h"
#include "host/picture_file_scanner.h"

namespace lmk {

CFileRecordSource::CFileRecordSource(std::vector<std::wstring> files) : files_(std::move(files)) {
  host_ = MakeComObject<CStandaloneHost>(files_, CPictureFileScanner::CommonFolder(files_));
  globals_ = MakeDictionary();
  attachments_ = MakeDictionary();

  // There is no window here.
  ThrowIfFailed(FillRunGlobals(*host_.Get(), nullptr, *globals_.Get()));

  builder_ = std::make_unique<CFileRecordBuilder>(host_.Get(), globals_.Get(), attachments_.Get());
}

CFileRecordSource::~CFileRecordSource() = default;

HRESULT CFileRecordSource::Build(std::size_t index, IDictionary** out,
                                 std::wstring* problem) const noexcept {
  if (out == nullptr || index >= files_.size()) return E_INVALIDARG;
  *out = nullptr;
  if (problem != nullptr) problem->clear();
  try {
    const ComPtr<CImageRecord> image =
        host_->BuildRecord(files_[index], static_cast<ULONG>(index), problem);
    ComPtr<IDictionary> dictionary;
    switch (builder_->Build(image->record(), dictionary)) {
      case FileRecordStatus::kBuilt:
        *out = dictionary.Detach();
        return S_OK;
      case FileRecordStatus::kMissing:
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
      case FileRecordStatus::kCannotCreate:
      case FileRecordStatus::kCannotFill:
        break;
    }
    return E_FAIL;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT BuildFileRecordForPath(std::wstring_view path, IDictionary** out,
                               std::wstring* problem) noexcept {
  if (out == nullptr) return E_INVALIDARG;
  try {
    const CFileRecordSource source({std::wstring(path)});
    return source.Build(0, out, problem);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

}  // namespace lmk
