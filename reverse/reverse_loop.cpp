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

constexpr double kSegmentSeconds = 1.0;

}  // namespace

ReverseLoop::ReverseLoop(FFmpegDecoder* decoder, MediaWriter* writer, const ReverseRange& range)
    : mDecoder(decoder), mWriter(writer), mRange(range), mDone{range.end, range.end, range.end} {}

ReverseLoop::~ReverseLoop() {
  if (mAhead.valid()) mAhead.wait();
}

int ReverseLoop::Step() {
  if (!(mRange.start < mDone.cursor)) {
    log_debug(kTag, "Reverse over");
    return -1;
  }
  Frames frames = mAhead.valid() ? mAhead.get() : ReadSegment(mDone);
  mDone = After(frames);
  if (mRange.overlap && mRange.start < mDone.cursor) ReadAhead();
  WriteSegment(std::move(frames));
  const auto done = static_cast<float>(mRange.end - mDone.cursor);
  mProgress = static_cast<float>(done / (mRange.end - mRange.start) * 100);
  return 0;
}

double ReverseLoop::SegmentStart(const Boundaries& done) {
  return std::max(done.cursor - kSegmentSeconds, 0.0);
}

ReverseLoop::Frames ReverseLoop::ReadSegment(const Boundaries& done) const {
  // A seek that fails is reported by the decoder; reading then gives fewer frames or none, and the
  // cursor moves on all the same.
  mDecoder->Seek(SegmentStart(done), kDecodeForward);

  FramePool& pool = FramePool::Instance();
  Frames frames;
  bool videoDone = false;
  bool audioDone = !mRange.hasAudio;
  while (!videoDone || !audioDone) {
    std::unique_ptr<FrameBuffer> frame = pool.Get(mRange.bufferSize);
    if (mDecoder->ReceiveFrame(frame->Data(), &frame->size, &frame->type, &frame->pts) != 0) {
      pool.Put(std::move(frame));
      break;
    }
    // The flags only end the reading. A frame of the part still to do that comes after its kind's
    // flag was set, as it may where streams are loosely interleaved, is kept.
    if (IsWanted(*frame, done)) {
      frames.push_back(std::move(frame));
      continue;
    }
    if (frame->type == kVideoFrame) videoDone = true;
    if (frame->type == kAudioFrame) audioDone = true;
    pool.Put(std::move(frame));
  }
  return frames;
}

bool ReverseLoop::IsWanted(const FrameBuffer& frame, const Boundaries& done) const {
  if (frame.type == kVideoFrame) return frame.pts < done.video;
  return frame.type == kAudioFrame && mRange.hasAudio && frame.pts < done.audio;
}

// The last step may reach back before the start of the range.
bool ReverseLoop::IsInRange(const FrameBuffer& frame) const {
  return mRange.start <= frame.pts && frame.pts <= mRange.end;
}

// Frames are written from the back, so the first one of each kind in the range is the last written.
ReverseLoop::Boundaries ReverseLoop::After(const Frames& frames) const {
  Boundaries after = mDone;
  for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
    if (!IsInRange(**frame)) continue;
    ((*frame)->type == kAudioFrame ? after.audio : after.video) = (*frame)->pts;
  }
  after.cursor = std::min(SegmentStart(mDone), after.video);
  return after;
}

void ReverseLoop::ReadAhead() {
  mAhead = std::async(std::launch::async, [this, done = mDone] { return ReadSegment(done); });
}

void ReverseLoop::WriteSegment(Frames frames) {
  FramePool& pool = FramePool::Instance();
  while (!frames.empty()) {
    std::unique_ptr<FrameBuffer> frame = std::move(frames.back());
    frames.pop_back();
    if (IsInRange(*frame)) WriteFrame(frame.get());
    pool.Put(std::move(frame));
  }
}

void ReverseLoop::WriteFrame(FrameBuffer* frame) {
  if (frame->type == kAudioFrame) {
    ReverseAudioSamples(frame->Data(), frame->size, mRange.channels, mRange.sampleFormat);
  }
  if (mWriter == nullptr) return;
  constexpr double kMicroseconds = 1000000;
  const auto stamp = static_cast<int64_t>((mRange.end - frame->pts) * kMicroseconds);
  mWriter->WriteFrame(static_cast<int>(frame->type), frame->Data(), frame->size, stamp);
}

}  // namespace codec
