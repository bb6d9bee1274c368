// SPDX-License-Identifier: MIT
// What is delivered does not depend on how many threads decode: all of it is what one thread gives.
#include <gtest/gtest.h>

#include <algorithm>

#include "codec/ffmpeg/owned.h"
#include "tests/codec/decoder/decoder_reading.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

using test_support::AppendWords;
using test_support::CustomClip;
using test_support::SceneFilter;
using test_support::SweepFilter;

constexpr int kThreads[] = {1, 2, 4, 16};

DecoderOptions With(int threads) {
  DecoderOptions options;
  options.threads = threads;
  return options;
}

std::string Made(const std::string& name, const std::string& rate, const std::string& coding) {
  std::vector<std::string> words = {"-f", "lavfi", "-i", SceneFilter(640, 360, rate),
                                    "-f", "lavfi", "-i", SweepFilter(48000, "stereo")};
  AppendWords(coding, &words);
  return CustomClip(name, words);
}

// A walk leaves out the sound before the packet that brings the picture out of a single thread:
// with two B-frames the second one after the picture's own.
TEST(ThreadCount, DoesNotChangeWhereTheSoundBegins) {
  const std::string usual =
      Made("threads_25.mp4", "25", "-t 8 -c:v libx264 -preset veryfast -g 25 -bf 2 -c:a aac");
  const std::string slow =
      Made("threads_1.mp4", "1", "-t 40 -c:v libx264 -preset veryfast -g 5 -bf 0 -c:a aac");
  const struct {
    std::string path;
    double seconds;
    double latest;  // where the sound may begin at most, by the distance of the pictures
  } walks[] = {{usual, 2, 2 + 4 * 0.04}, {slow, 10, 11.1}};
  for (const auto& walk : walks) {
    double expected = -1;
    for (const int threads : kThreads) {
      DecoderReader reader(walk.path, With(threads));
      ASSERT_EQ(reader.Decoder().Seek(walk.seconds, 3), 0);
      ReadFrame frame;
      ASSERT_TRUE(reader.ReceiveType(kAudioFrame, &frame));
      if (threads == 1) expected = frame.pts;
      EXPECT_EQ(frame.pts, expected) << threads << " threads";
      EXPECT_LT(frame.pts, walk.latest) << threads << " threads";
    }
  }
}

TEST(ThreadCount, DoesNotChangeTheOrderOfFrames) {
  const std::string path =
      Made("threads_25.mp4", "25", "-t 8 -c:v libx264 -preset veryfast -g 25 -bf 2 -c:a aac");
  std::vector<std::pair<uint32_t, double>> expected;
  for (const int threads : kThreads) {
    DecoderReader reader(path, With(threads));
    std::vector<std::pair<uint32_t, double>> seen;
    for (const double from : {6.5, 3.2}) {
      reader.Decoder().Seek(from, 3);
      ReadFrame frame;
      while (reader.Receive(&frame)) seen.emplace_back(frame.type, frame.pts);
    }
    if (threads == 1) expected = seen;
    EXPECT_TRUE(test_support::SameItems(seen, expected)) << threads << " threads";
  }
  EXPECT_GT(expected.size(), 300U);
}

TEST(ThreadCount, DoesNotChangeThePictureThatAnExactSeekNames) {
  const std::string path =
      Made("threads_exact.mp4", "25", "-t 5 -c:v libx264 -preset ultrafast -g 5 -bf 0 -c:a aac");
  for (const int threads : kThreads) {
    DecoderReader reader(path, With(threads));
    ASSERT_EQ(reader.Decoder().Seek(2.9, 2), 0);
    ReadFrame frame;
    ASSERT_TRUE(reader.Decode(&frame));
    EXPECT_NEAR(frame.pts, 2.92, 1e-6);
    EXPECT_EQ(reader.Number(frame), 73) << threads << " threads";
    // And what comes then, up to the end of the sound.
    int number = 74;
    while (reader.Decode(&frame)) {
      if (frame.type != kVideoFrame) continue;
      EXPECT_EQ(reader.Number(frame), number++) << threads << " threads";
    }
    EXPECT_EQ(number, 125) << threads << " threads";
  }
}

