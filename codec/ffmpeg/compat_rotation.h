// SPDX-License-Identifier: MIT
// The turn of the pictures, and what else stands beside a stream, the same on every FFmpeg release.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "codec/ffmpeg/owned.h"

namespace codec::ffmpeg {

// The clockwise turn that a demuxed stream asks of its player, in degrees as text ("" when none):
// its "rotate" tag, or the text that FFmpeg 4 made of the display matrix of an MP4.
std::string RotateText(const AVFormatContext* input, const AVStream* stream);
// What the display matrix of a demuxed stream asks for, as a number of utils/orientation.h. 0 if it
// asks for anything else; nothing if there is no matrix.
std::optional<int> MatrixOrientation(const AVStream* stream);
// Bytes that stand beside a stream, for its container: owned by the stream, replacing those of this
// type; null when memory runs out. To be called after `avcodec_parameters_from_context`, which
// wipes them on newer releases.
uint8_t* NewSideData(AVStream* stream, AVPacketSideDataType type, size_t bytes);
// Gives a stream that is going to be muxed what stands beside a demuxed one: its display matrix,
// the light of its pictures. To be called after `avcodec_parameters_copy`, which does so on newer
// releases. 0 or a negative error.
int CopySideData(AVStream* to, const AVStream* from);
// Whether a file of this format keeps the turn that SetRotation asks for.
bool KeepsRotation(const AVOutputFormat* format);
// Makes a stream that is going to be muxed ask for this turn. To be called after
// `avcodec_parameters_from_context`, which wipes the display matrix on newer releases. 0 or a
// negative error.
int SetRotation(const AVOutputFormat* format, AVStream* stream, const char* degrees);

}  // namespace codec::ffmpeg
