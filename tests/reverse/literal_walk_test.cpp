// SPDX-License-Identifier: MIT
// The reader of the backward walk gives what a literal walk gives, whatever the reader remembers
// and however many threads decode.
//
// What may differ, and why:
//  1. Steps without a frame do not count. After some of them the reader takes longer steps, as a
//     clip whose stamps jump would keep it busy for hours.
//  2. Where a demuxer lands in the middle of a group, the literal walk begins at the start of the
//     clip (`Landing`). The reader goes back further until no picture is lost. A test below makes
//     sure that the clip needs it.
//  3. After single seeks, the bytes of the first blocks of MP3 do not count. They lean on packets
//     before them, and after the last picture the literal walk has read all of these.
//  4. After a seek past the last picture, the sound of the Ogg clip does not count. FFmpeg lands on
//     the last page and stamps the sound on it up to a second late.
//  5. What is marked "Better" in literal_decoder.cpp.
#include "tests/reverse/literal_walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "reverse/segment_reader.h"
#include "tests/codec/decoder/decoder_reading.h"
#include "tests/reverse/walk_clips.h"
#include "tests/reverse/walk_difference.h"

namespace codec {
namespace {

// Parts of a clip of this many seconds.
struct NamedRange {
  const char* name;
  WalkedRange (*of)(double seconds);
};

const NamedRange kRanges[] = {
    {"Whole",
     [](double) {
       return WalkedRange{0, 0};
     }},
    {"WholeSeconds",
     [](double seconds) {
       return WalkedRange{std::floor(seconds / 3), std::floor(seconds * 5 / 6)};
     }},
    {"Fractions",
     [](double seconds) {
       return WalkedRange{seconds * 0.21, seconds * 0.83};
     }},
    {"PartOfASecond",
     [](double seconds) {
       return WalkedRange{seconds / 2 + 0.13, seconds / 2 + 0.83};
     }},
    {"LastPart",
     [](double seconds) {
       return WalkedRange{seconds * 0.7 + 0.05, 0};
     }},
};
void PrintTo(const NamedRange& range, std::ostream* out) { *out << range.name; }

Steps WalkByReader(const std::string& path, const WalkedRange& asked,
                   const DecoderOptions& options) {
  FFmpegDecoderImpl2 decoder(path.c_str(), options);
  if (decoder.Init() != 0) return {};
  MediaInfo info;
  decoder.GetMediaInfo(info);
  const auto [start, end] = asked.In(info.duration);
  ReverseRange range;
  range.start = start;
  range.end = end;
  range.hasAudio = info.has_audio != 0;
  range.bufferSize = std::max(decoder.GetFrameBufferSize(), decoder.GetAudioBufferSize());
  FrameStock stock(range.bufferSize);
  SegmentReader reader(&decoder, &stock, range);
  Steps steps;
  while (reader.HasMore()) {
    Segment segment = reader.Next();
    WalkedStep step;
    step.cursor = segment.cursor;
    while (!segment.frames.empty()) {
      std::unique_ptr<FrameBuffer> frame = std::move(segment.frames.back());
      segment.frames.pop_back();
      if (range.Holds(*frame)) {
        const auto bytes = frame->type == kVideoFrame
                               ? static_cast<size_t>(decoder.GetFrameBufferSize())
                               : size_t{frame->size};
        step.frames.push_back(
            {frame->type, frame->size, frame->pts, HashBytes(frame->Data(), bytes)});
      }
      stock.Put(std::move(frame));
    }
    steps.push_back(std::move(step));
  }
  return steps;
}

class LiteralWalk : public testing::TestWithParam<std::tuple<WalkClip, NamedRange>> {};

TEST_P(LiteralWalk, IsWhatTheReaderGives) {
  const auto& [clip, part] = GetParam();
  const std::string path = clip.make();
  LiteralDecoder literal(path, clip.landing);
  const WalkedRange range = part.of(literal.Duration());
  const Steps expected = WalkLiterally(&literal, range);

  FFmpegDecoderImpl2 probe(path.c_str());
  ASSERT_EQ(probe.Init(), 0);
  const int64_t picture = probe.GetFrameBufferSize();
  const std::pair<const char*, int64_t> budgets[] = {
      {"of a byte", 1},
      {"of 3 pictures", 3 * picture},
      {"of a group and a half", clip.group * picture * 3 / 2},
      {"without limit", std::numeric_limits<int64_t>::max()}};
  for (const int threads : {1, 2, 5, 16}) {
    for (const auto& [words, budget] : budgets) {
      SCOPED_TRACE(testing::Message() << clip.name << " from " << range.start << " to " << range.end
                                      << ", " << threads << " threads, budget " << words);
      DecoderOptions options;
      options.threads = threads;
      options.replayBudget = budget;
      const Steps seen = WalkByReader(path, range, options);
      EXPECT_EQ(Difference(Filled(expected), Filled(seen)), "");
    }
  }
}

// Seeks and reads of any order, failing seeks and reads at the end among them.
class LiteralSeeks : public testing::TestWithParam<WalkClip> {};

constexpr int kFailed = -1;

struct SeekAndRead {
  double part;   // of the clip's length, where the seek goes
  int pictures;  // read then, and the sound on the way
};
constexpr SeekAndRead kSeeks[] = {{0.999, 3}, {0.2, 1},   {0.999, 1}, {0.5, 30}, {0.35, 4},
                                  {0.36, 50}, {0, 20},    {0.1, 0},   {1.5, 2},  {-1, 2},
                                  {0.6, 9},   {0.6, 999}, {0.3, 60}};

// Makes these calls on a decoder: `seek` gives its result, `read` the next frame unless it fails.
template <typename Seek, typename Read>
Steps Follow(double duration, const Seek& seek, const Read& read) {
  Steps steps;
  for (const SeekAndRead& call : kSeeks) {
    WalkedStep step;
    step.cursor = seek(call.part * duration);
    int pictures = 0;
    WalkedFrame frame;
    while (pictures < call.pictures && read(&frame)) {
      step.frames.push_back(frame);
      pictures += frame.type == kVideoFrame ? 1 : 0;
    }
    steps.push_back(step);
  }
  return steps;
}

TEST_P(LiteralSeeks, GiveWhatTheDecoderGives) {
  const WalkClip& clip = GetParam();
  const std::string path = clip.make();
  LiteralDecoder literal(path, clip.landing);
  const auto seek = [&literal](double seconds) { return literal.Seek(seconds); };
  const auto read = [&literal](WalkedFrame* frame) {
    LiteralFrame next;
    if (literal.Receive(&next) != 0) return false;
    *frame = {next.type, next.size, next.pts, HashBytes(next.bytes.data(), next.bytes.size())};
    return true;
  };
  const auto comparable = [&clip, blocks = literal.UnsettledBlocks()](Steps steps) {
    for (WalkedStep& step : steps) {
      const bool isPastPictures = step.cursor == kFailed;
      if (isPastPictures && clip.lastSound == LastSound::kMisstamped) step.frames.clear();
    }
    return Settled(steps, blocks);
  };
  const Steps expected = Follow(literal.Duration(), seek, read);
  for (const int threads : {1, 2, 16}) {
    for (const int64_t budget : {int64_t{1}, std::numeric_limits<int64_t>::max()}) {
      SCOPED_TRACE(testing::Message()
                   << clip.name << ", " << threads << " threads, budget " << budget);
      DecoderOptions options;
      options.threads = threads;
      options.replayBudget = budget;
      DecoderReader reader(path, options);
      const Steps seen = Follow(
          literal.Duration(),
          [&reader](double seconds) { return reader.Decoder().Seek(seconds, 3); },
          [&reader](WalkedFrame* frame) {
            ReadFrame next;
            if (!reader.Receive(&next)) return false;
            *frame = {next.type, next.size, next.pts,
                      HashBytes(next.bytes.data(), next.bytes.size())};
            return true;
          });
      EXPECT_EQ(Difference(comparable(expected), comparable(seen)), "");
    }
  }
}

// Otherwise the clip would have to be held against the demuxer's own landing.
TEST(LiteralLanding, LosesPicturesWhereItHasToLandElsewhere) {
  for (const WalkClip& clip : WalkClips()) {
    if (clip.landing == Landing::kAsked) continue;
    const std::string path = clip.make();
    const WalkedRange range = {2.4, 3.1};
    const auto pictures = [&](Landing landing) {
      LiteralDecoder decoder(path, landing);
      size_t count = 0;
      for (const WalkedStep& step : Only(kVideoFrame, WalkLiterally(&decoder, range))) {
        count += step.frames.size();
      }
      return count;
    };
    EXPECT_GT(pictures(clip.landing), pictures(Landing::kAsked)) << clip.name;
  }
}

INSTANTIATE_TEST_SUITE_P(All, LiteralWalk,
                         testing::Combine(testing::ValuesIn(WalkClips()),
                                          testing::ValuesIn(kRanges)),
                         [](const auto& parameter) {
                           return std::string(std::get<0>(parameter.param).name) + "_" +
                                  std::get<1>(parameter.param).name;
                         });

INSTANTIATE_TEST_SUITE_P(All, LiteralSeeks, testing::ValuesIn(WalkClips()),
                         [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace codec
