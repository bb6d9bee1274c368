// SPDX-License-Identifier: MIT
// The rows of the table, and each of them held against a linear decode by FFmpeg alone.
#include "codec/decoder/sound_preroll.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/compat_decoding.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {
namespace {

SoundPreroll PrerollOf(AVCodecID codec, int64_t bitRate = 128000, int profile = -99) {
  AVCodecParameters sound = {};
  sound.codec_id = codec;
  sound.bit_rate = bitRate;
  sound.profile = profile;
  return SoundPreroll(sound);
}

TEST(SoundPreroll, IsNoneForCodecsWhoseFramesStandAlone) {
  for (const AVCodecID codec :
       {AV_CODEC_ID_PCM_S16LE, AV_CODEC_ID_PCM_F32LE, AV_CODEC_ID_PCM_S24BE, AV_CODEC_ID_PCM_MULAW,
        AV_CODEC_ID_PCM_S64LE, AV_CODEC_ID_FLAC, AV_CODEC_ID_ALAC, AV_CODEC_ID_TTA,
        AV_CODEC_ID_WAVPACK, AV_CODEC_ID_ADPCM_MS, AV_CODEC_ID_ADPCM_IMA_WAV,
        AV_CODEC_ID_ADPCM_SWF}) {
    EXPECT_TRUE(PrerollOf(codec).IsNone()) << avcodec_get_name(codec);
    EXPECT_EQ(PrerollOf(codec).Seconds(), 0) << avcodec_get_name(codec);
  }
}

TEST(SoundPreroll, IsASecondAndTwoPacketsUnlessTheCodecNeedsMore) {
  for (const AVCodecID codec :
       {AV_CODEC_ID_AAC, AV_CODEC_ID_AC3, AV_CODEC_ID_EAC3, AV_CODEC_ID_VORBIS, AV_CODEC_ID_OPUS,
        AV_CODEC_ID_MP2, AV_CODEC_ID_MP3, AV_CODEC_ID_WMAV2, AV_CODEC_ID_DTS, AV_CODEC_ID_TRUEHD,
        AV_CODEC_ID_ADPCM_G722, AV_CODEC_ID_ADPCM_IMA_QT, AV_CODEC_ID_NELLYMOSER,
        AV_CODEC_ID_NONE}) {
    EXPECT_EQ(PrerollOf(codec).Seconds(), 1.0) << avcodec_get_name(codec);
    EXPECT_EQ(PrerollOf(codec).Packets(), 2) << avcodec_get_name(codec);
    EXPECT_FALSE(PrerollOf(codec).IsNone());
  }
}

TEST(SoundPreroll, IsLongerWhereFramesReferFarBack) {
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_MP3, 32000).Seconds(), 1.0);
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_MP3, 31999).Seconds(), 2.0);
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_MP3, 0).Seconds(), 2.0);  // not known
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_AAC, 128000, 0).Seconds(), 1.5);
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_AAC, 128000, 1).Seconds(), 1.0);
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_SPEEX).Seconds(), 2.4);
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_ADPCM_G726).Seconds(), 1.8);
}

TEST(SoundPreroll, NamesTheOptionThatMakesDitherRepeatable) {
  EXPECT_STREQ(PrerollOf(AV_CODEC_ID_AC3).DecoderOption(), "cons_noisegen");
  EXPECT_STREQ(PrerollOf(AV_CODEC_ID_EAC3).DecoderOption(), "cons_noisegen");
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_AAC).DecoderOption(), nullptr);
  EXPECT_EQ(PrerollOf(AV_CODEC_ID_FLAC).DecoderOption(), nullptr);
}

using Samples = std::vector<double>;

double At(const uint8_t* plane, AVSampleFormat packed, size_t index) {
  const auto read = [plane, index](auto value) {
    std::memcpy(&value, plane + index * sizeof(value), sizeof(value));
    return static_cast<double>(value);
  };
  switch (packed) {
    case AV_SAMPLE_FMT_U8:
      return (read(uint8_t{}) - 128) / 128;
    case AV_SAMPLE_FMT_S16:
      return read(int16_t{}) / 32768;
    case AV_SAMPLE_FMT_S32:
      return read(int32_t{}) / 2147483648.0;
    case AV_SAMPLE_FMT_FLT:
      return read(float{});
    default:
      return read(double{});
  }
}

void Append(const AVFrame& frame, Samples* samples) {
  const auto format = static_cast<AVSampleFormat>(frame.format);
  const AVSampleFormat packed = av_get_packed_sample_fmt(format);
  const auto channels = static_cast<size_t>(ffmpeg::Channels(&frame));
  const auto count = static_cast<size_t>(frame.nb_samples);
  const bool isPlanar = av_sample_fmt_is_planar(format) != 0;
  for (size_t i = 0; i < count * channels; ++i) {
    samples->push_back(isPlanar ? At(frame.extended_data[i % channels], packed, i / channels)
                                : At(frame.data[0], packed, i));
  }
}

