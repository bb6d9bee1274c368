// SPDX-License-Identifier: MIT
// How much memory replay may take.
#pragma once

#include <cstdint>

namespace codec {

// The default budget in bytes: the smaller of 1 GiB and an eighth of the machine's memory.
int64_t DefaultReplayBudget();

}  // namespace codec
