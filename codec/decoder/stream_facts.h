// SPDX-License-Identifier: MIT
// The rules by which the facts of a stream are derived from what FFmpeg reports. Pure functions.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The clockwise turn in degrees, about -1 to 359, that a "rotate" text asks for; 0 if the text as a
// whole is not a number.
double RotationDegrees(const std::string& text);

// Frames per second from the stream's average rate, its real base rate, and the time base of its
// decoder with its ticks a frame. Nothing if none of them gives a rate of at least 1.
std::optional<double> FrameRate(AVRational average, AVRational realBase, AVRational codecTimeBase,
                                int ticksPerFrame);

// Whether the average rate is also the rate that all stamps fit, within what containers round.
bool IsConstantRate(AVRational average, AVRational realBase);

// Seconds of the input: the demuxer's duration (microseconds) or else the stream's (ticks).
// AV_NOPTS_VALUE stands for unknown; 0 if both are.
double DurationSeconds(int64_t demuxerDuration, int64_t streamDuration, AVRational timeBase);

// Whether the stream is one of pictures or sound, and no cover.
bool IsPlayed(const AVStream* stream);

// Whether the clock may restart in files of this format, as in MPEG-PS and TS.
bool MayRestart(const AVFormatContext* file);

// Whether the file tells a length that only its packets can confirm. One reason: its stamps begin
// later than 0, and some writers count the length from 0, some from the first stamp. Another: a
// stream of pictures or sound tells a later end than the file. The last: the length is a guess by
// the bit rate, or the time at which the last packet begins.
bool IsLengthVague(const AVFormatContext* file);

// Whether all streams tell ends a little earlier than the file, and some are of pictures or sound.
// FFmpeg 4 counts the delay of its AAC encoder in the length of an MP4. If streams end much
// earlier, the file means it.
bool EndsAfterStreams(const AVFormatContext* file);

// What the packets of a file say of its length, in seconds of its stamps.
struct ScannedLength {
  double end = 0;     // of the last packet
  double latest = 0;  // where the packet that is shown last begins; `end` if nobody knows
  // Where the picture that is shown last begins; minus infinity if nobody knows.
  double picture = -std::numeric_limits<double>::infinity();
  // Whether pictures had no stamp of their own, so that the last one may end later.
  bool lacksTimes = false;
};

// Whether a file of this length does not last until its last picture. Some writers tell the time at
// which the last picture begins as the length.
bool LeavesOutPicture(double end, const ScannedLength& scanned);

// The end in the file's stamps, in seconds, that the file tells. If one of its streams tells a
// later end, or all of them tell earlier ones, what the packets say decides between the two.
// Nothing if the file tells no length, or does not tell from when on.
std::optional<double> ToldEnd(const AVFormatContext* file,
                              const std::optional<ScannedLength>& scanned);

// The end by both: the file's own word, `told`, unless its packets say something else, or a picture
// would be left out. 0 if there is neither.
double LikelyEnd(std::optional<double> told, const std::optional<ScannedLength>& scanned);

// The ordinary format of a full-range planar one; other formats are their own.
AVPixelFormat FoldedPixelFormat(AVPixelFormat format);

// 0 baseline, 1 main, 2 high, -1 anything else, from an H.264 profile number.
int ProfileCode(int profile);

// FFmpeg's own number for its first ten sample formats, else -1.
int SampleFormatCode(AVSampleFormat format);

// A key-frame interval in stream ticks: `packets` frames at this rate. Nothing if the interval is
// unknown or does not fit.
std::optional<int32_t> KeyIntervalTicks(int64_t packets, double frameRate, AVRational timeBase);

// Pictures that a decoder may have to hold beside the present one: pictures that others refer to,
// and pictures that wait for their turn to be shown. If the stream's level is known, this is what
// the level allows for pictures of this size.
int PicturesHeld(const AVCodecParameters* parameters);

}  // namespace codec
