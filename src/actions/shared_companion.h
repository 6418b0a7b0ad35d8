// Companions that several pictures use: "a.xmp" beside "a.jpg" and "a.dng" holds the RAW's
// edits and rating as well as the JPEG's. Such a companion goes only with the last picture that
// uses it; until then a move or a rename of one picture takes a copy of it.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "actions/companion_claim.h"
#include "actions/companion_files.h"
#include "com/com.h"

namespace lmk {

/// The decision whether a shared companion goes, and what is then done to it, for one
/// companion. While it lives, no other action of the process takes such a decision, so that
/// two workers handling "a.jpg" and "a.dng" at once never both keep the companion, nor both take
/// it. Take it only after the image itself was deleted, moved or renamed.
class SharedCompanion {
 public:
  /// image: where the image now is (its new path after a rename; the deleted path after a
  /// deletion), so that it never counts as another user; claim: the action's own claim on its
  /// companions, made before the image was touched.
  SharedCompanion(const CompanionFile& companion, std::wstring_view image, CompanionClaim& claim);
  /// Releases the claim on the companion, then the lock.
  ~SharedCompanion();
  SharedCompanion(const SharedCompanion&) = delete;
  SharedCompanion& operator=(const SharedCompanion&) = delete;

  /// Another picture that still uses the companion: one whose action claims it too, or a file
  /// of the companion's folder with the same base name (compared without regard to case) and
  /// another extension, that is neither the image nor itself a companion (".xmp", ".wav").
  /// Empty when there is none (an unreadable folder shows none), and for a companion named
  /// after the image's whole name ("a.jpg.xmp"), which only that image uses.
  const std::wstring& OtherUser() const { return user_; }

  /// Takes the companion to target for a picture that went there: while OtherUser still uses
  /// it, a copy (an existing target replaced only with overwrite); once the last user has gone
  /// and target already holds the same bytes without overwrite (the copy an earlier picture of
  /// the group took there), its removal; otherwise take(), the action's own move or rename.
  /// Logs why when it copies or removes. S_OK; the failure with *failure set to the text to
  /// report (take() sets its own).
  [[nodiscard]] HRESULT Take(std::wstring_view target, bool overwrite,
                             const std::function<HRESULT()>& take, std::wstring* failure) const;

 private:
  bool CopyStandsAt(std::wstring_view target) const;
  HRESULT CopyTo(std::wstring_view target, bool overwrite, std::wstring* failure) const;
  HRESULT RemoveForCopyAt(std::wstring_view target, std::wstring* failure) const;

  std::unique_lock<std::mutex> lock_;  // held for a companion that can be shared
  CompanionClaim& claim_;
  std::wstring path_;
  std::wstring user_;
};

}  // namespace lmk
