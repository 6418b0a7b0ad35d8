// Sealing secrets for the current user: what is sealed can be unsealed only by the same user on
// the same machine. On POSIX it is AES-256-GCM under a random key kept in a file that only the
// user may read; on Windows the system's data protection.
#pragma once

#include <cstdint>
#include <vector>

#include "com/com.h"

namespace lmk {

/// Seals plain into *sealed (replacing it). The key is made at first use. S_OK;
/// E_ACCESSDENIED or HRESULT_FROM_WIN32(ERROR_CANTOPEN) when the key cannot be made or read,
/// with the thread's error description naming the key file.
[[nodiscard]] HRESULT SealSecret(const std::vector<uint8_t>& plain, std::vector<uint8_t>* sealed);

/// Unseals what SealSecret made. S_OK; HRESULT_FROM_WIN32(ERROR_INVALID_DATA) for data that was
/// damaged, sealed under another key or is not a sealed secret at all; the key's failures as for
/// SealSecret.
[[nodiscard]] HRESULT UnsealSecret(const std::vector<uint8_t>& sealed, std::vector<uint8_t>* plain);

/// Keeps the passwords this process holds out of core files (and away from other programs of
/// the same user that would read its memory): called before a password enters memory, it lasts
/// for the life of the process. libcurl keeps its own copies of a URL's credentials, so wiping
/// our buffers alone could not promise this.
void KeepSecretsOutOfCoreFiles() noexcept;

}  // namespace lmk
