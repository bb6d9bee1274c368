// SPDX-License-Identifier: MIT
#include "codec/encoder/audio_encode_thread.h"

#include "base/guarded.h"

namespace codec {

AudioEncodeThread::~AudioEncodeThread() {
  {
    const std::lock_guard<std::mutex> lock(mMutex);
    mIsStopping = true;
  }
  mChanged.notify_all();
  Join();
}

void AudioEncodeThread::Submit(AudioJob* job) {
  {
    const std::lock_guard<std::mutex> lock(mMutex);
    mJobs.push_back(job);
  }
  mChanged.notify_all();
}

void AudioEncodeThread::Finish() {
  std::unique_lock<std::mutex> lock(mMutex);
  mChanged.wait(lock, [this] { return mJobs.empty(); });
}

void AudioEncodeThread::Run() {
  std::unique_lock<std::mutex> lock(mMutex);
  for (;;) {
    mChanged.wait(lock, [this] { return mIsStopping || !mJobs.empty(); });
    if (mIsStopping) return;
    AudioJob* const job = mJobs.front();
    lock.unlock();
    // What is thrown ends with the thread's work on the job.
    const int result = but::Guarded("codec::FFmpegEncoderImpl",
                                    [this, job] { job->Encode(mContext, job->frame.get()); });
    if (result != 0) job->receiveResult = result;
    lock.lock();
    mJobs.pop_front();
    if (mJobs.empty()) mChanged.notify_all();
  }
}

}  // namespace codec
