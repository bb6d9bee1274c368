// SPDX-License-Identifier: MIT
// The sound of any stretch of a clip, for a caller that walks backward through it.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "codec/decoder/audio_converter.h"
#include "codec/decoder/held_packets.h"
#include "codec/decoder/sound_cut.h"
#include "codec/decoder/sound_decoder.h"
#include "codec/decoder/sound_input.h"
#include "codec/decoder/sound_reader.h"
#include "codec/decoder/sound_stretch.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Each stretch has the samples that one decode from the start of the file to its end gives. The
// input is read for the sound alone. So the order of pictures and sound in the file does not
// matter, and neither does the place at which pictures are read. For one thread at a time.
//
// A decoder that starts in mid-file gives other samples at first. A reading therefore
//   1. moves to a packet some way before the stretch,
//   2. holds packets back until one lies beyond the start of the stretch,
//   3. goes further back if these packets are too few for the decoder to get going,
//   4. starts a new decoder, decodes the older packets for nothing, and keeps what the newer ones
//      give, until the stretch is over.
class SoundWalk : public SoundReader {
 public:
  // Mixes surround sound so that it does not go beyond full scale. To be called before Open. Off
  // unless called.
  void NormalizeMix() { mConverter.NormalizeMix(); }
  // Sound of another layout than this one is mixed to it. Stereo unless called; to be called after
  // Open, before the first Read.
  void SetLayout(const SoundLayout& layout) { mConverter.SetTarget(layout); }
  // Opens the stream of this number in the local file. 0, or -1, with the reason logged, when the
  // file cannot be read, or the stream's sound cannot be decoded or converted. `parts` and
  // `probedTo` as for SoundInput.
  int Open(const std::string& path, int streamIndex,
           const std::shared_ptr<const JoinedParts>& parts = nullptr, int64_t probedTo = 0);

  // Time of the first sample in the file's stamps, in seconds. Nothing when there is no sound in
  // the whole stream.
  std::optional<double> FirstTime() const { return mFirstTime; }
  // The time in the file's stamps, in seconds, that counts as 0 from now on; at first it is 0.
  void SetZero(double seconds);

  int Read(double from, double to, SoundStretch* out) override;
  int Channels() const override { return mConverter.Target().channels; }

  // Samples a second of a channel, at the start of the stream.
  int SampleRate() const { return mSampleRate; }
  // The source's channels, at the start of the stream.
  const SoundLayout& SourceLayout() const { return mSourceLayout; }
  // The step of the stream's stamps, in seconds.
  double StampSeconds() const { return mInput.Seconds(1); }
  // Bits of the source's samples, 32 for floats.
  int SourceBits() const { return mConverter.SourceBits(); }
  // FFmpeg's number of the first failure that is the host's (want of memory); 0 while there was
  // none.
  int Failure() const;

  int64_t PacketsRead() const { return mInput.PacketsRead(); }
  int64_t PacketsDecoded() const { return mDecoder.PacketsDecoded(); }
  int64_t Seeks() const { return mInput.Seeks(); }
  // How often the file has been opened.
  int64_t Opens() const { return mInput.Opens(); }

 private:
  int FindFirstTime();
  // How far before a stretch its landing should be, in seconds.
  double LeadIn() const;
  // Steps 1 to 3.
  int MoveAndHold(double from);
  bool Hold(double from);
  // Step 4.
  void Decode(const SoundSpan& range, SoundCut* cut);
  // False if the packet could not be decoded.
  bool DecodePacket(AVPacket* packet, bool heard, SoundCut* cut);
  void RememberSilence(const SoundSpan& range, const SoundCut& cut, const SoundStretch& out);
  // The packet's time from zero, in seconds. One without a stamp follows the packet before it.
  double Place(const AVPacket* packet);
  // How long the packet may be taken to last, in seconds.
  double Lasts(const AVPacket* packet);

  SoundInput mInput;
  SoundDecoder mDecoder;
  AudioConverter mConverter;
  FirstFailure mFailure;
  ffmpeg::UniqueFrame mFrame;
  HeldPackets mHeld{{}};
  PrerollNeed mNeed;
  int mSampleRate = 0;
  SoundLayout mSourceLayout;
  std::optional<double> mFirstTime;
  double mZero = 0;
  double mLongestPacket = 0;  // seconds

  // Of the reading that goes on.
  bool mMetFirst = false;  // the stream's first packet has been read
  bool mHoldsFirst = false;
  bool mAtEnd = false;
  double mPlace = 0;      // of the last packet read
  double mNextPlace = 0;  // of a packet without a stamp; not a number when unknown

  // Nothing sounds in this range, as far as the last reading could tell. Without it, every step
  // through a long pause would read the whole pause.
  SoundSpan mSilence{std::numeric_limits<double>::infinity(), 0};
};

}  // namespace codec
