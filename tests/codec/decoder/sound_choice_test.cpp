// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_choice.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

// A file that was never opened, with streams and programmes made by hand.
class SoundChoice : public testing::Test {
 protected:
  SoundChoice() : mFile(avformat_alloc_context()) {}

  // A new stream's number. Sound has a rate and a channel, unless the rate is 0.
  int Add(AVMediaType type, AVCodecID codec, int rate = 48000) {
    AVStream* const stream = avformat_new_stream(mFile.get(), nullptr);
    AVCodecParameters& parameters = *stream->codecpar;
    if (type == AVMEDIA_TYPE_AUDIO) {
      const ffmpeg::UniqueCodecContext sound(avcodec_alloc_context3(nullptr));
      ffmpeg::SetDefaultLayout(sound.get(), 1);
      sound->codec_type = type;
      sound->sample_rate = rate;
      avcodec_parameters_from_context(&parameters, sound.get());
    }
    parameters.codec_type = type;
    parameters.codec_id = codec;
    if (type == AVMEDIA_TYPE_VIDEO) parameters.width = parameters.height = 16;
    return stream->index;
  }
  int Sound(AVCodecID codec = AV_CODEC_ID_MP2) { return Add(AVMEDIA_TYPE_AUDIO, codec); }
  int Video() { return Add(AVMEDIA_TYPE_VIDEO, AV_CODEC_ID_MPEG2VIDEO); }

  void Program(int id, std::initializer_list<int> streams) {
    av_new_program(mFile.get(), id);
    for (const int stream : streams) {
      av_program_add_stream_index(mFile.get(), id, static_cast<unsigned>(stream));
    }
  }

  AVStream* Stream(int number) { return mFile->streams[number]; }
  std::vector<int> Choice(int video) { return SoundByChoice(mFile.get(), video); }

  const ffmpeg::UniqueInput mFile;
};

TEST_F(SoundChoice, IsEmptyWithoutSound) {
  EXPECT_TRUE(Choice(-1).empty());
  EXPECT_TRUE(Choice(Video()).empty());
}

TEST_F(SoundChoice, GoesByTheOrderOfTheFile) {
  const int first = Sound();
  const int video = Video();
  const int second = Sound();
  EXPECT_EQ(Choice(video), (std::vector<int>{first, second}));
  EXPECT_EQ(Choice(-1), (std::vector<int>{first, second}));
}

TEST_F(SoundChoice, BeginsWithTheDefault) {
  const int first = Sound();
  const int second = Sound();
  mFile->streams[second]->disposition = AV_DISPOSITION_DEFAULT;
  EXPECT_EQ(Choice(-1), (std::vector<int>{second, first}));
}

TEST_F(SoundChoice, LeavesOutSoundOfUnknownForm) {
  Add(AVMEDIA_TYPE_AUDIO, AV_CODEC_ID_MP2, 0);
  const int known = Sound();
  EXPECT_EQ(Choice(-1), (std::vector<int>{known}));
}

TEST_F(SoundChoice, StaysInTheProgrammeOfThePictures) {
  const int video = Video();
  const int foreign = Sound();
  const int otherVideo = Video();
  const int own = Sound();
  const int ownToo = Sound();
  Program(1, {otherVideo, foreign});
  Program(2, {video, own, ownToo});
  EXPECT_EQ(Choice(video), (std::vector<int>{own, ownToo}));
  EXPECT_EQ(Choice(otherVideo), (std::vector<int>{foreign}));
}

TEST_F(SoundChoice, FindsTheFirstThatCanBeDecoded) {
  EXPECT_EQ(FirstDecodableSound(mFile.get(), -1), -1);
  Sound(AV_CODEC_ID_NONE);
  EXPECT_EQ(FirstDecodableSound(mFile.get(), -1), -1);
  const int decodable = Sound();
  EXPECT_EQ(FirstDecodableSound(mFile.get(), -1), decodable);
}

TEST_F(SoundChoice, NamesTheCodec) {
  const AVStream* const known = Stream(Sound());
  EXPECT_EQ(CodecName(known), "mp2");
  const AVStream* const unknown = Stream(Sound(AV_CODEC_ID_NONE));
  EXPECT_EQ(CodecName(unknown), "unknown codec");
  unknown->codecpar->codec_tag = MKTAG('z', 'z', 'z', 'z');
  EXPECT_EQ(CodecName(unknown), "zzzz");
}

}  // namespace
}  // namespace codec
