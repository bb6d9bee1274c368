// The backward walk over the range: one second a step, newest frame first.
#pragma once

#include <cstdint>
#include <deque>
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
  // Bytes that the frames of one step may take: a second of pictures, unless these are larger than
  // 4K at 60 frames a second.
  int64_t stepBytes = int64_t{2} << 30;
};

// A step goes like this:
//   1. Seek one second before the part that is done (or to 0).
//   2. Decode from there up to that part and keep every frame of it.
//   3. Write the kept frames, the last decoded first, the samples of each audio frame reversed,
//   stamped
//      with their distance from the end of the range.
//   4. Move the cursor back by the second, or to the earliest frame written, whichever is earlier.
// After some steps without any frame each is twice as long, until one meets a frame: inputs whose
// stamps jump have stretches of hours in them. A step with too many frames is taken again in parts.
//
// The seek consumes one picture; the next step, which starts a second earlier, reads up to the
// earliest picture written and so brings it after all.
//
// Used by one thread. Decoder and writer belong to the caller; without a writer frames are dropped.
class ReverseLoop {
 public:
  ReverseLoop(FFmpegDecoder* decoder, MediaWriter* writer, const ReverseRange& range);

  // One step: 0 when more work may remain, -1 when the range is done.
  int Step();

  // Percent of the range that is done.
  float Progress() const { return mProgress; }

  // The part still to do is [start, Cursor()).
  double Cursor() const { return mCursor; }

 private:
  enum class Reading { kWhole, kNotEmpty, kOverBudget };

  // Reads the part from here to what is done. Unless it is kWhole it stopped early: at the first
  // frame of a part longer than a second, or where the frames took too much room.
  Reading ReadSegment(double from);
  bool Shorten(Reading reading);
  void ChooseSegment(bool wasEmpty);
  void PutBackFrames();
  void WriteSegment();
  // Whether the frame belongs to the part still to do.
  bool IsWanted(const FrameBuffer& frame) const;
  void WriteFrame(FrameBuffer* frame);

  static constexpr double kSegmentSeconds = 1.0;

  FFmpegDecoder* const mDecoder;
  MediaWriter* const mWriter;
  const ReverseRange mRange;

  double mCursor;
  double mVideoBoundary;  // time of the earliest picture written, `end` before the first
  double mAudioBoundary;  // the same for audio
  double mSegmentSeconds = kSegmentSeconds;  // of the next step
  int64_t mReadBytes = 0;                    // room that the frames of the last one took
  int mEmptySteps = 0;                       // in a row
  bool mIsNarrowing = false;                 // a part longer than a second turned out not empty
  bool mHasRead = false;                     // a step is done
  float mProgress = 0;
  std::deque<std::unique_ptr<FrameBuffer>> mFrames;  // of the current step, in decoded order
};

}  // namespace codec
