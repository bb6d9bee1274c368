// SPDX-License-Identifier: MIT
#include "codec/writer/encoder_gate.h"

#include "base/guarded.h"
#include "codec/utils/frame_type.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriterImpl";

}  // namespace

EncoderGate::~EncoderGate() {
  if (mState == State::kOpened) Close();
}

int EncoderGate::Open() {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  if (!mEncoder) return -1;
  mState = State::kOpened;
  return mEncoder->Open();
}

void EncoderGate::Close() {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  const bool wasClosed = mState == State::kClosed;
  mState = State::kClosed;
  if (!mEncoder || wasClosed) return;
  mError.Keep(but::Guarded(kTag, [this] { mEncoder->Close(); }));
}

int EncoderGate::GetParameter(const char* key) {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  return mEncoder ? mEncoder->GetParameter(key) : -1;
}

int EncoderGate::OutputError() {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  if (!mEncoder) return -1;
  return mError.Error() != 0 ? mError.Error() : mEncoder->OutputError();
}

int64_t EncoderGate::PicturesWritten() {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  return mPicturesWritten;
}

void EncoderGate::Fail(int error) {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  mError.Keep(error);
}

void EncoderGate::Write(PooledBuffer buffer) {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  // A frame that arrives after the trailer must not reach an encoder whose contexts are gone.
  if (!mEncoder || mState == State::kClosed) return;
  if (buffer->type == kVideoFrame && buffer->size >= 0) {
    const int result = mEncoder->EncodeVideo(buffer->Data(), buffer->size, buffer->pts);
    if (result >= 0) ++mPicturesWritten;
  } else if (buffer->type == kAudioFrame && buffer->size > 0) {
    mEncoder->EncodeAudio(buffer->Data(), static_cast<size_t>(buffer->size));
  }
}

}  // namespace codec
