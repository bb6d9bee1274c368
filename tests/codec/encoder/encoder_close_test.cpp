// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/faults/faults.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using encoder_test::kEncoderTag;
using encoder_test::Texts;
using test_support::Fault;
using test_support::FaultCall;
using test_support::LogCapture;
using test_support::ScratchPath;
using Lines = std::vector<std::string>;

class EncoderClose : public testing::Test {
 protected:
  void Open(const MediaFormat& format) {
    ASSERT_EQ(encoder_test::Configure(&mEncoder, format), 0);
    ASSERT_EQ(mEncoder.Open(), 0);
  }
  void EncodeVideo(int pictures) {
    for (int i = 0; i < pictures; ++i) {
      std::vector<uint8_t> picture = encoder_test::Picture(i);
      EXPECT_EQ(mEncoder.EncodeVideo(picture.data(), 0, int64_t{40000} * i), 0);
    }
  }
  void EncodeAudio(int blocks) {
    std::vector<uint8_t> tone = encoder_test::Tone(1024);
    for (int i = 0; i < blocks; ++i) EXPECT_EQ(mEncoder.EncodeAudio(tone.data(), tone.size()), 0);
  }
  // The debug lines of closing.
  Lines Close() {
    mLog.Clear();
    mEncoder.Close();
    return Texts(mLog, kLogDebug);
  }

  LogCapture mLog;
  FFmpegEncoderImpl mEncoder;
};

const Lines kFilmFreed = {"_Flush Decoder done", "write trailer successfully.", "free Videostream",
                          "free AudioStream", "close output file."};

Lines Film(Lines first) {
  first.insert(first.begin(), "_Flush Decoder...");
  first.insert(first.end(), kFilmFreed.begin(), kFilmFreed.end());
  return first;
}

TEST_F(EncoderClose, DrainsOnlyAudioInOneCallModeWhenVideoIsNext) {
  const std::string path = ScratchPath("close-1.mkv");
  Open(encoder_test::FilmFormat(path));
  EncodeVideo(2);
  EncodeAudio(6);
  ASSERT_EQ(mEncoder.GetParameter("next-frame-type"), 1);
  EXPECT_EQ(Close(), Film({"audio encode eof"}));
  EXPECT_EQ(Texts(mLog, kLogInfo), (Lines{"encode video frames:2,pkt queue:0"}));
  EXPECT_EQ(Texts(mLog, kLogError), Lines{});  // a second try would be refused
  EXPECT_EQ(encoder_test::PacketCount(path, "a"), 7);
}

TEST_F(EncoderClose, DrainsAudioASecondTimeWhenTheFirstDidNotEnd) {
  Open(encoder_test::FilmFormat(ScratchPath("close-2.mkv")));
  EncodeVideo(1);
  mLog.Clear();
  const Fault fault(FaultCall::avcodec_receive_packet, 0, AVERROR(EIO));
  mEncoder.Close();
  EXPECT_EQ(Texts(mLog, kLogError),
            (Lines{"error encoding audio frame",
                   "Error encoding audio frame: " + std::string("End of file")}));
}

TEST_F(EncoderClose, DrainsVideoThenAudioOnceInSendReceiveMode) {
  Open(encoder_test::FilmFormat(ScratchPath("close-3.mkv")));
  mEncoder.ForceSendReceive();
  EncodeVideo(1);
  EXPECT_EQ(Close(), Film({"encode video eof", "audio encode eof"}));
}

TEST_F(EncoderClose, DoesNotTryAudioAgainInSendReceiveMode) {
  Open(encoder_test::FilmFormat(ScratchPath("close-4.mkv")));
  mEncoder.ForceSendReceive();
  mLog.Clear();
  const Fault fault(FaultCall::avcodec_receive_packet, 0, AVERROR(EIO));
  mEncoder.Close();
  EXPECT_EQ(Texts(mLog, kLogError), (Lines{"error encoding audio frame"}));
  EXPECT_EQ(Texts(mLog, kLogWarn),
            (Lines{"avcodec_receive_packet fail, error:legitimate decoding errors"}));
}

TEST_F(EncoderClose, DrainsAudioAloneWhenAudioIsNext) {
  Open(encoder_test::FilmFormat(ScratchPath("close-5.mkv")));
  mEncoder.ForceSendReceive();
  EncodeVideo(3);
  ASSERT_EQ(mEncoder.GetParameter("next-frame-type"), 2);
  EXPECT_EQ(Close(), Film({"audio encode eof"}));
}

