// Diagnostics of the lumarko command.
#include "cli/command.h"

#include <array>
#include <cstdio>

#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

struct FailureText {
  HRESULT hr;
  const char* text;
};

constexpr std::array<FailureText, 12> kFailureTexts = {{
    {E_INVALIDARG, "invalid argument"},
    {E_OUTOFMEMORY, "out of memory"},
    {E_ACCESSDENIED, "access denied"},
    {E_NOTIMPL, "not implemented"},
    {E_FAIL, "unspecified failure"},
    {E_UNEXPECTED, "unexpected failure"},
    {HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "not found"},
    {HRESULT_FROM_WIN32(ERROR_BADDB), "the settings store is damaged or not ours"},
    {HRESULT_FROM_WIN32(ERROR_CANTOPEN), "the settings store cannot be opened"},
    {REGDB_E_CLASSNOTREG, "class not registered"},
    {CLASS_E_CLASSNOTAVAILABLE, "class not available"},
    {SELFREG_E_CLASS, "the classes could not be registered"},
}};

}  // namespace

void PrintError(std::string_view what, std::string_view why) {
  std::fprintf(stderr, "lumarko: error: %.*s: %.*s\n", static_cast<int>(what.size()), what.data(),
               static_cast<int>(why.size()), why.data());
}

void WarnLeftOut(std::span<const std::wstring> paths) {
  for (const std::wstring& path : paths) {
    std::fprintf(stderr, "lumarko: warning: %s: not a regular file, left out\n",
                 ToUtf8(path).c_str());
  }
}

void PrintMessage(std::string_view what, std::wstring_view instruction, std::wstring_view content,
                  std::span<const std::wstring> details) {
  std::string text = "lumarko: error: ";
  if (!what.empty()) text.append(what).append(": ");
  text += ToUtf8(instruction) + "\n\n" + ToUtf8(content) + "\n";
  for (const std::wstring& line : details) text += "  " + ToUtf8(line) + "\n";
  std::fputs(text.c_str(), stderr);
}

std::string DescribeFailure(HRESULT hr) {
  std::string text = "failed";
  for (const FailureText& entry : kFailureTexts) {
    if (entry.hr == hr) text = entry.text;
  }
  text += " (" + ToUtf8(FormatHresult(hr)) + ")";
  const std::wstring description = TakeErrorDescription();
  if (!description.empty()) text += ": " + ToUtf8(description);
  return text;
}

}  // namespace lmk::cli
