// SPDX-License-Identifier: MIT
// The job that reverses one range of one clip.
#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/decoder/media_info.h"
#include "codec/format/media_format.h"
#include "codec/writer/media_writer.h"
#include "reverse/account.h"
#include "reverse/job_failure.h"

namespace codec {

class BackwardWalk;
class EndSignal;
class JobMemory;
class JobOutput;
class JobRange;
class Reversal;
class ReverseWorkThread;

// Life: constructor, Init, Start, GetProgress until it is 100 or WaitForEnd until it is true,
// Release. All of these are called from one thread; the work itself runs on the job's own.
class Reverse {
 public:
  // The range is [start, end) in seconds; an end of 0 or less stands for the end of the clip.
  // Nothing is opened yet.
  Reverse(const char* inputPath, double start, double end, const char* outputPath);
  // Does what Release does.
  virtual ~Reverse();
  Reverse(const Reverse&) = delete;
  Reverse& operator=(const Reverse&) = delete;

  // Adds a key to the description of the output, or replaces one; the last value counts. To be
  // called before Init. Keys that make sense here, besides those that the job sets itself:
  //   "target-width", "target-height"  size of the output's pictures in pixels, both even
  //   "rotation"                       0, 90, 180 or 270: turns the pictures themselves, clockwise,
  //                                    only together with another size
  //   "preset"                         of the H.264 encoder, "superfast" unless set
  //   "video-bitrate", "maxrate"       bit/s;  "bufsize" in bits, "gop" in frames
  //   "thread-count", "thread-type"    of the video encoder; "thread-type" is "frame" or "slice"
  //   "use-thread"                     1 encodes on a thread of its own
  //   "has-water-mark", "logo-path", "water-mark-pos", "water-mark-gap", "water-mark-rotation"
  //                                    for inputs in "bgra" or "rgba"
  void SetOutputParameter(const char* key, const char* value);

  // Bytes that the process may take while the job runs. To be called before Init. If the host
  // grants less, that counts instead: the smallest of the machine's memory and of the limits of the
  // process's control groups. kHostMemory stands for this grant. The limit decides the number of
  // decoder threads, the size of steps, reading ahead and replay. The output does not depend on the
  // limit. 0, the default, for no limit: then each part has a limit of its own.
  void SetMemoryLimit(int64_t bytes);
  // The limit that stands for the host's grant.
  static constexpr int64_t kHostMemory = std::numeric_limits<int64_t>::max();
  // If Init has failed for lack of memory: the least bytes that the job needs. Otherwise 0. The
  // number is a guess if the input's streams could not be probed.
  int64_t MemoryNeeded() const;
  // The bytes that the process may have, if MemoryNeeded is not 0. Otherwise 0.
  int64_t MemoryGranted() const;

  // Opens input and output. 0, or -1 after an error line. After an Init that has succeeded, another
  // one answers -1 and changes nothing.
  int Init();
  // The length of the range after Init, which brings it inside the clip. Below 0 if the end lies
  // before the start.
  double RangeSeconds() const;
  // What the input holds. Blank until Init has opened the input. Stays if Init fails after that.
  const MediaInfo& InputInfo() const { return mInputInfo; }
  // Starts the work. 0, or -1 after an error line: then the job is over, and its result is an
  // error, unless another Start succeeds. If the reason was that the host gave no thread, its
  // progress is 100, and another Start fails, too.
  int Start();
  // Percent done, 0 to 100; 0 before Start.
  float GetProgress();
  // Bytes that the output holds so far; 0 before Init, and for devices and pipes. Stays readable
  // after Release.
  int64_t BytesWritten() const;
  // Waits until the work is over, for this many milliseconds at the most (0 or less: only looks).
  // True if the work is over: the output is closed, the progress 100. True at once if no work was
  // begun, or Start has failed. Result counts only after Release.
  bool WaitForEnd(int milliseconds);
  // Ends the work after its current step, closes the output and frees everything. A file that this
  // job has made and could not finish is removed. May be called again.
  void Release();
  // After Release: 0, or the first error that left the output incomplete, as FFmpeg's negative
  // number. Before Release the output may still be open, even at a progress of 100.
  int Result() const { return mResult; }

  // After Release: what the job has met and written. Every picture that was met in the range is
  // either written or counted as lost. With SetMirror only: sound that was lost is counted, too.
  const JobAccount& Account() const { return mAccount; }

  // Once Init has failed or the job is released: what it failed at first. The names of the files
  // are those that it was made with.
  const JobFailure& Failure() const { return mFailure; }

