// SPDX-License-Identifier: MIT
// Delivers frames into the caller's buffer, on the send/receive calls.
#pragma once

#include <cstdint>

#include "codec/decoder/decoded_frame.h"
#include "codec/decoder/frame_source.h"

namespace codec {

class FrameReceiver {
 public:
  FrameReceiver(DecodeSession* session, FrameSource* source)
      : mSession(session), mSource(source), mFrame(av_frame_alloc()) {}

  bool IsUsable() const { return mFrame != nullptr; }

  // 0, or -1 if all streams are finished. `buffer` holds the largest picture and the largest audio
  // block. `out->size` of a picture is the size of its packet.
  int Receive(uint8_t* buffer, DecodedFrame* out);

 private:
  bool DeliverPicture(uint8_t* buffer, DecodedFrame* out);
  bool DeliverSound(uint8_t* buffer, DecodedFrame* out);

  DecodeSession* mSession;
  FrameSource* mSource;
  const ffmpeg::UniqueFrame mFrame;
};

}  // namespace codec
