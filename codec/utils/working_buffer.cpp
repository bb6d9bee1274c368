// SPDX-License-Identifier: MIT
#include "codec/utils/working_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "codec/utils/image_utils.h"

namespace codec {

bool WorkingBuffer::Resize(int64_t bytes) {
  if (bytes < 0 || bytes > std::numeric_limits<int32_t>::max()) return false;
  if (bytes == mSize) return true;
  UniqueBytes grown;
  if (bytes > 0) {
    // The system hands out zeroed pages, so that large pictures cost nothing until they are used.
    grown.reset(static_cast<uint8_t*>(std::calloc(static_cast<size_t>(WithSlack(bytes)), 1)));
    if (grown == nullptr) return false;
    const auto kept = static_cast<size_t>(std::min(bytes, mSize));
    if (kept > 0) std::memcpy(grown.get(), mData.get(), kept);
  }
  mData = std::move(grown);
  mSize = bytes;
  return true;
}

}  // namespace codec
