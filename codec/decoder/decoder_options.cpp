// SPDX-License-Identifier: MIT
#include "codec/decoder/decoder_options.h"

#include <unistd.h>

#include <algorithm>

namespace codec {

int64_t DefaultReplayBudget() {
  constexpr int64_t kMost = int64_t{1} << 30;
  const int64_t memory =
      static_cast<int64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<int64_t>(sysconf(_SC_PAGESIZE));
  return std::clamp<int64_t>(memory / 8, 0, kMost);
}

}  // namespace codec
