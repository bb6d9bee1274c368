// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_choice.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "codec/encoder/encoder_options.h"
#include "codec/encoder/own_options.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

// Those of other systems, whose refusals are worded elsewhere, and "none" for no video.
constexpr std::array<std::string_view, 5> kForeign = {"", "none", "vomx", "vomx2",
                                                      "h264_mediacodec"};
constexpr std::string_view kPlainVideo = "libx264";
constexpr std::string_view kPlainAudio = "aac";

bool AsksForMore(const EncoderSettings& settings) {
  return !settings.crf.empty() || !settings.qp.empty() || !settings.ownProfile.empty() ||
         !settings.ownLevel.empty() || !settings.videoOptions.empty();
}

std::string KindName(AVMediaType type) { return type == AVMEDIA_TYPE_VIDEO ? "video" : "audio"; }

// The encoder, or null and why there is none.
const AVCodec* Find(const std::string& name, AVMediaType type, std::string* why) {
  const AVCodec* const encoder = avcodec_find_encoder_by_name(name.c_str());
  if (encoder == nullptr) {
    *why = "FFmpeg has no encoder " + name;
  } else if (encoder->type != type) {
    *why = name + " is no " + KindName(type) + " encoder";
  } else {
    return encoder;
  }
  return nullptr;
}

std::string WhyNotSet(const AVCodec* encoder, const EncoderOptions& options) {
  const ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(encoder));
  // Without memory the job itself will fail, and say so.
  return context == nullptr ? "" : SetOwnOptions(context.get(), options);
}

std::string WhyNoVideo(const EncoderSettings& settings) {
  std::string why;
  const AVCodec* const encoder = Find(settings.videoCodec, AVMEDIA_TYPE_VIDEO, &why);
  if (encoder == nullptr) return why;
  if (!settings.crf.empty() && !HasOwnOption(encoder, "crf")) {
    return settings.videoCodec + " has no crf; set qp, video-bitrate, or an option of its own";
  }
  constexpr int kUsualDepth = 8;
  return WhyNotSet(encoder, OwnVideoOptions(settings, encoder, kUsualDepth));
}

std::string WhyNoAudio(const EncoderSettings& settings) {
  std::string why;
  const AVCodec* const encoder = Find(settings.audioCodec, AVMEDIA_TYPE_AUDIO, &why);
  if (encoder == nullptr) return why;
  return WhyNotSet(encoder, OwnAudioOptions(settings, encoder));
}

}  // namespace

bool DelaysVideo(const EncoderSettings& settings) {
  const std::string& name = settings.videoCodec;
  if (!settings.takesAnyEncoder || !settings.hasVideo || IsHardwareCodec(name)) return false;
  if (std::find(kForeign.begin(), kForeign.end(), name) != kForeign.end()) return false;
  return name != kPlainVideo || AsksForMore(settings);
}

bool DelaysAudio(const EncoderSettings& settings) {
  if (!settings.takesAnyEncoder || !settings.hasAudio || settings.audioCodec.empty()) return false;
  return settings.audioCodec != kPlainAudio || !settings.audioOptions.empty();
}

std::string WhyNotEncoded(const EncoderSettings& settings) {
  const std::string& format = settings.outputColorFormat;
  if (settings.takesAnyEncoder && !format.empty() &&
      av_get_pix_fmt(format.c_str()) == AV_PIX_FMT_NONE) {
    return "FFmpeg has no pixel format " + format;
  }
  std::string why = DelaysVideo(settings) ? WhyNoVideo(settings) : "";
  if (why.empty() && DelaysAudio(settings)) why = WhyNoAudio(settings);
  return why;
}

}  // namespace codec
