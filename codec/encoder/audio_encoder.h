// SPDX-License-Identifier: MIT
// The audio stream of an output: its encoder, and the way of samples into the file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "codec/encoder/audio_encode_thread.h"
#include "codec/encoder/audio_job.h"
#include "codec/encoder/encoder_options.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/media_tracks.h"
#include "codec/encoder/output_file.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Settings and file belong to the caller and outlive it.
//
// Note: encoding beside the pictures
//   Sound costs about as much to encode as pictures do, on one thread. So frames of sound are
//   encoded on a thread of their own, and their packets are collected when the file is given its
//   next packet: all packets reach the file in the order in which their frames came. Which frame
//   the writer hands over next hangs on the time of the last packet of sound. An encoder that gives
//   one packet for each frame, always as many samples behind, has a packet's time known before it
//   is there; any other one, and a host without a second thread, is waited for with each frame.
//   So is an encoder that was given samples which are no sound: it may refuse them, and the caller
//   learns of it with this frame. Other failures of a frame, as for lack of memory, come with a
//   later call, the eighth at the latest, or show in the file's error alone after the last one.
class AudioEncoder : public AudioTrack, private PendingPackets {
 public:
  AudioEncoder(const EncoderSettings& settings, OutputFile* file)
      : mSettings(settings), mFile(file) {}

  int Create(const EncoderOptions& defaults) override;
  bool Exists() const override { return mTrack.stream != nullptr; }

  int Encode(const uint8_t* data, size_t size) override;
  int Drain() override;
  void Close() override;

  int FrameSize() const override { return mContext == nullptr ? 0 : mContext->frame_size; }
  int SampleRate() const override { return mContext == nullptr ? 0 : mContext->sample_rate; }
  int StreamIndex() const override { return mTrack.stream->index; }
  // Seconds of the last packet, be it written or on its way.
  double LastTime() const override;

 private:
  void Describe();
  int PrepareJobs();
  int Fill(AudioJob* job, const uint8_t* data, size_t size);
  bool EncodesBeside();
  AVPacket* Next() override;
  void Written(int result) override;
  int WritePackets(AudioJob* job);
  int Conclude(const AudioJob& job);
  void LearnDelay(const AudioJob& job);

  const EncoderSettings& mSettings;
  OutputFile* const mFile;
  ffmpeg::UniqueCodecContext mContext;  // the thread's while a job is pending
  OutputTrack mTrack;
  int64_t mSamplesStamped = 0;  // per channel

  static constexpr size_t kMostPending = 8;
  std::array<AudioJob, kMostPending> mJobs;  // the first mPending ones are with the thread
  size_t mPending = 0;
  // The place of Next among them.
  size_t mNextJob = 0;
  size_t mNextPacket = 0;
  int mLateResult = 0;            // of a frame that failed after its call; the next call gives it
  std::optional<int64_t> mDelay;  // from a frame's stamp to its packet's; empty before the first
  bool mIsRegular = true;         // no packet had another delay, all samples are usual
  std::unique_ptr<AudioEncodeThread> mThread;  // ends before the context goes
};

}  // namespace codec
