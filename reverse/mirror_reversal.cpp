#include "reverse/mirror_reversal.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/local_file.h"
#include "base/log.h"
#include "codec/utils/picture_colors.h"
#include "reverse/stamp_rate.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

// Times at and after which pictures may be rounded to single precision by a seek: the step of a
// float at ten hours is 4 ms.
constexpr double kSeekEarly = 0.02;

// Sound that begins earlier than the first picture by more than this is heard before it; less is
// how containers interleave.
constexpr double kEarlySound = 0.1;

// Whether the file holds next to nothing for its length, as files do whose stamps jump. Hours of
// silence would have to be encoded between the few blocks of its sound.
bool HasJumpingClock(const std::string& path, double seconds) {
  constexpr double kLong = 300;
  constexpr double kFewestBytesASecond = 64;
  std::error_code error;
  const auto bytes = std::filesystem::file_size(but::LocalPath(path), error);
  return !error && seconds > kLong && static_cast<double>(bytes) < seconds * kFewestBytesASecond;
}

}  // namespace

DecoderAdditions MirrorReversal::Additions() const {
  DecoderAdditions additions;
  additions.keepsMetPicture = true;
  additions.cutsToEvenSize = true;
  additions.tellsLowRates = true;
  additions.scansLength = true;
  return additions;
}

// The sound is read through an input of its own, so the decoder needs none.
int MirrorReversal::Prepare(FFmpegDecoderImpl2* decoder, const std::string& path, bool withSound,
                            MediaInfo* info) {
  if (info->has_video == 0) return 0;
  const int stream = decoder->SoundStream();
  decoder->LeaveSoundOut();
  if (withSound && stream >= 0 && OpenSound(path, stream) != 0) return -1;
  info->has_audio = mSound != nullptr ? 1 : 0;
  double zero = decoder->FirstPictureTime();
  if (mSound != nullptr && mSound->FirstTime().has_value() &&
      *mSound->FirstTime() < zero - kEarlySound) {
    zero = *mSound->FirstTime();
  }
  decoder->SetZero(zero);
  if (mSound != nullptr) mSound->SetZero(zero);
  mDuration = decoder->Duration();
  if (mSound != nullptr && HasJumpingClock(path, mDuration)) {
    log_warn(kTag, "the clock of %s jumps by hours; its sound is left out", path.c_str());
    mSound.reset();
    info->has_audio = 0;
  }
  info->duration = static_cast<float>(mDuration);
  return 0;
}

// Sound that cannot be decoded is left out. What the host refuses fails the job.
int MirrorReversal::OpenSound(const std::string& path, int stream) {
  mSound = std::make_unique<SoundWalk>();
  if (mSound->Open(path, stream) == 0) return 0;
  if (mSound->Failure() != 0) return -1;
  log_warn(kTag, "the sound of %s cannot be read, and is left out", path.c_str());
  mSound.reset();
  return 0;
}

double MirrorReversal::Duration(const MediaInfo& info) const {
  return mDuration > 0 ? mDuration : Reversal::Duration(info);
}

void MirrorReversal::Describe(const MediaInfo& info, MediaFormat* format) const {
  std::string input;
  std::string output;
  format->GetString("input-color-format", input);
  format->GetString("output-color-format", output);
  SetColorKeys(ConvertedColors(info.colors, input, output), format);
  const bool isConstant = info.has_constant_rate != 0;
  format->SetInt32("stamp-rate", StampRate(info.frame_rate, isConstant));
  format->SetInt32("has-constant-rate", isConstant ? 1 : 0);
  // Slides, less than one a second, are key pictures all.
  int gop = 0;
  format->GetInt32("gop", gop);
  format->SetInt32("gop", std::max(gop, 1));
}

std::unique_ptr<FramePlacement> MirrorReversal::Place(MediaWriter* writer, ReverseRange* range) {
  range->hasAudio = false;
  range->seekEarly = kSeekEarly;
  range->keepsMetPicture = true;
  const int rate = mSound == nullptr ? 0 : mSound->SampleRate();
  return std::make_unique<MirrorPlacement>(writer, *range, mSound.get(), rate);
}

int MirrorReversal::HostError() const { return mSound == nullptr ? 0 : mSound->Failure(); }

}  // namespace codec
