// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "codec/ffmpeg/compat_encoding.h"
#include "codec/ffmpeg/error_text.h"

namespace codec::ffmpeg {
namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;

class EncodeOneTest : public testing::Test {
 protected:
  void Open(const char* tune) {
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    ASSERT_NE(codec, nullptr);
    mContext.reset(avcodec_alloc_context3(codec));
    mContext->width = kWidth;
    mContext->height = kHeight;
    mContext->pix_fmt = AV_PIX_FMT_YUV420P;
    mContext->time_base = AVRational{1, 25};
    AVDictionary* options = nullptr;
    if (tune != nullptr) av_dict_set(&options, "tune", tune, 0);
    const int result = avcodec_open2(mContext.get(), codec, &options);
    av_dict_free(&options);
    ASSERT_GE(result, 0);
  }

  UniqueFrame NewPicture(int64_t pts, AVPixelFormat format = AV_PIX_FMT_YUV420P) {
    UniqueFrame picture(av_frame_alloc());
    picture->width = kWidth;
    picture->height = kHeight;
    picture->format = format;
    picture->pts = pts;
    EXPECT_GE(av_frame_get_buffer(picture.get(), 0), 0);
    for (size_t plane = 0; plane < 3 && picture->data[plane] != nullptr; ++plane) {
      const int rows = plane == 0 ? kHeight : kHeight / 2;
      std::memset(picture->data[plane], static_cast<int>(pts) * 7,
                  static_cast<size_t>(picture->linesize[plane]) * static_cast<size_t>(rows));
    }
    return picture;
  }

  UniqueCodecContext mContext;
  UniquePacket mPacket{av_packet_alloc()};
};

TEST_F(EncodeOneTest, GivesOnePacketForEachPictureWithoutDelay) {
  Open("zerolatency");
  for (int64_t pts = 0; pts < 5; ++pts) {
    int got = -1;
    ASSERT_EQ(EncodeOne(mContext.get(), mPacket.get(), NewPicture(pts).get(), &got), 0);
    ASSERT_EQ(got, 1);
    EXPECT_EQ(mPacket->pts, pts);
    EXPECT_GT(mPacket->size, 0);
    EXPECT_EQ(mPacket->duration, 1);
    EXPECT_EQ((mPacket->flags & AV_PKT_FLAG_KEY) != 0, pts == 0);
  }
}

TEST_F(EncodeOneTest, SucceedsWithoutAPacketWhileTheEncoderLooksAhead) {
  Open(nullptr);
  int got = -1;
  EXPECT_EQ(EncodeOne(mContext.get(), mPacket.get(), NewPicture(0).get(), &got), 0);
  EXPECT_EQ(got, 0);
}

TEST_F(EncodeOneTest, ReportsAnEncoderThatIsNotOpen) {
  mContext.reset(avcodec_alloc_context3(avcodec_find_encoder_by_name("libx264")));
  int got = -1;
  EXPECT_LT(EncodeOne(mContext.get(), mPacket.get(), NewPicture(0).get(), &got), 0);
  EXPECT_EQ(got, 0);
}

TEST_F(EncodeOneTest, ReportsTheEndOfAnEncoderThatWasDrained) {
  Open("zerolatency");
  ASSERT_GE(avcodec_send_frame(mContext.get(), nullptr), 0);
  int got = -1;
  EXPECT_EQ(EncodeOne(mContext.get(), mPacket.get(), NewPicture(0).get(), &got), AVERROR_EOF);
  EXPECT_EQ(got, 0);
}

TEST(NewMuxer, AttachesFormatPathAndPrivateData) {
  const AVOutputFormat* format = av_guess_format("mp4", nullptr, nullptr);
  const UniqueOutput output = NewMuxer(format, "some/clip.mp4");
  ASSERT_NE(output, nullptr);
  EXPECT_EQ(output->oformat, format);
  EXPECT_STREQ(output->url, "some/clip.mp4");
  EXPECT_NE(output->priv_data, nullptr);
  EXPECT_EQ(output->pb, nullptr);
}

TEST(NewMuxer, PrefersTheFormatToTheNamesExtension) {
  const UniqueOutput output = NewMuxer(av_guess_format("avi", nullptr, nullptr), "clip.mp4");
  ASSERT_NE(output, nullptr);
  EXPECT_STREQ(output->oformat->name, "avi");
}

TEST(ErrorText, IsFFmpegsSentence) {
  EXPECT_EQ(ErrorText(AVERROR_INVALIDDATA), "Invalid data found when processing input");
  EXPECT_EQ(ErrorText(AVERROR_EOF), "End of file");
  EXPECT_EQ(ErrorText(AVERROR(ENOENT)), std::strerror(ENOENT));
}

TEST(ErrorText, NamesTheNumberOfAnUnknownError) {
  EXPECT_NE(ErrorText(-123456789).find("-123456789"), std::string::npos);
}

}  // namespace
}  // namespace codec::ffmpeg
