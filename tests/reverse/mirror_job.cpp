// SPDX-License-Identifier: MIT
#include "tests/reverse/mirror_job.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "codec/decoder/ffmpeg_decoder.h"
#include "reverse/reverse.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using test_support::ScratchPath;

class MirrorWriter : public MediaWriter {
 public:
  explicit MirrorWriter(MirrorRecord* record) : mRecord(record) {}

  int Configure(MediaFormat& /*format*/) override { return 0; }
  int Start() override { return 0; }
  void Stop() override {}
  void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) override {
    if (type == static_cast<int>(kVideoFrame)) {
      mRecord->stamps.push_back(pts);
      mRecord->corners.emplace_back(data, data + MirrorRecord::kCornerBytes);
      return;
    }
    const auto before = static_cast<double>(mRecord->samples.size() / 2);
    if (std::abs(before / mRecord->rate - static_cast<double>(pts) / 1e6) > 2e-6) {
      mRecord->soundIsContiguous = false;
    }
    const size_t floats = size / sizeof(float);
    const size_t end = mRecord->samples.size();
    mRecord->samples.resize(end + floats);
    std::memcpy(mRecord->samples.data() + end, data, size);
  }
  int64_t GetParameter(const char* /*key*/) override { return 0; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}

 private:
  MirrorRecord* mRecord;
};

class MirrorJob : public Reverse {
 public:
  MirrorJob(const std::string& path, double start, double end, MirrorRecord* record)
      : Reverse(path.c_str(), start, end, ScratchPath("mirror.mp4").c_str()), mRecord(record) {
    SetMirror(true);
  }
  ~MirrorJob() override { Release(); }

 protected:
  MediaWriter* MakeWriter(MediaFormat& format) override {
    format.GetInt32("sample-rate", mRecord->rate);
    mRecord->hasSound = InputInfo().has_audio != 0;
    return new MirrorWriter(mRecord);
  }

 private:
  MirrorRecord* mRecord;
};

}  // namespace

MirrorRecord Mirror(const std::string& path, double start, double end) {
  MirrorRecord record;
  MirrorJob job(path, start, end, &record);
  EXPECT_EQ(job.Init(), 0);
  EXPECT_EQ(job.Start(), 0);
  while (!job.WaitForEnd(1000)) {
  }
  job.Release();
  EXPECT_EQ(job.Result(), 0);
  EXPECT_TRUE(record.soundIsContiguous);
  return record;
}

}  // namespace codec
