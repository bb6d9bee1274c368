// SPDX-License-Identifier: MIT
#include "tests/robustness/damage.h"

#include <algorithm>
#include <array>
#include <random>

namespace test_support {
namespace {

using Random = std::mt19937_64;

// Of 188 bytes are the packets of a transport stream, of 2048 and 4096 the blocks of disks.
constexpr std::array<size_t, 6> kBlockSizes = {16, 188, 512, 940, 2048, 4096};
constexpr size_t kHeaderBytes = 2048;

// Not std::uniform_int_distribution, whose numbers depend on the library.
size_t Below(Random* random, size_t limit) { return limit == 0 ? 0 : (*random)() % limit; }

struct Block {
  size_t begin;
  size_t size;
};

Block AnyBlock(const std::string& bytes, Random* random) {
  const size_t size = std::min(kBlockSizes[Below(random, kBlockSizes.size())], bytes.size());
  const size_t slots = size == 0 ? 0 : bytes.size() / size;
  return {Below(random, slots) * size, size};
}

void FlipBits(std::string* bytes, size_t limit, Random* random) {
  const size_t reach = std::min(limit, bytes->size());
  if (reach == 0) return;
  // One to 256 of them; few are as likely as many.
  const size_t most = size_t{1} << Below(random, 9);
  for (size_t count = 1 + Below(random, most); count > 0; --count) {
    char& byte = (*bytes)[Below(random, reach)];
    byte = static_cast<char>(byte ^ (1 << Below(random, 8)));
  }
}

void FlipAnywhere(std::string* bytes, Random* random) { FlipBits(bytes, bytes->size(), random); }

void FlipInHeader(std::string* bytes, Random* random) { FlipBits(bytes, kHeaderBytes, random); }

void SwapBlocks(std::string* bytes, Random* random) {
  const Block first = AnyBlock(*bytes, random);
  if (first.size == 0) return;
  const size_t second = Below(random, bytes->size() / first.size) * first.size;
  if (second == first.begin) return;
  std::swap_ranges(bytes->begin() + static_cast<long>(first.begin),
                   bytes->begin() + static_cast<long>(first.begin + first.size),
                   bytes->begin() + static_cast<long>(second));
}

void LoseBlock(std::string* bytes, Random* random) {
  const Block block = AnyBlock(*bytes, random);
  bytes->erase(block.begin, block.size);
}

void DoubleBlock(std::string* bytes, Random* random) {
  const Block block = AnyBlock(*bytes, random);
  bytes->insert(block.begin, bytes->substr(block.begin, block.size));
}

void ClearBlock(std::string* bytes, Random* random) {
  const Block block = AnyBlock(*bytes, random);
  std::fill_n(bytes->begin() + static_cast<long>(block.begin), block.size,
              Below(random, 2) == 0 ? '\0' : '\xff');
}

void FillWithNoise(std::string* bytes, Random* random) {
  const Block block = AnyBlock(*bytes, random);
  for (size_t i = 0; i < block.size; ++i) {
    (*bytes)[block.begin + i] = static_cast<char>(Below(random, 256));
  }
}

struct Way {
  const char* name;
  void (*apply)(std::string*, Random*);
};

constexpr std::array kWays = {
    Way{"bits", &FlipAnywhere}, Way{"bits", &FlipAnywhere},   Way{"header bits", &FlipInHeader},
    Way{"swap", &SwapBlocks},   Way{"loss", &LoseBlock},      Way{"double", &DoubleBlock},
    Way{"clear", &ClearBlock},  Way{"noise", &FillWithNoise},
};

const Way& WayOf(uint64_t seed) { return kWays[Random(seed)() % kWays.size()]; }

}  // namespace

std::string CutOff(const std::string& bytes, int part) {
  return bytes.substr(0, bytes.size() * static_cast<size_t>(part) / 64);
}

std::string Damage(std::string bytes, uint64_t seed) {
  Random random(seed);
  const Way& way = kWays[random() % kWays.size()];
  way.apply(&bytes, &random);
  return bytes;
}

std::string DamageName(uint64_t seed) { return WayOf(seed).name; }

}  // namespace test_support
