// Pointer slots shared by every module of a process that carries its own copy of this library
// (the host program and the plug-in it loads), so that both reach one and the same object.
#pragma once

#include <atomic>

namespace lmk {

enum class ProcessSlot : unsigned {
  kCurrentEventLog,  ///< the batch run's EventLogWriter while a run is under way
  kCount
};

/// The process's slot. When the program exports the slot table (built with exported symbols),
/// every module uses the program's; otherwise each module uses its own.
std::atomic<void*>& ProcessSharedSlot(ProcessSlot slot);

}  // namespace lmk
