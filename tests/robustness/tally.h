// SPDX-License-Identifier: MIT
// How many runs ended how.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/robustness/sandbox.h"

namespace test_support {

// The ends of the runs of one kind of input, and the most that one of them took.
struct Tally {
  std::array<int64_t, kVerdicts> counts{};
  long peakMegabytes = 0;
  double longestCpuSeconds = 0;
  std::string largest;
  std::string longest;

  void Add(const SandboxResult& result);
  // All runs of another tally.
  void Add(const Tally& other);
  int64_t Tried() const;
  int64_t Bad() const;
  int64_t Count(Verdict verdict) const { return counts[static_cast<size_t>(verdict)]; }
  // For a terminal.
  static std::string Heading();
  std::string Row(const std::string& title) const;
};

struct TitledTally {
  std::string title;
  Tally tally;
};

// A table in Markdown, whose last row counts all others. A bad end that no run had has no column.
std::string MarkdownTable(const std::vector<TitledTally>& rows);

}  // namespace test_support
