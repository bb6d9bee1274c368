// SPDX-License-Identifier: MIT
// What kind of reversal a job makes.
#pragma once

#include <memory>
#include <string>

#include "codec/decoder/decoder_options.h"
#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "codec/decoder/file_extent.h"
#include "codec/decoder/media_info.h"
#include "codec/decoder/sound_stretch.h"
#include "codec/format/media_format.h"
#include "codec/writer/media_writer.h"
#include "reverse/backward_walk.h"
#include "reverse/frame_placement.h"
#include "reverse/segment_reader.h"

namespace codec {

// A job does not know its kind of reversal: it asks this object whenever the kinds differ, in the
// order of the declarations. This class is the plain reversal: frames as the decoder gives them,
// each stamped with its distance from the end.
//
// Calls return 0, or -1 after an error line, unless they say otherwise. One thread at a time.
class Reversal {
 public:
  Reversal() = default;
  virtual ~Reversal() = default;
  Reversal(const Reversal&) = delete;
  Reversal& operator=(const Reversal&) = delete;

  // What the caller wants of the output, by the keys of its description, before anything is opened.
  virtual void SetWishes(const std::string& /*outputPath*/, const MediaFormat& /*parameters*/) {}
  // How the decoder is to be opened. An input whose clock restarts would lose most of its pictures
  // without a word, so it is refused.
  virtual DecoderAdditions Additions() const;
  // The decoder has been opened for this local file; `info` is what the decoder told of the file,
  // and may be corrected here. `withSound`: whether sound is wanted, if there is any.
  virtual int Prepare(FFmpegDecoderImpl2* /*decoder*/, const std::string& /*path*/,
                      bool /*withSound*/, MediaInfo* /*info*/) {
    return 0;
  }
  // Length of the input in seconds.
  virtual double Duration(const MediaInfo& info) const { return info.duration; }
  // The range that is reversed is known, in seconds. `info` may be corrected.
  virtual void Limit(double /*start*/, double /*end*/, MediaInfo* /*info*/) {}
  // Adds to the description of the output; the range is [start, end) in seconds.
  virtual void Describe(const MediaInfo& /*info*/, double /*start*/, double /*end*/,
                        MediaFormat* /*format*/) const {}
  // Why an output like this cannot be made of the range, and after a semicolon what would work, if
  // anything would, as one sentence without a stop; empty if nothing is known to stand against it.
  // Names no option, since programs have other names for them. Nothing has been written so far.
  virtual std::string Obstacle(const MediaInfo& /*info*/, double /*start*/, double /*end*/,
                               const MediaFormat& /*format*/) {
    return "";
  }
  // Makes the writer that `format` describes. The caller owns it. Null if it cannot be made.
  virtual MediaWriter* MakeWriter(MediaFormat& format) const;
  // May change how the range is read. Returns the object that writes the frames, for a walk that
  // has frames. The writer belongs to the caller.
  virtual std::unique_ptr<FramePlacement> Place(MediaWriter* writer, ReverseRange* range);
  // The walk over the range. Decoder and writer belong to the caller.
  virtual std::unique_ptr<BackwardWalk> MakeWalk(FFmpegDecoder* decoder, MediaWriter* writer,
                                                 const ReverseRange& range);

  // The pictures of a range, in seconds, as the packets of the whole file tell; reads all of them.
  // Below 0 if nobody can tell.
  virtual int64_t CountPictures(double /*start*/, double /*end*/) const { return -1; }

  // The sound of the range that is left out because it cannot be decoded, once the range is known.
  // Its time is in seconds from the start of the input.
  virtual LostSound SoundLeftOut() const { return {}; }

  // What the input lacks, if it is known that its end was cut off; otherwise blank.
  virtual FileExtent InputExtent() const { return {}; }

  // The first failure of the host that has cost a frame, as FFmpeg's negative number, besides the
  // failures that the decoder knows of; 0 if there was none.
  virtual int HostError() const { return 0; }
};

}  // namespace codec
