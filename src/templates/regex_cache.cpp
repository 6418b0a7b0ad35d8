// The per-thread cache of compiled template expressions.
#include "templates/regex_cache.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace lmk {
namespace {

struct Cache {
  // Null entries remember patterns that do not compile, so they are not tried again either.
  std::unordered_map<std::wstring, std::unique_ptr<BoundedRegex>> compiled;
  size_t compile_count = 0;
};

Cache& ThreadCache() {
  thread_local Cache cache;
  return cache;
}

}  // namespace

const BoundedRegex* RegexCache::Get(std::wstring_view pattern) {
  Cache& cache = ThreadCache();
  std::wstring key(pattern);
  auto found = cache.compiled.find(key);
  if (found != cache.compiled.end()) return found->second.get();
  ++cache.compile_count;
  std::unique_ptr<BoundedRegex> regex = BoundedRegex::Compile(key);
  const BoundedRegex* result = regex.get();
  cache.compiled.emplace(std::move(key), std::move(regex));
  return result;
}

size_t RegexCache::CompiledCount() { return ThreadCache().compile_count; }

}  // namespace lmk