  // Asks the work to end at its next step. The frames written by then become a whole file. May be
  // called from any thread, and from a signal's handler.
  void Cancel() { mIsCancel = 1; }
  // A file that exists at the output's path stays until the new file is whole. Then the new file
  // replaces the old one in one step, with its permissions. So a run that fails or is killed
  // changes nothing. Off unless set: then the path is written from Init on. To be called before
  // Init. but::NewFile tells which outputs are written in place in any case.
  void SetSafeOutput(bool isSafe);
  // A file that exists at the output's path, or comes to stand there before the job is done, stays,
  // and the job fails with EEXIST. Off unless set: then the file is overwritten. Devices and pipes
  // are written in any case. To be called before Init.
  void SetKeepExisting(bool keeps);
  // Mirrors in time what a player shows of the source. Pictures and sound have one zero, each
  // picture is shown for its own time, the sound is reversed sample by sample, and the output names
  // its colours. Off unless set: then frames are stamped with their distance from the end of the
  // range, and each block of sound is reversed by itself. To be called before Init.
  void SetMirror(bool isMirror);
  // The same, and the packets of the pictures are written as they are, bit for bit, without being
  // decoded and encoded. The sound is PCM, or ALAC or FLAC if the container takes no PCM, unless
  // "audio-codec" says otherwise. Init
  // fails where that is not possible: Failure tells why. Counts before SetMirror, in whatever order
  // they are called. Off unless set. To be called before Init.
  void SetCopy(bool isCopy);
  // A job that loses a part of its range fails, as if the output could not be written. Off unless
  // set. To be called before Start. Account tells what was lost.
  void SetStrict(bool isStrict) { mIsStrict = isStrict; }
  // Lets the job run while other jobs of the process do: nothing that its writer works with is
  // shared with theirs. Off unless set: then the buffers of the process's writers are shared, and
  // one job at a time may run. To be called before Init.
  void SetIndependent(bool isIndependent);
  // A job that is cancelled, or released before its end, fails with ECANCELED, and its output is
  // taken away; with SetSafeOutput the old file stays. Off unless set: then the frames written by
  // then become a whole file. To be called before Start.
  void SetDiscardCancelled(bool discards) { mDiscardsCancelled = discards; }
  // A range whose end is not after its start fails Init, and nothing is written. Off unless set:
  // then the output holds no frames. To be called before Init.
  void SetRefuseEmpty(bool refuses);
  // Leaves the sound out. To be called before Init.
  void DisableAudio() { mAudioEnabled = false; }

  // One backward step: 0 if more work may remain, -1 if it is over or cancelled. Called by the
  // worker.
  int DoReverse();
  // The body of the worker. Makes steps until the work is over or `running` is cleared. Then stops
  // the writer.
  void RunToEnd(const std::atomic<bool>& running);

 protected:
  // Makes the writer that `format` describes. The caller owns it. Null if it cannot be made.
  virtual MediaWriter* MakeWriter(MediaFormat& format);

 private:
  template <typename Body>
  void Set(const Body& body);
  void ChooseReversal();
  int CreateParts();
  int CreateDecoder();
  int CreateWriter();
  // Keeps the first failure. -1.
  int Fail(FailedStep step, int error = 0, const char* kind = nullptr);
  // Keeps the first error of the running work.
  void Settle(FailedStep step, int error);
  // The result of a range without written pictures: 0 or an error, logged.
  int MissPictures();
  int MakeStep();
  int StartThreads();
  void CloseAccount();
  // The first failure of the host that has cost a frame; 0 if there was none.
  int HostError() const;
  void FreePictures();
  // Bytes that any frame of the decoder fits into; -1 if there are too many for one buffer.
  int32_t FrameBufferSize(const MediaInfo& info);

  const std::string mInputPath;
  const std::unique_ptr<JobOutput> mOutput;
  const std::unique_ptr<JobMemory> mMemory;
  const std::unique_ptr<JobRange> mRange;

  // Set by Init. While the worker runs, nobody else uses them. The worker frees decoder and loop at
  // its end.
  std::unique_ptr<FFmpegDecoder> mDecoder;
  std::unique_ptr<MediaWriter> mWriter;
  std::unique_ptr<Reversal> mReversal;  // never null
  std::unique_ptr<BackwardWalk> mLoop;  // uses the three above
  MediaInfo mInputInfo;
  JobFailure mFailure;
  std::string mInputObstacle;  // why the input has no video; empty if nothing is known
  JobAccount mAccount;
  int32_t mFrameBufferSize = 0;
  bool mAudioEnabled = true;
  bool mIsMirror = false;
  bool mIsCopy = false;
  bool mIsInitialised = false;
  bool mIsStrict = false;
  bool mDiscardsCancelled = false;
  int mSettingError = 0;          // the first
  int mStepError = 0;             // that a step has thrown
  MediaFormat mOutputParameters;  // of the caller; they replace the job's own

  // Shared by the caller's thread and the worker.
  std::atomic<float> mProgress{0};
  std::atomic<int32_t> mIsCancel{0};
  std::atomic<int32_t> mResult{0};
  const std::unique_ptr<EndSignal> mEndSignal;

  // Touched by the caller's thread only.
  std::unique_ptr<ReverseWorkThread> mWorkThread;
};

}  // namespace codec
