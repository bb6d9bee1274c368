// SPDX-License-Identifier: MIT
#include "reverse/stamp_rounding.h"

#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace codec {
namespace {

using Blocks = std::vector<SampleBlock>;

// The end of the blocks from `first` on that belong together. `meanError`: the mean distance of
// their stamps from the places that the first stamp would give them.
size_t EndOfRun(const Blocks& blocks, size_t first, int64_t rounding, double* meanError) {
  int64_t place = blocks[first].start;
  int64_t errors = 0;
  size_t end = first;
  for (; end < blocks.size(); ++end) {
    const int64_t error = blocks[end].start - place;
    if (std::abs(error) > rounding) break;
    errors += error;
    place += blocks[end].samples;
  }
  *meanError = static_cast<double>(errors) / static_cast<double>(end - first);
  return end;
}

}  // namespace

void UndoRounding(std::vector<SampleBlock>* blocks, int rate) {
  // A millisecond between two stamps, and a sample because places are whole.
  const int64_t rounding = rate / 1000 + 1;
  for (size_t first = 0; first < blocks->size();) {
    double meanError = 0;
    const size_t end = EndOfRun(*blocks, first, rounding, &meanError);
    int64_t place = (*blocks)[first].start + std::llround(meanError);
    for (; first < end; ++first) {
      (*blocks)[first].start = place;
      place += (*blocks)[first].samples;
    }
  }
}

}  // namespace codec
