// SPDX-License-Identifier: MIT
#include "codec/encoder/ffmpeg_encoder_impl.h"

#include <array>
#include <cerrno>
#include <string>
#include <string_view>

#include "base/log.h"
#include "codec/encoder/encoder_choice.h"
#include "codec/utils/frame_type.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

// What GetParameter answers to "next-frame-type" if no frame is wanted; a FrameType otherwise.
constexpr int kNeither = 0;

// Microseconds.
int AudioFrameDuration(const AudioTrack& audio) {
  if (audio.SampleRate() < 1) return 0;
  return static_cast<int>(static_cast<int64_t>(audio.UsualFrameSize()) * 1000000 /
                          audio.SampleRate());
}

struct AudioParameter {
  std::string_view key;
  int (*value)(const AudioTrack&);
};

constexpr std::array<AudioParameter, 3> kAudioParameters = {{
    {"audio-frame-size", [](const AudioTrack& audio) { return audio.UsualFrameSize(); }},
    {"audio-frame-duration", &AudioFrameDuration},
    {"sample-rate", [](const AudioTrack& audio) { return audio.SampleRate(); }},
}};

}  // namespace

FFmpegEncoderImpl::FFmpegEncoderImpl()
    : mOptions(DefaultEncoderOptions()),
      mUsualVideo(mOpened, &mFile),
      mUsualAudio(mOpened, &mFile),
      mDelayedVideo(mOpened, &mFile),
      mDelayedAudio(mOpened, &mFile) {}

FFmpegEncoderImpl::~FFmpegEncoderImpl() { log_debug(kTag, "FFmpegEncoderImpl destructor"); }

int FFmpegEncoderImpl::Init(const char* libPrefix, const char* /*libName*/) {
  mSettings.libPrefix = libPrefix == nullptr ? "" : libPrefix;
  return mSettings.ResolvePixelFormat();
}

void FFmpegEncoderImpl::SetParameter(const char* key, const char* value) {
  mSettings.SetParameter(key, value);
}

int FFmpegEncoderImpl::Open() {
  const int result = OpenParts();
  // If no other reason is known, the settings were wrong.
  if (result != 0 && OutputError() == 0) mFile.Remember(AVERROR(EINVAL));
  return result;
}

int FFmpegEncoderImpl::OpenParts() {
  if (!mFile.Exists()) mOpened = mSettings;
  mOpenCalled = true;
  if (mOpened.CheckParams() != 0) return -1;
  if (IsMobileCodec(mOpened.videoCodec)) {
    log_error(kTag, "h264_zqmediacodec|hevc_zqmediacodec only support android");
    return -1;
  }
  const std::string why = WhyNotEncoded(mOpened);
  if (!why.empty()) {
    log_error(kTag, "%s", why.c_str());
    return -1;
  }
  if (DelaysVideo(mOpened)) mVideo = &mDelayedVideo;
  if (DelaysAudio(mOpened)) mAudio = &mDelayedAudio;
  if (mFile.Create(mOpened.outputPath, mOptions, mOpened.writePath) != 0) return -1;
  if (mOpened.hasEvenSlots) mFile.KeepSlotsEven();
  if (CreateStreams() != 0) return -1;
  mFile.Tag(mOpened);
  mFile.StampMetadata();
  const int result = mFile.OpenFileAndWriteHeader();
  if (mOpened.hasVideo) {
    const AVRational timeBase = mVideo->StreamTimeBase();
    log_debug(kTag, "video stream time_base::%d/%d, after WriteHeader", timeBase.num, timeBase.den);
  }
  return result;
}

int FFmpegEncoderImpl::CreateStreams() {
  if (mOpened.hasVideo) {
    if (mVideo->Create(mOptions) != 0) {
      log_error(kTag, "Create video stream failed.");
      return -1;
    }
    log_debug(kTag, "Create video stream:%d successfully.", mVideo->StreamIndex());
  }
  if (mOpened.hasAudio) {
    if (mAudio->Create(mOptions) != 0) {
      log_error(kTag, "Create audio stream failed.");
      return -1;
    }
    log_debug(kTag, "Create audio stream:%d successfully.", mAudio->StreamIndex());
  }
  return 0;
}

int FFmpegEncoderImpl::GetParameter(const char* key) {
  if (key == nullptr) return 0;
  const std::string_view name = key;
  if (name == "next-frame-type") return NextFrameType();
  if (name == "surface" || !mAudio->Exists()) return 0;
  for (const AudioParameter& parameter : kAudioParameters) {
    if (parameter.key == name) return parameter.value(*mAudio);
  }
  log_error(kTag, "Get invalid parameter key:%s", key);
  return 0;
}

// The kind whose last packet is the earlier one, so that neither runs away from the other.
int FFmpegEncoderImpl::NextFrameType() const {
  if (!Current().hasVideo) return Current().hasAudio ? int{kAudioFrame} : kNeither;
  if (!Current().hasAudio || !mFile.HeaderWritten()) return kVideoFrame;
  return mVideo->LastTime() > mAudio->LastTime() ? kAudioFrame : kVideoFrame;
}

int FFmpegEncoderImpl::EncodeVideo(uint8_t* data, int /*ignored*/, int64_t ptsUs) {
  return Current().hasVideo ? mVideo->Encode(data, ptsUs) : 0;
}

int FFmpegEncoderImpl::EncodeAudio(uint8_t* data, size_t size) {
  // Sound that comes before the header has no place in the file.
  if (!Current().hasAudio || !mFile.HeaderWritten()) return 0;
  return mAudio->Encode(data, size);
}

void FFmpegEncoderImpl::Close() {
  log_debug(kTag, "_Flush Decoder...");
  Drain();
  mVideo->Finish();
  log_debug(kTag, "_Flush Decoder done");
  mFile.WriteTrailer();
  mVideo->Close();
  mAudio->Close();
  mFile.Close();
  log_info(kTag, "encode video frames:%d,pkt queue:%d", mVideo->PicturesTaken(),
           mVideo->StampsWaiting());
}

void FFmpegEncoderImpl::Drain() {
  const int next = NextFrameType();
  if (next == kNeither) return;
  const bool isDelayed = mVideo == &mDelayedVideo;
  if (isDelayed || (next == kVideoFrame && mVideo->HoldsPictures())) mVideo->Drain();
  const int result = mAudio->Drain();
  // The one-call video encoder holds nothing; the audio encoder gets a second chance to finish.
  if (next == kVideoFrame && !mVideo->HoldsPictures() && result != AVERROR_EOF) mAudio->Drain();
}

}  // namespace codec
