// Only Linux-style POSIX code here: the topology from /sys/devices/system/cpu, the logical count
// from sysconf.
#include "platform/processor_info.h"

#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace lmk {
namespace {

std::optional<unsigned> ReadNumber(const std::filesystem::path& path) {
  std::ifstream in(path);
  unsigned long value = 0;
  if (!(in >> value) || value > 0xFFFFFFFFul) return std::nullopt;
  return static_cast<unsigned>(value);
}

bool IsCpuFolderName(const std::string& name) {
  if (name.size() <= 3 || name.compare(0, 3, "cpu") != 0) return false;
  for (size_t i = 3; i < name.size(); ++i) {
    if (std::isdigit(static_cast<unsigned char>(name[i])) == 0) return false;
  }
  return true;
}

}  // namespace

unsigned LogicalProcessorCount() {
  const long online = ::sysconf(_SC_NPROCESSORS_ONLN);
  return online > 0 ? static_cast<unsigned>(online) : 1u;
}

std::optional<unsigned> PhysicalCoreCount() {
  std::error_code ec;
  std::filesystem::directory_iterator it("/sys/devices/system/cpu", ec);
  if (ec) return std::nullopt;
  std::vector<LogicalProcessorPlace> places;
  for (; it != std::filesystem::directory_iterator(); it.increment(ec)) {
    if (ec) return std::nullopt;
    if (!IsCpuFolderName(it->path().filename().string())) continue;
    // An offline processor has no topology folder and takes no work.
    const std::filesystem::path topology = it->path() / "topology";
    const std::optional<unsigned> core = ReadNumber(topology / "core_id");
    const std::optional<unsigned> package = ReadNumber(topology / "physical_package_id");
    if (!core || !package) continue;
    places.push_back({*package, *core});
  }
  if (places.empty()) return std::nullopt;
  return CountPhysicalCores(places);
}

}  // namespace lmk
