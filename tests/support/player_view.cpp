// SPDX-License-Identifier: MIT
#include "tests/support/player_view.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

std::string Output(const std::vector<std::string>& command) {
  CommandResult result = Run(command);
  if (result.status != 0) throw std::runtime_error(command[0] + " failed: " + result.err);
  return std::move(result.out);
}

std::vector<Picture> Pictures(const std::string& path, const ViewWords& words) {
  std::vector<std::string> command = {"ffmpeg", "-v", "error"};
  AppendWords(words.decoder, &command);
  const std::string filter = "[0:v:0]" + words.filter + ",format=yuv420p,extractplanes=y";
  command.insert(command.end(), {"-i", path, "-filter_complex", filter, FrameTimingOption(),
                                 "passthrough", "-f", "rawvideo", "-"});
  const std::string bytes = Output(command);
  const size_t size = static_cast<size_t>(words.width) * static_cast<size_t>(words.height);
  EXPECT_EQ(bytes.size() % size, 0U) << path;
  std::vector<Picture> pictures(bytes.size() / size);
  for (size_t i = 0; i < pictures.size(); ++i) {
    pictures[i].width = words.width;
    pictures[i].height = words.height;
    const auto* const first = reinterpret_cast<const uint8_t*>(bytes.data()) + i * size;
    pictures[i].luma.assign(first, first + size);
  }
  return pictures;
}

// Time of the first sample that is decoded, in the file's stamps.
double FirstSound(const std::string& path) {
  constexpr char kNone[] = "N/A,";
  // FFmpeg 4 names the stamp otherwise; its best effort does not know that samples were cut off.
  std::string stamps =
      Output({"ffprobe", "-v", "error", "-select_streams", "a:0", "-read_intervals", "%+#80",
              "-show_entries", "frame=pkt_pts_time,pts_time,best_effort_timestamp_time", "-of",
              "csv=p=0", path});
  if (stamps.rfind(kNone, 0) == 0) stamps.erase(0, std::size(kNone) - 1);
  return std::stod(stamps);
}

double Tick(const std::string& timeBase) {
  const size_t slash = timeBase.find('/');
  return std::stod(timeBase) / std::stod(timeBase.substr(slash + 1));
}

// Decoded from its first sample on.
std::vector<float> Sound(const std::string& path, int rate) {
  const std::string bytes =
      Output({"ffmpeg", "-v", "error", "-i", path, "-map", "0:a:0", "-ac", "2", "-ar",
              std::to_string(rate), "-f", "f32le", "-c:a", "pcm_f32le", "-"});
  std::vector<float> samples(bytes.size() / sizeof(float));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
  std::vector<float> both(samples.size() / 2);
  for (size_t i = 0; i < both.size(); ++i) both[i] = samples[2 * i] + samples[2 * i + 1];
  return both;
}

// Of `b` beside `a`, when `b` begins at these samples.
double Correlation(const std::vector<float>& a, long atA, const std::vector<float>& b, long atB,
                   long count, long step) {
  double ab = 0;
  double aa = 1e-9;
  double bb = 1e-9;
  for (long i = 0; i < count; i += step) {
    const double x = a[static_cast<size_t>(atA + i)];
    const double y = b[static_cast<size_t>(atB + i)];
    ab += x * y;
    aa += x * x;
    bb += y * y;
  }
  return ab / std::sqrt(aa * bb);
}

bool IsSilent(const std::vector<float>& sound, long at, long count) {
  constexpr double kQuiet = 1e-3;
  double sum = 0;
  for (long i = at; i < at + count; ++i) {
    sum += std::pow(static_cast<double>(sound[static_cast<size_t>(i)]), 2);
  }
  return sum < kQuiet * static_cast<double>(count);
}

// The lag of `got` in samples at which it is most like this window, and how like.
struct Match {
  long lag = 0;
  double peak = -1;
};

// The search leaves lags out at first, and may do so with the best one. So the lags around `likely`
// are looked at in any case.
Match BestLag(const std::vector<float>& expected, long at, long window,
              const std::vector<float>& got, long reach, long likely) {
  constexpr long kCoarse = 4;
  const auto look = [&](long from, long to, long stride, long step) {
    Match found;
    for (long lag = from; lag <= to; lag += stride) {
      if (at + lag < 0 || at + lag + window > static_cast<long>(got.size())) continue;
      const double value = Correlation(expected, at, got, at + lag, window, step);
      if (value > found.peak) found = {lag, value};
    }
    return found;
  };
  const auto near = [&look](long lag) { return look(lag - 2 * kCoarse, lag + 2 * kCoarse, 1, 1); };
  const Match found = near(look(-reach, reach, kCoarse, kCoarse + 1).lag);
  const Match wanted = near(likely);
  return wanted.peak >= found.peak ? wanted : found;
}

