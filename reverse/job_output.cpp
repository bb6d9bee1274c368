// SPDX-License-Identifier: MIT
#include "reverse/job_output.h"

#include "base/local_file.h"
#include "codec/encoder/container.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

int JobOutput::Place(MediaFormat* format) {
  mFile = std::make_unique<but::NewFile>(mPath, !mKeepsExisting);
  mKind = but::UnseekableKind(but::LocalPath(mPath));
  if (!mIsSafe || WritesSeveralFiles(mPath.c_str())) return mFile->WriteInPlace();
  if (const int error = mFile->WriteAside(); error != 0) return error;
  if (mFile->IsAside()) format->SetString("write-path", mFile->WritePath().c_str());
  return 0;
}

void JobOutput::Measure() { mGauge.Open(mFile->WritePath()); }

int JobOutput::Finish() { return mFile == nullptr ? 0 : AVERROR(mFile->Finish()); }

void JobOutput::Discard() {
  if (mFile != nullptr) mFile->Discard();
}

}  // namespace codec
