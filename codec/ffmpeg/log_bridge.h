// SPDX-License-Identifier: MIT
// Sends FFmpeg's own log lines, and those of the codecs inside it, through our logger.
#pragma once

namespace codec::ffmpeg {

// From here on nothing of FFmpeg writes to the terminal itself. A line's tag is "ffmpeg:" and the
// name of the object that speaks. FFmpeg's notes on normal operation count as debug lines, its
// warnings and errors keep their rank, its trace of every packet is left out. Lines that FFmpeg
// builds piece by piece come out whole; a piece is cut at 1023 characters. May be called more than
// once.
void InstallLogBridge();

}  // namespace codec::ffmpeg
