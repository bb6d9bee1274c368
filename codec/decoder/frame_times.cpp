// SPDX-License-Identifier: MIT
#include "codec/decoder/frame_times.h"

#include <cfloat>
#include <cmath>

#include "codec/decoder/packet_clock.h"
#include "codec/decoder/stream_decoder.h"

namespace codec {
namespace {

double SoundSeconds(const AVFrame* frame) {
  return frame->sample_rate > 0 ? static_cast<double>(frame->nb_samples) / frame->sample_rate : 0;
}

}  // namespace

bool ReachesTime(double time, float seconds) {
  const float beyond = seconds + FLT_EPSILON;
  return time > beyond || std::abs(time - seconds) < FLT_EPSILON;
}

void FrameTimes::Open(const StreamDecoder* video, const StreamDecoder* audio, double frameRate) {
  mVideo = video;
  mAudio = audio;
  mPictureSeconds = frameRate > 0 ? 1 / frameRate : 0;
}

double FrameTimes::OfVideo(const AVFrame* frame) {
  return OfVideoPacket(frame->best_effort_timestamp);
}

double FrameTimes::VideoTime(const AVFrame* frame) const {
  return mVideo->Seconds(frame->best_effort_timestamp) - mFirstVideo;
}

double FrameTimes::OfAudio(const AVFrame* frame) {
  const int64_t ticks = frame->best_effort_timestamp;
  return mAudioTrack.Take(ticks != AV_NOPTS_VALUE,
                          static_cast<double>(ticks) / mAudio->TicksPerSecond() - mFirstAudio,
                          SoundSeconds(frame));
}

double FrameTimes::OfVideoPacket(int64_t ticks) {
  return mVideoTrack.Take(ticks != AV_NOPTS_VALUE, mVideo->Seconds(ticks) - mFirstVideo,
                          mPictureSeconds);
}

double FrameTimes::OfAudioPacket(int64_t ticks, const AVFrame* frame) {
  return mAudioTrack.Take(ticks != AV_NOPTS_VALUE,
                          static_cast<double>(ticks) / mAudio->TicksPerSecond() - mFirstVideo,
                          SoundSeconds(frame));
}

void FrameTimes::Restart(double seconds) {
  mVideoTrack.next = seconds;
  mAudioTrack.next = seconds;
}

void FrameTimes::RestartVideo(const AVPacket* packet) {
  const int64_t ticks = StampOf(packet);
  if (ticks != AV_NOPTS_VALUE) mVideoTrack.next = mVideo->Seconds(ticks) - mFirstVideo;
}

void FrameTimes::RestartAudio(const AVPacket* packet) {
  const int64_t ticks = StampOf(packet);
  if (ticks != AV_NOPTS_VALUE) mAudioTrack.next = mAudio->Seconds(ticks) - mFirstAudio;
}

}  // namespace codec
