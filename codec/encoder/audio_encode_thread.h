// SPDX-License-Identifier: MIT
// Encodes sound beside the pictures.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "base/thread.h"
#include "codec/encoder/audio_job.h"

namespace codec {

// Jobs are encoded one after another in the order in which they come. Between Submit and Finish the
// codec context and the jobs belong to the thread.
class AudioEncodeThread : public but::Thread {
 public:
  explicit AudioEncodeThread(AVCodecContext* context) : mContext(context) {}
  // Ends the thread; jobs that wait are left out.
  ~AudioEncodeThread() override;

  void Submit(AudioJob* job);
  // Waits until all jobs are encoded.
  void Finish();

 private:
  void Run() override;

  AVCodecContext* const mContext;

  std::mutex mMutex;
  std::condition_variable mChanged;
  // Under mMutex.
  std::deque<AudioJob*> mJobs;  // the first is being encoded
  bool mIsStopping = false;
};

}  // namespace codec
