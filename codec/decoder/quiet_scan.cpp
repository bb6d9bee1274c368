// SPDX-License-Identifier: MIT
#include "codec/decoder/quiet_scan.h"

#include <algorithm>
#include <cmath>

#include "codec/decoder/packet_clock.h"
#include "codec/decoder/scan_input.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

constexpr double kMinute = 60;

int64_t MinuteOf(int64_t ticks, AVRational base) {
  constexpr double kFarthest = 1e15;
  const double minute = std::floor(Seconds(ticks, base) / kMinute);
  return static_cast<int64_t>(std::clamp(minute, -kFarthest, kFarthest));
}

}  // namespace

int QuietScan::Read(const std::string& path, int soundStream,
                    const std::shared_ptr<const JoinedParts>& parts) {
  ScanInput input;
  if (input.Open(path, soundStream, parts) != 0) return -1;
  for (const AVStream* const stream : {input.video, input.sound}) {
    if (stream != nullptr) Add(stream);
  }
  Run(&input.file, input.packet.get());
  mStreams.clear();
  return 0;
}

void QuietScan::Run(PacketSource* source, AVPacket* packet) {
  while (source->Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    const int64_t stamp = StampOf(packet);
    if (stamp == AV_NOPTS_VALUE) continue;
    for (const AVStream* const stream : mStreams) {
      if (stream->index != packet->stream_index) continue;
      mMinutes.insert(MinuteOf(stamp, stream->time_base));
    }
  }
}

double QuietScan::Seconds(double from, double to, double shortest) const {
  double sum = 0;
  double quietFrom = from;
  const auto end = [&](double quietTo) {
    const double seconds = std::min(quietTo, to) - quietFrom;
    if (seconds >= shortest) sum += seconds;
  };
  for (const int64_t minute : mMinutes) {
    const double begin = static_cast<double>(minute) * kMinute;
    end(begin);
    quietFrom = std::max(quietFrom, begin + kMinute);
  }
  end(to);
  return sum;
}

}  // namespace codec
