// Reads the case tables of tests/data: one case a line, fields separated by tabs, the case's name
// first; '#' starts a comment line. Fields take C escapes (\t \n \\ \0 \xNN and, in wide text,
// \uNNNN and \UNNNNNNNN).
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/text_encoding.h"

namespace lmk::test {

struct CaseRow {
  std::string name;
  std::vector<std::string> fields;  // after the name, escapes left as written
  const std::string& operator[](std::size_t i) const { return fields.at(i); }
};

/// The rows of tests/data/<file>; throws when the file cannot be read, so that a missing table
/// cannot pass as an empty one.
inline std::vector<CaseRow> ReadCaseTable(const std::string& file) {
  std::ifstream in(std::string(LMK_TEST_DATA_DIR) + "/" + file);
  if (!in) throw std::runtime_error("cannot read tests/data/" + file);
  std::vector<CaseRow> rows;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    CaseRow row;
    for (std::size_t start = 0, tab = 0; tab != std::string::npos; start = tab + 1) {
      tab = line.find('\t', start);
      (row.name.empty() ? row.name : row.fields.emplace_back()) = line.substr(start, tab - start);
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

/// The bytes a field's escapes stand for; \u escapes become UTF-8.
inline std::string Unescape(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out += text[i];
      continue;
    }
    const char kind = text[++i];
    const std::size_t digits = kind == 'x' ? 2 : kind == 'u' ? 4 : kind == 'U' ? 8 : 0;
    if (digits == 0) {
      out += kind == 't'   ? '\t'
             : kind == 'n' ? '\n'
             : kind == 'r' ? '\r'
             : kind == '0' ? '\0'
                           : kind;
      continue;
    }
    const unsigned long code = std::stoul(text.substr(i + 1, digits), nullptr, 16);
    i += digits;
    out += kind == 'x' ? std::string(1, static_cast<char>(code))
                       : ToUtf8(std::wstring(1, static_cast<wchar_t>(code)));
  }
  return out;
}

/// A field as wide text.
inline std::wstring Wide(const std::string& text) { return FromUtf8(Unescape(text)); }

}  // namespace lmk::test
