// SPDX-License-Identifier: MIT
// Channels of sound, the same on every FFmpeg release. A layout is a mask of 64 bits here, as
// FFmpeg 4 has it: newer releases have layouts without one, and such layouts count as none.
#pragma once

#include <cstdint>
#include <string>

#include "codec/ffmpeg/owned.h"

namespace codec::ffmpeg {

int Channels(const AVCodecContext* context);
int Channels(const AVFrame* frame);
int Channels(const AVCodecParameters* parameters);
// The 64-bit mask of the layout; 0 when there is none.
uint64_t ChannelMask(const AVCodecContext* context);
uint64_t ChannelMask(const AVFrame* frame);
// FFmpeg's layout for a channel count; 0 when it has none.
uint64_t DefaultChannelMask(int channels);
// A mask of so many channels that stands for places that nobody knows; 0 for more than a mask
// names.
uint64_t AnyChannelMask(int channels);
// Gives the context FFmpeg's layout for a channel count.
void SetDefaultLayout(AVCodecContext* context, int channels);
// Gives the context a layout; the default one if the mask does not name so many channels.
void SetLayout(AVCodecContext* context, int channels, uint64_t mask);
// FFmpeg's name of a layout, for people.
std::string LayoutName(int channels, uint64_t mask);
// Gives the frame the context's layout. 0 or a negative error.
int CopyLayout(AVFrame* frame, const AVCodecContext* context);
// A converter between two layouts and sample formats at one sample rate, not initialised yet; null
// when a mask or memory does not serve.
UniqueResampler NewResampler(uint64_t outMask, AVSampleFormat outFormat, uint64_t inMask,
                             AVSampleFormat inFormat, int sampleRate);
// A converter of packed floats of one layout between two sample rates, not initialised yet, whose
// errors are inaudible; null when a rate, the mask or memory does not serve.
UniqueResampler NewRateConverter(int inRate, int outRate, uint64_t mask);

}  // namespace codec::ffmpeg
