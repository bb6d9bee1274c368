#include "codec/decoder/picture_memo.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace codec {
namespace {

int64_t BufferBytes(const AVFrame* frame) {
  int64_t bytes = 0;
  for (const AVBufferRef* buffer : frame->buf) {
    if (buffer != nullptr) bytes += static_cast<int64_t>(buffer->size);
  }
  return bytes;
}

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
      mPolicy(budget),
      mIsOpen(mPolicy.IsEnabled()) {}

int PictureMemo::Send(AVPacket* packet) {
  ffmpeg::UniquePacket kept;
  if (packet != nullptr) {
    if (mSpare.empty()) mSpare.emplace_back(av_packet_alloc());
    kept = std::move(mSpare.back());
    mSpare.pop_back();
    // The packet is lost, as one that the decoder refuses.
    if (kept == nullptr) return mFailure->Note(AVERROR(ENOMEM));
  }
  if (mSent == 0 && packet != nullptr) BeginLanding(packet);
  AddEntry(PacketIdentity::Of(packet));
  if (packet != nullptr) av_packet_move_ref(kept.get(), packet);
  mPolicy.Owe(kept == nullptr ? 0 : kept->size);
  mPackets.push_back(std::move(kept));
  ++mSent;
  mWantsPacket = false;
  return 0;
}

void PictureMemo::BeginLanding(const AVPacket* packet) {
  if (!mPolicy.IsEnabled()) return;
  const PacketIdentity identity = PacketIdentity::Of(packet);
  if (!mEntries.empty() && mEntries.front().identity == identity) return;
  if (!mLater.empty() && mLater.front().identity == identity) return TakeBack();
  KeepForLater();
  mStartsFresh = mStartsAfresh(*packet);
}

// The packet at place mSent: one that is remembered, or a new one.
void PictureMemo::AddEntry(const PacketIdentity& identity) {
  const auto remembered = static_cast<int64_t>(mEntries.size());
  if (mSent < remembered) {
    if (At(mSent).identity == identity) return;
    Truncate(mSent);
  }
  Follow(identity);
  if (mSent < static_cast<int64_t>(mEntries.size())) return;
  const bool isRemembered = (mIsOpen || !mLater.empty()) && mPassing.empty();
  if (!isRemembered && mPassing.empty()) mFirstPassing = mSent;
  Entries& entries = isRemembered ? mEntries : mPassing;
  entries.emplace_back();
  entries.back().identity = identity;
}

PictureMemo::Entry& PictureMemo::At(int64_t place) {
  const auto remembered = static_cast<int64_t>(mEntries.size());
  return place < remembered ? mEntries[static_cast<size_t>(place)]
                            : mPassing[static_cast<size_t>(place - mFirstPassing)];
}

bool PictureMemo::IsAtEnd() const { return mPlace < mSent && At(mPlace).identity.isEnd; }

int PictureMemo::Receive(AVFrame* frame) {
  for (;;) {
    if (mPlace == mSent) {
      mWantsPacket = true;
      return AVERROR(EAGAIN);
    }
    Entry& entry = At(mPlace);
    const bool mustDecode = mPlace == mTakeover || (!mPolicy.MayOwe() && mFed < mSent);
    if (!mustDecode && mGiven < entry.pictures.size()) {
      Picture& picture = entry.pictures[mGiven];
      const bool isPassedBy = mWalking && picture.stamp < mWantedFrom;
      if (picture.frame != nullptr || isPassedBy) return Answer(&picture, frame);
    } else if (!mustDecode && entry.isComplete) {
      if (entry.identity.isEnd) {
        mHasEnded = true;
        mWantsPacket = true;
        return AVERROR_EOF;
      }
      Advance();
      return AVERROR(EAGAIN);
    }
    int error = 0;
    switch (Decode(frame, &error)) {
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

int PictureMemo::Answer(Picture* picture, AVFrame* frame) {
  ++mGiven;
  mWasRead = mWasRead || !mWalking;
  // The frame may still hold a picture that there was no memory to remember.
  av_frame_unref(frame);
  frame->best_effort_timestamp = picture->stamp;
  if (picture->isKept || picture->frame == nullptr) ++mCounters.answered;
  if (picture->frame == nullptr) return 0;
  const int result = mFailure->Note(av_frame_ref(frame, picture->frame.get()));
  if (!picture->isKept) Remember(mPlace, picture);
  return result;
}

void PictureMemo::Advance() {
  ++mPlace;
  mGiven = 0;
  mWantsPacket = false;
  while (!mPassing.empty() && mFirstPassing < mPlace) {
    mPassing.pop_front();
    ++mFirstPassing;
  }
}

// Takes the decoder one answer further.
PictureMemo::Progress PictureMemo::Decode(AVFrame* frame, int* error) {
  if (mDecoderIsHungry && mFed < DecoderEnd()) {
    const int result = FeedOne();
    return result < 0 ? Fail(result, error) : Progress::kSome;
  }
  if (mDecoderIsHungry && mTakeover == kNone) return Progress::kHungry;
  if (mDecoderIsHungry) {
    if (mIsDraining) {
      FinishTakeover();
      return Progress::kSome;
    }
    mIsDraining = true;
    mDecoderIsHungry = false;
    mDecoder->Send(nullptr);
  }
  const int result = mDecoder->Receive(frame);
  if (result >= 0) return Take(frame);
  NoteAnswered(mDecoder->Answered());
  if (result == AVERROR(EAGAIN)) {
    mDecoderIsHungry = true;
  } else if (result != AVERROR_EOF) {
    return Fail(result, error);
  } else if (mIsDraining) {
    FinishTakeover();
  } else {
    NoteAnswered(mSent - mDecoderBegin);
    mFed = mSent;
    DropPackets();
  }
  return Progress::kSome;
}

// The caller is not told of an error at a place that has been answered.
PictureMemo::Progress PictureMemo::Fail(int result, int* error) {
  const int64_t place = std::min(mDecoderBegin + mDecoder->Answered(), mSent - 1);
  if (place < mPlace) return Progress::kSome;
  At(place).isIntact = false;
  *error = result;
  return Progress::kError;
}

// A picture of the decoder: the one that the caller waits for, or one that has been answered.
PictureMemo::Progress PictureMemo::Take(AVFrame* frame) {
  NoteAnswered(mDecoder->Answered());
  int64_t place = std::min(mDecoderBegin + mDecoder->Answered(), mSent - 1);
  if (mTakeover != kNone && place >= mTakeover) {
    // Pictures shown before the border belong to the group before.
    const bool isEarlier = frame->best_effort_timestamp < mBorderStamp;
    if (!isEarlier) {
      FinishTakeover();
      av_frame_unref(frame);
      return Progress::kSome;
    }
    place = mTakeover - 1;
    if (mPlace == mTakeover) {
      mIsTorn = true;
      return Progress::kPicture;
    }
  }
  if (mTakeover != kNone && place >= mBorder && frame->best_effort_timestamp >= mBorderStamp) {
    DropTwin(frame->best_effort_timestamp);
  }
  if (place != mDecoderPlace) mDecoderGave = 0;
  mDecoderPlace = place;
  const size_t number = mDecoderGave++;
  if (place < mPlace && place >= static_cast<int64_t>(mEntries.size())) {
    av_frame_unref(frame);
    return Progress::kSome;
  }
  Entry& entry = At(place);
  entry.isIntact = entry.isIntact && IsIntact(frame);
  while (entry.pictures.size() <= number) {
    entry.pictures.push_back({nullptr, frame->best_effort_timestamp});
  }
  Picture& picture = entry.pictures[number];
  const bool isAwaited = place == mPlace && number == mGiven;
  const bool isAnswered = place < mPlace || (place == mPlace && number < mGiven);
  if (picture.frame == nullptr && (!isAwaited || IsNeeded(place))) {
    picture.frame.reset(av_frame_clone(frame));
    if (picture.frame == nullptr) mFailure->Note(AVERROR(ENOMEM));
    if (isAwaited || isAnswered) Remember(place, &picture);
  }
  if (!isAwaited) {
    av_frame_unref(frame);
    return Progress::kSome;
  }
  ++mGiven;
  mWasRead = mWasRead || !mWalking;
  return Progress::kPicture;
}

// The decoder gives a picture sooner than it did when it began at the border, so that it would be
// given twice.
void PictureMemo::DropTwin(int64_t stamp) {
  mIsTorn = true;
  for (auto entry = mEntries.begin() + static_cast<std::ptrdiff_t>(mTakeover);
       entry != mEntries.end(); ++entry) {
    for (auto picture = entry->pictures.begin(); picture != entry->pictures.end(); ++picture) {
      if (picture->stamp != stamp) continue;
      entry->pictures.erase(picture);
      return;
    }
  }
}

// Whether a later step may ask for this place.
bool PictureMemo::IsNeeded(int64_t place) const {
  return place < static_cast<int64_t>(mEntries.size()) &&
         (mLastNeeded == kNone || place <= mLastNeeded);
}

// Keeps a picture that the caller has got, if there is room.
void PictureMemo::Remember(int64_t place, Picture* picture) {
  if (picture->frame == nullptr) return;
  if (!IsNeeded(place)) return picture->frame.reset();
  const int64_t bytes = BufferBytes(picture->frame.get());
  if (mPolicy.CrowdsOutAside(bytes)) DropLater();
  picture->isKept = true;
  for (const int64_t gone : mPolicy.Keep(place, bytes)) {
    for (Picture& lost : At(gone).pictures) {
      if (std::exchange(lost.isKept, false)) lost.frame.reset();
    }
  }
}

// Places before this one, counted as the decoder counts, get no more pictures.
void PictureMemo::NoteAnswered(int64_t answered) {
  const int64_t end = std::min(mDecoderBegin + answered, DecoderEnd());
  for (int64_t place = mPlace; place < end; ++place) {
    Entry& entry = At(place);
    entry.isComplete = true;
    // The decoder may have given less than the first time.
    const size_t gave = place == mPlace ? mGiven : 0;
    while (entry.pictures.size() > gave && entry.pictures.back().frame == nullptr) {
      entry.pictures.pop_back();
    }
  }
}

int PictureMemo::FeedOne() {
  mDecoderIsHungry = false;
  AVPacket* const packet = mPackets[static_cast<size_t>(mFed - mFirstPacket)].get();
  const int result = mDecoder->Send(packet);
  if (mPlace > mFed) ++mCounters.paid;
  ++mFed;
  DropPackets();
  return result;
}

// Those that the decoder has got, unless it may have to begin again at the border.
void PictureMemo::DropPackets() {
  const int64_t end = mBorder == kNone ? mFed : std::min(mFed, mBorder);
  for (; mFirstPacket < end; ++mFirstPacket) {
    ffmpeg::UniquePacket packet = std::move(mPackets.front());
    mPackets.pop_front();
    if (packet == nullptr) continue;
    mPolicy.Pay(packet->size);
    av_packet_unref(packet.get());
    mSpare.push_back(std::move(packet));
  }
}

void PictureMemo::Close() {
  if (mLastNeeded != kNone) return;
  mLastNeeded = mPlace;
  mIsOpen = false;
}

void PictureMemo::Flush() {
  if (mLastNeeded != kNone) Truncate(mLastNeeded + 1);
  if (std::exchange(mIsTorn, false)) Truncate(0);
  const auto incomplete =
      std::find_if(mEntries.begin(), mEntries.end(), [](const Entry& e) { return !e.isComplete; });
  Truncate(incomplete - mEntries.begin());
  mPassing.clear();
  mIsOpen = mPolicy.IsEnabled();
  mLastNeeded = kNone;
  mBorder = kNone;
  mTakeover = kNone;
  mIsDraining = false;
  mFed = mSent;
  DropPackets();
  mPackets.clear();
  mFirstPacket = 0;
  mFed = 0;
  mSent = 0;
  mPlace = 0;
  mGiven = 0;
  mWantsPacket = false;
  mHasEnded = false;
  mDecoderBegin = 0;
  mDecoderPlace = 0;
  mDecoderGave = 0;
  mDecoderIsHungry = true;
  mDecoder->Flush();
}

void PictureMemo::Truncate(int64_t place) {
  if (place >= static_cast<int64_t>(mEntries.size())) return;
  mEntries.erase(mEntries.begin() + static_cast<std::ptrdiff_t>(place), mEntries.end());
  mPolicy.DropFrom(place);
}

// What was remembered begins at another landing. It serves again once a walk from further back
// comes to its first packet.
void PictureMemo::KeepForLater() {
  if (mEntries.empty()) return;
  if (!mWasRead && !mLater.empty()) return Truncate(0);
  DropLater();
  mWasRead = false;
  const int64_t first = mEntries.front().identity.pts;
  mTrusted = kNone;
  const bool isIntact = std::all_of(mEntries.begin(), mEntries.end(),
                                    [](const Entry& entry) { return entry.isIntact; });
  if (mStartsFresh && first != AV_NOPTS_VALUE && isIntact) {
    // Pictures shown before the first packet's own may lean on what is before it.
    int64_t place = 0;
    for (const Entry& entry : mEntries) {
      for (const Picture& picture : entry.pictures) {
        if (picture.stamp < first) mTrusted = kNone;
        // The end of the input brings out pictures from before the first packet as well.
        if (picture.stamp >= first && mTrusted == kNone && !entry.identity.isEnd) mTrusted = place;
      }
      ++place;
    }
  }
  if (mTrusted == kNone) return Truncate(0);
  mLater = std::exchange(mEntries, {});
  mPolicy.SetAside();
}

// The walk begins where the later group begins.
void PictureMemo::TakeBack() {
  Truncate(0);
  mEntries = std::exchange(mLater, {});
  mPolicy.Join(0, 0);
  mStartsFresh = true;
  mWasRead = true;
}

void PictureMemo::DropLater() {
  mLater.clear();
  mPolicy.DropAside();
  if (mTakeover == kNone) mBorder = kNone;
}

// A new packet, against the one that came next in the later group.
void PictureMemo::Follow(const PacketIdentity& identity) {
  if (mLater.empty() || mTakeover != kNone) return;
  if (mBorder == kNone && mLater.front().identity.IsSamePacket(identity)) {
    mBorder = mSent;
    mBorderStamp = identity.pts;
  }
  if (mBorder == kNone) return;
  const int64_t place = mSent - mBorder;
  if (place >= static_cast<int64_t>(mLater.size()) ||
      !mLater[static_cast<size_t>(place)].identity.IsSamePacket(identity)) {
    return DropLater();
  }
  if (place != mTrusted) return;
  if (std::any_of(mEntries.begin() + static_cast<std::ptrdiff_t>(mBorder), mEntries.end(),
                  [this](const Entry& entry) { return HasPictureFrom(entry, mBorderStamp); })) {
    return DropLater();
  }
  TakeOver(place);
}

bool PictureMemo::HasPictureFrom(const Entry& entry, int64_t stamp) {
  return std::any_of(entry.pictures.begin(), entry.pictures.end(),
                     [stamp](const Picture& picture) { return picture.stamp >= stamp; });
}

void PictureMemo::TakeOver(int64_t place) {
  std::move(mLater.begin() + static_cast<std::ptrdiff_t>(place), mLater.end(),
            std::back_inserter(mEntries));
  mPolicy.Join(place, mSent);
  mLater.clear();
  mTakeover = mSent;
}

// The decoder has given all that comes before the takeover. It begins again at the border, should
// it have to.
void PictureMemo::FinishTakeover() {
  NoteAnswered(mTakeover - mDecoderBegin);
  mDecoder->Flush();
  mDecoderBegin = mBorder;
  mDecoderPlace = mBorder;
  mDecoderGave = 0;
  mDecoderIsHungry = true;
  mFed = mBorder;
  mBorder = kNone;
  mTakeover = kNone;
  mIsDraining = false;
}

}  // namespace codec
