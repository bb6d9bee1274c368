// SPDX-License-Identifier: MIT
#include "codec/writer/writer_model.h"

#include <array>
#include <string>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/filter/filter_factory.h"
#include "codec/writer/picture_sizes.h"

namespace codec {
namespace {

constexpr std::array<WriterModel, 7> kModels = {{
    {1, "MediaWriterNormal", nullptr},
    {2, "MediaWriterColorFilter", &CreateColorFilter},
    {3, "MediaWriterColorScaleFilter", &CreateColorScaleFilter},
    {4, "MediaWriterColorScaleRotateFilter", &CreateColorScaleRotateFilter},
    {5, "MediaWriterWaterMarkColorFilter", &CreateWaterMarkColorFilter},
    {6, "MediaWriterWaterMarkColorScaleFilter", nullptr},
    {7, "MediaWriterWaterMarkColorScaleRotateFilter", &CreateWaterMarkColorScaleRotateFilter},
}};

// By "has-water-mark".
constexpr std::array<int, 2> kSameSize = {2, 5};
constexpr std::array<int, 2> kScaled = {3, 6};
constexpr std::array<int, 2> kScaledAndTurned = {4, 7};

// Whether pictures have to be converted before they are resized, and back afterwards. The chain
// that turns does so, and by 0 degrees it turns nothing.
bool ConvertsFirst(const MediaFormat& format) {
  int scalesAny = 0;
  std::string input;
  std::string output;
  format.GetInt32("scale-any-format", scalesAny);
  format.GetString("input-color-format", input);
  format.GetString("output-color-format", output);
  return scalesAny == 1 && !CanScale(input) &&
         sws_isSupportedOutput(av_get_pix_fmt(output.c_str())) != 0;
}

}  // namespace

int ChooseWriterModel(const MediaFormat& format) {
  int waterMark = 0;
  int rotation = 0;
  format.GetInt32("has-water-mark", waterMark);
  format.GetInt32("rotation", rotation);
  const size_t column = waterMark == 1 ? 1 : 0;
  if (!PictureSizes(format).Scaled()) return kSameSize[column];
  if (rotation != 0) return kScaledAndTurned[column];
  return (waterMark != 1 && ConvertsFirst(format) ? kScaledAndTurned : kScaled)[column];
}

WriterModel FindWriterModel(int number) {
  for (const WriterModel& model : kModels) {
    if (model.number == number) return model;
  }
  return {number, "MediaWriterUnknown", nullptr};
}

}  // namespace codec
