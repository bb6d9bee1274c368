// Remembers what the video decoder answered, and answers in its place.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

#include "codec/decoder/first_failure.h"
#include "codec/decoder/memo_policy.h"
#include "codec/decoder/picture_decoder.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Tells packets of one stream apart.
struct PacketIdentity {
  int size = 0;
  int64_t pts = 0;
  int64_t dts = 0;
  int64_t position = 0;
  bool isEnd = false;  // the end of the input instead of a packet

  static PacketIdentity Of(const AVPacket* packet) {
    if (packet == nullptr) return {0, 0, 0, 0, true};
    return {packet->size, packet->pts, packet->dts, packet->pos, false};
  }
  // The stamps of decoding may be made up, and begin anew at each landing.
  bool IsSamePacket(const PacketIdentity& other) const {
    return size == other.size && pts == other.pts && position == other.position &&
           isEnd == other.isEnd;
  }
  friend bool operator==(const PacketIdentity& a, const PacketIdentity& b) {
    return a.IsSamePacket(b) && a.dts == b.dts;
  }
};

class PictureMemo : public PictureDecoder {
 public:
  // Says of a key packet whether the pictures shown from it on are the same, be they decoded from
  // there or from further back.
  using StartsAfreshTest = std::function<bool(const AVPacket& packet)>;

  struct Counters {
    int64_t answered = 0;  // pictures that came from memory
    int64_t owed = 0;      // packets that are owed to the decoder now
    int64_t paid = 0;      // packets that were decoded only after their pictures had been answered
  };

  // `budget` in bytes of what is remembered; 0 for none. Decoder and failure outlive the memo.
  PictureMemo(PictureDecoder* decoder, FirstFailure* failure, int64_t budget,
              StartsAfreshTest startsAfresh);

  // Leaves the packet blank. What the decoder says of it comes from Receive.
  int Send(AVPacket* packet) override;
  int Receive(AVFrame* frame) override;
  int64_t Answered() const override { return mPlace; }
  void Flush() override;

  // The packets sent since the last flush.
  int64_t Sent() const { return mSent; }
  // Whether the present place is the end of the input.
  bool IsAtEnd() const;
  // Whether all pictures have been given, up to the end of the input.
  bool HasEnded() const { return mHasEnded; }
  // After AVERROR(EAGAIN): whether there is no answer before the next packet. Otherwise Receive
  // goes on with the next place.
  bool WantsPacket() const { return mWantsPacket; }

  // Until EndWalk the caller looks at no more of a picture than its stamp, if the stamp is below
  // this one.
  void BeginWalk(int64_t wantedFrom = INT64_MAX) {
    mWalking = true;
    mWantedFrom = wantedFrom;
  }
  void EndWalk() { mWalking = false; }
  // A later step needs nothing that comes after the present place.
  void Close();

  const Counters& Count() const { return mCounters; }

 private:
  struct Picture {
    ffmpeg::UniqueFrame frame;  // null if the samples had to go
    int64_t stamp;
    bool isKept = false;  // remembered; otherwise it goes once it is answered
  };
  struct Entry {
    PacketIdentity identity;
    std::vector<Picture> pictures;
    bool isComplete = false;  // the decoder has no more pictures for this packet
    bool isIntact = true;     // nothing in it is damaged or has a stamp that was guessed
  };
  using Entries = std::deque<Entry>;
  enum class Progress { kPicture, kSome, kHungry, kError };

  Entry& At(int64_t place);
  const Entry& At(int64_t place) const { return const_cast<PictureMemo*>(this)->At(place); }
  void AddEntry(const PacketIdentity& identity);
  void DropTwin(int64_t stamp);
  bool IsNeeded(int64_t place) const;
  void Remember(int64_t place, Picture* picture);

  int Answer(Picture* picture, AVFrame* frame);
  void Advance();
  Progress Decode(AVFrame* frame, int* error);
  Progress Take(AVFrame* frame);
  void NoteAnswered(int64_t answered);
  // The first place that the decoder is not asked for yet.
  int64_t DecoderEnd() const { return mTakeover == kNone ? mSent : mTakeover; }
  int FeedOne();
  Progress Fail(int result, int* error);
  void DropPackets();

  void BeginLanding(const AVPacket* packet);
  void KeepForLater();
  void TakeBack();
  void DropLater();
  void Follow(const PacketIdentity& identity);
  static bool HasPictureFrom(const Entry& entry, int64_t stamp);
  void TakeOver(int64_t place);
  void FinishTakeover();
  void Truncate(int64_t place);

  PictureDecoder* const mDecoder;
  FirstFailure* const mFailure;
  const StartsAfreshTest mStartsAfresh;
  MemoPolicy mPolicy;
  Counters mCounters;

  // What is remembered, from place 0 on, and places on their way behind it that are not.
  Entries mEntries;
  Entries mPassing;
  int64_t mFirstPassing = 0;
  bool mIsOpen = false;         // new places are remembered
  bool mStartsFresh = false;    // place 0 does
  bool mWasRead = false;        // pictures were given since the landing, not only passed by
  int64_t mLastNeeded = kNone;  // place

  // The caller's side.
  int64_t mSent = 0;
  int64_t mPlace = 0;  // being answered
  size_t mGiven = 0;   // pictures of it
  bool mWantsPacket = false;
  bool mHasEnded = false;
  bool mWalking = false;
  int64_t mWantedFrom = 0;

  // The decoder's side.
  std::deque<ffmpeg::UniquePacket> mPackets;  // the ones owed, and before them some to be kept
  int64_t mFirstPacket = 0;                   // place of the first of them
  int64_t mFed = 0;                           // first place that the decoder has not got
  int64_t mDecoderBegin = 0;                  // place that the decoder has begun at
  int64_t mDecoderPlace = 0;                  // of the last picture
  size_t mDecoderGave = 0;                    // pictures of it
  bool mDecoderIsHungry = true;               // it has given all that it can
  std::vector<ffmpeg::UniquePacket> mSpare;

  // A later group.
  Entries mLater;
  int64_t mTrusted = 0;       // the first of its places that is the same from further back
  int64_t mBorder = kNone;    // place of its first packet, once it is met
  int64_t mBorderStamp = 0;   // of that packet
  int64_t mTakeover = kNone;  // place from which on it answers; the decoder has to be drained
  bool mIsDraining = false;
  bool mIsTorn = false;  // the groups did not fit together after all

  static constexpr int64_t kNone = -1;
};

}  // namespace codec
