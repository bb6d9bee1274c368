// SPDX-License-Identifier: MIT
// A job's limit decides how it works, and nothing of what it writes.
#include "reverse/job_memory.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <vector>

#include "base/host_limits.h"
#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "reverse/reverse.h"
#include "reverse/reverse_loop.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::LogCapture;
using test_support::ScratchPath;

constexpr int64_t kMegabyte = int64_t{1} << 20;

// One frame as the writer gets it.
struct Handed {
  int type;
  int64_t stamp;
  size_t digest;

  friend bool operator==(const Handed& a, const Handed& b) {
    return a.type == b.type && a.stamp == b.stamp && a.digest == b.digest;
  }
};

class DigestWriter : public MediaWriter {
 public:
  DigestWriter(std::vector<Handed>* frames, int64_t pictureBytes)
      : mFrames(frames), mPictureBytes(pictureBytes) {}

  int Configure(MediaFormat& /*format*/) override { return 0; }
  int Start() override { return 0; }
  void Stop() override {}
  void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) override {
    // With a picture comes the size of the packet that it was in.
    const int64_t bytes = type == static_cast<int>(kVideoFrame) ? mPictureBytes : int64_t{size};
    const std::string_view all(reinterpret_cast<const char*>(data), static_cast<size_t>(bytes));
    mFrames->push_back({type, pts, std::hash<std::string_view>()(all)});
  }
  int64_t GetParameter(const char* /*key*/) override { return 0; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}

 private:
  std::vector<Handed>* const mFrames;
  const int64_t mPictureBytes;
};

// All test clips but those of 10 bits.
int64_t PictureBytes(const MediaInfo& info) { return int64_t{info.width} * info.height * 3 / 2; }

// The tool's own job, up to the encoder.
class DigestJob : public Reverse {
 public:
  using Reverse::Reverse;

  std::vector<Handed> Run() {
    if (Init() != 0 || Start() != 0) return {};
    while (GetProgress() < 100) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    Release();
    return frames;
  }

  std::vector<Handed> frames;

 protected:
  MediaWriter* MakeWriter(MediaFormat& /*format*/) override {
    return new DigestWriter(&frames, PictureBytes(InputInfo()));
  }
};

std::vector<Handed> RunWith(int64_t limit, const std::string& clip, bool isMirror) {
  DigestJob job(clip.c_str(), 0.7, 2.9, ScratchPath("none.mp4").c_str());
  job.SetMemoryLimit(limit);
  job.SetMirror(isMirror);
  return job.Run();
}

int64_t NeedWith(int64_t limit, const std::string& clip) {
  Reverse job(clip.c_str(), 0, 0, ScratchPath("least.mp4").c_str());
  job.SetMemoryLimit(limit);
  job.Init();
  return job.MemoryNeeded();
}

// What a job on this clip needs at least: a guess before the streams have been probed, for which a
// little memory is enough, exact afterwards. Each question leaves the process a little larger, so
// it is asked more than once.
int64_t LeastFor(const std::string& clip) {
  int64_t least = NeedWith(1, clip);
  EXPECT_GT(least, kMegabyte);
  for (int i = 0; i < 4; ++i) {
    least = std::max(least, NeedWith(least - 2 * kMegabyte, clip));
  }
  return least;
}

// The process may run on one processor only, so that every plan has one decoder thread.
class OneProcessor {
 public:
  OneProcessor() {
    sched_getaffinity(0, sizeof(mBefore), &mBefore);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int cpu = 0; CPU_COUNT(&one) == 0; ++cpu) {
      if (CPU_ISSET(cpu, &mBefore)) CPU_SET(cpu, &one);
    }
    sched_setaffinity(0, sizeof(one), &one);
  }
  ~OneProcessor() { sched_setaffinity(0, sizeof(mBefore), &mBefore); }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;

 private:
  cpu_set_t mBefore{};
};

class MemoryLimit : public testing::TestWithParam<std::tuple<ClipKind, bool>> {};

