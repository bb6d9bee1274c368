// SPDX-License-Identifier: MIT
#include "tests/support/reversal.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>

namespace test_support {
namespace {

// Both channels together at a quarter of the rate: plenty for tones below 4 kHz, and fast to
// compare.
constexpr size_t kDecimation = 4;

std::vector<float> Coarse(const std::vector<float>& stereo) {
  std::vector<float> coarse(stereo.size() / 2 / kDecimation);
  for (size_t i = 0; i < coarse.size(); ++i) {
    float sum = 0;
    for (size_t j = 0; j < 2 * kDecimation; ++j) sum += stereo[i * 2 * kDecimation + j];
    coarse[i] = sum;
  }
  return coarse;
}

double Correlation(const float* a, const float* b, size_t count) {
  double ab = 0;
  double aa = 0;
  double bb = 0;
  for (size_t i = 0; i < count; ++i) {
    ab += static_cast<double>(a[i]) * b[i];
    aa += static_cast<double>(a[i]) * a[i];
    bb += static_cast<double>(b[i]) * b[i];
  }
  return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0;
}

}  // namespace

SourceClip ReadSource(const std::string& path) {
  SourceClip source;
  source.pictures = DecodeLuma(path);
  source.times = VideoTimes(path);
  if (source.times.size() != source.pictures.size()) {
    throw std::runtime_error("pictures and stamps of " + path + " do not match");
  }
  const double first = source.times.empty() ? 0 : source.times.front();
  for (double& time : source.times) time -= first;
  return source;
}

std::vector<size_t> ExpectedOrder(const SourceClip& source, double start, double end) {
  std::vector<size_t> order;
  for (size_t i = source.times.size(); i-- > 0;) {
    if (source.times[i] >= start && source.times[i] < end) order.push_back(i);
  }
  return order;
}

std::vector<long> ExpectedFrameNumbers(const std::vector<double>& times, double end,
                                       double frameRate) {
  std::vector<long> numbers;
  long last = -1;
  for (const double time : times) {
    const auto microseconds = static_cast<long>((end - time) * 1000000);
    const auto nearest =
        static_cast<long>(static_cast<double>(microseconds) / 1e6 * frameRate + 0.5);
    last = std::max(nearest, last + 1);
    numbers.push_back(last);
  }
  return numbers;
}

double SoundMatch::Median() const {
  std::vector<double> sorted = peaks;
  std::sort(sorted.begin(), sorted.end());
  return sorted.empty() ? 0 : sorted[sorted.size() / 2];
}

double SoundMatch::Lowest() const {
  return peaks.empty() ? 0 : *std::min_element(peaks.begin(), peaks.end());
}

SoundMatch CompareSound(const std::string& sourcePath, const std::string& outputPath, double end) {
  const double rate = std::stod(StreamFields(sourcePath, "a").at("sample_rate"));
  return CompareSound(DecodeStereo(sourcePath), rate, outputPath, end);
}

SoundMatch CompareSound(const std::vector<float>& stereo, double sampleRate,
                        const std::string& outputPath, double end) {
  std::vector<float> source = Coarse(stereo);
  const std::vector<float> output = Coarse(DecodeStereo(outputPath));
  const double coarseRate = sampleRate / static_cast<double>(kDecimation);

  // From here on both run backwards; the output begins where the range ends in the source.
  std::reverse(source.begin(), source.end());
  const long begin = static_cast<long>(source.size()) - static_cast<long>(end * coarseRate);

  const auto window = static_cast<long>(0.4 * coarseRate);
  const auto reach = static_cast<long>(2 * 1024 / kDecimation);
  SoundMatch match;
  for (long at = 0; at + window <= static_cast<long>(output.size()); at += window) {
    double best = -1;
    long bestLag = 0;
    for (long lag = -reach; lag <= reach; ++lag) {
      const long from = begin + at + lag;
      if (from < 0 || from + window > static_cast<long>(source.size())) continue;
      const double value =
          Correlation(&output[static_cast<size_t>(at)], &source[static_cast<size_t>(from)],
                      static_cast<size_t>(window));
      if (value > best) {
        best = value;
        bestLag = lag;
      }
    }
    // The sound that follows the start of the source, or precedes its end, has nothing to match.
    if (best < -0.5) continue;
    match.peaks.push_back(best);
    match.lagFrames.push_back(static_cast<double>(bestLag) * kDecimation / 1024);
  }
  return match;
}

std::vector<double> ProgressValues(const std::string& log) {
  std::vector<double> values;
  std::istringstream lines(log);
  std::string line;
  const std::string mark = "progress:";
  while (std::getline(lines, line)) {
    const size_t at = line.find(mark);
    if (at != std::string::npos) values.push_back(std::stod(line.substr(at + mark.size())));
  }
  return values;
}

}  // namespace test_support
