// SPDX-License-Identifier: MIT
// What libFuzzer calls. FUZZ_TARGET is the target that this program is built for.
#include "tests/fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FUZZ_TARGET(data, size);
  return 0;
}
