// lumarko template: shows what a template gives for each named picture, exactly as an action
// would make the folder or the name, without touching the file.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "actions/transfer_destination.h"
#include "cli/subcommands.h"
#include "host/file_record_source.h"
#include "host/picture_file_scanner.h"
#include "platform/text_encoding.h"
#include "templates/template_context.h"
#include "templates/template_counters.h"

namespace lmk::cli {
namespace {

namespace fs = std::filesystem;

struct TemplateOptions {
  std::string templ;
  std::vector<std::string> inputs;
  bool live = false;
  bool name = false;
  bool recursive = false;
  bool withFilename = false;
  bool noFilename = false;
};

// One file to expand the template for, and the name it is shown under: as typed for a file
// named on the command line, the typed folder followed by the rest of the path for a file
// found in a folder (the way grep -r shows them).
struct Target {
  std::wstring path;
  std::string shown;
};

std::wstring AbsoluteFolder(const std::string& typed) {
  std::error_code ec;
  std::wstring folder = FromUtf8(fs::absolute(fs::path(typed), ec).lexically_normal().string());
  while (folder.size() > 1 && folder.back() == L'/') folder.pop_back();
  return folder;
}

std::string ShownName(const std::string& typed, const std::wstring& folder,
                      const std::wstring& file) {
  std::string prefix = typed;
  while (prefix.size() > 1 && prefix.back() == '/') prefix.pop_back();
  const std::wstring base = folder == L"/" ? L"" : folder;
  if (file.size() > base.size() && file.starts_with(base) && file[base.size()] == L'/') {
    return prefix + (prefix == "/" ? "" : "/") + ToUtf8(file.substr(base.size() + 1));
  }
  return ToUtf8(file);
}

// Resolves the inputs in the order given; an input that cannot be read is reported and
// counted in *failures, the others are still expanded.
std::vector<Target> CollectTargets(const TemplateOptions& options, bool* anyFolder, int* failures) {
  PictureScanOptions scanOptions;
  scanOptions.recursive = options.recursive;
  const CPictureFileScanner scanner(scanOptions);
  std::vector<Target> targets;
  for (const std::string& input : options.inputs) {
    const std::vector<std::wstring> one = {FromUtf8(input)};
    std::vector<std::wstring> files;
    std::wstring error;
    std::vector<std::wstring> leftOut;
    const HRESULT hr = scanner.Scan(one, &files, &error, &leftOut);
    WarnLeftOut(leftOut);
    if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) {
      PrintError(input, "no such file");
      ++*failures;
      continue;
    }
    if (FAILED(hr)) {
      PrintError(input, error.empty() ? DescribeFailure(hr) : ToUtf8(error));
      ++*failures;
      continue;
    }
    std::error_code ec;
    if (fs::is_directory(fs::path(input), ec)) {
      *anyFolder = true;
      const std::wstring folder = AbsoluteFolder(input);
      for (std::wstring& file : files) {
        std::string shown = ShownName(input, folder, file);
        targets.push_back(Target{std::move(file), std::move(shown)});
      }
    } else {
      for (std::wstring& file : files) targets.push_back(Target{std::move(file), input});
    }
  }
  return targets;
}

int RunTemplate(const TemplateOptions& options) {
  int failures = 0;
  bool anyFolder = false;
  const std::vector<Target> targets = CollectTargets(options, &anyFolder, &failures);
  // Names are shown when the output could otherwise not be told apart, as grep does.
  bool showNames = options.inputs.size() > 1 || anyFolder;
  if (options.withFilename) showNames = true;
  if (options.noFilename) showNames = false;

  if (!targets.empty()) {
    std::vector<std::wstring> paths;
    paths.reserve(targets.size());
    for (const Target& target : targets) paths.push_back(target.path);
    const CFileRecordSource records(std::move(paths));
    const std::wstring templ = FromUtf8(options.templ);
    // With --live the counters advance as in a run: from a block, the rest given back after.
    const TemplateCounters::RunScope counterBlocks;
    for (std::size_t i = 0; i < targets.size(); ++i) {
      ComPtr<IDictionary> record;
      std::wstring problem;
      HRESULT hr = records.Build(i, &record, &problem);
      // Not an error: the name and file values still expand, only the picture's are missing.
      if (!problem.empty()) std::fprintf(stderr, "lumarko: warning: %s\n", ToUtf8(problem).c_str());
      if (FAILED(hr)) {
        PrintError(targets[i].shown, hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)
                                         ? std::string("no such file")
                                         : "its values cannot be read: " + DescribeFailure(hr));
        ++failures;
        continue;
      }
      // One context per file, as an action has: back-references and "now" belong to one image.
      TemplateContext context;
      context.set_preview(!options.live);
      std::wstring result;
      // The actions' own expansion, so the preview shows what a run makes.
      hr = options.name ? ExpandNameTemplate(record.Get(), templ, context, &result)
                        : ExpandFolderTemplate(record.Get(), templ, context, &result);
      if (FAILED(hr)) {
        PrintError(targets[i].shown, "the template cannot be expanded: " + DescribeFailure(hr));
        ++failures;
        continue;
      }
      const std::string text = ToUtf8(result);
      if (showNames) {
        std::printf("%s: %s\n", targets[i].shown.c_str(), text.c_str());
      } else {
        std::printf("%s\n", text.c_str());
      }
    }
  }
  std::fflush(stdout);
  return failures == 0 ? kExitSuccess : kExitFailure;
}

