// exiftool through popen and a reader for the small subset of JSON it prints.
#include "host/exiftool_report.h"

#include <stdio.h>
#include <sys/wait.h>

#include <cctype>

namespace lmk::test {

namespace {

std::string ShellQuote(const std::string& s) {
  std::string out = "'";
  for (char c : s) {
    if (c == '\'') {
      out += "'\\''";
    } else {
      out += c;
    }
  }
  return out + "'";
}

std::string RunCapture(const std::string& command, int* status) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) {
    *status = -1;
    return output;
  }
  char buffer[4096];
  size_t n = 0;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, n);
  const int raw = ::pclose(pipe);
  *status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return output;
}

// Parses exiftool's JSON: an array holding one object whose values are strings, numbers,
// booleans or arrays of those.
class JsonReader {
 public:
  explicit JsonReader(const std::string& text) : s_(text) {}

  bool ReadReport(ExifToolReport* out) {
    if (!Expect('[') || !Expect('{')) return false;
    if (Peek() == '}') return true;
    while (true) {
      std::string key, value;
      if (!ReadString(&key) || !Expect(':') || !ReadValue(&value)) return false;
      (*out)[key] = value;
      if (Peek() == ',') {
        ++pos_;
        continue;
      }
      return Expect('}');
    }
  }

 private:
  char Peek() {
    while (pos_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[pos_]))) ++pos_;
    return pos_ < s_.size() ? s_[pos_] : '\0';
  }
  bool Expect(char c) {
    if (Peek() != c) return false;
    ++pos_;
    return true;
  }
  bool ReadString(std::string* out) {
    if (!Expect('"')) return false;
    while (pos_ < s_.size() && s_[pos_] != '"') {
      char c = s_[pos_++];
      if (c == '\\' && pos_ < s_.size()) {
        const char e = s_[pos_++];
        switch (e) {
          case 'n':
            c = '\n';
            break;
          case 't':
            c = '\t';
            break;
          case 'u': {
            // exiftool escapes only control characters this way.
            if (pos_ + 4 > s_.size()) return false;
            c = static_cast<char>(std::stoi(s_.substr(pos_, 4), nullptr, 16));
            pos_ += 4;
            break;
          }
          default:
            c = e;
        }
      }
      out->push_back(c);
    }
    return Expect('"');
  }
  bool ReadValue(std::string* out) {
    const char c = Peek();
    if (c == '"') return ReadString(out);
    if (c == '[') {
      ++pos_;
      if (Peek() == ']') return Expect(']');
      while (true) {
        std::string item;
        if (!ReadValue(&item)) return false;
        if (!out->empty()) *out += "; ";
        *out += item;
        if (Peek() == ',') {
          ++pos_;
          continue;
        }
        return Expect(']');
      }
    }
    if (c == '{') return false;  // structures are not asked for
    const size_t start = pos_;
    while (pos_ < s_.size() && s_[pos_] != ',' && s_[pos_] != '}' && s_[pos_] != ']' &&
           !std::isspace(static_cast<unsigned char>(s_[pos_])))
      ++pos_;
    *out = s_.substr(start, pos_ - start);
    return !out->empty();
  }

  const std::string& s_;
  size_t pos_ = 0;
};

}  // namespace

bool ExifToolAvailable() {
  int status = 0;
  RunCapture("exiftool -ver 2>/dev/null", &status);
  return status == 0;
}

std::optional<ExifToolReport> RunExifTool(const std::filesystem::path& file) {
  int status = 0;
  const std::string json =
      RunCapture("exiftool -j -n -G1 " + ShellQuote(file.string()) + " 2>/dev/null", &status);
  ExifToolReport report;
  if (status != 0 || !JsonReader(json).ReadReport(&report)) return std::nullopt;
  return report;
}

int ExifToolWrite(const std::string& arguments, const std::filesystem::path& file) {
  int status = 0;
  RunCapture("exiftool -q -m -overwrite_original " + arguments + " " + ShellQuote(file.string()) +
                 " >/dev/null 2>&1",
             &status);
  return status;
}

}  // namespace lmk::test
