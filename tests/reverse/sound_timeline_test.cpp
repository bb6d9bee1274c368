// SPDX-License-Identifier: MIT
// The time line on integers alone: each block is a number, each sample its place in the block.
#include "reverse/sound_timeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace codec {
namespace {

constexpr int kRate = 1000;  // a sample a millisecond, unless a test says another
constexpr int kTolerance = 40;
constexpr int kSilence = -1;

// One sample of an output: of which block of the stream, and where in it.
struct Sample {
  int block = kSilence;
  int64_t index = 0;

  friend bool operator==(const Sample& a, const Sample& b) {
    return a.block == b.block && a.index == b.index;
  }
};

void PrintTo(const Sample& sample, std::ostream* out) {
  *out << "(" << sample.block << ", " << sample.index << ")";
}

using Blocks = std::vector<SampleBlock>;
using Output = std::vector<Sample>;

// The walk of a job: steps of a length from the end to the start, each with the blocks that begin
// in it. With `straddling` a block comes with the step in which it ends.
struct Walk {
  int64_t step = kRate;
  int64_t reach = kRate;
  bool straddling = false;
};

void Append(const std::vector<SoundPiece>& pieces, const std::vector<int>& numbers, Output* out) {
  for (const SoundPiece& piece : pieces) {
    ASSERT_GT(piece.samples, 0);
    for (int64_t i = piece.samples; i-- > 0;) {
      if (piece.block == SoundPiece::kSilence) {
        out->push_back({});
      } else {
        out->push_back({numbers.at(piece.block), piece.first + i});
      }
    }
  }
}

Output WalkBackward(const Blocks& blocks, const SampleRange& range, const Walk& walk = {}) {
  SoundTimeline line(range, walk.reach);
  Output out;
  std::vector<bool> given(blocks.size(), false);
  int64_t cursor = range.end;
  while (cursor > range.first) {
    cursor -= walk.step;
    Blocks part;
    std::vector<int> numbers;
    int64_t latest = std::numeric_limits<int64_t>::min();
    for (size_t i = 0; i < blocks.size(); ++i) {
      // A block never comes later than one before it in the stream.
      latest = std::max(latest, blocks[i].start + blocks[i].samples - 1);
      const int64_t position = walk.straddling ? latest : blocks[i].start;
      // After the last step nothing is left: it takes what begins before the range, too.
      if (given[i] || (position < cursor && cursor > range.first)) continue;
      given[i] = true;
      part.push_back(blocks[i]);
      numbers.push_back(static_cast<int>(i));
    }
    Append(line.Step(part, cursor), numbers, &out);
    EXPECT_EQ(range.end - line.Edge(), static_cast<int64_t>(out.size()));
  }
  Append(line.Finish(), {}, &out);
  EXPECT_TRUE(line.IsDone());
  return out;
}

// What a player shows: all blocks in the order of the stream on a line that grows forward, then
// turned around.
Output WalkForward(const Blocks& blocks, const SampleRange& range) {
  const auto length = static_cast<size_t>(range.Samples());
  Output line(length);
  int64_t edge = range.first;
  bool follows = false;
  for (size_t i = 0; i < blocks.size(); ++i) {
    const SampleBlock& block = blocks[i];
    const bool contiguous = follows && std::abs(block.start - edge) <= kTolerance;
    const int64_t place = contiguous ? edge : block.start;
    for (int64_t k = 0; k < block.samples; ++k) {
      const int64_t position = place + k;
      if (position < edge || position >= range.end) continue;
      line[static_cast<size_t>(position - range.first)] = {static_cast<int>(i), k};
      edge = position + 1;
      follows = true;
    }
  }
  std::reverse(line.begin(), line.end());
  return line;
}

Blocks Contiguous(int64_t start, int64_t length, int count) {
  Blocks blocks;
  for (int i = 0; i < count; ++i) blocks.push_back({start + i * length, length});
  return blocks;
}

// How many samples of a kind stand in a row, in the order of the output: {block, samples}.
std::vector<std::pair<int, int64_t>> Runs(const Output& output) {
  std::vector<std::pair<int, int64_t>> runs;
  for (const Sample& sample : output) {
    if (runs.empty() || runs.back().first != sample.block) runs.push_back({sample.block, 0});
    ++runs.back().second;
  }
  return runs;
}

using RunList = std::vector<std::pair<int, int64_t>>;

TEST(SampleRange, HoldsTheSamplesFromItsStartToBeforeItsEnd) {
  const SampleRange whole = SampleRange::Of(0, 4, 48000);
  EXPECT_EQ(whole.first, 0);
  EXPECT_EQ(whole.end, 192000);
  EXPECT_EQ(whole.Samples(), 192000);
  // 1.3 and 4.7 are no binary fractions: 62400 and 225600 all the same.
  const SampleRange part = SampleRange::Of(1.3, 4.7, 48000);
  EXPECT_EQ(part.first, 62400);
  EXPECT_EQ(part.end, 225600);
  // Between two samples the range begins with the later one, and ends after the earlier one.
  const SampleRange between = SampleRange::Of(0.00105, 0.00205, 10000);
  EXPECT_EQ(between.first, 11);
  EXPECT_EQ(between.end, 21);
  EXPECT_EQ(SampleRange::Of(2, 1, 48000).Samples(), 0);
}

TEST(SampleRange, FindsThePositionNearestToAStamp) {
  const SampleRange range = SampleRange::Of(0, 1, 44100);
  EXPECT_EQ(range.At(1024.0 / 44100), 1024);
  EXPECT_EQ(range.At(0.023), 1014);
  EXPECT_EQ(range.At(-0.5), -22050);
  EXPECT_EQ(range.At(std::nan("")), 0);
  EXPECT_EQ(range.At(1e300), int64_t{1} << 60);
}

TEST(SoundTimeline, WritesContiguousBlocksSampleForSample) {
  const Blocks blocks = Contiguous(0, 300, 20);
  const SampleRange range{0, 6000, kRate};
  const Output output = WalkBackward(blocks, range);
  ASSERT_EQ(output.size(), 6000U);
  EXPECT_EQ(output.front(), (Sample{19, 299}));
  EXPECT_EQ(output.back(), (Sample{0, 0}));
  EXPECT_EQ(output, WalkForward(blocks, range));
}

TEST(SoundTimeline, CutsToTheSampleAtTheBordersOfTheRange) {
  const SampleRange range{1037, 2911, kRate};
  const Output output = WalkBackward(Contiguous(0, 100, 40), range);
  ASSERT_EQ(output.size(), 1874U);
  EXPECT_EQ(output.front(), (Sample{29, 10}));
  EXPECT_EQ(output.back(), (Sample{10, 37}));
}

TEST(SoundTimeline, CutsAtTheEndWithinTheToleranceToo) {
  // The block ends 1 sample after the range, then 1 before it: neither is taken as contiguous.
  const SampleRange range{0, 1000, kRate};
  EXPECT_EQ(WalkBackward({{0, 1001}}, range).front(), (Sample{0, 999}));
  EXPECT_EQ(Runs(WalkBackward({{0, 999}}, range)), (RunList{{kSilence, 1}, {0, 999}}));
}

TEST(SoundTimeline, IsSilentWithoutSound) {
  const SampleRange range{500, 4500, kRate};
  EXPECT_EQ(Runs(WalkBackward({}, range)), (RunList{{kSilence, 4000}}));
  EXPECT_EQ(Runs(WalkBackward({{0, 100}, {9000, 100}}, range)), (RunList{{kSilence, 4000}}));
  EXPECT_TRUE(WalkBackward({{0, 100}}, {50, 50, kRate}).empty());
  EXPECT_TRUE(WalkBackward({{0, 100}}, {50, 20, kRate}).empty());
}

TEST(SoundTimeline, IsSilentBeforeTheSoundBeginsAfterItEndsAndInHoles) {
  const SampleRange range{0, 9000, kRate};
  const Blocks blocks = {{2003, 500}, {2503, 500}, {4503, 800}, {5303, 700}};
  const RunList expected = {{kSilence, 2997}, {3, 700}, {2, 800},        {kSilence, 1500},
                            {1, 500},         {0, 500}, {kSilence, 2003}};
  EXPECT_EQ(Runs(WalkBackward(blocks, range)), expected);
  EXPECT_EQ(WalkBackward(blocks, range), WalkForward(blocks, range));
}

TEST(SoundTimeline, ClosesDistancesUpToTheTolerance) {
  const SampleRange range{0, 1000, kRate};
  // A hole and an overlap of 40 ms are none, of 41 they are.
  EXPECT_EQ(Runs(WalkBackward({{0, 460}, {500, 500}}, range)),
            (RunList{{1, 500}, {0, 460}, {kSilence, 40}}));
  EXPECT_EQ(Runs(WalkBackward({{0, 459}, {500, 500}}, range)),
            (RunList{{1, 500}, {kSilence, 41}, {0, 459}}));
  EXPECT_EQ(Runs(WalkBackward({{40, 500}, {500, 500}}, range)), (RunList{{1, 500}, {0, 500}}));
  EXPECT_EQ(Runs(WalkBackward({{41, 500}, {500, 500}}, range)),
            (RunList{{1, 500}, {0, 459}, {kSilence, 41}}));
}

TEST(SoundTimeline, KeepsTheLaterBlockWhereTwoOverlap) {
  const SampleRange range{0, 1000, kRate};
  // All of the second block lies under the third.
  const Output output = WalkBackward({{0, 600}, {600, 100}, {500, 500}}, range);
  EXPECT_EQ(Runs(output), (RunList{{2, 500}, {0, 500}}));
  EXPECT_EQ(output[500], (Sample{0, 499}));
}

TEST(SoundTimeline, PlacesABlockAfterSilenceByItsStamp) {
  // The hole is a millisecond longer than the tolerance: no rounding may hide in its silence.
  const Blocks blocks = {{0, 100}, {141, 859}};
  EXPECT_EQ(WalkBackward(blocks, {0, 1000, kRate})[900], (Sample{0, 99}));
}

TEST(SoundTimeline, WaitsForABlockThatBeginsBeforeTheCursor) {
  SoundTimeline line({0, 3000, kRate}, kRate);
  // The block from 1950 to 2900 is not known when the step down to 2000 is written.
  EXPECT_EQ(line.Step({{2900, 100}}, 2000).size(), 1U);
  EXPECT_EQ(line.Edge(), 2900);
  const std::vector<SoundPiece>& pieces = line.Step({{1950, 950}}, 1000);
  ASSERT_EQ(pieces.size(), 1U);
  EXPECT_EQ(pieces[0].samples, 950);
}

TEST(SoundTimeline, WritesSilenceAsFarDownAsNoBlockCanReach) {
  SoundTimeline line({0, 9000, kRate}, 200);
  EXPECT_EQ(line.Step({{8000, 1000}}, 8000).size(), 1U);
  EXPECT_EQ(line.Edge(), 8000);
  line.Step({}, 7000);
  // The longest block so far had 1000 samples, and one of them may be contiguous.
  EXPECT_EQ(line.Edge(), 8000);
  line.Step({}, 6959);
  EXPECT_EQ(line.Edge(), 7959);
  // After silence there is nothing to be contiguous with.
  line.Step({}, 5000);
  EXPECT_EQ(line.Edge(), 6000);
}

TEST(SoundTimeline, ComesToTheCursorIfNoBlockReachesOverIt) {
  SoundTimeline line({0, 3000, kRate}, 0);
  line.Step({{1900, 1100}}, 2000);
  EXPECT_EQ(line.Edge(), 1900);
  line.Step({}, 1000);
  EXPECT_EQ(line.Edge(), 1000);
  EXPECT_FALSE(line.IsDone());
  EXPECT_EQ(line.Finish().size(), 1U);
  EXPECT_TRUE(line.IsDone());
  EXPECT_TRUE(line.Finish().empty());
}

TEST(SoundTimeline, TakesBlocksOfASecond) {
  const Blocks blocks = Contiguous(0, 1000, 6);
  for (const int64_t cut : {0, 1, 40, 500, 999}) {
    const SampleRange range{0, 5000 + cut, kRate};
    EXPECT_EQ(WalkBackward(blocks, range), WalkForward(blocks, range)) << cut;
  }
}

TEST(SoundTimeline, TakesStampsThatMakeNoSense) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();
  const Blocks blocks = {{kLeast, 100}, {kMost, 100}, {0, 0},
                         {10, -5},      {0, kMost},   {kLeast, kMost}};
  SoundTimeline line({0, 1000, kRate}, kRate);
  int64_t samples = 0;
  for (const int64_t cursor : {kMost, int64_t{0}, kLeast}) {
    for (const SoundPiece& piece : line.Step(blocks, cursor)) samples += piece.samples;
  }
  for (const SoundPiece& piece : line.Finish()) samples += piece.samples;
  EXPECT_EQ(samples, 1000);
}

