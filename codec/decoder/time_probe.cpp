// SPDX-License-Identifier: MIT
#include "codec/decoder/time_probe.h"

#include "codec/ffmpeg/compat_fields.h"

namespace codec {

void TimeProbe::Run() {
  if (mFrame == nullptr || mPacket == nullptr) {
    mSession->input.Failure().Keep(AVERROR(ENOMEM));
    return;
  }
  mSession->input.SeekToStart(0);
  mSession->FlushDecoders();
  // Both are tried on each pass, the picture first.
  for (;;) {
    const bool videoSettled = TryVideo();
    const bool audioSettled = TryAudio();
    if (videoSettled && audioSettled) break;
    Feed();
  }
}

bool TimeProbe::TryVideo() {
  StreamDecoder* const video = mSession->video.get();
  if (video == nullptr || mVideoSettled) return true;
  const std::optional<int64_t> stamp = Try(video, &mVideoSettled);
  if (stamp.has_value()) mSession->times.SetFirstVideo(video->Seconds(*stamp));
  return mVideoSettled;
}

bool TimeProbe::TryAudio() {
  StreamDecoder* const audio = mSession->audio.get();
  if (audio == nullptr || mAudioSettled) return true;
  const std::optional<int64_t> stamp = Try(audio, &mAudioSettled);
  if (stamp.has_value()) {
    mSession->times.SetFirstAudio(static_cast<double>(*stamp) / audio->TicksPerSecond());
  }
  return mAudioSettled;
}

std::optional<int64_t> TimeProbe::Try(StreamDecoder* decoder, bool* settled) {
  AVFrame* const frame = mFrame.get();
  const int result = decoder->Receive(frame);
  if (result < 0) {
    *settled = mEnded || result == AVERROR_EOF;
    return std::nullopt;
  }
  const ffmpeg::FrameGuard guard(frame);
  *settled = true;
  if (frame->width > 0) mFirstFields = ffmpeg::FieldsOf(frame);
  if (frame->best_effort_timestamp == AV_NOPTS_VALUE) return std::nullopt;
  return frame->best_effort_timestamp;
}

// Packets of a stream that has given its frame are not decoded: the frame of the other stream may
// be far away.
void TimeProbe::Feed() {
  AVPacket* const packet = mPacket.get();
  StreamDecoder* const video = mVideoSettled ? nullptr : mSession->video.get();
  StreamDecoder* const audio = mAudioSettled ? nullptr : mSession->audio.get();
  mEnded = !mSession->input.Read(packet);
  if (mEnded) {
    if (video != nullptr) video->Send(nullptr);
    if (audio != nullptr) audio->Send(nullptr);
    return;
  }
  const ffmpeg::PacketGuard guard(packet);
  if (video != nullptr && video->Owns(packet)) video->Send(packet);
  if (audio != nullptr && audio->Owns(packet)) audio->Send(packet);
}

}  // namespace codec
