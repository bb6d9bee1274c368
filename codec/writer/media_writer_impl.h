// SPDX-License-Identifier: MIT
// The media writer: a front over the two intakes, the queues and the encoder.
//
//   WriteFrame -> PictureIntake -> video queue ---------+
//                                                       +-> FrameDrain -> encoder -> buffer pool
//   WriteFrame -> AudioFramer ---------> audio queue ---+
//
// The left side runs on the producer's thread. The right side runs there as well, inside
// WriteFrame, or on the scheduler's thread when "use-thread" is 1.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "codec/encoder/media_encoder.h"
#include "codec/filter/listener.h"
#include "codec/filter/media_filter.h"
#include "codec/writer/audio_framer.h"
#include "codec/writer/encoder_gate.h"
#include "codec/writer/frame_drain.h"
#include "codec/writer/frame_queue.h"
#include "codec/writer/media_buffer_pool.h"
#include "codec/writer/media_writer.h"
#include "codec/writer/mw_scheduler.h"
#include "codec/writer/picture_intake.h"
#include "codec/writer/wake_signal.h"
#include "codec/writer/writer_settings.h"

namespace codec {

// Configure, Start, WriteFrame and Stop belong to one thread, the producer. Destruction without
// Stop stops as Stop does.
class MediaWriterImpl : public MediaWriter,
                        private MWScheduler::Work,
                        private QueueOutlet,
                        private BufferGiver {
 public:
  // Takes ownership of both. Without an encoder Configure and Start fail; without a filter pictures
  // go to the encoder as they come.
  MediaWriterImpl(MediaEncoder* encoder, MediaFilter* filter);
  ~MediaWriterImpl() override;

  int Configure(MediaFormat& format) override;
  int Start() override;
  void Stop() override;
  void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) override;
  int64_t GetParameter(const char* key) override;
  void SetParameter(const char* key, int value) override;
  void SetParameter(const char* key, double value) override;
  int OutputError() override;
  int64_t PicturesWritten() override;

  double Speed() const { return mSettings.speed; }
  // Bytes of the scratch buffer that slowed sound needs.
  size_t AudioScratchSize() const { return mAudioScratch.size(); }

 protected:
  // A reframer, not yet initialised.
  virtual std::unique_ptr<vux::AudioProcess> NewAudioProcess() const;

 private:
  void ScheduleOnce() override;
  void Flush() override;
  bool AwaitFewer(size_t frames) override;
  bool GivesBuffersBack() override;

  template <typename Body>
  int Bordered(const Body& body);
  int OpenParts(const MediaFormat& format);
  void TakeFrame(int type, uint8_t* data, uint32_t size, int64_t pts);
  void PreparePool();
  Listener* LogoListener() const;
  int ConfigureAudio(const MediaFormat& format);
  int MakeAudioProcess();
  int SizeAudioFrames();

  bool WriteAudio(const uint8_t* data, uint32_t size, int64_t pts);
  void StopScheduler();

  // First, because buffers go back to it until all else is gone. Null unless the writer is
  // independent.
  std::unique_ptr<MediaBufferPool> mOwnPool;
  MediaBufferPool* mPool = MediaBufferPool::Instance();

  // Shared by producer and scheduler; each has its own lock.
  WakeSignal mWake;
  WakeSignal mWritten;  // given after each frame that the scheduler has written
  FrameQueue mVideoQueue;
  FrameQueue mAudioQueue;
  EncoderGate mEncoder;
  std::atomic<bool> running{false};

  // Of the thread that drains: the scheduler between Start and Stop where there is one.
  FrameDrain mDrain;

  // Of the producer; the scheduler's flush uses the framer while the producer waits in Stop.
  WriterSettings mSettings;
  AudioFramer mFramer;
  std::vector<uint8_t> mAudioScratch;
  const std::unique_ptr<MediaFilter> mFilter;
  PictureIntake mIntake;
  std::unique_ptr<MWScheduler> mScheduler;
};

}  // namespace codec