// Stamps of Matroska: 1024 samples at 44.1 kHz, rounded to the millisecond, for ten hours.
TEST(SoundTimeline, GathersNoErrorInTenHours) {
  constexpr int kHighRate = 44100;
  constexpr int64_t kBlock = 1024;
  constexpr double kSeconds = 36000;
  const SampleRange range = SampleRange::Of(0, kSeconds, kHighRate);
  SoundTimeline line(range, kBlock);
  int64_t next = range.Samples() / kBlock;  // the block before this one is the next to be given
  int64_t written = 0;
  int64_t farthest = 0;
  int silences = 0;
  for (double cursor = kSeconds - 1; cursor > -1; --cursor) {
    Blocks blocks;
    std::vector<int64_t> starts;
    while (next > 0) {
      const double stamp = std::round((next - 1) * kBlock * 1000.0 / kHighRate) / 1000;
      if (stamp < cursor) break;
      --next;
      blocks.insert(blocks.begin(), {range.At(stamp), kBlock});
      starts.insert(starts.begin(), next * kBlock);
    }
    for (const SoundPiece& piece : line.Step(blocks, range.At(cursor))) {
      written += piece.samples;
      if (piece.block == SoundPiece::kSilence) {
        ++silences;
        continue;
      }
      const int64_t newest = starts[piece.block] + piece.first + piece.samples;
      farthest = std::max(farthest, std::abs(range.end - written + piece.samples - newest));
    }
  }
  for (const SoundPiece& piece : line.Finish()) written += piece.samples;
  EXPECT_EQ(written, range.Samples());
  EXPECT_EQ(next, 0);
  EXPECT_LE(silences, 1);       // what the last block leaves before the end of the range
  EXPECT_LE(farthest, 44 / 2);  // half a millisecond, which the stamp of the last block is off
}

