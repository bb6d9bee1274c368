// Decoded frames in the order in which the decoders give them out, on the send/receive calls.
#pragma once

#include <cstdint>
#include <vector>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/recording.h"

namespace codec {

// Note: replay
//   A backward run asks for the same group of pictures again and again, each time for a part a
//   little nearer its start. So what a walk meets is recorded: pictures by reference, sound packets
//   as they are, and which packet each came after. When a later walk lands on the same packets, and
//   the recording holds the first picture that it looks for, the recording answers in place of
//   input and video decoder. The audio decoder is fed as ever: it has been flushed like after any
//   seek, and what it gives depends on where it is fed from. Frames, their order and their times
//   are those of a second reading. The demuxer stays where it landed meanwhile, so that reading can
//   go on behind the recording's end: the events replayed are then decoded over, and their pictures
//   dropped.
//   Where the recording has lost the picture, the walk reads and decodes up to what is left of it,
//   and is answered from there on. The same where it comes to a later group of pictures that an
//   earlier walk began with.
class FrameSource {
 public:
  enum class Next { kVideo, kAudio, kEnd };

  // `replayBudget` in bytes of pictures kept; 0 for none.
  FrameSource(DecodeSession* session, int64_t replayBudget);

  // The demuxer has been moved and the decoders flushed, to walk to the first picture that reaches
  // this time.
  void BeginWalk(float seconds);
  // The walk is over: the frames that come now are delivered.
  void EndWalk();
  // Somebody else is going to move or read the input: brings it to where it would be without
  // replay, and forgets what is recorded.
  void Leave();
  // The input has been moved to another place: forgets what is recorded.
  void Forget();

  // The next frame of either stream, video first when both have one; the caller unreferences it.
  // kEnd when both decoders are drained.
  Next NextFrame(AVFrame* frame);

  // The next picture, the packets of all other streams and damaged pictures left out on the way. 0
  // or AVERROR_EOF.
  int NextPicture(AVFrame* frame);

  int64_t PicturesReplayed() const { return mPicturesReplayed; }

 private:
  enum class Step { kFrame, kHungry, kDone };

  Step PictureStep(AVFrame* frame, bool ended);
  bool Advance();
  Step Receive(StreamDecoder* decoder, AVFrame* frame, bool ended);
  bool Feed();
  void SendPicture(AVPacket* packet);
  void SendSound(AVPacket* packet);

  std::vector<PacketIdentity> FindLanding();
  void BeginReplay(int64_t event, bool ofRest);
  void BeginReplayOfGroup();
  const RecordedEvent& Replayed(int64_t event) const;
  bool ReplayNextEvent();
  Step ReplayPictureStep(AVFrame* frame);
  void CatchUp();
  void NoteDelivered(Next next);

  DecodeSession* mSession;

  Recording mRecording;
  bool mReplaying = false;
  bool mReplaysRest = false;   // of an earlier walk's recording
  int64_t mFirstReplayed = 0;  // the event that replay began at
  int64_t mFirstUnread = 0;    // that the input gives next, not the recording
  int64_t mNextEvent = 0;      // the first event not replayed yet
  size_t mNextPicture = 0;     // of the event before it
  int64_t mPicturesReplayed = 0;

  bool mWalking = false;  // from BeginWalk to EndWalk
  // What has been delivered since the walk. The next walk of a backward run ends where this one's
  // delivery began: what comes behind the first picture and the first block of sound is not needed
  // again.
  bool mVideoDelivered = false;
  bool mAudioDelivered = false;
  int64_t mLastNeededEvent = kNotKnown;  // of a replayed walk

  static constexpr int64_t kNotKnown = -1;
};

}  // namespace codec
