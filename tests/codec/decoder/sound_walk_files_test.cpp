// SPDX-License-Identifier: MIT
// What the order of packets in a file, and what a file lacks, mean to a walk.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "codec/decoder/sound_walk.h"
#include "codec/ffmpeg/owned.h"
#include "tests/codec/decoder/linear_sound.h"
#include "tests/codec/decoder/sound_clips.h"
#include "tests/faults/faults.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using test_support::Fault;
using test_support::FaultCall;

constexpr int kLongSeconds = 60;

// A minute with key frames every ten seconds; its sound as these words of ffmpeg cut it.
std::string LongClip(const std::string& name, const std::string& words) {
  std::vector<std::string> command;
  const std::string seconds = std::to_string(kLongSeconds);
  test_support::AppendWords("-f lavfi -i color=size=32x32:rate=10:duration=" + seconds, &command);
  command.insert(command.end(),
                 {"-f", "lavfi", "-i", test_support::SweepFilter(22050, "mono") + ":d=" + seconds});
  test_support::AppendWords("-c:v mpeg4 -g 100 -c:a libmp3lame -b:a 32k " + words, &command);
  return test_support::CustomClip(name, command);
}

struct Walked {
  int steps = 0;
  size_t blocks = 0;  // that begin in their step
};

// What an encoder needs to begin with lies before zero in Matroska of FFmpeg 7 and later.
Walked WalkAll(SoundWalk* walk, double end) {
  constexpr double kFirstSecond = -1;
  Walked walked;
  SoundStretch stretch;
  for (double second = std::ceil(end); second >= kFirstSecond; --second) {
    EXPECT_EQ(walk->Read(second, second + 1, &stretch), 0);
    ++walked.steps;
    for (const StretchBlock& block : stretch.blocks) walked.blocks += block.time >= second ? 1 : 0;
  }
  return walked;
}

struct LongFile {
  const char* name;
  const char* words;
  double preroll = 1;  // seconds

  friend void PrintTo(const LongFile& file, std::ostream* out) { *out << file.name; }
};

class SoundWalkCostTest : public testing::TestWithParam<LongFile> {};

