// SPDX-License-Identifier: MIT
// Recordings joined end to end, byte by byte, and what a player of the parts shows of them.
#pragma once

#include <string>
#include <vector>

namespace test_support {

// One recording: a stretch of the scene and of the sweep that all of them show, at 25 pictures a
// second, 400x64.
struct Recording {
  int first = 0;           // number of the first picture
  int pictures = 0;        // how many
  double clock = 0;        // seconds by which its stamps begin later than others
  std::string words = {};  // of ffmpeg, beside those of its coding
};

// How recordings are coded. The last three are transport streams.
enum class JoinedCoding { kVob, kMpeg2, kH264, kH264Mute };

struct JoinedClip {
  std::string path;
  std::vector<std::string> parts;
};

// Makes the recordings, and a file of all their bytes in turn. `name` without an extension.
JoinedClip JoinRecordings(const std::string& name, JoinedCoding coding,
                          const std::vector<Recording>& recordings);

// A file of all bytes of these files in turn.
std::string JoinFiles(const std::string& name, const std::vector<std::string>& files);

// The rest of a transport stream from this part of its length on, 0 to 1: a recording that was
// switched on amid a broadcast.
std::string CutBegin(const std::string& name, const std::string& path, double part);

// Pictures and sound of files that are played in turn, each of which begins when the one before it
// has ended. Decoded by ffmpeg, each file alone.
struct LaidOut {
  std::vector<int> numbers;   // of the pictures
  std::vector<double> times;  // of the pictures, in seconds from zero: the time of the first one,
                              // or of the first sound if that is earlier by more than 0.1 s
  std::vector<float> stereo;  // from zero; silence where there is none
  int sampleRate = 0;         // 0 without sound
  double end = 0;             // seconds
};

LaidOut LayEndToEnd(const std::vector<std::string>& parts);

}  // namespace test_support
