// Only Linux code here: what the kernel tells about the device behind a file system, in pure
// functions that tests can feed with the texts of other machines.
#pragma once

#include <string_view>

#include "platform/volume.h"

namespace lmk {

/// True for the type names (as in /proc/self/mountinfo) of file systems that reach their files
/// over a network: nfs, nfs4, cifs, smb3, 9p, ceph, sshfs through FUSE, and the like.
bool IsNetworkFileSystemType(std::string_view type);

/// The kind of a block device from its resolved path under /sys/devices (e.g.
/// "/sys/devices/pci0000:00/.../usb2/.../block/sdb/sdb1"), the name of its whole disk ("sdb")
/// and that disk's "removable" flag.
DriveKind ClassifyBlockDevice(std::string_view devicePath, std::string_view diskName,
                              bool removable);

}  // namespace lmk
