// The variables of templates in their fixed dispatch order, and how each one is produced.
//
// Each variable has a form (a regular expression in the program's documentation, such as
// \{FileName(:[0-3])?\}); the forms are matched here by hand, with the same greedy choices the
// expressions make, because compiling and running an expression per token would cost more than
// everything else an expansion does.
#include "templates/variable_dispatcher.h"

#include <array>
#include <vector>

#include "platform/file_hash.h"
#include "platform/locale_format.h"
#include "platform/system_info.h"
#include "rules/record_key_set.h"
#include "templates/date_formatter.h"
#include "templates/expansion_call.h"
#include "templates/file_name_parts.h"
#include "templates/regex_cache.h"
#include "templates/template_counters.h"
#include "templates/template_keys.h"
#include "templates/template_scanner.h"
#include "templates/text_functions.h"
#include "templates/user_variables.h"
#include "templates/value_formatter.h"

namespace lmk {
namespace {

// ---- Small parsing helpers ------------------------------------------------------------------

wchar_t FoldAscii(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c; }

bool StartsWithNoCase(std::wstring_view text, std::wstring_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (FoldAscii(text[i]) != FoldAscii(prefix[i])) return false;
  }
  return true;
}

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// What '.' of the expressions does not match.
bool IsLineTerminator(wchar_t c) {
  return c == L'\n' || c == L'\r' || c == L'\u2028' || c == L'\u2029';
}

bool HasLineTerminator(std::wstring_view text) {
  for (wchar_t c : text) {
    if (IsLineTerminator(c)) return true;
  }
  return false;
}

// The expressions' \s.
bool IsRegexSpace(wchar_t c) {
  return c == L' ' || c == L'\t' || c == L'\n' || c == L'\v' || c == L'\f' || c == L'\r' ||
         c == L'\u00a0' || c == L'\u1680' || (c >= L'\u2000' && c <= L'\u200a') || c == L'\u2028' ||
         c == L'\u2029' || c == L'\u202f' || c == L'\u205f' || c == L'\u3000' || c == L'\ufeff';
}

// "}" gives 0; ":d}" with d <= max_digit gives d.
bool OptionalDigit(std::wstring_view rest, int max_digit, int* value) {
  if (rest == L"}") {
    *value = 0;
    return true;
  }
  if (rest.size() == 3 && rest[0] == L':' && IsDigit(rest[1]) && rest[2] == L'}' &&
      rest[1] - L'0' <= max_digit) {
    *value = rest[1] - L'0';
    return true;
  }
  return false;
}

// ",\s*\d{1,3}" at the front of `text`, consumed.
bool NumberArgument(std::wstring_view* text, size_t* value) {
  std::wstring_view t = *text;
  if (t.empty() || t[0] != L',') return false;
  t.remove_prefix(1);
  while (!t.empty() && IsRegexSpace(t[0])) t.remove_prefix(1);
  size_t digits = 0;
  *value = 0;
  while (digits < t.size() && IsDigit(t[digits])) {
    if (++digits > 3) return false;
    *value = *value * 10 + static_cast<size_t>(t[digits - 1] - L'0');
  }
  if (digits == 0) return false;
  *text = t.substr(digits);
  return true;
}

// The greedy inner template of "{Name{...}tail}": the longest text from `start` (a '{') to a
// '}' after which `tail` accepts the rest, as the expressions' (\{.*\}) chooses it.
template <class Tail>
bool SplitInner(std::wstring_view token, size_t start, std::wstring_view* inner, Tail tail) {
  // The inner text cannot reach past a line terminator.
  size_t limit = start;
  while (limit < token.size() && !IsLineTerminator(token[limit])) ++limit;
  for (size_t p = std::min(token.size() - 1, limit); p-- > start;) {
    if (token[p] != L'}') continue;
    std::wstring_view candidate = token.substr(start, p - start + 1);
    if (tail(token.substr(p + 1))) {
      *inner = candidate;
      return true;
    }
  }
  return false;
}

// Expands an inner template with the same call; false when nesting is too deep.
bool ExpandInner(std::wstring_view inner, ExpansionCall& call, std::wstring* result) {
  if (call.depth() >= ExpansionCall::kMaxDepth) return false;
  ExpansionCall::Nested nested(call);
  TemplateScanner::Expand(inner, call, result);
  return true;
}

// ---- The table ------------------------------------------------------------------------------

struct Entry;
using Handler = bool (*)(const Entry&, std::wstring_view, ExpansionCall&, std::wstring*);

enum class Match { kExact, kPrefix };

struct Entry {
  std::wstring_view name;  // the token's start after '{'
  Match match;
  bool may_be_empty;
  Handler handler;
  RecordKey key;
  int param;
};

std::wstring_view Rest(const Entry& e, std::wstring_view token) {
  return token.substr(1 + e.name.size());
}

bool Signed(const Entry& e, std::wstring_view, ExpansionCall& call, std::wstring* out) {
  ValueFormatter::AppendDecimal(out, static_cast<int32_t>(call.record().Integer(e.key)));
  return true;
}

bool HashCode(const Entry& e, std::wstring_view, ExpansionCall& call, std::wstring* out) {
  ValueFormatter::AppendHex(out, static_cast<uint64_t>(call.record().Integer(e.key)), 16);
  return true;
}

bool Text(const Entry& e, std::wstring_view, ExpansionCall& call, std::wstring* out) {
  out->append(call.record().Text(e.key));
  return true;
}

enum RealFormat { kBias, kOneDecimal, kNoDecimal, kThreeDecimals, kFeet, kTwoDecimals };

bool Real(const Entry& e, std::wstring_view, ExpansionCall& call, std::wstring* out) {
  double value = call.record().Real(e.key);
  switch (e.param) {
    case kBias:
      out->append(ValueFormatter::ExposureBias(value));
      break;
    case kOneDecimal:
      out->append(ValueFormatter::Fixed(value, 1));
      break;
    case kNoDecimal:
      out->append(ValueFormatter::Fixed(value, 0));
      break;
    case kThreeDecimals:
      out->append(ValueFormatter::Fixed(value, 3));
      break;
    // The program's own factor, kept as it has always been.
    case kFeet:
      out->append(ValueFormatter::Fixed(value * 0.30480000000029017, 3));
      break;
    case kTwoDecimals:
      out->append(ValueFormatter::Fixed(value, 2));
      break;
  }
  return true;
}

bool Computer(const Entry&, std::wstring_view, ExpansionCall&, std::wstring* out) {
  // Read once per process: the name does not change under a running batch.
  static const std::wstring name = ComputerName();
  out->append(name);
  return true;
}

bool Name(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 3, &modifier)) return false;
  std::wstring_view name = FileNamePieces::FileName(call.record().Text(RecordKey::kPathNoExt),
                                                    call.context().name_override());
  if (e.param == 1) {
    out->append(TextFunctions::ApplyCase(FileNamePieces::Trimmed(name), modifier));
  } else if (modifier == 0) {
    out->append(name);
  } else {
    out->append(TextFunctions::ApplyCase(name, modifier));
  }
  return true;
}

