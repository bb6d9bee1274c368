// SPDX-License-Identifier: MIT
// Counts what a steady run takes from the heap. A program of its own, because it replaces the
// allocation functions.
#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "tests/codec/writer/writer_fixture.h"

namespace {

std::atomic<int64_t> gAllocations{0};

}  // namespace

void* operator new(size_t bytes) {
  ++gAllocations;
  if (void* const memory = std::malloc(bytes)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }

namespace codec {
namespace {

class WriterAllocations : public WriterTest {
 protected:
  // What a thousand pictures allocate once a hundred have passed.
  int64_t InSteadyState(const MediaFormat& format, MediaFilter* filter) {
    state->keepCalls = false;
    Begin(format, filter);
    std::vector<uint8_t> picture(kPictureBytes);
    int64_t before = 0;
    for (int i = 0; i < 1100; ++i) {
      if (i == 100) before = gAllocations;
      writer->WriteFrame(1, picture.data(), kPictureBytes, i * 40000);
    }
    const int64_t allocated = gAllocations - before;
    writer->Stop();
    return allocated;
  }
};

TEST(AllocationCount, SeesAnAllocation) {
  const int64_t before = gAllocations;
  const std::vector<int> vector(10);
  EXPECT_EQ(gAllocations - before, 1);
}

TEST_F(WriterAllocations, HasNoneForPictures) {
  EXPECT_EQ(InSteadyState(VideoFormat(), nullptr), 0);
}

TEST_F(WriterAllocations, HasNoneForFilteredPictures) {
  EXPECT_EQ(InSteadyState(VideoFormat(), new FakeFilter(kPictureBytes)), 0);
}

TEST_F(WriterAllocations, HasNoneForPicturesEncodedOnTheSchedulersThread) {
  MediaFormat format = VideoFormat();
  format.SetInt32("use-thread", 1);
  format.SetInt32("auto-discard-video", 0);
  EXPECT_EQ(InSteadyState(format, nullptr), 0);
}

}  // namespace
}  // namespace codec
