#include "codec/writer/encoder_gate.h"

namespace codec {

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
  if (mEncoder && mState != State::kClosed) mEncoder->Close();
  mState = State::kClosed;
}

int EncoderGate::GetParameter(const char* key) {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  return mEncoder ? mEncoder->GetParameter(key) : -1;
}

void EncoderGate::Write(PooledBuffer buffer) {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  // A frame that arrives after the trailer must not reach an encoder whose contexts are gone.
  if (!mEncoder || mState == State::kClosed) return;
  if (buffer->type == 1 && buffer->size >= 0) {
    mEncoder->EncodeVideo(buffer->Data(), buffer->size, buffer->pts);
  } else if (buffer->type == 2 && buffer->size > 0) {
    mEncoder->EncodeAudio(buffer->Data(), static_cast<size_t>(buffer->size));
  }
}

}  // namespace codec
