// SPDX-License-Identifier: MIT
#include "tests/support/joined_clips.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

constexpr int kRate = 25;

struct CodingWords {
  const char* extension;
  const char* words;
};

constexpr char kMpeg2[] = "-c:v mpeg2video -q:v 2 -g 12 -bf 2 -c:a mp2 -b:a 192k";
constexpr char kH264[] =
    "-c:v libx264 -preset veryfast -crf 16 -g 20 -bf 2 -c:a aac -aac_pns 0 -b:a 192k";

CodingWords WordsOf(JoinedCoding coding) {
  switch (coding) {
    case JoinedCoding::kVob:
      return {".vob", kMpeg2};
    case JoinedCoding::kMpeg2:
      return {".ts", kMpeg2};
    default:
      return {".ts", kH264};
  }
}

std::string MakeRecording(const std::string& name, JoinedCoding coding,
                          const Recording& recording) {
  const CodingWords words = WordsOf(coding);
  const double from = static_cast<double>(recording.first) / kRate;
  const double seconds = static_cast<double>(recording.pictures) / kRate;
  std::ostringstream scene;
  scene << SceneFilter(kNumberBits * kNumberCell, 64, std::to_string(kRate))
        << ",trim=start_frame=" << recording.first << ",setpts=PTS-STARTPTS";
  std::ostringstream sweep;
  sweep << SweepFilter(48000, "stereo") << ",atrim=start=" << from << ",asetpts=PTS-STARTPTS";
  std::vector<std::string> command = {"-f",
                                      "lavfi",
                                      "-i",
                                      scene.str(),
                                      "-f",
                                      "lavfi",
                                      "-i",
                                      sweep.str(),
                                      "-t",
                                      std::to_string(seconds),
                                      "-pix_fmt",
                                      "yuv420p",
                                      "-output_ts_offset",
                                      std::to_string(recording.clock)};
  AppendWords(words.words, &command);
  if (coding == JoinedCoding::kH264Mute) command.emplace_back("-an");
  if (!recording.words.empty()) AppendWords(recording.words, &command);
  return CustomClip(name + words.extension, command);
}

// Of one part.
struct Span {
  double begin = std::numeric_limits<double>::infinity();
  double end = -std::numeric_limits<double>::infinity();
  double firstSound = std::numeric_limits<double>::infinity();
};

Span SpanOf(const std::string& path) {
  const CommandResult result =
      Run({"ffprobe", "-v", "error", "-show_entries",
           "packet=codec_type,pts_time,dts_time,duration_time", "-of", "csv=p=0", path});
  std::istringstream lines(result.out);
  Span span;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string type;
    std::string shown;
    std::string decoded;
    std::string length;
    std::getline(fields, type, ',');
    std::getline(fields, shown, ',');
    std::getline(fields, decoded, ',');
    std::getline(fields, length, ',');
    if (shown == "N/A") shown = decoded;
    if (type.empty() || shown == "N/A") continue;
    const double time = std::stod(shown);
    span.begin = std::min(span.begin, time);
    span.end = std::max(span.end, time + std::stod(length));
    if (type == "audio") span.firstSound = std::min(span.firstSound, time);
  }
  return span;
}

// Sound that begins much earlier than the pictures is heard before them.
double ZeroOf(const std::vector<double>& times, const Span& span) {
  constexpr double kEarly = 0.1;
  return span.firstSound < times.front() - kEarly ? span.firstSound : times.front();
}

void LaySound(const std::string& path, double at, LaidOut* laid) {
  const std::vector<float> part = DecodeStereo(path);
  const auto begin = static_cast<long>(std::lround(at * laid->sampleRate)) * 2;
  const long size = begin + static_cast<long>(part.size());
  if (static_cast<long>(laid->stereo.size()) < size) {
    laid->stereo.resize(static_cast<size_t>(size));
  }
  for (long i = std::max(0L, -begin); i < static_cast<long>(part.size()); ++i) {
    laid->stereo[static_cast<size_t>(begin + i)] = part[static_cast<size_t>(i)];
  }
}

}  // namespace

JoinedClip JoinRecordings(const std::string& name, JoinedCoding coding,
                          const std::vector<Recording>& recordings) {
  JoinedClip clip;
  for (size_t i = 0; i < recordings.size(); ++i) {
    clip.parts.push_back(MakeRecording(name + "_part" + std::to_string(i), coding, recordings[i]));
  }
  clip.path = JoinFiles(name + WordsOf(coding).extension, clip.parts);
  return clip;
}

std::string JoinFiles(const std::string& name, const std::vector<std::string>& files) {
  const std::string path = ScratchPath(name);
  std::ofstream whole(path, std::ios::binary);
  for (const std::string& file : files) whole << std::ifstream(file, std::ios::binary).rdbuf();
  if (!whole.flush()) throw std::runtime_error("cannot write " + path);
  return path;
}

std::string CutBegin(const std::string& name, const std::string& path, double part) {
  constexpr double kPacket = 188;
  const std::string cut = ScratchPath(name);
  std::ifstream whole(path, std::ios::binary);
  const auto packets = static_cast<double>(std::filesystem::file_size(path)) / kPacket;
  whole.seekg(static_cast<std::streamoff>(std::floor(packets * part) * kPacket));
  std::ofstream rest(cut, std::ios::binary);
  rest << whole.rdbuf();
  if (!rest.flush()) throw std::runtime_error("cannot write " + cut);
  return cut;
}

LaidOut LayEndToEnd(const std::vector<std::string>& parts) {
  LaidOut laid;
  double place = 0;  // of the part on the line
  double zero = 0;   // of the first picture on the line
  for (const std::string& part : parts) {
    const Span span = SpanOf(part);
    const std::vector<double> times = VideoTimes(part);
    const std::vector<Picture> pictures = DecodeLuma(part);
    if (times.size() != pictures.size()) throw std::runtime_error("stamps do not match: " + part);
    if (laid.times.empty() && !times.empty()) zero = place + ZeroOf(times, span) - span.begin;
    for (size_t i = 0; i < times.size(); ++i) {
      laid.times.push_back(place + times[i] - span.begin - zero);
      laid.numbers.push_back(ReadFrameNumber(pictures[i]));
    }
    if (!std::isinf(span.firstSound)) {
      laid.sampleRate = std::stoi(StreamFields(part, "a").at("sample_rate"));
      LaySound(part, place + span.firstSound - span.begin - zero, &laid);
    }
    place += span.end - span.begin;
  }
  laid.end = place - zero;
  laid.stereo.resize(static_cast<size_t>(std::lround(laid.end * laid.sampleRate)) * 2);
  return laid;
}

}  // namespace test_support
