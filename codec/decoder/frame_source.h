// SPDX-License-Identifier: MIT
// Decoded frames in the order in which single-threaded decoders give them, on the send/receive
// calls.
#pragma once

#include <optional>

#include "codec/decoder/packet_feed.h"

namespace codec {

class FrameSource {
 public:
  enum class Next { kVideo, kAudio, kEnd };

  FrameSource(DecodeSession* session, PacketFeed* feed)
      : mSession(session), mFeed(feed), mHeld(av_frame_alloc()) {}

  bool IsUsable() const { return mHeld != nullptr; }

  // The input has been moved: the decoders forget what came before.
  void Flush();
  // To be called after Flush. Pictures are passed by, up to one with this stamp or a later one.
  void BeginWalk(int64_t wantedFrom = INT64_MAX);
  // The walk is over: the frames that come now are delivered.
  void EndWalk();
  // From now on sound alone is read, and only sound from this time on, in seconds, is delivered.
  // Nothing stands for sound of any time, and for pictures.
  void DeliverSoundFrom(std::optional<double> seconds) { mSoundFrom = seconds; }
  // Whether sound of this time is delivered.
  bool DeliversSoundAt(double seconds) const { return !mSoundFrom || seconds >= *mSoundFrom; }

  // This picture comes once more, as the next frame. Leaves `picture` blank.
  void Hold(AVFrame* picture) { av_frame_move_ref(mHeld.get(), picture); }

  // The next frame of either stream, video first if both have one. The caller unreferences it. kEnd
  // if both decoders are drained.
  Next NextFrame(AVFrame* frame);

  // The next picture. Packets of other streams and damaged pictures are left out. 0 or AVERROR_EOF.
  // In a walk the picture may have no more than its stamp.
  int NextPicture(AVFrame* frame);

 private:
  enum class Step { kFrame, kHungry, kDone };

  bool SendSound();
  Step Receive(AVMediaType type, AVFrame* frame);
  void NotePicture(const AVFrame& picture);
  void NoteLoss();
  void NoteDelivered(Next next);

  DecodeSession* mSession;
  PacketFeed* mFeed;
  const ffmpeg::UniqueFrame mHeld;   // blank unless a picture is held
  std::optional<double> mSoundFrom;  // seconds
  // Whether a picture and a block of sound have been delivered since the walk. A backward run reads
  // its next step up to these two, so no later step needs the frames after them.
  bool mVideoDelivered = false;
  bool mAudioDelivered = false;
};

}  // namespace codec
