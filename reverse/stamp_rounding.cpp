// SPDX-License-Identifier: MIT
#include "reverse/stamp_rounding.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace codec {
namespace {

using Blocks = std::vector<SampleBlock>;

// Blocks that belong together: up to, but without, the one at `end`. A distance is that of a stamp
// from the place that the first stamp would give it, in samples.
struct Run {
  size_t end = 0;
  double meanDistance = 0;
  int64_t longestDistance = 0;
};

Run RunFrom(const Blocks& blocks, size_t first, int64_t longestDistance) {
  Run run;
  int64_t place = blocks[first].start;
  int64_t sum = 0;
  for (run.end = first; run.end < blocks.size(); ++run.end) {
    const int64_t distance = blocks[run.end].start - place;
    if (std::abs(distance) > longestDistance) break;
    sum += distance;
    run.longestDistance = std::max(run.longestDistance, std::abs(distance));
    place += blocks[run.end].samples;
  }
  run.meanDistance = static_cast<double>(sum) / static_cast<double>(run.end - first);
  return run;
}

}  // namespace

void UndoRounding(std::vector<SampleBlock>* blocks, int rate) {
  // Half a millisecond, or a whole one between two stamps; and a sample because places are whole.
  const int64_t ofOne = rate / 2000 + 1;
  const int64_t ofTwo = rate / 1000 + 1;
  for (size_t first = 0; first < blocks->size();) {
    const Run run = RunFrom(*blocks, first, ofTwo);
    int64_t place = (*blocks)[first].start;
    if (run.longestDistance > ofOne) place += std::llround(run.meanDistance);
    for (; first < run.end; ++first) {
      (*blocks)[first].start = place;
      place += (*blocks)[first].samples;
    }
  }
}

}  // namespace codec
