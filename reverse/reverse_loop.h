// SPDX-License-Identifier: MIT
// The backward walk over the range: one second a step, newest frame first.
#pragma once

#include <memory>

#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/writer/media_writer.h"
#include "reverse/account.h"
#include "reverse/backward_walk.h"
#include "reverse/frame_buffer.h"
#include "reverse/frame_placement.h"
#include "reverse/frame_stock.h"
#include "reverse/read_ahead.h"
#include "reverse/segment_reader.h"

namespace codec {

// A step goes like this:
//   1. Seek one second before the part that is done (or to 0).
//   2. Decode from there up to that part and keep every frame of it.
//   3. Give the kept frames to the placement, the last decoded first. The placement writes them.
//   4. Move the cursor back by the second, or to the earliest frame written, whichever is earlier.
// The seek uses up one picture. The next step starts a second earlier and reads up to the earliest
// picture written. So it gives the picture that was used up.
//
// Note: overlap
//   All that a step needs to know of the one before it is how far that one goes back, and this is
//   known as soon as its frames are read. So the next steps are read while this one is written, on
//   a thread that has the reader, and with it the decoder, to itself (ReadAhead).
//
// Used by one thread. Decoder and writer belong to the caller; without a writer frames are dropped.
// The destructor waits for a step that is being read.
class ReverseLoop : public BackwardWalk {
 public:
  ReverseLoop(FFmpegDecoder* decoder, MediaWriter* writer, const ReverseRange& range);
  // The same with another placement than the plain one.
  ReverseLoop(FFmpegDecoder* decoder, std::unique_ptr<FramePlacement> placement,
              const ReverseRange& range);

  const ReverseRange& Range() const { return mRange; }

  int Step() override;
  float Progress() const override { return mProgress; }

  // The part still to do is [start, Cursor()).
  double Cursor() const { return mCursor; }

  bool IsDone() const override { return mCursor <= mRange.start; }
  bool FoundNoPicture() const override {
    return mRange.start < mRange.end && mCursor <= mRange.start && mPictures == 0;
  }
  bool UsedUpPicture() const override { return mUsedUpPicture; }
  bool PassedPicture() const override { return mPassedPicture; }
  bool SawLaterPicture() const override { return mSawLaterPicture; }
  bool IsTorn() const override { return mIsTorn; }
  bool HasSound() const override { return mHasSound; }
  JobAccount Account() const override;

 private:
  void Write(Segment segment);

  const std::unique_ptr<FramePlacement> mPlacement;
  const ReverseRange mRange;
  FrameStock mStock;

  SegmentReader mReader;
  ReadAhead mAhead;  // has the reader if steps overlap

  double mCursor;
  float mProgress = 0;
  int64_t mPictures = 0;  // written
  LostPictures mLost;
  bool mHasSound = false;  // a block has been written
  bool mIsTorn = false;
  bool mUsedUpPicture = false;
  bool mPassedPicture = false;
  bool mSawLaterPicture = false;
};

}  // namespace codec
