// SPDX-License-Identifier: MIT
#include "codec/writer/media_writer_factory.h"

#include <array>
#include <memory>
#include <string>
#include <utility>

#include "base/guarded.h"
#include "base/log.h"
#include "codec/encoder/media_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/filter/filter_factory.h"
#include "codec/utils/image_utils.h"
#include "codec/utils/orientation.h"
#include "codec/writer/media_writer_impl.h"
#include "codec/writer/output_fields.h"
#include "codec/writer/picture_sizes.h"
#include "codec/writer/writer_model.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriter";

// The video encoder that takes pictures of any format and size as they are.
constexpr char kRawInputCodec[] = "vomx2";

struct RequiredKey {
  const char* name;
  const char* complaint;
};
constexpr std::array<RequiredKey, 4> kRequiredKeys = {{
    {"width", "not set input width"},
    {"height", "not set input height"},
    {"input-color-format", "not set input color format"},
    {"output-color-format", "not set output color format"},
}};

bool HasVideo(const MediaFormat& format) {
  int hasVideo = 0;
  format.GetInt32("has-video", hasVideo);
  return hasVideo != 0;
}

bool CheckInput(const MediaFormat& format) {
  if (!HasVideo(format)) return true;
  for (const RequiredKey& key : kRequiredKeys) {
    std::string value;
    if (format.GetString(key.name, value) == 0) continue;
    log_error(kTag, "%s", key.complaint);
    return false;
  }
  return true;
}

std::unique_ptr<MediaFilter> MakeFilters(MediaFormat& format) {
  const WriterModel model = FindWriterModel(ChooseWriterModel(format));
  log_info(kTag, "media_writer type:%s", model.name);
  std::unique_ptr<MediaFilter> filters;
  if (model.make == nullptr) {
    log_error(kTag, "not supported MediaWriter model:%d", model.number);
  } else {
    filters.reset(model.make(format));
  }
  if (!filters) log_error(kTag, "create MediaFitler error");
  return filters;
}

// Brings the pictures upright after all other filters. 0, or -1 after an error line.
int AppendOrientation(const MediaFormat& format, MediaFilter* filters) {
  int orientation = kUpright;
  std::string colorFormat;
  format.GetInt32("orientation", orientation);
  format.GetString("output-color-format", colorFormat);
  if (orientation == kUpright) return 0;
  if (colorFormat != "yuv420p") {
    log_error(kTag, "orientation is for yuv420p only, not for %s", colorFormat.c_str());
    return -1;
  }
  const PictureSize size = PictureSizes(format).Turned();
  MediaFormat turned = format;
  turned.SetInt32("width", size.width);
  turned.SetInt32("height", size.height);
  MediaFilter* const last = CreateOrientationFilter(turned);
  if (last == nullptr) return -1;
  AppendFilter(filters, last);
  return 0;
}

std::unique_ptr<MediaEncoder> MakeEncoder(const MediaFormat& format) {
  auto encoder = std::make_unique<MediaEncoderImpl>();
  if (encoder->Configure(format) == 0) return encoder;
  log_error(kTag, "create MediaEncoder error");
  return nullptr;
}

void StoreFrameSize(MediaFormat& format, const PictureSize& size) {
  std::string colorFormat;
  format.GetString("output-color-format", colorFormat);
  format.SetInt32("video-frame-size",
                  PictureBufferSize(size.width, size.height, colorFormat.c_str()));
}

MediaWriter* MakeConfigured(MediaFormat& format, std::unique_ptr<MediaEncoder> encoder,
                            std::unique_ptr<MediaFilter> filters) {
  // Let go of only when the writer, which may find no memory, has taken them.
  auto writer = std::make_unique<MediaWriterImpl>(encoder.get(), filters.get());
  static_cast<void>(encoder.release());
  static_cast<void>(filters.release());
  if (writer->Configure(format) == 0) return writer.release();
  log_error(kTag, "MediaWriter Configure error");
  if (writer->OutputError() != 0) format.SetInt32("output-error", writer->OutputError());
  return nullptr;
}

MediaWriter* MakeWithFilter(MediaFormat& format) {
  log_info(kTag, "MakeMediaWriterWithFilter begin...");
  format.Dump();
  if (!CheckInput(format)) return nullptr;
  SettleFieldOrder(&format);
  std::unique_ptr<MediaFilter> filters = MakeFilters(format);
  if (!filters || AppendOrientation(format, filters.get()) != 0) return nullptr;
  MediaFormat output = format;
  const PictureSizes sizes(format);
  output.SetInt32("width", sizes.Output().width);
  output.SetInt32("height", sizes.Output().height);
  std::unique_ptr<MediaEncoder> encoder = MakeEncoder(output);
  if (!encoder) return nullptr;
  StoreFrameSize(format, sizes.Unturned());
  return MakeConfigured(format, std::move(encoder), std::move(filters));
}

MediaWriter* MakeWithoutFilter(MediaFormat& format) {
  log_info(kTag, "MakeMediaWriterWithoutFilter begin...");
  format.Dump();
  if (!CheckInput(format)) return nullptr;
  std::unique_ptr<MediaEncoder> encoder = MakeEncoder(format);
  if (!encoder) return nullptr;
  // Pictures pass as they are, so that a target size does not shrink their buffers.
  StoreFrameSize(format, PictureSizes(format).Source());
  MediaWriter* const writer = MakeConfigured(format, std::move(encoder), nullptr);
  if (writer != nullptr) log_info(kTag, "MakeMediaWriterWithoutFilter done.");
  return writer;
}

MediaWriter* MakeAny(MediaFormat& format) {
  std::string codec;
  if (format.GetString("video-codec", codec) != 0) {
    log_error(kTag, "not set video codec");
    return nullptr;
  }
  if (HasVideo(format) && codec != kRawInputCodec) return MakeWithFilter(format);
  return MakeWithoutFilter(format);
}

// Null also for want of memory.
MediaWriter* Guarded(MediaWriter* (*make)(MediaFormat&), MediaFormat& format) {
  MediaWriter* writer = nullptr;
  const int error = but::Guarded(kTag, [&] { writer = make(format); });
  if (error != 0) but::Guarded(kTag, [&] { format.SetInt32("output-error", error); });
  return writer;
}

}  // namespace

MediaWriter* MakeMediaWriter(MediaFormat& format) { return Guarded(&MakeAny, format); }

MediaWriter* MakeMediaWriterWithFilter(MediaFormat& format) {
  return Guarded(&MakeWithFilter, format);
}

MediaWriter* MakeMediaWriterWithoutFilter(MediaFormat& format) {
  return Guarded(&MakeWithoutFilter, format);
}

}  // namespace codec
