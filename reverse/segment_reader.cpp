#include "reverse/segment_reader.h"

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

// The seek that decodes forward to the exact place.
constexpr int kDecodeForward = 3;

// Each frame is a mapping of its own, of which a process has some 65,000.
constexpr size_t kMostFrames = 16384;
constexpr int kPatience = 8;  // empty steps before they grow
constexpr double kShortestSeconds = 1.0 / 1024;
constexpr double kLongestSeconds = 1099511627776;

}  // namespace

SegmentReader::SegmentReader(FFmpegDecoder* decoder, FrameStock* stock, const ReverseRange& range)
    : mDecoder(decoder),
      mStock(stock),
      mRange(range),
      mCursor(range.end),
      mVideoBoundary(range.end),
      mAudioBoundary(range.end) {}

Segment SegmentReader::Next() {
  double from = 0;
  Reading reading = Reading::kWhole;
  do {
    from = std::max(mCursor - mSeconds, 0.0);
    reading = Read(from);
  } while (reading != Reading::kWhole && Shorten(reading));
  MoveBoundaries();
  mCursor = std::min(from, mVideoBoundary);
  mHasRead = true;
  ChooseLength(mFrames.empty());
  const int64_t bytes = FilledBytes();
  return {std::exchange(mFrames, {}), mCursor, bytes, mDecoder->GetFrameBufferSize()};
}

SegmentReader::Reading SegmentReader::Read(double from) {
  // A seek that fails has found no picture to come, and says so in the decoder's log; sound may
  // still come.
  bool videoDone = mDecoder->Seek(from, kDecodeForward) != 0;
  bool audioDone = !mRange.hasAudio;
  mBytes = 0;
  while (!videoDone || !audioDone) {
    std::unique_ptr<FrameBuffer> frame = mStock->Get();
    if (mDecoder->ReceiveFrame(frame->Data(), &frame->size, &frame->type, &frame->pts) != 0) {
      mStock->Put(std::move(frame));
      break;
    }
    // The flags only end the reading. A frame of the part still to do that comes after its kind's
    // flag was set, as it may where streams are loosely interleaved, is kept.
    if (IsWanted(*frame)) {
      if (mSeconds > kUsualSeconds) {
        mStock->Put(std::move(frame));
        return Reading::kNotEmpty;
      }
      if (frame->type == kAudioFrame) frame = mStock->Compact(std::move(frame));
      mBytes += frame->Length();
      mFrames.push_back(std::move(frame));
      if (mBytes > mRange.stepBytes || mFrames.size() > kMostFrames) return Reading::kOverBudget;
      continue;
    }
    // Everything behind the place where the last step began to read is known: where the sound has
    // ended, or has a hole, it is not looked for again up to the end of the file.
    const bool isBehind =
        frame->type == kVideoFrame && frame->pts >= mVideoBoundary + kUsualSeconds;
    if (frame->type == kVideoFrame) videoDone = true;
    if (frame->type == kAudioFrame || (mHasRead && isBehind)) audioDone = true;
    mStock->Put(std::move(frame));
  }
  return Reading::kWhole;
}

bool SegmentReader::IsWanted(const FrameBuffer& frame) const {
  if (frame.type == kVideoFrame) return frame.pts < mVideoBoundary;
  return frame.type == kAudioFrame && mRange.hasAudio && frame.pts < mAudioBoundary;
}

// A picture's buffer has room for four bytes a pixel, of which most fill less than half.
int64_t SegmentReader::FilledBytes() const {
  const int64_t pictureBytes = mDecoder->GetFrameBufferSize();
  int64_t bytes = 0;
  for (const std::unique_ptr<FrameBuffer>& frame : mFrames) {
    bytes += frame->type == kVideoFrame ? pictureBytes : frame->Length();
  }
  return bytes;
}

// Gives up what was read, to read a shorter part. False when there is none.
bool SegmentReader::Shorten(Reading reading) {
  const double shorter = mSeconds / 2;
  if (reading == Reading::kOverBudget && shorter < kShortestSeconds) {
    log_warn(kTag, "too many frames at %.3f, some are left out", mCursor);
    mBytes = 0;
    return false;
  }
  GiveUpFrames();
  mSeconds = shorter;
  mIsNarrowing = true;
  return true;
}

// Nothing but whole seconds are left out by a longer step, so that those with frames in them are
// cut where they always are.
void SegmentReader::ChooseLength(bool wasEmpty) {
  if (mSeconds < kUsualSeconds) {
    if (mBytes < mRange.stepBytes / 4) mSeconds *= 2;
    return;
  }
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
    (frame.type == kAudioFrame ? mAudioBoundary : mVideoBoundary) = frame.pts;
  }
}

void SegmentReader::GiveUpFrames() {
  for (std::unique_ptr<FrameBuffer>& frame : mFrames) mStock->Put(std::move(frame));
  mFrames.clear();
}

}  // namespace codec
