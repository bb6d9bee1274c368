// SPDX-License-Identifier: MIT
#include "reverse/segment_reader.h"

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

// The seek that decodes forward to the exact place.
constexpr int kDecodeForward = 3;

// Each frame is a mapping of its own, and a process has some 65,000 mappings.
constexpr size_t kMostFrames = 16384;
constexpr int kPatience = 8;  // empty steps before they grow
constexpr double kLongestSeconds = 1099511627776;

}  // namespace

SegmentReader::SegmentReader(FFmpegDecoder* decoder, FrameStock* stock, const ReverseRange& range)
    : mDecoder(decoder),
      mStock(stock),
      mRange(range),
      mCursor(range.end),
      mBoundaries{range.end, range.end},
      mEarliest(mBoundaries),
      mSettled(range.end) {}

Segment SegmentReader::Next() {
  double from = std::max(mCursor - mSeconds, 0.0);
  while (!Read(from)) {
    mSeconds /= 2;
    mIsNarrowing = true;
    from = std::max(mCursor - mSeconds, 0.0);
  }
  const bool wasFirst = IsFirstPart();
  const bool isTorn = wasFirst && IsTorn();
  Segment part = TakePart();
  MoveBoundaries(part);
  mPicturesLeft = mPicturesDropped == 0 ? kAll : mPicturesDropped;
  if (mPicturesDropped == 0) {
    mBoundaries = mEarliest;
    mCursor = std::min(from, mBoundaries.video);
    mHasRead = true;
    part.lost = TakeLost();
    if (mSoundEnds) mKnownSoundEnds = mSoundEnds;
    ChooseLength(wasFirst && part.frames.empty());
  }
  part.cursor = mCursor;
  part.isTorn = isTorn;
  part.usedUpPicture = mUsedUpPicture;
  part.sawLaterPicture = mSawLater;
  return part;
}

bool SegmentReader::Read(double from) {
  // A seek that fails has found no picture, and the decoder's log says so. Sound may still come.
  bool videoDone = mDecoder->Seek(std::max(from - mRange.seekEarly, 0.0), kDecodeForward) != 0;
  mUsedUpPicture = !videoDone && from > 0 && !mRange.keepsMetPicture;
  bool audioDone = !mRange.hasAudio || !IsFirstPart();
  if (IsFirstPart()) {
    mSoundEnds.reset();
  } else {
    mDecoder->RestSound();
  }
  mPicturesDropped = 0;
  mPictureAfter.reset();
  while (!videoDone || !audioDone) {
    std::unique_ptr<FrameBuffer> frame = mStock->Get();
    const bool isEnd =
        mDecoder->ReceiveFrame(frame->Data(), &frame->size, &frame->type, &frame->pts) != 0;
    const bool isWanted = !isEnd && IsWanted(*frame);
    const bool isTooLong = isWanted && mSeconds > kUsualSeconds;
    // The later pictures of the step have been given out.
    const bool isGiven = isWanted && frame->type == kVideoFrame && PicturesRead() == mPicturesLeft;
    if (isEnd || isTooLong || isGiven) {
      mStock->Put(std::move(frame));
      return !isTooLong;
    }
    NoteSound(*frame);
    // The flags only end the reading. If streams are loosely interleaved, a wanted frame may come
    // after its kind's flag was set; it is kept.
    if (isWanted) {
      Keep(std::move(frame));
    } else {
      mSawLater = mSawLater || (frame->type == kVideoFrame && frame->pts >= mRange.end);
      NoteEnd(*frame, &videoDone, &audioDone);
      mStock->Put(std::move(frame));
    }
  }
  return true;
}

bool SegmentReader::IsWanted(const FrameBuffer& frame) const {
  if (frame.type == kVideoFrame) return frame.pts < mBoundaries.video;
  return frame.type == kAudioFrame && mRange.hasAudio && frame.pts < mBoundaries.audio;
}

// The last step has read all sound after its begin. So if the sound has ended, or has a hole, no
// more sound is looked for. But a sound decoder may need a packet to get going. Then the last step
// has lost its first sound, and this step gives that sound if it has sound before it.
void SegmentReader::NoteEnd(const FrameBuffer& frame, bool* videoDone, bool* audioDone) {
  if (frame.type == kAudioFrame) {
    *audioDone = true;
    return;
  }
  if (frame.type != kVideoFrame) return;
  *videoDone = true;
  if (!mPictureAfter) mPictureAfter = {frame.pts, frame.size};
  double known = mBoundaries.video + kUsualSeconds;
  if (mSoundEnds && mKnownSoundEnds) known = std::max(known, *mKnownSoundEnds);
  if (mHasRead && frame.pts >= known) *audioDone = true;
}

