// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "codec/encoder/media_encoder_impl.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using test_support::LogCapture;

constexpr char kTag[] = "codec::MediaEncoderImpl";

// What the fake was asked, and what it answers; outlives it.
struct Record {
  std::vector<std::string> calls;
  int initResult = 0;
  uint8_t* lastData = nullptr;
  bool destroyed = false;
};

class RecordingEncoder : public FFmpegEncoder {
 public:
  explicit RecordingEncoder(Record* record) : mRecord(record) {}
  ~RecordingEncoder() override { mRecord->destroyed = true; }

  int Init(const char* libPrefix, const char* libName) override {
    mRecord->calls.push_back(std::string("Init(") + libPrefix + "," + libName + ")");
    return mRecord->initResult;
  }
  void SetParameter(const char* key, const char* value) override {
    mRecord->calls.push_back(std::string(key) + "=" + value);
  }
  int Open() override { return Note("Open", 11); }
  void Close() override { Note("Close", 0); }
  int GetParameter(const char* key) override { return Note(std::string("Get ") + key, 12); }
  int EncodeVideo(uint8_t* data, int ignored, int64_t ptsUs) override {
    mRecord->lastData = data;
    return Note("Video " + std::to_string(ignored) + " " + std::to_string(ptsUs), -13);
  }
  int EncodeAudio(uint8_t* data, size_t size) override {
    mRecord->lastData = data;
    return Note("Audio " + std::to_string(size), -14);
  }
  int OutputError() const override { return -15; }

 private:
  int Note(const std::string& call, int result) {
    mRecord->calls.push_back(call);
    return result;
  }
  Record* const mRecord;
};

TEST(MediaEncoderFront, HandsEveryEntryOnOnceInKeyOrderBeforeInit) {
  Record record;
  MediaEncoderImpl front(std::make_unique<RecordingEncoder>(&record));
  MediaFormat format;
  for (const char* key : {"width", "video-codec", "has-video", "lib-prefix", "lib-name", "a", "aa",
                          "Z", "unknown key"}) {
    format.SetString(key, (std::string("v:") + key).c_str());
  }
  EXPECT_EQ(front.Configure(format), 0);
  EXPECT_EQ(record.calls,
            (std::vector<std::string>{"Z=v:Z", "a=v:a", "aa=v:aa", "has-video=v:has-video",
                                      "lib-name=v:lib-name", "lib-prefix=v:lib-prefix",
                                      "unknown key=v:unknown key", "video-codec=v:video-codec",
                                      "width=v:width", "Init(v:lib-prefix,v:lib-name)"}));
}

TEST(MediaEncoderFront, ConfiguresWithoutLibraryNames) {
  const LogCapture log;
  Record record;
  MediaEncoderImpl front(std::make_unique<RecordingEncoder>(&record));
  EXPECT_EQ(front.Configure(MediaFormat()), 0);
  EXPECT_EQ(record.calls, (std::vector<std::string>{"Init(,)"}));
  EXPECT_EQ(log.Lines(), (std::vector<test_support::LogLine>{{kLogDebug, kTag, "Configure"},
                                                             {kLogDebug, kTag, "Configure done"}}));
}

TEST(MediaEncoderFront, ReportsAnImplementationThatRefuses) {
  const LogCapture log;
  Record record;
  record.initResult = 3;
  MediaEncoderImpl front(std::make_unique<RecordingEncoder>(&record));
  EXPECT_EQ(front.Configure(MediaFormat()), -1);
  EXPECT_EQ(log.Lines(),
            (std::vector<test_support::LogLine>{{kLogDebug, kTag, "Configure"},
                                                {kLogError, kTag, "Configure Error"}}));
}

TEST(MediaEncoderFront, ForwardsCallsAndResultsUnchanged) {
  Record record;
  MediaEncoderImpl front(std::make_unique<RecordingEncoder>(&record));
  std::vector<uint8_t> bytes(4);
  EXPECT_EQ(front.Open(), 11);
  EXPECT_EQ(front.GetParameter("some key"), 12);
  EXPECT_EQ(front.EncodeVideo(bytes.data(), 7, int64_t{1} << 40), -13);
  EXPECT_EQ(record.lastData, bytes.data());
  EXPECT_EQ(front.EncodeAudio(bytes.data() + 1, size_t{1} << 33), -14);
  EXPECT_EQ(record.lastData, bytes.data() + 1);
  EXPECT_EQ(front.OutputError(), -15);
  front.Close();
  EXPECT_EQ(record.calls, (std::vector<std::string>{"Open", "Get some key", "Video 7 1099511627776",
                                                    "Audio 8589934592", "Close"}));
}

TEST(MediaEncoderFront, DestroysItsImplementationWithoutClosingIt) {
  Record record;
  { const MediaEncoderImpl front(std::make_unique<RecordingEncoder>(&record)); }
  EXPECT_TRUE(record.destroyed);
  EXPECT_TRUE(record.calls.empty());
}

TEST(MediaEncoderFront, AnswersMinusOneWithoutAnImplementation) {
  const LogCapture log;
  MediaEncoderImpl front(nullptr);
  EXPECT_EQ(
      log.Lines(),
      (std::vector<test_support::LogLine>{{kLogError, kTag, "new FFmpegEncoderImpl failed"}}));
  std::vector<uint8_t> bytes(4);
  EXPECT_EQ(front.Configure(MediaFormat()), -1);
  EXPECT_EQ(front.Open(), -1);
  EXPECT_EQ(front.GetParameter("next-frame-type"), -1);
  EXPECT_EQ(front.EncodeVideo(bytes.data(), 0, 0), -1);
  EXPECT_EQ(front.EncodeAudio(bytes.data(), bytes.size()), -1);
  EXPECT_EQ(front.OutputError(), -1);
  front.Close();
}

TEST(MediaEncoderFront, BringsAnImplementationOfItsOwn) {
  const LogCapture log;
  MediaFormat format;
  format.SetString("lib-name", "x");
  format.SetInt32("has-video", 0);
  MediaEncoderImpl front;
  EXPECT_EQ(front.Configure(format), 0);
  EXPECT_TRUE(log.Has(kLogInfo, "codec::FFmpegEncoderImpl", "ignore lib-name:x"));
  EXPECT_EQ(front.OutputError(), 0);
}

}  // namespace
}  // namespace codec
