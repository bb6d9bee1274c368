// Decoded frames in the order in which single-threaded decoders give them, on the send/receive
// calls.
#pragma once

#include "codec/decoder/packet_feed.h"

namespace codec {

class FrameSource {
 public:
  enum class Next { kVideo, kAudio, kEnd };

  FrameSource(DecodeSession* session, PacketFeed* feed) : mSession(session), mFeed(feed) {}

  // The input has been moved: the decoders forget what came before.
  void Flush();
  // After that: what is decoded now is passed by, up to some picture.
  void BeginWalk();
  // The walk is over: the frames that come now are delivered.
  void EndWalk();

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
  // What has been delivered since the walk. The next walk of a backward run ends where this one's
  // delivery began: a later step does not need what comes after the first picture and the first
  // block of sound.
  bool mVideoDelivered = false;
  bool mAudioDelivered = false;
};

}  // namespace codec
