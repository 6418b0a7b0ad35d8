// Runs exiftool on a file and hands its report back as a flat map, to compare our reader
// with an independent one.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace lmk::test {

/// exiftool's report with numeric values (-n -G1, every tag): keys such as "IFD0:Make" map to
/// their text; numbers keep exiftool's spelling; lists are joined with "; ".
using ExifToolReport = std::map<std::string, std::string>;

/// True when an exiftool command is on the PATH.
bool ExifToolAvailable();

/// The report for one file; nullopt when exiftool fails or its output does not parse.
std::optional<ExifToolReport> RunExifTool(const std::filesystem::path& file);

/// Runs exiftool with arguments (each quoted for the shell) and returns its exit status.
int ExifToolWrite(const std::string& arguments, const std::filesystem::path& file);

}  // namespace lmk::test
