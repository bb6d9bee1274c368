// SPDX-License-Identifier: MIT
#include "codec/filter/color_filter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>

#include "base/log.h"
#include "codec/ffmpeg/compat_pictures.h"
#include "codec/ffmpeg/owned.h"
#include "codec/utils/field_order.h"
#include "codec/utils/image_utils.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::ColorFilter";

// swscale stores whole vectors into the colors of some formats, and crashes if a row of them begins
// elsewhere.
constexpr int kVectorBytes = 16;

bool IsOnVector(const uint8_t* row) {
  return reinterpret_cast<uintptr_t>(row) % static_cast<uintptr_t>(kVectorBytes) == 0;
}

// A picture as plane pointers and row lengths.
struct Planes {
  std::array<uint8_t*, 4> data{};
  std::array<int, 4> strides{};

  // Rows unpadded.
  bool Fill(const uint8_t* picture, AVPixelFormat format, int width, int height) {
    return ffmpeg::LayOutPicture(data.data(), strides.data(), picture, format, width, height, 1) >=
           0;
  }
  bool AreOnVectors() const {
    for (size_t i = 0; i < data.size(); ++i) {
      if (!IsOnVector(data[i]) || strides[i] % kVectorBytes != 0) return false;
    }
    return true;
  }
  // Leaves every `step`th row from the first or the second on.
  void Take(int first, int step) {
    for (size_t i = 0; i < data.size(); ++i) {
      if (data[i] != nullptr) data[i] += int64_t{first} * strides[i];
      strides[i] *= step;
    }
  }
};

Planes PlanesOf(const AVFrame& frame) {
  Planes planes;
  std::copy_n(frame.data, planes.data.size(), planes.data.begin());
  std::copy_n(frame.linesize, planes.strides.size(), planes.strides.begin());
  return planes;
}

// Only the planes: older releases would copy a palette too for formats that have none.
void Pack(const AVFrame& frame, const Planes& target) {
  const AVPixFmtDescriptor* const facts =
      av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  for (size_t i = 0; i < target.data.size() && target.strides[i] > 0; ++i) {
    const bool isColor = i == 1 || i == 2;
    const int rows = AV_CEIL_RSHIFT(frame.height, isColor ? facts->log2_chroma_h : 0);
    av_image_copy_plane(target.data[i], target.strides[i], frame.data[i], frame.linesize[i],
                        target.strides[i], rows);
  }
}

bool HalvesColorRows(AVPixelFormat format) {
  const AVPixFmtDescriptor* const facts = av_pix_fmt_desc_get(format);
  return facts != nullptr && facts->log2_chroma_h == 1;
}

// Converts without scaling. `colorPlace` as in Rows below. Null where a format or memory does not
// serve.
ffmpeg::UniqueScaler NewScaler(int width, int height, AVPixelFormat from, AVPixelFormat to,
                               int colorPlace) {
  if (colorPlace < 0) {
    return ffmpeg::UniqueScaler(
        sws_getContext(width, height, from, width, height, to, 0, nullptr, nullptr, nullptr));
  }
  ffmpeg::UniqueScaler scaler(sws_alloc_context());
  if (scaler == nullptr) return nullptr;
  const std::pair<const char*, int> options[] = {
      {"srcw", width},
      {"srch", height},
      {"dstw", width},
      {"dsth", height},
      {"src_format", from},
      {"dst_format", to},
      {"sws_flags", 0},
      {"src_v_chr_pos", HalvesColorRows(from) ? colorPlace : -513},
      {"dst_v_chr_pos", HalvesColorRows(to) ? colorPlace : -513}};
  for (const auto& [name, value] : options) av_opt_set_int(scaler.get(), name, value, 0);
  return sws_init_context(scaler.get(), nullptr, nullptr) < 0 ? nullptr : std::move(scaler);
}

// Of a picture, or of one of its fields.
struct Rows {
  int first;
  int step;
  int colorPlace;  // of halved rows of color, in 256ths of a row; below 0 as swscale takes it
};

// One picture on its way through swscale.
struct Conversion {
  AVPixelFormat from = AV_PIX_FMT_NONE;
  AVPixelFormat to = AV_PIX_FMT_NONE;
  int width = 0;
  int height = 0;
  Planes source;
  Planes target;
};

// By value: a field takes every second row of the planes.
bool ConvertRows(Conversion picture, const Rows& rows) {
  const int count = picture.height / rows.step;
  // A context of its own for every picture: none of it carries over from one to the next.
  const ffmpeg::UniqueScaler scaler =
      NewScaler(picture.width, count, picture.from, picture.to, rows.colorPlace);
  if (scaler == nullptr) {
    log_error(kTag, "sws_getContext falied");
    return false;
  }
  picture.source.Take(rows.first, rows.step);
  picture.target.Take(rows.first, rows.step);
  if (sws_scale(scaler.get(), picture.source.data.data(), picture.source.strides.data(), 0, count,
                picture.target.data.data(), picture.target.strides.data()) < 0) {
    log_error(kTag, "sws_scale failed");
    return false;
  }
  return true;
}