void SegmentReader::NoteSound(const FrameBuffer& frame) {
  if (frame.type == kAudioFrame && !mSoundEnds) {
    mSoundEnds = std::numeric_limits<double>::infinity();
  } else if (frame.type == kVideoFrame && mSoundEnds) {
    mSoundEnds = std::min(*mSoundEnds, frame.pts);
  }
}

void SegmentReader::Keep(std::unique_ptr<FrameBuffer> frame) {
  if (frame->type == kVideoFrame) {
    KeepPicture(std::move(frame));
  } else if (IsFirstPart()) {
    KeepSound(std::move(frame));
  } else {
    mStock->Put(std::move(frame));
  }
}

void SegmentReader::KeepPicture(std::unique_ptr<FrameBuffer> picture) {
  // A picture's buffer has room for four bytes a pixel. Most pictures fill less than half of the
  // room.
  const int64_t filled = mDecoder->GetFrameBufferSize();
  const int64_t bytes = filled > 0 ? filled : picture->Length();
  const auto room = static_cast<size_t>(mRange.stepBytes / std::max<int64_t>(bytes, 1));
  mPictures.push_back(std::move(picture));
  while (mPictures.size() > std::clamp<size_t>(room, 1, kMostFrames)) {
    mStock->Put(std::move(mPictures.front()));
    mPictures.pop_front();
    ++mPicturesDropped;
  }
}

void SegmentReader::KeepSound(std::unique_ptr<FrameBuffer> sound) {
  mSounds.push_back({mStock->Compact(std::move(sound)), PicturesRead()});
  if (mSounds.size() <= kMostFrames) return;
  if (!mIsSoundLost) log_warn(kTag, "too many frames at %.3f, some are left out", mCursor);
  mIsSoundLost = true;
  mStock->Put(std::move(mSounds.front().frame));
  mSounds.pop_front();
}

Segment SegmentReader::TakePart() {
  Segment part;
  part.pictureBytes = mDecoder->GetFrameBufferSize();
  part.bytes = part.pictureBytes * static_cast<int64_t>(mPictures.size());
  // The sound before the first picture that was kept goes with a part to come.
  auto sound = mPicturesDropped == 0
                   ? mSounds.begin()
                   : std::find_if(mSounds.begin(), mSounds.end(), [this](const Sound& each) {
                       return each.picturesBefore > mPicturesDropped;
                     });
  const auto first = sound;
  size_t index = mPicturesDropped;
  const auto addSounds = [&](size_t picturesBefore) {
    for (; sound != mSounds.end() && sound->picturesBefore <= picturesBefore; ++sound) {
      part.bytes += sound->frame->Length();
      part.frames.push_back(std::move(sound->frame));
    }
  };
  for (std::unique_ptr<FrameBuffer>& picture : mPictures) {
    addSounds(index++);
    part.frames.push_back(std::move(picture));
  }
  addSounds(kAll);
  mPictures.clear();
  mSounds.erase(first, mSounds.end());
  return part;
}

// A longer step skips only whole empty seconds. So steps with frames in them are cut at the same
// times in any case.
void SegmentReader::ChooseLength(bool wasEmpty) {
  if (mIsNarrowing && mSeconds > kUsualSeconds) {
    mSeconds /= 2;
    return;
  }
  mIsNarrowing = false;
  mEmptySteps = wasEmpty ? mEmptySteps + 1 : 0;
  if (!wasEmpty) {
    mSeconds = kUsualSeconds;
  } else if (mEmptySteps > kPatience && mSeconds < kLongestSeconds) {
    mSeconds *= 2;
  }
}

// Frames are written from the back, so the first one of each kind in the range is the last written.
void SegmentReader::MoveBoundaries(const Segment& part) {
  for (size_t i = part.frames.size(); i-- > 0;) {
    const FrameBuffer& frame = *part.frames[i];
    if (!mRange.Holds(frame)) continue;
    (frame.type == kAudioFrame ? mEarliest.audio : mEarliest.video) = frame.pts;
    if (frame.type == kVideoFrame) mEarliestPicture = {frame.pts, frame.size};
  }
}

// If times go back in a file, some pictures are not where their times lead, and no step reads them.
// Then a step that ends with the wrong picture shows this.
bool SegmentReader::IsTorn() const {
  if (mEarliestPicture.has_value()) return mPictureAfter != mEarliestPicture;
  return mRange.isToEnd && mPictureAfter.has_value();
}

// The losses of the stretch from the cursor to the place at which the last call has stopped. A step
// may go back a little further than its second, so its begin would not do.
LostPictures SegmentReader::TakeLost() {
  constexpr double kMicrosecond = 1e-6;
  const double from = std::max(mCursor, mRange.start) - kMicrosecond;
  const double to = mSettled - kMicrosecond;
  mSettled = mCursor;
  return mDecoder->TakeLost(from, to);
}

}  // namespace codec
