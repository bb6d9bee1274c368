// SPDX-License-Identifier: MIT
// Ways to damage the bytes of a file, all of them given by a number, so that each can be had again.
#pragma once

#include <cstdint>
#include <string>

namespace test_support {

// The first `part` of 64 equal parts.
std::string CutOff(const std::string& bytes, int part);

// One of these, chosen by the seed: single bits turned over, in the whole file or in its first
// kilobytes; two blocks swapped; a block lost, doubled, cleared or filled with noise.
std::string Damage(std::string bytes, uint64_t seed);

// What Damage does with this seed, in a few words.
std::string DamageName(uint64_t seed);

}  // namespace test_support
