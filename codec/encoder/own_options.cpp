// SPDX-License-Identifier: MIT
#include "codec/encoder/own_options.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

#include "base/plain_number.h"
#include "codec/encoder/hdr_metadata.h"
#include "codec/encoder/interlacing.h"

namespace codec {
namespace {

// What an encoder is given unless the settings say otherwise. Without the first ones pictures are
// of very low quality; without the last ones the encoder cannot be opened.
struct DefaultRow {
  std::string_view encoder;
  const char* name;
  const char* value;
  int lowestDepth = 0;  // bits, as the next one
  int highestDepth = 16;
};
constexpr std::array<DefaultRow, 18> kDefaults = {{
    {"libvpx", "crf", "10"},
    // VP8 reaches its quality only below a bit rate.
    {"libvpx", "b", "20000000"},
    {"libvpx-vp9", "crf", "31"},
    {"libaom-av1", "crf", "30"},
    {"libsvtav1", "crf", "30"},
    {"mpeg1video", "q", "3"},
    {"mpeg2video", "q", "3"},
    {"mpeg4", "q", "3"},
    {"libxvid", "q", "3"},
    {"msmpeg4", "q", "3"},
    {"msmpeg4v2", "q", "3"},
    {"flv", "q", "3"},
    {"mjpeg", "q", "3"},
    {"libtheora", "q", "7"},
    {"libvorbis", "q", "6"},
    // It writes lines of its own to standard error.
    {"libx265", "x265-params", "log-level=error"},
    {"dnxhd", "profile", "dnxhr_hq", 0, 8},
    {"dnxhd", "profile", "dnxhr_hqx", 9, 16},
}};

// The names by which a quality may be asked for.
constexpr std::array<std::string_view, 8> kQualities = {"crf", "qp", "q",    "qscale",
                                                        "b",   "cq", "qmax", "global_quality"};

bool IsQuality(std::string_view name) {
  return std::find(kQualities.begin(), kQualities.end(), name) != kQualities.end();
}

// Whether the value is a list of parameters. If the list has a name twice, the last one counts.
bool IsList(std::string_view name) {
  constexpr std::string_view kEnd = "-params";
  return name.size() > kEnd.size() && name.substr(name.size() - kEnd.size()) == kEnd;
}

void AddDefaults(const AVCodec* encoder, int depth, EncoderOptions* options) {
  const bool hasQuality = std::any_of(options->begin(), options->end(),
                                      [](const auto& option) { return IsQuality(option.first); });
  const bool hasOnlyCrf = options->count("crf") > 0 && options->count("b") == 0;
  for (const DefaultRow& row : kDefaults) {
    if (row.encoder != encoder->name || depth < row.lowestDepth || depth > row.highestDepth) {
      continue;
    }
    // A bit rate by itself is none that was asked for: the encoder needs it beside `crf`.
    const bool completesCrf = hasOnlyCrf && std::string_view(row.name) == "b";
    if (hasQuality && IsQuality(row.name) && !completesCrf) continue;
    const auto [place, isNew] = options->emplace(row.name, row.value);
    if (!isNew && IsList(row.name)) place->second = std::string(row.value) + ":" + place->second;
  }
}

void AddIfSet(const char* name, const std::string& value, EncoderOptions* options) {
  if (!value.empty()) options->emplace(name, value);
}

// FFmpeg's general quality is a number of another scale, and needs a flag.
bool SetQuality(AVCodecContext* context, const std::string& value) {
  char* rest = nullptr;
  const double quality = but::ReadPlainNumber(value.c_str(), &rest);
  constexpr double kMost = 1000;
  if (value.empty() || *rest != '\0' || !(quality >= 0 && quality <= kMost)) return false;
  context->flags |= AV_CODEC_FLAG_QSCALE;
  context->global_quality = static_cast<int>(std::lround(quality * FF_QP2LAMBDA));
  return true;
}

bool Set(AVCodecContext* context, const std::string& name, const std::string& value) {
  if (name == "q") return SetQuality(context, value);
  return av_opt_set(context, name.c_str(), value.c_str(), AV_OPT_SEARCH_CHILDREN) >= 0;
}

bool Knows(AVCodecContext* context, const std::string& name) {
  const int flags = AV_OPT_FLAG_ENCODING_PARAM |
                    (context->codec_type == AVMEDIA_TYPE_AUDIO ? AV_OPT_FLAG_AUDIO_PARAM
                                                               : AV_OPT_FLAG_VIDEO_PARAM);
  return name == "q" ||
         av_opt_find(context, name.c_str(), nullptr, flags, AV_OPT_SEARCH_CHILDREN) != nullptr;
}

// Empty, or why the encoder refuses the option.
std::string SetOne(AVCodecContext* context, const std::string& name, const std::string& value) {
  const std::string encoder = context->codec->name;
  if (!Knows(context, name)) return encoder + " has no option " + name;
  if (Set(context, name, value)) return "";
  return encoder + " does not take " + value + " for its option " + name;
}

}  // namespace

bool HasOwnOption(const AVCodec* encoder, const char* name) {
  const AVClass* options = encoder->priv_class;
  return options != nullptr && av_opt_find(&options, name, nullptr, AV_OPT_FLAG_ENCODING_PARAM,
                                           AV_OPT_SEARCH_FAKE_OBJ) != nullptr;
}

EncoderOptions OwnVideoOptions(const EncoderSettings& settings, const AVCodec* encoder, int depth) {
  EncoderOptions options = settings.videoOptions;
  AddIfSet("crf", settings.crf, &options);
  AddIfSet(HasOwnOption(encoder, "qp") ? "qp" : "q", settings.qp, &options);
  AddIfSet("preset", settings.preset, &options);
  AddIfSet("profile", settings.ownProfile, &options);
  AddIfSet("level", settings.ownLevel, &options);
  const std::array<std::pair<const char*, int>, 3> rates = {
      {{"b", settings.videoBitRate}, {"maxrate", settings.maxRate}, {"bufsize", settings.bufSize}}};
  for (const auto& [name, rate] : rates) {
    if (rate > 0) options.emplace(name, std::to_string(rate));
  }
  AddHdrOptions(settings, encoder, &options);
  options.merge(FieldOptions(EncodedFields(settings, encoder->name)));
  AddDefaults(encoder, depth, &options);
  // FFmpeg's usual bit rate stands against the encoder's own idea of quality.
  if (HasOwnOption(encoder, "crf")) options.emplace("b", "0");
  return options;
}

EncoderOptions OwnAudioOptions(const EncoderSettings& settings, const AVCodec* encoder) {
  constexpr int kBitsPerChannel = 160000;
  constexpr int kBitsPerFurther = 64000;  // channel of surround sound
  EncoderOptions options = settings.audioOptions;
  if (settings.audioBitRate > 0) options.emplace("b", std::to_string(settings.audioBitRate));
  AddDefaults(encoder, 0, &options);
  const bool hasQuality = std::any_of(options.begin(), options.end(),
                                      [](const auto& option) { return IsQuality(option.first); });
  if (!hasQuality) {
    const int sides = std::min(settings.channelCount, 2);
    const int further = std::clamp(settings.channelCount - sides, 0, 6);
    options.emplace("b", std::to_string(sides * kBitsPerChannel + further * kBitsPerFurther));
  }
  return options;
}

std::string SetOwnOptions(AVCodecContext* context, const EncoderOptions& options) {
  for (const auto& [name, value] : options) {
    std::string why = SetOne(context, name, value);
    if (!why.empty()) return why;
  }
  return "";
}

}  // namespace codec
