#include "reverse/reverse_loop.h"

#include <utility>

#include "base/log.h"
#include "reverse/audio_samples.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

}  // namespace

ReverseLoop::ReverseLoop(FFmpegDecoder* decoder, MediaWriter* writer, const ReverseRange& range)
    : mWriter(writer),
      mRange(range),
      mStock(range.bufferSize),
      mReader(decoder, &mStock, range),
      mAhead(&mReader, &mStock, range.aheadBytes),
      mCursor(range.end) {}

int ReverseLoop::Step() {
  if (!(mRange.start < mCursor)) {
    log_debug(kTag, "Reverse over");
    return -1;
  }
  Segment segment = mRange.overlap ? mAhead.Next() : mReader.Next();
  mCursor = segment.cursor;
  mUsedUpPicture = mUsedUpPicture || segment.usedUpPicture;
  Write(std::move(segment));
  const auto done = static_cast<float>(mRange.end - mCursor);
  mProgress = static_cast<float>(done / (mRange.end - mRange.start) * 100);
  return 0;
}

void ReverseLoop::Write(Segment segment) {
  while (!segment.frames.empty()) {
    std::unique_ptr<FrameBuffer> frame = std::move(segment.frames.back());
    segment.frames.pop_back();
    if (mRange.Holds(*frame)) WriteFrame(frame.get());
    mStock.Put(std::move(frame));
  }
}

void ReverseLoop::WriteFrame(FrameBuffer* frame) {
  if (frame->type == kAudioFrame) {
    mHasSound = true;
    ReverseAudioSamples(frame->Data(), frame->size, mRange.channels, mRange.sampleFormat);
  } else {
    mHasPicture = true;
  }
  if (mWriter == nullptr) return;
  constexpr double kMicroseconds = 1000000;
  const auto stamp = static_cast<int64_t>((mRange.end - frame->pts) * kMicroseconds);
  mWriter->WriteFrame(static_cast<int>(frame->type), frame->Data(), frame->size, stamp);
}

}  // namespace codec
