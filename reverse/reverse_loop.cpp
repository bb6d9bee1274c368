#include "reverse/reverse_loop.h"

#include <system_error>
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
      mCursor(range.end) {}

ReverseLoop::~ReverseLoop() {
  if (mAhead.valid()) mAhead.wait();
}

int ReverseLoop::Step() {
  if (!(mRange.start < mCursor)) {
    log_debug(kTag, "Reverse over");
    return -1;
  }
  Segment segment = Read();
  mCursor = segment.cursor;
  Write(std::move(segment));
  const auto done = static_cast<float>(mRange.end - mCursor);
  mProgress = static_cast<float>(done / (mRange.end - mRange.start) * 100);
  return 0;
}

// The step at hand, with the one after it begun where steps overlap.
Segment ReverseLoop::Read() {
  Segment segment = mAhead.valid() ? mAhead.get() : mReader.Next();
  if (mRange.overlap && mReader.HasMore()) {
    try {
      mAhead = std::async(std::launch::async, [this] { return mReader.Next(); });
    } catch (const std::system_error&) {
      log_warn(kTag, "no thread for the next step, reading it in turn");
    }
  }
  return segment;
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
