// SPDX-License-Identifier: MIT
#include "reverse/mirror_reversal.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "base/log.h"
#include "base/plain_number.h"
#include "codec/decoder/cut_off_file.h"
#include "codec/decoder/picture_scan.h"
#include "codec/decoder/quiet_scan.h"
#include "codec/decoder/sound_extent.h"
#include "codec/decoder/tag_reading.h"
#include "codec/encoder/container.h"
#include "codec/encoder/encoder_choice.h"
#include "codec/encoder/sample_rates.h"
#include "codec/encoder/sound_layouts.h"
#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/compat_decoding.h"
#include "codec/filter/filter_factory.h"
#include "codec/utils/color_keys.h"
#include "codec/utils/numbers.h"
#include "codec/utils/orientation.h"
#include "codec/writer/picture_sizes.h"
#include "reverse/mirror_description.h"
#include "reverse/output_description.h"
#include "reverse/stamp_rate.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

// Seconds by which a step begins early. A seek rounds times to single precision, and the step of a
// float at ten hours is 4 ms.
constexpr double kSeekEarly = 0.02;

// Sound that begins earlier than the first picture by more than this is heard before it; less is
// how containers interleave.
constexpr double kEarlySound = 0.1;

// Samples of a frame of the encoder.
constexpr int kSoundFrame = 1024;

// Of stretches without picture or sound, in seconds: one that counts, and how much of the range
// they may take together.
constexpr double kQuietStretch = 600;
constexpr double kMostQuiet = 1800;

}  // namespace

MirrorReversal::MirrorReversal() : mWishes(UsualEncoders("")) {}

void MirrorReversal::SetWishes(const std::string& outputPath, const MediaFormat& parameters) {
  mWishes = UsualEncoders(outputPath);
  int rotation = 0;
  parameters.GetInt32("rotation", rotation);
  mTurnsPictures = rotation != 0;
  mTargetWidth = 0;
  mTargetHeight = 0;
  parameters.GetInt32("target-width", mTargetWidth);
  parameters.GetInt32("target-height", mTargetHeight);
  for (const auto& [key, value] : parameters.Entries()) {
    mWishes.SetParameter(key.c_str(), value.c_str());
  }
}

DecoderAdditions MirrorReversal::Additions() const {
  DecoderAdditions additions;
  additions.keepsMetPicture = true;
  additions.cutsToEvenSize = true;
  additions.tellsLowRates = true;
  additions.scansLength = true;
  additions.looksFurther = true;
  additions.restarts = Restarts::kJoined;
  additions.landsOnStamps = true;
  additions.laysOverBlack = true;
  additions.adaptsChanges = true;
  additions.readsTags = true;
  additions.asksContainerForShape = true;
  additions.expectsSilence = true;
  additions.skipsHoles = true;
  additions.choosesSound = true;
  additions.findsLateSound = true;
  additions.keepsLoopFilter = DelaysVideo(mWishes);
  return additions;
}

// The sound is read through an input of its own, so the decoder needs none.
int MirrorReversal::Prepare(FFmpegDecoderImpl2* decoder, const std::string& path, bool withSound,
                            MediaInfo* info) {
  if (info->has_video == 0) return 0;
  mPath = path;
  mExtent = ReadExtent(path);
  mSoundStream = decoder->SoundStream();
  if (withSound) mPassedOver = decoder->PassedOver();
  if (mSoundStream >= 0 && !mPassedOver.why.empty()) {
    log_warn(kTag, "%s: %s", path.c_str(), mPassedOver.why.c_str());
  }
  mJoined = decoder->Joined();
  mProbedTo = decoder->ProbedTo();
  decoder->LeaveSoundOut();
  if (withSound && mSoundStream >= 0 && OpenSound(path, mSoundStream) != 0) return -1;
  info->has_audio = mSound != nullptr ? 1 : 0;
  double zero = decoder->FirstPictureTime();
  if (mSound != nullptr && mSound->FirstTime().has_value() &&
      *mSound->FirstTime() < zero - kEarlySound) {
    zero = *mSound->FirstTime();
  }
  mZero = zero;
  decoder->SetZero(zero);
  if (mSound != nullptr) mSound->SetZero(zero);
  mDuration = WithoutRounding(decoder->Duration());
  info->field_order = decoder->Fields();
  info->duration = static_cast<float>(mDuration);
  return 0;
}

