// The parts of the settings store shared by every operating system: values, names and paths.
#include "platform/settings_store.h"

namespace lmk {
namespace {

// The registry refuses longer key names; keeping the same limit keeps stores portable.
constexpr size_t kMaxKeyNameLength = 255;

wchar_t FoldChar(wchar_t c) {
  const auto u = static_cast<uint32_t>(c);
  if (u < 0x80) return (u >= 'a' && u <= 'z') ? static_cast<wchar_t>(u - 0x20) : c;
  if (u >= 0xE0 && u <= 0xFE && u != 0xF7) return static_cast<wchar_t>(u - 0x20);
  if (u == 0xFF) return static_cast<wchar_t>(0x178);
  if (u >= 0x100 && u <= 0x17F) {
    // Latin Extended-A pairs capital and small letters; which of the two comes first flips
    // at the letters that have no partner (U+0130, U+0131, U+0138, U+0149, U+017F).
    const bool upperIsEven = (u <= 0x137) || (u >= 0x14A && u <= 0x177);
    if (u == 0x130 || u == 0x131 || u == 0x138 || u == 0x149 || u == 0x178 || u == 0x17F) {
      return c;
    }
    if (upperIsEven) return (u % 2 == 1) ? static_cast<wchar_t>(u - 1) : c;
    return (u % 2 == 0) ? static_cast<wchar_t>(u - 1) : c;
  }
  if (u == 0x3C2) return static_cast<wchar_t>(0x3A3);  // final sigma
  if (u >= 0x3B1 && u <= 0x3CB) return static_cast<wchar_t>(u - 0x20);
  if (u >= 0x430 && u <= 0x44F) return static_cast<wchar_t>(u - 0x20);
  if (u >= 0x450 && u <= 0x45F) return static_cast<wchar_t>(u - 0x50);
  return c;
}

}  // namespace

RegValue RegValue::String(std::wstring_view text) {
  RegValue v;
  v.type = RegType::String;
  v.text = text;
  return v;
}

RegValue RegValue::ExpandString(std::wstring_view text) {
  RegValue v;
  v.type = RegType::ExpandString;
  v.text = text;
  return v;
}

RegValue RegValue::Dword(uint32_t number) {
  RegValue v;
  v.type = RegType::Dword;
  v.number = number;
  return v;
}

RegValue RegValue::Qword(uint64_t number) {
  RegValue v;
  v.type = RegType::Qword;
  v.number = number;
  return v;
}

RegValue RegValue::Binary(std::vector<uint8_t> bytes) {
  RegValue v;
  v.type = RegType::Binary;
  v.bytes = std::move(bytes);
  return v;
}

std::wstring FoldSettingsName(std::wstring_view name) {
  std::wstring folded(name);
  for (wchar_t& c : folded) c = FoldChar(c);
  return folded;
}

HRESULT SplitSettingsKeyPath(std::wstring_view key, std::vector<std::wstring>* names) {
  if (names == nullptr) return E_INVALIDARG;
  names->clear();
  if (!key.empty() && key.front() == L'\\') key.remove_prefix(1);
  if (!key.empty() && key.back() == L'\\') key.remove_suffix(1);
  if (key.empty()) return S_OK;
  std::vector<std::wstring> parts;
  size_t start = 0;
  while (true) {
    const size_t end = key.find(L'\\', start);
    const std::wstring_view part =
        key.substr(start, end == std::wstring_view::npos ? std::wstring_view::npos : end - start);
    if (part.empty() || part.size() > kMaxKeyNameLength ||
        part.find(L'\0') != std::wstring_view::npos) {
      return E_INVALIDARG;
    }
    parts.emplace_back(part);
    if (end == std::wstring_view::npos) break;
    start = end + 1;
  }
  *names = std::move(parts);
  return S_OK;
}

}  // namespace lmk
