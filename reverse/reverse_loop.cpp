// SPDX-License-Identifier: MIT
#include "reverse/reverse_loop.h"

#include <utility>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

}  // namespace

ReverseLoop::ReverseLoop(FFmpegDecoder* decoder, MediaWriter* writer, const ReverseRange& range)
    : ReverseLoop(decoder, std::make_unique<PlainPlacement>(writer, range), range) {}

ReverseLoop::ReverseLoop(FFmpegDecoder* decoder, std::unique_ptr<FramePlacement> placement,
                         const ReverseRange& range)
    : mPlacement(std::move(placement)),
      mRange(range),
      mStock(range.bufferSize),
      mReader(decoder, &mStock, range),
      mAhead(&mReader, &mStock, range.aheadBytes),
      mCursor(range.end) {}

int ReverseLoop::Step() {
  if (!(mRange.start < mCursor)) {
    log_debug(kTag, "Reverse over");
    return -1;
  }
  Segment segment = mRange.overlap ? mAhead.Next() : mReader.Next();
  mCursor = segment.cursor;
  mLost.Add(segment.lost);
  mIsTorn = mIsTorn || segment.isTorn;
  mUsedUpPicture = mUsedUpPicture || segment.usedUpPicture;
  mSawLaterPicture = mSawLaterPicture || segment.sawLaterPicture;
  Write(std::move(segment));
  const auto done = static_cast<float>(mRange.end - mCursor);
  mProgress = static_cast<float>(done / (mRange.end - mRange.start) * 100);
  return 0;
}

JobAccount ReverseLoop::Account() const {
  JobAccount account;
  account.pictures = mPictures;
  account.lost = mLost;
  account.lost.Add(mPlacement->Timeless());
  account.sound = mPlacement->Sound();
  return account;
}

void ReverseLoop::Write(Segment segment) {
  while (!segment.frames.empty()) {
    std::unique_ptr<FrameBuffer> frame = std::move(segment.frames.back());
    segment.frames.pop_back();
    const bool isPicture = frame->type == kVideoFrame;
    if (mPlacement->Write(frame.get())) {
      if (isPicture) ++mPictures;
      mHasSound = mHasSound || !isPicture;
    } else if (isPicture && frame->pts < mRange.start) {
      mPassedPicture = true;
    }
    mStock.Put(std::move(frame));
  }
  mPlacement->EndStep(segment.cursor);
}

}  // namespace codec
