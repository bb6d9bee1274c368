// SPDX-License-Identifier: MIT
#include "codec/writer/audio_timeline.h"

#include <algorithm>

namespace codec {

AudioTimeline::Block AudioTimeline::Arrive(int64_t pts, int frames) const {
  // Keeps every sum below inside 64 bits whatever time the caller claims.
  constexpr int64_t kFarthest = int64_t{1} << 62;
  pts = std::clamp(pts, -kFarthest, kFarthest);
  return {pts, pts - frames * mFrameDuration, pts - kTolerance};
}

bool AudioTimeline::NeedsSilence(const Block& block) const {
  // Frames shorter than a microsecond would never catch up.
  return mFrameDuration > 0 && mNext < block.limit && mNext < block.early;
}

int64_t AudioTimeline::Stamp() {
  const int64_t stamp = mNext;
  mNext += mFrameDuration;
  return stamp;
}

}  // namespace codec