constexpr const char* kTemplateHelp =
    "Examples:\n"
    "  lumarko template '{DateTaken:Year}/{DateTaken:Month0}/{FileName}' photo.jpg\n"
    "      2024/06/photo\n"
    "  lumarko template '{RegEx:IMG_(\\d+)}{CameraModel}-{1}' IMG_0042.jpg\n"
    "      EOS R6-0042: the camera model, then the number taken from the file name\n"
    "  lumarko template '{UserDefined:project}/{AutoIncrement:4}' *.jpg\n"
    "      a variable set with 'lumarko vars set project Alps' and a counter\n"
    "  lumarko template -r '{TitleCase{Replace{FileName},\"_\",\" \"}}' holidays/\n"
    "      every picture of a folder and its sub-folders\n"
    "\n"
    "The result is shown as copy, move and link make a destination folder (with --name: as\n"
    "rename makes a file name). Text taken from a picture never adds or climbs a folder:\n"
    "'/', '\\' and ':' in a value become '~', as does a value of only dots; characters that\n"
    "some systems refuse in names (< > : \" | ? * and control characters) and a leading '.'\n"
    "become '~' too.\n"
    "\n"
    "The counters {AutoIncrement} and {AutoCycle:n} show the value the next run would give\n"
    "but are not advanced, so a preview never changes what a run will name; with --live they\n"
    "advance one step per file, exactly as in a run.\n"
    "\n"
    "Exit codes:\n"
    "  0  every file was expanded\n"
    "  1  a file is missing or unreadable (the others are still shown)\n"
    "  2  the command line is wrong\n";

}  // namespace

Runner SetupTemplate(CLI::App& app) {
  auto options = std::make_shared<TemplateOptions>();
  CLI::App* command = app.add_subcommand(
      "template", "show what a file-name template gives for each picture (nothing is changed)");
  command
      ->add_option("TEMPLATE", options->templ, "the template, e.g. '{DateTaken:Year}/{FileName}'")
      ->required();
  command->add_option("FILE", options->inputs, "pictures, or folders of pictures")->required();
  command->add_flag("--live", options->live,
                    "advance {AutoIncrement} and {AutoCycle} as a run does (default: preview)");
  command->add_flag("--name", options->name,
                    "show the result as a file name (rename), not as a destination folder");
  command->add_flag("-r,--recursive", options->recursive,
                    "also the pictures of the sub-folders of a named folder");
  auto* with = command->add_flag("-H,--with-filename", options->withFilename,
                                 "always put the file's name before its result");
  command->add_flag("--no-filename", options->noFilename, "never put the file's name first")
      ->excludes(with);
  command->footer(kTemplateHelp);
  return [options] { return RunTemplate(*options); };
}

}  // namespace lmk::cli
