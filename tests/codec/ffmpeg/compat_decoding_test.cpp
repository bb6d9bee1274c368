// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/compat_decoding.h"
#include "tests/support/clips.h"
#include "tests/support/media_reading.h"

namespace codec::ffmpeg {
namespace {

using test_support::Clip;
using test_support::ClipKind;

// The packets of one kind of stream of a file, with a decoder for them.
class Source {
 public:
  Source(const std::string& path, AVMediaType type) {
    AVFormatContext* input = nullptr;
    EXPECT_GE(avformat_open_input(&input, path.c_str(), nullptr, nullptr), 0);
    mInput.reset(input);
    EXPECT_GE(avformat_find_stream_info(input, nullptr), 0);
    const int index = av_find_best_stream(input, type, -1, -1, nullptr, 0);
    EXPECT_GE(index, 0);
    mStream = input->streams[index];
    UniquePacket packet(av_packet_alloc());
    while (av_read_frame(input, packet.get()) >= 0) {
      const PacketGuard guard(packet.get());
      if (packet->stream_index == index) packets.emplace_back(av_packet_clone(packet.get()));
    }
  }

  const AVStream* Stream() const { return mStream; }
  const AVCodec* Codec() const { return avcodec_find_decoder(mStream->codecpar->codec_id); }
  UniqueCodecContext OpenDecoder() const {
    UniqueCodecContext context = NewDecoder(mStream, Codec());
    EXPECT_GE(avcodec_open2(context.get(), Codec(), nullptr), 0);
    return context;
  }

  std::vector<UniquePacket> packets;

 private:
  UniqueInput mInput;
  const AVStream* mStream = nullptr;
};

// A decoder driven packet by packet.
class Driver {
 public:
  explicit Driver(const Source& source) : mContext(source.OpenDecoder()) {}
  // Returns what DecodeOne returns; `got` and `frame` hold the rest.
  int Feed(AVPacket* packet) {
    av_frame_unref(frame.get());
    return DecodeOne(mContext.get(), frame.get(), mSpare.get(), &got, packet);
  }
  int Drain() {
    const UniquePacket empty(av_packet_alloc());
    return Feed(empty.get());
  }
  // The first plane of the frame.
  std::vector<uint8_t> Bytes() const {
    const bool isPicture = frame->height > 0;
    const size_t size =
        isPicture ? static_cast<size_t>(frame->linesize[0]) * static_cast<size_t>(frame->height)
                  : static_cast<size_t>(frame->nb_samples) *
                        static_cast<size_t>(
                            av_get_bytes_per_sample(static_cast<AVSampleFormat>(frame->format)));
    return {frame->data[0], frame->data[0] + size};
  }

  int got = -1;
  UniqueFrame frame{av_frame_alloc()};

