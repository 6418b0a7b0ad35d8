// Reads the tables tests keep under tests/data: one row a line, fields split at a separator ('|'
// or a tab), blank lines and lines starting with '#' skipped. Fields of the tab-separated case
// tables may take C escapes (\t \n \\ \0 \xNN and, in wide text, \uNNNN and \UNNNNNNNN).
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/text_encoding.h"

namespace lmk::test {

using DataRow = std::vector<std::string>;

/// The rows of tests/data/<file>; throws when the file cannot be read, so that a missing table
/// cannot pass as an empty one. With `kind`, keeps only the rows whose first field is `kind`,
/// without that field. Rows are padded to `width` fields.
inline std::vector<DataRow> DataRows(const std::string& file, const std::string& kind = "",
                                     size_t width = 0, char separator = '|') {
  std::ifstream in(std::string(LMK_TEST_DATA_DIR) + "/" + file);
  if (!in) throw std::runtime_error("cannot read tests/data/" + file);
  std::vector<DataRow> rows;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    DataRow row;
    for (size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
      end = line.find(separator, start);
      row.push_back(line.substr(start, end - start));
    }
    if (!kind.empty() && row[0] != kind) continue;
    if (!kind.empty()) row.erase(row.begin());
    if (row.size() < width) row.resize(width);
    rows.push_back(std::move(row));
  }
  return rows;
}

/// A row as a test case: its first field names it, the others are its fields.
struct NamedRow {
  std::string name;
  DataRow f;
};

inline std::vector<NamedRow> NamedRows(const std::string& file, const std::string& kind = "",
                                       size_t width = 0, char separator = '|') {
  std::vector<NamedRow> rows;
  for (DataRow& r : DataRows(file, kind, width, separator)) {
    rows.push_back({r[0], DataRow(r.begin() + 1, r.end())});
  }
  return rows;
}

/// A row of a tab-separated case table, escapes left as written.
struct CaseRow {
  std::string name;
  DataRow fields;
  const std::string& operator[](std::size_t i) const { return fields.at(i); }
};

/// With `kind`, keeps only the rows whose first field after the name is `kind`, without that
/// field, padded to `width` fields.
inline std::vector<CaseRow> ReadCaseTable(const std::string& file, const std::string& kind = "",
                                          size_t width = 0) {
  std::vector<CaseRow> rows;
  for (NamedRow& r : NamedRows(file, "", 0, '\t')) {
    if (!kind.empty() && (r.f.empty() || r.f[0] != kind)) continue;
    if (!kind.empty()) r.f.erase(r.f.begin());
    if (r.f.size() < width) r.f.resize(width);
    rows.push_back({r.name, std::move(r.f)});
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

/// A case table's field as wide text.
inline std::wstring Wide(const std::string& text) { return FromUtf8(Unescape(text)); }

/// The '|'-separated data files are ASCII.
inline std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

}  // namespace lmk::test
