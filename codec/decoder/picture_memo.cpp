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
  const PacketIdentity identity = PacketIdentity::Of(packet);
  const bool isNewLanding = mSent == 0 && mPlaces.IsEnabled() && mPlaces.IsNewLanding(identity);
  if (isNewLanding) mPlaces.Begin(packet != nullptr && mStartsAfresh(*packet));
  // Without memory the packet is lost, as one is that the decoder refuses.
  if (!mOwed.Add(packet)) return mFailure->Note(AVERROR(ENOMEM));
  mPlaces.Add(mSent, identity);
  mPlaces.Owe(identity.size);
  ++mSent;
  mWantsPacket = false;
  return 0;
}

bool PictureMemo::IsAtEnd() const { return mPlace < mSent && mPlaces.At(mPlace).identity.isEnd; }

PictureMemo::Counters PictureMemo::Count() const {
  Counters counters = mCounters;
  counters.owed = mSent - mFed;
  return counters;
}

int PictureMemo::Receive(AVFrame* frame) {
  for (;;) {
    if (mPlace < mSent && !MustDecode()) {
      MemoPlace& place = mPlaces.At(mPlace);
      if (mGiven < place.pictures.size()) {
        MemoPicture& picture = place.pictures[mGiven];
        const bool isPassedBy = mWalking && picture.stamp < mWantedFrom;
        if (picture.frame != nullptr || isPassedBy) return Answer(&picture, frame);
      } else if (place.isComplete) {
        return LeavePlace(place);
      }
    }
    int error = 0;
    switch (mPlace == mSent ? Progress::kHungry : Decode(frame, &error)) {
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

// Also if the answer is known: for a takeover the decoder gives first what it still has, and if
// more is owed than there is room for, it is paid.
bool PictureMemo::MustDecode() const {
  return mPlace == mPlaces.Takeover() || (!mPlaces.MayOwe() && mFed < mSent);
}

int PictureMemo::Answer(MemoPicture* picture, AVFrame* frame) {
  ++mGiven;
  if (!mWalking) mPlaces.NoteUse();
  // The frame may still hold a picture that there was no memory to remember.
  av_frame_unref(frame);
  frame->best_effort_timestamp = picture->stamp;
  if (picture->isKept || picture->frame == nullptr) ++mCounters.answered;
  if (picture->frame == nullptr) return 0;
  const int result = mFailure->Note(av_frame_ref(frame, picture->frame.get()));
  if (!picture->isKept) mPlaces.Keep(mPlace, picture);
  return result;
}

int PictureMemo::LeavePlace(const MemoPlace& place) {
  if (place.identity.isEnd) {
    mHasEnded = true;
    mWantsPacket = true;
    return AVERROR_EOF;
  }
  ++mPlace;
  mGiven = 0;
  mWantsPacket = false;
  mPlaces.PassBy(mPlace);
  return AVERROR(EAGAIN);
}

// Takes the decoder one answer further.
PictureMemo::Progress PictureMemo::Decode(AVFrame* frame, int* error) {
  if (mDecoderIsHungry && mFed < DecoderEnd()) {
    const int result = FeedOne();
    return result < 0 ? Fail(result, error) : Progress::kSome;
  }
  if (mDecoderIsHungry && !TakesOver()) return Progress::kHungry;
  if (mDecoderIsHungry) Drain();
  const int result = mDecoder->Receive(frame);
  if (result >= 0) return Take(frame);
  CompleteUpTo(DecoderPlace());
  if (result == AVERROR(EAGAIN) && !mIsDraining) {
    mDecoderIsHungry = true;
  } else if (result != AVERROR(EAGAIN) && result != AVERROR_EOF) {
    return Fail(result, error);
  } else if (mIsDraining) {
    FinishTakeover();
  } else {
    // An empty packet has ended the decoder, maybe before the end of the input.
    CompleteUpTo(mSent);
    mFed = mSent;
    DropPaid();
  }
  return Progress::kSome;
}

// The caller is not told of an error at a place that has been answered.
PictureMemo::Progress PictureMemo::Fail(int result, int* error) {
  const int64_t place = std::min(DecoderPlace(), mSent - 1);
  if (place < mPlace) return Progress::kSome;
  mPlaces.At(place).isIntact = false;
  *error = result;
  return Progress::kError;
}

// A picture of the decoder: the one that the caller waits for, or another one.
PictureMemo::Progress PictureMemo::Take(AVFrame* frame) {
  CompleteUpTo(DecoderPlace());
  const int64_t place = std::min(DecoderPlace(), mSent - 1);
  if (!TakesOver()) return TakeAt(place, frame);
  if (place >= mPlaces.Takeover()) return TakeAfterTakeover(frame);
  const int64_t stamp = frame->best_effort_timestamp;
  // A picture of the later group has come sooner than when the decoder began at the border.
  if (place >= mPlaces.Border() && stamp >= mPlaces.BorderStamp()) mPlaces.Tear(stamp);
  return TakeAt(place, frame);
}

// The drained decoder gives a picture that it would have given later. It should be one of the later
// group.
PictureMemo::Progress PictureMemo::TakeAfterTakeover(AVFrame* frame) {
  const int64_t stamp = frame->best_effort_timestamp;
  if (stamp >= mPlaces.BorderStamp()) {
    FinishTakeover();
    av_frame_unref(frame);
    return Progress::kSome;
  }
  mPlaces.Tear(stamp);
  return mPlace == mPlaces.Takeover() ? Progress::kPicture : TakeAt(mPlaces.Takeover() - 1, frame);
}

PictureMemo::Progress PictureMemo::TakeAt(int64_t place, AVFrame* frame) {
  const size_t number = place == mLastPlace ? mLastNumber : 0;
  mLastPlace = place;
  mLastNumber = number + 1;
  const bool isAwaited = place == mPlace && number == mGiven;
  const bool isAnswered = place < mPlace || (place == mPlace && number < mGiven);
  if (!isAnswered || mPlaces.IsRemembered(place)) {
    MemoPlace& known = mPlaces.At(place);
    known.isIntact = known.isIntact && IsIntact(frame);
    while (known.pictures.size() <= number) {
      known.pictures.push_back({nullptr, frame->best_effort_timestamp});
    }
    MemoPicture& picture = known.pictures[number];
    if (picture.frame == nullptr && (!isAwaited || mPlaces.IsNeeded(place))) {
      picture.frame.reset(av_frame_clone(frame));
      if (picture.frame == nullptr) mFailure->Note(AVERROR(ENOMEM));
      if (isAwaited || isAnswered) mPlaces.Keep(place, &picture);
    }
  }
  if (!isAwaited) {
    av_frame_unref(frame);
    return Progress::kSome;
  }
  ++mGiven;
  if (!mWalking) mPlaces.NoteUse();
  return Progress::kPicture;
}

// The decoder gives no more pictures of the places before this one.
void PictureMemo::CompleteUpTo(int64_t place) {
  for (int64_t done = mPlace; done < std::min(place, DecoderEnd()); ++done) {
    MemoPlace& known = mPlaces.At(done);
    known.isComplete = true;
    // It may have given less than the first time, or there was no memory for a picture.
    const size_t given = done == mPlace ? mGiven : 0;
    std::vector<MemoPicture>& pictures = known.pictures;
    if (pictures.size() <= given) continue;
    const auto isMissing = [](const MemoPicture& picture) { return picture.frame == nullptr; };
    const auto first = pictures.begin() + static_cast<std::ptrdiff_t>(given);
    pictures.erase(std::remove_if(first, pictures.end(), isMissing), pictures.end());
  }
}

int PictureMemo::FeedOne() {
  mDecoderIsHungry = false;
  const int result = mDecoder->Send(mOwed.At(mFed));
  if (mFed < mPlace) ++mCounters.paid;
  ++mFed;
  DropPaid();
  return result;
}

// While the walk follows a later group, its packets are kept for the decoder to begin there again.
void PictureMemo::DropPaid() {
  const int64_t border = mPlaces.Border();
  mPlaces.Pay(mOwed.DropBefore(border == MemoPlaces::kNone ? mFed : std::min(mFed, border)));
}

void PictureMemo::Drain() {
  mIsDraining = true;
  mDecoderIsHungry = false;
  mDecoder->Send(nullptr);
}

// The decoder has given all that comes before the takeover. From here on it is asked for nothing
// that is remembered; if it is needed again, it begins at the border.
void PictureMemo::FinishTakeover() {
  CompleteUpTo(mPlaces.Takeover());
  mDecoder->Flush();
  mDecoderBegin = mPlaces.Border();
  mFed = mDecoderBegin;
  mLastPlace = mDecoderBegin;
  mLastNumber = 0;
  mDecoderIsHungry = true;
  mIsDraining = false;
  mPlaces.EndTakeover();
}

void PictureMemo::Flush() {
  mPlaces.Rewind();
  mFed = mSent;
  DropPaid();
  mOwed.Clear();
  mFed = 0;
  mSent = 0;
  mPlace = 0;
  mGiven = 0;
  mWantsPacket = false;
  mHasEnded = false;
  mDecoderBegin = 0;
  mLastPlace = 0;
  mLastNumber = 0;
  mDecoderIsHungry = true;
  mIsDraining = false;
  mDecoder->Flush();
}

}  // namespace codec
