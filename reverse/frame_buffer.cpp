#include "reverse/frame_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace codec {
namespace {

// The image routines read whole vectors and round odd picture sizes up, so they may look a little
// past the last row of a picture.
constexpr size_t kReadSlack = 4096;

}  // namespace

void FrameBuffer::Resize(int32_t bytes) {
  // Zero pages straight from the system: only what a frame really fills costs memory, however much
  // room its buffer has.
  std::unique_ptr<uint8_t[], Free> data(
      static_cast<uint8_t*>(std::calloc(static_cast<size_t>(bytes) + kReadSlack, 1)));
  if (data == nullptr) throw std::bad_alloc();
  if (mSized) std::memcpy(data.get(), mData.get(), static_cast<size_t>(std::min(bytes, mLength)));
  mData = std::move(data);
  mLength = bytes;
  mSized = true;
}

}  // namespace codec
