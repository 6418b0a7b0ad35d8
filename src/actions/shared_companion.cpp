// Finding the other users of a companion, under the process-wide lock of those decisions.
#include "actions/shared_companion.h"

#include <vector>

#include "actions/action_failure.h"
#include "actions/action_path.h"
#include "actions/action_texts.h"
#include "actions/companion_claim.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/file_compare.h"
#include "platform/file_facts.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/folder_names.h"
#include "rules/element_key.h"

namespace lmk {
namespace {

std::mutex& DecisionLock() {
  static std::mutex lock;
  return lock;
}

bool IsCompanionExtension(std::wstring_view extension) {
  return EqualsNoCase(extension, L".xmp") || EqualsNoCase(extension, L".wav");
}

// A picture of the companion's base name in its folder, other than image; empty when none.
std::wstring UserInFolder(const CompanionFile& companion, std::wstring_view image) {
  constexpr PathStyle kStyle = kNativePathStyle;
  const std::wstring_view folder = FolderOf(companion.path, kStyle);
  const std::wstring_view name = NameOf(companion.path, kStyle);
  if (name.size() <= companion.suffix.size()) return {};
  const std::wstring_view base = name.substr(0, name.size() - companion.suffix.size());
  const std::wstring_view imageName =
      FolderOf(image, kStyle) == folder ? NameOf(image, kStyle) : std::wstring_view();
  std::vector<std::wstring> names;
  if (FAILED(ListFolderNames(folder, &names))) {
    TakeErrorDescription();
    return {};
  }
  for (const std::wstring& other : names) {
    const std::wstring_view extension = ExtensionOf(other, kStyle);
    if (extension.empty() || IsCompanionExtension(extension) || other == imageName ||
        !EqualsNoCase(std::wstring_view(other).substr(0, other.size() - extension.size()), base)) {
      continue;
    }
    std::wstring user = JoinPaths(folder, other, kStyle);
    if (FileExists(user)) return user;
  }
  return {};
}

}  // namespace

SharedCompanion::SharedCompanion(const CompanionFile& companion, std::wstring_view image,
                                 CompanionClaim& claim)
    : claim_(claim), path_(companion.path) {
  // Only a companion named "<base><extension>" can serve several pictures; the others need no
  // lock.
  if (!ServesBaseName(companion)) return;
  lock_ = std::unique_lock(DecisionLock());
  user_ = UserInFolder(companion, image);
  // The folder is read first: a picture of the name that another worker takes away meanwhile
  // claimed the companion before it went, and its claim, read second, lasts until that worker
  // has taken this lock and decided.
  if (user_.empty()) user_ = claim.OtherClaimant(path_);
}

SharedCompanion::~SharedCompanion() { claim_.Release(path_); }

HRESULT SharedCompanion::Take(std::wstring_view target, bool overwrite,
                              const std::function<HRESULT()>& take, std::wstring* failure) const {
  if (!user_.empty()) return CopyTo(target, overwrite, failure);
  if (!overwrite && CopyStandsAt(target)) return RemoveForCopyAt(target, failure);
  return take();
}

bool SharedCompanion::CopyStandsAt(std::wstring_view target) const {
  if (!lock_.owns_lock() || !FileExists(target)) return false;
  FileComparison result = FileComparison::kDifferent;
  if (FAILED(CompareFiles(path_, target, &result))) {
    TakeErrorDescription();
    return false;
  }
  return result == FileComparison::kIdentical;
}

HRESULT SharedCompanion::CopyTo(std::wstring_view target, bool overwrite,
                                std::wstring* failure) const {
  LogEvent(kEventLevelInformation, action_text::kCopyingShared, path_, target, user_);
  DWORD attributes = 0;
  if (overwrite && SUCCEEDED(GetFileAttributesOf(target, &attributes)) &&
      (attributes & kFileAttributeReadOnly) != 0) {
    (void)SetFileAttributesOf(target, attributes & ~kFileAttributeReadOnly);
  }
  const HRESULT hr = CopyFileTo(path_, target, !overwrite);
  if (FAILED(hr)) {
    TakeErrorDescription();
    *failure = hr == HRESULT_FROM_WIN32(ERROR_FILE_EXISTS)
                   ? FailureMessage(FormatActionText(action_text::kFileExists, target), hr)
                   : FailureMessage(FormatActionText(action_text::kCannotCopy, path_, target), hr);
  }
  return hr;
}

HRESULT SharedCompanion::RemoveForCopyAt(std::wstring_view target, std::wstring* failure) const {
  LogEvent(kEventLevelInformation, action_text::kSharedCopyStands, path_, target);
  const HRESULT hr = DeleteFileAt(path_);
  if (FAILED(hr)) {
    TakeErrorDescription();
    *failure = FailureMessage(FormatActionText(action_text::kCannotDelete, path_), hr);
  }
  return hr;
}

}  // namespace lmk
