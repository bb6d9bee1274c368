// SPDX-License-Identifier: MIT
#include "tests/codec/decoder/decoder_reading.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {

std::vector<uint8_t> RawPictures(const std::string& path, std::vector<std::string> before) {
  std::vector<std::string> command = {"ffmpeg", "-v", "error", "-noautorotate"};
  command.insert(command.end(), before.begin(), before.end());
  command.insert(command.end(), {"-i", path, "-map", "0:v:0", test_support::FrameTimingOption(),
                                 "passthrough", "-f", "rawvideo", "-"});
  const test_support::CommandResult result = test_support::Run(command);
  if (result.status != 0) throw std::runtime_error("ffmpeg failed: " + result.err);
  return {result.out.begin(), result.out.end()};
}

std::vector<double> PictureTimes(const std::string& path) {
  const test_support::CommandResult result =
      test_support::Run({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                         "frame=best_effort_timestamp_time", "-of", "csv=p=0", path});
  if (result.status != 0) throw std::runtime_error("ffprobe failed: " + result.err);
  std::vector<double> times;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) continue;
    times.push_back(line[0] == 'N' ? times.back() + times.at(1) - times[0] : std::stod(line));
  }
  const double first = times.at(0);
  for (double& time : times) time -= first;
  return times;
}

std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string ScratchFile(const std::string& name, const std::string& bytes) {
  const std::string path = test_support::ScratchPath(name);
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
  return path;
}

std::string CoverClip() {
  return test_support::CustomClip("decoder_cover.m4a",
                                  {"-f",
                                   "lavfi",
                                   "-i",
                                   "aevalsrc=0.2*sin(2*PI*440*t):s=48000:c=stereo",
                                   "-f",
                                   "lavfi",
                                   "-i",
                                   "testsrc2=size=64x48",
                                   "-map",
                                   "0:a",
                                   "-map",
                                   "1:v",
                                   "-t",
                                   "2",
                                   "-frames:v",
                                   "1",
                                   "-c:a",
                                   "aac",
                                   "-c:v",
                                   "png",
                                   "-disposition:v:0",
                                   "attached_pic",
                                   "-f",
                                   "ipod"});
}

}  // namespace codec
