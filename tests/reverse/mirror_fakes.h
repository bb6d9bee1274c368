// SPDX-License-Identifier: MIT
// A clip's sound as numbers, and a writer that notes what it is given.
#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <vector>

#include "codec/decoder/sound_reader.h"
#include "codec/writer/media_writer.h"

namespace codec {

// Each sample is its own number, counted from 1; the right channel is the number negated.
class FakeSound : public SoundReader {
 public:
  static constexpr int kRate = 1000;

  // Blocks of these lengths, one after another; the first one at this sample of the time line.
  void Add(int64_t place, const std::vector<int>& lengths) {
    for (const int length : lengths) {
      mBlocks.push_back({place, length, mNext});
      place += length;
      mNext += length;
    }
  }

  // The number of the sample at this place; 0 for silence.
  int At(int64_t place) const {
    for (const Block& block : mBlocks) {
      if (block.place <= place && place < block.place + block.length) {
        return block.first + static_cast<int>(place - block.place);
      }
    }
    return 0;
  }

  int Read(double from, double to, SoundStretch* out) override {
    out->Clear();
    if (failsFrom <= from && to <= failsTo) return -1;
    for (const Block& block : mBlocks) {
      const double time = static_cast<double>(block.place) / kRate;
      const double end = static_cast<double>(block.place + block.length) / kRate;
      if (end <= from || time >= to) continue;
      StretchBlock given;
      given.time = time;
      given.samples = block.length;
      given.rate = kRate;
      given.offset = out->samples.size();
      out->blocks.push_back(given);
      for (int i = 0; i < block.length; ++i) {
        out->samples.push_back(static_cast<float>(block.first + i));
        out->samples.push_back(-static_cast<float>(block.first + i));
      }
    }
    for (const LostSound& one : lost) {
      if (one.time < to && one.time + one.seconds > from) out->lost.push_back(one);
    }
    return 0;
  }

  // Reading inside this stretch fails, in seconds.
  double failsFrom = std::numeric_limits<double>::infinity();
  double failsTo = 0;
  // Each reading tells of those that reach into what it reads.
  std::vector<LostSound> lost;

 private:
  struct Block {
    int64_t place;
    int length;
    int first;
  };
  std::vector<Block> mBlocks;
  int mNext = 1;
};

class FakeSoundWriter : public MediaWriter {
 public:
  struct Picture {
    int64_t stamp;         // microseconds
    uint8_t value;         // the first byte
    size_t samplesBefore;  // of sound, written before this picture
  };

  int Configure(MediaFormat& /*format*/) override { return 0; }
  int Start() override { return 0; }
  void Stop() override {}
  void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) override {
    if (type == 1) {
      pictures.push_back({pts, data[0], mCount});
      return;
    }
    if (pts != static_cast<int64_t>(mCount) * 1000000 / FakeSound::kRate) isContiguous = false;
    const size_t count = size / (2 * sizeof(float));
    mCount += count;
    for (size_t i = 0; keepsSamples && i < count; ++i) {
      float both[2];
      std::memcpy(both, data + i * sizeof(both), sizeof(both));
      samples.push_back(both[0] == -both[1] ? static_cast<int>(both[0]) : -1);
    }
  }
  int64_t GetParameter(const char* /*key*/) override { return 0; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}

  std::vector<int> samples;  // -1 for one whose channels do not belong together
  std::vector<Picture> pictures;
  bool isContiguous = true;  // each block is stamped with the end of the one before it
  bool keepsSamples = true;

 private:
  size_t mCount = 0;
};

}  // namespace codec
