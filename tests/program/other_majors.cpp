// SPDX-License-Identifier: MIT
// Stands in front of FFmpeg's own function in the program that `other_majors` is built of.
#include "codec/ffmpeg/ffmpeg_headers.h"

unsigned avformat_version() { return AV_VERSION_INT(99, 0, 0); }
