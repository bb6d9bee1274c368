// The encoder as the media writer sees it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/format/media_format.h"

namespace codec {

// One output file: configured from a MediaFormat, opened, fed frame by frame, closed. Calls come
// from one thread at a time, in this order: Configure, Open, any number of EncodeVideo, EncodeAudio
// and GetParameter, Close. Close must be called before destruction, or the output stays without its
// trailer.
class MediaEncoder {
 public:
  MediaEncoder() = default;
  virtual ~MediaEncoder() = default;
  MediaEncoder(const MediaEncoder&) = delete;
  MediaEncoder& operator=(const MediaEncoder&) = delete;

  virtual int Configure(const MediaFormat& format) = 0;
  virtual int Open() = 0;
  virtual void Close() = 0;
  // "next-frame-type": the kind of frame to hand in next, 1 video, 2 audio, 0 neither.
  // "audio-frame-size": samples per channel in one audio frame. "audio-frame-duration":
  // microseconds. "sample-rate": Hz. 0 for anything unknown, -1 without an implementation.
  virtual int GetParameter(const char* key) = 0;
  // One packed picture in the configured format and size, and its time in microseconds. 0 or a
  // negative error.
  virtual int EncodeVideo(uint8_t* data, int ignored, int64_t ptsUs) = 0;
  // One encoder frame of interleaved samples in the configured sample format. 0 or a negative
  // error.
  virtual int EncodeAudio(uint8_t* data, size_t size) = 0;

  // The first error of opening, encoding, writing or finishing the output, as FFmpeg's negative
  // number; 0 while there was none. Stays readable after Close.
  virtual int OutputError() const { return 0; }
};

}  // namespace codec
