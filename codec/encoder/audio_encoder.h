// The audio stream of an output: its encoder, and the way of samples into the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/encoder/encoder_options.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/output_file.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Settings and file belong to the caller and outlive it.
class AudioEncoder {
 public:
  AudioEncoder(const EncoderSettings& settings, OutputFile* file)
      : mSettings(settings), mFile(file) {}

  // Adds the stream to the file and opens its encoder. 0, or -1 after an error line.
  int Create(const EncoderOptions& defaults);
  bool Exists() const { return mTrack.stream != nullptr; }

  // Encodes one frame of interleaved samples in the configured format and writes what comes out.
  // Time is the running count of samples. 0, or -1 after an error line.
  int Encode(const uint8_t* data, size_t size);
  // Writes what the encoder still holds: AVERROR_EOF when that was all.
  int Drain();
  // Frees the encoder; its stream goes with the file.
  void Close();

  // Samples per channel that the encoder takes at once; below 1 when it takes any number.
  int FrameSize() const { return mContext == nullptr ? 0 : mContext->frame_size; }
  int SampleRate() const { return mContext == nullptr ? 0 : mContext->sample_rate; }
  int StreamIndex() const { return mTrack.stream->index; }
  // Seconds of the last packet written.
  double LastTime() const { return mTrack.lastTime; }

 private:
  void Describe();
  int PrepareFrame();
  int EncodeFrame(const AVFrame* frame);

  const EncoderSettings& mSettings;
  OutputFile* const mFile;
  ffmpeg::UniqueCodecContext mContext;
  ffmpeg::UniqueFrame mFrame;
  ffmpeg::UniquePacket mPacket;
  OutputTrack mTrack;
  std::vector<uint8_t> mStaging;  // grows to the largest block seen
  int64_t mSamplesStamped = 0;    // per channel
};

}  // namespace codec