bool FolderPath(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  std::wstring_view rest = Rest(e, token);
  unsigned levels = 0;
  if (!rest.empty() && rest[0] == L'[') {
    size_t i = 1;
    while (i < rest.size() && IsDigit(rest[i])) {
      levels = levels >= 100000 ? levels : levels * 10 + static_cast<unsigned>(rest[i] - L'0');
      ++i;
    }
    if (i == 1 || i >= rest.size() || rest[i] != L']') return false;
    rest.remove_prefix(i + 1);
  }
  int modifier = 0;
  if (!OptionalDigit(rest, 3, &modifier)) return false;
  out->append(TextFunctions::ApplyCase(
      FileNamePieces::FolderName(call.record().Text(RecordKey::kPathNoExt), levels), modifier));
  return true;
}

bool CasedText(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 3, &modifier)) return false;
  out->append(TextFunctions::ApplyCase(call.record().Text(e.key), modifier));
  return true;
}

// Variables of this depth or deeper are left as typed; with the cycle check this ends any
// chain of variables that refer to each other.
constexpr size_t kMaxUserDefinedDepth = 8;

bool EqualsNoCase(std::wstring_view a, std::wstring_view b) {
  return a.size() == b.size() && StartsWithNoCase(a, b);
}

bool UserDefined(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  std::wstring_view name = Rest(e, token);
  name.remove_suffix(1);
  if (name.empty() || HasLineTerminator(name)) return false;
  auto& stack = call.user_defined_stack();
  // A variable met again inside its own expansion stays as typed: "a" = "x{UserDefined:a}"
  // gives "x{UserDefined:a}".
  for (const std::wstring& open : stack) {
    if (EqualsNoCase(open, name)) return false;
  }
  if (stack.size() >= kMaxUserDefinedDepth || call.depth() >= ExpansionCall::kMaxDepth) {
    return false;
  }
  std::wstring text;
  if (!UserVariables::Read(name, call.context().transaction(), &text)) return false;
  stack.emplace_back(name);
  // Expanded at the depth of the token itself: the value is template text of the user's own,
  // so the picture's values inside it are confined as in the template (the stack bounds chains).
  TemplateScanner::Expand(text, call, out);
  stack.pop_back();
  return true;
}

