// CPictureFileScanner: folder walking, picture extensions and the sorted, de-duplicated list.
#include "host/picture_file_scanner.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <filesystem>
#include <system_error>

#include "platform/text_encoding.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

constexpr auto kDefaultExtensions = std::to_array<std::wstring_view>({
    // Picture formats.
    L".jpg",
    L".jpeg",
    L".jpe",
    L".jfif",
    L".png",
    L".tif",
    L".tiff",
    L".gif",
    L".bmp",
    L".dib",
    L".webp",
    L".heic",
    L".heif",
    L".hif",
    L".avif",
    L".jxl",
    // Camera RAW formats.
    L".cr2",
    L".cr3",
    L".crw",
    L".nef",
    L".nrw",
    L".arw",
    L".srf",
    L".sr2",
    L".raf",
    L".orf",
    L".rw2",
    L".pef",
    L".dng",
    L".srw",
    L".x3f",
    L".3fr",
    L".iiq",
    L".erf",
    L".mrw",
    L".kdc",
    L".dcr",
    L".mos",
});

std::wstring Lower(std::wstring_view text) {
  std::wstring lower(text);
  for (wchar_t& c : lower) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return lower;
}

bool IsHidden(const fs::path& path) {
  const std::string name = path.filename().string();
  return !name.empty() && name[0] == '.';
}

fs::path ToPath(std::wstring_view text) { return fs::path(ToUtf8(text)); }
std::wstring FromPath(const fs::path& path) { return FromUtf8(path.string()); }

}  // namespace

CPictureFileScanner::CPictureFileScanner(PictureScanOptions options)
    : options_(std::move(options)) {
  if (options_.extensions.empty()) {
    options_.extensions.assign(kDefaultExtensions.begin(), kDefaultExtensions.end());
  }
  for (std::wstring& extension : options_.extensions) extension = Lower(extension);
}

std::span<const std::wstring_view> CPictureFileScanner::DefaultExtensions() {
  return kDefaultExtensions;
}

bool CPictureFileScanner::IsPictureName(std::wstring_view name) const {
  const std::size_t dot = name.find_last_of(L'.');
  if (dot == std::wstring_view::npos || dot == 0) return false;
  const std::wstring extension = Lower(name.substr(dot));
  return std::find(options_.extensions.begin(), options_.extensions.end(), extension) !=
         options_.extensions.end();
}

HRESULT CPictureFileScanner::ScanFolder(const std::wstring& folder,
                                        std::vector<std::wstring>* files,
                                        std::wstring* error) const {
  std::error_code ec;
  fs::directory_iterator it(ToPath(folder), ec);
  if (ec) {
    *error = folder + L": the folder cannot be read (" + FromUtf8(ec.message()) + L")";
    return E_ACCESSDENIED;
  }
  std::vector<std::wstring> subfolders;
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    if (ec) {
      *error = folder + L": the folder cannot be read (" + FromUtf8(ec.message()) + L")";
      return E_ACCESSDENIED;
    }
    const fs::path& path = it->path();
    if (IsHidden(path)) continue;
    std::error_code statusError;
    if (it->is_directory(statusError)) {
      // A linked folder is not followed: it could lead back up the tree.
      if (options_.recursive && !it->is_symlink(statusError)) subfolders.push_back(FromPath(path));
      continue;
    }
    if (!it->is_regular_file(statusError)) continue;
    const std::wstring name = FromPath(path.filename());
    if (IsPictureName(name)) files->push_back(FromPath(path));
  }
  for (const std::wstring& subfolder : subfolders) {
    LMK_RETURN_IF_FAILED(ScanFolder(subfolder, files, error));
  }
  return S_OK;
}

HRESULT CPictureFileScanner::Scan(std::span<const std::wstring> inputs,
                                  std::vector<std::wstring>* files, std::wstring* error,
                                  std::vector<std::wstring>* leftOut) const {
  if (files == nullptr || error == nullptr) return E_INVALIDARG;
  files->clear();
  if (leftOut != nullptr) leftOut->clear();
  for (const std::wstring& input : inputs) {
    const std::wstring absolute = AbsolutePath(input);
    std::error_code ec;
    const fs::file_status status = fs::status(ToPath(absolute), ec);
    if (absolute.empty() || ec || status.type() == fs::file_type::not_found) {
      *error = input + L": no such file or folder";
      return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    }
    if (fs::is_directory(status)) {
      LMK_RETURN_IF_FAILED(ScanFolder(absolute, files, error));
    } else if (fs::is_regular_file(status)) {
      files->push_back(absolute);
    } else if (leftOut != nullptr) {
      leftOut->push_back(std::move(absolute));
    }
  }
  std::sort(files->begin(), files->end());
  files->erase(std::unique(files->begin(), files->end()), files->end());
  if (leftOut != nullptr) {
    std::sort(leftOut->begin(), leftOut->end());
    leftOut->erase(std::unique(leftOut->begin(), leftOut->end()), leftOut->end());
  }
  return S_OK;
}

std::wstring CPictureFileScanner::AbsolutePath(std::wstring_view input) {
  std::error_code ec;
  const fs::path path = fs::absolute(ToPath(input), ec).lexically_normal();
  if (ec) return {};
  std::wstring absolute = FromPath(path);
  // lexically_normal keeps a trailing separator on "dir/"; the list never shows one.
  while (absolute.size() > 1 && absolute.back() == L'/') absolute.pop_back();
  return absolute;
}

std::wstring CPictureFileScanner::CommonFolder(std::span<const std::wstring> files) {
  const auto folderOf = [](const std::wstring& file) -> std::wstring {
    const std::size_t slash = file.find_last_of(L'/');
    if (slash == std::wstring::npos || slash == 0) return L"/";
    return file.substr(0, slash);
  };
  // Whether inner is outer or lies below it, by whole folder names.
  const auto holds = [](const std::wstring& outer, const std::wstring& inner) {
    return outer == L"/" || inner == outer ||
           (inner.starts_with(outer) && inner[outer.size()] == L'/');
  };
  if (files.empty()) return {};
  std::wstring common = folderOf(files.front());
  for (const std::wstring& file : files) {
    const std::wstring folder = folderOf(file);
    while (!holds(common, folder)) {
      const std::size_t slash = common.find_last_of(L'/');
      common = (slash == std::wstring::npos || slash == 0) ? L"/" : common.substr(0, slash);
    }
  }
  return common;
}

}  // namespace lmk
