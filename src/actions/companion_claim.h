// CompanionClaim: the companions that a picture's action is about to take or delete, claimed
// for it from the lookup until the action ends.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "actions/companion_files.h"

namespace lmk {

/// While it lives, the companions of one picture that other pictures of its name may share
/// (ServesBaseName) count as in use by that picture, also after the picture itself was
/// deleted, moved or renamed. Without it, two workers handling "a.jpg" and "a.dng" at once
/// would each find the other picture gone and both take "a.xmp". Make it before the picture
/// is touched. Safe from any thread.
class CompanionClaim {
 public:
  /// image: the picture's path before the action.
  CompanionClaim(std::wstring_view image, const std::vector<CompanionFile>& companions);
  ~CompanionClaim();
  CompanionClaim(const CompanionClaim&) = delete;
  CompanionClaim& operator=(const CompanionClaim&) = delete;

  /// The picture (its path before its action) of another live claim on the companion at path;
  /// empty when there is none.
  std::wstring OtherClaimant(std::wstring_view path) const;

  /// Gives up the claim on the companion at path once its fate is decided and done, so that
  /// the last picture of the name that comes after finds no claim but its own.
  void Release(std::wstring_view path);

 private:
  std::wstring image_;
  std::vector<std::wstring> paths_;
};

}  // namespace lmk