enum RegExSource { kRegExName, kRegExPath, kRegExInner };

bool RegEx(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring*) {
  std::wstring subject;
  std::wstring_view pattern;
  if (e.param == kRegExInner) {
    // \{RegEx(\{.*\}):(.*)\}: the inner template ends at the last "}:" that fits.
    std::wstring_view inner;
    if (!SplitInner(token, 1 + e.name.size() - 1, &inner, [&](std::wstring_view tail) {
          if (tail.size() < 2 || tail[0] != L':' || HasLineTerminator(tail)) return false;
          pattern = tail.substr(1, tail.size() - 2);
          return true;
        })) {
      return false;
    }
    if (!ExpandInner(inner, call, &subject)) return false;
  } else {
    pattern = Rest(e, token);
    pattern.remove_suffix(1);
    if (HasLineTerminator(pattern)) return false;
    std::wstring_view path = call.record().Text(RecordKey::kPathNoExt);
    const auto& name_override = call.context().name_override();
    subject = e.param == kRegExName ? std::wstring(FileNamePieces::FileName(path, name_override))
                                    : FileNamePieces::FullPath(path, name_override);
  }
  if (const BoundedRegex* regex = RegexCache::Get(pattern)) {
    regex->Match(subject, &call.context().back_references());
  }
  return true;  // the token itself yields nothing
}

enum Function {
  kLTrim,
  kRTrim,
  kLRTrim,
  kInnerTrim,
  kAllTrim,
  kSingleSpace,
  kLeft,
  kRight,
  kMid,
  kUpper,
  kLower,
  kTitleCase,
  kReverse,
  kReplace
};

bool TextFunction(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  const size_t start = e.name.size();  // the inner '{' is the last character of the name
  std::wstring_view inner;
  size_t a = 0, b = 0;
  bool has_number = false;
  std::wstring_view pattern, replacement;
  bool parsed = SplitInner(token, start, &inner, [&](std::wstring_view tail) {
    switch (e.param) {
      case kLTrim:
      case kRTrim:
        has_number = tail != L"}";
        return !has_number || (NumberArgument(&tail, &a) && tail == L"}");
      case kLeft:
      case kRight:
        return NumberArgument(&tail, &a) && tail == L"}";
      case kMid:
        return NumberArgument(&tail, &a) && NumberArgument(&tail, &b) && tail == L"}";
      case kReplace: {
        // ,\s*"(.*)",\s*"(.*)"\} with the pattern as long as it can be.
        if (tail.empty() || tail[0] != L',' || HasLineTerminator(tail)) return false;
        tail.remove_prefix(1);
        while (!tail.empty() && IsRegexSpace(tail[0])) tail.remove_prefix(1);
        if (tail.size() < 4 || tail[0] != L'"' || !tail.ends_with(L"\"}")) return false;
        std::wstring_view middle = tail.substr(1, tail.size() - 3);
        for (size_t k = middle.size(); k-- > 0;) {
          if (middle[k] != L'"' || k + 1 >= middle.size() || middle[k + 1] != L',') continue;
          size_t q = k + 2;
          while (q < middle.size() && IsRegexSpace(middle[q])) ++q;
          if (q < middle.size() && middle[q] == L'"') {
            pattern = middle.substr(0, k);
            replacement = middle.substr(q + 1);
            return true;
          }
        }
        return false;
      }
      default:
        return tail == L"}";
    }
  });
  if (!parsed) return false;
  std::wstring text;
  if (!ExpandInner(inner, call, &text)) return false;
  switch (e.param) {
    case kLTrim:
      out->append(TextFunctions::LTrim(text, has_number ? a : 0));
      break;
    case kRTrim:
      out->append(TextFunctions::RTrim(text, has_number ? a : 0));
      break;
    case kLRTrim:
      out->append(TextFunctions::LRTrim(text));
      break;
    case kInnerTrim:
      out->append(TextFunctions::InnerTrim(text));
      break;
    case kAllTrim:
      out->append(TextFunctions::AllTrim(text));
      break;
    case kSingleSpace:
      out->append(TextFunctions::SingleSpace(text));
      break;
    case kLeft:
      out->append(TextFunctions::Left(text, a));
      break;
    case kRight:
      out->append(TextFunctions::Right(text, a));
      break;
    case kMid:
      out->append(TextFunctions::Mid(text, a, std::min(b, VariableDispatcher::kMaxValueLength)));
      break;
    case kUpper:
      out->append(TextFunctions::Upper(text));
      break;
    case kLower:
      out->append(TextFunctions::Lower(text));
      break;
    case kTitleCase:
      out->append(TextFunctions::TitleCase(text));
      break;
    case kReverse:
      out->append(TextFunctions::Reverse(text));
      break;
    case kReplace:
      out->append(TextFunctions::Replace(text, pattern, replacement));
      break;
  }
  return true;
}

