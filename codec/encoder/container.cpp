// SPDX-License-Identifier: MIT
#include "codec/encoder/container.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "codec/ffmpeg/compat_encoding.h"
#include "codec/ffmpeg/compat_rotation.h"

namespace codec {
namespace {

// What people call them.
constexpr std::array kNames = {std::pair{AV_CODEC_ID_H264, "H.264"},
                               std::pair{AV_CODEC_ID_AAC, "AAC"}};

// Transport streams answer for no codec, and write those that they do not know as bytes without a
// name.
constexpr std::array kOfTransport = {
    AV_CODEC_ID_H264,    AV_CODEC_ID_HEVC, AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO,
    AV_CODEC_ID_MPEG4,   AV_CODEC_ID_VC1,  AV_CODEC_ID_DIRAC,      AV_CODEC_ID_CAVS,
    AV_CODEC_ID_AAC,     AV_CODEC_ID_MP2,  AV_CODEC_ID_MP3,        AV_CODEC_ID_AC3,
    AV_CODEC_ID_EAC3,    AV_CODEC_ID_DTS,  AV_CODEC_ID_TRUEHD,     AV_CODEC_ID_OPUS,
    AV_CODEC_ID_JPEG2000};

constexpr std::array kVideoEncoders = {"libx264",   "libx265", "libvpx-vp9", "libsvtav1",
                                       "libtheora", "libvpx",  "mpeg4",      "mpeg2video",
                                       "mjpeg",     "dnxhd",   "gif"};
constexpr std::array kAudioEncoders = {"aac", "libopus", "libvorbis", "libmp3lame", "mp2",
                                       "ac3", "flac",    "pcm_s16le", "pcm_s16be"};

// 1 if the container takes the codec, 0 if it does not, negative if it does not tell.
int Query(const AVOutputFormat& format, AVCodecID codec) {
  if (std::string_view(format.name) != "mpegts") {
    return avformat_query_codec(&format, codec, FF_COMPLIANCE_NORMAL);
  }
  return std::find(kOfTransport.begin(), kOfTransport.end(), codec) != kOfTransport.end() ? 1 : 0;
}

// Releases differ in whether a codec that is not taken is refused or merely not known of.
bool Takes(const AVOutputFormat& format, AVCodecID codec) { return Query(format, codec) == 1; }

template <size_t Count>
const char* FirstTaken(const AVOutputFormat& format, const std::array<const char*, Count>& names) {
  for (const char* const name : names) {
    const AVCodec* const encoder = avcodec_find_encoder_by_name(name);
    if (encoder != nullptr && Takes(format, encoder->id)) return name;
  }
  return nullptr;
}

// FFmpeg's flag for containers that may vary is not set for all of them. Ogg counts pictures.
constexpr std::array<std::string_view, 5> kFixedRateContainers = {"avi", "mxf", "mxf_opatom", "ogg",
                                                                  "ogv"};

// Without stamps but not without a header, which these refuse to write for a foreign codec. In
// FFmpeg 9 they also refuse it if the stream names no frame rate.
constexpr std::array<std::string_view, 2> kOwnJudges = {"mxf", "mxf_opatom"};

template <typename Names>
bool Contains(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

const AVOutputFormat* ChooseContainer(const char* path) {
  const AVOutputFormat* format = av_guess_format(nullptr, path, nullptr);
  return format != nullptr ? format : av_guess_format("mpeg", nullptr, nullptr);
}

bool NamesContainer(const char* path) { return av_guess_format(nullptr, path, nullptr) != nullptr; }

bool HasFixedRate(const AVOutputFormat& format) {
  return Contains(kFixedRateContainers, format.name);
}

bool NeedsFrameRate(const AVOutputFormat& format) { return Contains(kOwnJudges, format.name); }

bool TellsRotation(const char* path) {
  const AVOutputFormat* const format = ChooseContainer(path);
  return format != nullptr && ffmpeg::KeepsRotation(format);
}

const char* CodecNotTaken(const char* path, const char* encoder) {
  const AVOutputFormat* const format = ChooseContainer(path);
  const AVCodec* const codec = avcodec_find_encoder_by_name(encoder);
  if (format == nullptr || codec == nullptr || Takes(*format, codec->id)) return nullptr;
  for (const auto& [id, name] : kNames) {
    if (id == codec->id) return name;
  }
  return avcodec_get_name(codec->id);
}

bool TakesCodec(const char* path, AVCodecID codec) {
  const AVOutputFormat* const format = ChooseContainer(path);
  if (format == nullptr) return false;
  return std::string_view(format->name) == "matroska" || Takes(*format, codec);
}

bool RefusesCodec(const char* path, const char* encoder) {
  // Others hold codecs that they have no name of their own for, or decide by more than the codec.
  constexpr std::array<std::string_view, 2> kStrict = {"mpegts", "webm"};
  const AVOutputFormat* const format = ChooseContainer(path);
  const AVCodec* const codec = avcodec_find_encoder_by_name(encoder);
  if (format == nullptr || codec == nullptr) return false;
  return Contains(kStrict, format->name) && Query(*format, codec->id) == 0;
}

bool TakesPackets(const AVOutputFormat& format, const AVCodecParameters& codec, const char* path) {
  // Some tags are 0.
  unsigned tag = codec.codec_tag;
  const bool hasTag = tag != 0 || av_codec_get_tag2(format.codec_tag, codec.codec_id, &tag) != 0;
  // AVI names a codec by its tag only, and writes those without one all the same.
  if (std::string_view(format.name) == "avi") return hasTag;
  if ((format.flags & AVFMT_NOTIMESTAMPS) == 0 || Contains(kOwnJudges, format.name)) return true;
  // Numbered pictures are of the kind that their names tell, others of the format's own.
  const AVCodecID own = ffmpeg::UsualCodec(&format, path, codec.codec_type);
  return codec.codec_id == own || (format.codec_tag != nullptr && hasTag);
}

EncoderPair EncodersTaken(const char* path) {
  const AVOutputFormat* const format = ChooseContainer(path);
  if (format == nullptr) return {};
  // Numbered pictures answer for many codecs, but are of the kind that their names tell.
  if (std::string_view(format->name) == "image2") {
    const AVCodec* const own =
        avcodec_find_encoder(ffmpeg::UsualCodec(format, path, AVMEDIA_TYPE_VIDEO));
    return {own == nullptr ? nullptr : own->name, nullptr};
  }
  return {FirstTaken(*format, kVideoEncoders), FirstTaken(*format, kAudioEncoders)};
}

bool WritesSeveralFiles(const char* path) {
  const AVOutputFormat* const format = ChooseContainer(path);
  return format != nullptr && (format->flags & AVFMT_NOFILE) != 0;
}

}  // namespace codec
