// Only generic POSIX code here: the program's slot table found through the dynamic linker.
#include "platform/process_shared_slot.h"

#include <dlfcn.h>

#include <array>

namespace {

using SlotTable = std::array<std::atomic<void*>, static_cast<unsigned>(lmk::ProcessSlot::kCount)>;

}  // namespace

extern "C" __attribute__((visibility("default"))) void* LmkPlatformProcessSlots() {
  static SlotTable table{};
  return &table;
}

namespace lmk {

std::atomic<void*>& ProcessSharedSlot(ProcessSlot slot) {
  static SlotTable* const table = [] {
    using Accessor = void* (*)();
    auto shared = reinterpret_cast<Accessor>(::dlsym(RTLD_DEFAULT, "LmkPlatformProcessSlots"));
    return static_cast<SlotTable*>(shared != nullptr ? shared() : LmkPlatformProcessSlots());
  }();
  return (*table)[static_cast<unsigned>(slot)];
}

}  // namespace lmk