// Sound that cannot be decoded is left out. What the host refuses fails the job.
int MirrorReversal::OpenSound(const std::string& path, int stream) {
  mSound = std::make_unique<SoundWalk>();
  mSound->NormalizeMix();
  if (mSound->Open(path, stream, mJoined, mProbedTo) == 0) {
    ChooseSound(mSound->SourceBits(), &mWishes);
    return PrepareForm();
  }
  if (mSound->Failure() != 0) return -1;
  mSound.reset();
  mPassedOver = {stream, "its sound cannot be read"};
  return 0;
}

// A stream of sound may be announced that has no packets, or none in the range.
void MirrorReversal::Limit(double start, double end, MediaInfo* info) {
  LimitQuiet(start, end, info);
  if (mPassedOver.lost < 0 || !LeaveOut(mPassedOver.lost, start, end)) return;
  const char* const why =
      mPassedOver.why.empty() ? "FFmpeg cannot tell its form" : mPassedOver.why.c_str();
  log_warn(kTag, "the sound of %s is left out: %s", mPath.c_str(), why);
}

// False if the stream has no sound in the range.
bool MirrorReversal::LeaveOut(int stream, double start, double end) {
  SoundExtent extent;
  if (extent.Read(mPath, stream, mJoined) != 0) return false;
  const std::optional<LostSound> lost = extent.Within(mZero + start, mZero + end);
  if (lost.has_value()) mLeftOut = {lost->time - mZero, lost->seconds};
  return lost.has_value();
}

// Looks at every packet of the file only if the sound has holes that are long enough.
void MirrorReversal::LimitQuiet(double start, double end, MediaInfo* info) {
  if (mSound == nullptr || !MayBeQuiet(start, end)) return;
  QuietScan scan;
  if (scan.Read(mPath, mSoundStream, mJoined) != 0) return;
  const double quiet = scan.Seconds(mZero + start, mZero + end, kQuietStretch);
  if (quiet <= kMostQuiet) return;
  constexpr double kMinute = 60;
  log_warn(kTag, "%s has neither pictures nor sound for %.0f minutes; its sound is left out",
           mPath.c_str(), quiet / kMinute);
  LeaveOut(mSoundStream, start, end);
  mSound.reset();
  info->has_audio = 0;
}

// A container rounds its length, mostly up to a millisecond. If its sound was made of whole frames,
// the surplus would open another frame. A clip that is reversed again and again would grow by 21 ms
// each time. So a surplus without sound is left out.
double MirrorReversal::WithoutRounding(double end) {
  constexpr double kMostRounding = 0.0015;
  constexpr double kEnough = 0.1;
  if (mSound == nullptr) return end;
  const double frame = static_cast<double>(kSoundFrame) / mResampler->OutputRate();
  const double whole = std::floor(end / frame) * frame;
  if (end - whole > kMostRounding) return end;
  // A failure of the host ends the job.
  SoundStretch last;
  if (mSound->Read(end - kEnough, end + kEnough, &last) != 0) return end;
  double heard = 0;
  for (const StretchBlock& block : last.blocks) {
    heard = std::max(heard, block.time + block.Seconds());
  }
  return heard > whole + mSound->StampSeconds() ? end : whole;
}

// Listens twice in each stretch that would count.
bool MirrorReversal::MayBeQuiet(double start, double end) {
  constexpr double kEvery = kQuietStretch / 2;
  constexpr double kListened = 0.01;
  // A hole that is not longer than the shortest one holds one such place, maybe two.
  constexpr double kFewest = kMostQuiet / kQuietStretch;
  if (end - start <= kMostQuiet) return false;
  SoundStretch heard;
  double silent = 0;
  for (double at = start; at < end && silent < kFewest; at += kEvery) {
    // A failure of the host ends the job.
    if (mSound->Read(at, at + kListened, &heard) != 0) return false;
    if (heard.blocks.empty()) ++silent;
  }
  return silent >= kFewest;
}

