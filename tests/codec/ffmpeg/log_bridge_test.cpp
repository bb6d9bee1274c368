// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/log_bridge.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>

#include "codec/ffmpeg/owned.h"
#include "tests/support/log_capture.h"

namespace codec::ffmpeg {
namespace {

using test_support::LogCapture;
using test_support::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

// An object that speaks as FFmpeg's own do: its first member is its class.
struct Speaker {
  const AVClass* type;
};

AVClass SpeakerClass(const char* (*itemName)(void*)) {
  AVClass type{};
  type.class_name = "class";
  type.item_name = itemName;
  type.version = LIBAVUTIL_VERSION_INT;
  return type;
}

const char* NameOfThing(void* /*object*/) { return "thing"; }

class LogBridge : public testing::Test {
 protected:
  LogBridge() { InstallLogBridge(); }
  ~LogBridge() override { av_log_set_callback(av_log_default_callback); }

  AVClass mClass = SpeakerClass(&NameOfThing);
  Speaker mSpeaker{&mClass};
};

TEST_F(LogBridge, MapsTheLevels) {
  const LogCapture log;
  for (const int level : {AV_LOG_PANIC, AV_LOG_FATAL, AV_LOG_ERROR, AV_LOG_WARNING, AV_LOG_INFO,
                          AV_LOG_VERBOSE, AV_LOG_DEBUG, AV_LOG_TRACE}) {
    av_log(nullptr, level, "level %d\n", level);
  }
  const std::string tag = "ffmpeg";
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(LogLine{kLogError, tag, "level 0"}, LogLine{kLogError, tag, "level 8"},
                  LogLine{kLogError, tag, "level 16"}, LogLine{kLogWarn, tag, "level 24"},
                  LogLine{kLogDebug, tag, "level 32"}, LogLine{kLogVerbose, tag, "level 40"},
                  LogLine{kLogVerbose, tag, "level 48"}));
}

TEST_F(LogBridge, ShowsALineThatIsRepeatedOnce) {
  const LogCapture log;
  for (int i = 0; i < 3; ++i) av_log(nullptr, AV_LOG_ERROR, "again\n");
  av_log(nullptr, AV_LOG_WARNING, "other\n");
  av_log(nullptr, AV_LOG_ERROR, "again\n");
  EXPECT_EQ(log.Count(kLogError, "ffmpeg", "again"), 2);
  EXPECT_EQ(log.Count(kLogDebug, "ffmpeg", "again"), 2);
  EXPECT_EQ(log.Count(kLogWarn, "ffmpeg", "other"), 1);
}

TEST_F(LogBridge, EndsALineWhereFFmpegDoesButNotWithinAName) {
  const LogCapture log;
  av_log(nullptr, AV_LOG_ERROR, "no size in %s\nConsider more\n", "file");
  av_log(nullptr, AV_LOG_ERROR, "no file %s\n", "a\nb");
  EXPECT_THAT(log.Texts("ffmpeg"), ElementsAre("no size in file", "Consider more", "no file a\nb"));
}

TEST_F(LogBridge, TellsNobodyHowSwscaleIsCalled) {
  const LogCapture log;
  const UniqueScaler scaler(sws_getContext(16, 16, AV_PIX_FMT_YUVJ420P, 16, 16, AV_PIX_FMT_YUV420P,
                                           0, nullptr, nullptr, nullptr));
  ASSERT_NE(scaler, nullptr);
  EXPECT_EQ(log.CountContaining(kLogWarn, "ffmpeg:swscaler", ""), 0);
  EXPECT_EQ(log.CountContaining(kLogDebug, "ffmpeg:swscaler", "deprecated pixel format"), 1);
}

TEST_F(LogBridge, TakesAColouredLevelForItsRank) {
  const LogCapture log;
  av_log(nullptr, AV_LOG_ERROR | AV_LOG_C(134), "red\n");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{kLogError, "ffmpeg", "red"}));
}