bool ExposureTime(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 1, &modifier)) return false;
  double value = call.record().Real(e.key);
  out->append(modifier == 1 ? ValueFormatter::ExposureFraction(value)
                            : ValueFormatter::ShortReal(value));
  return true;
}

bool Index(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 9, &modifier)) return false;
  ValueFormatter::AppendWithNumberModifier(out, static_cast<uint32_t>(call.record().Integer(e.key)),
                                           modifier);
  return true;
}

bool ValueList(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  std::wstring_view rest = Rest(e, token);
  bool has_items = rest != L"}";
  if (has_items && (rest[0] != L':' || HasLineTerminator(rest))) return false;
  std::wstring_view items = has_items ? rest.substr(1, rest.size() - 2) : std::wstring_view();
  out->append(ValueFormatter::ValueList(call.record().Integer(e.key), has_items, items));
  return true;
}

bool Increment(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 9, &modifier)) return false;
  out->append(TemplateCounters::NextIncrement(modifier, call.context().preview(),
                                              call.context().transaction()));
  return true;
}

bool Cycle(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  std::wstring_view rest = Rest(e, token);
  int width = 0;
  if (rest != L"}") {
    // ":n" with one or two digits; the width is clamped to 9.
    if (rest.size() < 3 || rest.size() > 4 || rest[0] != L':' || rest.back() != L'}') return false;
    for (wchar_t c : rest.substr(1, rest.size() - 2)) {
      if (!IsDigit(c)) return false;
      width = width * 10 + (c - L'0');
    }
  }
  out->append(TemplateCounters::NextCycle(std::min(width, 9), call.context().preview(),
                                          call.context().transaction()));
  return true;
}

enum DateSource { kDateTaken, kCreation, kLastAccess, kLastWrite, kAppStart, kNow };

bool Date(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  std::optional<DateFormat> format = DateFormatter::Parse(Rest(e, token));
  if (!format) return false;
  int64_t ticks = 0;
  RecordReader& record = call.record();
  switch (e.param) {
    case kDateTaken:
      ticks = record.Integer(RecordKey::kDateTakenFT);
      // A picture without a date taken shows its last-write time.
      if (ticks == 0) ticks = record.Integer(RecordKey::kLastWriteTimeFT);
      break;
    case kCreation:
      ticks = record.Integer(RecordKey::kCreationTimeFT);
      break;
    case kLastAccess:
      ticks = record.Integer(RecordKey::kLastAccessTimeFT);
      break;
    case kLastWrite:
      ticks = record.Integer(RecordKey::kLastWriteTimeFT);
      break;
    case kAppStart:
      ticks = record.Integer(RecordKey::kAppStartTimeFT);
      break;
    case kNow:
      ticks = call.context().TakeNow();
      break;
  }
  SYSTEMTIME time{};
  // A time that cannot be shown gives nothing, so the token stays as typed.
  if (ticks < 0 || !call.ConvertTime(ticks, format->utc, &time)) return true;
  DateFormatter::Format(time, *format, LocaleFormat::Process(), out);
  return true;
}