// A clock that runs 0.1 % fast or slow is brought back each 40 seconds, never more than 40 ms off.
TEST(SoundTimeline, BringsBackAClockThatDrifts) {
  for (const double pace : {0.999, 1.001}) {
    Blocks blocks;
    for (int i = 0; i < 12000; ++i) {
      blocks.push_back({static_cast<int64_t>(std::round(i * 10 * pace)), 10});
    }
    const SampleRange range{0, 119000, kRate};
    const Output output = WalkBackward(blocks, range);
    ASSERT_EQ(output.size(), 119000U);
    int64_t farthest = 0;
    int silences = 0;
    for (size_t i = 0; i < output.size(); ++i) {
      if (output[i].block == kSilence) {
        ++silences;
        continue;
      }
      const int64_t stamp = blocks[static_cast<size_t>(output[i].block)].start + output[i].index;
      farthest = std::max(farthest, std::abs(range.end - 1 - static_cast<int64_t>(i) - stamp));
    }
    EXPECT_LE(farthest, kTolerance) << pace;
    EXPECT_GE(farthest, kTolerance - 2) << pace;
    // All that the stamps are longer than the sound.
    EXPECT_EQ(silences, pace < 1 ? 0 : 119) << pace;
  }
}

// Streams made at random, their seed printed.
class RandomStream {
 public:
  explicit RandomStream(unsigned seed) : mRandom(seed) {}

