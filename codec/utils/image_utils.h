// SPDX-License-Identifier: MIT
// Sizes of pictures and sounds, and a few small helpers that filters, writer and encoder share.
#pragma once

#include <cstdint>
#include <string>

namespace codec {

// Bytes of one packed picture of this FFmpeg pixel format name. A name outside the table counts as
// four bytes a pixel. At odd sizes the 4:2:0 result is rounded down, so that the chroma planes are
// a little smaller than image routines assume (see WithSlack). -1 when the result exceeds 31 bits.
int FrameSize(int width, int height, const char* formatName);

// Bytes that a buffer needs for such a picture, without slack: FrameSize, or FFmpeg's own count if
// the name is outside the table and the format has more than four bytes a pixel. -1 as above.
int PictureBufferSize(int width, int height, const char* formatName);

// Bytes to allocate for a buffer of `bytes` that an image routine writes: libyuv rounds chroma
// sizes up where the packed layout rounds down, and swscale writes whole vectors.
constexpr int64_t WithSlack(int64_t bytes) { return bytes + bytes / 2 + 64; }

// Whether pictures of this size, at four bytes a pixel and with slack, fit 31 bits. Sides of 0 do.
bool IsUsablePictureSize(int width, int height);

// Bytes of one sample of an AVSampleFormat; 0 for a format that no encoder here takes, 64-bit
// integers included.
int BytesPerSample(int sampleFormat);

// Bytes of `samples` samples per channel in an AVSampleFormat; -1 for an unknown format, for counts
// below 1, or when the result exceeds 31 bits.
int AudioBufferSize(int samples, int channels, int sampleFormat);

// Scales a size and rounds both sides down to a multiple. 0, or -1 when an output is null or
// `multiple` is 0. Sides that leave the range of an int stop at its ends.
int ScaledSize(int width, int height, float factor, int multiple, int* scaledWidth,
               int* scaledHeight);

// True when the file system reports status for the path.
bool FileExists(const char* path);

// The number in decimal.
std::string IntToText(int value);

// The value of `key` in `[section]` of an INI file, cut to 1023 characters; `fallback` when the
// file or the key is absent.
std::string ReadIniText(const char* path, const char* section, const char* key,
                        const char* fallback);

}  // namespace codec