// The packets of a file's sound, and decodes of them that begin anywhere.
class Stream {
 public:
  explicit Stream(const std::string& path) {
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) {
      throw std::runtime_error("cannot open " + path);
    }
    mInput.reset(context);
    if (avformat_find_stream_info(context, nullptr) < 0) throw std::runtime_error("no streams");
    ffmpeg::UniquePacket packet(av_packet_alloc());
    while (av_read_frame(context, packet.get()) >= 0) {
      mPackets.emplace_back(av_packet_clone(packet.get()));
      av_packet_unref(packet.get());
    }
  }

  const AVCodecParameters& Parameters() const { return *mInput->streams[0]->codecpar; }
  size_t Count() const { return mPackets.size(); }
  double Seconds(size_t packet) const {
    return static_cast<double>(mPackets[packet]->pts) * av_q2d(mInput->streams[0]->time_base);
  }

  // What a fresh decoder that is fed packets from `first` on gives for those from `kept` to `end`.
  Samples Decode(size_t first, size_t kept, size_t end, const SoundPreroll& preroll) const {
    const AVStream* const stream = mInput->streams[0];
    const AVCodec* const codec = avcodec_find_decoder(stream->codecpar->codec_id);
    const ffmpeg::UniqueCodecContext context = ffmpeg::NewDecoder(stream, codec);
    context->pkt_timebase = stream->time_base;
    AVDictionary* options = nullptr;
    if (preroll.DecoderOption() != nullptr) av_dict_set(&options, preroll.DecoderOption(), "1", 0);
    const int opened = avcodec_open2(context.get(), codec, &options);
    av_dict_free(&options);
    if (opened < 0) throw std::runtime_error("cannot open the decoder");
    const ffmpeg::UniqueFrame frame(av_frame_alloc());
    Samples samples;
    for (size_t i = first; i < end; ++i) {
      avcodec_send_packet(context.get(), mPackets[i].get());
      while (avcodec_receive_frame(context.get(), frame.get()) >= 0) {
        if (i >= kept) Append(*frame, &samples);
      }
    }
    return samples;
  }

  // The packet that a decode for `target` begins with.
  size_t First(size_t target, const SoundPreroll& preroll) const {
    size_t first = target;
    while (first > 0 && (Seconds(first) > Seconds(target) - preroll.Seconds() ||
                         target - first < static_cast<size_t>(preroll.Packets()))) {
      --first;
    }
    return first;
  }

 private:
  ffmpeg::UniqueInput mInput;
  std::vector<ffmpeg::UniquePacket> mPackets;
};

// How close a decode after a pre-roll comes to the linear one.
enum class Closeness { kExact, kNear, kEnergy };

struct Codec {
  const char* name;
  const char* extension;
  int sampleRate;
  bool isMono;
  const char* coding;  // ffmpeg's words
  Closeness closeness;
};

constexpr Codec kCodecs[] = {
    {"pcm_s16", ".mkv", 48000, false, "-c:a pcm_s16le", Closeness::kExact},
    {"pcm_f32", ".mkv", 48000, false, "-c:a pcm_f32le", Closeness::kExact},
    {"flac", ".mkv", 48000, false, "-c:a flac", Closeness::kExact},
    {"alac", ".mkv", 48000, false, "-c:a alac", Closeness::kExact},
    {"tta", ".mkv", 48000, false, "-c:a tta", Closeness::kExact},
    {"wavpack", ".mkv", 48000, false, "-c:a wavpack", Closeness::kExact},
    {"adpcm_ms", ".mkv", 48000, false, "-c:a adpcm_ms", Closeness::kExact},
    {"adpcm_ima", ".mkv", 48000, false, "-c:a adpcm_ima_wav", Closeness::kExact},
    {"adpcm_swf", ".flv", 44100, false, "-c:a adpcm_swf", Closeness::kExact},
    {"aac", ".mkv", 48000, false, "-c:a aac -aac_pns 0 -b:a 128k", Closeness::kExact},
    {"aac_noise", ".mkv", 48000, false, "-c:a aac -b:a 64k", Closeness::kEnergy},
    {"aac_main", ".mkv", 48000, false, "-c:a aac -profile:a aac_main -aac_pns 0 -b:a 128k",
     Closeness::kNear},
    {"ac3", ".mkv", 48000, false, "-c:a ac3", Closeness::kExact},
    {"eac3", ".mkv", 48000, false, "-c:a eac3", Closeness::kExact},
    {"vorbis", ".mkv", 48000, false, "-c:a libvorbis", Closeness::kExact},
    {"dts", ".mkv", 48000, false, "-c:a dca -strict -2", Closeness::kExact},
    {"mp2", ".mkv", 48000, false, "-c:a mp2", Closeness::kNear},
    {"mp3_320", ".mkv", 48000, false, "-c:a libmp3lame -b:a 320k", Closeness::kNear},
    {"mp3_128", ".mkv", 48000, false, "-c:a libmp3lame -b:a 128k", Closeness::kNear},
    {"mp3_v9", ".mkv", 48000, false, "-c:a libmp3lame -q:a 9", Closeness::kNear},
    {"mp3_32", ".mkv", 24000, false, "-c:a libmp3lame -b:a 32k", Closeness::kNear},
    {"mp3_8_mono", ".mkv", 8000, true, "-c:a libmp3lame -b:a 8k", Closeness::kNear},
    {"mp3_8", ".mkv", 24000, false, "-c:a libmp3lame -b:a 8k", Closeness::kNear},
    {"wma1", ".mkv", 48000, false, "-c:a wmav1 -b:a 128k", Closeness::kNear},
    {"wma2", ".mkv", 48000, false, "-c:a wmav2 -b:a 128k", Closeness::kNear},
    {"opus_20", ".mkv", 48000, false, "-c:a libopus -b:a 128k", Closeness::kNear},
    {"opus_60", ".mkv", 48000, false, "-c:a libopus -b:a 128k -frame_duration 60",
     Closeness::kNear},
    {"opus_2", ".mkv", 48000, false, "-c:a libopus -b:a 128k -frame_duration 2.5",
     Closeness::kNear},
    {"speex", ".ogg", 16000, true, "-c:a libspeex", Closeness::kNear},
    {"g722", ".wav", 16000, true, "-c:a g722", Closeness::kNear},
    {"g726", ".wav", 8000, true, "-c:a g726", Closeness::kNear},
    {"truehd", ".mkv", 48000, false, "-c:a truehd -strict -2", Closeness::kExact},
};

