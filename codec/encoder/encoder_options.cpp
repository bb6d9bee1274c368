// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_options.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/log.h"
#include "codec/encoder/h264_level.h"
#include "codec/encoder/interlacing.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/utils/image_utils.h"
#include "codec/utils/numbers.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";
constexpr char kConfigPath[] = ".//Varnix.cfg";

constexpr std::array<std::string_view, 6> kHardwareCodecs = {
    "hevc_zqmediacodec", "h264_zqmediacodec", "h264_videotoolbox",
    "h264_qsv",          "h264_nvenc",        "h264_amf"};

// The one whose presets and levels are known.
constexpr std::string_view kSoftwareCodec = "libx264";

struct ProfileLevel {
  std::string profile;
  std::string level;
};

std::string ConfigValue(const char* key, const char* fallback) {
  return ReadIniText(kConfigPath, "encoder", key, fallback);
}

ProfileLevel ChooseProfile(const EncoderSettings& settings, const std::string& codecName) {
  if (!IsHardwareCodec(codecName)) return {"baseline", "4"};
  if (FileExists(kConfigPath)) {
    ProfileLevel chosen = {ConfigValue("profile", "baseline"), ConfigValue("level", "4")};
    log_info(kTag, "load config profile:%s, level:%s", chosen.profile.c_str(),
             chosen.level.c_str());
    return chosen;
  }
  if (std::min(settings.width, settings.height) < 720) return {"baseline", "4"};
  return {"high", "51"};
}

void SetKeyFrameInterval(const EncoderSettings& settings, EncoderOptions* options) {
  const double interval =
      settings.gop <= 0 ? settings.frameRate + settings.frameRate : settings.gop;
  const std::string text = IntToText(TruncateToInt(interval));
  (*options)["g"] = text;
  (*options)["keyint_min"] = text;
}

void SetRateControl(const EncoderSettings& settings, EncoderOptions* options) {
  const int64_t bitRate = settings.videoBitRate;
  (*options)["maxrate"] = std::to_string(settings.maxRate < 1 ? bitRate : settings.maxRate);
  (*options)["bufsize"] = std::to_string(settings.bufSize < 1 ? 5 * bitRate : settings.bufSize);
}

// The usual profile has no fields. The encoder does without its two slowest searches of them, and
// would warn.
void SetFieldCoding(FieldOrder order, EncoderOptions* options) {
  (*options)["profile"] = "main";
  for (const auto& [name, value] : FieldOptions(order)) (*options)[name] = value;
  const std::string& preset = (*options)["preset"];
  if (preset == "placebo" || preset == "9") (*options)["motion-est"] = "umh";
}

// Tells decoders what they need, once all that it hangs on is settled.
void SetTrueLevel(const EncoderSettings& settings, bool hasFields, EncoderOptions* options) {
  const H264Load load =
      H264LoadOf(settings, (*options)["preset"], std::stoll((*options)["maxrate"]),
                 std::stoll((*options)["bufsize"]), hasFields);
  (*options)["level"] = std::to_string(H264Level(load));
}

void ApplyVideoOptions(const EncoderSettings& settings, const std::string& codecName,
                       EncoderOptions* options) {
  const ProfileLevel chosen = ChooseProfile(settings, codecName);
  (*options)["profile"] = chosen.profile;
  (*options)["level"] = chosen.level;

  // These two name their presets differently and would refuse ours.
  if (codecName == "h264_qsv" || codecName == "h264_nvenc") {
    options->erase("preset");
  } else if (!settings.preset.empty()) {
    (*options)["preset"] = settings.preset;
  }
  SetKeyFrameInterval(settings, options);
  SetRateControl(settings, options);
  const FieldOrder fields = EncodedFields(settings, codecName);
  const bool hasFields = IsWoven(fields);
  if (hasFields) SetFieldCoding(fields, options);
  const bool tellsLevel = settings.hasTrueLevel && codecName == kSoftwareCodec;
  if (tellsLevel) SetTrueLevel(settings, hasFields, options);
  if (codecName == "gif") {
    for (const char* key : {"profile", "preset", "level"}) options->erase(key);
  }
}

}  // namespace

EncoderOptions DefaultEncoderOptions() {
  return {{"preset", "veryfast"}, {"tune", "zerolatency"}, {"movflags", "+faststart"}};
}

bool IsHardwareCodec(std::string_view codecName) {
  return std::find(kHardwareCodecs.begin(), kHardwareCodecs.end(), codecName) !=
         kHardwareCodecs.end();
}

bool IsMobileCodec(std::string_view codecName) {
  return codecName == "h264_zqmediacodec" || codecName == "hevc_zqmediacodec";
}

void ApplyEncoderOptions(const EncoderSettings& settings, const std::string& codecName, bool audio,
                         EncoderOptions* options) {
  if (!audio) ApplyVideoOptions(settings, codecName, options);
  for (const auto& [key, value] : *options) {
    log_debug(kTag, "%s parameters: %s = %s", codecName.c_str(), key.c_str(), value.c_str());
  }
}

int SetOptions(void* object, const EncoderOptions& options, int requiredFlags, char prefix) {
  if (object == nullptr) return 0;
  const auto known = [object, requiredFlags](const char* key) {
    return av_opt_find(object, key, nullptr, requiredFlags, AV_OPT_SEARCH_CHILDREN) != nullptr;
  };
  for (const auto& [name, value] : options) {
    const char* key = name.c_str();
    if (!known(key)) {
      if (prefix == '\0' || *key != prefix || !known(key + 1)) continue;
      ++key;
    }
    // The layout is derived from the channel count; a text must not override it.
    if (std::string_view(key) == "channel_layout") continue;
    const int result = av_opt_set(object, key, value.c_str(), AV_OPT_SEARCH_CHILDREN);
    // A value that the object refuses leaves its default.
    if (result == AVERROR(ENOMEM)) return result;
  }
  return 0;
}

}  // namespace codec
