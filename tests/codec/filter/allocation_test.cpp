// SPDX-License-Identifier: MIT
// Counts what filters take from the heap for a picture. A program of its own, because it replaces
// allocation functions: `operator new` and `calloc`, which are all that the filters use. What
// libyuv and swscale take inside (by malloc) is theirs.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>

#include "codec/filter/color_filter.h"
#include "codec/filter/filter_factory.h"
#include "tests/codec/filter/filter_fixture.h"
#include "tests/codec/filter/png_file.h"
#include "tests/support/log_capture.h"

namespace {

std::atomic<int64_t> gAllocations{0};

}  // namespace

extern "C" void* __libc_calloc(size_t count, size_t bytes);
extern "C" void* calloc(size_t count, size_t bytes) noexcept {
  ++gAllocations;
  return __libc_calloc(count, bytes);
}

void* operator new(size_t bytes) {
  ++gAllocations;
  if (void* const memory = std::malloc(bytes)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }

namespace codec {
namespace {

constexpr testing::Size kSize = {64, 32};
constexpr int kBytes = 64 * 32 * 4;

// Allocations of the second and later pictures.
int64_t PerPicture(MediaFilter& chain) {
  constexpr int kPictures = 10;
  const testing::PoolOf pool(kBytes);
  std::vector<uint8_t> picture(kBytes + 64 + 64);
  int64_t before = 0;
  for (int i = 0; i <= kPictures; ++i) {
    if (i == 1) before = gAllocations;
    MediaBufferPool::Instance()->Give(chain.Process(picture.data()));
  }
  return (gAllocations - before) / kPictures;
}

int64_t PerPictureOf(int model, const char* input, const char* output) {
  MediaFormat format = testing::FormatOf(kSize);
  format.SetInt32("color-convert-model", model);
  format.SetString("input-color-format", input);
  format.SetString("output-color-format", output);
  ColorFilter filter;
  EXPECT_EQ(filter.Configure(format), 0);
  return PerPicture(filter);
}

TEST(FilterAllocations, AreNoneInTheModelsWithoutATemporary) {
  const test_support::LogCapture quiet;
  for (int model = 1; model <= 13; ++model) {
    EXPECT_EQ(PerPictureOf(model, "bgra", "rgba"), 0) << model;
  }
}

TEST(FilterAllocations, AreOneInTheModelsWithATemporary) {
  const test_support::LogCapture quiet;
  EXPECT_EQ(PerPictureOf(14, "rgba", "nv12"), 1);
  EXPECT_EQ(PerPictureOf(15, "rgba", "nv21"), 1);
}

TEST(FilterAllocations, AreNoneInChainsOfFilters) {
  const test_support::LogCapture quiet;
  MediaFormat format = testing::FormatOf(kSize);
  const std::string logo = testing::WritePng("logo.png", 8, 8, {PNG_COLOR_TYPE_RGB, 8, false},
                                             std::vector<uint8_t>(8 * 8 * 3, 90));
  format.SetString("logo-path", logo.c_str());
  format.SetInt32("water-mark-pos", 1);
  format.SetString("input-color-format", "bgra");
  format.SetString("output-color-format", "yuv420p");
  format.SetInt32("target-width", 32);
  format.SetInt32("target-height", 16);
  format.SetInt32("rotation", 90);
  for (MediaFilter* (*make)(MediaFormat&) :
       {&CreateColorScaleFilter, &CreateColorScaleRotateFilter, &CreateWaterMarkColorFilter}) {
    const std::unique_ptr<MediaFilter> chain(make(format));
    ASSERT_NE(chain, nullptr);
    EXPECT_EQ(PerPicture(*chain), 0);
  }
}

}  // namespace
}  // namespace codec
