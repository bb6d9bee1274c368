// SPDX-License-Identifier: MIT
#include "reverse/like_source.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "codec/encoder/encoder_forms.h"
#include "codec/ffmpeg/owned.h"
#include "reverse/output_description.h"

namespace codec {
namespace {

using Key = std::pair<std::string, std::string>;

// The encoders of a codec, the best first, and the quality at which hardly anyone sees a loss.
struct VideoRow {
  AVCodecID codec;
  std::array<const char*, 2> encoders;  // null for none
  const char* key;                      // null without
  const char* value;
};
constexpr std::array<VideoRow, 16> kVideo = {{
    {AV_CODEC_ID_H264, {"libx264", "libx264rgb"}, "crf", "18"},
    {AV_CODEC_ID_HEVC, {"libx265", nullptr}, "crf", "20"},
    {AV_CODEC_ID_VP8, {"libvpx", nullptr}, "crf", "8"},
    {AV_CODEC_ID_VP9, {"libvpx-vp9", nullptr}, "crf", "24"},
    {AV_CODEC_ID_AV1, {"libsvtav1", "libaom-av1"}, "crf", "24"},
    {AV_CODEC_ID_MPEG1VIDEO, {"mpeg1video", nullptr}, "qp", "2"},
    {AV_CODEC_ID_MPEG2VIDEO, {"mpeg2video", nullptr}, "qp", "2"},
    {AV_CODEC_ID_MPEG4, {"mpeg4", "libxvid"}, "qp", "2"},
    {AV_CODEC_ID_MSMPEG4V2, {"msmpeg4v2", nullptr}, "qp", "2"},
    {AV_CODEC_ID_MSMPEG4V3, {"msmpeg4", nullptr}, "qp", "2"},
    {AV_CODEC_ID_WMV1, {"wmv1", nullptr}, "qp", "2"},
    {AV_CODEC_ID_WMV2, {"wmv2", nullptr}, "qp", "2"},
    {AV_CODEC_ID_FLV1, {"flv", nullptr}, "qp", "2"},
    {AV_CODEC_ID_MJPEG, {"mjpeg", nullptr}, "qp", "2"},
    {AV_CODEC_ID_THEORA, {"libtheora", nullptr}, "qp", "9"},
    {AV_CODEC_ID_PRORES, {"prores_ks", nullptr}, nullptr, nullptr},
}};

// FFmpeg's own encoders of some of these are not meant for use yet.
constexpr std::array kSound = {
    std::pair{AV_CODEC_ID_MP3, "libmp3lame"}, std::pair{AV_CODEC_ID_OPUS, "libopus"},
    std::pair{AV_CODEC_ID_VORBIS, "libvorbis"}, std::pair{AV_CODEC_ID_SPEEX, "libspeex"}};

struct ProfileRow {
  AVCodecID codec;
  int profile;  // FFmpeg's number; the names differ between the releases
  const char* name;
};
constexpr std::array<ProfileRow, 15> kProfiles = {{
    {AV_CODEC_ID_H264, 66, "baseline"},
    {AV_CODEC_ID_H264, 578, "baseline"},
    {AV_CODEC_ID_H264, 77, "main"},
    {AV_CODEC_ID_PRORES, 0, "proxy"},
    {AV_CODEC_ID_PRORES, 1, "lt"},
    {AV_CODEC_ID_PRORES, 2, "standard"},
    {AV_CODEC_ID_PRORES, 3, "hq"},
    {AV_CODEC_ID_PRORES, 4, "4444"},
    {AV_CODEC_ID_PRORES, 5, "4444xq"},
    {AV_CODEC_ID_DNXHD, 0, "dnxhd"},
    {AV_CODEC_ID_DNXHD, 1, "dnxhr_lb"},
    {AV_CODEC_ID_DNXHD, 2, "dnxhr_sq"},
    {AV_CODEC_ID_DNXHD, 3, "dnxhr_hq"},
    {AV_CODEC_ID_DNXHD, 4, "dnxhr_hqx"},
    {AV_CODEC_ID_DNXHD, 5, "dnxhr_444"},
}};
constexpr int kOldestDnxhd = 0;
constexpr int kPredictive444 = 244;

const VideoRow* RowOf(AVCodecID codec) {
  const auto* const row = std::find_if(kVideo.begin(), kVideo.end(),
                                       [codec](const VideoRow& r) { return r.codec == codec; });
  return row == kVideo.end() ? nullptr : row;
}

// FFmpeg's own encoder of a codec, if it is a finished one in software.
const AVCodec* OwnEncoder(AVCodecID codec) {
  const AVCodec* const encoder = avcodec_find_encoder(codec);
  constexpr int kUnfit = AV_CODEC_CAP_EXPERIMENTAL | AV_CODEC_CAP_HARDWARE;
  return encoder == nullptr || (encoder->capabilities & kUnfit) != 0 ? nullptr : encoder;
}

bool Keeps(const AVCodec* encoder, AVPixelFormat format) {
  const AVPixFmtDescriptor* const wanted = av_pix_fmt_desc_get(OpaqueFormat(format));
  const AVPixFmtDescriptor* const nearest =
      av_pix_fmt_desc_get(NearestPixelFormat(encoder, format));
  return wanted != nullptr && nearest != nullptr &&
         wanted->nb_components == nearest->nb_components &&
         (wanted->flags & AV_PIX_FMT_FLAG_RGB) == (nearest->flags & AV_PIX_FMT_FLAG_RGB) &&
         wanted->comp[0].depth <= nearest->comp[0].depth &&
         wanted->log2_chroma_w == nearest->log2_chroma_w &&
         wanted->log2_chroma_h == nearest->log2_chroma_h;
}

// Of the encoders of a codec the first one that keeps the pictures as they are, else the first one.
// `row`: of the source's codec; null if there is none.
const AVCodec* VideoEncoder(const SourceForm& source, const VideoRow* row) {
  if (row == nullptr) return OwnEncoder(source.video);
  const AVCodec* first = nullptr;
  for (const char* const name : row->encoders) {
    const AVCodec* const encoder = name == nullptr ? nullptr : avcodec_find_encoder_by_name(name);
    if (encoder == nullptr) continue;
    if (Keeps(encoder, source.format)) return encoder;
    if (first == nullptr) first = encoder;
  }
  return first;
}

const AVCodec* SoundEncoder(AVCodecID codec) {
  for (const auto& [id, name] : kSound) {
    if (id == codec) return avcodec_find_encoder_by_name(name);
  }
  return OwnEncoder(codec);
}

bool TakesRate(const SourceForm& source, const AVCodec* encoder, int64_t bitRate) {
  const ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(encoder));
  if (context == nullptr) return false;
  context->log_level_offset = AV_LOG_MAX_OFFSET;
  context->width = source.width;
  context->height = source.height;
  context->pix_fmt = NearestPixelFormat(encoder, source.format);
  context->framerate = source.frameRate;
  context->time_base = av_inv_q(source.frameRate);
  context->bit_rate = bitRate;
  return avcodec_open2(context.get(), encoder, nullptr) >= 0;
}

// The bit rate of the source's older kind of DNxHD; 0 if there is none. That kind has a few sizes
// and a few rates for each size. A file tells its rate rounded, so the nearest rates are tried.
int64_t DnxhdRate(const SourceForm& source, const AVCodec* encoder) {
  constexpr int64_t kMegabit = 1000000;
  constexpr double kMostOff = 0.1;
  if (source.frameRate.num <= 0 || source.frameRate.den <= 0) return 0;
  const int64_t near = source.videoBitRate / kMegabit;
  const auto most = std::lround(static_cast<double>(near) * kMostOff);
  for (int64_t off = 0; off <= most; ++off) {
    for (const int64_t rate : {near - off, near + off}) {
      if (rate > 0 && TakesRate(source, encoder, rate * kMegabit)) return rate * kMegabit;
    }
  }
  return 0;
}

const char* ProfileName(const SourceForm& source) {
  for (const ProfileRow& row : kProfiles) {
    if (row.codec == source.video && row.profile == source.profile) return row.name;
  }
  return nullptr;
}

void AddProfile(const SourceForm& source, const AVCodec* encoder, LikeSourceKeys* keys) {
  const char* const name = ProfileName(source);
  if (name == nullptr) return;
  if (source.video == AV_CODEC_ID_DNXHD && source.profile == kOldestDnxhd) {
    const int64_t rate = DnxhdRate(source, encoder);
    // The newer kind has any size.
    if (rate == 0) return;
    keys->quality.emplace_back("video-bitrate", std::to_string(rate));
  }
  keys->video.emplace_back("profile", name);
}

// The profile has no need of this name but for 4:4:4, and for pictures without loss.
bool IsLosslessH264(const SourceForm& source) {
  const AVPixFmtDescriptor* const format = av_pix_fmt_desc_get(source.format);
  return source.video == AV_CODEC_ID_H264 && source.profile == kPredictive444 &&
         format != nullptr && format->log2_chroma_w > 0;
}

std::string Missing(AVCodecID codec, const char* instead) {
  return std::string("FFmpeg has no encoder for ") + avcodec_get_name(codec) + ", so " + instead +
         " is written";
}

void AddVideo(const SourceForm& source, LikeSourceKeys* keys) {
  const VideoRow* row = RowOf(source.video);
  const AVCodec* const encoder = VideoEncoder(source, row);
  if (encoder == nullptr) {
    keys->missingVideo = Missing(source.video, "H.264");
    row = RowOf(AV_CODEC_ID_H264);
    keys->video.emplace_back("video-codec", UsualEncoders("").videoCodec);
  } else {
    keys->video.emplace_back("video-codec", encoder->name);
    AddProfile(source, encoder, keys);
  }
  if (IsLosslessH264(source)) {
    keys->quality.emplace_back("qp", "0");
  } else if (row != nullptr && row->key != nullptr) {
    keys->quality.emplace_back(row->key, row->value);
  }
}

// The source's own rate if the encoder would choose a lower one. Vorbis and AAC go by their own
// rules.
void AddSoundRate(const SourceForm& source, const AVCodec* encoder, LikeSourceKeys* keys) {
  constexpr std::array kByRate = {AV_CODEC_ID_MP3, AV_CODEC_ID_MP2, AV_CODEC_ID_AC3,
                                  AV_CODEC_ID_EAC3, AV_CODEC_ID_OPUS};
  constexpr int64_t kUsualRate = 160000;  // a channel
  if (std::find(kByRate.begin(), kByRate.end(), encoder->id) == kByRate.end()) return;
  if (source.soundBitRate <= kUsualRate * std::min(source.channels, 2)) return;
  keys->sound.emplace_back("audio-bit-rate", std::to_string(source.soundBitRate));
}

void AddSound(const SourceForm& source, LikeSourceKeys* keys) {
  const AVCodec* const encoder = SoundEncoder(source.sound);
  keys->always.emplace_back("audio-channels", "source");
  if (encoder == nullptr) {
    keys->missingSound = Missing(source.sound, "AAC");
    return;
  }
  keys->sound.emplace_back("audio-codec", encoder->name);
  AddSoundRate(source, encoder, keys);
}

}  // namespace

LikeSourceKeys LikeSource(const SourceForm& source) {
  LikeSourceKeys keys;
  if (source.video != AV_CODEC_ID_NONE) AddVideo(source, &keys);
  if (source.sound != AV_CODEC_ID_NONE) AddSound(source, &keys);
  return keys;
}

}  // namespace codec
