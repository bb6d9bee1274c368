// SPDX-License-Identifier: MIT
#include "codec/decoder/quiet_scan.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/input_file.h"
#include "codec/decoder/packet_clock.h"
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
  InputFile file;
  const ffmpeg::UniquePacket packet(av_packet_alloc());
  if (packet == nullptr) {
    log_error(kDecoderTag, "Could not allocate packet");
    return -1;
  }
  if (file.Open(path) != 0) return -1;
  if (parts != nullptr) file.Join(parts);
  const int video = av_find_best_stream(file.Context(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  for (int i = 0; i < static_cast<int>(file.Context()->nb_streams); ++i) {
    if (i == video || i == soundStream) {
      Add(file.Context()->streams[i]);
    } else {
      file.LeaveOut(i);
    }
  }
  Run(&file, packet.get());
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
