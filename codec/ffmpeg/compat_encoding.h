// SPDX-License-Identifier: MIT
// Encoding and writing, the same on every FFmpeg release, and what encoders take.
#pragma once

#include <cstdint>
#include <vector>

#include "codec/ffmpeg/owned.h"

namespace codec::ffmpeg {

// Encodes one picture in one call; `*gotPacket` becomes 1 when `packet` holds a packet, whose
// duration is then at least one encoder tick (without it an MP4 loses the duration of its last
// picture). Returns 0 or a negative error. Never called to drain.
int EncodeOne(AVCodecContext* context, AVPacket* packet, const AVFrame* frame, int* gotPacket);

// A muxer context for `path` with `format` attached, its private data allocated and at its
// defaults; null when memory runs out.
UniqueOutput NewMuxer(const AVOutputFormat* format, const char* path);

// The codec that `format` holds unless told otherwise. For numbered pictures `path` decides.
AVCodecID UsualCodec(const AVOutputFormat* format, const char* path, AVMediaType kind);

// The sample rates that an encoder takes; none if it takes any.
std::vector<int> SampleRates(const AVCodec* encoder);
// The masks of the layouts that it takes; none if it does not say.
std::vector<uint64_t> ChannelMasks(const AVCodec* encoder);
// The same as SampleRates for its sample formats.
std::vector<AVSampleFormat> SampleFormats(const AVCodec* encoder);
// The pixel formats that an encoder takes, and its frame rates; none if it takes any.
std::vector<AVPixelFormat> PixelFormats(const AVCodec* encoder);
std::vector<AVRational> FrameRates(const AVCodec* encoder);

}  // namespace codec::ffmpeg
