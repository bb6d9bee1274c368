// SPDX-License-Identifier: MIT
// The keys of a media format that the writer itself reads.
#pragma once

#include <cstdint>

#include "codec/format/media_format.h"

namespace codec {

// The fields keep their values where a key is absent, also from one reading to the next. A boolean
// is true only when its value is exactly 1.
struct WriterSettings {
  // What the writer shares with others.
  void ReadSharing(const MediaFormat& format);
  // Everything but sound, threading and sharing. 0, or -1 after an error line.
  int Read(const MediaFormat& format);
  // What sound needs. 0, or -1 after an error line.
  int ReadAudio(const MediaFormat& format);
  void ReadThreading(const MediaFormat& format);

  bool auto_discard_video = true;
  bool auto_discard_audio_ = true;
  bool enable_av_sync = true;
  bool use_thread_ = false;
  bool has_audio = false;
  bool has_short_last_frame = false;  // sound ends with its last sample
  bool is_independent = false;        // shares nothing with other writers
  int32_t video_frame_size = 0;       // bytes
  int32_t sample_format = 8;          // FFmpeg's number; 8 is planar float
  int32_t channel_count = 0;
  int32_t sample_rate = 0;  // Hz
  double speed = 1.0;
};

}  // namespace codec
