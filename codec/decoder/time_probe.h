// SPDX-License-Identifier: MIT
// Finds the times of the first picture and the first sound by decoding them.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/decoder/decode_session.h"
#include "codec/utils/field_order.h"

namespace codec {

class TimeProbe {
 public:
  explicit TimeProbe(DecodeSession* session)
      : mSession(session), mFrame(av_frame_alloc()), mPacket(av_packet_alloc()) {}

  // Moves to the start, decodes until each stream has given a frame or the input ends, and sets the
  // session's first times. A time that cannot be found is not changed. The reading position is
  // somewhere after the start then. Does nothing if there is no memory.
  void Run();

  // What the first picture says of its fields; kProgressive without one.
  FieldOrder FirstFields() const { return mFirstFields; }

 private:
  // A stream is settled if it has given its frame, can give none, or does not exist.
  bool TryVideo();
  bool TryAudio();
  std::optional<int64_t> Try(StreamDecoder* decoder, bool* settled);
  void Feed();

  DecodeSession* mSession;
  const ffmpeg::UniqueFrame mFrame;
  const ffmpeg::UniquePacket mPacket;
  bool mVideoSettled = false;
  bool mAudioSettled = false;
  bool mEnded = false;
  FieldOrder mFirstFields = FieldOrder::kProgressive;
};

}  // namespace codec
