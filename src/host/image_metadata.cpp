// Checked dates and the colour-label vocabulary of the host's picture metadata.
#include "host/image_metadata.h"

#include <array>
#include <cwctype>

namespace lmk {

namespace {

bool IsLeapYear(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(int y, int m) {
  static constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeapYear(y) ? 29 : kDays[static_cast<size_t>(m - 1)];
}

// Labels 1 to 5 keep their colour names under both conventions, so a label reads back the same
// whichever convention wrote it.
constexpr std::array<std::wstring_view, 9> kNineLabels = {
    L"Red", L"Yellow", L"Green", L"Blue", L"Purple", L"Cyan", L"Gray", L"Black", L"White"};

// The names other tools give the first five labels.
constexpr std::array<std::wstring_view, 5> kWorkflowLabels = {L"Select", L"Second", L"Approved",
                                                              L"Review", L"To Do"};

bool EqualsNoCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::towlower(static_cast<wint_t>(a[i])) != std::towlower(static_cast<wint_t>(b[i])))
      return false;
  }
  return true;
}

std::wstring_view Trim(std::wstring_view text) {
  while (!text.empty() && std::iswspace(static_cast<wint_t>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::iswspace(static_cast<wint_t>(text.back()))) text.remove_suffix(1);
  return text;
}

}  // namespace

bool MetaDateTime::Set(int y, int mo, int d, int h, int mi, int s, int ms) {
  *this = MetaDateTime{};
  // The range a FILETIME and an automation date can both carry.
  if (y < 1601 || y > 9999 || mo < 1 || mo > 12) return false;
  if (d < 1 || d > DaysInMonth(y, mo)) return false;
  if (h < 0 || h > 23 || mi < 0 || mi > 59 || s < 0 || s > 60 || ms < 0 || ms > 999) return false;
  present = true;
  year = y;
  month = mo;
  day = d;
  hour = h;
  minute = mi;
  second = s == 60 ? 59 : s;
  millisecond = ms;
  return true;
}

int16_t LabelFromText(std::wstring_view text, int16_t* convention) {
  text = Trim(text);
  int16_t label = 0;
  for (std::size_t i = 0; i < kNineLabels.size() && label == 0; ++i) {
    if (EqualsNoCase(text, kNineLabels[i]) ||
        (i < kWorkflowLabels.size() && EqualsNoCase(text, kWorkflowLabels[i]))) {
      label = static_cast<int16_t>(i + 1);
    }
  }
  if (convention != nullptr) *convention = label > 5 ? kLabelConventionNine : kLabelConventionFive;
  return label;
}

std::span<const std::wstring_view> ConventionLabelNames(int16_t convention) {
  return std::span<const std::wstring_view>(kNineLabels).first(convention < 1 ? 5 : 9);
}

}  // namespace lmk