// Two packets of the last ones are zeros, which is an error of each thread that meets one.
TEST(ThreadCount, DoesNotEndAtDamageWhileDraining) {
  const std::string path = CustomClip(
      "threads_prores.mov", {"-f", "lavfi", "-i", SceneFilter(640, 360, "25"), "-t", "3", "-c:v",
                             "prores_ks", "-profile:v", "0", "-pix_fmt", "yuv422p10le"});
  std::string bytes = FileBytes(path);
  AVFormatContext* opened = nullptr;
  ASSERT_EQ(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0);
  const ffmpeg::UniqueInput input(opened);
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  for (int number = 0; av_read_frame(input.get(), packet.get()) >= 0; ++number) {
    const ffmpeg::PacketGuard guard(packet.get());
    const auto size = static_cast<size_t>(packet->size);
    if (number == 70 || number == 71) {
      bytes.replace(static_cast<size_t>(packet->pos), size, size, '\0');
    }
  }
  const std::string damaged = ScratchFile("threads_damaged.mov", bytes);
  for (const int threads : kThreads) {
    DecoderReader reader(damaged, With(threads));
    EXPECT_EQ(reader.ReceiveAll(kVideoFrame).size(), 73U) << threads << " threads";
  }
}

TEST(FailedSeek, LeavesNothingToReadWithoutSound) {
  const std::string path =
      CustomClip("failed_seek.mp4", {"-f", "lavfi", "-i", SceneFilter(640, 360, "25"), "-t", "8",
                                     "-c:v", "libx264", "-preset", "veryfast", "-g", "25"});
  DecoderReader reader(path);
  ReadFrame frame;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(reader.Decoder().Seek(7.99, 3), -1);
    EXPECT_FALSE(reader.Receive(&frame));
    EXPECT_FALSE(reader.Decode(&frame));
    EXPECT_EQ(reader.Decoder().Seek(1, 3), 0);
    ASSERT_TRUE(reader.Receive(&frame));
    EXPECT_EQ(reader.Number(frame), 26);
  }
}

// Cut without encoding, such a clip begins with pictures that are only decoded.
TEST(CutClip, GivesEveryPictureThatIsShown) {
  const std::string base = CustomClip("cut_base.mp4", {"-f",
                                                       "lavfi",
                                                       "-i",
                                                       SceneFilter(640, 360, "25"),
                                                       "-f",
                                                       "lavfi",
                                                       "-i",
                                                       SweepFilter(48000, "stereo"),
                                                       "-t",
                                                       "5",
                                                       "-c:v",
                                                       "libx264",
                                                       "-preset",
                                                       "veryfast",
                                                       "-g",
                                                       "50",
                                                       "-sc_threshold",
                                                       "0",
                                                       "-bf",
                                                       "2",
                                                       "-c:a",
                                                       "aac"});
  for (const char* from : {"1.3", "3.1"}) {
    const std::string path =
        CustomClip("cut_" + std::string(from) + ".mp4", {"-ss", from, "-i", base, "-c", "copy"});
    const size_t shown = PictureTimes(path).size();
    for (const int threads : kThreads) {
      DecoderReader reader(path, With(threads));
      ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
      const std::vector<ReadFrame> pictures = reader.ReceiveAll(kVideoFrame);
      EXPECT_EQ(pictures.size(), shown) << from << ", " << threads << " threads";
      ASSERT_FALSE(pictures.empty());
      EXPECT_NEAR(pictures.front().pts, 0, 1e-6);
      EXPECT_NEAR(reader.Number(pictures.front()), std::stod(from) * 25, 1);
    }
  }
}

}  // namespace
}  // namespace codec