  int64_t Number(int64_t least, int64_t most) {
    return std::uniform_int_distribution<int64_t>(least, most)(mRandom);
  }

  // Blocks that follow one another exactly, with holes longer than the tolerance.
  Blocks Exact() {
    return Make([this] { return Number(0, 9) == 0 ? Number(41, 3000) : 0; });
  }
  // Blocks whose stamps are rounded, drift, leave holes and overlap.
  Blocks Loose() {
    return Make([this] { return Number(0, 9) == 0 ? Number(-300, 1500) : Number(-3, 4); });
  }

 private:
  template <typename Distance>
  Blocks Make(const Distance& distance) {
    Blocks blocks;
    const int64_t longest = Number(0, 2) == 0 ? 1000 : 60;
    int64_t start = Number(-500, 3000);
    const int64_t count = Number(0, 200);
    for (int64_t i = 0; i < count; ++i) {
      blocks.push_back({start, Number(1, longest)});
      start += std::max<int64_t>(blocks.back().samples + distance(), 1);
    }
    return blocks;
  }

  std::mt19937 mRandom;
};

constexpr unsigned kSeeds = 400;

SampleRange RandomRange(RandomStream* random, const Blocks& blocks) {
  const int64_t last = blocks.empty() ? 1000 : blocks.back().start + blocks.back().samples;
  const int64_t first = random->Number(-100, last);
  return {first, first + random->Number(0, last - first + 700), kRate};
}

TEST(SoundTimeline, EqualsTheForwardWalkIfStampsAreExact) {
  for (unsigned seed = 0; seed < kSeeds; ++seed) {
    RandomStream random(seed);
    const Blocks blocks = random.Exact();
    const SampleRange range = RandomRange(&random, blocks);
    ASSERT_EQ(WalkBackward(blocks, range), WalkForward(blocks, range)) << "seed " << seed;
  }
}

