#include "codec/writer/media_buffer.h"

#include <cstring>

namespace codec {
namespace {

// Note [slack]: pictures are sized by the packed rule, w*h*12/8 for 4:2:0, but image routines write
// (w+1)/2 by (h+1)/2 samples of each chroma plane. At odd sizes that is up to (w+h+1)/2 bytes more
// in all, plus the rounding of the rule. For w, h >= 1 the sum w+h is at most w*h+1, so half of the
// picture's bytes and a little cover every shape, a line of one pixel included.
size_t WithSlack(int32_t bytes) {
  const size_t wanted = static_cast<size_t>(bytes);
  return wanted + wanted / 2 + 64;
}

}  // namespace

void MediaBuffer::Allocate(int32_t bytes) {
  FreeData();
  size = 0;
  if (bytes <= 0) return;
  // Not cleared: every user writes before it reads, and pages of the slack that nobody writes then
  // never cost memory.
  mData.reset(static_cast<uint8_t*>(std::malloc(WithSlack(bytes))));
  if (!mData) return;
  mCapacity = bytes;
  size = bytes;
}

void MediaBuffer::CopyIn(const uint8_t* bytes, int32_t n) {
  if (n <= 0 || n > mCapacity || bytes == nullptr) return;
  std::memcpy(mData.get(), bytes, static_cast<size_t>(n));
  size = n;
}

void MediaBuffer::FreeData() {
  mData.reset();
  mCapacity = 0;
}

}  // namespace codec
