// SPDX-License-Identifier: MIT
#include "codec/decoder/length_scan.h"

#include <algorithm>

#include "codec/decoder/packet_clock.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

// If a sum is beyond all numbers, the larger number is as good a guess as any.
int64_t Sum(int64_t a, int64_t b) {
  int64_t sum = 0;
  return __builtin_add_overflow(a, b, &sum) ? std::max(a, b) : sum;
}

bool IsPictures(const AVStream* stream) {
  return stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
}

}  // namespace

void LengthScan::Add(const AVStream* stream) { mTracks.push_back({stream, 0, std::nullopt, 0}); }

void LengthScan::Run(PacketSource* source, AVPacket* packet) {
  while (source->Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    for (Track& track : mTracks) {
      if (track.stream->index == packet->stream_index) Look(packet, &track);
    }
  }
}

void LengthScan::Look(const AVPacket* packet, Track* track) {
  if (IsPictures(track->stream) && packet->pts == AV_NOPTS_VALUE) mLacksTimes = true;
  int64_t begin = StampOf(packet);
  if (begin == AV_NOPTS_VALUE) begin = track->next;
  track->next = Sum(begin, LengthOf(packet, track->stream, track->stream->time_base));
  // Of what is decoded for the sake of others only, the file says that the end comes before.
  if ((packet->flags & AV_PKT_FLAG_DISCARD) != 0) return;
  track->latest = track->end.has_value() ? std::max(track->latest, begin) : begin;
  track->end = track->end.has_value() ? std::max(*track->end, track->next) : track->next;
}

std::optional<ScannedLength> LengthScan::Length() const {
  std::optional<ScannedLength> largest;
  for (const Track& track : mTracks) {
    if (!track.end.has_value()) continue;
    const double end = Seconds(*track.end, track.stream->time_base);
    const double latest = Seconds(track.latest, track.stream->time_base);
    if (!largest.has_value()) largest = {end, latest};
    largest->end = std::max(largest->end, end);
    largest->latest = std::max(largest->latest, latest);
    if (IsPictures(track.stream)) largest->picture = std::max(largest->picture, latest);
  }
  if (largest.has_value()) largest->lacksTimes = mLacksTimes;
  return largest;
}

}  // namespace codec
