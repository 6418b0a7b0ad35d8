// RecordKeySet: a set of record key names that can also stand for every key.
#include "rules/record_key_set.h"

namespace lmk {

void RecordKeySet::Add(std::wstring_view key) {
  if (!every_) keys_.emplace(key);
}

void RecordKeySet::Add(std::initializer_list<std::wstring_view> keys) {
  for (std::wstring_view key : keys) Add(key);
}

void RecordKeySet::AddEvery() {
  every_ = true;
  keys_.clear();
}

bool RecordKeySet::Contains(std::wstring_view key) const {
  return every_ || keys_.find(key) != keys_.end();
}

}  // namespace lmk
