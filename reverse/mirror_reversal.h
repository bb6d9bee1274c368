// SPDX-License-Identifier: MIT
// The reversal whose result is what a player shows of the source, mirrored in time.
#pragma once

#include <memory>
#include <string>

#include "codec/decoder/sound_walk.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/utils/sound_resampler.h"
#include "reverse/mirrored_sound.h"
#include "reverse/reversal.h"

namespace codec {

// A player shows at time (end - t) of the output what it shows at t of the source. For that
// pictures and sound are measured from one zero, each picture is shown for its own time, and the
// sound is read by itself, as one decode of the whole file gives it.
//
// Note: files whose clock jumps
//   What has no sound is silent, and silence is encoded like any other sound: an hour of it takes
//   about 15 seconds. Nobody notices that beside the pictures of such an hour. But the clock of a
//   damaged recording may jump by days, with neither picture nor sound in between. So the sound is
//   left out, with a warning, if more than half an hour of the range is quiet. A stretch of time is
//   quiet if no packet of pictures or sound begins in ten minutes or more. Shorter pauses are none:
//   slides and recordings of a screen have them. How large the file is does not matter.
class MirrorReversal : public Reversal {
 public:
  MirrorReversal();
  void SetWishes(const std::string& outputPath, const MediaFormat& parameters) override;
  DecoderAdditions Additions() const override;
  int Prepare(FFmpegDecoderImpl2* decoder, const std::string& path, bool withSound,
              MediaInfo* info) override;
  double Duration(const MediaInfo& info) const override;
  // Leaves the sound out if the clock of the clip jumps too far within the range. Warns of sound of
  // the range that cannot be decoded.
  void Limit(double start, double end, MediaInfo* info) override;
  void Describe(const MediaInfo& info, double start, double end,
                MediaFormat* format) const override;
  // A logo that cannot be stamped.
  std::string Obstacle(const MediaInfo& info, double start, double end,
                       const MediaFormat& format) override;
  std::unique_ptr<FramePlacement> Place(MediaWriter* writer, ReverseRange* range) override;
  int64_t CountPictures(double start, double end) const override;
  LostSound SoundLeftOut() const override { return mLeftOut; }
  // As it was when the input was opened: a file may grow meanwhile.
  FileExtent InputExtent() const override { return mExtent; }
  int HostError() const override;

 protected:
  // The sound has been opened; its samples have this many bits, 32 for floats. May choose how it is
  // encoded.
  virtual void ChooseSound(int /*bits*/, EncoderSettings* /*wishes*/) const {}

  const EncoderSettings& Wishes() const { return mWishes; }
  const std::string& Path() const { return mPath; }
  const std::shared_ptr<const JoinedParts>& Joined() const { return mJoined; }
  double Zero() const { return mZero; }
  // The sound of a range, in seconds, for this writer; null without sound.
  std::unique_ptr<MirroredSound> SoundOf(MediaWriter* writer, double start, double end) const;

 private:
  int OpenSound(const std::string& path, int stream);
  bool LeaveOut(int stream, double start, double end);
  void LimitQuiet(double start, double end, MediaInfo* info);
  bool MayBeQuiet(double start, double end);
  int PrepareForm();
  SoundLayout ChooseLayout() const;
  double WithoutRounding(double end);
  void DescribeEncoders(const MediaInfo& info, MediaFormat* format) const;

  EncoderSettings mWishes;      // what the caller wants of the encoders
  bool mTurnsPictures = false;  // the caller wants turned pictures
  // The size of pictures that the caller wants; 0 for that of the clip.
  int mTargetWidth = 0;
  int mTargetHeight = 0;
  std::string mPath;
  FileExtent mExtent;
  std::shared_ptr<const JoinedParts> mJoined;  // null unless the clock restarts
  int64_t mProbedTo = 0;                       // bytes, as for InputFile::ProbeTo
  int mSoundStream = -1;                       // FFmpeg's number; -1 without sound
  PassedOverSound mPassedOver;                 // blank if no sound is wanted
  LostSound mLeftOut;                          // of the range
  double mZero = 0;                            // of the mirror, in the file's stamps, in seconds
  std::unique_ptr<SoundWalk> mSound;           // null without sound
  double mDuration = 0;                        // seconds
  SoundLayout mLayout;                         // of the sound that is written
  std::unique_ptr<SoundResampler> mResampler;  // to the encoder's rate; null without sound
};

}  // namespace codec
