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
  // After that: what is decoded now is passed by, up to a picture with this stamp or a later one.
  void BeginWalk(int64_t wantedFrom = INT64_MAX);
  // The walk is over: the frames that come now are delivered.
  void EndWalk();
  // Sound alone is read from here on, and none before this time in seconds is delivered. Nothing
  // for sound of any time.
  void DeliverSoundFrom(std::optional<double> seconds) { mSoundFrom = seconds; }
  // Whether sound of this time is delivered.
  bool DeliversSoundAt(double seconds) const { return !mSoundFrom || seconds >= *mSoundFrom; }

  // This picture comes once more, as the next frame. Leaves it blank.
  void Hold(AVFrame* picture) { av_frame_move_ref(mHeld.get(), picture); }

  // The next frame of either stream, video first when both have one; the caller unreferences it.
  // kEnd when both decoders are drained.
  Next NextFrame(AVFrame* frame);

  // The next picture, the packets of all other streams and damaged pictures left out on the way. 0
  // or AVERROR_EOF. In a walk only the stamp of a picture is certain to be there.
  int NextPicture(AVFrame* frame);

 private:
  enum class Step { kFrame, kHungry, kDone };

  bool SendSound();
  Step Receive(AVMediaType type, AVFrame* frame);
  void NoteDelivered(Next next);

  DecodeSession* mSession;
  PacketFeed* mFeed;
  const ffmpeg::UniqueFrame mHeld;   // blank unless a picture is held
  std::optional<double> mSoundFrom;  // seconds
  // What has been delivered since the walk. A backward run reads the next step up to the first
  // picture and the first block of sound of this one. So no later step needs what comes after them.
  bool mVideoDelivered = false;
  bool mAudioDelivered = false;
};

}  // namespace codec
