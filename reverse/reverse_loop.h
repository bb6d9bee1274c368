// The backward walk over the range: one second a step, newest frame first.
#pragma once

#include <cstdint>
#include <deque>
#include <future>
#include <memory>

#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/writer/media_writer.h"
#include "reverse/frame_buffer.h"

namespace codec {

// What the walk needs to know of its job.
struct ReverseRange {
  double start = 0;  // seconds; the first frame written last is at or after it
  double end = 0;    // seconds; frames at or after it are not written
  bool hasAudio = false;
  int32_t channels = 0;       // of decoded audio
  int32_t sampleFormat = -1;  // FFmpeg's number, of decoded audio
  int32_t bufferSize = 0;     // bytes that any frame of the decoder fits into
  bool overlap = true;        // whether a step is read while the one before it is written
};

// A step goes like this:
//   1. Seek one second before the part that is done (or to 0).
//   2. Decode from there up to that part and keep every frame of it.
//   3. Write the kept frames, the last decoded first, the samples of each audio frame reversed,
//   stamped
//      with their distance from the end of the range.
//   4. Move the cursor back by the second, or to the earliest frame written, whichever is earlier.
// The seek consumes one picture; the next step, which starts a second earlier, reads up to the
// earliest picture written and so brings it after all.
//
// Note: overlap
//   All that a step needs to know of the one before it is how far that one goes back, and this is
//   known as soon as its frames are read. So the next step is read on a thread of its own while
//   this one is written: the thread has the decoder to itself from the start of its task until its
//   future is collected, which the next step, or the destructor, does.
//
// Used by one thread. Decoder and writer belong to the caller; without a writer frames are dropped.
class ReverseLoop {
 public:
  ReverseLoop(FFmpegDecoder* decoder, MediaWriter* writer, const ReverseRange& range);
  // Waits for a step that is being read.
  ~ReverseLoop();
  ReverseLoop(const ReverseLoop&) = delete;
  ReverseLoop& operator=(const ReverseLoop&) = delete;

  // One step: 0 when more work may remain, -1 when the range is done.
  int Step();

  // Percent of the range that is done.
  float Progress() const { return mProgress; }

  // The part still to do is [start, Cursor()).
  double Cursor() const { return mDone.cursor; }

 private:
  using Frames = std::deque<std::unique_ptr<FrameBuffer>>;

  // Where a step leaves off.
  struct Boundaries {
    double cursor;  // seconds; before it lies the part still to do
    double video;   // time of the earliest picture written, the range's end before the first
    double audio;   // the same for audio
  };

  static double SegmentStart(const Boundaries& done);
  // Steps 1 and 2. Runs on the reading thread when steps overlap.
  Frames ReadSegment(const Boundaries& done) const;
  // Whether the frame belongs to the part still to do.
  bool IsWanted(const FrameBuffer& frame, const Boundaries& done) const;
  bool IsInRange(const FrameBuffer& frame) const;
  Boundaries After(const Frames& frames) const;
  void ReadAhead();
  void WriteSegment(Frames frames);
  void WriteFrame(FrameBuffer* frame);

  FFmpegDecoder* const mDecoder;
  MediaWriter* const mWriter;
  const ReverseRange mRange;

  Boundaries mDone;
  float mProgress = 0;
  std::future<Frames> mAhead;  // the frames of the next step, in decoded order
};

}  // namespace codec
