// SPDX-License-Identifier: MIT
// Pictures, buffers and chains for the tests of the filters.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "codec/filter/media_filter.h"
#include "codec/utils/image_utils.h"
#include "codec/writer/media_buffer_pool.h"

namespace codec::testing {

struct Size {
  int width;
  int height;
};

inline void PrintTo(const Size& size, std::ostream* out) {
  *out << size.width << 'x' << size.height;
}

// Even and odd shapes, and lines of one pixel, whose chroma planes overrun the packed layout most.
inline const std::vector<Size>& Shapes() {
  static const std::vector<Size> shapes = {{2, 2},   {16, 16},   {5, 5},   {1, 1},     {320, 241},
                                           {640, 1}, {321, 241}, {1, 640}, {1280, 720}};
  return shapes;
}

// Bytes whose end is the end of the mapped memory: an access behind it ends the test program.
class GuardedBytes {
 public:
  explicit GuardedBytes(int64_t bytes, int alignment = 1) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const auto size = static_cast<size_t>((bytes + alignment - 1) / alignment * alignment);
    mMapped = (size + page - 1) / page * page + page;
    void* const map =
        mmap(nullptr, mMapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(map, MAP_FAILED);
    mMap = static_cast<uint8_t*>(map);
    EXPECT_EQ(mprotect(mMap + mMapped - page, page, PROT_NONE), 0);
    mData = mMap + mMapped - page - size;
  }
  ~GuardedBytes() { munmap(mMap, mMapped); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  uint8_t* Data() const { return mData; }

 private:
  uint8_t* mMap = nullptr;
  uint8_t* mData = nullptr;
  size_t mMapped = 0;
};

// Fills the pool with buffers of one size for a test and empties it afterwards.
class PoolOf {
 public:
  explicit PoolOf(int32_t bytes) {
    MediaBufferPool::Instance()->Reset();
    MediaBufferPool::Instance()->RefillVideo(bytes);
  }
  ~PoolOf() { MediaBufferPool::Instance()->Reset(); }
  PoolOf(const PoolOf&) = delete;
  PoolOf& operator=(const PoolOf&) = delete;
};

// The end of a chain that only keeps the pointer that it was given.
class Recorder : public MediaFilter {
 public:
  explicit Recorder(int* deaths = nullptr) : mDeaths(deaths) {}
  ~Recorder() override {
    if (mDeaths != nullptr) ++*mDeaths;
  }
  MediaBuffer* Process(uint8_t* picture) override {
    ++calls;
    seen = picture;
    return answer;
  }

  uint8_t* seen = nullptr;
  MediaBuffer* answer = nullptr;
  int calls = 0;

 private:
  int* mDeaths;
};

// What the last filter of a chain made of a picture; empty when it gave no buffer.
inline std::vector<uint8_t> Filtered(MediaFilter& chain, std::vector<uint8_t> picture, int bytes) {
  picture.resize(picture.size() + static_cast<size_t>(chain.width) + 64);
  MediaBuffer* const buffer = chain.Process(picture.data());
  if (buffer == nullptr) return {};
  std::vector<uint8_t> out(buffer->Data(), buffer->Data() + bytes);
  MediaBufferPool::Instance()->Give(buffer);
  return out;
}

// Bytes without a pattern, the same in every run.
inline std::vector<uint8_t> Noise(int64_t count) {
  std::vector<uint8_t> bytes(static_cast<size_t>(count));
  uint32_t state = 12345;
  for (uint8_t& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<uint8_t>(state >> 24);
  }
  return bytes;
}

inline MediaFormat FormatOf(Size size) {
  MediaFormat format;
  format.SetInt32("width", size.width);
  format.SetInt32("height", size.height);
  return format;
}

}  // namespace codec::testing
