// CRC4: the stream cipher under which FTP destinations are kept in the settings, before the
// system seals them for the user. It only keeps a casual reader of the settings from seeing
// addresses; the sealing is what protects the passwords in them.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace lmk {

class CRC4 {
 public:
  /// The standard key schedule over 256 bytes, key repeated.
  explicit CRC4(std::span<const uint8_t> key);
  /// Enciphers or deciphers data in place (the same operation), going on from where the last
  /// call stopped.
  void Apply(std::span<uint8_t> data);

  /// The key of the stored destinations, built at run time from its parts.
  static std::array<uint8_t, 16> DestinationKey();

 private:
  std::array<uint8_t, 256> state_{};
  uint8_t i_ = 0;
  uint8_t j_ = 0;
};

}  // namespace lmk
