// The process-wide table of claimed companions.
#include "actions/companion_claim.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace lmk {
namespace {

struct ClaimTable {
  std::mutex lock;
  std::map<std::wstring, std::vector<const CompanionClaim*>, std::less<>> claims;
};

ClaimTable& Claims() {
  static ClaimTable table;
  return table;
}

}  // namespace

CompanionClaim::CompanionClaim(std::wstring_view image,
                               const std::vector<CompanionFile>& companions)
    : image_(image) {
  for (const CompanionFile& companion : companions) {
    if (ServesBaseName(companion)) paths_.push_back(companion.path);
  }
  if (paths_.empty()) return;
  ClaimTable& table = Claims();
  const std::lock_guard guard(table.lock);
  for (const std::wstring& path : paths_) table.claims[path].push_back(this);
}

CompanionClaim::~CompanionClaim() {
  while (!paths_.empty()) Release(std::wstring(paths_.back()));
}

void CompanionClaim::Release(std::wstring_view path) {
  const auto mine = std::find(paths_.begin(), paths_.end(), path);
  if (mine == paths_.end()) return;
  paths_.erase(mine);
  ClaimTable& table = Claims();
  const std::lock_guard guard(table.lock);
  const auto found = table.claims.find(path);
  if (found == table.claims.end()) return;
  std::erase(found->second, this);
  if (found->second.empty()) table.claims.erase(found);
}

std::wstring CompanionClaim::OtherClaimant(std::wstring_view path) const {
  ClaimTable& table = Claims();
  const std::lock_guard guard(table.lock);
  const auto found = table.claims.find(path);
  if (found == table.claims.end()) return {};
  for (const CompanionClaim* claim : found->second) {
    if (claim != this) return claim->image_;
  }
  return {};
}

}  // namespace lmk
