// The media writer as the reverse job and embedding programs see it.
#pragma once

#include <cstdint>

#include "codec/format/media_format.h"

namespace codec {

// Takes frames in the order in which they are to be written and feeds an encoder with them.
// Life: Configure (by the factory), Start, any number of WriteFrame, Stop, destruction.
class MediaWriter {
 public:
  MediaWriter() = default;
  virtual ~MediaWriter() = default;
  MediaWriter(const MediaWriter&) = delete;
  MediaWriter& operator=(const MediaWriter&) = delete;

  virtual int Configure(MediaFormat& format) = 0;
  virtual int Start() = 0;
  // Writes what is queued, closes the output and empties the shared buffer pool.
  virtual void Stop() = 0;
  // One frame, copied before the call returns. `type` 1 is a packed picture in the configured input
  // format, 2 interleaved samples; `pts` is in microseconds.
  virtual void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) = 0;
  // What the encoder answers for this key; -1 without an encoder.
  virtual int64_t GetParameter(const char* key) = 0;
  // "water-mark-pos", "water-mark-rotation" and "water-mark-flags" move the logo while frames flow.
  virtual void SetParameter(const char* key, int value) = 0;
  // "speed" only.
  virtual void SetParameter(const char* key, double value) = 0;

  // The first error that leaves the output incomplete, as FFmpeg's negative number; 0 while there
  // was none. Stays readable after Stop; may be called while frames flow.
  virtual int OutputError() { return 0; }
};

}  // namespace codec