TEST_F(EncoderClose, LeavesDelayedPicturesBehindWhenAudioIsNext) {
  MediaFormat format = encoder_test::FilmFormat(ScratchPath("close-6.mkv"));
  format.SetString("thread-type", "frame");
  format.SetInt32("thread-count", 4);
  Open(format);
  mEncoder.ForceSendReceive();
  EncodeVideo(8);
  ASSERT_EQ(mEncoder.GetParameter("next-frame-type"), 2);
  EXPECT_EQ(Close(), Film({"audio encode eof"}));
  const int written = encoder_test::PacketCount(ScratchPath("close-6.mkv"), "v");
  EXPECT_LT(written, 8);
  EXPECT_EQ(Texts(mLog, kLogInfo),
            (Lines{"encode video frames:8,pkt queue:" + std::to_string(8 - written)}));
}

TEST_F(EncoderClose, DrainsAudioOnceWithoutVideo) {
  Open(encoder_test::SoundFormat(ScratchPath("close-7.m4a"), "aac"));
  EncodeAudio(3);
  EXPECT_EQ(Close(),
            (Lines{"_Flush Decoder...", "audio encode eof", "_Flush Decoder done",
                   "write trailer successfully.", "free AudioStream", "close output file."}));
}

TEST_F(EncoderClose, DrainsNothingInOneCallModeWithoutAudio) {
  Open(encoder_test::VideoFormat(ScratchPath("close-8.mp4")));
  EncodeVideo(2);
  EXPECT_EQ(Close(),
            (Lines{"_Flush Decoder...", "_Flush Decoder done", "write trailer successfully.",
                   "free Videostream", "close output file."}));
}

TEST_F(EncoderClose, BeforeOpenAndWithNeitherKindDrainsNothing) {
  EXPECT_EQ(Close(), (Lines{"_Flush Decoder...", "_Flush Decoder done"}));
  EXPECT_EQ(Texts(mLog, kLogInfo), (Lines{"encode video frames:0,pkt queue:0"}));
  mEncoder.SetParameter("has-video", "0");
  EXPECT_EQ(Close(), (Lines{"_Flush Decoder...", "_Flush Decoder done"}));
}

TEST_F(EncoderClose, TwiceFreesOnce) {
  const std::string path = ScratchPath("close-9.mp4");
  Open(encoder_test::FilmFormat(path));
  EXPECT_EQ(encoder_test::Feed(&mEncoder, 5), 0);
  mEncoder.Close();
  const std::string bytes = encoder_test::ReadBytes(path);
  EXPECT_EQ(Close(), (Lines{"_Flush Decoder...", "_Flush Decoder done"}));
  EXPECT_EQ(encoder_test::ReadBytes(path), bytes);
  EXPECT_EQ(mEncoder.OutputError(), 0);
}

TEST_F(EncoderClose, LeavesNothingToEncodeWith) {
  Open(encoder_test::FilmFormat(ScratchPath("close-10.mp4")));
  EncodeVideo(1);
  EncodeAudio(2);
  mEncoder.Close();
  std::vector<uint8_t> bytes = encoder_test::Tone(1024);
  EXPECT_LT(mEncoder.EncodeVideo(bytes.data(), 0, 0), 0);
  EXPECT_LT(mEncoder.EncodeAudio(bytes.data(), bytes.size()), 0);
}

TEST_F(EncoderClose, LogsATrailerThatFails) {
  Open(encoder_test::VideoFormat(ScratchPath("close-11.mkv")));
  EncodeVideo(2);
  const Fault fault(FaultCall::av_write_trailer, 0, AVERROR(EIO));
  mEncoder.Close();
  EXPECT_EQ(Texts(mLog, kLogError), (Lines{"wirte trailer failed."}));
  EXPECT_EQ(mEncoder.OutputError(), AVERROR(EIO));
}

// The leak checker watches these two.
TEST(EncoderDestruction, WithoutCloseFreesEverything) {
  const LogCapture log;
  {
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, encoder_test::FilmFormat(ScratchPath("dropped.mp4")));
    ASSERT_EQ(encoder.Open(), 0);
    EXPECT_EQ(encoder_test::Feed(&encoder, 5), 0);
    EXPECT_FALSE(log.Has(kLogDebug, kEncoderTag, "FFmpegEncoderImpl destructor"));
  }
  EXPECT_EQ(log.Count(kLogDebug, kEncoderTag, "FFmpegEncoderImpl destructor"), 1);
  EXPECT_FALSE(log.Has(kLogDebug, kEncoderTag, "_Flush Decoder..."));
  EXPECT_EQ(log.CountContaining(kLogDebug, kEncoderTag, "trailer"), 0);
}

TEST(EncoderDestruction, AfterAFailedOpenFreesEverything) {
  const LogCapture log;
  FFmpegEncoderImpl encoder;
  MediaFormat format = encoder_test::FilmFormat(ScratchPath("dropped2.mp4"));
  format.SetInt32("channel-count", 100);
  encoder_test::Configure(&encoder, format);
  EXPECT_EQ(encoder.Open(), -1);
  EXPECT_LT(encoder.OutputError(), 0);
}

}  // namespace
}  // namespace codec
