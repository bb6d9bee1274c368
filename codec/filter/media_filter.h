// SPDX-License-Identifier: MIT
// The base of all picture filters, and the way they are linked into a chain.
#pragma once

#include <cstdint>

#include "codec/format/media_format.h"
#include "codec/writer/media_buffer.h"

namespace codec {

class MediaBufferPool;

// Pictures are packed: rows without padding, planes one after another. A filter owns its `next`, so
// that deleting the head of a chain deletes all of it.
class MediaFilter {
 public:
  MediaFilter() = default;
  virtual ~MediaFilter();
  MediaFilter(const MediaFilter&) = delete;
  MediaFilter& operator=(const MediaFilter&) = delete;

  // Reads "width" and "height". 0, or -1 after an error line when either is missing, 0 or negative,
  // or when a picture of that size would not fit 31 bits. Derived filters call it first.
  virtual int Configure(MediaFormat& format);

  // Filters one picture of `width` x `height` in the filter's input format. The memory behind it
  // must be readable for width + 64 bytes more than FrameSize tells, because libyuv and swscale
  // round the chroma sizes of odd pictures up and read whole vectors (and it must hold FFmpeg's own
  // layout of the picture where swscale reads an odd one). A filter with a `next`
  // writes into a buffer of its own (or passes `picture` on where it has nothing to do) and returns
  // what `next` returns. The last filter writes into a free video buffer of the chain's pool and
  // returns it, or null when none is free; the caller sets its time stamp and size and gives it
  // back to the pool.
  virtual MediaBuffer* Process(uint8_t* picture) = 0;

  // Makes this filter and those after it take their buffers from `pool`, which must outlive them;
  // null for the pool of the process, as without this call.
  void SetPool(MediaBufferPool* pool);

  int32_t width = 0;            // pixels, of the pictures that come in
  int32_t height = 0;           // the same
  MediaFilter* next = nullptr;  // owned; null for the last filter

 protected:
  // A free video buffer of the chain's pool with room for `bytes`; null when there is none.
  MediaBuffer* TakeBuffer(int32_t bytes) const;

 private:
  MediaBufferPool* mPool = nullptr;
};

// Makes `filter` the last of the chain that `head` begins; the chain owns it from then on.
void AppendFilter(MediaFilter* head, MediaFilter* filter);

}  // namespace codec
