// SPDX-License-Identifier: MIT
// What the media writer sees of audio processing: blocks of any size in, blocks of one size out.
#pragma once

#include <cstdint>

namespace vux {

// The results besides 0 and counts. The numbers are part of the interface.

constexpr int kTooMuchForBuffer = -1;  // more bytes are held than the caller has room for
constexpr int kNotInitialised = -14;   // Init has not been called
constexpr int kTooFewBytes = -15;      // fewer bytes are held than the caller asks for

// A store of bytes between a producer, whose blocks have any size, and an encoder, whose frames
// have one. What the bytes mean is the caller's business: interleaved samples, here, of the format
// and channel count that the writer is configured with. Buffers are the caller's; their bytes are
// copied. Not synchronised: one thread at a time.
class AudioProcess {
 public:
  AudioProcess() = default;
  virtual ~AudioProcess() = default;
  AudioProcess(const AudioProcess&) = delete;
  AudioProcess& operator=(const AudioProcess&) = delete;

  // Must be called before anything but the setters; 0. A second call changes nothing.
  virtual int Init() = 0;
  // Samples per second and channel. 0.
  virtual int SetSampleRate(int rate) = 0;
  // Channels of a sample. 0.
  virtual int SetChannels(int channels) = 0;
  // Copies `size` bytes in. 0, or kNotInitialised, or -1 when the bytes cannot be held.
  virtual int Push(const uint8_t* data, int size) = 0;
  // Moves exactly `size` bytes out. 0, or kTooFewBytes (nothing is moved), or kNotInitialised.
  virtual int Pull(uint8_t* out, int size) = 0;
  // Moves all bytes out. Their number, 0 included, or kTooMuchForBuffer when they exceed `capacity`
  // (nothing is moved), or kNotInitialised.
  virtual int Flush(uint8_t* out, int capacity) = 0;
  // Number of whole frames of `frame_size` bytes held, or kNotInitialised.
  virtual int FrameCount(int frame_size) = 0;
};

}  // namespace vux
