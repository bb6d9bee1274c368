// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_memo.h"

#include <algorithm>
#include <utility>

namespace codec {
namespace {

// Whether a picture is the same each time that its packets are decoded. A stamp that was guessed
// depends on the packets before.
bool IsIntact(const AVFrame* frame) {
  return frame->decode_error_flags == 0 && (frame->flags & AV_FRAME_FLAG_CORRUPT) == 0 &&
         frame->pts != AV_NOPTS_VALUE && frame->pts == frame->best_effort_timestamp;
}

}  // namespace

PictureMemo::PictureMemo(PictureDecoder* decoder, FirstFailure* failure, int64_t budget,
                         StartsAfreshTest startsAfresh)
    : mDecoder(decoder),
      mFailure(failure),
      mStartsAfresh(std::move(startsAfresh)),
      mPlaces(budget) {}

int PictureMemo::Send(AVPacket* packet) {
  const int64_t place = Sent();
  const PacketIdentity identity = PacketIdentity::Of(packet);
  const bool isNewLanding = place == 0 && mPlaces.IsEnabled() && mPlaces.IsNewLanding(identity);
  if (isNewLanding) mPlaces.Begin(packet != nullptr && mStartsAfresh(*packet));
  // If there is no memory the packet is lost, like one that the decoder refuses.
  if (!mDecoder.Add(packet)) return mFailure->Note(AVERROR(ENOMEM));
  mPlaces.Add(place, identity);
  mPlaces.Owe(identity.size);
  mWantsPacket = false;
  return 0;
}

PictureMemo::Counters PictureMemo::Count() const {
  return {mAnswered, Sent() - mDecoder.Fed(), mPaid};
}

int PictureMemo::Receive(AVFrame* frame) {
  for (;;) {
    if (mPlace < Sent() && !MustDecode()) {
      MemoPlace& place = mPlaces.At(mPlace);
      if (mGiven < place.pictures.size()) {
        MemoPicture& picture = place.pictures[mGiven];
        const bool isPassedBy = picture.stamp < mWantedFrom;
        if (picture.frame != nullptr || isPassedBy) return Answer(&picture, frame);
      } else if (place.isComplete) {
        return LeavePlace();
      }
    }
    int error = 0;
    switch (mPlace == Sent() ? Progress::kHungry : Decode(frame, &error)) {
      case Progress::kPicture:
        return 0;
      case Progress::kSome:
        break;
      case Progress::kError:
        return error;
      case Progress::kHungry:
        mWantsPacket = true;
        return AVERROR(EAGAIN);
    }
  }
}

// Whether the decoder is needed even if the answer is remembered. At a takeover the decoder first
// gives the pictures that it still has. If more is owed than there is room for, packets are paid.
bool PictureMemo::MustDecode() const {
  return mPlace == mPlaces.Later().Takeover() || (!mPlaces.MayOwe() && mDecoder.Fed() < Sent());
}

int PictureMemo::Answer(MemoPicture* picture, AVFrame* frame) {
  Give();
  // The frame may still hold a picture that there was no memory to remember.
  av_frame_unref(frame);
  frame->best_effort_timestamp = picture->stamp;
  if (picture->isKept || picture->frame == nullptr) ++mAnswered;
  if (picture->frame == nullptr) return 0;
  const int result = mFailure->Note(av_frame_ref(frame, picture->frame.get()));
  if (!picture->isKept) mPlaces.Keep(mPlace, picture);
  return result;
}

int PictureMemo::LeavePlace() {
  mWantsPacket = IsAtEnd();
  if (mWantsPacket) return AVERROR_EOF;
  ++mPlace;
  mGiven = 0;
  mPlaces.PassBy(mPlace);
  return AVERROR(EAGAIN);
}

// Feeds one packet, or takes one answer of the decoder.
PictureMemo::Progress PictureMemo::Decode(AVFrame* frame, int* error) {
  if (mDecoder.IsHungry()) {
    if (mDecoder.Fed() < DecoderEnd()) return Feed(error);
    if (!TakesOver()) return Progress::kHungry;
    mDecoder.Drain();
  }
  const int result = mDecoder.Receive(frame);
  if (result >= 0) return Take(frame);
  CompleteUpTo(mDecoder.Answered());
  if (result == AVERROR_EOF) {
    FinishDecoding();
  } else if (result != AVERROR(EAGAIN)) {
    return Fail(result, error);
  }
  return Progress::kSome;
}

PictureMemo::Progress PictureMemo::Feed(int* error) {
  if (mDecoder.Fed() < mPlace) ++mPaid;
  const int result = mDecoder.Feed();
  DropPaid();
  return result < 0 ? Fail(result, error) : Progress::kSome;
}

// The caller is not told of an error at a place that has been answered.
PictureMemo::Progress PictureMemo::Fail(int result, int* error) {
  const int64_t place = mDecoder.Place();
  if (place < mPlace) return Progress::kSome;
  mPlaces.At(place).isIntact = false;
  mFailedStamp = mPlaces.At(place).identity.Stamp();
  *error = result;
  return Progress::kError;
}

// A picture of the decoder. It may be the one that the caller waits for.
PictureMemo::Progress PictureMemo::Take(AVFrame* frame) {
  CompleteUpTo(mDecoder.Answered());
  const int64_t place = mDecoder.Place();
  if (!TakesOver()) return TakeAt(place, frame);
  const LaterGroup& later = mPlaces.Later();
  if (place >= later.Takeover()) return TakeAfterTakeover(frame);
  const int64_t stamp = frame->best_effort_timestamp;
  // A picture of the later group has come sooner than after a begin at the border.
  if (place >= later.Border() && stamp >= later.BorderStamp()) mPlaces.Tear(stamp);
  return TakeAt(place, frame);
}

// The drained decoder gives a picture that it would have given after the takeover. This should be a
// picture of the later group. If it is not, the picture must not be lost.
PictureMemo::Progress PictureMemo::TakeAfterTakeover(AVFrame* frame) {
  const int64_t takeover = mPlaces.Later().Takeover();
  const int64_t stamp = frame->best_effort_timestamp;
  if (stamp >= mPlaces.Later().BorderStamp()) {
    FinishDecoding();
    av_frame_unref(frame);
    return Progress::kSome;
  }
  mPlaces.Tear(stamp);
  return mPlace == takeover ? Progress::kPicture : TakeAt(takeover - 1, frame);
}

PictureMemo::Progress PictureMemo::TakeAt(int64_t place, AVFrame* frame) {
  const size_t number = mDecoder.NumberAt(place);
  const bool isAwaited = place == mPlace && number == mGiven;
  const bool isAnswered = place < mPlace || (place == mPlace && number < mGiven);
  if (!isAnswered || mPlaces.IsRemembered(place)) Remember(place, number, frame);
  if (isAwaited) return Give();
  av_frame_unref(frame);
  return Progress::kSome;
}

// The caller gets the next picture of its place.
PictureMemo::Progress PictureMemo::Give() {
  ++mGiven;
  if (!IsWalking()) mPlaces.NoteUse();
  return Progress::kPicture;
}

// A picture that the caller has not come to yet stays until then, even without a budget.
void PictureMemo::Remember(int64_t place, size_t number, const AVFrame* frame) {
  MemoPlace& known = mPlaces.At(place);
  known.isIntact = known.isIntact && IsIntact(frame);
  while (known.pictures.size() <= number) {
    known.pictures.push_back({nullptr, frame->best_effort_timestamp});
  }
  MemoPicture& picture = known.pictures[number];
  const bool isAhead = place > mPlace || (place == mPlace && number > mGiven);
  if (picture.frame != nullptr || !(isAhead || mPlaces.IsNeeded(place))) return;
  picture.frame.reset(av_frame_clone(frame));
  if (picture.frame == nullptr) mFailure->Note(AVERROR(ENOMEM));
  if (!isAhead) mPlaces.Keep(place, &picture);
}

// The decoder gives no more pictures of the places before this one.
void PictureMemo::CompleteUpTo(int64_t place) {
  for (int64_t done = mPlace; done < std::min(place, DecoderEnd()); ++done) {
    MemoPlace& known = mPlaces.At(done);
    known.isComplete = true;
    // The decoder may have given less than the first time, or there was no memory for a picture.
    const size_t given = done == mPlace ? mGiven : 0;
    std::vector<MemoPicture>& pictures = known.pictures;
    if (pictures.size() <= given) continue;
    const auto isMissing = [](const MemoPicture& picture) { return picture.frame == nullptr; };
    const auto first = pictures.begin() + static_cast<std::ptrdiff_t>(given);
    pictures.erase(std::remove_if(first, pictures.end(), isMissing), pictures.end());
  }
}

// While the walk follows a later group, the packets of that group stay: the decoder may have to
// begin again at the border.
void PictureMemo::DropPaid() {
  const int64_t border = mPlaces.Later().Border();
  mPlaces.Pay(mDecoder.DropFed(border == MemoPlaces::kNone ? Sent() : border));
}

// The decoder has given all that it was asked for. At a takeover it is not asked for the places
// from there on, which are remembered; if it is needed again, it begins at the border. Otherwise it
// has come to the end of the input, or an empty packet has ended it before.
void PictureMemo::FinishDecoding() {
  CompleteUpTo(DecoderEnd());
  if (TakesOver()) {
    mDecoder.Begin(mPlaces.Later().Border());
    mPlaces.EndTakeover();
  } else {
    mDecoder.SkipAll();
    DropPaid();
  }
}

void PictureMemo::Flush() {
  mPlaces.Rewind();
  mDecoder.SkipAll();
  DropPaid();
  mDecoder.Clear();
  mPlace = 0;
  mGiven = 0;
  mWantsPacket = false;
}

}  // namespace codec