TEST_P(MemoryLimit, LeavesWhatTheEncoderGetsAsItIs) {
  const OneProcessor one;
  const auto& [kind, isMirror] = GetParam();
  const std::string clip = Clip(kind);
  const std::vector<Handed> expected = RunWith(Reverse::kHostMemory, clip, isMirror);
  ASSERT_GT(expected.size(), 40U);
  // The process may have grown between the question and the run. The first holds a picture or a
  // few, the next a part of a second, the last a second.
  const int64_t least = LeastFor(clip) + 2 * kMegabyte;
  for (const int64_t more : {0, 8, 30}) {
    const std::vector<Handed> frames = RunWith(least + more * kMegabyte, clip, isMirror);
    ASSERT_EQ(frames.size(), expected.size()) << more << " MB above the least";
    for (size_t i = 0; i < frames.size(); ++i) {
      ASSERT_TRUE(frames[i] == expected[i])
          << "frame " << i << " of type " << frames[i].type << ", " << more
          << " MB above the least, at " << frames[i].stamp << " and " << expected[i].stamp;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(SomeKinds, MemoryLimit,
                         testing::Combine(testing::Values(ClipKind::kH264, ClipKind::kH264LongGop,
                                                          ClipKind::kTransport, ClipKind::kMpeg4Avi,
                                                          ClipKind::kVp9, ClipKind::kSurround,
                                                          ClipKind::kVariableRate),
                                          testing::Bool()),
                         [](const testing::TestParamInfo<std::tuple<ClipKind, bool>>& test) {
                           return test_support::ClipName(std::get<0>(test.param)) +
                                  (std::get<1>(test.param) ? "_mirrored" : "");
                         });

std::vector<Handed> FramesWith(int threads, int64_t stepBytes, const std::string& clip) {
  DecoderOptions options;
  options.threads = threads;
  options.replayBudget = 0;
  FFmpegDecoderImpl2 decoder(clip.c_str(), options);
  EXPECT_EQ(decoder.Init(), 0);
  std::vector<Handed> frames;
  DigestWriter writer(&frames, decoder.GetFrameBufferSize());
  ReverseRange range;
  range.start = 0.7;
  range.end = 2.9;
  range.hasAudio = true;
  range.channels = 2;
  range.sampleFormat = 3;
  range.bufferSize = std::max(decoder.GetFrameBufferSize(), decoder.GetAudioBufferSize());
  range.stepBytes = stepBytes;
  range.aheadBytes = stepBytes / 2;
  ReverseLoop loop(&decoder, &writer, range);
  while (loop.Step() == 0) {
  }
  return frames;
}

TEST(MemoryLimit, LeavesFramesAsTheyAreWithAnyNumberOfThreads) {
  constexpr int64_t kAll = std::numeric_limits<int64_t>::max() / 2;
  for (const ClipKind kind : {ClipKind::kH264, ClipKind::kHevc10}) {
    const std::string clip = Clip(kind);
    const std::vector<Handed> expected = FramesWith(1, kAll, clip);
    ASSERT_GE(expected.size(), 50U);
    for (const int threads : {1, 2, 16}) {
      for (const int64_t stepBytes : {2 * kMegabyte, kAll}) {
        EXPECT_TRUE(test_support::SameItems(FramesWith(threads, stepBytes, clip), expected))
            << test_support::ClipName(kind) << ", threads " << threads << ", step " << stepBytes;
      }
    }
  }
}

TEST(MemoryLimit, IsOffByDefault) {
  const LogCapture log;
  DigestJob job(Clip(ClipKind::kH264Short).c_str(), 0, 0, ScratchPath("off.mp4").c_str());
  EXPECT_FALSE(job.Run().empty());
  EXPECT_EQ(log.CountContaining(kLogVerbose, "codec::Reverse", "memory limit"), 0);
}

TEST(MemoryLimit, RefusesWhatCannotFitAndSaysHowMuchItNeeds) {
  const std::string clip = Clip(ClipKind::kH264Short);
  const std::string output = ScratchPath("no_room.mp4");
  const LogCapture log;
  Reverse job(clip.c_str(), 0, 0, output.c_str());
  EXPECT_EQ(job.MemoryNeeded(), 0);
  job.SetMemoryLimit(10 * kMegabyte);
  EXPECT_EQ(job.Init(), -1);
  EXPECT_FALSE(std::filesystem::exists(output));
  EXPECT_GT(job.MemoryNeeded(), 10 * kMegabyte);
  EXPECT_EQ(job.MemoryGranted(), 10 * kMegabyte);
  EXPECT_EQ(log.CountContaining(kLogError, "codec::Reverse", "pictures of 640x360 need "), 1);
  EXPECT_EQ(log.CountContaining(kLogError, "codec::Reverse", " MB of memory, there are 10 MB"), 1);
  // What it says it needs, once it has probed, is enough. The first jobs of a process leave some
  // memory with it, which counts from then on.
  LeastFor(clip);
  Reverse second(clip.c_str(), 0, 0, output.c_str());
  second.SetMemoryLimit(LeastFor(clip) + 2 * kMegabyte);
  EXPECT_EQ(second.Init(), 0);
  EXPECT_EQ(second.MemoryNeeded(), 0);
}

TEST(MemoryLimit, TakesNoMoreThanTheHostGrants) {
  JobMemory memory;
  memory.SetLimit(Reverse::kHostMemory);
  PictureFacts facts;
  facts.width = 1 << 20;
  facts.height = 1 << 20;
  facts.bytes = int64_t{3} << 39;
  facts.isProbed = true;
  EXPECT_FALSE(memory.Options().shareFor(facts).has_value());
  EXPECT_EQ(memory.Granted(), but::HostLimits().MemoryBytes());
  EXPECT_GT(memory.Needed(), memory.Granted());
}

TEST(MemoryLimit, CountsTheOutputsPictures) {
  JobMemory plain;
  plain.SetLimit(1);
  PictureFacts facts;
  facts.width = 640;
  facts.height = 360;
  facts.bytes = 345600;
  facts.isProbed = true;
  EXPECT_FALSE(plain.Options().shareFor(facts).has_value());
  JobMemory enlarged;
  enlarged.SetLimit(1);
  enlarged.SetOutputSize(int64_t{3840} * 2160);
  EXPECT_FALSE(enlarged.Options().shareFor(facts).has_value());
  EXPECT_GT(enlarged.Needed(), plain.Needed() + 100 * kMegabyte);
}

}  // namespace
}  // namespace codec
