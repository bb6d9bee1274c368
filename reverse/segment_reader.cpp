#include "reverse/segment_reader.h"

#include <algorithm>
#include <utility>

namespace codec {
namespace {

// The seek that decodes forward to the exact place.
constexpr int kDecodeForward = 3;

// Each frame is a mapping of its own, of which a process has some 65,000.
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
      mEarliest(mBoundaries) {}

Segment SegmentReader::Next() {
  double from = std::max(mCursor - mSeconds, 0.0);
  while (!Read(from)) {
    mSeconds /= 2;
    mIsNarrowing = true;
    from = std::max(mCursor - mSeconds, 0.0);
  }
  MoveBoundaries();
  if (mFramesDropped == 0) {
    mBoundaries = mEarliest;
    mCursor = std::min(from, mBoundaries.video);
    mHasRead = true;
    ChooseLength(mFrames.empty() && mFramesLeft == kAll);
  }
  mFramesLeft = mFramesDropped == 0 ? kAll : mFramesDropped;
  return {std::exchange(mFrames, {}), mCursor, mBytes, mDecoder->GetFrameBufferSize()};
}

bool SegmentReader::Read(double from) {
  // A seek that fails has found no picture to come, and says so in the decoder's log; sound may
  // still come.
  bool videoDone = mDecoder->Seek(from, kDecodeForward) != 0;
  bool audioDone = !mRange.hasAudio;
  mBytes = 0;
  mFramesDropped = 0;
  while (!videoDone || !audioDone) {
    std::unique_ptr<FrameBuffer> frame = mStock->Get();
    const bool isEnd =
        mDecoder->ReceiveFrame(frame->Data(), &frame->size, &frame->type, &frame->pts) != 0;
    const bool isWanted = !isEnd && IsWanted(*frame);
    const bool isTooLong = isWanted && mSeconds > kUsualSeconds;
    // The later parts of the step have been given out.
    const bool isGiven = isWanted && mFramesDropped + mFrames.size() == mFramesLeft;
    if (isEnd || isTooLong || isGiven) {
      mStock->Put(std::move(frame));
      return !isTooLong;
    }
    // The flags only end the reading. A frame of the part still to do that comes after its kind's
    // flag was set, as it may where streams are loosely interleaved, is kept.
    if (isWanted) {
      Keep(std::move(frame));
    } else {
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

// Everything behind the place where the last step began to read is known: where the sound has
// ended, or has a hole, it is not looked for again up to the end of the file.
void SegmentReader::NoteEnd(const FrameBuffer& frame, bool* videoDone, bool* audioDone) const {
  const bool isVideo = frame.type == kVideoFrame;
  const bool isBehind = isVideo && frame.pts >= mBoundaries.video + kUsualSeconds;
  if (isVideo) *videoDone = true;
  if (frame.type == kAudioFrame || (mHasRead && isBehind)) *audioDone = true;
}

void SegmentReader::Keep(std::unique_ptr<FrameBuffer> frame) {
  if (frame->type == kAudioFrame) frame = mStock->Compact(std::move(frame));
  mBytes += BytesOf(*frame);
  mFrames.push_back(std::move(frame));
  while (mFrames.size() > 1 && (mBytes > mRange.stepBytes || mFrames.size() > kMostFrames)) {
    mBytes -= BytesOf(*mFrames.front());
    mStock->Put(std::move(mFrames.front()));
    mFrames.pop_front();
    ++mFramesDropped;
  }
}

// A picture's buffer has room for four bytes a pixel, of which most fill less than half.
int64_t SegmentReader::BytesOf(const FrameBuffer& frame) const {
  const int64_t pictureBytes = mDecoder->GetFrameBufferSize();
  return frame.type == kVideoFrame && pictureBytes > 0 ? pictureBytes : frame.Length();
}

// Nothing but whole seconds are left out by a longer step, so that those with frames in them are
// cut where they always are.
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
void SegmentReader::MoveBoundaries() {
  for (size_t i = mFrames.size(); i-- > 0;) {
    const FrameBuffer& frame = *mFrames[i];
    if (!mRange.Holds(frame)) continue;
    (frame.type == kAudioFrame ? mEarliest.audio : mEarliest.video) = frame.pts;
  }
}

}  // namespace codec
