// SPDX-License-Identifier: MIT
#include "codec/writer/writer_model.h"

#include <array>

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

}  // namespace

int ChooseWriterModel(const MediaFormat& format) {
  int waterMark = 0;
  int rotation = 0;
  format.GetInt32("has-water-mark", waterMark);
  format.GetInt32("rotation", rotation);
  const size_t column = waterMark == 1 ? 1 : 0;
  if (!PictureSizes(format).Scaled()) return kSameSize[column];
  return (rotation == 0 ? kScaled : kScaledAndTurned)[column];
}

WriterModel FindWriterModel(int number) {
  for (const WriterModel& model : kModels) {
    if (model.number == number) return model;
  }
  return {number, "MediaWriterUnknown", nullptr};
}

}  // namespace codec
