// What kind of reversal a job makes.
#pragma once

#include <memory>
#include <string>

#include "codec/decoder/decoder_options.h"
#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "codec/decoder/media_info.h"
#include "codec/format/media_format.h"
#include "codec/writer/media_writer.h"
#include "reverse/frame_placement.h"
#include "reverse/segment_reader.h"

namespace codec {

// A job asks this object at each place where the kinds differ, in the order of the declarations,
// and so does not know its kind. This class is the plain reversal: frames as the decoder gives
// them, each stamped with its distance from the end.
//
// Calls return 0, or -1 after an error line, unless they say otherwise. One thread at a time.
class Reversal {
 public:
  Reversal() = default;
  virtual ~Reversal() = default;
  Reversal(const Reversal&) = delete;
  Reversal& operator=(const Reversal&) = delete;

  // How the decoder is to be opened.
  virtual DecoderAdditions Additions() const { return {}; }
  // The decoder has been opened for this local file; `info` is what it told of it, and may be
  // corrected. `withSound`: whether sound is wanted, if there is any.
  virtual int Prepare(FFmpegDecoderImpl2* /*decoder*/, const std::string& /*path*/,
                      bool /*withSound*/, MediaInfo* /*info*/) {
    return 0;
  }
  // Length of the input in seconds.
  virtual double Duration(const MediaInfo& info) const { return info.duration; }
  // Adds to the description of the output.
  virtual void Describe(const MediaInfo& /*info*/, MediaFormat* /*format*/) const {}
  // May change how the range is read, and gives what writes the frames. The writer is the caller's.
  virtual std::unique_ptr<FramePlacement> Place(MediaWriter* writer, ReverseRange* range);

  // The first failure of the host that has cost a frame, as FFmpeg's negative number, beside those
  // that the decoder knows of; 0 while there was none.
  virtual int HostError() const { return 0; }
};

}  // namespace codec
