#include "reverse/reverse_loop.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "reverse/audio_samples.h"
#include "reverse/frame_pool.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

// The seek that decodes forward to the exact place.
constexpr int kDecodeForward = 3;

// Each frame is a mapping of its own, of which a process has some 65,000.
constexpr size_t kSegmentFrames = 16384;
constexpr int kEmptySteps = 8;
constexpr double kShortestSegmentSeconds = 1.0 / 1024;
constexpr double kLongestSegmentSeconds = 1099511627776;

}  // namespace

ReverseLoop::ReverseLoop(FFmpegDecoder* decoder, MediaWriter* writer, const ReverseRange& range)
    : mDecoder(decoder),
      mWriter(writer),
      mRange(range),
      mCursor(range.end),
      mVideoBoundary(range.end),
      mAudioBoundary(range.end) {}

int ReverseLoop::Step() {
  if (!(mRange.start < mCursor)) {
    log_debug(kTag, "Reverse over");
    return -1;
  }
  double from = std::max(mCursor - mSegmentSeconds, 0.0);
  for (;;) {
    const Reading reading = ReadSegment(from);
    if (reading == Reading::kWhole || !Shorten(reading)) break;
    from = std::max(mCursor - mSegmentSeconds, 0.0);
  }
  const bool isEmpty = mFrames.empty();
  WriteSegment();
  mCursor = std::min(from, mVideoBoundary);
  mHasRead = true;
  ChooseSegment(isEmpty);
  const auto done = static_cast<float>(mRange.end - mCursor);
  mProgress = static_cast<float>(done / (mRange.end - mRange.start) * 100);
  return 0;
}

// Gives up what was read, to read a shorter part. False when there is none.
bool ReverseLoop::Shorten(Reading reading) {
  const double shorter = mSegmentSeconds / 2;
  if (reading == Reading::kOverBudget && shorter < kShortestSegmentSeconds) {
    log_warn(kTag, "too many frames at %.3f, some are left out", mCursor);
    mReadBytes = 0;
    return false;
  }
  PutBackFrames();
  mSegmentSeconds = shorter;
  mIsNarrowing = true;
  return true;
}

// Nothing but whole seconds are left out by a longer step, so that those with frames in them are
// cut where they always are.
void ReverseLoop::ChooseSegment(bool wasEmpty) {
  if (mSegmentSeconds < kSegmentSeconds) {
    if (mReadBytes < mRange.stepBytes / 4) mSegmentSeconds *= 2;
    return;
  }
  if (mIsNarrowing && mSegmentSeconds > kSegmentSeconds) {
    mSegmentSeconds /= 2;
    return;
  }
  mIsNarrowing = false;
  mEmptySteps = wasEmpty ? mEmptySteps + 1 : 0;
  const bool grows = mEmptySteps > kEmptySteps && mSegmentSeconds < kLongestSegmentSeconds;
  mSegmentSeconds = grows ? mSegmentSeconds * 2 : wasEmpty ? mSegmentSeconds : kSegmentSeconds;
}

ReverseLoop::Reading ReverseLoop::ReadSegment(double from) {
  // A seek that fails has found no picture to come, and says so in the decoder's log; sound may
  // still come.
  bool videoDone = mDecoder->Seek(from, kDecodeForward) != 0;
  bool audioDone = !mRange.hasAudio;
  FramePool& pool = FramePool::Instance();
  mReadBytes = 0;
  while (!videoDone || !audioDone) {
    std::unique_ptr<FrameBuffer> frame = pool.Get(mRange.bufferSize);
    if (mDecoder->ReceiveFrame(frame->Data(), &frame->size, &frame->type, &frame->pts) != 0) {
      pool.Put(std::move(frame));
      break;
    }
    // The flags only end the reading. A frame of the part still to do that comes after its kind's
    // flag was set, as it may where streams are loosely interleaved, is kept.
    if (IsWanted(*frame)) {
      if (mSegmentSeconds > kSegmentSeconds) {
        pool.Put(std::move(frame));
        return Reading::kNotEmpty;
      }
      mReadBytes += frame->type == kVideoFrame ? mRange.bufferSize : frame->size;
      mFrames.push_back(std::move(frame));
      if (mReadBytes > mRange.stepBytes || mFrames.size() > kSegmentFrames) {
        return Reading::kOverBudget;
      }
      continue;
    }
    // Everything behind the place where the last step began to read is known: where the sound has
    // ended, or has a hole, it is not looked for again up to the end of the file.
    const bool isBehind =
        frame->type == kVideoFrame && frame->pts >= mVideoBoundary + kSegmentSeconds;
    if (frame->type == kVideoFrame) videoDone = true;
    if (frame->type == kAudioFrame || (mHasRead && isBehind)) audioDone = true;
    pool.Put(std::move(frame));
  }
  return Reading::kWhole;
}

void ReverseLoop::PutBackFrames() {
  for (std::unique_ptr<FrameBuffer>& frame : mFrames) FramePool::Instance().Put(std::move(frame));
  mFrames.clear();
}

bool ReverseLoop::IsWanted(const FrameBuffer& frame) const {
  if (frame.type == kVideoFrame) return frame.pts < mVideoBoundary;
  return frame.type == kAudioFrame && mRange.hasAudio && frame.pts < mAudioBoundary;
}

void ReverseLoop::WriteSegment() {
  FramePool& pool = FramePool::Instance();
  while (!mFrames.empty()) {
    std::unique_ptr<FrameBuffer> frame = std::move(mFrames.back());
    mFrames.pop_back();
    // The last step may reach back before the start of the range.
    if (mRange.start <= frame->pts && frame->pts <= mRange.end) WriteFrame(frame.get());
    pool.Put(std::move(frame));
  }
}

void ReverseLoop::WriteFrame(FrameBuffer* frame) {
  if (frame->type == kAudioFrame) {
    mAudioBoundary = frame->pts;
    ReverseAudioSamples(frame->Data(), frame->size, mRange.channels, mRange.sampleFormat);
  } else {
    mVideoBoundary = frame->pts;
  }
  if (mWriter == nullptr) return;
  constexpr double kMicroseconds = 1000000;
  const auto stamp = static_cast<int64_t>((mRange.end - frame->pts) * kMicroseconds);
  mWriter->WriteFrame(static_cast<int>(frame->type), frame->Data(), frame->size, stamp);
}

}  // namespace codec
