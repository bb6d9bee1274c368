// SPDX-License-Identifier: MIT
// Turns decoded sound into blocks of packed float of one layout.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/decoder/drop_warning.h"
#include "codec/decoder/first_failure.h"
#include "codec/ffmpeg/owned.h"
#include "codec/utils/sound_layout.h"

namespace codec {

// How samples lie in a frame.
struct SoundForm {
  AVSampleFormat format = AV_SAMPLE_FMT_NONE;
  SoundLayout layout;

  friend bool operator==(const SoundForm& a, const SoundForm& b) {
    return a.format == b.format && a.layout == b.layout;
  }
};

// The layout of an opened decoder and of a frame. Without a mask that names all channels it is
// FFmpeg's layout for their number, or places that nobody knows.
SoundLayout LayoutOf(const AVCodecContext* context);
SoundLayout LayoutOf(const AVFrame* frame);

class AudioConverter {
 public:
  static constexpr AVSampleFormat kTargetFormat = AV_SAMPLE_FMT_FLT;

  // Prepares for the sound that an opened decoder announces. 0, or -1, logged, if this sound cannot
  // be converted.
  int Open(const AVCodecContext* context);

  // Sound of another layout is mixed to this one. Stereo unless called; may be called again between
  // two frames.
  void SetTarget(const SoundLayout& target);
  const SoundLayout& Target() const { return mTarget; }

  // Sound that is packed stereo float already is delivered whole. Off unless called.
  void DeliverWholeBlocks() { mWholeBlocks = true; }

  // Channels are mixed so that no sum is louder than its loudest channel could be:
  // loud surround sound then reaches full scale, and goes not beyond. To be called before Open. Off
  // unless called.
  void NormalizeMix() { mNormalizes = true; }

  // Sound of another sample rate than announced is delivered at the rate of its frame, instead of
  // being dropped. One warning tells of sound whose rate or channels differ from those of `first`,
  // the stream's first frame. Off unless called.
  void AdaptChangesFrom(const AVFrame* first);

  // Copies or converts a frame into `buffer`, which holds MaxBlockBytes(), and returns the bytes
  // that count. A frame that cannot be delivered is dropped with a warning and gives -1.
  //
  // Sound that is packed float of the target's channels already is not converted: then as many
  // bytes are delivered as one channel has, which is the first half of the interleaved block.
  // Deliberate; see DeliverWholeBlocks.
  int Deliver(const AVFrame* frame, uint8_t* buffer);

  // Bytes of the largest block that is delivered; 0 if not opened.
  int MaxBlockBytes() const { return mRoomSamples * TargetBytes(); }
  // The sample format of the blocks that the announced sound gives.
  AVSampleFormat DeliveredFormat() const { return mDeliveredFormat; }
  // Bits of the announced samples, 32 for floats, or 0 if not opened. The blocks hold 24 of them.
  int SourceBits() const { return mSourceBits; }
  // Whether there is a converter at the moment.
  bool IsConverting() const { return mResampler != nullptr; }
  // The first failure of the host that has cost sound; 0 if there was none.
  int Failure() const { return mFailure.Error(); }
  // Seconds of sound converted so far.
  double ConvertedSeconds() const { return mConvertedSeconds; }

 private:
  bool SetForm(const SoundForm& form);
  bool IsTarget(const SoundForm& form) const;
  ffmpeg::UniqueResampler NewResampler(const SoundForm& form) const;
  int TargetBytes() const { return mTarget.channels * static_cast<int>(sizeof(float)); }
  int Copy(const AVFrame* frame, uint8_t* buffer);
  int Convert(const AVFrame* frame, uint8_t* buffer);
  int Drop(const char* reason);
  void WarnOfChange(const AVFrame* frame);

  int mSampleRate = 0;
  SoundLayout mTarget;
  int mRoomSamples = 0;  // of a channel, in the largest block
  int mSourceBits = 0;
  bool mWholeBlocks = false;
  bool mNormalizes = false;
  // Of the stream's first frame; 0 if changes are not adapted.
  int mFirstRate = 0;
  int mFirstChannels = 0;
  bool mHasWarned = false;
  AVSampleFormat mDeliveredFormat = AV_SAMPLE_FMT_NONE;
  // Nothing if the converter could not be made.
  std::optional<SoundForm> mForm;
  ffmpeg::UniqueResampler mResampler;
  double mConvertedSeconds = 0;
  DropWarning mDrops;
  FirstFailure mFailure;
};

}  // namespace codec
