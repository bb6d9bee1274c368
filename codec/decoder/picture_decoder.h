// SPDX-License-Identifier: MIT
// A video decoder, as the loop that feeds it sees it.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Takes packets and gives pictures. Each picture belongs to a packet: the packet that brings the
// picture out of a decoder with a single thread. The number of that packet, counted from the last
// flush, is the picture's place. The place after the last packet belongs to the end of the input.
class PictureDecoder {
 public:
  PictureDecoder() = default;
  virtual ~PictureDecoder() = default;
  PictureDecoder(const PictureDecoder&) = delete;
  PictureDecoder& operator=(const PictureDecoder&) = delete;

  // Hands over a packet, null for the end of the input. 0 or a negative error; a refused packet is
  // lost.
  virtual int Send(AVPacket* packet) = 0;
  // Takes the next picture: 0, AVERROR(EAGAIN) if a packet is wanted, AVERROR_EOF after the end, or
  // another negative error.
  virtual int Receive(AVFrame* frame) = 0;
  // Places since the last flush that are answered: all their pictures have been given. A picture
  // that Receive gives belongs to the first place that is not answered.
  virtual int64_t Answered() const = 0;
  // Forgets all packets and begins again at place 0.
  virtual void Flush() = 0;
};

}  // namespace codec
