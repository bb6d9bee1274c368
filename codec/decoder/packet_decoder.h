// Delivers frames into the caller's buffer, one packet after the other, each decoded in one call.
#pragma once

#include <cstdint>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/decoded_frame.h"
#include "codec/decoder/packet_clock.h"

namespace codec {

// Frames have the time of the packet whose decoding brought them out.
class PacketDecoder {
 public:
  explicit PacketDecoder(DecodeSession* session) : mSession(session) {}

  // 0, or -1 at the end of input. `buffer` as for FrameReceiver; null decodes without copying, and
  // the size is 0 then. `out->size` of a picture is that of the packed picture.
  int Decode(uint8_t* buffer, DecodedFrame* out);

  // Video packets that gave no picture.
  int64_t DelayedFrames() const { return mDelayedFrames; }

 private:
  struct Outcome {
    int consumed = 0;  // bytes, or a negative error
    bool gotFrame = false;
    bool delivered = false;
  };

  bool IsVideo(const AVPacket* packet) const;
  bool IsAudio(const AVPacket* packet) const;
  void NoteTime(const AVPacket* packet);
  bool DecodeWhole(AVPacket* packet, uint8_t* buffer, DecodedFrame* out);
  bool DrainOne(uint8_t* buffer, DecodedFrame* out);
  Outcome DecodePacket(AVPacket* packet, uint8_t* buffer, DecodedFrame* out);
  Outcome DecodeVideo(AVPacket* packet, uint8_t* buffer, DecodedFrame* out);
  Outcome DecodeAudio(AVPacket* packet, uint8_t* buffer, DecodedFrame* out);

  DecodeSession* mSession;
  PacketClock mClock;
  int64_t mVideoTicks = 0;
  int64_t mAudioTicks = 0;
  int64_t mDelayedFrames = 0;
};

}  // namespace codec
