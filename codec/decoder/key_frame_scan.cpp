// SPDX-License-Identifier: MIT
#include "codec/decoder/key_frame_scan.h"

#include <utility>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/packet_clock.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

bool IsKey(const AVPacket* packet) { return (packet->flags & AV_PKT_FLAG_KEY) != 0; }

}  // namespace

void KeyFrameScan::Run(PacketSource* source, AVPacket* packet, int64_t* firstPts) {
  const auto isOver = [&] { return mEndsAtFirst ? *firstPts != AV_NOPTS_VALUE : mSecondKeyFound; };
  while (!isOver() && source->Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    if (packet->stream_index != mVideoIndex) continue;
    if (!std::exchange(mHasFirst, true)) mFirstPosition = packet->pos;
    if (*firstPts == AV_NOPTS_VALUE) *firstPts = PacketTimestamp(packet);
    if (!IsKey(packet)) {
      if (mKeyFound) ++mCount;
    } else {
      mSecondKeyFound = mCount > 0;
      mKeyFound = true;
    }
  }
}

void VariableRateCheck::Run(PacketSource* source, AVPacket* packet, int64_t* firstPts) {
  for (int i = 0; i < kPacketLimit; ++i) {
    if (*firstPts != AV_NOPTS_VALUE && (IsVariable() || mBudget <= 0)) break;
    if (!source->Read(packet)) break;
    const ffmpeg::PacketGuard guard(packet);
    if (packet->stream_index == mVideoIndex) Look(packet, firstPts);
  }
  if (IsVariable()) log_info(kDecoderTag, "meta.media.variable_frame_rate %d", 1);
}

void VariableRateCheck::Look(const AVPacket* packet, int64_t* firstPts) {
  if (packet->duration > 0 && packet->duration != mLastDuration) {
    log_verbose(kDecoderTag, "checking VFR: pkt.duration %lld",
                static_cast<long long>(packet->duration));
    if (mLastDuration > 0) ++mChanges;
    mLastDuration = packet->duration;
  }
  // Every video packet counts; otherwise the third change would always end the check first.
  --mBudget;
  if (!IsKey(packet) || *firstPts != AV_NOPTS_VALUE) return;
  // Wraps on purpose: only the low half is printed.
  const auto delta = static_cast<uint32_t>(static_cast<uint64_t>(packet->pts) -
                                           static_cast<uint64_t>(packet->dts));
  log_debug(kDecoderTag, "first_pts %lld dts %lld pts_dts_delta %d",
            static_cast<long long>(packet->pts), static_cast<long long>(packet->dts),
            static_cast<int32_t>(delta));
  *firstPts = packet->dts != AV_NOPTS_VALUE ? 0 : PacketTimestamp(packet);
}

}  // namespace codec
