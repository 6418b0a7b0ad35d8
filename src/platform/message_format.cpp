// printf-style formatting of log texts, with every conversion checked against its argument.
#include "platform/message_format.h"

#include "platform/text_encoding.h"

namespace lmk {

namespace {

// Widths and precisions above this are a broken format, not a wish for megabytes of padding.
constexpr size_t kMaxWidth = 4096;

struct FieldFormat {
  bool left = false;
  bool zero = false;
  bool plus = false;
  bool space = false;
  bool alternate = false;
  size_t width = 0;
  std::optional<size_t> precision;
  wchar_t conversion = 0;
};

bool ParseNumber(std::wstring_view format, size_t* pos, size_t* out) {
  size_t value = 0;
  while (*pos < format.size() && format[*pos] >= L'0' && format[*pos] <= L'9') {
    value = value * 10 + static_cast<size_t>(format[*pos] - L'0');
    if (value > kMaxWidth) return false;
    ++*pos;
  }
  *out = value;
  return true;
}

// Parses what follows a '%' up to and including the conversion character.
bool ParseFieldFormat(std::wstring_view format, size_t* pos, FieldFormat* field) {
  for (; *pos < format.size(); ++*pos) {
    const wchar_t c = format[*pos];
    if (c == L'-')
      field->left = true;
    else if (c == L'0')
      field->zero = true;
    else if (c == L'+')
      field->plus = true;
    else if (c == L' ')
      field->space = true;
    else if (c == L'#')
      field->alternate = true;
    else
      break;
  }
  if (!ParseNumber(format, pos, &field->width)) return false;
  if (*pos < format.size() && format[*pos] == L'.') {
    ++*pos;
    size_t precision = 0;
    if (!ParseNumber(format, pos, &precision)) return false;
    field->precision = precision;
  }
  const std::wstring_view rest = format.substr(*pos);
  if (rest.starts_with(L"I64") || rest.starts_with(L"I32")) {
    *pos += 3;
  } else {
    while (*pos < format.size() &&
           std::wstring_view(L"hlLzjt").find(format[*pos]) != std::wstring_view::npos) {
      ++*pos;
    }
  }
  if (*pos >= format.size()) return false;
  field->conversion = format[(*pos)++];
  return true;
}

void Pad(const FieldFormat& field, std::wstring_view body, std::wstring* out) {
  const size_t fill = field.width > body.size() ? field.width - body.size() : 0;
  if (!field.left) out->append(fill, L' ');
  out->append(body);
  if (field.left) out->append(fill, L' ');
}

std::wstring Digits(uint64_t value, unsigned base, bool upper) {
  const wchar_t* digits = upper ? L"0123456789ABCDEF" : L"0123456789abcdef";
  std::wstring text;
  do {
    text.insert(text.begin(), digits[value % base]);
    value /= base;
  } while (value != 0);
  return text;
}

bool FormatInteger(const FieldFormat& field, const FormatArg& arg, std::wstring* out) {
  if (arg.kind() != FormatArg::Kind::kSigned && arg.kind() != FormatArg::Kind::kUnsigned) {
    return false;
  }
  const wchar_t c = field.conversion;
  const bool is_decimal_signed = c == L'd' || c == L'i';
  std::wstring sign;
  uint64_t magnitude = 0;
  if (is_decimal_signed && arg.kind() == FormatArg::Kind::kSigned) {
    const int64_t value = arg.as_signed();
    magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
    if (value < 0) sign = L"-";
  } else {
    magnitude = arg.as_unsigned();
  }
  if (is_decimal_signed && sign.empty()) {
    if (field.plus)
      sign = L"+";
    else if (field.space)
      sign = L" ";
  }
  const unsigned base = (c == L'x' || c == L'X') ? 16 : c == L'o' ? 8 : 10;
  std::wstring digits = Digits(magnitude, base, c == L'X');
  if (field.precision) {
    if (*field.precision == 0 && magnitude == 0) digits.clear();
    if (digits.size() < *field.precision) digits.insert(0, *field.precision - digits.size(), L'0');
  }
  std::wstring prefix = sign;
  if (field.alternate && magnitude != 0 && base == 16) prefix += c == L'X' ? L"0X" : L"0x";
  if (field.alternate && base == 8 && (digits.empty() || digits[0] != L'0'))
    digits.insert(0, 1, L'0');
  if (field.zero && !field.left && !field.precision) {
    const size_t used = prefix.size() + digits.size();
    if (field.width > used) digits.insert(0, field.width - used, L'0');
  }
  Pad(field, prefix + digits, out);
  return true;
}

bool FormatText(const FieldFormat& field, const FormatArg& arg, std::wstring* out) {
  std::wstring text;
  if (arg.kind() == FormatArg::Kind::kWide) {
    text = arg.is_null() ? L"(null)" : std::wstring(arg.wide());
  } else if (arg.kind() == FormatArg::Kind::kNarrow) {
    text = arg.is_null() ? L"(null)" : FromUtf8(arg.narrow());
  } else {
    return false;
  }
  if (field.precision && text.size() > *field.precision) text.resize(*field.precision);
  Pad(field, text, out);
  return true;
}

bool FormatCharacter(const FieldFormat& field, const FormatArg& arg, std::wstring* out) {
  if (arg.kind() != FormatArg::Kind::kSigned && arg.kind() != FormatArg::Kind::kUnsigned) {
    return false;
  }
  const uint64_t value = arg.as_unsigned();
  if (value == 0 || value > 0x10FFFF) return false;
  Pad(field, std::wstring(1, static_cast<wchar_t>(value)), out);
  return true;
}

}  // namespace

std::optional<std::wstring> FormatMessageText(std::wstring_view format,
                                              std::span<const FormatArg> args) {
  std::wstring out;
  out.reserve(format.size() + 32 * args.size());
  size_t next_arg = 0;
  size_t pos = 0;
  while (pos < format.size()) {
    const size_t percent = format.find(L'%', pos);
    out.append(format.substr(pos, percent - pos));
    if (percent == std::wstring_view::npos) break;
    pos = percent + 1;
    FieldFormat field;
    if (!ParseFieldFormat(format, &pos, &field)) return std::nullopt;
    if (field.conversion == L'%') {
      out += L'%';
      continue;
    }
    if (next_arg >= args.size()) return std::nullopt;
    const FormatArg& arg = args[next_arg++];
    bool ok = false;
    switch (field.conversion) {
      case L'd':
      case L'i':
      case L'u':
      case L'x':
      case L'X':
      case L'o':
        ok = FormatInteger(field, arg, &out);
        break;
      case L's':
      case L'S':
        ok = FormatText(field, arg, &out);
        break;
      case L'c':
        ok = FormatCharacter(field, arg, &out);
        break;
      default:
        ok = false;
    }
    if (!ok) return std::nullopt;
  }
  return out;
}

}  // namespace lmk
