// SPDX-License-Identifier: MIT
// The seek strategies. Times are in single precision: the comparisons with frame times depend on
// it.
#pragma once

#include <cstdint>
#include <limits>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/frame_source.h"
#include "codec/decoder/packet_decoder.h"
#include "codec/decoder/pending_frame.h"

namespace codec {

class Seeker {
 public:
  Seeker(DecodeSession* session, FrameSource* source, PacketDecoder* packets, PendingFrame* pending)
      : mSession(session),
        mSource(source),
        mPackets(packets),
        mPending(pending),
        mFrame(av_frame_alloc()),
        mPacket(av_packet_alloc()) {}

  bool IsUsable() const { return mFrame != nullptr && mPacket != nullptr; }

  // The picture that a seek of mode 3 meets is held for the next read. Off unless set.
  void KeepMetPicture() { mKeepsMetPicture = true; }
  // Seeks of mode 3 begin to decode at key packets with a stamp of their own. Off unless set.
  void LandOnStamps() { mLandsOnStamps = true; }
  // The times of the first frames are known, and not to be probed.
  void LeaveTimesAsTheyAre() { mNeedsTimeProbe = false; }

  // 0 or -1. Mode 2 leaves the first picture at or after the time in the pending frame. Mode 3
  // reads past that picture. Any other mode lands on the key frame at or before the time.
  int Seek(double seconds, int mode);

  // The time of the last picture, in seconds: decodes from about the end of the clip as far as
  // there are pictures. Minus infinity if there is none. A seek has to follow.
  double LastPicture();

 private:
  enum class Walk { kReached, kOvershot, kEnded };

  // A walk had to begin further back to reach its time. Decoding cannot begin between the last
  // second that failed and that time, so the same landing serves all times in between.
  struct Way {
    int64_t landing = 0;  // all in whole seconds
    int64_t failed = 0;
    int64_t reached = -1;
    bool Serves(int64_t target) const { return failed <= target && target <= reached; }
  };

  int _Seek(float seconds);
  int _SeekPreKeyFrame(float seconds);
  int _SeekNoKeyFrame(float seconds);
  int _SeekDecodeForward(float seconds);

  void Flush();
  bool InRange(float seconds) const;
  int64_t TargetPosition(float seconds) const;
  int64_t SeekPosition(int64_t target) const;
  int StepBackFrom(int64_t target);
  int SeekBeforeKey(int64_t timestamp);
  int DecodeToPending(float seconds);
  int64_t PositionOf(int64_t seconds) const;
  int64_t FirstWantedStamp(float seconds) const;
  void MoveToWhole(int64_t seconds);
  void MoveToSound(int64_t seconds);
  Walk Approach(int64_t target, float seconds);
  Walk WalkTo(float seconds, bool mayOvershoot);

  DecodeSession* mSession;
  FrameSource* mSource;
  PacketDecoder* mPackets;
  PendingFrame* mPending;
  const ffmpeg::UniqueFrame mFrame;
  const ffmpeg::UniquePacket mPacket;
  bool mNeedsTimeProbe = true;
  bool mKeepsMetPicture = false;
  bool mLandsOnStamps = false;
  Way mWay;  // the last one
  // Seconds; infinite until a walk has met the end of the pictures.
  double mLastPicture = std::numeric_limits<double>::infinity();
};

}  // namespace codec
