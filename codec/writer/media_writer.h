// SPDX-License-Identifier: MIT
// The media writer as the reverse job and embedding programs see it.
#pragma once

#include <cstdint>

#include "codec/format/media_format.h"
#include "codec/utils/frame_type.h"

namespace codec {

// Takes frames in the order in which they are to be written and feeds an encoder with them. Life:
// Configure (by the factory), Start, any number of WriteFrame, Stop, destruction. One thread calls
// these. Writers share their buffers, so that one at a time may exist in a process, but for those
// whose description has "independent" 1.
class MediaWriter {
 public:
  MediaWriter() = default;
  virtual ~MediaWriter() = default;
  MediaWriter(const MediaWriter&) = delete;
  MediaWriter& operator=(const MediaWriter&) = delete;

  // Opens the encoder and with it the output. Called by the factory. 0, or -1 after an error line.
  virtual int Configure(MediaFormat& format) = 0;
  // Makes the writer ready for frames. 0, also when it is already, or -1 after an error line.
  virtual int Start() = 0;
  // Writes what is queued, closes the output and empties the buffer pool.
  virtual void Stop() = 0;
  // One frame, copied before the call returns; `type` is a FrameType, `size` is in bytes, `pts` in
  // microseconds. A picture is of "width" x "height" in "input-color-format", packed: planes one
  // after another, rows without padding. Each picture is newer than the picture before. After a
  // planar picture width + 64 bytes more must be readable: image routines round chroma sizes up.
  // Sound is a block of any number of samples of the type of "sample-format", interleaved also
  // where that is planar. What goes wrong is logged and shows in OutputError.
  virtual void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) = 0;
  // What the encoder answers for this key; -1 without an encoder.
  virtual int64_t GetParameter(const char* key) = 0;
  // Moves the logo while frames flow; other keys are ignored. "water-mark-pos": the corner, 1 to 4,
  // clockwise from top left. "water-mark-rotation": clockwise degrees, 0, 90, 180 or 270.
  // "water-mark-flags": both, the rotation in bits 16 to 31, the corner in bits 0 to 15. Setting
  // the corner alone turns the logo upright.
  virtual void SetParameter(const char* key, int value) = 0;
  // "speed" only, which is kept and without effect on frames.
  virtual void SetParameter(const char* key, double value) = 0;

  // The first error that leaves the output incomplete, as FFmpeg's negative number; 0 while there
  // was none. Stays readable after Stop; may be called while frames flow.
  virtual int OutputError() { return 0; }
  // Pictures that the encoder has taken; below 0 if the writer does not count them. A picture that
  // is not newer than the one before it is not taken. Stays readable after Stop.
  virtual int64_t PicturesWritten() { return -1; }
};

}  // namespace codec
