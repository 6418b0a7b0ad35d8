// CImageRecord: an ILumarkoImage that owns its record and texts, for hosts and their test doubles.
#pragma once

#include <deque>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "host_api/lumarko_host.h"

namespace lmk {

/// A text field of the record, e.g. &LMKIMAGERECORD::cameraMake.
using ImageRecordText = LPCWSTR LMKIMAGERECORD::*;

/// Every text field of LMKIMAGERECORD, in declaration order.
std::span<const ImageRecordText> ImageRecordTextFields();

/// Built by the host, then handed out: the host fills numbers through record() and texts through
/// SetText, and must not change either once the object has been given to a plug-in.
class CImageRecord final : public ComObject<CImageRecord, ILumarkoImage> {
 public:
  /// All numbers 0, all texts empty.
  CImageRecord();

  /// The record's number fields, for the host to fill. Text fields must be set with SetText.
  LMKIMAGERECORD& record() noexcept { return record_; }
  const LMKIMAGERECORD& record() const noexcept { return record_; }

  /// Keeps a copy of text and points field at it. Throws ComError(E_OUTOFMEMORY).
  void SetText(ImageRecordText field, std::wstring_view text);

  HRESULT STDMETHODCALLTYPE GetRecord(const LMKIMAGERECORD** ppRecord) override;

 private:
  LMKIMAGERECORD record_{};
  // A deque never moves its elements, so the pointers handed out stay valid.
  std::deque<std::wstring> texts_;
};

}  // namespace lmk
