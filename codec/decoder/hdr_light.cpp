// SPDX-License-Identifier: MIT
#include "codec/decoder/hdr_light.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "codec/ffmpeg/compat_decoding.h"
#include "codec/ffmpeg/file_url.h"

namespace codec {
namespace {

// More packets than any decoder takes before its first picture.
constexpr int kMostPackets = 500;

long Number(AVRational value, int unit) { return std::lround(av_q2d(value) * unit); }

std::string Pair(const char* name, long first, long second) {
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%s(%ld,%ld)", name, first, second);
  return text.data();
}

std::string Point(const char* name, const AVRational* xy) {
  constexpr int kUnit = 50000;
  return Pair(name, Number(xy[0], kUnit), Number(xy[1], kUnit));
}

std::string MasteringText(const AVFrame* frame) {
  const AVFrameSideData* const data =
      av_frame_get_side_data(frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
  if (data == nullptr) return "";
  const auto& light = *reinterpret_cast<const AVMasteringDisplayMetadata*>(data->data);
  if (light.has_primaries == 0 || light.has_luminance == 0) return "";
  constexpr int kUnit = 10000;
  // FFmpeg's order is red, green, blue.
  return Point("G", light.display_primaries[1]) + Point("B", light.display_primaries[2]) +
         Point("R", light.display_primaries[0]) + Point("WP", light.white_point) +
         Pair("L", Number(light.max_luminance, kUnit), Number(light.min_luminance, kUnit));
}

std::string ContentText(const AVFrame* frame) {
  const AVFrameSideData* const data =
      av_frame_get_side_data(frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL);
  if (data == nullptr) return "";
  const auto& light = *reinterpret_cast<const AVContentLightMetadata*>(data->data);
  return std::to_string(light.MaxCLL) + "," + std::to_string(light.MaxFALL);
}

// The first picture of the stream. Whether there is one.
bool DecodeFirst(AVFormatContext* file, AVStream* stream, AVFrame* frame) {
  const AVCodec* const codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (codec == nullptr) return false;
  const ffmpeg::UniqueCodecContext context = ffmpeg::NewDecoder(stream, codec);
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  if (context == nullptr || packet == nullptr) return false;
  if (avcodec_open2(context.get(), codec, nullptr) < 0) return false;
  for (int i = 0; i < kMostPackets && av_read_frame(file, packet.get()) >= 0; ++i) {
    const ffmpeg::PacketGuard guard(packet.get());
    if (packet->stream_index != stream->index) continue;
    ffmpeg::TagPacket(packet.get());
    avcodec_send_packet(context.get(), packet.get());
    if (avcodec_receive_frame(context.get(), frame) >= 0) return true;
  }
  // What the decoder holds of a file of few pictures.
  avcodec_send_packet(context.get(), nullptr);
  return avcodec_receive_frame(context.get(), frame) >= 0;
}

}  // namespace

HdrLight ReadHdrLight(const std::string& path) {
  AVFormatContext* opened = nullptr;
  if (avformat_open_input(&opened, ffmpeg::FileUrl(path).c_str(), nullptr, nullptr) < 0) return {};
  const ffmpeg::UniqueInput file(opened);
  if (avformat_find_stream_info(file.get(), nullptr) < 0) return {};
  const int index = av_find_best_stream(file.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  const ffmpeg::UniqueFrame frame(av_frame_alloc());
  if (index < 0 || frame == nullptr) return {};
  if (!DecodeFirst(file.get(), file->streams[index], frame.get())) return {};
  return {MasteringText(frame.get()), ContentText(frame.get())};
}

}  // namespace codec
