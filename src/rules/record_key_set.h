// RecordKeySet: the per-file record values that a run's rules read, or "every value" when one of
// them cannot tell, so that the record (and the host behind it) can leave out the rest.
#pragma once

#include <initializer_list>
#include <set>
#include <string>
#include <string_view>

namespace lmk {

class RecordKeySet {
 public:
  /// Adds the record keys named ("Meta.DateTakenFT"); nothing once every key is needed.
  void Add(std::wstring_view key);
  void Add(std::initializer_list<std::wstring_view> keys);
  /// From now on every key is needed: something may read any value of the record.
  void AddEvery();

  bool IsEvery() const { return every_; }
  /// Whether key is needed (always true once every key is).
  bool Contains(std::wstring_view key) const;
  /// The keys added; meaningless once IsEvery().
  const std::set<std::wstring, std::less<>>& Keys() const { return keys_; }

 private:
  bool every_ = false;
  std::set<std::wstring, std::less<>> keys_;
};

}  // namespace lmk
