// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "base/log_backend.h"
#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/fuzz/memory_file.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/targets.h"

namespace fuzz {
namespace {

// A hostile input may ask for as much as it likes; what is looked for here is not how much that
// is.
constexpr int kMostFrameBytes = 32 << 20;
constexpr size_t kMostAllocation = size_t{256} << 20;
// A whole group of the seeds with its sound. More would only be slower.
constexpr int kMostFrames = 6;

using Read = int (codec::FFmpegDecoder::*)(uint8_t*, uint32_t*, uint32_t*, double*);

// Reads to the end, or as far as is worth it.
void ReadFrames(codec::FFmpegDecoder* decoder, Read read, uint8_t* buffer, uint32_t most) {
  for (int i = 0; i < kMostFrames; ++i) {
    uint32_t size = 0;
    uint32_t type = 0;
    double pts = std::nan("");
    if ((decoder->*read)(buffer, &size, &type, &pts) != 0) return;
    Require(type == codec::kVideoFrame || type == codec::kAudioFrame, "a frame has a type");
    Require(!std::isnan(pts), "a frame has a time");
    if (type == codec::kAudioFrame) Require(size <= most, "a block of sound fits its buffer");
  }
}

// All that the tool switches on.
codec::DecoderAdditions AllAdditions() {
  codec::DecoderAdditions additions;
  additions.keepsMetPicture = true;
  additions.cutsToEvenSize = true;
  additions.tellsLowRates = true;
  additions.scansLength = true;
  additions.restarts = codec::Restarts::kJoined;
  additions.laysOverBlack = true;
  additions.adaptsChanges = true;
  additions.readsTags = true;
  additions.keepsLoopFilter = true;
  additions.skipsKeyScan = true;
  additions.asksContainerForShape = true;
  additions.landsOnStamps = true;
  additions.skipsHoles = true;
  additions.expectsSilence = true;
  additions.looksFurther = true;
  additions.choosesSound = true;
  additions.findsLateSound = true;
  return additions;
}

// What the mirror asks for before it seeks.
void AskForBegin(codec::FFmpegDecoderImpl2* decoder) {
  const double begin = decoder->FirstPictureTime();
  decoder->Fields();
  if (!std::isnan(begin)) decoder->SetZero(begin);
}

}  // namespace

void DecoderTarget(const uint8_t* data, size_t size) {
  LogBackend()->set_level(spdlog::level::off);
  av_log_set_level(AV_LOG_QUIET);
  av_max_alloc(kMostAllocation);
  const MemoryFile file(data, size);
  codec::DecoderOptions options;
  options.threads = 1;
  const bool isMirror = size % 2 == 1;
  if (isMirror) options.additions = AllAdditions();
  codec::FFmpegDecoderImpl2 decoder(file.Path().c_str(), options);
  if (decoder.Init() != 0) return;
  codec::MediaInfo info;
  Require(decoder.GetMediaInfo(info) == 0, "an open input has facts");
  const int bytes = std::max(decoder.GetFrameBufferSize(), decoder.GetAudioBufferSize());
  if (bytes > kMostFrameBytes) return;
  const auto most = static_cast<uint32_t>(bytes);
  // No byte larger than is promised to be enough.
  const std::unique_ptr<uint8_t[]> buffer(new uint8_t[most]);
  if (isMirror) AskForBegin(&decoder);
  constexpr int kDecodeForward = 3;
  constexpr int kHold = 2;
  for (const double part : {0.5, 0.0}) {
    decoder.Seek(static_cast<double>(info.duration) * part, kDecodeForward);
    ReadFrames(&decoder, &codec::FFmpegDecoder::ReceiveFrame, buffer.get(), most);
  }
  for (const int mode : {kHold, 0}) {
    decoder.Seek(static_cast<double>(info.duration) / 2, mode);
    ReadFrames(&decoder, &codec::FFmpegDecoder::DecodeFrame, buffer.get(), most);
  }
}

}  // namespace fuzz
