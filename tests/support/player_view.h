// SPDX-License-Identifier: MIT
// What a player shows of a file, by way of ffmpeg, and whether two files show the same.
#pragma once

#include <string>
#include <vector>

#include "tests/support/media_reading.h"

namespace test_support {

// All times in seconds from zero: the time of the first picture, or of the first sound if the sound
// is earlier by more than 0.1 s.
struct PlayerView {
  std::vector<Picture> pictures;
  std::vector<double> times;  // of the pictures
  std::vector<float> sound;   // both channels together, from zero on
  int rate = 0;               // samples a second; 0 without sound
  double end = 0;             // of the file
  double pictureTick = 0;     // the step of the stamps, seconds
  double soundTick = 0;
};

// How ffmpeg is to show a file.
struct ViewWords {
  int width = 0;  // of what is shown
  int height = 0;
  std::string decoder = {};  // words before the input
  std::string filter = "null";
  int rate = 0;  // to resample the sound to; 0 for its own
};

PlayerView ViewOf(const std::string& path, const ViewWords& words);

// The same, seen in a mirror: each picture for its own time, newest first.
PlayerView Mirrored(const PlayerView& view);

// What is at most left out at the end of a clip: what containers round its length up by.
constexpr double kLengthRounding = 0.0015;
// By how much a file may be longer than what was asked for: a frame of the encoder of sound. FFmpeg
// 4 also counts the frame that the encoder begins with, which no player plays.
double SoundFrame(int rate);

// Fails the test if the pictures are not those of `expected`, each once and in order, shown at the
// same times, with the same sound at the same times. All of it together may come later by `least`
// to `most` seconds, but pictures and sound by the same. The first picture is at zero.
void ExpectSame(const PlayerView& expected, const PlayerView& got, double least, double most);

}  // namespace test_support