bool FileSize(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 2, &modifier)) return false;
  int64_t size = call.record().Integer(e.key);
  uint64_t bytes = size > 0 ? static_cast<uint64_t>(size) : 0;
  switch (modifier) {
    case 0:
      ValueFormatter::AppendDecimal(out, size);
      break;
    case 1:
      out->append(LocaleFormat::Process().GroupedNumber(bytes));
      break;
    case 2:
      out->append(LocaleFormat::Process().ShortSize(bytes));
      break;
  }
  return true;
}

bool FileHash(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 4, &modifier)) return false;
  std::wstring hex;
  // An unreadable file gives nothing, so the token stays as typed.
  if (SUCCEEDED(HashFile(call.record().Text(e.key), static_cast<HashAlgorithm>(modifier), &hex))) {
    out->append(hex);
  }
  return true;
}

bool UserName(const Entry& e, std::wstring_view token, ExpansionCall&, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 1, &modifier)) return false;
  static const std::wstring plain = LogonUserName();
  static const std::wstring with_domain = DomainUserName();
  out->append(modifier == 1 ? with_domain : plain);
  return true;
}

bool Numbered(const Entry& e, std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  int modifier = 0;
  if (!OptionalDigit(Rest(e, token), 1, &modifier)) return false;
  ValueFormatter::AppendDecimal(out, static_cast<uint32_t>(call.record().Integer(e.key)),
                                modifier == 1 ? e.param : 0);
  return true;
}

bool BackReference(const Entry& e, std::wstring_view, ExpansionCall& call, std::wstring* out) {
  const auto& references = call.context().back_references();
  if (static_cast<size_t>(e.param) < references.size()) out->append(references[e.param]);
  return true;
}

using K = RecordKey;
constexpr Match X = Match::kExact;
constexpr Match P = Match::kPrefix;
constexpr K kNoKey = K::kCount;