TEST(SoundTimeline, DoesNotDependOnWhereStepsAreCut) {
  for (unsigned seed = 0; seed < kSeeds; ++seed) {
    RandomStream random(seed);
    const Blocks blocks = random.Loose();
    const SampleRange range = RandomRange(&random, blocks);
    const Output expected = WalkBackward(blocks, range);
    const int64_t step = random.Number(1, 5000);
    ASSERT_EQ(WalkBackward(blocks, range, {step, kRate, false}), expected) << "seed " << seed;
    ASSERT_EQ(WalkBackward(blocks, range, {step, 0, true}), expected) << "seed " << seed;
  }
}

// Whether a sample may stand here: 40 ms around its stamp.
bool IsNearItsStamp(const Sample& sample, const Blocks& blocks, int64_t position) {
  if (sample.block == kSilence) return true;
  const int64_t stamp = blocks[static_cast<size_t>(sample.block)].start + sample.index;
  return std::abs(stamp - position) <= kTolerance;
}

// Whether the older of two neighbours continues the newer one without a sample more or less, or
// would be too far from its stamp if it did.
bool IsJoined(const Output& output, size_t newer, const Blocks& blocks, int64_t position) {
  const Sample& after = output[newer];
  const Sample& before = output[newer + 1];
  if (after.block == kSilence) return true;
  if (before.block == after.block) return before.index == after.index - 1;
  if (after.index != 0 || after.block == 0) return after.block == 0;
  const SampleBlock& neighbour = blocks[static_cast<size_t>(after.block) - 1];
  if (before == Sample{after.block - 1, neighbour.samples - 1}) return true;
  return std::abs(neighbour.start + neighbour.samples - position) > kTolerance;
}

TEST(SoundTimeline, StaysNearTheStampsAndKeepsContiguousBlocksTogether) {
  for (unsigned seed = 0; seed < kSeeds; ++seed) {
    RandomStream random(seed);
    const Blocks blocks = random.Loose();
    const SampleRange range = RandomRange(&random, blocks);
    const Output output = WalkBackward(blocks, range);
    ASSERT_EQ(static_cast<int64_t>(output.size()), range.Samples());
    for (size_t i = 0; i < output.size(); ++i) {
      const int64_t position = range.end - 1 - static_cast<int64_t>(i);
      ASSERT_TRUE(IsNearItsStamp(output[i], blocks, position)) << "seed " << seed << " at " << i;
      if (i + 1 == output.size()) continue;
      ASSERT_TRUE(IsJoined(output, i, blocks, position)) << "seed " << seed << " at " << i;
    }
  }
}

// Wherever a block says that there is sound, within the tolerance, the output has some.
TEST(SoundTimeline, NeverPutsSilenceInThePlaceOfSound) {
  for (unsigned seed = 0; seed < kSeeds; ++seed) {
    RandomStream random(seed);
    const Blocks blocks = random.Loose();
    const SampleRange range = RandomRange(&random, blocks);
    const Output output = WalkBackward(blocks, range);
    for (const SampleBlock& block : blocks) {
      for (int64_t k = kTolerance; k < block.samples - kTolerance; ++k) {
        const int64_t position = block.start + k;
        if (position < range.first || position >= range.end) continue;
        const auto place = static_cast<size_t>(range.end - 1 - position);
        ASSERT_NE(output[place].block, kSilence) << "seed " << seed << " at " << position;
      }
    }
  }
}

TEST(SoundTimeline, WritesUpToTheCursorButForWhatABlockMayReach) {
  for (unsigned seed = 0; seed < kSeeds; ++seed) {
    RandomStream random(seed);
    const Blocks blocks = random.Loose();
    const SampleRange range = RandomRange(&random, blocks);
    SoundTimeline line(range, kRate);
    int64_t until = std::numeric_limits<int64_t>::max();
    for (int64_t cursor = range.end - kRate; cursor > range.first; cursor -= kRate) {
      Blocks part;
      std::copy_if(blocks.begin(), blocks.end(), std::back_inserter(part),
                   [&](const auto& block) { return block.start >= cursor && block.start < until; });
      until = cursor;
      line.Step(part, cursor);
      ASSERT_LE(line.Edge(), std::max(cursor + kRate + kTolerance, range.first)) << "seed " << seed;
    }
  }
}

}  // namespace
}  // namespace codec