double Middle(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Each picture is more like its own than like the neighbours of this one.
void ExpectSamePictures(const PlayerView& expected, const PlayerView& got) {
  constexpr double kAlike = 22;
  ASSERT_EQ(got.pictures.size(), expected.pictures.size());
  ASSERT_EQ(got.times.size(), expected.times.size());
  for (size_t i = 0; i < got.pictures.size(); ++i) {
    const double own = Psnr(got.pictures[i], expected.pictures[i]);
    EXPECT_GE(own, kAlike) << "picture " << i;
    for (const size_t other : {i - 1, i + 1}) {
      if (other >= expected.pictures.size()) continue;
      EXPECT_GT(own, Psnr(got.pictures[i], expected.pictures[other])) << "picture " << i;
    }
  }
}

// The tolerance: each side places a sample within one of its own, and containers round the stamps
// of pictures and sound.
void ExpectSameSound(const PlayerView& expected, const PlayerView& got, double shift,
                     double tolerance) {
  ASSERT_EQ(got.rate, expected.rate);
  const auto window = static_cast<long>(0.3 * got.rate);
  const auto reach = static_cast<long>((std::abs(shift) + 0.02) * got.rate);
  const long likely = std::lround(shift * got.rate);
  int heard = 0;
  // At both ends the coders' windows reach over the end of the sound.
  for (long at = window / 3; at + window * 4 / 3 <= static_cast<long>(expected.sound.size());
       at += window) {
    if (IsSilent(expected.sound, at, window)) continue;
    const Match match = BestLag(expected.sound, at, window, got.sound, reach, likely);
    ++heard;
    const double seconds = static_cast<double>(at) / got.rate;
    EXPECT_GE(match.peak, 0.9) << "sound at " << seconds;
    EXPECT_NEAR(static_cast<double>(match.lag) / got.rate, shift, tolerance)
        << "sound at " << seconds;
  }
  EXPECT_GE(heard, 2);
}

}  // namespace

PlayerView ViewOf(const std::string& path, const ViewWords& words) {
  PlayerView view;
  view.pictures = Pictures(path, words);
  view.times = VideoTimes(path);
  if (view.times.empty()) throw std::runtime_error("no pictures in " + path);
  view.pictureTick = Tick(StreamFields(path, "v").at("time_base"));
  double zero = view.times.front();
  const auto sound = StreamFields(path, "a");
  if (!sound.empty()) {
    constexpr double kEarly = 0.1;
    const double first = FirstSound(path);
    if (first < zero - kEarly) zero = first;
    view.rate = words.rate > 0 ? words.rate : std::stoi(sound.at("sample_rate"));
    view.soundTick = Tick(sound.at("time_base"));
    view.sound = Sound(path, view.rate);
    const auto before = std::lround((first - zero) * view.rate);
    if (before > 0) view.sound.insert(view.sound.begin(), static_cast<size_t>(before), 0);
    if (before < 0) view.sound.erase(view.sound.begin(), view.sound.begin() - before);
  }
  for (double& time : view.times) time -= zero;
  view.end = EndTime(path) - zero;
  return view;
}

PlayerView Mirrored(const PlayerView& view) {
  PlayerView mirrored = view;
  std::reverse(mirrored.pictures.begin(), mirrored.pictures.end());
  for (size_t i = 0; i < view.times.size(); ++i) {
    mirrored.times[i] = i == 0 ? 0 : view.end - view.times[view.times.size() - i];
  }
  mirrored.sound.resize(static_cast<size_t>(std::lround(view.end * view.rate)));
  std::reverse(mirrored.sound.begin(), mirrored.sound.end());
  return mirrored;
}

double SoundFrame(int rate) {
  const int samples = AV_VERSION_MAJOR(avformat_version()) < 59 ? 2048 : 1024;
  return rate > 0 ? static_cast<double>(samples) / rate : 0;
}

void ExpectSame(const PlayerView& expected, const PlayerView& got, double least, double most) {
  ExpectSamePictures(expected, got);
  if (testing::Test::HasFatalFailure()) return;
  const double pictureTicks = expected.pictureTick + got.pictureTick + 1e-6;
  std::vector<double> shifts;
  for (size_t i = 1; i < got.times.size(); ++i) shifts.push_back(got.times[i] - expected.times[i]);
  const double shift = Middle(shifts);
  EXPECT_NEAR(got.times.front(), 0, 1e-9);
  for (size_t i = 0; i < shifts.size(); ++i) {
    EXPECT_NEAR(shifts[i], shift, pictureTicks) << "picture " << i + 1;
  }
  EXPECT_GE(shift, least - pictureTicks);
  EXPECT_LE(shift, most + pictureTicks);
  EXPECT_GE(got.end, expected.end + least - pictureTicks);
  EXPECT_LE(got.end, expected.end + most + SoundFrame(got.rate) + pictureTicks);
  if (expected.rate == 0) return;
  ExpectSameSound(expected, got, shift,
                  2.0 / got.rate + pictureTicks + expected.soundTick + got.soundTick);
}

}  // namespace test_support
