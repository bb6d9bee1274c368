// Decoded frames in the order in which the decoders give them out, on the send/receive calls.
#pragma once

#include "codec/decoder/decode_session.h"

namespace codec {

class FrameSource {
 public:
  enum class Next { kVideo, kAudio, kEnd };

  explicit FrameSource(DecodeSession* session) : mSession(session) {}

  // The next frame of either stream, video first when both have one; the caller unreferences it.
  // kEnd when both decoders are drained.
  Next NextFrame(AVFrame* frame);

  // The next picture, the packets of all other streams and damaged pictures left out on the way. 0
  // or AVERROR_EOF.
  int NextPicture(AVFrame* frame);

 private:
  enum class Step { kFrame, kHungry, kDone };

  Step Receive(StreamDecoder* decoder, AVFrame* frame, bool ended);
  bool Feed();
  bool FeedPicture();

  DecodeSession* mSession;
};

}  // namespace codec
