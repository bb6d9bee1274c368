// SPDX-License-Identifier: MIT
#include "codec/decoder/stream_facts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "base/plain_number.h"

namespace codec {
namespace {

// Containers round the length of the whole by up to a tick; the coarsest usual one is 1/600 s.
constexpr double kMostRounding = 0.002;
// Seconds that an encoder of sound is late by; usual ones are by 20 to 50 ms.
constexpr double kMostDelay = 0.1;

double AsDouble(AVRational value) { return static_cast<double>(value.num) / value.den; }

bool Usable(double rate) { return std::isfinite(rate) && rate >= 1.0; }

constexpr std::array kFoldedFormats = {
    std::pair{AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P},
    std::pair{AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUV422P},
    std::pair{AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUV444P},
    std::pair{AV_PIX_FMT_YUVJ411P, AV_PIX_FMT_YUV411P},
};

struct ProfileRow {
  int profile;
  int code;
};
constexpr std::array kProfiles = {ProfileRow{66, 0}, ProfileRow{578, 0}, ProfileRow{77, 1},
                                  ProfileRow{100, 2}};

// What a level allows: the largest number of something, by the stream's number of the level.
struct LevelRow {
  int level;
  int64_t most;
};

// H.264: macroblocks of all references together.
constexpr std::array<LevelRow, 10> kAvcLevels = {{{10, 396},
                                                  {11, 900},
                                                  {20, 2376},
                                                  {21, 4752},
                                                  {30, 8100},
                                                  {31, 18000},
                                                  {32, 20480},
                                                  {41, 32768},
                                                  {42, 34816},
                                                  {50, 110400}}};
constexpr int64_t kAvcMost = 184320;

// HEVC: samples of one picture.
constexpr std::array<LevelRow, 7> kHevcLevels = {{{30, 36864},
                                                  {60, 122880},
                                                  {63, 245760},
                                                  {90, 552960},
                                                  {93, 983040},
                                                  {123, 2228224},
                                                  {156, 8912896}}};
constexpr int64_t kHevcMost = 35651584;

constexpr int64_t kMostReferences = 16;
constexpr int kUsualAvcReferences = 4;
// Of codecs without levels: VP9 and AV1 refer to eight at most, others to two.
constexpr int kUsualReferences = 8;

template <size_t N>
int64_t MostAt(const std::array<LevelRow, N>& levels, int level, int64_t beyond) {
  for (const LevelRow& row : levels) {
    if (level <= row.level) return row.most;
  }
  return beyond;
}

int AvcReferences(int level, int64_t pixels) {
  constexpr int64_t kMacroblock = 256;
  const int64_t blocks = std::max<int64_t>(1, pixels / kMacroblock);
  if (level <= 0) return kUsualAvcReferences;
  const int64_t most = MostAt(kAvcLevels, level, kAvcMost);
  return static_cast<int>(std::clamp<int64_t>(most / blocks, 1, kMostReferences));
}

// The smaller the picture is beside the largest of its level, the more may be kept.
int HevcReferences(int level, int64_t pixels) {
  constexpr std::array<LevelRow, 3> kByQuarters = {{{1, 16}, {2, 12}, {3, 8}}};
  constexpr int kLeast = 6;
  if (level <= 0) return kLeast;
  const int64_t most = MostAt(kHevcLevels, level, kHevcMost);
  const int64_t quarters = (pixels * 4 + most - 1) / most;
  return static_cast<int>(
      MostAt(kByQuarters, static_cast<int>(std::min<int64_t>(quarters, 4)), kLeast));
}

bool IsCover(const AVStream* stream) {
  return (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

// In seconds of the file's stamps. Minus infinity if the stream does not tell its end.
double StreamEnd(const AVStream* stream) {
  if (stream->start_time == AV_NOPTS_VALUE || stream->duration == AV_NOPTS_VALUE) {
    return -std::numeric_limits<double>::infinity();
  }
  return (static_cast<double>(stream->start_time) + static_cast<double>(stream->duration)) *
         av_q2d(stream->time_base);
}

double LastStreamEnd(const AVFormatContext* file) {
  double last = -std::numeric_limits<double>::infinity();
  for (unsigned int i = 0; i < file->nb_streams; ++i) {
    if (IsPlayed(file->streams[i])) last = std::max(last, StreamEnd(file->streams[i]));
  }
  return last;
}

double Length(const AVFormatContext* file) {
  return static_cast<double>(file->duration) / AV_TIME_BASE;
}

// FFmpeg worked out the length from stamps.
bool IsFromStamps(const AVFormatContext* file) {
  return file->duration_estimation_method == AVFMT_DURATION_FROM_PTS && MayRestart(file) &&
         file->start_time != AV_NOPTS_VALUE;
}

// NUT tells the stamp of the last packet as its length. A bit rate gives no more than a guess.
bool IsNoLength(const AVFormatContext* file) {
  const auto method = file->duration_estimation_method;
  return method == AVFMT_DURATION_FROM_BITRATE ||
         (method == AVFMT_DURATION_FROM_PTS && !MayRestart(file));
}

bool BeginsLate(const AVFormatContext* file) {
  constexpr int64_t kLate = AV_TIME_BASE / 1000;
  return file->start_time != AV_NOPTS_VALUE && file->start_time > kLate;
}

// FFmpeg 4 writes MP4 in which the length of the whole leaves out how much later a stream begins.
bool HasLongerStream(const AVFormatContext* file) {
  return LastStreamEnd(file) > Length(file) + kMostRounding;
}

// Matroska does not tell how long a picture lasts. FFmpeg guesses by the rate.
bool TellsPackets(const AVFormatContext* file) {
  return file->iformat == nullptr ||
         std::string_view(file->iformat->name).substr(0, 8) != "matroska";
}

// The file knows the end better than a guess at the length of the last packet.
bool IsAmidLast(double end, const ScannedLength& scanned) {
  return scanned.latest + kMostRounding < end && end < scanned.end;
}

}  // namespace

bool IsPlayed(const AVStream* stream) {
  const AVMediaType type = stream->codecpar->codec_type;
  return (type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO) && !IsCover(stream);
}

double RotationDegrees(const std::string& text) {
  if (text.empty() || text == "0") return 0;
  char* rest = nullptr;
  double degrees = but::ReadPlainNumber(text.c_str(), &rest);
  if (*rest != '\0') degrees = 0;
  // The bias takes the angles that fixed-point matrices leave just below a full turn to just below
  // 0 instead.
  const double rotation = degrees - 360 * std::floor(degrees / 360 + 0.0025);
  // "inf", "nan" and numbers too large to have an angle.
  return std::abs(rotation) <= 360 ? rotation : 0;
}

std::optional<double> FrameRate(AVRational average, AVRational realBase, AVRational codecTimeBase,
                                int ticksPerFrame) {
  const double averageRate = AsDouble(average);
  const double realRate = AsDouble(realBase);
  double rate = averageRate;
  if (!std::isfinite(rate) || rate == 0) rate = realRate;
  // Such a real base rate is the clock of the container rather than that of the pictures.
  if (realRate >= 1000 && averageRate > 0) rate = AsDouble(av_d2q(averageRate, 1024));
  if (!Usable(rate)) {
    rate = static_cast<double>(codecTimeBase.den) /
           (static_cast<double>(codecTimeBase.num) * ticksPerFrame);
  }
  if (!Usable(rate)) return std::nullopt;
  return rate;
}

bool IsConstantRate(AVRational average, AVRational realBase) {
  constexpr double kRounded = 1e-3;
  if (average.num <= 0 || average.den <= 0 || realBase.num <= 0 || realBase.den <= 0) return false;
  return std::abs(av_q2d(average) / av_q2d(realBase) - 1) < kRounded;
}

double DurationSeconds(int64_t demuxerDuration, int64_t streamDuration, AVRational timeBase) {
  // Single precision, because seeks compare their times with the duration in single precision.
  if (demuxerDuration != AV_NOPTS_VALUE) return static_cast<float>(demuxerDuration) / 1000000.0F;
  if (streamDuration == AV_NOPTS_VALUE) return 0;
  return static_cast<double>(timeBase.num) * static_cast<double>(streamDuration) / timeBase.den;
}

bool MayRestart(const AVFormatContext* file) {
  return (file->iformat->flags & AVFMT_TS_DISCONT) != 0;
}

bool EndsAfterStreams(const AVFormatContext* file) {
  const double length = Length(file);
  for (unsigned int i = 0; i < file->nb_streams; ++i) {
    const double end = StreamEnd(file->streams[i]);
    const bool isEarlier = std::isfinite(end) && end < length - kMostRounding;
    if (!isEarlier && !IsCover(file->streams[i])) return false;
  }
  return LastStreamEnd(file) > length - kMostDelay;
}

bool IsLengthVague(const AVFormatContext* file) {
  if (file->duration <= 0 || IsFromStamps(file)) return false;
  return IsNoLength(file) || BeginsLate(file) || HasLongerStream(file);
}

std::optional<double> ToldEnd(const AVFormatContext* file,
                              const std::optional<ScannedLength>& scanned) {
  if (file->duration <= 0 || IsNoLength(file)) return std::nullopt;
  // What FFmpeg works out of stamps counts from the first one.
  if (IsFromStamps(file)) {
    return static_cast<double>(file->duration + file->start_time) / AV_TIME_BASE;
  }
  if (BeginsLate(file)) return std::nullopt;
  // Neither word is enough alone: a stream counts pictures that an edit leaves out, and the last
  // packet of sound may be longer than the sound.
  if (!scanned.has_value()) return Length(file);
  if (EndsAfterStreams(file)) return std::clamp(scanned->end, LastStreamEnd(file), Length(file));
  if (!HasLongerStream(file)) return Length(file);
  if (!TellsPackets(file) && IsAmidLast(Length(file), *scanned)) return Length(file);
  return std::clamp(scanned->end, Length(file), LastStreamEnd(file));
}

bool LeavesOutPicture(double end, const ScannedLength& scanned) {
  return end < scanned.picture + kMostRounding;
}

double LikelyEnd(std::optional<double> told, const std::optional<ScannedLength>& scanned) {
  constexpr double kAsLong = 0.1;
  if (!scanned.has_value()) return told.value_or(0);
  if (!told.has_value() || LeavesOutPicture(*told, *scanned)) return scanned->end;
  const bool isTrue = IsAmidLast(*told, *scanned) || std::abs(scanned->end - *told) < kAsLong;
  return isTrue ? *told : scanned->end;
}

AVPixelFormat FoldedPixelFormat(AVPixelFormat format) {
  for (const auto& [fullRange, ordinary] : kFoldedFormats) {
    if (format == fullRange) return ordinary;
  }
  return format;
}

int ProfileCode(int profile) {
  for (const ProfileRow& row : kProfiles) {
    if (row.profile == profile) return row.code;
  }
  return -1;
}

int SampleFormatCode(AVSampleFormat format) {
  return format >= AV_SAMPLE_FMT_U8 && format <= AV_SAMPLE_FMT_DBLP ? format : -1;
}

std::optional<int32_t> KeyIntervalTicks(int64_t packets, double frameRate, AVRational timeBase) {
  const double ticks =
      static_cast<double>(packets) / frameRate * timeBase.den / static_cast<double>(timeBase.num);
  if (!(ticks >= 0 && ticks <= std::numeric_limits<int32_t>::max())) return std::nullopt;
  return static_cast<int32_t>(ticks);
}

int PicturesHeld(const AVCodecParameters* parameters) {
  const int64_t pixels = static_cast<int64_t>(parameters->width) * parameters->height;
  const int delay = std::max(0, parameters->video_delay);
  switch (parameters->codec_id) {
    case AV_CODEC_ID_H264:
      return delay + AvcReferences(parameters->level, pixels);
    case AV_CODEC_ID_HEVC:
      return delay + HevcReferences(parameters->level, pixels);
    default:
      return delay + kUsualReferences;
  }
}

}  // namespace codec
