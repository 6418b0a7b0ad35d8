// The RC4 stream cipher.
#include "actions/rc4.h"

#include <utility>

namespace lmk {

CRC4::CRC4(std::span<const uint8_t> key) {
  for (size_t n = 0; n < state_.size(); ++n) state_[n] = static_cast<uint8_t>(n);
  if (key.empty()) return;
  uint8_t j = 0;
  for (size_t n = 0; n < state_.size(); ++n) {
    j = static_cast<uint8_t>(j + state_[n] + key[n % key.size()]);
    std::swap(state_[n], state_[j]);
  }
}

void CRC4::Apply(std::span<uint8_t> data) {
  for (uint8_t& byte : data) {
    i_ = static_cast<uint8_t>(i_ + 1);
    j_ = static_cast<uint8_t>(j_ + state_[i_]);
    std::swap(state_[i_], state_[j_]);
    byte ^= state_[static_cast<uint8_t>(state_[i_] + state_[j_])];
  }
}

std::array<uint8_t, 16> CRC4::DestinationKey() {
  // Kept as two parts, so that the key itself does not stand in the program as one string.
  static constexpr std::array<uint8_t, 16> kTable = {0x3c, 0x91, 0x5e, 0x07, 0xd2, 0x48,
                                                     0xaf, 0x16, 0x6b, 0xe3, 0x20, 0x9d,
                                                     0x74, 0xc5, 0x0a, 0xb8};
  static constexpr uint32_t kMask = 0x5a17c3e9;
  std::array<uint8_t, 16> key{};
  for (size_t n = 0; n < key.size(); ++n) {
    key[n] = static_cast<uint8_t>(kTable[n] ^ (kMask >> (8 * (n % 4))));
  }
  return key;
}

}  // namespace lmk
