// SPDX-License-Identifier: MIT
#include "codec/encoder/audio_encode_thread.h"

#include "base/guarded.h"

namespace codec {

AudioEncodeThread::~AudioEncodeThread() {
  {
    const but::HeldLock held(&mMutex);
    mIsStopping = true;
  }
  mChanged.notify_all();
  Join();
}

void AudioEncodeThread::Submit(AudioJob* job) {
  {
    const but::HeldLock held(&mMutex);
    mJobs.push_back(job);
  }
  mChanged.notify_all();
}

void AudioEncodeThread::Finish() {
  but::HeldLock held(&mMutex);
  while (!mJobs.empty()) mChanged.wait(held);
}

void AudioEncodeThread::Run() {
  but::HeldLock held(&mMutex);
  for (;;) {
    while (!mIsStopping && mJobs.empty()) mChanged.wait(held);
    if (mIsStopping) return;
    AudioJob* const job = mJobs.front();
    held.unlock();
    // What is thrown ends with the thread's work on the job.
    const int result = but::Guarded("codec::FFmpegEncoderImpl",
                                    [this, job] { job->Encode(mContext, job->frame.get()); });
    if (result != 0) job->receiveResult = result;
    held.lock();
    mJobs.pop_front();
    if (mJobs.empty()) mChanged.notify_all();
  }
}

}  // namespace codec
