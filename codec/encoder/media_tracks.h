// SPDX-License-Identifier: MIT
// The two streams of an output as its owner sees them, however their encoders are driven.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/encoder/encoder_options.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// The pictures of an output on their way into its file.
class VideoTrack {
 public:
  VideoTrack() = default;
  virtual ~VideoTrack() = default;
  VideoTrack(const VideoTrack&) = delete;
  VideoTrack& operator=(const VideoTrack&) = delete;

  // Adds the stream to the file and opens its encoder. 0, or -1 after an error line.
  virtual int Create(const EncoderOptions& defaults) = 0;
  // Encodes one packed picture at this time in microseconds and writes what comes out. 0 or a
  // negative error.
  virtual int Encode(const uint8_t* picture, int64_t ptsUs) = 0;
  // Writes what the encoder still holds. 0 or a negative error, AVERROR_EOF among them.
  virtual int Drain() = 0;
  // Writes the last picture, if it was kept back because the length of the video is known.
  virtual void Finish() = 0;
  // Frees the encoder; its stream goes with the file.
  virtual void Close() = 0;

  // Whether the encoder may hold pictures, so that it has to be drained.
  virtual bool HoldsPictures() const = 0;
  virtual AVRational StreamTimeBase() const = 0;
  virtual int StreamIndex() const = 0;
  // Seconds that the track has come to.
  virtual double LastTime() const = 0;
  virtual int PicturesTaken() const = 0;
  // Pictures whose packets have not come.
  virtual int StampsWaiting() const = 0;
};

// The same for sound.
class AudioTrack {
 public:
  AudioTrack() = default;
  virtual ~AudioTrack() = default;
  AudioTrack(const AudioTrack&) = delete;
  AudioTrack& operator=(const AudioTrack&) = delete;

  // Adds the stream to the file and opens its encoder. 0, or -1 after an error line.
  virtual int Create(const EncoderOptions& defaults) = 0;
  virtual bool Exists() const = 0;
  // Encodes one frame of interleaved samples in the configured format and writes what comes out,
  // now or before the file's next packet. Time is the running count of samples. 0, or -1 after an
  // error line: this frame has failed, or an earlier one that was still being encoded at its call.
  virtual int Encode(const uint8_t* data, size_t size) = 0;
  // Writes what the encoder still holds: AVERROR_EOF when that was all.
  virtual int Drain() = 0;
  // Frees the encoder; its stream goes with the file.
  virtual void Close() = 0;

  // Samples per channel that the encoder takes at once; below 1 when it takes any number.
  virtual int FrameSize() const = 0;
  // Samples per channel to give at once: FrameSize, or 1024 if the encoder takes any number.
  int UsualFrameSize() const { return FrameSize() < 1 ? 1024 : FrameSize(); }
  virtual int SampleRate() const = 0;
  virtual int StreamIndex() const = 0;
  // Seconds that the track has come to.
  virtual double LastTime() const = 0;
};

}  // namespace codec
