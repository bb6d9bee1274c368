// SPDX-License-Identifier: MIT
#include "codec/writer/picture_intake.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriterImpl";

}  // namespace

int PictureIntake::Write(uint8_t* data, uint32_t size, int64_t pts) {
  if (mLastPts >= 1 && mLastPts >= pts) {
    log_debug(kTag, "Discard repeat video frame:%lld", static_cast<long long>(pts));
    return 0;
  }
  mLastPts = pts;
  ++mPictures;
  // If the pool has run dry for want of memory, nobody would end the wait.
  if (mIsOutOfBuffers) return 0;
  if (!mDiscards && !AwaitBuffer()) return Lose();
  int error = 0;
  PooledBuffer buffer = Filled(data, size, &error);
  if (!buffer) {
    log_debug(kTag, "discard video frame");
    const int lost = !mDiscards && mPool->IsOutOfVideo() ? Lose() : 0;
    return error != 0 ? error : lost;
  }
  buffer->SetPts(pts);
  mQueue->Append(std::move(buffer));
  return 0;
}

// Waits until a buffer is idle. False if none is, and none will be.
bool PictureIntake::AwaitBuffer() {
  // The giver is asked only then: an encoder answers when its current frame is done.
  if (!mPool->IsOutOfVideo()) return true;
  const bool isGiven = mGiver != nullptr && mGiver->GivesBuffersBack();
  return isGiven ? mPool->AwaitVideo() : !mPool->IsOutOfVideo();
}

int PictureIntake::Lose() {
  if (mPool->HasTakenVideo()) {
    log_error(kTag, "a picture is lost: nobody encodes those before it");
    return AVERROR(EINVAL);
  }
  log_error(kTag, "no memory for pictures");
  mIsOutOfBuffers = true;
  return AVERROR(ENOMEM);
}

PooledBuffer PictureIntake::Filled(uint8_t* data, uint32_t size, int* error) {
  if (data == nullptr) return nullptr;
  if (mFilter == nullptr) return Copied(data, size, error);
  PooledBuffer buffer(mFilter->Process(data));
  // Filters leave time and size to the writer.
  if (buffer) buffer->SetSize(std::min(mFrameBytes, buffer->Capacity()));
  return buffer;
}

PooledBuffer PictureIntake::Copied(const uint8_t* data, uint32_t size, int* error) {
  if (mFrameBytes < 1 || size > static_cast<uint32_t>(mFrameBytes)) {
    log_warn(kTag, "video frame of %u bytes exceeds its buffer of %d", size, mFrameBytes);
    *error = AVERROR(EINVAL);
    return nullptr;
  }
  PooledBuffer buffer(mPool->TakeVideo(mFrameBytes));
  if (buffer) buffer->CopyIn(data, static_cast<int32_t>(size));
  return buffer;
}

}  // namespace codec
