// The module's lock count: live COM objects plus IClassFactory::LockServer locks.
#include "com/com_object.h"

namespace lmk {
namespace {

std::atomic<long>& LockCount() noexcept {
  static std::atomic<long> count{0};
  return count;
}

}  // namespace

long ModuleLockCount() noexcept { return LockCount().load(std::memory_order_acquire); }

void ModuleLock() noexcept { LockCount().fetch_add(1, std::memory_order_acq_rel); }

void ModuleUnlock() noexcept { LockCount().fetch_sub(1, std::memory_order_acq_rel); }

}  // namespace lmk
