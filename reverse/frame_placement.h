// SPDX-License-Identifier: MIT
// When and with which stamps the frames of a backward walk are written.
#pragma once

#include <cstdint>
#include <memory>

#include "codec/writer/media_writer.h"
#include "reverse/account.h"
#include "reverse/frame_buffer.h"
#include "reverse/mirrored_sound.h"
#include "reverse/segment_reader.h"

namespace codec {

// Is given the frames of one step after another, newest first, and gives them to the writer. The
// loop does not know which kind of placement it has. Used by one thread.
class FramePlacement {
 public:
  FramePlacement() = default;
  virtual ~FramePlacement() = default;
  FramePlacement(const FramePlacement&) = delete;
  FramePlacement& operator=(const FramePlacement&) = delete;

  // Writes the frame if it belongs to the range; may change its bytes. True if it was written.
  virtual bool Write(FrameBuffer* frame) = 0;
  // All frames of a step were given. The part of the range before `cursor`, in seconds, is still to
  // come. Nothing is to come if the cursor is not after the start of the range.
  virtual void EndStep(double cursor) = 0;
  // The pictures of the range that were not written, because their successor has the same time, or
  // an earlier one.
  virtual LostPictures Timeless() const { return {}; }
  // The sound that was written so far.
  virtual SoundAccount Sound() const = 0;
};

// Each frame is stamped with its distance from the end of the range, and each block of sound is
// reversed by itself. So a picture is shown for its neighbour's time, and a block plays one block
// late. The backward walk uses this placement by default.
class PlainPlacement : public FramePlacement {
 public:
  // The writer belongs to the caller; without one frames are dropped.
  PlainPlacement(MediaWriter* writer, const ReverseRange& range) : mWriter(writer), mRange(range) {}

  bool Write(FrameBuffer* frame) override;
  void EndStep(double /*cursor*/) override {}
  // Tells nothing of sound that was lost.
  SoundAccount Sound() const override;

 private:
  MediaWriter* const mWriter;
  const ReverseRange mRange;
  int64_t mSamples = 0;  // of a channel, written
};

// At time (end - t) a player shows the picture that it showed of the source at t. So a picture is
// stamped with the place at which its successor stood in the source, and the first one written with
// 0. Sound comes from a reader of its own, sample by sample; blocks of sound among the frames are
// ignored.
class MirrorPlacement : public FramePlacement {
 public:
  // Writer, reader and resampler belong to the caller. Without a reader, null, there is no sound;
  // without a resampler it keeps its rate. `rate` in samples a second.
  MirrorPlacement(MediaWriter* writer, const ReverseRange& range, SoundReader* reader, int rate,
                  SoundResampler* resampler = nullptr);

  bool Write(FrameBuffer* frame) override;
  void EndStep(double cursor) override;
  LostPictures Timeless() const override { return mTimeless; }
  SoundAccount Sound() const override;

 private:
  MediaWriter* const mWriter;
  const ReverseRange mRange;
  double mSuccessor;  // time of the picture written last; at first the end
  LostPictures mTimeless;
  std::unique_ptr<MirroredSound> mSound;  // null without sound
};

}  // namespace codec
