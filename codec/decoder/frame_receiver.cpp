// SPDX-License-Identifier: MIT
#include "codec/decoder/frame_receiver.h"

#include <algorithm>

#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/ffmpeg/compat_decoding.h"

namespace codec {

int FrameReceiver::Receive(uint8_t* buffer, DecodedFrame* out) {
  AVFrame* const frame = mFrame.get();
  for (;;) {
    const FrameSource::Next next = mSource->NextFrame(frame);
    if (next == FrameSource::Next::kEnd) return -1;
    const ffmpeg::FrameGuard guard(frame);
    const bool delivered =
        next == FrameSource::Next::kVideo ? DeliverPicture(buffer, out) : DeliverSound(buffer, out);
    if (delivered) return 0;
  }
}

bool FrameReceiver::DeliverPicture(uint8_t* buffer, DecodedFrame* out) {
  const AVFrame* const frame = mFrame.get();
  // Dropped frames take their time too, for the ones after them that have no stamp.
  out->pts = mSession->times.OfVideo(frame);
  out->type = kVideoFrame;
  out->size = static_cast<uint32_t>(std::max(0, ffmpeg::FramePacketSize(frame)));
  if (mSession->pictures.Copy(frame, buffer) > 0) return true;
  mSession->losses.Lose(frame->best_effort_timestamp, PictureLosses::Loss::kDropped);
  return false;
}

bool FrameReceiver::DeliverSound(uint8_t* buffer, DecodedFrame* out) {
  const AVFrame* const frame = mFrame.get();
  out->pts = mSession->times.OfAudio(frame);
  out->type = kAudioFrame;
  if (!mSource->DeliversSoundAt(out->pts)) return false;
  const int bytes = mSession->sound.Deliver(frame, buffer);
  out->size = static_cast<uint32_t>(std::max(0, bytes));
  return bytes >= 0;
}

}  // namespace codec
