// SPDX-License-Identifier: MIT
// The reframer: a byte FIFO without any signal processing.
#pragma once

#include <cstdint>
#include <memory>

#include "audio/audio_process.h"
#include "audio/byte_fifo.h"

namespace vux {

class AudioProcessImpl : public AudioProcess {
 public:
  int Init() override;
  int SetSampleRate(int rate) override;
  int SetChannels(int channels) override;
  int Push(const uint8_t* data, int size) override;
  int Pull(uint8_t* out, int size) override;
  int Flush(uint8_t* out, int capacity) override;
  int FrameCount(int frame_size) override;

  // Kept for processing stages to come; the FIFO counts bytes only.
  int32_t SampleRate() const { return mSampleRate; }
  int32_t Channels() const { return mChannels; }
  // Tells the FIFOs of a process apart, 1 for the first; 0 before Init.
  int32_t Serial() const { return mFifo ? mFifo->Serial() : 0; }

 private:
  int32_t mSampleRate = 0;
  int32_t mChannels = 0;
  // Made by Init: its presence is the mark of being initialised.
  std::unique_ptr<ByteFifo> mFifo;
};

}  // namespace vux
