// SPDX-License-Identifier: MIT
#include "reverse/frame_buffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace codec {
namespace {

// The image routines read whole vectors and round odd picture sizes up, so they may look a little
// past the last row of a picture.
constexpr size_t kReadSlack = 4096;

}  // namespace

void UnmapPages::operator()(uint8_t* pages) const { munmap(pages, bytes); }

// Fresh pages are zero and cost memory only after they are touched. So a buffer costs no more than
// its frame fills. The heap would give the same pages at first, but later hand out used ones and
// clear them by hand.
FrameBuffer::Pages FrameBuffer::MapPages(size_t bytes) {
  void* const pages =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED) throw std::bad_alloc();
  return Pages(static_cast<uint8_t*>(pages), UnmapPages{bytes});
}

void FrameBuffer::Resize(int32_t bytes) {
  if (bytes < 0) throw std::bad_alloc();
  Pages data = MapPages(static_cast<size_t>(bytes) + kReadSlack);
  if (mData != nullptr) {
    std::memcpy(data.get(), mData.get(), static_cast<size_t>(std::min(bytes, mLength)));
  }
  mData = std::move(data);
  mLength = bytes;
}

}  // namespace codec
