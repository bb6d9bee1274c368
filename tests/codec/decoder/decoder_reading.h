// SPDX-License-Identifier: MIT
// Reads frames out of a decoder with buffers of just the promised size, so that a sanitizer sees
// any byte written past it.
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "tests/support/media_reading.h"

namespace codec {

constexpr char kDecoderTestTag[] = "codec::FFmpegDecoderImpl2";

struct ReadFrame {
  uint32_t size = 0;
  uint32_t type = 0;
  double pts = 0;
  std::vector<uint8_t> bytes;  // the packed picture or the audio block
};

class DecoderReader {
 public:
  explicit DecoderReader(const std::string& path, const DecoderOptions& options = {})
      : mDecoder(path.c_str(), options) {
    mResult = mDecoder.Init();
    mRoom = static_cast<size_t>(
        std::max({1, mDecoder.GetFrameBufferSize(), mDecoder.GetAudioBufferSize()}));
    mBuffer.reset(new uint8_t[mRoom]);
  }

  int InitResult() const { return mResult; }
  FFmpegDecoderImpl2& Decoder() { return mDecoder; }
  MediaInfo Info() {
    MediaInfo info;
    mDecoder.GetMediaInfo(info);
    return info;
  }

  bool Receive(ReadFrame* frame) {
    if (mDecoder.ReceiveFrame(mBuffer.get(), &frame->size, &frame->type, &frame->pts) != 0) {
      return false;
    }
    Keep(frame);
    return true;
  }
  bool Decode(ReadFrame* frame) {
    if (mDecoder.DecodeFrame(mBuffer.get(), &frame->size, &frame->type, &frame->pts) != 0) {
      return false;
    }
    Keep(frame);
    return true;
  }
  // The next frame of this type by ReceiveFrame.
  bool ReceiveType(uint32_t type, ReadFrame* frame) {
    while (Receive(frame)) {
      if (frame->type == type) return true;
    }
    return false;
  }
  std::vector<ReadFrame> ReceiveAll(uint32_t type) {
    std::vector<ReadFrame> frames;
    ReadFrame frame;
    while (ReceiveType(type, &frame)) frames.push_back(frame);
    return frames;
  }
  std::vector<ReadFrame> DecodeAll(uint32_t type) {
    std::vector<ReadFrame> frames;
    ReadFrame frame;
    while (Decode(&frame)) {
      if (frame.type == type) frames.push_back(frame);
    }
    return frames;
  }

  // The frame number shown in a picture.
  int Number(const ReadFrame& frame) {
    test_support::Picture picture;
    picture.width = mDecoder.GetWidth();
    picture.height = mDecoder.GetHeight();
    const auto luma = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
    picture.luma.assign(frame.bytes.begin(), frame.bytes.begin() + static_cast<long>(luma));
    return test_support::ReadFrameNumber(picture);
  }

 private:
  void Keep(ReadFrame* frame) {
    const size_t bytes = frame->type == kVideoFrame
                             ? static_cast<size_t>(mDecoder.GetFrameBufferSize())
                             : frame->size;
    frame->bytes.assign(mBuffer.get(), mBuffer.get() + std::min(bytes, mRoom));
  }

  FFmpegDecoderImpl2 mDecoder;
  int mResult = -1;
  size_t mRoom = 0;
  std::unique_ptr<uint8_t[]> mBuffer;
};

// All pictures of a file, packed one after another, decoded by the ffmpeg program. `before` are
// words before its input.
std::vector<uint8_t> RawPictures(const std::string& path, std::vector<std::string> before = {});

// Times of all pictures by ffprobe, from the first one on. A picture that has none follows the one
// before it by the distance of the first two.
std::vector<double> PictureTimes(const std::string& path);

// The bytes of a file, and a scratch file with these bytes.
std::string FileBytes(const std::string& path);
std::string ScratchFile(const std::string& name, const std::string& bytes);

// Two seconds of sound with a cover picture, which is a video stream of one packet without an
// index.
std::string CoverClip();

}  // namespace codec
