// The worker-count rule shared by every system.
#include "platform/processor_info.h"

#include <algorithm>
#include <set>
#include <utility>

namespace lmk {

unsigned CountPhysicalCores(std::span<const LogicalProcessorPlace> places) {
  std::set<std::pair<unsigned, unsigned>> cores;
  for (const LogicalProcessorPlace& place : places) cores.emplace(place.package, place.core);
  return static_cast<unsigned>(cores.size());
}

unsigned ChooseWorkerCount(std::optional<unsigned long> useHtCores, unsigned logicalProcessors,
                           std::optional<unsigned> physicalCores) {
  unsigned count = logicalProcessors;
  if (useHtCores.value_or(0) == 0 && physicalCores.has_value()) count = *physicalCores;
  return std::max(count, 1u);
}

}  // namespace lmk
