// SPDX-License-Identifier: MIT
// Delivers frames into the caller's buffer, packet by packet.
#pragma once

#include <cstdint>
#include <deque>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/decoded_frame.h"
#include "codec/decoder/packet_clock.h"
#include "codec/decoder/packet_feed.h"

namespace codec {

// A frame has the time of the packet that brought the frame out.
class PacketDecoder {
 public:
  PacketDecoder(DecodeSession* session, PacketFeed* feed);

  // 0, or -1 at the end of input. `buffer` as for FrameReceiver; null decodes without copying, and
  // then the size is 0. `out->size` of a picture is that of the packed picture.
  int Decode(uint8_t* buffer, DecodedFrame* out);
  // The input has been moved.
  void Flush();

  bool IsUsable() const { return mFrame != nullptr && mSpare != nullptr; }
  // Video packets that gave no picture.
  int64_t DelayedFrames() const { return mDelayedFrames; }

 private:
  // The time of a packet of the video.
  struct Stamp {
    int64_t place;  // in the memo
    int64_t ticks;
  };

  bool NoteTime(const AVPacket& packet);
  void NoteAnswered();
  bool DeliverPicture(uint8_t* buffer, DecodedFrame* out);
  bool DecodeSound(AVPacket* packet, uint8_t* buffer, DecodedFrame* out, bool* delivered);
  bool DrainSound(uint8_t* buffer, DecodedFrame* out);

  DecodeSession* const mSession;
  PacketFeed* const mFeed;
  const ffmpeg::UniqueFrame mFrame;
  const ffmpeg::UniqueFrame mSpare;
  PacketClock mClock;
  std::deque<Stamp> mStamps;  // of packets whose pictures have not come yet
  int64_t mVideoTicks = 0;
  int64_t mAudioTicks = 0;
  int64_t mLastPlace = -1;  // that gave a picture
  int64_t mDelayedFrames = 0;
};

}  // namespace codec
