// SPDX-License-Identifier: MIT
// The decoder interface of the system.
#pragma once

#include <cstdint>

#include "codec/decoder/lost_pictures.h"
#include "codec/decoder/media_info.h"
#include "codec/utils/frame_type.h"

namespace codec {

// Opens one input, seeks in it and hands out decoded frames, one a call, into the caller's buffer.
// Used by one thread at a time. Operations return 0 or -1; the base stands for a decoder that can
// do nothing. The order of the virtual operations is fixed; the reserved ones keep its slots.
//
// What lies in the buffer: a picture is packed, in the pixel format that MediaInfo names: planes
// one after another, rows without padding. Sound is interleaved 32-bit float, two channels, in
// MediaInfo's sample rate. Times are in seconds from the first frame of the same kind.
class FFmpegDecoder {
 public:
  FFmpegDecoder() = default;
  virtual ~FFmpegDecoder() = default;
  FFmpegDecoder(const FFmpegDecoder&) = delete;
  FFmpegDecoder& operator=(const FFmpegDecoder&) = delete;

  // Opens and probes the input. 0, also if the input is open already, or -1 after an error line.
  virtual int Init() { return -1; }
  // Closes the input; a later Init opens it again. 0.
  virtual int Release() { return -1; }
  // Moves to a time in seconds. Mode 2 holds the first picture at or after this time for the next
  // DecodeFrame. Mode 3 reads on after that picture. Any other mode lands on the key frame at or
  // before this time. 0, or -1 if the input is not open, or has no such time or picture.
  virtual int Seek(double /*seconds*/, int /*mode*/) { return -1; }

  virtual int Reserved4() { return -1; }
  virtual int Reserved5() { return -1; }
  virtual int Reserved6() { return -1; }
  virtual int Reserved7() { return -1; }

  // Decodes packet by packet until a frame comes out: 0, or -1 at the end of the input. Outputs and
  // buffer as for ReceiveFrame, but `size` counts the packed picture's bytes for video. A null
  // buffer decodes without copying.
  virtual int DecodeFrame(uint8_t* /*buffer*/, uint32_t* /*size*/, uint32_t* /*type*/,
                          double* /*pts*/) {
    return -1;
  }
  // What is known of the input. 0.
  virtual int GetMediaInfo(MediaInfo& /*info*/) { return -1; }

  virtual int Reserved10() { return -1; }
  virtual int Reserved11() { return -1; }
  virtual int Reserved12() { return -1; }
  virtual void Reserved13() {}
  virtual void Reserved14() {}
  virtual void Reserved15() {}
  virtual void Reserved16() {}
  virtual void Reserved17() {}
  virtual void Reserved18() {}
  virtual void Reserved19() {}

  // Bytes of one packed decoded picture; 0 without video.
  virtual int GetFrameBufferSize() { return 0; }
  // Pixels in a row of a picture; 0 without video.
  virtual int GetWidth() { return 0; }
  // Rows of a picture; 0 without video.
  virtual int GetHeight() { return 0; }

  virtual void Reserved23() {}
  virtual void Reserved24() {}
  virtual void Reserved25() {}
  virtual void Reserved26() {}
  virtual void Reserved27() {}
  virtual void Reserved28() {}
  virtual void Reserved29() {}
  virtual void Reserved30() {}
  virtual int Reserved31() { return -1; }
  virtual int Reserved32() { return 0; }

  // Delivers the next frame: 0, or -1 if all streams are finished. The buffer must hold the larger
  // of GetFrameBufferSize() and GetAudioBufferSize() bytes; nothing is written past these bytes.
  // `type` is a FrameType. `pts` is in seconds from the first frame of its kind. `size`: for audio
  // the bytes of the block; for video the bytes of the compressed packet that the picture came
  // from, while the picture itself always fills GetFrameBufferSize() bytes.
  virtual int ReceiveFrame(uint8_t* /*buffer*/, uint32_t* /*size*/, uint32_t* /*type*/,
                           double* /*pts*/) {
    return -1;
  }

  // Bytes of the largest audio block that is delivered, 0 without sound; larger ones are dropped
  // with a warning.
  virtual int GetAudioBufferSize() { return 0; }

  // No more frames are wanted. Closes the input and frees the pictures that were kept, which may
  // take long. Seeks and reads fail from then on. HostError and the facts of the input stay.
  virtual void Finish() {}
  // Until the next seek only pictures are delivered, and sound is passed over without being
  // decoded. 0, or -1 if the decoder cannot do so: then sound is still delivered.
  virtual int RestSound() { return -1; }

  // The first failure of the host, not of the input, that has cost a frame: FFmpeg's negative
  // number; 0 if there was none. For any thread.
  virtual int HostError() { return 0; }

  // The pictures at or after `from` and before `to`, in seconds, that were met since the last call
  // and could not be delivered. To be called after a stretch has been read to its end, the latest
  // stretch first: all at or after `from` is forgotten.
  virtual LostPictures TakeLost(double /*from*/, double /*to*/) { return {}; }
};

}  // namespace codec
