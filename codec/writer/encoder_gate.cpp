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
  const but::HeldLock held(&mLock);
  if (!mEncoder) return -1;
  mState = State::kOpened;
  return mEncoder->Open();
}

void EncoderGate::Close() {
  const but::HeldLock held(&mLock);
  const bool wasClosed = mState == State::kClosed;
  mState = State::kClosed;
  if (!mEncoder || wasClosed) return;
  mError.Keep(but::Guarded(kTag, [encoder = mEncoder.get()] { encoder->Close(); }));
}

int EncoderGate::GetParameter(const char* key) {
  const but::HeldLock held(&mLock);
  return mEncoder ? mEncoder->GetParameter(key) : -1;
}

int EncoderGate::OutputError() {
  const but::HeldLock held(&mLock);
  if (!mEncoder) return -1;
  return mError.Error() != 0 ? mError.Error() : mEncoder->OutputError();
}

int64_t EncoderGate::PicturesWritten() {
  const but::HeldLock held(&mLock);
  return mPicturesWritten;
}

void EncoderGate::Fail(int error) {
  // The lock may be held for as long as a picture is encoded.
  if (error >= 0) return;
  const but::HeldLock held(&mLock);
  mError.Keep(error);
}

void EncoderGate::Write(PooledBuffer buffer) {
  const but::HeldLock held(&mLock);
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