TEST_F(LogBridge, TagsLinesWithTheSpeaker) {
  const LogCapture log;
  av_log(&mSpeaker, AV_LOG_ERROR, "one\n");
  AVClass nameless = SpeakerClass(nullptr);
  Speaker other{&nameless};
  av_log(&other, AV_LOG_ERROR, "two\n");
  Speaker classless{nullptr};
  av_log(&classless, AV_LOG_ERROR, "three\n");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{kLogError, "ffmpeg:thing", "one"},
                                       LogLine{kLogError, "ffmpeg:class", "two"},
                                       LogLine{kLogError, "ffmpeg", "three"}));
}

TEST_F(LogBridge, CarriesWhatFFmpegItselfSays) {
  const LogCapture log;
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
  ASSERT_NE(codec, nullptr);
  const UniqueCodecContext context(avcodec_alloc_context3(codec));
  EXPECT_LT(avcodec_open2(context.get(), codec, nullptr), 0);
  ASSERT_FALSE(log.Lines().empty());
  EXPECT_EQ(log.Lines()[0].level, kLogError);
  EXPECT_EQ(log.Lines()[0].tag, "ffmpeg:aac");
}

TEST_F(LogBridge, JoinsContinuedLines) {
  const LogCapture log;
  av_log(&mSpeaker, AV_LOG_WARNING, "first ");
  av_log(&mSpeaker, AV_LOG_WARNING, "%s", "second ");
  EXPECT_THAT(log.Lines(), IsEmpty());
  av_log(&mSpeaker, AV_LOG_WARNING, "third\n");
  av_log(&mSpeaker, AV_LOG_WARNING, "next\n");
  EXPECT_THAT(log.Texts("ffmpeg:thing"), ElementsAre("first second third", "next"));
}

TEST_F(LogBridge, KeepsTheUnfinishedLinesOfThreadsApart) {
  const LogCapture log;
  av_log(&mSpeaker, AV_LOG_ERROR, "begin ");
  std::thread([this] { av_log(&mSpeaker, AV_LOG_ERROR, "other\n"); }).join();
  av_log(&mSpeaker, AV_LOG_ERROR, "end\n");
  EXPECT_THAT(log.Texts("ffmpeg:thing"), ElementsAre("other", "begin end"));
}

TEST_F(LogBridge, PassesAnEndlessLineOnInParts) {
  const LogCapture log;
  const std::string piece(1000, 'x');
  for (int i = 0; i < 5; ++i) av_log(&mSpeaker, AV_LOG_ERROR, "%s", piece.c_str());
  ASSERT_EQ(log.Lines().size(), 1U);
  EXPECT_EQ(log.Lines()[0].text, std::string(5000, 'x'));
  av_log(&mSpeaker, AV_LOG_ERROR, "short\n");
  EXPECT_EQ(log.Lines().back().text, "short");
}

TEST_F(LogBridge, CutsALongPieceWithoutJoiningTheNextLine) {
  const LogCapture log;
  for (const int length : {1022, 1023, 1024, 5000}) {
    av_log(&mSpeaker, AV_LOG_ERROR, "%s\n", std::string(static_cast<size_t>(length), 'x').c_str());
  }
  av_log(&mSpeaker, AV_LOG_ERROR, "next\n");
  EXPECT_THAT(log.Texts("ffmpeg:thing"),
              ElementsAre(std::string(1022, 'x'), std::string(1023, 'x'), std::string(1023, 'x'),
                          std::string(1023, 'x'), "next"));
}

TEST_F(LogBridge, LeavesOutWhatOurLevelHides) {
  const LogCapture log;
  log_set_level(kLogInfo);
  av_log(&mSpeaker, AV_LOG_INFO, "hidden\n");
  av_log(&mSpeaker, AV_LOG_WARNING, "shown\n");
  EXPECT_THAT(log.Texts("ffmpeg:thing"), ElementsAre("shown"));
}

TEST_F(LogBridge, MayBeInstalledTwice) {
  InstallLogBridge();
  const LogCapture log;
  av_log(&mSpeaker, AV_LOG_ERROR, "once\n");
  EXPECT_EQ(log.Lines().size(), 1U);
}

}  // namespace
}  // namespace codec::ffmpeg
