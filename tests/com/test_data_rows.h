// Rows of a data file (fields separated by '|' unless told) under tests/data, for tests that keep
// their tables there.
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace lmk::test {

using DataRow = std::vector<std::string>;

// Skips blank lines and lines starting with '#'. With `kind`, keeps only the rows whose first
// field is `kind`, without that field. Rows are padded to `width` fields (a trailing empty
// field is otherwise lost).
inline std::vector<DataRow> DataRows(const std::string& file, const std::string& kind = "",
                                     size_t width = 0, char separator = '|') {
  const std::string path = std::string(LMK_TEST_DATA_DIR) + "/" + file;
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::vector<DataRow> rows;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    DataRow row;
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, separator);) row.push_back(field);
    if (!kind.empty()) {
      if (row[0] != kind) continue;
      row.erase(row.begin());
    }
    if (row.size() < width) row.resize(width);
    rows.push_back(std::move(row));
  }
  return rows;
}

// A row as a test case: its first field names it, the others are its fields.
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

// The data files are ASCII.
inline std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

}  // namespace lmk::test
