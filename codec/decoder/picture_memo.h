// SPDX-License-Identifier: MIT
// Remembers what the video decoder answered, and answers in its place.
#pragma once

#include <cstdint>
#include <functional>

#include "codec/decoder/first_failure.h"
#include "codec/decoder/lazy_decoder.h"
#include "codec/decoder/memo_places.h"
#include "codec/decoder/picture_decoder.h"

namespace codec {

// Stands between the loop that feeds packets and the video decoder, and has the decoder's own
// operations. A packet that is sent is only owed to the decoder at first. If the memo knows the
// packet's pictures, Receive answers from memory. Otherwise the decoder gets owed packets, one
// after another, until it gives the picture. Pictures that were answered before are dropped if they
// come out again, or fill the memory if samples had to go. A seek forgives what is owed.
//
//     packet    K   1   2   3   4   5   6   7 | L   l1  l2  l3
//     step 1                                  | d   D   D   D      d  decoded, passed by
//     step 2    d   d   d   d   d   d   D   D | m   m              D  decoded, given
//     step 3    s   s   s   m   m   m   m     |                    m  given from memory
//                                                                  s  passed by, stamp only
//
// The border is the first packet of the later group, here L. The takeover is the packet that brings
// out the first picture of this group: L too, unless pictures are reordered. From the takeover on,
// step 2 answers from memory, if L leans on nothing before it. First the decoder is drained: its
// pictures before the takeover are given, others are dropped.
//
// docs/decoder.md has more of this, with all that may go wrong at the border.
//
// Note: places
//   A decoder with several threads answers late (see PictureDecoder). The memo gives each picture
//   at its place, remembered or decoded. So its caller does not see the number of threads.
class PictureMemo : public PictureDecoder {
 public:
  // Whether a key packet leans on nothing before it, see StartsAfresh.
  using StartsAfreshTest = std::function<bool(const AVPacket& packet)>;

  struct Counters {
    int64_t answered = 0;  // pictures that came from memory, or only their stamps
    int64_t owed = 0;      // packets that the decoder has not got, as of now
    int64_t paid = 0;      // packets that it got after their pictures had been answered
  };

  // `budget` in bytes of what is remembered; 0 for none. Decoder and failure outlive the memo.
  PictureMemo(PictureDecoder* decoder, FirstFailure* failure, int64_t budget,
              StartsAfreshTest startsAfresh);

  // Leaves the packet blank. A negative result if there is no memory for it. Errors of the decoder
  // come from Receive.
  int Send(AVPacket* packet) override;
  // Returns AVERROR(EAGAIN) at the end of each place, too.
  int Receive(AVFrame* frame) override;
  int64_t Answered() const override { return mPlace; }
  void Flush() override;

  // The packets sent since the last flush, the end of the input included.
  int64_t Sent() const { return mDecoder.Added(); }
  // Whether the present place is the end of the input.
  bool IsAtEnd() const { return mPlace < Sent() && mPlaces.At(mPlace).identity.isEnd; }
  // Whether all pictures have been given, up to the end of the input.
  bool HasEnded() const { return mWantsPacket && IsAtEnd(); }
  // After AVERROR(EAGAIN): whether a packet is needed before the next answer. Otherwise Receive
  // goes on with the next place.
  bool WantsPacket() const { return mWantsPacket; }
  // After an error: the stamp of the packet that could not be decoded, in ticks of the stream.
  int64_t FailedStamp() const { return mFailedStamp; }

  // Until EndWalk the caller looks at no more of a picture than its stamp, if the stamp is below
  // this one, in ticks of the stream.
  void BeginWalk(int64_t wantedFrom = INT64_MAX) { mWantedFrom = wantedFrom; }
  void EndWalk() { mWantedFrom = kNotWalking; }
  // Later walks need nothing that comes after the present place.
  void Close() { mPlaces.Close(mPlace); }

  Counters Count() const;

 private:
  enum class Progress { kPicture, kSome, kHungry, kError };

  bool MustDecode() const;
  int Answer(MemoPicture* picture, AVFrame* frame);
  int LeavePlace();
  Progress Decode(AVFrame* frame, int* error);
  Progress Feed(int* error);
  Progress Fail(int result, int* error);
  Progress Take(AVFrame* frame);
  Progress TakeAfterTakeover(AVFrame* frame);
  Progress TakeAt(int64_t place, AVFrame* frame);
  Progress Give();
  void Remember(int64_t place, size_t number, const AVFrame* frame);
  void CompleteUpTo(int64_t place);
  void DropPaid();
  void FinishDecoding();

  bool IsWalking() const { return mWantedFrom != kNotWalking; }
  bool TakesOver() const { return mPlaces.Later().Takeover() != MemoPlaces::kNone; }
  // The first place that the decoder is not asked for.
  int64_t DecoderEnd() const { return TakesOver() ? mPlaces.Later().Takeover() : Sent(); }

  static constexpr int64_t kNotWalking = INT64_MIN;

  LazyDecoder mDecoder;
  FirstFailure* const mFailure;
  const StartsAfreshTest mStartsAfresh;
  MemoPlaces mPlaces;
  int64_t mAnswered = 0;  // as in Counters
  int64_t mPaid = 0;      // as in Counters

  int64_t mPlace = 0;  // the place that is being answered
  size_t mGiven = 0;   // pictures of this place
  bool mWantsPacket = false;
  int64_t mFailedStamp = AV_NOPTS_VALUE;
  int64_t mWantedFrom = kNotWalking;  // ticks
};

}  // namespace codec
