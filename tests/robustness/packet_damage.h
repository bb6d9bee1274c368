// SPDX-License-Identifier: MIT
// Damage that keeps the container sound: packets in another order, lost, doubled, with other
// stamps.
#pragma once

#include <cstdint>
#include <string>

namespace test_support {

// Writes the packets of the file at `from` to `to`, a file of the same container, damaged in a way
// that the seed chooses: the bytes of neighbours swapped, key packets lost, some packets lost or
// doubled, stamps missing, jumping by up to 100 hours, or turned negative. What the muxer refuses
// is left out.
void DamagePackets(const std::string& from, const std::string& to, uint64_t seed);

// What DamagePackets does with this seed, in a few words.
std::string PacketDamageName(uint64_t seed);

}  // namespace test_support
