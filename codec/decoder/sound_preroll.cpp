// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_preroll.h"

#include <algorithm>
#include <array>

namespace codec {
namespace {

constexpr int kAnyProfile = -1000;
constexpr int64_t kAnyBitRate = 0;

// FFmpeg's number; its name differs between the releases.
constexpr int kAacMain = 0;

struct PrerollRow {
  AVCodecID codec;
  int profile;           // or kAnyProfile
  int64_t bitRateBelow;  // bit/s, an unknown one counts as 0; or kAnyBitRate
  double seconds;
  int packets;
  const char* option;
};

constexpr double kUsualSeconds = 1.0;
constexpr int kUsualPackets = 2;

constexpr PrerollRow Independent(AVCodecID codec) {
  return {codec, kAnyProfile, kAnyBitRate, 0, 0, nullptr};
}

constexpr PrerollRow Long(AVCodecID codec, double seconds) {
  return {codec, kAnyProfile, kAnyBitRate, seconds, kUsualPackets, nullptr};
}

// The dither of these comes from a generator that only a start at the beginning puts in step.
constexpr PrerollRow Dithered(AVCodecID codec) {
  return {codec, kAnyProfile, kAnyBitRate, kUsualSeconds, kUsualPackets, "cons_noisegen"};
}

// The first row that fits counts.
constexpr std::array<PrerollRow, 13> kRows = {{
    Independent(AV_CODEC_ID_FLAC),
    Independent(AV_CODEC_ID_ALAC),
    Independent(AV_CODEC_ID_TTA),
    Independent(AV_CODEC_ID_WAVPACK),
    Independent(AV_CODEC_ID_ADPCM_MS),
    Independent(AV_CODEC_ID_ADPCM_IMA_WAV),
    Independent(AV_CODEC_ID_ADPCM_SWF),
    Dithered(AV_CODEC_ID_AC3),
    Dithered(AV_CODEC_ID_EAC3),
    // Frames of low rates borrow bits from many before them.
    {AV_CODEC_ID_MP3, kAnyProfile, 32000, 2.0, kUsualPackets, nullptr},
    // Predicts each coefficient from those of the frames before.
    {AV_CODEC_ID_AAC, kAacMain, kAnyBitRate, 1.5, kUsualPackets, nullptr},
    Long(AV_CODEC_ID_SPEEX, 2.4),
    Long(AV_CODEC_ID_ADPCM_G726, 1.8),
}};

// FFmpeg's numbers of PCM, from the first up to the first of the next kind.
bool IsPcm(AVCodecID codec) {
  return codec >= AV_CODEC_ID_FIRST_AUDIO && codec < AV_CODEC_ID_ADPCM_IMA_QT;
}

PrerollRow RowOf(const AVCodecParameters& sound) {
  if (IsPcm(sound.codec_id)) return Independent(sound.codec_id);
  const auto fits = [&sound](const PrerollRow& row) {
    return row.codec == sound.codec_id &&
           (row.profile == kAnyProfile || row.profile == sound.profile) &&
           (row.bitRateBelow == kAnyBitRate || sound.bit_rate < row.bitRateBelow);
  };
  const auto* const row = std::find_if(kRows.begin(), kRows.end(), fits);
  return row == kRows.end() ? Long(sound.codec_id, kUsualSeconds) : *row;
}

}  // namespace

SoundPreroll::SoundPreroll(const AVCodecParameters& sound)
    : mSeconds(RowOf(sound).seconds),
      mPackets(RowOf(sound).packets),
      mOption(RowOf(sound).option) {}

}  // namespace codec
