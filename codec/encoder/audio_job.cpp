// SPDX-License-Identifier: MIT
#include "codec/encoder/audio_job.h"

#include <utility>

#include "base/log.h"
#include "codec/ffmpeg/compat_channels.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

// For encoders that take any number of samples at once.
constexpr int kDefaultFrameSize = 1024;

}  // namespace

int AudioJob::Prepare(const AVCodecContext* context) {
  frame.reset(av_frame_alloc());
  if (frame == nullptr) {
    log_error(kTag, "Error allocating an audio frame.");
    return -1;
  }
  frame->nb_samples = context->frame_size < 1 ? kDefaultFrameSize : context->frame_size;
  frame->format = context->sample_fmt;
  frame->sample_rate = context->sample_rate;
  if (ffmpeg::CopyLayout(frame.get(), context) < 0 || av_frame_get_buffer(frame.get(), 0) < 0) {
    log_error(kTag, "Error allocating an audio buffer");
    return -1;
  }
  return 0;
}

void AudioJob::Encode(AVCodecContext* context, const AVFrame* input) {
  packetCount = 0;
  receiveResult = 0;
  sendResult = avcodec_send_frame(context, input);
  while (sendResult >= 0 && receiveResult >= 0) {
    if (packetCount == packets.size()) {
      ffmpeg::UniquePacket fresh(av_packet_alloc());
      if (fresh == nullptr) {
        receiveResult = AVERROR(ENOMEM);
        return;
      }
      packets.push_back(std::move(fresh));
    }
    receiveResult = avcodec_receive_packet(context, packets[packetCount].get());
    if (receiveResult >= 0) ++packetCount;
  }
}

}  // namespace codec
