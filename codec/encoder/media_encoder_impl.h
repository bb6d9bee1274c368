// SPDX-License-Identifier: MIT
// The front of the encoder: turns a MediaFormat into settings and forwards everything else. No
// exception leaves it: for want of memory a call gives -ENOMEM, and so does OutputError from then
// on.
#pragma once

#include <memory>

#include "base/first_error.h"
#include "codec/encoder/ffmpeg_encoder.h"
#include "codec/encoder/media_encoder.h"

namespace codec {

class MediaEncoderImpl : public MediaEncoder {
 public:
  // With an FFmpegEncoderImpl of its own.
  MediaEncoderImpl();
  // With a given implementation, which may be null: then every call that has a result returns -1.
  explicit MediaEncoderImpl(std::unique_ptr<FFmpegEncoder> implementation);
  ~MediaEncoderImpl() override;

  // Hands every entry of the format to the implementation, in key order, then initialises it. 0, or
  // -1 when the implementation refuses.
  int Configure(const MediaFormat& format) override;
  int Open() override;
  void Close() override;
  int GetParameter(const char* key) override;
  int EncodeVideo(uint8_t* data, int ignored, int64_t ptsUs) override;
  int EncodeAudio(uint8_t* data, size_t size) override;

  // Also -1 without an implementation.
  int OutputError() const override;

 private:
  template <typename Body>
  int Bordered(const Body& body);
  int SetParameters(const MediaFormat& format);

  but::FirstError mThrown;
  std::unique_ptr<FFmpegEncoder> mEncoder;
};

}  // namespace codec
