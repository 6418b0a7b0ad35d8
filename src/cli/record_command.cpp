// lumarko record: the per-file values a run's rules see for one picture, in order, with types.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "batch/file_record_builder.h"
#include "cli/subcommands.h"
#include "com/time_convert.h"
#include "com/variant.h"
#include "dictionary/dictionary.h"
#include "host/picture_file_scanner.h"
#include "host/standalone_host.h"
#include "platform/file_system.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

struct RecordOptions {
  std::string file;
};

constexpr const char* kRecordHelp =
    "Prints the values that conditions, templates and scripts see for FILE during a run: all\n"
    "120 keys, in the order they are filled, with their VARIANT types. Dates appear twice: as a\n"
    "local date (VT_DATE) and, under the same name with \"FT\", as a UTC FILETIME count.\n"
    "\n"
    "Examples:\n"
    "  lumarko record IMG_0042.JPG\n"
    "  lumarko record IMG_0042.JPG | grep Meta.GPS";

const char* TypeName(VARTYPE type) {
  switch (type) {
    case VT_UNKNOWN:
      return "VT_UNKNOWN";
    case VT_DISPATCH:
      return "VT_DISPATCH";
    case VT_BSTR:
      return "VT_BSTR";
    case VT_DATE:
      return "VT_DATE";
    case VT_BOOL:
      return "VT_BOOL";
    case VT_I1:
      return "VT_I1";
    case VT_I2:
      return "VT_I2";
    case VT_I4:
      return "VT_I4";
    case VT_I8:
      return "VT_I8";
    case VT_UI1:
      return "VT_UI1";
    case VT_UI2:
      return "VT_UI2";
    case VT_UI4:
      return "VT_UI4";
    case VT_UI8:
      return "VT_UI8";
    case VT_R4:
      return "VT_R4";
    case VT_R8:
      return "VT_R8";
    case VT_ERROR:
      return "VT_ERROR";
    case VT_EMPTY:
      return "VT_EMPTY";
    default:
      return "VT_?";
  }
}

std::string ValueText(const Variant& value) {
  const VARIANT& v = value.ref();
  switch (v.vt) {
    case VT_UNKNOWN:
    case VT_DISPATCH:
      return "(object)";
    case VT_BSTR:
      return "\"" + ToUtf8(std::wstring_view(v.bstrVal, SysStringLen(v.bstrVal))) + "\"";
    case VT_DATE: {
      std::wstring text;
      return DateToText(v.date, &text) ? ToUtf8(text) : std::to_string(v.date);
    }
    case VT_BOOL:
      return v.boolVal != VARIANT_FALSE ? "true" : "false";
    case VT_ERROR: {
      char text[32];
      std::snprintf(text, sizeof text, "error 0x%08X", static_cast<unsigned>(v.scode));
      return text;
    }
    default:
      break;
  }
  Variant copy = value;
  if (FAILED(copy.ChangeType(VT_BSTR))) return "?";
  return ToUtf8(std::wstring_view(copy.ref().bstrVal, SysStringLen(copy.ref().bstrVal)));
}

int RunRecord(const RecordOptions& options) {
  std::vector<std::wstring> files;
  std::wstring why;
  const std::wstring input = FromUtf8(options.file);
  std::vector<std::wstring> leftOut;
  if (FAILED(CPictureFileScanner().Scan({&input, 1}, &files, &why, &leftOut))) {
    PrintError("cannot read the record", ToUtf8(why));
    return kExitFailure;
  }
  WarnLeftOut(leftOut);
  if (files.size() != 1 || !FileExists(files.front())) {
    PrintError(options.file, "not a file (give one picture file)");
    return kExitFailure;
  }
  const std::wstring& path = files.front();
  const ComPtr<CStandaloneHost> host =
      MakeComObject<CStandaloneHost>(files, CPictureFileScanner::CommonFolder(files));
  std::wstring problem;
  const ComPtr<CImageRecord> image = host->BuildRecord(path, 0, &problem);
  if (!problem.empty()) std::fprintf(stderr, "lumarko: warning: %s\n", ToUtf8(problem).c_str());
  const ComPtr<CDictionary> globals = MakeComObject<CDictionary>();
  const ComPtr<CDictionary> attachments = MakeComObject<CDictionary>();
  const CFileRecordBuilder builder(host.Get(), globals.Get(), attachments.Get());
  const auto values = builder.Values(image->record());
  const auto& keys = FileRecordKeys();
  std::string text;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    char head[128];
    std::snprintf(head, sizeof head, "%3zu  %-50s %-12s ", i, ToUtf8(keys[i].name).c_str(),
                  TypeName(values[i].vt()));
    text += head + ValueText(values[i]) + "\n";
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kExitSuccess;
}

}  // namespace

Runner SetupRecord(CLI::App& app) {
  auto options = std::make_shared<RecordOptions>();
  CLI::App* command =
      app.add_subcommand("record", "print the 120 values the rules see for one picture");
  command->footer(kRecordHelp);
  command->add_option("FILE", options->file, "the picture")->required();
  return [options] { return RunRecord(*options); };
}

}  // namespace lmk::cli
