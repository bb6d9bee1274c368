// The reversal whose result is what a player shows of the source, mirrored in time.
#pragma once

#include <memory>
#include <string>

#include "codec/decoder/sound_walk.h"
#include "reverse/reversal.h"

namespace codec {

// A player shows at time (end - t) of the output what it shows at t of the source. For that
// pictures and sound are measured from one zero, each picture is shown for its own time, and the
// sound is read by itself, as one decode of the whole file gives it.
class MirrorReversal : public Reversal {
 public:
  DecoderAdditions Additions() const override;
  int Prepare(FFmpegDecoderImpl2* decoder, const std::string& path, bool withSound,
              MediaInfo* info) override;
  double Duration(const MediaInfo& info) const override;
  void Describe(const MediaInfo& info, MediaFormat* format) const override;
  std::unique_ptr<FramePlacement> Place(MediaWriter* writer, ReverseRange* range) override;
  int HostError() const override;

 private:
  int OpenSound(const std::string& path, int stream);

  std::unique_ptr<SoundWalk> mSound;  // null without sound
  double mDuration = 0;               // seconds
};

}  // namespace codec
