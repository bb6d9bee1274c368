// SPDX-License-Identifier: MIT
// An opened input with its decoders, and what is known of both. SessionOpener fills it; reading and
// seeking share it.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>

#include "codec/decoder/audio_converter.h"
#include "codec/decoder/chosen_sound.h"
#include "codec/decoder/frame_times.h"
#include "codec/decoder/input_file.h"
#include "codec/decoder/missed_start.h"
#include "codec/decoder/picture_copy.h"
#include "codec/decoder/picture_losses.h"
#include "codec/decoder/stream_decoder.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

struct DecodeSession {
  InputFile input;
  // Null if the input has no such stream, or none that can be decoded. Declared after the input, so
  // that decoders are freed before the streams that they belong to.
  std::unique_ptr<StreamDecoder> video;
  std::unique_ptr<StreamDecoder> audio;

  PictureCopy pictures;
  AudioConverter sound;
  FrameTimes times;
  PictureLosses losses;
  MissedStart missedStart;

  PassedOverSound passedOverSound;

  double duration = 0;                        // seconds
  int64_t first_video_pts_ = AV_NOPTS_VALUE;  // ticks of the video: of its first packet
  int32_t keyint_ = 0;                        // ticks between two key frames; 0 if unknown

  int VideoIndex() const { return video == nullptr ? -1 : video->Index(); }
  int AudioIndex() const { return audio == nullptr ? -1 : audio->Index(); }

  void FlushDecoders() {
    if (video != nullptr) video->Flush();
    if (audio != nullptr) audio->Flush();
  }

  // The first packets are the next ones, and the decoders forget what they hold. A cover picture
  // has no index to seek in; the sound beside it is still to be read from the start.
  void ReturnToStart() {
    if (input.SeekBackward(VideoIndex(), 0) < 0) {
      input.SeekToStart(std::numeric_limits<int64_t>::min());
    }
    FlushDecoders();
  }
};

}  // namespace codec
