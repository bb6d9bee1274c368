// SPDX-License-Identifier: MIT
#include "codec/encoder/h264_level.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace codec {
namespace {

// Table A-1 of the standard, with the bit rates of the Baseline and Main profiles. Level 1b is left
// out: decoders that know it know 1.1.
struct LevelRow {
  int level;             // ten times its number
  int64_t blocksPerSec;  // macroblocks
  int64_t blocks;        // of a picture
  int64_t held;          // of all references together
  int64_t maxRate;       // 1000 bit/s
  int64_t bufferSize;    // 1000 bits
  bool hasFields = false;
};

constexpr std::array<LevelRow, 19> kLevels = {{
    {10, 1485, 99, 396, 64, 175},
    {11, 3000, 396, 900, 192, 500},
    {12, 6000, 396, 2376, 384, 1000},
    {13, 11880, 396, 2376, 768, 2000},
    {20, 11880, 396, 2376, 2000, 2000},
    {21, 19800, 792, 4752, 4000, 4000, true},
    {22, 20250, 1620, 8100, 4000, 4000, true},
    {30, 40500, 1620, 8100, 10000, 10000, true},
    {31, 108000, 3600, 18000, 14000, 14000, true},
    {32, 216000, 5120, 20480, 20000, 20000, true},
    {40, 245760, 8192, 32768, 20000, 25000, true},
    {41, 245760, 8192, 32768, 50000, 62500, true},
    {42, 522240, 8704, 34816, 50000, 62500},
    {50, 589824, 22080, 110400, 135000, 135000},
    {51, 983040, 36864, 184320, 240000, 240000},
    {52, 2073600, 36864, 184320, 240000, 240000},
    {60, 4177920, 139264, 696320, 240000, 240000},
    {61, 8355840, 139264, 696320, 480000, 480000},
    {62, 16711680, 139264, 696320, 800000, 800000},
}};

struct PresetRow {
  std::string_view name;
  int references;
};

// In the order of their numbers.
constexpr std::array<PresetRow, 10> kPresets = {{{"ultrafast", 1},
                                                 {"superfast", 1},
                                                 {"veryfast", 1},
                                                 {"faster", 2},
                                                 {"fast", 2},
                                                 {"medium", 3},
                                                 {"slow", 5},
                                                 {"slower", 8},
                                                 {"veryslow", 16},
                                                 {"placebo", 16}}};
constexpr int kMostReferences = 16;

int64_t Blocks(int pixels) { return (int64_t{pixels} + 15) / 16; }

// Fields are made of whole blocks, too.
int64_t Rows(const H264Load& load) {
  return load.hasFields ? 2 * Blocks((load.height + 1) / 2) : Blocks(load.height);
}

bool Allows(const LevelRow& row, const H264Load& load) {
  constexpr int64_t kKilo = 1000;
  const int64_t wide = Blocks(load.width);
  const int64_t high = Rows(load);
  const int64_t blocks = wide * high;
  const int64_t longestSide = row.blocks * 8;  // squared
  return blocks <= row.blocks && wide * wide <= longestSide && high * high <= longestSide &&
         static_cast<double>(blocks) * load.frameRate < static_cast<double>(row.blocksPerSec) + 1 &&
         blocks * load.references <= row.held && load.maxRate / kKilo <= row.maxRate &&
         load.bufferSize / kKilo <= row.bufferSize;
}

}  // namespace

int H264Level(const H264Load& load) {
  const auto lowest = [&load](bool hasFields) {
    return std::find_if(kLevels.begin(), kLevels.end(), [&](const LevelRow& row) {
      return row.hasFields >= hasFields && Allows(row, load);
    });
  };
  auto row = lowest(load.hasFields);
  if (row == kLevels.end()) row = lowest(false);
  return row == kLevels.end() ? kLevels.back().level : row->level;
}

int H264References(const std::string& preset) {
  for (size_t i = 0; i < kPresets.size(); ++i) {
    if (preset == kPresets[i].name || preset == std::to_string(i)) return kPresets[i].references;
  }
  return kMostReferences;
}

H264Load H264LoadOf(const EncoderSettings& settings, const std::string& preset, int64_t maxRate,
                    int64_t bufferSize, bool hasFields) {
  H264Load load;
  load.width = settings.width;
  load.height = settings.height;
  load.frameRate = settings.frameRate;
  load.maxRate = maxRate;
  load.bufferSize = bufferSize;
  load.references = H264References(preset);
  load.hasFields = hasFields;
  return load;
}

}  // namespace codec
