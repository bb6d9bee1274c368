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
  const double from = std::max(mCursor - kSegmentSeconds, 0.0);
  // A seek that fails is reported by the decoder; reading then gives fewer frames or none, and the
  // cursor moves on all the same.
  mDecoder->Seek(from, kDecodeForward);
  ReadSegment();
  WriteSegment();
  mCursor = std::min(from, mVideoBoundary);
  const auto done = static_cast<float>(mRange.end - mCursor);
  mProgress = static_cast<float>(done / (mRange.end - mRange.start) * 100);
  return 0;
}

void ReverseLoop::ReadSegment() {
  FramePool& pool = FramePool::Instance();
  bool videoDone = false;
  bool audioDone = !mRange.hasAudio;
  while (!videoDone || !audioDone) {
    std::unique_ptr<FrameBuffer> frame = pool.Get(mRange.bufferSize);
    if (mDecoder->ReceiveFrame(frame->Data(), &frame->size, &frame->type, &frame->pts) != 0) {
      pool.Put(std::move(frame));
      return;
    }
    // The flags only end the reading. A frame of the part still to do that comes after its kind's
    // flag was set, as it may where streams are loosely interleaved, is kept.
    if (IsWanted(*frame)) {
      mFrames.push_back(std::move(frame));
      continue;
    }
    if (frame->type == kVideoFrame) videoDone = true;
    if (frame->type == kAudioFrame) audioDone = true;
    pool.Put(std::move(frame));
  }
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
