// The processor topology that decides how many workers a batch run uses.
#pragma once

#include <optional>
#include <span>

namespace lmk {

/// One logical processor's place in the topology.
struct LogicalProcessorPlace {
  unsigned package = 0;  ///< physical package (socket)
  unsigned core = 0;     ///< core within the package
  bool operator==(const LogicalProcessorPlace&) const = default;
};

/// Logical processors the system runs (hyper-threads count separately); at least 1.
unsigned LogicalProcessorCount();

/// Physical cores; nullopt when the system does not tell its topology.
std::optional<unsigned> PhysicalCoreCount();

/// Distinct (package, core) pairs among `places`: the physical cores they belong to.
unsigned CountPhysicalCores(std::span<const LogicalProcessorPlace> places);

/// Workers for a run: the logical processors when the "UseHTCores" setting is non-zero, else the
/// physical cores (the logical processors when the topology is unknown); never fewer than 1.
unsigned ChooseWorkerCount(std::optional<unsigned long> useHtCores, unsigned logicalProcessors,
                           std::optional<unsigned> physicalCores);

}  // namespace lmk
