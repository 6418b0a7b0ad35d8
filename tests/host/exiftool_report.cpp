// exiftool through popen, its report read from the "-Group:Tag=value" lines of -args.
#include "host/exiftool_report.h"

#include <stdio.h>
#include <sys/wait.h>

#include <sstream>

namespace lmk::test {

namespace {

std::string ShellQuote(const std::string& s) {
  std::string out = "'";
  for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// The command's standard output, and its exit status (-1 when it did not exit).
std::string RunCapture(const std::string& command, int* status) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  *status = -1;
  if (pipe == nullptr) return output;
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  const int raw = ::pclose(pipe);
  if (WIFEXITED(raw)) *status = WEXITSTATUS(raw);
  return output;
}

}  // namespace

bool ExifToolAvailable() {
  int status = 0;
  RunCapture("exiftool -ver 2>/dev/null", &status);
  return status == 0;
}

std::optional<ExifToolReport> RunExifTool(const std::filesystem::path& file) {
  int status = 0;
  std::istringstream lines(RunCapture(
      "exiftool -args -a -n -G1 -sep '; ' " + ShellQuote(file.string()) + " 2>/dev/null", &status));
  if (status != 0) return std::nullopt;
  ExifToolReport report;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t equals = line.find('=');
    if (!line.starts_with('-') || equals == std::string::npos) return std::nullopt;
    report[line.substr(1, equals - 1)] = line.substr(equals + 1);
  }
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