 private:
  UniqueCodecContext mContext;
  UniqueFrame mSpare{av_frame_alloc()};
};

TEST(NewDecoder, CarriesTheStreamsParametersAndIsNotOpen) {
  const Source source(Clip(ClipKind::kH264Short), AVMEDIA_TYPE_VIDEO);
  const UniqueCodecContext context = NewDecoder(source.Stream(), source.Codec());
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(context->width, 640);
  EXPECT_EQ(context->height, 360);
  EXPECT_EQ(avcodec_is_open(context.get()), 0);
  EXPECT_EQ(context->pkt_timebase.num, 0);
}

TEST(NewDecoder, CarriesTheChannels) {
  const Source source(Clip(ClipKind::kSurround), AVMEDIA_TYPE_AUDIO);
  const UniqueCodecContext context = NewDecoder(source.Stream(), source.Codec());
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(Channels(context.get()), 6);
  EXPECT_EQ(ChannelMask(context.get()), DefaultChannelMask(6));
}

TEST(DecodeOne, GivesEveryPictureOnceInOrderWhenDrained) {
  const std::string path = Clip(ClipKind::kH264);
  const Source source(path, AVMEDIA_TYPE_VIDEO);
  std::vector<int64_t> expected;
  for (const UniquePacket& packet : source.packets) expected.push_back(packet->pts);
  std::sort(expected.begin(), expected.end());
  Driver driver(source);
  std::vector<int64_t> stamps;
  for (const UniquePacket& packet : source.packets) {
    ASSERT_EQ(driver.Feed(packet.get()), packet->size);
    if (driver.got != 0) stamps.push_back(driver.frame->pts);
  }
  EXPECT_LT(stamps.size(), expected.size()) << "the clip was to have delayed pictures";
  while (driver.Drain() == 0 && driver.got != 0) stamps.push_back(driver.frame->pts);
  EXPECT_EQ(stamps, expected);
  EXPECT_EQ(stamps.size(), test_support::VideoTimes(path).size());
}

TEST(DecodeOne, GoesOnGivingNothingWhenEverythingIsDrained) {
  const Source source(Clip(ClipKind::kH264Short), AVMEDIA_TYPE_VIDEO);
  Driver driver(source);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(driver.Drain(), 0);
    EXPECT_EQ(driver.got, 0);
  }
}

TEST(DecodeOne, ReportsAPacketItCannotRead) {
  const Source source(Clip(ClipKind::kMpeg4Avi), AVMEDIA_TYPE_AUDIO);
  Driver driver(source);
  const UniquePacket noise(av_packet_alloc());
  ASSERT_GE(av_new_packet(noise.get(), 100), 0);
  std::memset(noise->data, 0x55, 100);
  EXPECT_LT(driver.Feed(noise.get()), 0);
  EXPECT_EQ(driver.got, 0);
  // The next good packets are decoded all the same.
  int frames = 0;
  for (size_t i = 0; i < 5; ++i) {
    driver.Feed(source.packets[i].get());
    frames += driver.got;
  }
  EXPECT_GE(frames, 4);
}

TEST(DecodeOne, KeepsTheLastOfSeveralAudioFrames) {
  const Source source(
      test_support::CustomClip(
          "several.mp2", {"-f", "lavfi", "-i", test_support::SweepFilter(48000, "stereo"), "-t",
                          "0.5", "-c:a", "mp2"}),
      AVMEDIA_TYPE_AUDIO);
  ASSERT_GE(source.packets.size(), 2U);
  Driver separate(source);
  ASSERT_GT(separate.Feed(source.packets[0].get()), 0);
  const std::vector<uint8_t> first = separate.Bytes();
  ASSERT_GT(separate.Feed(source.packets[1].get()), 0);
  const std::vector<uint8_t> second = separate.Bytes();
  ASSERT_NE(first, second);

  const UniquePacket both(av_packet_clone(source.packets[0].get()));
  const int firstSize = both->size;
  const AVPacket* next = source.packets[1].get();
  ASSERT_GE(av_grow_packet(both.get(), next->size), 0);
  std::memcpy(both->data + firstSize, next->data, static_cast<size_t>(next->size));
  Driver driver(source);
  EXPECT_EQ(driver.Feed(both.get()), firstSize + next->size);
  ASSERT_EQ(driver.got, 1);
  EXPECT_EQ(driver.Bytes(), second);
}

TEST(DecodeOne, KeepsTheFirstOfSeveralPictures) {
  const Source source(Clip(ClipKind::kVp9), AVMEDIA_TYPE_VIDEO);
  Driver separate(source);
  std::vector<std::vector<uint8_t>> pictures;
  for (size_t i = 0; i < 3; ++i) {
    ASSERT_GT(separate.Feed(source.packets[i].get()), 0);
    ASSERT_EQ(separate.got, 1);
    pictures.push_back(separate.Bytes());
  }
  ASSERT_NE(pictures[0], pictures[1]);

  // A superframe of the first two: their bytes, then an index with both sizes in four bytes each.
  const AVPacket* first = source.packets[0].get();
  const AVPacket* second = source.packets[1].get();
  const UniquePacket both(av_packet_clone(first));
  ASSERT_GE(av_grow_packet(both.get(), second->size + 10), 0);
  uint8_t* write = both->data + first->size;
  std::memcpy(write, second->data, static_cast<size_t>(second->size));
  write += second->size;
  constexpr uint8_t kMarker = 0xc0 | 3 << 3 | 1;
  *write++ = kMarker;
  for (const int size : {first->size, second->size}) {
    for (int shift = 0; shift < 32; shift += 8) *write++ = static_cast<uint8_t>(size >> shift);
  }
  *write = kMarker;

  Driver driver(source);
  EXPECT_EQ(driver.Feed(both.get()), both->size);
  ASSERT_EQ(driver.got, 1);
  EXPECT_EQ(driver.Bytes(), pictures[0]);
  // The second was decoded too: the third builds on it.
  ASSERT_GT(driver.Feed(source.packets[2].get()), 0);
  EXPECT_EQ(driver.Bytes(), pictures[2]);
}

TEST(FramePacketSize, IsThatOfThePacketWithTheSameStamp) {
  const Source source(Clip(ClipKind::kH264), AVMEDIA_TYPE_VIDEO);
  std::map<int64_t, int> sizes;
  for (const UniquePacket& packet : source.packets) sizes[packet->pts] = packet->size;
  Driver driver(source);
  int frames = 0;
  for (const UniquePacket& packet : source.packets) {
    driver.Feed(packet.get());
    if (driver.got == 0) continue;
    EXPECT_EQ(FramePacketSize(driver.frame.get()), sizes.at(driver.frame->pts));
    ++frames;
  }
  EXPECT_GT(frames, 100);
}

TEST(TicksPerFrame, IsTwoForFieldCodedCodecs) {
  for (const AVCodecID id : {AV_CODEC_ID_H264, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_VC1}) {
    EXPECT_EQ(TicksPerFrame(id), 2);
  }
  for (const AVCodecID id : {AV_CODEC_ID_HEVC, AV_CODEC_ID_VP9, AV_CODEC_ID_MPEG4,
                             AV_CODEC_ID_MJPEG, AV_CODEC_ID_AAC, AV_CODEC_ID_NONE}) {
    EXPECT_EQ(TicksPerFrame(id), 1);
  }
}

void ExpectRates(ClipKind kind, AVRational codecTimeBase, AVRational realBaseRate) {
  const Source source(Clip(kind), AVMEDIA_TYPE_VIDEO);
  EXPECT_EQ(av_cmp_q(CodecTimeBase(source.Stream()), codecTimeBase), 0);
  EXPECT_EQ(av_cmp_q(RealBaseRate(source.Stream()), realBaseRate), 0);
}

TEST(Rates, CountTwoTicksForEachH264Picture) {
  ExpectRates(ClipKind::kH264Short, {1, 50}, {25, 1});
  ExpectRates(ClipKind::kNtsc, {1001, 60000}, {30000, 1001});
  ExpectRates(ClipKind::kSixtyFps, {1, 120}, {60, 1});
}

TEST(Rates, CountOneTickForEachPictureOfOtherCodecs) {
  ExpectRates(ClipKind::kVp9, {1, 30}, {30, 1});
  ExpectRates(ClipKind::kHevc10, {1, 25}, {25, 1});
  ExpectRates(ClipKind::kMpeg4Avi, {1, 25}, {25, 1});
}

}  // namespace
}  // namespace codec::ffmpeg
