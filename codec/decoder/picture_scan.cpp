// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_scan.h"

#include "codec/decoder/packet_clock.h"
#include "codec/decoder/scan_input.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

int PictureScan::Read(const std::string& path, const std::shared_ptr<const JoinedParts>& parts) {
  constexpr int kNoSound = -1;
  ScanInput input;
  if (input.Open(path, kNoSound, parts) != 0 || input.video == nullptr) return -1;
  Run(input.video, &input.file, input.packet.get());
  for (const int64_t stamp : input.file.Holes(input.video->index)) Count(*input.video, stamp);
  return 0;
}

void PictureScan::Count(const AVStream& video, int64_t stamp) {
  const double time = Seconds(stamp, video.time_base);
  if (mFrom <= time && time < mTo) ++mPictures;
}

void PictureScan::Run(const AVStream* video, PacketSource* source, AVPacket* packet) {
  while (source->Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    if (packet->stream_index != video->index) continue;
    if (packet->pos >= mEnd) return;
    const int64_t stamp = StampOf(packet);
    if (stamp == AV_NOPTS_VALUE || (packet->flags & AV_PKT_FLAG_DISCARD) != 0) continue;
    Count(*video, stamp);
  }
}

}  // namespace codec
