// Cached, converting reads of the per-file record.
#include "templates/record_reader.h"

#include <cmath>
#include <vector>

#include "com/bstr.h"
#include "com/com_ptr.h"
#include "dictionary/idictionary.h"

namespace lmk {
namespace {

constexpr std::wstring_view kNames[] = {
    L"Image.Height",
    L"Image.Width",
    L"Image.BPP",
    L"Image.Index",
    L"Misc.MultiFramesFlag",
    L"Misc.TotalFrames",
    L"Misc.CopiedFlag",
    L"Misc.MarkedForPublishingFlag",
    L"File.HashCode64",
    L"File.PathNoExt",
    L"File.Name",
    L"File.Extensions",
    L"File.DisplayExtensions",
    L"File.Size",
    L"File.CreationTimeFT",
    L"File.LastAccessTimeFT",
    L"File.LastWriteTimeFT",
    L"Meta.DateTakenFT",
    L"App.Version",
    L"App.StartTimeFT",
    L"App.SessionKeepCopyIndex",
    L"Meta.CameraModel",
    L"Meta.Comment",
    L"Meta.Artist",
    L"Meta.Copyright",
    L"Meta.ImageUniqueID",
    L"Meta.CameraSerialNumber",
    L"Meta.IccProfileName",
    L"Meta.LensModel",
    L"Meta.ExposureBias",
    L"Meta.FNumber",
    L"Meta.FocalLength",
    L"Meta.DigitalZoomRatio",
    L"Meta.SubjectDistance",
    L"Meta.FocalLengthInFilm",
    L"Meta.MaxApertureValue",
    L"Meta.ISOSpeed",
    L"Meta.ExposureTime",
    L"Meta.XMP.Rating",
    L"Meta.XMP.Label",
    L"Meta.Photoshop.Urgency",
    L"Meta.Flash",
    L"Meta.LightSource",
    L"Meta.MeteringMode",
    L"Meta.ProgramMode",
    L"Meta.Contrast",
    L"Meta.Saturation",
    L"Meta.Sharpness",
    L"Meta.SubjectDistanceRange",
    L"Meta.SensingMethod",
    L"Meta.ExposureMode",
    L"Meta.WhiteBalance",
    L"Meta.Orientation",
    L"Meta.FileNumber",
    L"Meta.FolderNumber",
};
static_assert(std::size(kNames) == static_cast<size_t>(RecordKey::kCount),
              "one record name per key");

// The names as BSTRs, made once per process: get_Value takes a BSTR, and allocating one per
// read would be most of the cost of a short template.
const std::vector<Bstr>& NameStrings() {
  static const std::vector<Bstr> names = [] {
    std::vector<Bstr> made;
    made.reserve(std::size(kNames));
    for (std::wstring_view name : kNames) made.emplace_back(name);
    return made;
  }();
  return names;
}

bool IsRunValue(RecordKey key) {
  return key == RecordKey::kAppVersion || key == RecordKey::kAppStartTimeFT ||
         key == RecordKey::kSessionKeepCopyIndex;
}

// Reads a name from the globals dictionary the record points to.
bool ReadFromGlobals(IDictionary* record, BSTR name, VARIANT* value) {
  static const Bstr globals_name(L"Plugin.Globals");
  Variant globals;
  if (FAILED(record->get_Value(globals_name.get(), &globals))) return false;
  IUnknown* unknown = nullptr;
  if (globals.vt() == VT_DISPATCH) unknown = globals.ref().pdispVal;
  if (globals.vt() == VT_UNKNOWN) unknown = globals.ref().punkVal;
  if (unknown == nullptr) return false;
  ComPtr<IDictionary> dictionary;
  if (FAILED(unknown->QueryInterface(IidOf<IDictionary>(),
                                     reinterpret_cast<void**>(dictionary.GetAddressOf())))) {
    return false;
  }
  return SUCCEEDED(dictionary->get_Value(name, value));
}

}  // namespace

std::wstring_view RecordKeyName(RecordKey key) { return kNames[static_cast<size_t>(key)]; }

RecordReader::Slot& RecordReader::NewSlot() {
  if (used_inline_ < kInlineSlots) return inline_slots_[used_inline_++].emplace();
  return more_slots_.emplace_back();
}

RecordReader::Slot& RecordReader::Load(RecordKey key) {
  Slot*& found = by_key_[static_cast<size_t>(key)];
  if (found == nullptr) {
    Slot& slot = NewSlot();
    found = &slot;
    if (dictionary_ != nullptr) {
      BSTR name = NameStrings()[static_cast<size_t>(key)].get();
      slot.present = SUCCEEDED(dictionary_->get_Value(name, &slot.value));
      if (!slot.present && IsRunValue(key)) {
        slot.present = ReadFromGlobals(dictionary_, name, &slot.value);
      }
      if (!slot.present) slot.value.Clear();
    }
  }
  return *found;
}

bool RecordReader::Has(RecordKey key) { return Load(key).present; }

int64_t RecordReader::Integer(RecordKey key) {
  const VARIANT& v = Load(key).value.ref();
  switch (v.vt) {
    case VT_I1:
      return v.cVal;
    case VT_I2:
      return v.iVal;
    case VT_I4:
      return v.lVal;
    case VT_INT:
      return v.intVal;
    case VT_I8:
      return v.llVal;
    case VT_UI1:
      return v.bVal;
    case VT_UI2:
      return v.uiVal;
    case VT_UI4:
      return v.ulVal;
    case VT_UINT:
      return v.uintVal;
    case VT_UI8:
      return static_cast<int64_t>(v.ullVal);
    // A set flag counts as 1, not as Automation's -1, so that `{Copied:No|Yes}` works.
    case VT_BOOL:
      return v.boolVal != VARIANT_FALSE ? 1 : 0;
    case VT_R4:
    case VT_R8: {
      double real = v.vt == VT_R4 ? v.fltVal : v.dblVal;
      if (!std::isfinite(real) || std::fabs(real) >= 9.2e18) return 0;
      return static_cast<int64_t>(real);
    }
    case VT_EMPTY:
      return 0;
    default: {
      Variant converted(Load(key).value);
      return SUCCEEDED(converted.ChangeType(VT_I8)) ? converted.ref().llVal : 0;
    }
  }
}

double RecordReader::Real(RecordKey key) {
  const VARIANT& v = Load(key).value.ref();
  switch (v.vt) {
    case VT_R4:
      return v.fltVal;
    case VT_R8:
      return v.dblVal;
    case VT_EMPTY:
      return 0;
    case VT_BSTR: {
      Variant converted(Load(key).value);
      return SUCCEEDED(converted.ChangeType(VT_R8)) ? converted.ref().dblVal : 0;
    }
    default:
      return static_cast<double>(Integer(key));
  }
}

std::wstring_view RecordReader::Text(RecordKey key) {
  Slot& slot = Load(key);
  if (slot.value.vt() == VT_BSTR) {
    BSTR text = slot.value.ref().bstrVal;
    return text != nullptr ? std::wstring_view(text, SysStringLen(text)) : std::wstring_view();
  }
  if (slot.value.vt() == VT_EMPTY || slot.value.vt() == VT_NULL || slot.value.vt() == VT_ERROR) {
    return {};
  }
  // Other types are shown as Automation would convert them, kept in the slot from now on.
  if (FAILED(slot.value.ChangeType(VT_BSTR))) {
    slot.value.Clear();
    return {};
  }
  return Text(key);
}

}  // namespace lmk
