// SPDX-License-Identifier: MIT
// The audio stream of an output whose encoder may be any of FFmpeg's.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/media_tracks.h"
#include "codec/encoder/output_file.h"
#include "codec/encoder/packet_pump.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// AudioEncoder serves encoders that take the samples as they come. This one converts them to the
// sample format of the encoder that loses least, leaves it to the encoder when packets come, and
// takes a last frame that is shorter than the others.
//
// Settings and file belong to the caller and outlive it.
class DelayedAudioEncoder : public AudioTrack, private PacketTaker {
 public:
  DelayedAudioEncoder(const EncoderSettings& settings, OutputFile* file)
      : mSettings(settings), mFile(file), mPump(this) {}

  int Create(const EncoderOptions& defaults) override;
  bool Exists() const override { return mTrack.stream != nullptr; }
  int Encode(const uint8_t* data, size_t size) override;
  int Drain() override;
  void Close() override;

  int FrameSize() const override { return mContext == nullptr ? 0 : mContext->frame_size; }
  int SampleRate() const override { return mContext == nullptr ? 0 : mContext->sample_rate; }
  int StreamIndex() const override { return mTrack.stream->index; }
  // Of the samples given to the encoder.
  double LastTime() const override;

 private:
  int Take(AVPacket* packet) override;
  int OpenEncoder(const AVCodec* codec);
  int OpenConverter();
  int Fill(const uint8_t* data, int samples);

  const EncoderSettings& mSettings;
  OutputFile* const mFile;
  ffmpeg::UniqueCodecContext mContext;
  ffmpeg::UniqueResampler mConverter;
  ffmpeg::UniqueFrame mFrame;
  PacketPump mPump;
  OutputTrack mTrack;
  int64_t mSamplesTaken = 0;  // per channel
};

}  // namespace codec
