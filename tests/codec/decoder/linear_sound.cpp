// SPDX-License-Identifier: MIT
#include "tests/codec/decoder/linear_sound.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/compat_decoding.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

constexpr int kChannels = 2;

class LinearReading {
 public:
  LinearReading(const std::string& path, Mix mix) : mMix(mix) {
    AVFormatContext* file = nullptr;
    if (avformat_open_input(&file, path.c_str(), nullptr, nullptr) < 0) {
      throw std::runtime_error("cannot open " + path);
    }
    mFile.reset(file);
    avformat_find_stream_info(file, nullptr);
    mSound.stream = av_find_best_stream(file, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (mSound.stream < 0) throw std::runtime_error("no sound in " + path);
    mStream = file->streams[mSound.stream];
    const AVCodec* const decoder = avcodec_find_decoder(mStream->codecpar->codec_id);
    mDecoder.reset(avcodec_alloc_context3(decoder));
    avcodec_parameters_to_context(mDecoder.get(), mStream->codecpar);
    mDecoder->pkt_timebase = mStream->time_base;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "cons_noisegen", "1", 0);
    const int opened = avcodec_open2(mDecoder.get(), decoder, &options);
    av_dict_free(&options);
    if (opened < 0) throw std::runtime_error("cannot decode " + path);
    mSound.sampleRate = mDecoder->sample_rate;
  }

  LinearSound Read() {
    const ffmpeg::UniquePacket packet(av_packet_alloc());
    while (av_read_frame(mFile.get(), packet.get()) >= 0) {
      const ffmpeg::PacketGuard guard(packet.get());
      if (packet->stream_index != mStream->index) continue;
      ++mSound.packets;
      Decode(packet.get());
    }
    Decode(nullptr);
    return std::move(mSound);
  }

 private:
  void Decode(const AVPacket* packet) {
    avcodec_send_packet(mDecoder.get(), packet);
    while (avcodec_receive_frame(mDecoder.get(), mFrame.get()) >= 0) {
      const ffmpeg::FrameGuard guard(mFrame.get());
      ffmpeg::StampFirstSample(mFrame.get());
      Take(mFrame.get());
    }
  }

  void Take(const AVFrame* frame) {
    LinearBlock block;
    block.time = frame->best_effort_timestamp == AV_NOPTS_VALUE
                     ? mNext
                     : static_cast<double>(frame->best_effort_timestamp) *
                           static_cast<double>(mStream->time_base.num) / mStream->time_base.den;
    block.samples = frame->nb_samples;
    block.length = static_cast<double>(frame->nb_samples) / frame->sample_rate;
    block.offset = mSound.samples.size();
    mNext = block.time + block.length;
    if (frame->sample_rate != mSound.sampleRate) return;
    mSound.samples.resize(block.offset + static_cast<size_t>(block.samples) * kChannels);
    Convert(frame, mSound.samples.data() + block.offset);
    mSound.blocks.push_back(block);
  }

  void Convert(const AVFrame* frame, float* samples) {
    uint64_t mask = ffmpeg::ChannelMask(frame);
    if (mask == 0) mask = ffmpeg::DefaultChannelMask(ffmpeg::Channels(frame));
    if (mConverter == nullptr || mask != mMask || frame->format != mFormat) {
      mConverter =
          ffmpeg::NewResampler(AV_CH_LAYOUT_STEREO, AV_SAMPLE_FMT_FLT, mask,
                               static_cast<AVSampleFormat>(frame->format), frame->sample_rate);
      if (mMix == Mix::kNormalized) {
        av_opt_set_double(mConverter.get(), "rematrix_maxval", 1, 0);
      }
      swr_init(mConverter.get());
      mMask = mask;
      mFormat = frame->format;
    }
    auto* bytes = reinterpret_cast<uint8_t*>(samples);
    swr_convert(mConverter.get(), &bytes, frame->nb_samples,
                const_cast<const uint8_t**>(frame->extended_data), frame->nb_samples);
  }

  const Mix mMix;
  LinearSound mSound;
  ffmpeg::UniqueInput mFile;
  const AVStream* mStream = nullptr;
  ffmpeg::UniqueCodecContext mDecoder;
  ffmpeg::UniqueFrame mFrame{av_frame_alloc()};
  ffmpeg::UniqueResampler mConverter;
  uint64_t mMask = 0;
  int mFormat = -1;
  double mNext = 0;
};

}  // namespace

LinearSound DecodeLinearly(const std::string& path, Mix mix) {
  return LinearReading(path, mix).Read();
}

double LargestDifference(const float* a, const float* b, int samples, int window) {
  double largest = 0;
  double sum = 0;
  const int count = samples * kChannels;
  const int wide = std::min(window * kChannels, count);
  for (int i = 0; i < count; ++i) {
    const double difference = a[i] - b[i];
    sum += difference * difference;
    if (i >= wide) {
      const double old = a[i - wide] - b[i - wide];
      sum -= old * old;
    }
    largest = std::max(largest, sum);
  }
  constexpr double kNothing = 1e-20;
  return 10 * std::log10(largest / std::max(wide, 1) + kNothing);
}

}  // namespace codec
