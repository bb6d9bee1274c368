// SPDX-License-Identifier: MIT
#include "codec/writer/writer_settings.h"

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriterImpl";

void ReadFlag(const MediaFormat& format, const char* key, bool& flag) {
  int value = 0;
  if (format.GetInt32(key, value) == 0) flag = value == 1;
}

}  // namespace

void WriterSettings::ReadSharing(const MediaFormat& format) {
  ReadFlag(format, "independent", is_independent);
}

int WriterSettings::Read(const MediaFormat& format) {
  ReadFlag(format, "auto-discard-video", auto_discard_video);
  ReadFlag(format, "auto-discard-audio", auto_discard_audio_);
  log_debug(kTag, "auto_discard_audio_:%d", auto_discard_audio_ ? 1 : 0);
  ReadFlag(format, "enable-av-sync", enable_av_sync);
  if (format.GetInt32("video-frame-size", video_frame_size) != 0) {
    log_error(kTag, "video frame size not set");
    return -1;
  }
  if (format.GetDouble("speed", speed) != 0) {
    log_warn(kTag, "not set speed");
    speed = 1.0;
  }
  format.GetInt32("sample-format", sample_format);
  format.GetInt32("channel-count", channel_count);
  has_audio = false;
  ReadFlag(format, "has-audio", has_audio);
  ReadFlag(format, "short-last-frame", has_short_last_frame);
  return 0;
}

int WriterSettings::ReadAudio(const MediaFormat& format) {
  if (format.GetInt32("sample-rate", sample_rate) != 0) {
    log_error(kTag, "audio sample rate not set");
    return -1;
  }
  if (format.GetInt32("channel-count", channel_count) != 0) {
    log_error(kTag, "audio channels not set");
    return -1;
  }
  return 0;
}

void WriterSettings::ReadThreading(const MediaFormat& format) {
  ReadFlag(format, "use-thread", use_thread_);
  log_debug(kTag, "use_thread_:%d", use_thread_ ? 1 : 0);
}

}  // namespace codec
