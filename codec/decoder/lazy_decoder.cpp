// SPDX-License-Identifier: MIT
#include "codec/decoder/lazy_decoder.h"

#include <algorithm>
#include <utility>

namespace codec {

int LazyDecoder::Feed() {
  mIsHungry = false;
  return mDecoder->Send(mOwed.At(mFed++));
}

void LazyDecoder::Drain() {
  mIsHungry = false;
  mIsDraining = true;
  mDecoder->Send(nullptr);
}

int LazyDecoder::Receive(AVFrame* frame) {
  const int result = mDecoder->Receive(frame);
  if (result != AVERROR(EAGAIN)) return result;
  mIsHungry = !mIsDraining;
  return mIsDraining ? AVERROR_EOF : result;
}

int64_t LazyDecoder::Place() const { return std::min(Answered(), Added() - 1); }

size_t LazyDecoder::NumberAt(int64_t place) {
  if (std::exchange(mLastPlace, place) != place) mGiven = 0;
  return mGiven++;
}

void LazyDecoder::Begin(int64_t place) {
  mDecoder->Flush();
  mFed = mBegin = mLastPlace = place;
  mGiven = 0;
  mIsHungry = true;
  mIsDraining = false;
}

void LazyDecoder::Clear() {
  mOwed.Clear();
  Begin(0);
}

}  // namespace codec