bool ConvertFields(const Conversion& picture) {
  // The rows of color of a field lie nearer to the field's own rows.
  return ConvertRows(picture, {0, 2, 64}) && ConvertRows(picture, {1, 2, 192});
}

// Fields need whole samples of color each.
bool KeepsFields(const MediaFormat& format, int height) {
  std::string name;
  format.GetString("field-order", name);
  return height % 4 == 0 && IsWoven(FieldOrderOf(name).value_or(FieldOrder::kProgressive));
}

}  // namespace

int ColorFilter::Configure(MediaFormat& format) {
  if (MediaFilter::Configure(format) != 0) return -1;
  int model = 0;
  if (format.GetInt32("color-convert-model", model) != 0) {
    log_error(kTag, "not set color convert model");
    return -1;
  }
  std::string input;
  if (format.GetString("input-color-format", input) != 0) {
    log_error(kTag, "not set input color format");
    return -1;
  }
  std::string output;
  if (format.GetString("output-color-format", output) != 0) {
    log_error(kTag, "not set output color format");
    return -1;
  }
  mInputFormat = av_get_pix_fmt(input.c_str());
  mOutputFormat = av_get_pix_fmt(output.c_str());
  mModel = FindColorModel(model);
  if (mModel == nullptr) {
    log_error(kTag, "Invalid color convert model:%d", model);
    return -1;
  }
  log_info(kTag, "color convert model:%d", model);
  mKeepsFields = (mModel->output == BufferRule::kAnyFormat || input == "yuv411p") &&
                 KeepsFields(format, height);
  return SizeBuffers(PictureBufferSize(width, height, input.c_str()), output.c_str());
}

int ColorFilter::SizeBuffers(int64_t inputBytes, const char* outputName) {
  const int64_t pixels = int64_t{width} * height;
  int64_t working = RuleBytes(mModel->working, pixels);
  int64_t output = RuleBytes(mModel->output, pixels);
  // As the writer sizes the pool's buffers. At odd sizes more is written, and swscale's vectors
  // reach further. The slack takes both.
  if (mModel->output == BufferRule::kInput) {
    output = inputBytes;
    // A format without a rule of its own counts four bytes a pixel. Most have fewer, and a caller's
    // picture may end there.
    const int whole = av_image_get_buffer_size(mInputFormat, width, height, 1);
    mInputSize = whole > 0 ? whole : inputBytes;
  }
  if (mModel->output == BufferRule::kAnyFormat) {
    output = PictureBufferSize(width, height, outputName);
    working = av_image_get_buffer_size(mOutputFormat, width, height, 2);
  }
  if (working < 0 || output < 0 || !mWorking.Resize(working)) {
    log_error(kTag, "no buffer for color format %s at %dx%d", outputName, width, height);
    return -1;
  }
  mOutputSize = static_cast<int32_t>(output);
  return 0;
}

MediaBuffer* ColorFilter::Process(uint8_t* picture) {
  if (mModel == nullptr || picture == nullptr) return nullptr;
  if (next != nullptr) {
    if (mModel->output == BufferRule::kInput) return next->Process(picture);
    if (!mWorking.Empty()) Convert(picture, mWorking.Data());
    return next->Process(mWorking.Data());
  }
  MediaBuffer* buffer = TakeBuffer(mOutputSize);
  if (buffer != nullptr) Convert(picture, buffer->Data());
  return buffer;
}

void ColorFilter::Convert(const uint8_t* picture, uint8_t* out) {
  if (mKeepsFields || (mModel->convert == nullptr && mModel->swscale)) {
    ConvertBySwscale(picture, out);
  } else if (mModel->convert != nullptr) {
    mModel->convert(picture, out, width, height);
  } else {
    std::memcpy(out, picture, static_cast<size_t>(mInputSize));
  }
}

void ColorFilter::ConvertBySwscale(const uint8_t* picture, uint8_t* out) {
  const bool configured = mModel->from == AV_PIX_FMT_NONE;
  Conversion conversion;
  conversion.from = configured ? mInputFormat : mModel->from;
  conversion.to = configured ? mOutputFormat : mModel->to;
  conversion.width = width;
  conversion.height = height;
  Planes target;
  if (!conversion.source.Fill(picture, conversion.from, width, height) ||
      !target.Fill(out, conversion.to, width, height)) {
    log_error(kTag, "sws_getContext falied");
    return;
  }
  const bool isDirect = target.AreOnVectors();
  if (!isDirect && mAligned == nullptr) mAligned = ffmpeg::NewPicture(conversion.to, width, height);
  if (!isDirect && mAligned == nullptr) {
    log_error(kTag, "no memory for a picture of %dx%d", width, height);
    return;
  }
  conversion.target = isDirect ? target : PlanesOf(*mAligned);
  const bool isDone =
      mKeepsFields ? ConvertFields(conversion) : ConvertRows(conversion, {0, 1, -1});
  if (isDone && !isDirect) Pack(*mAligned, target);
}

}  // namespace codec
