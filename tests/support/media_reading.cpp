// SPDX-License-Identifier: MIT
#include "tests/support/media_reading.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "tests/support/command.h"

namespace test_support {
namespace {

std::string Output(const std::vector<std::string>& command) {
  CommandResult result = Run(command);
  if (result.status != 0) throw std::runtime_error(command[0] + " failed: " + result.err);
  return std::move(result.out);
}

std::map<std::string, std::string> ParseFields(const std::string& text) {
  std::map<std::string, std::string> fields;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    const size_t equals = line.find('=');
    if (equals != std::string::npos) fields[line.substr(0, equals)] = line.substr(equals + 1);
  }
  return fields;
}

// Of the pictures of a constant rate, in seconds of the file's stamps. Counted, because packets may
// have no stamp. 0 without pictures.
double PicturesEnd(const std::string& path) {
  const auto fields =
      ParseFields(Output({"ffprobe", "-v", "error", "-count_packets", "-select_streams", "v:0",
                          "-show_entries", "stream=start_time,nb_read_packets,avg_frame_rate",
                          "-of", "default=noprint_wrappers=1", path}));
  if (fields.empty()) return 0;
  const std::string rate = fields.at("avg_frame_rate");
  const double perSecond = std::stod(rate) / std::stod(rate.substr(rate.find('/') + 1));
  return std::stod(fields.at("start_time")) + std::stod(fields.at("nb_read_packets")) / perSecond;
}

}  // namespace

int ReadFrameNumber(const Picture& picture) {
  int number = 0;
  for (int bit = 0; bit < kNumberBits; ++bit) {
    const int x = bit * kNumberCell + kNumberCell / 2;
    const int y = kNumberCell / 2;
    if (picture.luma[static_cast<size_t>(y * picture.width + x)] > 128) number |= 1 << bit;
  }
  return number;
}

std::vector<Picture> DecodeLuma(const std::string& path) {
  const auto fields = StreamFields(path, "v");
  const int width = std::stoi(fields.at("width"));
  const int height = std::stoi(fields.at("height"));
  // "gray" alone would stretch limited range to full range; the luma plane is what is compared.
  const std::string bytes = Output({"ffmpeg", "-v", "error", "-noautorotate", "-i", path, "-map",
                                    "0:v:0", FrameTimingOption(), "passthrough", "-vf",
                                    "format=yuv420p,extractplanes=y", "-f", "rawvideo", "-"});
  const size_t size = static_cast<size_t>(width) * static_cast<size_t>(height);
  std::vector<Picture> pictures(bytes.size() / size);
  for (size_t i = 0; i < pictures.size(); ++i) {
    pictures[i].width = width;
    pictures[i].height = height;
    const auto* first = reinterpret_cast<const uint8_t*>(bytes.data()) + i * size;
    pictures[i].luma.assign(first, first + size);
  }
  return pictures;
}

std::vector<double> VideoTimes(const std::string& path) {
  std::istringstream lines(
      Output({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
              "frame=best_effort_timestamp_time", "-of", "csv=p=0", path}));
  std::vector<double> times;
  std::string line;
  while (std::getline(lines, line)) {
    if (line.empty()) continue;
    // In AVI the stamps of pictures that leave the decoder late are not known; they follow the
    // others.
    if (line.compare(0, 3, "N/A") != 0) {
      times.push_back(std::stod(line));
    } else if (times.size() >= 2) {
      times.push_back(2 * times.back() - times[times.size() - 2]);
    }
  }
  return times;
}

std::vector<float> DecodeStereo(const std::string& path) {
  const std::string bytes = Output({"ffmpeg", "-v", "error", "-i", path, "-map", "0:a:0", "-ac",
                                    "2", "-f", "f32le", "-c:a", "pcm_f32le", "-"});
  std::vector<float> samples(bytes.size() / sizeof(float));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
  return samples;
}

