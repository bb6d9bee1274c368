// SPDX-License-Identifier: MIT
// Encodes sound beside the pictures.
#pragma once

#include <condition_variable>
#include <deque>

#include "base/lock.h"
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

  but::Mutex mMutex;
  std::condition_variable_any mChanged;
  std::deque<AudioJob*> mJobs BUT_UNDER(mMutex);  // the first is being encoded
  bool mIsStopping BUT_UNDER(mMutex) = false;
};

}  // namespace codec
