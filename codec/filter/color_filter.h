// SPDX-License-Identifier: MIT
// Changes the pixel format of pictures.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/owned.h"
#include "codec/filter/color_models.h"
#include "codec/filter/media_filter.h"
#include "codec/utils/working_buffer.h"

namespace codec {

class ColorFilter : public MediaFilter {
 public:
  // Reads "color-convert-model" (1 to 23), "input-color-format" and "output-color-format" besides
  // the size, and "field-order": the colors of two fields are not mixed where the general model or
  // the one of "yuv411p" makes fewer rows of colors. 0, or -1 after an error line.
  int Configure(MediaFormat& format) override;

  // Model 1 in front of another filter passes `picture` itself on.
  MediaBuffer* Process(uint8_t* picture) override;

  // Bytes between this filter and the next.
  int64_t WorkingBytes() const { return mWorking.Size(); }

 private:
  int SizeBuffers(int64_t inputBytes, const char* outputName);
  void Convert(const uint8_t* picture, uint8_t* out);
  void ConvertBySwscale(const uint8_t* picture, uint8_t* out);

  const ColorModel* mModel = nullptr;
  WorkingBuffer mWorking;
  int64_t mInputSize = 0;  // bytes that a copy takes
  AVPixelFormat mInputFormat = AV_PIX_FMT_NONE;
  AVPixelFormat mOutputFormat = AV_PIX_FMT_NONE;
  // What a buffer of the pool must hold.
  int32_t mOutputSize = 0;
  bool mKeepsFields = false;
  // Where swscale writes pictures whose packed rows it cannot write.
  ffmpeg::UniqueFrame mAligned;
};

}  // namespace codec
