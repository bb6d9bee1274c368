// SPDX-License-Identifier: MIT
#include "audio/audio_process_impl.h"

#include <atomic>

namespace vux {
namespace {

// Process-wide; several writers may be configured at once.
std::atomic<int32_t> gSerial{0};

}  // namespace

int AudioProcessImpl::Init() {
  if (!mFifo) mFifo = std::make_unique<ByteFifo>(++gSerial);
  return 0;
}

int AudioProcessImpl::SetSampleRate(int rate) {
  mSampleRate = rate;
  return 0;
}

int AudioProcessImpl::SetChannels(int channels) {
  mChannels = channels;
  return 0;
}

int AudioProcessImpl::Push(const uint8_t* data, int size) {
  if (!mFifo) return kNotInitialised;
  return mFifo->Append(data, size) ? 0 : -1;
}

int AudioProcessImpl::Pull(uint8_t* out, int size) {
  if (!mFifo) return kNotInitialised;
  return mFifo->Take(out, size) ? 0 : kTooFewBytes;
}

int AudioProcessImpl::Flush(uint8_t* out, int capacity) {
  if (!mFifo) return kNotInitialised;
  const int32_t remaining = mFifo->Held();
  if (remaining < 1) return 0;
  if (remaining > capacity) return kTooMuchForBuffer;
  return mFifo->Take(out, remaining) ? remaining : kTooMuchForBuffer;
}

int AudioProcessImpl::FrameCount(int frame_size) {
  if (!mFifo) return kNotInitialised;
  // A frame of no bytes would be held any number of times.
  return frame_size < 1 ? 0 : mFifo->Held() / frame_size;
}

}  // namespace vux
