// SPDX-License-Identifier: MIT
// Decodes a sound stream again and again, each time as if nothing had been decoded before.
#pragma once

#include <cstdint>

#include "codec/decoder/first_failure.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Makes a new decoder for each start. A flushed decoder may keep a generator of noise, or a trim
// that is left over. Then it gives other samples the second time. A new decoder costs a tenth of a
// millisecond at most. Stamps move with trimmed samples.
class SoundDecoder {
 public:
  // Finds the decoder of this stream and starts it. `option` names an option of the decoder that is
  // set to 1 at each start; null for none. `failure` is told of want of memory. `option` and
  // `failure` outlive this object. 0, or -1 with the reason logged.
  int Open(const AVStream* stream, const char* option, FirstFailure* failure);

  // Begins again with a new decoder. `stream` is the same stream, maybe of another input of the
  // same file.
  // 0, or -1 with the reason logged.
  int Start(const AVStream* stream);

  // Hands a packet to the decoder, null to drain it. What it refuses is lost.
  void Send(AVPacket* packet);
  // The next frame. False when the decoder wants a packet, is drained, or cannot use the packet.
  bool Receive(AVFrame* frame);

  // Whether the packet that was sent last could not be decoded, or not all of it.
  bool HasFailed() const { return mHasFailed; }

  // Of the decoder that was started last; owned here.
  const AVCodecContext* Context() const { return mContext.get(); }
  int64_t PacketsDecoded() const { return mPacketsDecoded; }
  int64_t Starts() const { return mStarts; }

 private:
  // Remembers a failure, and gives the result back.
  int Note(int result);

  const AVCodec* mCodec = nullptr;
  const char* mOption = nullptr;
  FirstFailure* mFailure = nullptr;
  ffmpeg::UniqueCodecContext mContext;
  bool mHasFailed = false;
  int64_t mPacketsDecoded = 0;
  int64_t mStarts = 0;
};

}  // namespace codec
