// SPDX-License-Identifier: MIT
// Reads a file of several parts as if it had one clock.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "codec/decoder/joined_parts.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// One input's way through the parts: turns times into places of the file, and moves the stamps of
// what is read there onto the line.
class PartReading {
 public:
  explicit PartReading(std::shared_ptr<const JoinedParts> parts) : mParts(std::move(parts)) {}

  // As av_seek_frame with AVSEEK_FLAG_BACKWARD, whose arguments and result these are, but by the
  // time of the line. A time before all others leads to the start of the file.
  int SeekBackward(AVFormatContext* file, int stream, int64_t time);
  int SeekToStart(AVFormatContext* file);

  // Moves the stamps of a packet that was read. False if it is to be left out: it lies before the
  // one that was sought, or is a picture without what it refers to.
  bool Take(const AVFormatContext* file, AVPacket* packet);
  // The stamps on the line of the pictures that were left out for the second reason since the last
  // call.
  std::vector<int64_t> TakeLeftOut() { return std::exchange(mLeftOut, {}); }

 private:
  void Shift(int64_t position, AVRational base, AVPacket* packet) const;
  int Land(AVFormatContext* file, int stream, const PartLanding& landing);

  const std::shared_ptr<const JoinedParts> mParts;
  std::vector<int64_t> mPositions;  // by stream: of the last packet that told one
  int64_t mLanded = 0;              // bytes
  int mAwaited = -1;                // stream whose packets before mTarget are left out
  int64_t mTarget = 0;              // bytes
  std::vector<int64_t> mLeftOut;    // ticks of their stream
};

}  // namespace codec