// The rate and the channels that the encoder takes.
int MirrorReversal::PrepareForm() {
  const int rate = mSound->SampleRate();
  const int encoded = NearestSampleRate(mWishes.audioCodec.c_str(), rate);
  if (encoded != rate) log_info(kTag, "sound of %d Hz is resampled to %d Hz", rate, encoded);
  mLayout = ChooseLayout();
  mSound->SetLayout(mLayout);
  mResampler = std::make_unique<SoundResampler>();
  return mResampler->Open(rate, encoded, mLayout);
}

// Two channels unless the caller wants others.
SoundLayout MirrorReversal::ChooseLayout() const {
  const std::string& channels = mWishes.audioChannels;
  if (channels.empty()) return {};
  const SoundLayout source = mSound->SourceLayout();
  const int count = channels == "source" ? source.channels : ParseInt(channels.c_str());
  if (count < 1) return {};
  const SoundLayout wanted =
      count == source.channels ? source : SoundLayout{count, ffmpeg::DefaultChannelMask(count)};
  const char* const encoder = mWishes.audioCodec.c_str();
  const SoundLayout taken = NearestLayout(encoder, wanted, mSound->SampleRate());
  if (taken != wanted) {
    log_warn(kTag, "%s does not take sound of %s, so it is written as %s", encoder,
             ffmpeg::LayoutName(wanted.channels, wanted.mask).c_str(),
             ffmpeg::LayoutName(taken.channels, taken.mask).c_str());
  }
  return taken;
}

double MirrorReversal::Duration(const MediaInfo& info) const {
  return mDuration > 0 ? mDuration : Reversal::Duration(info);
}

namespace {

// More than the encoder can use at a rate it would clip with a warning.
void LimitSoundBitRate(MediaFormat* format) {
  constexpr int64_t kMostBits = 6144;  // of a frame, a channel
  int bitRate = 0;
  int rate = 0;
  int channels = 0;
  format->GetInt32("channel-count", channels);
  format->GetInt32("audio-bit-rate", bitRate);
  format->GetInt32("sample-rate", rate);
  const int64_t most = kMostBits * channels * rate / kSoundFrame;
  if (rate > 0 && bitRate > most) format->SetInt32("audio-bit-rate", static_cast<int32_t>(most));
}

}  // namespace

// What the job sets for its usual encoders is not for others: they go by their own idea of a good
// picture, and get pictures as they are in the source.
void MirrorReversal::DescribeEncoders(const MediaInfo& info, MediaFormat* format) const {
  format->SetInt32("any-encoder", 1);
  if (DelaysAudio(mWishes)) {
    format->SetInt32("audio-bit-rate", 0);
    format->SetInt32("short-last-frame", 1);
    if (mSound != nullptr) format->SetInt32("sample-bits", mSound->SourceBits());
  } else {
    LimitSoundBitRate(format);
  }
  // Told by the user alone: an encoder that is asked for them is driven as itself.
  for (const char* const key : {"profile", "level"}) format->SetString(key, "");
  if (!DelaysVideo(mWishes)) return;
  format->SetString("preset", "");
  for (const char* const key : {"video-bitrate", "maxrate", "bufsize"}) format->SetInt32(key, 0);
  int orientation = kUpright;
  format->GetInt32("orientation", orientation);
  DescribeLight(mPath, info.colors.transfer, format);
  // The filters that turn pictures know one format, the one that resizes them a few.
  const bool isResized = (mTargetWidth != 0 && mTargetWidth != info.width) ||
                         (mTargetHeight != 0 && mTargetHeight != info.height);
  const bool isResizedElsewhere = isResized && !CanScale(info.pixel_format_name);
  if (orientation != kUpright || mTurnsPictures || isResizedElsewhere) return;
  format->SetString("output-color-format", info.pixel_format_name.c_str());
}

