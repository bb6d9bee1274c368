// SPDX-License-Identifier: MIT
// What makes a run faster must not be seen in what it writes: the packets are the same, bit for
// bit, however much is replayed, and whether steps overlap and sound is encoded beside the pictures
// or not.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "codec/ffmpeg/owned.h"
#include "codec/writer/media_writer_factory.h"
#include "reverse/output_description.h"
#include "reverse/reverse_loop.h"
#include "tests/faults/no_threads.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;

struct Ways {
  int64_t replayBudget;
  bool overlap;
  bool soundBeside;
};

// Stream, presentation and decoding stamp, bytes.
using Packet = std::tuple<int, int64_t, int64_t, std::string>;

std::vector<Packet> PacketsOf(const std::string& path) {
  AVFormatContext* context = nullptr;
  EXPECT_EQ(avformat_open_input(&context, path.c_str(), nullptr, nullptr), 0);
  std::vector<Packet> packets;
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  while (context != nullptr && av_read_frame(context, packet.get()) == 0) {
    packets.emplace_back(packet->stream_index, packet->pts, packet->dts,
                         std::string(reinterpret_cast<const char*>(packet->data),
                                     static_cast<size_t>(packet->size)));
    av_packet_unref(packet.get());
  }
  avformat_close_input(&context);
  return packets;
}

// The tool's own job, with a fixed number of threads in decoder and encoder: rate control over
// several slices at once is not the same twice.
std::vector<Packet> ReversedPackets(const std::string& clip, const Ways& ways) {
  const std::string output = test_support::ScratchPath("identical.mp4");
  DecoderOptions options;
  options.threads = 2;
  options.replayBudget = ways.replayBudget;
  FFmpegDecoderImpl2 decoder(clip.c_str(), options);
  EXPECT_EQ(decoder.Init(), 0);
  MediaInfo info;
  decoder.GetMediaInfo(info);
  MediaFormat format;
  EXPECT_EQ(DescribeOutput(info, info.has_audio != 0, output, format), 0);
  format.SetInt32("thread-count", 1);
  const std::unique_ptr<MediaWriter> writer(MakeMediaWriter(format));
  if (writer == nullptr || writer->Start() != 0) return {};
  ReverseRange range;
  range.end = info.duration;
  range.hasAudio = info.has_audio != 0;
  range.channels = info.channels;
  range.sampleFormat = info.sample_format;
  range.bufferSize = std::max(decoder.GetFrameBufferSize(), decoder.GetAudioBufferSize());
  range.overlap = ways.overlap;
  {
    std::optional<test_support::NoThreads> none;
    if (!ways.soundBeside) none.emplace();
    ReverseLoop loop(&decoder, writer.get(), range);
    while (loop.Step() == 0) {
    }
  }
  writer->Stop();
  EXPECT_EQ(writer->OutputError(), 0);
  return PacketsOf(output);
}

class IdenticalOutput : public testing::TestWithParam<ClipKind> {};

TEST_P(IdenticalOutput, WhateverMakesItFaster) {
  constexpr int64_t kAll = std::numeric_limits<int64_t>::max();
  // Pictures of 640x360 take some 350,000 bytes, of 10 bit twice as much.
  constexpr int64_t kOnePicture = 800000;
  constexpr int64_t kPartOfAGroup = 12 * kOnePicture;
  const std::string clip = Clip(GetParam());
  const std::vector<Packet> plain = ReversedPackets(clip, {0, false, false});
  ASSERT_FALSE(plain.empty());
  for (const Ways& ways :
       {Ways{0, true, true}, Ways{kOnePicture, true, true}, Ways{kPartOfAGroup, true, true},
        Ways{kAll, true, true}, Ways{kAll, false, false}}) {
    const std::vector<Packet> packets = ReversedPackets(clip, ways);
    ASSERT_EQ(packets.size(), plain.size());
    for (size_t i = 0; i < packets.size(); ++i) {
      ASSERT_TRUE(packets[i] == plain[i])
          << "packet " << i << ", budget " << ways.replayBudget << ", overlap " << ways.overlap;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AllKinds, IdenticalOutput,
                         testing::ValuesIn(test_support::VideoClipKinds()),
                         [](const testing::TestParamInfo<ClipKind>& kind) {
                           return test_support::ClipName(kind.param);
                         });

}  // namespace
}  // namespace codec
