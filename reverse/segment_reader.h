// The reading half of the backward walk: the frames of one step after another, newest step first.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "codec/decoder/ffmpeg_decoder.h"
#include "reverse/frame_buffer.h"
#include "reverse/frame_stock.h"

namespace codec {

// What the walk needs to know of its job.
struct ReverseRange {
  double start = 0;  // seconds; frames before it are not written
  double end = 0;    // seconds; frames at or after it are not written
  bool hasAudio = false;
  int32_t channels = 0;       // of decoded audio
  int32_t sampleFormat = -1;  // FFmpeg's number, of decoded audio
  int32_t bufferSize = 0;     // bytes that any frame of the decoder fits into
  bool overlap = true;        // whether steps are read while others are written
  // Bytes that the frames of one step may take: a second of pictures, unless these are larger than
  // 4K at 60 frames a second.
  int64_t stepBytes = int64_t{2} << 30;

  // The last step may reach back before the start of the range.
  bool Holds(const FrameBuffer& frame) const { return start <= frame.pts && frame.pts <= end; }
};

// The frames of one step, in decoded order.
struct Segment {
  std::deque<std::unique_ptr<FrameBuffer>> frames;
  double cursor = 0;         // seconds; before it lies what is still to do when the step is written
  int64_t bytes = 0;         // that the frames fill
  int64_t pictureBytes = 0;  // that one picture fills
};

// Steps are one second long. After some without any frame each is twice as long, until one meets a
// frame: inputs whose stamps jump have stretches of hours in them. A step with too many frames is
// taken in parts.
//
// Knows by the frames alone how far a step goes back, so that the next one can be read before this
// one is written. Used by one thread at a time; decoder and stock belong to the caller.
class SegmentReader {
 public:
  SegmentReader(FFmpegDecoder* decoder, FrameStock* stock, const ReverseRange& range);

  // Whether the range has a part left to read.
  bool HasMore() const { return mRange.start < mCursor; }
  // Bytes that frames read ahead may take without costing the decoder the memory it works with.
  int64_t SpareBytes() const { return mDecoder->SpareBytes(); }
  // Reads the next step. Only while there is one.
  Segment Next();

 private:
  enum class Reading { kWhole, kNotEmpty, kOverBudget };

  // Unless it is kWhole it stopped early: at the first frame of a part longer than a second, or
  // where the frames took too much room.
  Reading Read(double from);
  bool IsWanted(const FrameBuffer& frame) const;
  int64_t FilledBytes() const;
  bool Shorten(Reading reading);
  void ChooseLength(bool wasEmpty);
  void MoveBoundaries();
  void GiveUpFrames();

  static constexpr double kUsualSeconds = 1.0;

  FFmpegDecoder* const mDecoder;
  FrameStock* const mStock;
  const ReverseRange mRange;

  double mCursor;         // the part still to read is [start, mCursor)
  double mVideoBoundary;  // time of the earliest picture that is written, `end` before the first
  double mAudioBoundary;  // the same for audio

  std::deque<std::unique_ptr<FrameBuffer>> mFrames;  // of the current step
  double mSeconds = kUsualSeconds;                   // length of the next step
  int64_t mBytes = 0;                                // room that the frames of the last one took
  int mEmptySteps = 0;                               // in a row
  bool mIsNarrowing = false;  // a part longer than a second turned out not empty
  bool mHasRead = false;      // a step is done
};

}  // namespace codec
