// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_extent.h"

#include <algorithm>

#include "codec/decoder/packet_clock.h"
#include "codec/decoder/scan_input.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

// A packet lasts at least so long, in seconds: a single one that does not say is not nothing.
constexpr double kShortest = 0.001;

}  // namespace

int SoundExtent::Read(const std::string& path, int stream,
                      const std::shared_ptr<const JoinedParts>& parts) {
  ScanInput input;
  if (input.Open(path, stream, parts) != 0) return -1;
  if (input.video != nullptr) input.file.LeaveOut(input.video->index);
  bool isAny = false;
  double last = 0;  // begin of the packet before
  AVPacket* const packet = input.packet.get();
  while (input.file.Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    const int64_t stamp = StampOf(packet);
    if (packet->stream_index != stream || stamp == AV_NOPTS_VALUE) continue;
    const AVStream* const from = input.file.Context()->streams[stream];
    const double begin = Seconds(stamp, from->time_base);
    double lasts = Seconds(LengthOf(packet, from, from->time_base), from->time_base);
    // Matroska does not say for sound of a codec that FFmpeg does not know.
    if (!(lasts > 0) && isAny) lasts = begin - last;
    last = begin;
    mBegin = isAny ? std::min(mBegin, begin) : begin;
    mEnd = std::max(isAny ? mEnd : begin, begin + std::max(lasts, kShortest));
    isAny = true;
  }
  return 0;
}

std::optional<LostSound> SoundExtent::Within(double from, double to) const {
  const double begin = std::max(from, mBegin);
  const double end = std::min(to, mEnd);
  if (!(begin < end)) return std::nullopt;
  return LostSound{begin, end - begin};
}

}  // namespace codec
