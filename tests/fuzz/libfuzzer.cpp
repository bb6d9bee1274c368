// SPDX-License-Identifier: MIT
// What libFuzzer calls. FUZZ_TARGET is the target that this program is built for.
#include "tests/fuzz/targets.h"

// A run of the decoder takes and frees some megabytes. Freed memory that waits for a late use costs
// a fresh page each, and there is little sense in it: inputs take a millisecond.
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=4:thread_local_quarantine_size_kb=64:malloc_context_size=8:"
         "max_malloc_fill_size=0";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FUZZ_TARGET(data, size);
  return 0;
}