std::string Make(const Codec& codec) {
  std::vector<std::string> words = {
      "-f", "lavfi",
      "-i", test_support::SweepFilter(codec.sampleRate, codec.isMono ? "mono" : "stereo"),
      "-t", "6"};
  test_support::AppendWords(codec.coding, &words);
  return test_support::CustomClip(std::string("preroll_") + codec.name + codec.extension, words);
}

// The newest releases have no encoder for this profile.
bool EncodesAacMain() {
  static const bool known =
      test_support::Run({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "anullsrc", "-t", "0.1",
                         "-c:a", "aac", "-profile:a", "aac_main", "-f", "null", "-"})
          .status == 0;
  return known;
}

double Rms(const Samples& samples, size_t from, size_t to) {
  double sum = 0;
  for (size_t i = from; i < to; ++i) sum += samples[i] * samples[i];
  return std::sqrt(sum / static_cast<double>(to - from));
}

double Decibels(double ratio) { return 20 * std::log10(std::max(ratio, 1e-12)); }

void ExpectClose(const Samples& jumped, const Samples& linear, Closeness closeness) {
  ASSERT_EQ(jumped.size(), linear.size());
  ASSERT_FALSE(linear.empty());
  if (closeness == Closeness::kExact) {
    EXPECT_EQ(jumped, linear);
    return;
  }
  Samples difference(linear.size());
  for (size_t i = 0; i < linear.size(); ++i) difference[i] = jumped[i] - linear[i];
  constexpr size_t kWindow = 2048;  // 1024 of each of two channels
  for (size_t from = 0; from < linear.size(); from += kWindow) {
    const size_t to = std::min(from + kWindow, linear.size());
    if (closeness == Closeness::kNear) {
      ASSERT_LT(Decibels(Rms(difference, from, to)), -60) << from;
    } else {
      ASSERT_NEAR(Decibels(Rms(jumped, from, to)), Decibels(Rms(linear, from, to)), 1) << from;
    }
  }
}

class Preroll : public testing::TestWithParam<Codec> {};

TEST_P(Preroll, LeadsToTheLinearDecode) {
  if (std::string(GetParam().name) == "aac_main" && !EncodesAacMain()) {
    GTEST_SKIP() << "ffmpeg has no encoder for it";
  }
  const Stream stream(Make(GetParam()));
  const SoundPreroll preroll(stream.Parameters());
  constexpr size_t kPlaces = 12;
  constexpr size_t kPackets = 4;  // that are compared at each place
  for (size_t place = 0; place < kPlaces; ++place) {
    const size_t target = (stream.Count() - kPackets) * (place + 1) / (kPlaces + 1);
    SCOPED_TRACE(target);
    const size_t end = target + kPackets;
    ExpectClose(stream.Decode(stream.First(target, preroll), target, end, preroll),
                stream.Decode(0, target, end, preroll), GetParam().closeness);
  }
}

INSTANTIATE_TEST_SUITE_P(Codecs, Preroll, testing::ValuesIn(kCodecs),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

// Without a pre-roll most codecs fail the comparison above, so that it can tell.
TEST(PrerollNeed, ShowsInTheComparison) {
  const Stream stream(Make(kCodecs[9]));
  const SoundPreroll preroll(stream.Parameters());
  const size_t target = stream.Count() / 2;
  EXPECT_NE(stream.Decode(target, target, target + 1, preroll),
            stream.Decode(0, target, target + 1, preroll));
}

}  // namespace
}  // namespace codec
