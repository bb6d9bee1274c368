// SPDX-License-Identifier: MIT
// Which sound of a file is decoded beside the pictures.
#pragma once

#include <string>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The streams of sound in the order in which they are to be tried, by FFmpeg's numbers. First comes
// the one that players play beside this stream of pictures (-1 for none). The others follow in the
// order of the file, if they belong to the programme of the first one. Empty without sound, and if
// FFmpeg knows neither rate nor channels of any.
std::vector<int> SoundByChoice(AVFormatContext* file, int video);

// The first of these that FFmpeg has a decoder for; -1 if there is none.
int FirstDecodableSound(AVFormatContext* file, int video);

// Whether a programme of the file has both streams, or none has the first one.
bool ShareProgram(AVFormatContext* file, int stream, int other);

// The first stream of sound, whether FFmpeg knows its form or not; -1 if there is none.
int FirstSound(const AVFormatContext* file);

// Whether FFmpeg knows the rate and the channels of this stream of sound.
bool IsKnownSound(const AVStream* stream);

// For a person: FFmpeg's name of the codec, or the code in the file if FFmpeg has no name.
std::string CodecName(const AVStream* stream);

}  // namespace codec
