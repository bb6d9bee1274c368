// SPDX-License-Identifier: MIT
#include "codec/writer/frame_drain.h"

#include <utility>

#include "codec/utils/frame_type.h"

namespace codec {

bool FrameDrain::WriteNext() {
  PooledBuffer buffer = SelectNext();
  if (!buffer) return false;
  mEncoder->Write(std::move(buffer));
  return true;
}

void FrameDrain::DrainPreferred() {
  while (WriteNext()) {
  }
}

void FrameDrain::DrainByTime() {
  while (PooledBuffer buffer = FrameQueue::PopEarlier(*mVideo, *mAudio)) {
    mEncoder->Write(std::move(buffer));
  }
}

PooledBuffer FrameDrain::SelectNext() {
  const int wanted = mEncoder->GetParameter("next-frame-type");
  if (wanted != kVideoFrame && wanted != kAudioFrame) return nullptr;
  const bool isVideo = wanted == kVideoFrame;
  FrameQueue* const first = isVideo ? mVideo : mAudio;
  FrameQueue* const second = isVideo ? mAudio : mVideo;
  PooledBuffer buffer = first->Pop();
  return buffer ? std::move(buffer) : second->Pop();
}

}  // namespace codec
