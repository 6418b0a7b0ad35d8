// ILumarkoRecordHints: an optional second interface of a host, through which the runner says
// which record values its rules read, so that the host parses only the metadata behind them.
#pragma once

#include "com/com.h"

/// A host that answers QueryInterface for this interface may leave out of its image records
/// the values no named key reads (their fields stay 0 or empty texts). A host without it, or a
/// run that never calls it, delivers every value. Called before the first image is asked for;
/// a later call applies to the images delivered after it.
struct ILumarkoRecordHints : public IUnknown {
  /// names: the record keys the run reads, as the record names them ("Meta.DateTaken",
  /// "Image.Width"); count 0 means every key again. Unknown names are ignored. S_OK;
  /// E_INVALIDARG when names is null and count is not 0.
  virtual HRESULT STDMETHODCALLTYPE SetNeededKeys(ULONG count, const LPCWSTR* names) = 0;

 protected:
  ~ILumarkoRecordHints() = default;
};

LMK_DECLARE_IID(ILumarkoRecordHints, "56989009-49C5-4635-A382-46F16792FD91");

/// {56989009-49C5-4635-A382-46F16792FD91}
inline constexpr IID IID_ILumarkoRecordHints = {
    0x56989009, 0x49C5, 0x4635, {0xA3, 0x82, 0x46, 0xF1, 0x67, 0x92, 0xFD, 0x91}};