// A step costs its second, the pre-roll, half a second beyond and a few packets. A pause, or what
// is before or after the sound, costs nothing.
TEST_P(SoundWalkCostTest, DecodesLittleMoreForAStepThanTheStep) {
  const std::string path = LongClip(GetParam().name, GetParam().words);
  const LinearSound linear = DecodeLinearly(path);
  SoundWalk walk;
  ASSERT_EQ(walk.Open(path, linear.stream), 0);
  walk.SetZero(0);
  const Walked walked = WalkAll(&walk, kLongSeconds + 3);
  EXPECT_EQ(walked.blocks, linear.blocks.size());
  const double packets = linear.packets;
  EXPECT_LE(walk.PacketsDecoded(), packets * (GetParam().preroll + 2) + 200);
  // Once in ten seconds the place to land is ten seconds away.
  EXPECT_LE(walk.PacketsRead(), packets * (GetParam().preroll + 3.5) + 500);
  EXPECT_LE(walk.Seeks(), walked.steps + 30);
  EXPECT_EQ(walk.Opens(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Files, SoundWalkCostTest,
    testing::Values(LongFile{"sound_long.mp4", ""}, LongFile{"sound_long.mkv", ""},
                    LongFile{"sound_long_live.mkv", "-live 1"},
                    LongFile{"sound_long.ts", "-c:v mpeg2video -r 25"},
                    LongFile{"sound_long.avi", ""}, LongFile{"sound_long.flv", "-c:v flv1"},
                    LongFile{"sound_long_fragmented.mp4", "-movflags +frag_keyframe+empty_moov"},
                    LongFile{"sound_long_short.mkv", "-af atrim=0:5"},
                    LongFile{"sound_long_late.mkv", "-af atrim=50"},
                    LongFile{"sound_long_pause.mkv", "-af aselect='not(between(t,5,55))'"},
                    LongFile{"sound_long_speex.mkv", "-c:a libspeex -ar 16000", 2.4}),
    [](const auto& file) { return TestNameOf(file.param.name); });

// Bytes that this process has read so far.
int64_t BytesRead() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  int64_t bytes = 0;
  counters >> name >> bytes;
  return bytes;
}

TEST(SoundWalkFiles, TheEndIsReachedWithoutReadingAllBeforeIt) {
  for (const char* const name : {"sound_large.mov", "sound_large.mkv", "sound_large.avi"}) {
    const std::string path = LongClip(name, "-c:a pcm_s16le -ac 2 -ar 48000");
    const int64_t before = BytesRead();
    SoundWalk walk;
    ASSERT_EQ(walk.Open(path, 1), 0);
    SoundStretch stretch;
    ASSERT_EQ(walk.Read(kLongSeconds - 1, kLongSeconds, &stretch), 0);
    EXPECT_FALSE(stretch.blocks.empty());
    ASSERT_EQ(walk.Read(kLongSeconds - 2, kLongSeconds - 1, &stretch), 0);
    EXPECT_FALSE(stretch.blocks.empty());
    const auto size = static_cast<int64_t>(std::filesystem::file_size(path));
    EXPECT_LT(BytesRead() - before, size / 2) << name;
  }
}

// Copies a file's packets, those of the pictures first.
std::string WithSoundLast(const std::string& path) {
  AVFormatContext* opened = nullptr;
  avformat_open_input(&opened, path.c_str(), nullptr, nullptr);
  const ffmpeg::UniqueInput input(opened);
  avformat_find_stream_info(opened, nullptr);
  const std::string copy = test_support::ScratchPath("sound_last.mp4");
  AVFormatContext* made = nullptr;
  avformat_alloc_output_context2(&made, nullptr, nullptr, copy.c_str());
  const ffmpeg::UniqueOutput output(made);
  for (unsigned i = 0; i < opened->nb_streams; ++i) {
    AVStream* const stream = avformat_new_stream(made, nullptr);
    avcodec_parameters_copy(stream->codecpar, opened->streams[i]->codecpar);
    stream->time_base = opened->streams[i]->time_base;
    stream->codecpar->codec_tag = 0;
  }
  avio_open(&made->pb, copy.c_str(), AVIO_FLAG_WRITE);
  EXPECT_GE(avformat_write_header(made, nullptr), 0);
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  for (const AVMediaType type : {AVMEDIA_TYPE_VIDEO, AVMEDIA_TYPE_AUDIO}) {
    av_seek_frame(opened, -1, -AV_TIME_BASE, AVSEEK_FLAG_BACKWARD);
    while (av_read_frame(opened, packet.get()) >= 0) {
      const ffmpeg::PacketGuard guard(packet.get());
      const AVStream* const from = opened->streams[packet->stream_index];
      if (from->codecpar->codec_type != type) continue;
      av_packet_rescale_ts(packet.get(), from->time_base,
                           made->streams[packet->stream_index]->time_base);
      EXPECT_GE(av_write_frame(made, packet.get()), 0);
    }
  }
  av_write_trailer(made);
  return copy;
}

void ExpectLinear(const std::string& path, double step) {
  const LinearSound linear = DecodeLinearly(path);
  ASSERT_FALSE(linear.blocks.empty());
  SoundWalk walk;
  ASSERT_EQ(walk.Open(path, linear.stream), 0);
  const double zero = linear.blocks.front().time;
  walk.SetZero(zero);
  SoundStretch stretch;
  const double end = linear.blocks.back().time - zero;
  for (double from = std::ceil(end); from > -step; from -= step) {
    ASSERT_EQ(walk.Read(from, from + step, &stretch), 0);
    size_t next = 0;
    for (const LinearBlock& block : linear.blocks) {
      const double time = block.time - zero;
      if (time >= from + step || time + block.length <= from) continue;
      ASSERT_LT(next, stretch.blocks.size()) << from;
      ASSERT_NEAR(stretch.blocks[next].time, time, 1e-9);
      ASSERT_EQ(stretch.blocks[next].samples, block.samples);
      ASSERT_LT(LargestDifference(stretch.Of(stretch.blocks[next]),
                                  linear.samples.data() + block.offset, block.samples, 1024),
                -60)
          << time;
      ++next;
    }
    ASSERT_EQ(stretch.blocks.size(), next) << from;
  }
}

TEST(SoundWalkFiles, SoundMayLieAfterAllPictures) {
  ExpectLinear(WithSoundLast(LongClip("sound_long.mp4", "")), 4);
}

TEST(SoundWalkFiles, StampsMayGoBackAndForth) {
  const std::string start = LongClip("sound_part.ts", "-t 8 -c:v mpeg2video -r 25");
  for (const char* const offset : {"7.7", "50"}) {
    const std::string rest =
        LongClip(std::string("sound_part_at_") + offset + ".ts",
                 std::string("-t 8 -c:v mpeg2video -r 25 -output_ts_offset ") + offset);
    const std::string both = test_support::ScratchPath("sound_put_together.ts");
    std::ofstream(both, std::ios::binary) << std::ifstream(start, std::ios::binary).rdbuf()
                                          << std::ifstream(rest, std::ios::binary).rdbuf();
    ExpectLinear(both, 1);
  }
}

// Clicks make short blocks, and FFmpeg tells another length of the first one than it has samples.
// All is read from the start: after a seek FFmpeg tells other stamps of such sound.
TEST(SoundWalkFiles, BlocksMayBeOfTwoLengths) {
  ExpectLinear(test_support::CustomClip(
                   "sound_clicks.ogg",
                   {"-f", "lavfi", "-i", "aevalsrc='lt(mod(t,1),0.02)*sin(5000*t)':s=44100:d=12",
                    "-c:a", "libvorbis"}),
               20);
}

TEST(SoundWalkFiles, EditListsTrimAsInALinearDecode) {
  const std::string whole = LongClip("sound_long.mp4", "");
  for (const char* const from : {"10.3", "0.013"}) {
    const std::string name = std::string("sound_edited_") + from + ".mp4";
    ExpectLinear(
        test_support::CustomClip(name, {"-ss", from, "-i", whole, "-t", "5", "-c", "copy"}), 1);
  }
}

TEST(SoundWalkFiles, SoundAloneServes) {
  ExpectLinear(LongClip("sound_alone.mp3", "-vn -t 5"), 1);
  ExpectLinear(LongClip("sound_alone.m4a", "-vn -t 5 -c:a aac -aac_pns 0"), 1);
}

TEST(SoundWalkFiles, WhatCannotBeReadIsRefused) {
  const std::string path = LongClip("sound_long.mp4", "");
  EXPECT_EQ(SoundWalk().Open(path + ".nowhere", 1), -1);
  EXPECT_EQ(SoundWalk().Open(path, -1), -1);
  EXPECT_EQ(SoundWalk().Open(path, 0), -1) << "pictures";
  EXPECT_EQ(SoundWalk().Open(path, 2), -1);
}

TEST(SoundWalkFiles, WantOfMemoryIsTold) {
  const std::string path = LongClip("sound_long.mp4", "");
  for (const FaultCall call : {FaultCall::av_frame_alloc, FaultCall::av_packet_alloc,
                               FaultCall::av_packet_clone, FaultCall::avcodec_open2}) {
    const Fault fault(call);
    SoundWalk walk;
    EXPECT_EQ(walk.Open(path, 1), -1);
    EXPECT_EQ(walk.Failure(), AVERROR(ENOMEM)) << test_support::FaultCallName(call);
  }
  for (const FaultCall call :
       {FaultCall::av_packet_alloc, FaultCall::avcodec_open2, FaultCall::avcodec_send_packet,
        FaultCall::avcodec_receive_frame, FaultCall::av_read_frame, FaultCall::swr_convert}) {
    SoundWalk walk;
    ASSERT_EQ(walk.Open(path, 1), 0);
    const Fault fault(call);
    SoundStretch stretch;
    const int result = walk.Read(10, 11, &stretch);
    EXPECT_EQ(walk.Failure(), AVERROR(ENOMEM)) << test_support::FaultCallName(call);
    if (call == FaultCall::avcodec_open2) {
      EXPECT_EQ(result, -1);
    }
  }
}

}  // namespace
}  // namespace codec
