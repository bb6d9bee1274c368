// SPDX-License-Identifier: MIT
// Finds out whether a video is interlaced, and which field is shown first.
#pragma once

#include "codec/decoder/decode_session.h"
#include "codec/utils/field_order.h"

namespace codec {

// A picture knows best. A header tells what a stream may hold: streams of films say that they are
// interlaced though no picture of theirs is. So what a header says has to be found in a picture,
// unless the codec's pictures say nothing of fields.
class FieldProbe {
 public:
  explicit FieldProbe(DecodeSession* session)
      : mSession(session), mFrame(av_frame_alloc()), mPacket(av_packet_alloc()) {}

  // The order of a session with video, whose first picture says `first`. If that picture is not
  // interlaced but the header says so, some pictures of a few places are decoded, and the first
  // interlaced one decides. The reading position is anywhere then.
  FieldOrder Run(FieldOrder first);

 private:
  FieldOrder Search();
  FieldOrder OrderAt(double seconds);
  bool Feed();

  DecodeSession* const mSession;
  const ffmpeg::UniqueFrame mFrame;
  const ffmpeg::UniquePacket mPacket;
};

// The order that a header names; kProgressive if it names none.
FieldOrder NamedOrder(AVFieldOrder order);

}  // namespace codec
