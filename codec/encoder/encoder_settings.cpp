// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_settings.h"

#include <array>
#include <cstdlib>
#include <string_view>
#include <variant>

#include "base/log.h"
#include "base/plain_number.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/utils/numbers.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

// The type of the member decides how the text is read.
using Member = std::variant<std::monostate, int EncoderSettings::*, double EncoderSettings::*,
                            bool EncoderSettings::*, std::string EncoderSettings::*>;

struct Row {
  std::string_view key;
  Member member;
};

using S = EncoderSettings;
constexpr std::array<Row, 51> kRows = {{
    {"file-format", &S::fileFormat},
    {"output-path", &S::outputPath},
    {"write-path", &S::writePath},
    {"has-video", &S::hasVideo},
    {"video-codec", &S::videoCodec},
    {"output-color-format", &S::outputColorFormat},
    {"video-bitrate", &S::videoBitRate},
    {"maxrate", &S::maxRate},
    {"bufsize", &S::bufSize},
    {"width", &S::width},
    {"height", &S::height},
    {"sample_aspect_den", &S::sampleAspectDen},
    {"sample_aspect_num", &S::sampleAspectNum},
    {"rotate", &S::rotate},
    {"frame-rate", &S::frameRate},
    {"stamp-rate", &S::stampRate},
    {"has-constant-rate", &S::hasConstantRate},
    {"video-length", &S::videoLength},
    {"even-slots", &S::hasEvenSlots},
    {"gop", &S::gop},
    {"preset", &S::preset},
    {"profile", &S::profile},
    {"level", &S::level},
    {"field-order", &S::fieldOrder},
    {"true-level", &S::hasTrueLevel},
    {"color-range", &S::colorRange},
    {"color-space", &S::colorSpace},
    {"color-primaries", &S::colorPrimaries},
    {"color-trc", &S::colorTransfer},
    {"chroma-location", &S::chromaLocation},
    {"mastering-display", &S::masteringDisplay},
    {"content-light", &S::contentLight},
    {"any-encoder", &S::takesAnyEncoder},
    {"crf", &S::crf},
    {"qp", &S::qp},
    {"thread-count", &S::threadCount},
    {"thread-type", &S::threadType},
    {"has-audio", &S::hasAudio},
    {"audio-codec", &S::audioCodec},
    {"audio-bit-rate", &S::audioBitRate},
    {"sample-rate", &S::sampleRate},
    {"channel-count", &S::channelCount},
    {"channel-layout", &S::channelLayout},
    {"audio-channels", &S::audioChannels},
    {"sample-format", &S::sampleFormat},
    {"sample-bits", &S::sampleBits},
    {"video-language", &S::videoLanguage},
    {"audio-language", &S::audioLanguage},
    {"chapters", &S::chapters},
    // Known to callers that share a bag with other encoders; without effect here.
    {"enable-video-encode-time", std::monostate{}},
    {"input-by-surface", std::monostate{}},
}};

// Keys whose name goes on with a name of FFmpeg's.
struct PrefixRow {
  std::string_view prefix;
  std::map<std::string, std::string> S::*member;
};
constexpr std::array<PrefixRow, 3> kPrefixes = {{
    {"tag.", &S::tags},
    {"video-opt:", &S::videoOptions},
    {"audio-opt:", &S::audioOptions},
}};

class Store {
 public:
  Store(EncoderSettings* settings, const char* value) : mSettings(settings), mValue(value) {}

  void operator()(std::monostate) const {}
  void operator()(int S::*member) const { mSettings->*member = ParseInt(mValue); }
  void operator()(double S::*member) const { mSettings->*member = but::ReadPlainNumber(mValue); }
  void operator()(bool S::*member) const { mSettings->*member = ParseInt(mValue) != 0; }
  void operator()(std::string S::*member) const { mSettings->*member = mValue; }

 private:
  EncoderSettings* mSettings;
  const char* mValue;
};

}  // namespace

void EncoderSettings::SetParameter(const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return;
  log_debug(kTag, "SetParameter:%s = %s", key, value);
  const std::string_view name = key;
  for (const auto& [prefix, member] : kPrefixes) {
    if (name.substr(0, prefix.size()) != prefix) continue;
    (this->*member)[std::string(name.substr(prefix.size()))] = value;
    return;
  }
  for (const Row& row : kRows) {
    if (row.key != key) continue;
    std::visit(Store(this, value), row.member);
    // A codec named "none" revokes the video that an earlier key asked for.
    if (row.key == "video-codec" && videoCodec == "none") hasVideo = false;
    // The members themselves have defaults that are of no use to an encoder.
    if (row.key == "profile") ownProfile = value;
    if (row.key == "level") ownLevel = value;
    return;
  }
  log_info(kTag, "ignore %s:%s", key, value);
}

int64_t EncoderSettings::VideoEnd() const { return TruncateToInt64(videoLength * stampRate + 0.5); }

uint64_t EncoderSettings::ChannelMask() const {
  return std::strtoull(channelLayout.c_str(), nullptr, 0);
}

int EncoderSettings::ResolvePixelFormat() {
  if (!hasVideo) return 0;
  videoPixelFormat = av_get_pix_fmt(outputColorFormat.c_str());
  log_debug(kTag, "m_videoPixelFormat:%s-->%d", outputColorFormat.c_str(), videoPixelFormat);
  if (videoPixelFormat != -1) return 0;
  log_error(kTag, "Invalid video pixel format: %s", outputColorFormat.c_str());
  return -1;
}

int EncoderSettings::CheckParams() const {
  log_debug(kTag, "CheckParams m_hasVideo:%s", hasVideo ? "ture" : "false");
  struct Check {
    bool failed;
    const char* text;
  };
  const std::array<Check, 5> checks = {{
      {hasVideo && videoCodec.empty(), "You must Specified a video codec."},
      {hasVideo && videoPixelFormat == -1, "You must Specified input video pixel format."},
      {hasVideo && (width == 0 || height == 0), "You must input video width and height."},
      {hasAudio && audioCodec.empty(), "You must Specified a audio codec."},
      {outputPath.empty(), "You must input ouput filename."},
  }};
  for (const Check& check : checks) {
    if (!check.failed) continue;
    log_error(kTag, "%s", check.text);
    return -1;
  }
  return 0;
}

}  // namespace codec
