// Script paths and script files.
#include "scripts/script_source.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "com/com_error.h"
#include "platform/environment.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

HRESULT Fail(DWORD code, std::wstring_view path, std::wstring_view why) {
  SetErrorDescription(L"Cannot read the script file '" + std::wstring(path) + L"': " +
                      std::wstring(why));
  return HRESULT_FROM_WIN32(code);
}

// Text is what decodes and encodes back to the same bytes, without a NUL: a NUL never stands in
// a script, and reading stops there on systems that read scripts as C strings.
bool IsText(std::string_view bytes, const std::wstring& decoded) {
  return bytes.find('\0') == std::string_view::npos && ToUtf8(decoded) == bytes;
}

}  // namespace

std::wstring ExpandScriptPath(std::wstring_view path) {
  std::wstring expanded = ExpandEnvironmentText(path);
#if !defined(_WIN32)
  if (expanded.starts_with(L"~/")) {
    const std::wstring home = ExpandEnvironmentText(L"${HOME}");
    if (home != L"${HOME}") expanded = home + expanded.substr(1);
  }
#endif
  return expanded;
}

HRESULT ReadScriptFile(std::wstring_view path, std::wstring* text) {
  const std::filesystem::path file(ToUtf8(path));
  std::error_code ec;
  const auto status = std::filesystem::status(file, ec);
  if (status.type() == std::filesystem::file_type::not_found) {
    const bool folderThere = std::filesystem::is_directory(
        file.parent_path().empty() ? std::filesystem::path(".") : file.parent_path(), ec);
    return Fail(folderThere ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND, path,
                L"there is no such file. Check the script path of the rule.");
  }
  if (status.type() == std::filesystem::file_type::directory) {
    return Fail(ERROR_ACCESS_DENIED, path, L"it is a folder. Name the script file itself.");
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    return Fail(ERROR_ACCESS_DENIED, path,
                L"it cannot be opened. Make it readable to this user and try again.");
  }
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) {
    return Fail(ERROR_CANTREAD, path, L"reading it failed. Check the disk and try again.");
  }
  std::wstring decoded = FromUtf8(bytes);
  if (!IsText(bytes, decoded)) {
    return Fail(kErrorNoUnicodeTranslation, path,
                L"it is not UTF-8 text. Save the script as UTF-8 text and try again.");
  }
  *text = std::move(decoded);
  return S_OK;
}

}  // namespace lmk