void MirrorReversal::Describe(const MediaInfo& info, double start, double end,
                              MediaFormat* format) const {
  if (mResampler != nullptr) {
    format->SetInt32("sample-rate", mResampler->OutputRate());
    format->SetInt32("channel-count", mLayout.channels);
    if (mLayout != SoundLayout()) {
      format->SetString("channel-layout", std::to_string(mLayout.mask).c_str());
    }
  }
  DescribeOrientation(info, format);
  DescribeEncoders(info, format);
  std::string input;
  std::string output;
  format->GetString("input-color-format", input);
  format->GetString("output-color-format", output);
  if (!mWishes.outputColorFormat.empty()) output = mWishes.outputColorFormat;
  SetColorKeys(ConvertedColors(info.colors, input, output), format);
  DescribeTags(info.tags, MirroredChapters(info.tags.chapters, mZero, start, end), format);
  // As fast as the source.
  format->SetDouble("speed", 1.0);
  DescribeFields(info, format);
  const bool isConstant = info.has_constant_rate != 0;
  format->SetInt32("stamp-rate", StampRate(info.frame_rate, isConstant));
  format->SetInt32("has-constant-rate", isConstant ? 1 : 0);
  format->SetInt32("true-level", 1);
  format->SetInt32("scale-any-format", 1);
  format->SetInt32("true-layout", 1);
  format->SetInt32("even-slots", 1);
  // The picture written last is the first of the range, which may stand for long. Where all stand
  // equally long, the container would tell another rate if this one was made longer.
  if (!isConstant) format->SetString("video-length", but::PlainNumberText(end - start).c_str());
  // Slides, less than one a second, are key pictures all.
  int gop = 0;
  format->GetInt32("gop", gop);
  format->SetInt32("gop", std::max(gop, 1));
}

// The writer's own answer is an error line, and pictures without the logo.
std::string MirrorReversal::Obstacle(const MediaInfo& /*info*/, double /*start*/, double /*end*/,
                                     const MediaFormat& format) {
  int hasLogo = 0;
  format.GetInt32("has-water-mark", hasLogo);
  if (hasLogo != 1) return "";
  if (PictureSizes(format).Scaled()) {
    return "a logo is stamped on pictures of the clip's own size only; leave has-water-mark out, "
           "or resize the clip first";
  }
  std::string pictures;
  format.GetString("input-color-format", pictures);
  if (CanMark(pictures)) return "";
  return "a logo is stamped on pictures in bgra or rgba only, and these are " + pictures +
         "; convert the clip first, as by ffmpeg -i IN -c:v ffv1 -pix_fmt bgra OUT.mkv, or leave "
         "has-water-mark out";
}

std::unique_ptr<FramePlacement> MirrorReversal::Place(MediaWriter* writer, ReverseRange* range) {
  range->hasAudio = false;
  range->seekEarly = kSeekEarly;
  range->keepsMetPicture = true;
  const int rate = mSound == nullptr ? 0 : mSound->SampleRate();
  return std::make_unique<MirrorPlacement>(writer, *range, mSound.get(), rate, mResampler.get());
}

std::unique_ptr<MirroredSound> MirrorReversal::SoundOf(MediaWriter* writer, double start,
                                                       double end) const {
  if (mSound == nullptr) return nullptr;
  return std::make_unique<MirroredSound>(mSound.get(), writer, start, end, mSound->SampleRate(),
                                         mResampler.get());
}

int64_t MirrorReversal::CountPictures(double start, double end) const {
  PictureScan scan(mZero + start, mZero + end);
  return scan.Read(mPath, mJoined) == 0 ? scan.Pictures() : -1;
}

int MirrorReversal::HostError() const {
  const int error = mSound == nullptr ? 0 : mSound->Failure();
  return error != 0 || mResampler == nullptr ? error : mResampler->Failure();
}

}  // namespace codec
