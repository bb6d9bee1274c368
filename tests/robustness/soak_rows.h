// SPDX-License-Identifier: MIT
// The rows of the long run: which clips are damaged, and with which options they are reversed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/robustness/sandbox.h"

namespace test_support {

struct SoakRow {
  std::string title;
  std::vector<std::string> clips;  // paths; the mutations go round them
  // Adds the options of a mutation, which the seed chooses; null for none.
  void (*addOptions)(uint64_t seed, SandboxCase* one) = nullptr;
};

// Makes all clips.
std::vector<SoakRow> SoakRows();

// The mutation of this number. A row without options begins with 64 cuts of its clip; a row with
// options leaves every fourth clip as it is, since its options are to be tried, too.
SandboxCase Mutation(const SoakRow& row, int64_t number, uint64_t seed);

}  // namespace test_support
