// SPDX-License-Identifier: MIT
// What a reversal must be, worked out from the source by way of ffmpeg, and compared with an
// output.
#pragma once

#include <string>
#include <vector>

#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {

// A source clip as ffmpeg decodes it: pictures with their times from the first picture.
struct SourceClip {
  std::vector<Picture> pictures;
  std::vector<double> times;
};

SourceClip ReadSource(const std::string& path);

// Indexes of the source pictures with start <= time < end, newest first.
std::vector<size_t> ExpectedOrder(const SourceClip& source, double start, double end);

// The frame numbers that pictures of these times get in the output: their distance from `end` in
// frames, each at least one more than the one before.
std::vector<long> ExpectedFrameNumbers(const std::vector<double>& times, double end,
                                       double frameRate);

// How well the sound of an output matches the reversed sound of its source, window by window.
struct SoundMatch {
  std::vector<double> peaks;      // the best correlation of each window
  std::vector<double> lagFrames;  // where it was found, in frames of 1024 samples
  double Median() const;
  double Lowest() const;
};

// Compares windows of 0.4 s of the output with the source, reversed from `end` (seconds). Lags up
// to two audio frames are looked at.
SoundMatch CompareSound(const std::string& sourcePath, const std::string& outputPath, double end);
// The same for a source of stereo samples, interleaved.
SoundMatch CompareSound(const std::vector<float>& stereo, double sampleRate,
                        const std::string& outputPath, double end);

// The values of the "progress:" lines in a program's standard error.
std::vector<double> ProgressValues(const std::string& log);

}  // namespace test_support
