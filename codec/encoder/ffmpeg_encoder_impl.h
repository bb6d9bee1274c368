// SPDX-License-Identifier: MIT
// The encoder on FFmpeg's libraries: settings, one output file, its video and its audio stream.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/encoder/audio_encoder.h"
#include "codec/encoder/delayed_audio_encoder.h"
#include "codec/encoder/delayed_video_encoder.h"
#include "codec/encoder/encoder_options.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/ffmpeg_encoder.h"
#include "codec/encoder/output_file.h"
#include "codec/encoder/video_encoder.h"

namespace codec {

// The owner must call Close, also after a failed Open, or the file stays without its trailer.
class FFmpegEncoderImpl : public FFmpegEncoder {
 public:
  FFmpegEncoderImpl();
  ~FFmpegEncoderImpl() override;

  int Init(const char* libPrefix, const char* libName) override;
  void SetParameter(const char* key, const char* value) override;
  int Open() override;
  void Close() override;
  int GetParameter(const char* key) override;
  int EncodeVideo(uint8_t* data, int ignored, int64_t ptsUs) override;
  int EncodeAudio(uint8_t* data, size_t size) override;
  int OutputError() const override { return mFile.OutputError(); }

  // Encodes video by the send/receive interface whatever the codec; to be called after Open.
  void ForceSendReceive() { mUsualVideo.SetSendReceive(true); }

 private:
  int OpenParts();
  int CreateStreams();
  int NextFrameType() const;
  void Drain();

  // The settings that count now: before Open those set so far, from then on those it was called
  // with.
  const EncoderSettings& Current() const { return mOpenCalled ? mOpened : mSettings; }

  EncoderSettings mSettings;  // may change at any time
  EncoderSettings mOpened;    // as Open found them; sizes of running streams hang on these
  bool mOpenCalled = false;
  EncoderOptions mOptions;
  // The file outlives the streams' encoders, which hold pointers into it.
  OutputFile mFile;
  VideoEncoder mUsualVideo;
  AudioEncoder mUsualAudio;
  DelayedVideoEncoder mDelayedVideo;
  DelayedAudioEncoder mDelayedAudio;
  // Those that the settings call for.
  VideoTrack* mVideo = &mUsualVideo;
  AudioTrack* mAudio = &mUsualAudio;
};

}  // namespace codec
