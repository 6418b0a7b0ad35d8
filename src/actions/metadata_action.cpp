// CMetadataAction: the steps every metadata action takes, in the order the host expects them.
#include "actions/metadata_action.h"

#include "actions/action_failure.h"
#include "actions/action_record.h"
#include "com/bstr.h"
#include "com/com_error.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "platform/event_log_writer.h"

namespace lmk {
namespace {

constexpr std::wstring_view kRenamedText = L"The rating operation renamed \"%s\" to \"%s\".";

HRESULT ReadShort(IDictionary& record, std::wstring_view key, std::int16_t* value) {
  Bstr name(key);
  Variant read;
  LMK_RETURN_IF_FAILED(record.get_Value(name.get(), &read));
  LMK_RETURN_IF_FAILED(read.ChangeType(VT_I2));
  *value = read.ref().iVal;
  return S_OK;
}

HRESULT ReadHost(IDictionary& record, ILumarkoHost** host) {
  Bstr name(L"Plugin.Host");
  Variant read;
  LMK_RETURN_IF_FAILED(record.get_Value(name.get(), &read));
  IUnknown* unknown = nullptr;
  if (read.vt() == VT_UNKNOWN) unknown = read.ref().punkVal;
  if (read.vt() == VT_DISPATCH) unknown = read.ref().pdispVal;
  if (unknown == nullptr) return E_NOINTERFACE;
  return unknown->QueryInterface(IID_ILumarkoHost, reinterpret_cast<void**>(host));
}

HRESULT ReadCookie(IDictionary& record, ULONGLONG* cookie) {
  Bstr name(L"File.InternalCookie");
  Variant read;
  LMK_RETURN_IF_FAILED(record.get_Value(name.get(), &read));
  LMK_RETURN_IF_FAILED(read.ChangeType(VT_UI8));
  *cookie = read.ref().ullVal;
  return S_OK;
}

}  // namespace

HRESULT PutShort(IDictionary& record, std::wstring_view key, std::int16_t value) {
  Bstr name(key);
  Variant stored = Variant::I2(value);
  return record.put_Value(name.get(), stored.ref());
}

std::int16_t SteppedValue(std::int16_t setting, std::int16_t current) {
  if (setting == kOneMore) return current == -1 ? 1 : static_cast<std::int16_t>(current + 1);
  if (setting == kOneLess) return current == 1 ? -1 : static_cast<std::int16_t>(current - 1);
  return setting;
}

HRESULT CMetadataAction::Execute(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  return GuardedCall([&] { return Run(*record); });
}

HRESULT CMetadataAction::Run(IDictionary& record) const {
  std::int16_t current = 0;
  LMK_RETURN_IF_FAILED(ReadShort(record, traits_.key, &current));
  ComPtr<ILumarkoHost> host;
  LMK_RETURN_IF_FAILED(ReadHost(record, &host));
  BOOL inPlace = TRUE;
  if (traits_.usesInPlaceFlag) LMK_RETURN_IF_FAILED(host->IsRatingInPlace(&inPlace));

  // A host that renames files on a write is asked to write even an equal value: the name it
  // gives may be what the rule is after.
  const bool skipEqual = !traits_.usesInPlaceFlag || inPlace != FALSE;
  if (skipEqual && current == value_) return S_OK;
  if (value_ == kOneMore && current >= UpperBound()) return S_OK;
  if (value_ == kOneLess && current < 1) return S_OK;

  if (const HRESULT hr = StartOnFirstFrame(record, UsageEventName()); hr != S_OK) return hr;

  ULONGLONG cookie = 0;
  LMK_RETURN_IF_FAILED(ReadCookie(record, &cookie));
  const std::int16_t value = SteppedValue(value_, current);
  std::wstring name;
  LMK_RETURN_IF_FAILED(ReadRecordText(record, L"File.Name", &name));
  if (name.empty()) return E_FAIL;
  LogEvent(kEventLevelInformation, traits_.logText, name, static_cast<int>(value));

  if (const HRESULT hr = WriteToHost(*host.Get(), cookie, value); FAILED(hr)) {
    // The host's own description names the file and says what to do; without one, ours.
    std::wstring text = TakeErrorDescription();
    if (text.empty()) {
      text = L"Cannot set the " + std::wstring(traits_.what) + L" of \"" + name + L"\" to " +
             std::to_wstring(value) + L".";
    }
    return ReportFailure(E_FAIL, FailureMessage(text, hr));
  }
  LMK_RETURN_IF_FAILED(StoreInRecord(record, value));

  if (inPlace == FALSE) {
    ComPtr<ILumarkoImage> image;
    const LMKIMAGERECORD* file = nullptr;
    LMK_RETURN_IF_FAILED(host->GetImageByCookie(cookie, &image));
    LMK_RETURN_IF_FAILED(image->GetRecord(&file));
    const std::wstring newPath = file->fullPath;
    LMK_RETURN_IF_FAILED(UpdateFilePath(record, newPath));
    LogEvent(kEventLevelInformation, kRenamedText, name, newPath);
  }
  return S_OK;
}

HRESULT CMetadataAction::StoreInRecord(IDictionary& record, std::int16_t value) const {
  return PutShort(record, traits_.key, value);
}

void CMetadataAction::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.I16(value_);
}

std::wstring CMetadataAction::Description() const {
  return L"Set its " + std::wstring(traits_.title) + L" to " + ValueText() + L".";
}

HRESULT CMetadataAction::WriteToHost(ILumarkoHost& host, ULONGLONG cookie,
                                     std::int16_t value) const {
  return (host.*traits_.write)(cookie, value);
}

void CMetadataAction::ExchangeParameters(CParamArchive& archive) {
  std::uint32_t raw = static_cast<std::uint16_t>(value_);
  archive.Choice(traits_.parameter, raw, traits_.words);
  value_ = static_cast<std::int16_t>(static_cast<std::uint16_t>(raw));
}

std::wstring CMetadataAction::ValueText() const {
  if (value_ == kOneMore) return L"one more";
  if (value_ == kOneLess) return L"one less";
  return std::to_wstring(value_);
}

void CMetadataAction::AddNeededKeys(RecordKeySet& keys) const {
  keys.Add(traits_.key);
  AddFileActionKeys(keys);
}

}  // namespace lmk
