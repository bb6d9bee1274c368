// SPDX-License-Identifier: MIT
// The forms of pictures and sound that encoders take.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The pixel format of the encoder in which a picture of `source` loses least: depth and chroma stay
// wherever the encoder can hold them. Transparency does not count: pictures have been laid over
// black before they are encoded. `source` itself, without transparency, if the encoder takes any
// format.
AVPixelFormat NearestPixelFormat(const AVCodec* encoder, AVPixelFormat source);

// The same format without transparency, if there is one with the same order and depth; else the
// format itself.
AVPixelFormat OpaqueFormat(AVPixelFormat format);

// Whether the numbers of a format's pictures have full range whatever else is said: those of RGB,
// gray, and YUV formats whose name says so.
bool IsFullRangeFormat(AVPixelFormat format);

// The sample format of the encoder that holds samples of this many bits with the fewest bytes; the
// widest one if none holds them. `bits` above 24 stands for floats.
AVSampleFormat NearestSampleFormat(const AVCodec* encoder, int bits);

// The frame rate of the encoder that is nearest to `rate`; `rate` if it takes any.
AVRational NearestFrameRate(const AVCodec* encoder, AVRational rate);

}  // namespace codec
