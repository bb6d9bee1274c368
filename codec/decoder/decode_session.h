// What one opened input consists of. Reading and seeking work on it.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

#include "codec/decoder/audio_converter.h"
#include "codec/decoder/frame_times.h"
#include "codec/decoder/input_file.h"
#include "codec/decoder/picture_copy.h"
#include "codec/decoder/stream_decoder.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

struct DecodeSession {
  InputFile input;
  // Null when the input has no such stream, or none that can be decoded. Declared after the input,
  // so that decoders are gone before the streams that they belong to.
  std::unique_ptr<StreamDecoder> video;
  std::unique_ptr<StreamDecoder> audio;

  PictureCopy pictures;
  AudioConverter sound;
  FrameTimes times;

  double duration = 0;  // seconds
  // Seconds of the file's stamps at which the last packet ends, if the length was found by
  // scanning.
  std::optional<double> scannedEnd;
  double frameRate = 0;  // frames per second, 0 when unknown
  // In ticks of the video stream: the first stamp that a packet has, and the distance between two
  // key frames, 0 when unknown.
  int64_t first_video_pts_ = AV_NOPTS_VALUE;
  int32_t keyint_ = 0;
  // Sound before this time, in seconds, is not delivered. Finite after a seek for sound alone.
  double soundFrom = -std::numeric_limits<double>::infinity();

  int VideoIndex() const { return video == nullptr ? -1 : video->Index(); }

  void FlushDecoders() {
    if (video != nullptr) video->Flush();
    if (audio != nullptr) audio->Flush();
  }
};

}  // namespace codec