// The dispatch order is part of the behaviour: the first entry whose name fits decides.
constexpr Entry kEntries[] = {
    {L"Height", X, false, Signed, K::kImageHeight, 0},
    {L"Width", X, false, Signed, K::kImageWidth, 0},
    {L"MultiFrames", X, false, Signed, K::kMultiFramesFlag, 0},
    {L"TotalFrames", X, false, Signed, K::kTotalFrames, 0},
    {L"FileNameHash", X, false, HashCode, K::kHashCode64, 0},
    {L"CameraModel", X, true, Text, K::kCameraModel, 0},
    {L"Comment", X, true, Text, K::kComment, 0},
    {L"Artist", X, true, Text, K::kArtist, 0},
    {L"Copyright", X, true, Text, K::kCopyright, 0},
    {L"ImageUniqueID", X, true, Text, K::kImageUniqueID, 0},
    {L"CameraSerialNumber", X, true, Text, K::kCameraSerialNumber, 0},
    {L"IccProfileName", X, true, Text, K::kIccProfileName, 0},
    {L"LensModel", X, true, Text, K::kLensModel, 0},
    {L"ExposureBias", X, false, Real, K::kExposureBias, kBias},
    {L"FNumber", X, false, Real, K::kFNumber, kOneDecimal},
    {L"FocalLength", X, false, Real, K::kFocalLength, kNoDecimal},
    {L"DigitalZoomRatio", X, false, Real, K::kDigitalZoomRatio, kOneDecimal},
    {L"SubjectDistance", X, false, Real, K::kSubjectDistance, kThreeDecimals},
    {L"SubjectDistanceFt", X, false, Real, K::kSubjectDistance, kFeet},
    {L"FocalLengthInFilm", X, false, Signed, K::kFocalLengthInFilm, 0},
    {L"MaxApertureValue", X, false, Real, K::kMaxApertureValue, kTwoDecimals},
    {L"ISOSpeed", X, false, Signed, K::kISOSpeed, 0},
    {L"BitsPerPixel", X, false, Signed, K::kImageBpp, 0},
    {L"ComputerName", X, false, Computer, kNoKey, 0},
    {L"AppVersion", X, false, Text, K::kAppVersion, 0},
    {L"FileName", P, false, Name, kNoKey, 0},
    {L"TrimmedFileName", P, false, Name, kNoKey, 1},
    {L"FilePath", P, true, FolderPath, kNoKey, 0},
    {L"FileExtensions", P, false, CasedText, K::kExtensions, 0},
    {L"DisplayExtensions", P, false, CasedText, K::kDisplayExtensions, 0},
    {L"UserDefined:", P, false, UserDefined, kNoKey, 0},
    {L"RegEx:", P, true, RegEx, kNoKey, kRegExName},
    {L"RegEx*:", P, true, RegEx, kNoKey, kRegExPath},
    {L"RegEx{", P, true, RegEx, kNoKey, kRegExInner},
    {L"LTrim{", P, true, TextFunction, kNoKey, kLTrim},
    {L"RTrim{", P, true, TextFunction, kNoKey, kRTrim},
    {L"LRTrim{", P, true, TextFunction, kNoKey, kLRTrim},
    {L"InnerTrim{", P, true, TextFunction, kNoKey, kInnerTrim},
    {L"AllTrim{", P, true, TextFunction, kNoKey, kAllTrim},
    {L"SingleSpace{", P, true, TextFunction, kNoKey, kSingleSpace},
    {L"Left{", P, true, TextFunction, kNoKey, kLeft},
    {L"Right{", P, true, TextFunction, kNoKey, kRight},
    {L"Mid{", P, true, TextFunction, kNoKey, kMid},
    {L"Upper{", P, true, TextFunction, kNoKey, kUpper},
    {L"Lower{", P, true, TextFunction, kNoKey, kLower},
    {L"TitleCase{", P, true, TextFunction, kNoKey, kTitleCase},
    {L"Reverse{", P, true, TextFunction, kNoKey, kReverse},
    {L"Replace{", P, true, TextFunction, kNoKey, kReplace},
    {L"ExposureTime", P, false, ExposureTime, K::kExposureTime, 0},
    {L"ImageIndex", P, false, Index, K::kImageIndex, 0},
    {L"SessionKeepCopyIndex", P, false, Index, K::kSessionKeepCopyIndex, 0},
    {L"Rating", P, false, ValueList, K::kRating, 0},
    {L"Label", P, false, ValueList, K::kLabel, 0},
    {L"Urgency", P, false, ValueList, K::kUrgency, 0},
    {L"Copied", P, false, ValueList, K::kCopiedFlag, 0},
    {L"MarkedForPublishing", P, false, ValueList, K::kMarkedForPublishingFlag, 0},
    {L"Flash", P, false, ValueList, K::kFlash, 0},
    {L"LightSource", P, false, ValueList, K::kLightSource, 0},
    {L"MeteringMode", P, false, ValueList, K::kMeteringMode, 0},
    {L"ProgramMode", P, false, ValueList, K::kProgramMode, 0},
    {L"Contrast", P, false, ValueList, K::kContrast, 0},
    {L"Saturation", P, false, ValueList, K::kSaturation, 0},
    {L"Sharpness", P, false, ValueList, K::kSharpness, 0},
    {L"SubjectDistanceRange", P, false, ValueList, K::kSubjectDistanceRange, 0},
    {L"SensingMethod", P, false, ValueList, K::kSensingMethod, 0},
    {L"ExposureMode", P, false, ValueList, K::kExposureMode, 0},
    {L"WhiteBalance", P, false, ValueList, K::kWhiteBalance, 0},
    {L"Orientation", P, false, ValueList, K::kOrientation, 0},
    {L"AutoIncrement", P, false, Increment, kNoKey, 0},
    {L"AutoCycle", P, false, Cycle, kNoKey, 0},
    {L"DateTaken", P, false, Date, kNoKey, kDateTaken},
    {L"FileCreationDate", P, false, Date, kNoKey, kCreation},
    {L"FileLastAccessDate", P, false, Date, kNoKey, kLastAccess},
    {L"FileLastWriteDate", P, false, Date, kNoKey, kLastWrite},
    {L"AppStartDate", P, false, Date, kNoKey, kAppStart},
    {L"Now", P, false, Date, kNoKey, kNow},
    {L"FileSize", P, false, FileSize, K::kSize, 0},
    {L"FileHash", P, false, FileHash, K::kName, 0},
    {L"WindowsUserName", P, false, UserName, kNoKey, 0},
    {L"FileNumber", P, false, Numbered, K::kFileNumber, 4},
    {L"FolderNumber", P, false, Numbered, K::kFolderNumber, 3},
    {L"0", X, true, BackReference, kNoKey, 0},
    {L"1", X, true, BackReference, kNoKey, 1},
    {L"2", X, true, BackReference, kNoKey, 2},
    {L"3", X, true, BackReference, kNoKey, 3},
    {L"4", X, true, BackReference, kNoKey, 4},
    {L"5", X, true, BackReference, kNoKey, 5},
    {L"6", X, true, BackReference, kNoKey, 6},
    {L"7", X, true, BackReference, kNoKey, 7},
    {L"8", X, true, BackReference, kNoKey, 8},
    {L"9", X, true, BackReference, kNoKey, 9},
};

