// SPDX-License-Identifier: MIT
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

  // Takes the settings of the output over; nothing is opened yet. 0, or -1 after an error line.
  virtual int Configure(const MediaFormat& format) = 0;
  // Opens the encoders and the file, and writes the header. 0, or -1 after an error line. A header
  // that the container refuses is no failure here, but an OutputError.
  virtual int Open() = 0;
  // Writes what the encoders still hold and the trailer, and closes the file.
  virtual void Close() = 0;
  // "next-frame-type": the kind of frame to hand in next, 1 video, 2 audio, 0 neither.
  // "audio-frame-size": samples per channel in one audio frame. "audio-frame-duration":
  // microseconds. "sample-rate": Hz. 0 for anything unknown, -1 without an implementation.
  virtual int GetParameter(const char* key) = 0;
  // One picture in "output-color-format" and "width" x "height", packed: planes one after another,
  // rows without padding; and its time in microseconds. The bytes stay the caller's. 0 or FFmpeg's
  // negative error.
  virtual int EncodeVideo(uint8_t* data, int ignored, int64_t ptsUs) = 0;
  // One encoder frame, "audio-frame-size" samples per channel: interleaved, in samples of
  // "sample-format" (those of a planar format too, doubles excepted). `size` is in bytes, and the
  // bytes stay the caller's. Time is the running count of samples. 0 or a negative error, which may
  // be that of one of the eight frames before: frames are encoded on another thread. The error of
  // the last ones shows in OutputError after Close.
  virtual int EncodeAudio(uint8_t* data, size_t size) = 0;

  // The first error of opening, encoding, writing or finishing the output, as FFmpeg's negative
  // number; 0 while there was none. Stays readable after Close.
  virtual int OutputError() const { return 0; }
};

}  // namespace codec
