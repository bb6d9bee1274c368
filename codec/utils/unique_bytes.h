// SPDX-License-Identifier: MIT
// Owned bytes that are not cleared when they are allocated.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace codec {

// Frees what malloc gave.
struct FreeBytes {
  // The deleter's call.
  void operator()(uint8_t* bytes) const { std::free(bytes); }
};
// An owned array of bytes from malloc, or null.
using UniqueBytes = std::unique_ptr<uint8_t[], FreeBytes>;

}  // namespace codec