// Entries grouped by the folded first letter of their names, in table order: entries of
// another letter can never fit, so looking only at one group keeps the dispatch order.
struct Buckets {
  std::array<std::vector<const Entry*>, 128> by_letter;
  Buckets() {
    for (const Entry& entry : kEntries) {
      by_letter[static_cast<size_t>(FoldAscii(entry.name[0]))].push_back(&entry);
    }
  }
};

// The entry that decides `body` (a token without its '{'), as Expand chooses it.
const Entry* FindEntry(std::wstring_view body) {
  static const Buckets buckets;
  const wchar_t first = FoldAscii(body[0]);
  if (first >= 128) return nullptr;
  for (const Entry* entry : buckets.by_letter[static_cast<size_t>(first)]) {
    const bool fits = entry->match == Match::kExact ? body.size() == entry->name.size() + 1 &&
                                                          StartsWithNoCase(body, entry->name)
                                                    : StartsWithNoCase(body, entry->name);
    if (fits) return entry;
  }
  return nullptr;
}

}  // namespace

void VariableDispatcher::AddKeys(std::wstring_view token, RecordKeySet& keys) {
  if (token.size() < 3 || token.front() != L'{' || token.back() != L'}') return;
  const Entry* entry = FindEntry(token.substr(1));
  if (entry == nullptr) return;
  if (entry->key != kNoKey) keys.Add(RecordKeyName(entry->key));
  if (entry->handler == Name || entry->handler == FolderPath ||
      (entry->handler == RegEx && entry->param != kRegExInner)) {
    keys.Add(RecordKeyName(K::kPathNoExt));
  } else if (entry->handler == UserDefined) {
    // The variable's text is the user's to change at any time, and may use any value.
    keys.AddEvery();
  } else if (entry->handler == Date) {
    static constexpr K kDateKeys[] = {K::kDateTakenFT, K::kCreationTimeFT, K::kLastAccessTimeFT,
                                      K::kLastWriteTimeFT, K::kAppStartTimeFT};
    if (entry->param < static_cast<int>(std::size(kDateKeys))) {
      keys.Add(RecordKeyName(kDateKeys[entry->param]));
    }
    // A picture without a date taken shows its last-write time.
    if (entry->param == kDateTaken) keys.Add(RecordKeyName(K::kLastWriteTimeFT));
  } else if (entry->handler == TextFunction || entry->handler == RegEx) {
    // The inner template starts at the name's last character, a '{'; whatever follows it (a
    // pattern, the numbers) can only add keys, never hide one.
    AddTemplateKeys(token.substr(entry->name.size(), token.size() - entry->name.size() - 1), keys);
  }
}

bool VariableDispatcher::Expand(std::wstring_view token, ExpansionCall& call, std::wstring* out) {
  if (token.size() < 3 || token.front() != L'{' || token.back() != L'}') return false;
  // The first entry whose name fits decides; no later entry is tried.
  const Entry* entry = FindEntry(token.substr(1));
  if (entry == nullptr) return false;
  const size_t start = out->size();
  if (entry->handler(*entry, token, call, out) && (out->size() > start || entry->may_be_empty)) {
    if (out->size() - start > kMaxValueLength) out->resize(start + kMaxValueLength);
    return true;
  }
  out->resize(start);
  return false;
}

}  // namespace lmk
