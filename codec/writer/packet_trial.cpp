// SPDX-License-Identifier: MIT
#include "codec/writer/packet_trial.h"

#include <sys/mman.h>

#include <algorithm>
#include <string>

#include "base/descriptor.h"
#include "codec/encoder/container.h"
#include "codec/writer/packet_writer.h"

namespace codec {
namespace {

bool IsReframed(AVCodecID codec) { return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC; }

bool IsSamePicture(const AVStream& source, const AVPacket& picture, const AVStream& stream,
                   const AVPacket& got) {
  const AVCodecParameters& a = *source.codecpar;
  const AVCodecParameters& b = *stream.codecpar;
  // Bytes without a header of their own mean what the container says of them.
  const bool isBare = a.codec_id == AV_CODEC_ID_RAWVIDEO;
  const bool isSameForm =
      !isBare || (a.format == b.format && a.width == b.width && a.height == b.height);
  if (a.codec_id != b.codec_id || !isSameForm) return false;
  if (IsReframed(a.codec_id)) return true;
  return picture.size == got.size &&
         std::equal(picture.data, picture.data + picture.size, got.data);
}

// Whether the file's first picture is this one. A file that cannot be opened counts as such a file:
// not every format can be told by its first bytes.
bool Holds(const std::string& path, const AVStream& source, const AVPacket& picture) {
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return true;
  const ffmpeg::UniqueInput file(context);
  const bool isBare = source.codecpar->codec_id == AV_CODEC_ID_RAWVIDEO;
  if (isBare && avformat_find_stream_info(context, nullptr) < 0) return false;
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  while (packet != nullptr && av_read_frame(context, packet.get()) >= 0) {
    const ffmpeg::PacketGuard guard(packet.get());
    const AVStream& stream = *context->streams[packet->stream_index];
    if (stream.codecpar->codec_type != AVMEDIA_TYPE_VIDEO) continue;
    return IsSamePicture(source, picture, stream, *packet);
  }
  return packet == nullptr;
}

}  // namespace

bool GivesPicturesBack(const AVStream* source, const MediaFormat& format, const AVPacket* picture) {
  std::string output;
  format.GetString("output-path", output);
  if (WritesSeveralFiles(output.c_str())) {
    return TakesPackets(*ChooseContainer(output.c_str()), *source->codecpar, output.c_str());
  }
  const but::Descriptor memory(memfd_create("trial", MFD_CLOEXEC));
  if (!memory.IsOpen()) return true;
  const std::string path = "/proc/self/fd/" + std::to_string(memory.Number());
  MediaFormat trial = format;
  trial.SetString("write-path", path.c_str());
  PacketWriter writer(source);
  if (writer.Configure(trial) != 0) return false;
  const ffmpeg::UniquePacket packet(picture == nullptr ? nullptr : av_packet_clone(picture));
  if (packet != nullptr) writer.WritePacket(packet.get(), 0, 1);
  writer.Stop();
  if (writer.OutputError() != 0) return false;
  return packet == nullptr || Holds(path, *source, *picture);
}

}  // namespace codec
