// SPDX-License-Identifier: MIT
#include "codec/filter/media_filter.h"

#include "base/log.h"
#include "codec/utils/image_utils.h"
#include "codec/writer/media_buffer_pool.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaFilter";

}  // namespace

MediaFilter::~MediaFilter() {
  delete next;
  next = nullptr;
}

int MediaFilter::Configure(MediaFormat& format) {
  format.GetInt32("width", width);
  format.GetInt32("height", height);
  if (width == 0 || height == 0 || !IsUsablePictureSize(width, height)) {
    log_error(kTag, "Invalid size (%d, %d)", width, height);
    return -1;
  }
  return 0;
}

void MediaFilter::SetPool(MediaBufferPool* pool) {
  for (MediaFilter* filter = this; filter != nullptr; filter = filter->next) filter->mPool = pool;
}

MediaBuffer* MediaFilter::TakeBuffer(int32_t bytes) const {
  MediaBufferPool* const pool = mPool == nullptr ? MediaBufferPool::Instance() : mPool;
  return pool->TakeVideo(bytes);
}

void AppendFilter(MediaFilter* head, MediaFilter* filter) {
  while (head->next != nullptr) head = head->next;
  head->next = filter;
}

}  // namespace codec