std::map<std::string, std::string> StreamFields(const std::string& path, const std::string& kind) {
  return ParseFields(Output({"ffprobe", "-v", "error", "-select_streams", kind + ":0",
                             "-show_streams", "-of", "default=noprint_wrappers=1", path}));
}

std::string ToldFieldOrder(const std::string& path) {
  const std::string told = StreamFields(path, "v").at("field_order");
  if (told != "unknown") return told;
  auto picture =
      ParseFields(Output({"ffprobe", "-v", "error", "-select_streams", "v:0", "-read_intervals",
                          "%+#1", "-show_frames", "-of", "default=noprint_wrappers=1", path}));
  if (picture["interlaced_frame"] == "0") return "progressive";
  return picture["top_field_first"] == "1" ? "tt" : "bb";
}

std::map<std::string, std::string> ContainerFields(const std::string& path) {
  return ParseFields(Output(
      {"ffprobe", "-v", "error", "-show_format", "-of", "default=noprint_wrappers=1", path}));
}

namespace {

// The end of the stream of pictures or sound that ends last. Nothing if one does not tell its end.
std::optional<double> StreamsEnd(const std::string& path) {
  std::optional<double> last;
  for (const char* const kind : {"v", "a"}) {
    std::istringstream lines(
        Output({"ffprobe", "-v", "error", "-select_streams", kind, "-show_entries",
                "stream=start_time,duration", "-of", "csv=p=0", path}));
    for (std::string line; std::getline(lines, line);) {
      const size_t comma = line.find(',');
      if (comma == std::string::npos) continue;
      if (line.find("N/A") != std::string::npos) return std::nullopt;
      const double end = std::stod(line) + std::stod(line.substr(comma + 1));
      last = std::max(last.value_or(end), end);
    }
  }
  return last;
}

// The end of the last packet that is shown.
double PacketsEnd(const std::string& path) {
  std::istringstream lines(Output({"ffprobe", "-v", "error", "-show_entries",
                                   "packet=pts_time,duration_time,flags", "-of", "csv=p=0", path}));
  double end = 0;
  for (std::string line; std::getline(lines, line);) {
    const size_t comma = line.find(',');
    if (comma == std::string::npos || line.compare(0, 3, "N/A") == 0) continue;
    // What is decoded for the sake of others only, and never shown.
    if (line.find('D', line.rfind(',')) != std::string::npos) continue;
    const std::string lasts = line.substr(comma + 1);
    end = std::max(end, std::stod(line) + (lasts.compare(0, 3, "N/A") == 0 ? 0 : std::stod(lasts)));
  }
  return end;
}

}  // namespace

double EndTime(const std::string& path) {
  const auto fields = ContainerFields(path);
  const double start = std::stod(fields.at("start_time"));
  const double length = std::stod(fields.at("duration"));
  if (fields.at("format_name") == "mpeg") return std::max(start + length, PicturesEnd(path));
  if (fields.at("format_name").find("mpeg") == 0) return start + length;
  constexpr double kLate = 1e-3;
  if (start > kLate) return PacketsEnd(path);
  // FFmpeg 4 writes MP4 whose length is not that of the streams: it counts the delay of an encoder,
  // or leaves out how much later a stream begins.
  constexpr double kRounding = 0.002;
  constexpr double kMostDelay = 0.1;
  const std::optional<double> streams = StreamsEnd(path);
  if (!streams.has_value() || std::abs(*streams - length) <= kRounding) return length;
  if (*streams < length - kMostDelay) return length;
  return std::clamp(PacketsEnd(path), std::min(length, *streams), std::max(length, *streams));
}

double Psnr(const Picture& a, const Picture& b) {
  if (a.luma.size() != b.luma.size()) throw std::runtime_error("pictures of different sizes");
  double sum = 0;
  for (size_t i = 0; i < a.luma.size(); ++i) {
    const double difference = static_cast<double>(a.luma[i]) - b.luma[i];
    sum += difference * difference;
  }
  if (sum == 0) return 100;
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.luma.size()) / sum);
}

}  // namespace test_support
