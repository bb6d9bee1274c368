// SPDX-License-Identifier: MIT
// The video stream of an output whose packets are those of another file.
#pragma once

#include <cstdint>

#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/output_file.h"

namespace codec {

// Tells the container of the packets what their own container told: codec, size, colours, shape of
// a pixel, turn. The order of fields is that of the settings. Settings and file belong to the
// caller and outlive it.
class PacketTrack {
 public:
  PacketTrack(const EncoderSettings& settings, OutputFile* file)
      : mSettings(settings), mFile(file) {}

  // Adds a stream like `source`, which is not needed afterwards. 0, or -1 after an error line.
  int Create(const AVStream* source);
  // A tick of what is written, in seconds: a whole part of the source's tick, and short enough for
  // times that lie between two pictures, such as the end of a range.
  AVRational StampBase() const { return mStampBase; }
  // Writes a packet at this time, for this long, both in ticks of StampBase, and leaves the packet
  // empty. A container that counts pictures is given the nearest number. 0 or a negative error.
  int Write(AVPacket* packet, int64_t stamp, int64_t duration);

  // Packets that the file has taken.
  int64_t PacketsWritten() const { return mPacketsWritten; }

 private:
  const EncoderSettings& mSettings;
  OutputFile* const mFile;
  OutputTrack mTrack;
  AVRational mStampBase = {0, 1};
  AVRational mBase = {0, 1};  // of what is written
  int64_t mPacketsWritten = 0;
};

}  // namespace codec
