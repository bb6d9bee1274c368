// SPDX-License-Identifier: MIT
// The reversal that mirrors a clip without encoding its pictures.
#pragma once

#include <memory>
#include <string>

#include "codec/decoder/picture_packets.h"
#include "reverse/mirror_reversal.h"

namespace codec {

// Every picture that stands alone is written as the packet that it is, so that nothing is lost, at
// the speed of the disk. Stamps and sound are those of the mirror. The sound is written without
// loss, as PCM or FLAC, unless the caller wants another codec.
class CopyReversal : public MirrorReversal {
 public:
  void SetWishes(const std::string& outputPath, const MediaFormat& parameters) override;
  DecoderAdditions Additions() const override;
  // Takes the file from the decoder: nothing more is decoded.
  int Prepare(FFmpegDecoderImpl2* decoder, const std::string& path, bool withSound,
              MediaInfo* info) override;
  std::string Obstacle(const MediaInfo& info, double start, double end,
                       const MediaFormat& format) override;
  void Describe(const MediaInfo& info, double start, double end,
                MediaFormat* format) const override;
  MediaWriter* MakeWriter(MediaFormat& format) const override;
  std::unique_ptr<BackwardWalk> MakeWalk(FFmpegDecoder* decoder, MediaWriter* writer,
                                         const ReverseRange& range) override;
  int HostError() const override;

 protected:
  void ChooseSound(int bits, EncoderSettings* wishes) const override;

 private:
  const AVStream* Pictures() const { return mPackets.Stream(); }
  std::string NotAlone(double start, double end);
  std::string NotKept(const MediaInfo& info) const;
  std::string NotHeld(const MediaFormat& format);

  std::string mOutput;
  std::string mForeignKey;       // that the caller has set, and that is for encoders
  bool mHasSoundChoice = false;  // of the caller
  bool mIsConstant = false;      // all pictures last equally long
  PicturePackets mPackets;
};

}  // namespace codec
