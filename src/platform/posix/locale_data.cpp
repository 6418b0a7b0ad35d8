// Only POSIX code here: reads a locale's date, time, name and number texts with nl_langinfo_l.
#include <langinfo.h>
#include <locale.h>

#include <cstring>
#include <string_view>

#include "platform/locale_format_data.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

// A locale_t released on every path.
class LocaleHandle {
 public:
  explicit LocaleHandle(locale_t handle) : handle_(handle) {}
  ~LocaleHandle() {
    if (handle_ != static_cast<locale_t>(nullptr)) freelocale(handle_);
  }
  LocaleHandle(const LocaleHandle&) = delete;
  LocaleHandle& operator=(const LocaleHandle&) = delete;
  locale_t get() const { return handle_; }

 private:
  locale_t handle_;
};

bool IsPlainLocaleName(const char* name) {
  return name == nullptr || std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0 ||
         std::strncmp(name, "C.", 2) == 0;
}

// Decodes a text of the locale's character set; single-byte sets other than UTF-8 are read
// as Latin-1, which is right for the common Western ones.
std::wstring Decode(const char* text, bool utf8) {
  if (text == nullptr) return {};
  if (utf8) return FromUtf8(text);
  std::wstring out;
  for (const char* p = text; *p != 0; ++p)
    out += static_cast<wchar_t>(static_cast<unsigned char>(*p));
  return out;
}

}  // namespace

std::unique_ptr<LocaleFormat::Data> LoadLocaleData(const char* name) {
  // The process locale: the category names tell whether the program ever chose one.
  std::string time_name;
  if (name == nullptr) {
    const char* current = setlocale(LC_TIME, nullptr);
    time_name = current != nullptr ? current : "C";
  } else {
    time_name = name;
  }
  if (IsPlainLocaleName(time_name.c_str())) return LocaleFormat::Data::FixedEnglish();

  LocaleHandle handle(newlocale(LC_ALL_MASK, time_name.c_str(), static_cast<locale_t>(nullptr)));
  if (handle.get() == static_cast<locale_t>(nullptr)) return nullptr;
  locale_t loc = handle.get();
  const char* codeset = nl_langinfo_l(CODESET, loc);
  bool utf8 = codeset != nullptr &&
              (std::strcmp(codeset, "UTF-8") == 0 || std::strcmp(codeset, "utf8") == 0);
  auto text = [&](nl_item item) { return Decode(nl_langinfo_l(item, loc), utf8); };

  auto data = std::make_unique<LocaleFormat::Data>();
  data->fixed_english = false;
  for (int i = 0; i < 7; ++i) {
    data->day_names[i] = text(static_cast<nl_item>(DAY_1 + i));
    data->abbreviated_day_names[i] = text(static_cast<nl_item>(ABDAY_1 + i));
  }
  for (int i = 0; i < 12; ++i) {
    data->month_names[i] = text(static_cast<nl_item>(MON_1 + i));
    data->abbreviated_month_names[i] = text(static_cast<nl_item>(ABMON_1 + i));
  }
  data->short_date = text(D_FMT);
  data->time = text(T_FMT);
  data->am = text(AM_STR);
  data->pm = text(PM_STR);
  if (data->short_date.empty()) data->short_date = L"%Y-%m-%d";
  if (data->time.empty()) data->time = L"%H:%M:%S";
  // POSIX locales carry no long date; build one in the order of the short date: the month
  // before the day where the short date has it so ("Thursday, March 7, 2024"), else after it
  // ("Donnerstag, 7 März 2024").
  const std::wstring& d = data->short_date;
  size_t month_at = std::min(d.find(L"%m"), d.find(L"%D"));
  size_t day_at = std::min(d.find(L"%d"), d.find(L"%e"));
  bool month_first = month_at != std::wstring::npos && month_at < day_at;
  data->long_date = month_first ? L"%A, %B %-d, %Y" : L"%A, %-d %B %Y";

  data->decimal_point = text(RADIXCHAR);
  if (data->decimal_point.empty()) data->decimal_point = L".";
  data->thousands_separator = text(THOUSEP);
  const char* grouping = nl_langinfo_l(GROUPING, loc);
  data->grouping = grouping != nullptr ? grouping : "";
  return data;
}

}  // namespace lmk
