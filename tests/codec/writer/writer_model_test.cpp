// SPDX-License-Identifier: MIT
#include "codec/writer/writer_model.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

struct Choice {
  int targetWidth;  // 0: not set
  int rotation;
  int waterMark;
  int model;
};

TEST(WriterModel, FollowsSizeRotationAndWaterMark) {
  const Choice choices[] = {{0, 0, 0, 2},    {0, 90, 0, 2},    {0, 0, 1, 5},     {0, 90, 1, 5},
                            {640, 90, 0, 2}, {640, 0, 1, 5},   {320, 0, 0, 3},   {320, 0, 1, 6},
                            {320, 90, 0, 4}, {320, 180, 0, 4}, {320, 270, 1, 7}, {320, 0, 2, 3},
                            {0, 0, 2, 2}};
  for (const Choice& choice : choices) {
    MediaFormat format;
    format.SetInt32("width", 640);
    format.SetInt32("height", 360);
    if (choice.targetWidth != 0) format.SetInt32("target-width", choice.targetWidth);
    format.SetInt32("rotation", choice.rotation);
    format.SetInt32("has-water-mark", choice.waterMark);
    EXPECT_EQ(ChooseWriterModel(format), choice.model)
        << choice.targetWidth << " " << choice.rotation << " " << choice.waterMark;
  }
}

TEST(WriterModel, ConvertsBeforeItResizesIfThatIsAllowed) {
  struct Case {
    const char* input;
    const char* output;
    int scalesAny;
    int waterMark;
    int model;
  };
  const Case cases[] = {{"yuv422p", "yuv420p", 0, 0, 3},     {"yuv422p", "yuv420p", 1, 0, 4},
                        {"yuv420p10le", "yuv420p", 1, 0, 4}, {"yuv422p", "yuv420p", 2, 0, 3},
                        {"yuv422p", "yuv420p", 1, 1, 6},     {"yuv420p", "yuv420p", 1, 0, 3},
                        {"bgra", "yuv420p", 1, 0, 3},        {"rgba", "yuv420p", 1, 0, 3},
                        {"gray", "yuv422p10le", 1, 0, 4},    {"pal8", "pal8", 1, 0, 3}};
  for (const Case& one : cases) {
    MediaFormat format;
    format.SetInt32("width", 640);
    format.SetInt32("height", 360);
    format.SetInt32("target-width", 320);
    format.SetInt32("target-height", 180);
    format.SetString("input-color-format", one.input);
    format.SetString("output-color-format", one.output);
    format.SetInt32("scale-any-format", one.scalesAny);
    format.SetInt32("has-water-mark", one.waterMark);
    EXPECT_EQ(ChooseWriterModel(format), one.model)
        << one.input << " " << one.scalesAny << " " << one.waterMark;
  }
}

TEST(WriterModel, HasNamesAndBuildersForSeven) {
  struct Row {
    int number;
    const char* name;
    bool built;
  };
  const Row rows[] = {{1, "MediaWriterNormal", false},
                      {2, "MediaWriterColorFilter", true},
                      {3, "MediaWriterColorScaleFilter", true},
                      {4, "MediaWriterColorScaleRotateFilter", true},
                      {5, "MediaWriterWaterMarkColorFilter", true},
                      {6, "MediaWriterWaterMarkColorScaleFilter", false},
                      {7, "MediaWriterWaterMarkColorScaleRotateFilter", true},
                      {0, "MediaWriterUnknown", false},
                      {8, "MediaWriterUnknown", false}};
  for (const Row& row : rows) {
    const WriterModel model = FindWriterModel(row.number);
    EXPECT_EQ(model.number, row.number);
    EXPECT_STREQ(model.name, row.name);
    EXPECT_EQ(model.make != nullptr, row.built) << row.number;
  }
}

}  // namespace
}  // namespace codec
