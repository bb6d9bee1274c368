// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_scan.h"

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/input_file.h"
#include "codec/decoder/packet_clock.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

int PictureScan::Read(const std::string& path, const std::shared_ptr<const JoinedParts>& parts) {
  InputFile file;
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  if (packet == nullptr) {
    log_error(kDecoderTag, "Could not allocate packet");
    return -1;
  }
  if (file.Open(path) != 0) return -1;
  if (parts != nullptr) file.Join(parts);
  const int video = av_find_best_stream(file.Context(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (video < 0) return -1;
  for (int i = 0; i < static_cast<int>(file.Context()->nb_streams); ++i) {
    if (i != video) file.LeaveOut(i);
  }
  Run(file.Context()->streams[video], &file, packet.get());
  return 0;
}

void PictureScan::Run(const AVStream* video, PacketSource* source, AVPacket* packet) {
  while (source->Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    const int64_t stamp = StampOf(packet);
    if (packet->stream_index != video->index || stamp == AV_NOPTS_VALUE) continue;
    const double time = Seconds(stamp, video->time_base);
    if (mFrom <= time && time < mTo) ++mPictures;
  }
}

}  // namespace codec
