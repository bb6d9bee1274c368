// SPDX-License-Identifier: MIT
// The writer's only way to its encoder.
#pragma once

#include <memory>

#include "base/first_error.h"
#include "base/lock.h"
#include "codec/encoder/media_encoder.h"
#include "codec/writer/media_buffer_pool.h"

namespace codec {

// Owns the encoder and makes every call to it under one mutex, so that an owner that asks for a
// parameter may do so while another thread encodes. Closes an encoder that was opened, also one
// whose opening failed half-way, exactly once.
class EncoderGate {
 public:
  // Takes ownership; null is allowed.
  explicit EncoderGate(MediaEncoder* encoder) : mEncoder(encoder) {}
  ~EncoderGate();
  EncoderGate(const EncoderGate&) = delete;
  EncoderGate& operator=(const EncoderGate&) = delete;

  bool HasEncoder() const { return mEncoder != nullptr; }
  // The encoder's result; -1 without one.
  int Open();
  void Close();
  // The encoder's answer; -1 without one.
  int GetParameter(const char* key);
  // The first failure of the encoder or the writer, also after Close; -1 without an encoder.
  int OutputError();
  // Keeps a failure of the writer that leaves the output incomplete, a negative errno number. 0 is
  // none, and never waits for a frame that is being encoded.
  void Fail(int error);
  // Pictures that the encoder has taken without an error.
  int64_t PicturesWritten();
  // Encodes the frame, unless the encoder has been closed, and gives it back to the pool.
  void Write(PooledBuffer buffer);

 private:
  enum class State { kNew, kOpened, kClosed };

  but::Mutex mLock;
  const std::unique_ptr<MediaEncoder> mEncoder BUT_POINTS_UNDER(mLock);
  State mState BUT_UNDER(mLock) = State::kNew;
  but::FirstError mError BUT_UNDER(mLock);
  int64_t mPicturesWritten BUT_UNDER(mLock) = 0;
};

}  // namespace codec
