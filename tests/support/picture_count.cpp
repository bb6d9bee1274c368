// SPDX-License-Identifier: MIT
#include "tests/support/picture_count.h"

#include <algorithm>
#include <optional>

#include "codec/decoder/packet_clock.h"
#include "codec/ffmpeg/compat_decoding.h"
#include "codec/ffmpeg/owned.h"

namespace test_support {
namespace {

using codec::ffmpeg::UniqueCodecContext;
using codec::ffmpeg::UniqueFrame;
using codec::ffmpeg::UniqueInput;
using codec::ffmpeg::UniquePacket;

struct OpenedVideo {
  UniqueInput input;
  int index = -1;

  explicit OpenedVideo(const std::string& path) {
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return;
    input.reset(context);
    avformat_find_stream_info(context, nullptr);
    index = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  }
  const AVStream* Stream() const { return input->streams[index]; }
};

// Pictures and sound begin at the earlier of both, unless they do so at about the same time.
double BeginOf(const OpenedVideo& video, double firstPicture) {
  constexpr double kEarlySound = 0.1;
  const int sound =
      av_find_best_stream(video.input.get(), AVMEDIA_TYPE_AUDIO, -1, video.index, nullptr, 0);
  if (sound < 0) return firstPicture;
  const AVStream* const stream = video.input->streams[sound];
  if (stream->start_time == AV_NOPTS_VALUE) return firstPicture;
  const double first = static_cast<double>(stream->start_time) * av_q2d(stream->time_base);
  return first < firstPicture - kEarlySound ? first : firstPicture;
}

}  // namespace

int64_t CountPackets(const std::string& path) {
  const OpenedVideo video(path);
  if (video.index < 0) return 0;
  int64_t count = 0;
  const UniquePacket packet(av_packet_alloc());
  while (av_read_frame(video.input.get(), packet.get()) >= 0) {
    if (packet->stream_index == video.index) ++count;
    av_packet_unref(packet.get());
  }
  return count;
}

int64_t CountDecodable(const std::string& path, double seconds) {
  const OpenedVideo video(path);
  if (video.index < 0) return 0;
  const AVStream* const stream = video.Stream();
  const AVCodec* const codec = avcodec_find_decoder(stream->codecpar->codec_id);
  const UniqueCodecContext decoder = codec::ffmpeg::NewDecoder(stream, codec);
  decoder->thread_count = 1;
  if (avcodec_open2(decoder.get(), codec, nullptr) < 0) return 0;
  const UniquePacket packet(av_packet_alloc());
  const UniqueFrame frame(av_frame_alloc());
  std::optional<double> begin;
  int64_t key = AV_NOPTS_VALUE;
  int64_t count = 0;
  for (bool isOpen = true; isOpen;) {
    isOpen = av_read_frame(video.input.get(), packet.get()) >= 0;
    if (isOpen && packet->stream_index == video.index) {
      const bool isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
      if (key == AV_NOPTS_VALUE && isKey) key = codec::StampOf(packet.get());
      avcodec_send_packet(decoder.get(), packet.get());
    }
    if (!isOpen) avcodec_send_packet(decoder.get(), nullptr);
    av_packet_unref(packet.get());
    while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
      const int64_t stamp = frame->best_effort_timestamp;
      av_frame_unref(frame.get());
      if (stamp == AV_NOPTS_VALUE || key == AV_NOPTS_VALUE || stamp < key) continue;
      const double time = static_cast<double>(stamp) * av_q2d(stream->time_base);
      if (!begin.has_value()) begin = BeginOf(video, time);
      if (time - *begin < seconds - 1e-6) ++count;
    }
  }
  return count;
}

}  // namespace test_support
