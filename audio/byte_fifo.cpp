// SPDX-License-Identifier: MIT
#include "audio/byte_fifo.h"

#include <cstring>
#include <limits>

namespace vux {

bool ByteFifo::Append(const uint8_t* data, int32_t size) {
  if (size == 0) return true;
  if (data == nullptr || size < 0) return false;
  if (size > std::numeric_limits<int32_t>::max() - Held()) return false;
  // What has been taken makes room before the store grows. What is left is less than one frame
  // when the owner pulls all whole frames after each push, so that the move is short.
  mBytes.erase(mBytes.begin(), mBytes.begin() + mRead);
  mRead = 0;
  mBytes.insert(mBytes.end(), data, data + size);
  return true;
}

bool ByteFifo::Take(uint8_t* out, int32_t size) {
  if (size < 0 || size > Held()) return false;
  if (size == 0) return true;
  if (out == nullptr) return false;
  std::memcpy(out, mBytes.data() + mRead, static_cast<size_t>(size));
  mRead += size;
  return true;
}

}  // namespace vux
