// SPDX-License-Identifier: MIT
// The kinds of file that the encoder writes.
#pragma once

#include <string>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The container that the path's extension names, MPEG where FFmpeg knows none of it; null where
// FFmpeg was built without that one.
const AVOutputFormat* ChooseContainer(const char* path);

// Whether the path's extension names a container that FFmpeg writes.
bool NamesContainer(const char* path);

// Whether the container stores no times of its pictures, only how long each of them lasts.
bool HasFixedRate(const AVOutputFormat& format);

// Whether a release of FFmpeg refuses the container unless the stream of pictures names a frame
// rate. Without a rate there would be no file, so it is named without being asked for.
bool NeedsFrameRate(const AVOutputFormat& format);

// Whether players are told of a turn by the path's container. Where they are not, the pictures have
// to be turned.
bool TellsRotation(const char* path);

// Names the codec of this encoder if the path's container does not take it; null if it does.
// Containers that tell by their header only count as taking nothing.
const char* CodecNotTaken(const char* path, const char* encoder);

// Whether the path's container takes packets of this codec, as far as it tells. Matroska takes
// those of other containers under the names that they have there.
bool TakesCodec(const char* path, AVCodecID codec);

// Whether the container says so before its header is written.
bool RefusesCodec(const char* path, const char* encoder);

// Whether readers of the container will know packets of this codec for what they are. Many
// containers see to that themselves when they write their header. Here AVI and the containers
// without time stamps are asked, which do not; most of the latter are the bare packets of one
// codec.
bool TakesPackets(const AVOutputFormat& format, const AVCodecParameters& codec, const char* path);

// FFmpeg's names of encoders; null for none.
struct EncoderPair {
  const char* video = nullptr;
  const char* audio = nullptr;
};
// The encoders of this FFmpeg, the best first, whose codecs the path's container takes.
EncoderPair EncodersTaken(const char* path);

// Whether the path's container opens files of its own, as those of numbered pictures and of
// playlists do.
bool WritesSeveralFiles(const char* path);

}  // namespace codec
