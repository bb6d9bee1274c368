// SPDX-License-Identifier: MIT
// The encoder behind the front: settings one by one, then one output file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace codec {

// Calls come from one thread at a time, in this order: SetParameter for every setting, Init, Open,
// any number of EncodeVideo, EncodeAudio and GetParameter, Close.
class FFmpegEncoder {
 public:
  FFmpegEncoder() = default;
  virtual ~FFmpegEncoder() = default;
  FFmpegEncoder(const FFmpegEncoder&) = delete;
  FFmpegEncoder& operator=(const FFmpegEncoder&) = delete;

  // Resolves what the settings name; the two texts are kept for other encoders and without effect.
  // 0, or -1 when a name is unknown.
  virtual int Init(const char* libPrefix, const char* libName) = 0;
  // Keeps its place in the order of operations; does nothing.
  virtual void Reserved() {}
  // One key of a MediaFormat with its value as text. Unknown keys are logged and dropped.
  virtual void SetParameter(const char* key, const char* value) = 0;
  // As MediaEncoder::Open.
  virtual int Open() = 0;
  // As MediaEncoder::Close.
  virtual void Close() = 0;
  // As MediaEncoder::GetParameter.
  virtual int GetParameter(const char* key) = 0;
  // As MediaEncoder::EncodeVideo.
  virtual int EncodeVideo(uint8_t* data, int ignored, int64_t ptsUs) = 0;
  // As MediaEncoder::EncodeAudio.
  virtual int EncodeAudio(uint8_t* data, size_t size) = 0;

  // The first error of opening, encoding, writing or finishing the output, as FFmpeg's negative
  // number; 0 while there was none. Stays readable after Close.
  virtual int OutputError() const { return 0; }
};

}  // namespace codec
