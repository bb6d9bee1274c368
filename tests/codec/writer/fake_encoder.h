// SPDX-License-Identifier: MIT
// An encoder and a filter that only note what is asked of them.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "codec/encoder/media_encoder.h"
#include "codec/filter/media_filter.h"
#include "codec/writer/media_buffer_pool.h"

namespace codec {

// What a fake encoder answers, and what it was asked; outlives the encoder.
struct EncoderState {
  struct Call {
    char kind;  // 'O'pen, 'V'ideo, 'A'udio, 'C'lose, 'D'estruction
    int64_t pts = 0;
    std::vector<uint8_t> bytes;

    friend bool operator==(const Call& a, const Call& b) {
      return a.kind == b.kind && a.pts == b.pts && a.bytes == b.bytes;
    }
  };

  // Set before use.
  int openResult = 0;
  int audioFrameSize = 1024;
  int sampleRate = 44100;
  int encodeResult = 0;
  std::function<int()> nextType = [] { return 1; };
  std::chrono::microseconds delay{0};
  bool keepCalls = true;

  // Encoder calls never overlap, so this is what their owner's lock protects; a sanitizer sees it
  // when they do.
  std::vector<Call> calls;

  // The kinds of all calls, in order.
  std::string Kinds() const {
    std::string kinds;
    for (const Call& call : calls) kinds += call.kind;
    return kinds;
  }
  std::vector<Call> Of(char kind) const {
    std::vector<Call> chosen;
    for (const Call& call : calls) {
      if (call.kind == kind) chosen.push_back(call);
    }
    return chosen;
  }
  std::vector<int64_t> VideoTimes() const {
    std::vector<int64_t> times;
    for (const Call& call : Of('V')) times.push_back(call.pts);
    return times;
  }
};

class FakeEncoder : public MediaEncoder {
 public:
  explicit FakeEncoder(std::shared_ptr<EncoderState> state) : mState(std::move(state)) {}
  ~FakeEncoder() override { mState->calls.push_back({'D', 0, {}}); }

  int Configure(const MediaFormat&) override { return 0; }
  int Open() override {
    mState->calls.push_back({'O', 0, {}});
    return mState->openResult;
  }
  void Close() override { mState->calls.push_back({'C', 0, {}}); }
  int GetParameter(const char* key) override {
    if (std::strcmp(key, "next-frame-type") == 0) return mState->nextType();
    if (std::strcmp(key, "audio-frame-size") == 0) return mState->audioFrameSize;
    if (std::strcmp(key, "sample-rate") == 0) return mState->sampleRate;
    return 0;
  }
  int EncodeVideo(uint8_t* data, int ignored, int64_t ptsUs) override {
    Note('V', ptsUs, data, static_cast<size_t>(ignored));
    return mState->encodeResult;
  }
  int EncodeAudio(uint8_t* data, size_t size) override {
    Note('A', 0, data, size);
    return mState->encodeResult;
  }

 private:
  void Note(char kind, int64_t pts, const uint8_t* data, size_t size) {
    if (mState->delay.count() > 0) std::this_thread::sleep_for(mState->delay);
    if (mState->keepCalls) mState->calls.push_back({kind, pts, {data, data + size}});
  }

  std::shared_ptr<EncoderState> mState;
};

// Copies the first `mBytes` bytes of each picture, each raised by one, into a pool buffer.
class FakeFilter : public MediaFilter {
 public:
  explicit FakeFilter(int bytes) : mBytes(bytes) {}

  MediaBuffer* Process(uint8_t* picture) override {
    MediaBuffer* const buffer = TakeBuffer(0);
    if (buffer == nullptr) return nullptr;
    for (int i = 0; i < mBytes; ++i) buffer->Data()[i] = static_cast<uint8_t>(picture[i] + 1);
    return buffer;
  }

 private:
  const int mBytes;
};

}  // namespace codec
