// SPDX-License-Identifier: MIT
// Takes queued frames in the order the encoder wants and hands them to it.
#pragma once

#include "codec/writer/encoder_gate.h"
#include "codec/writer/frame_queue.h"

namespace codec {

// One thread at a time; the queues may be filled by another one meanwhile.
class FrameDrain {
 public:
  // Owns none of them; they must outlive it.
  FrameDrain(FrameQueue* video, FrameQueue* audio, EncoderGate* encoder)
      : mVideo(video), mAudio(audio), mEncoder(encoder) {}

  // Writes the frame that the encoder asks for next, or one of the other kind when there is none of
  // that kind. False when there is nothing to write or the encoder wants neither.
  bool WriteNext();
  // WriteNext until it finds nothing.
  void DrainPreferred();
  // Writes all that is queued, earlier frames first, whatever the encoder asks for.
  void DrainByTime();

 private:
  PooledBuffer SelectNext();

  FrameQueue* const mVideo;
  FrameQueue* const mAudio;
  EncoderGate* const mEncoder;
};

}  // namespace codec
