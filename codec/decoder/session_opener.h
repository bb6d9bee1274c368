// Opens an input and probes what a plan for reading it backwards needs to know.
#pragma once

#include <string>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/media_info.h"

namespace codec {

// Fills a fresh session and a fresh record:
//   1. open the file, find its streams
//   2. open the video decoder, derive the picture facts
//   3. open the audio decoder and the converter
//   4. scan for the key-frame interval, back to the start
//   5. only when the scan met no video: check for variable frame rate, back to the start
class SessionOpener {
 public:
  // `threads` decode the video; 0 chooses by the machine.
  SessionOpener(DecodeSession* session, MediaInfo* info, int threads)
      : mSession(session), mInfo(info), mThreads(threads) {}

  // 0, or -1, logged, when the file does not open or its video has no pixel format. The session is
  // of no use then.
  int Open(const std::string& path);

 private:
  int OpenVideo();
  void DescribeVideo();
  void DescribeProfile();
  void OpenAudio();
  void SetDuration(const StreamDecoder* decoder);
  void AllocateScratch();
  void ScanKeyFrames();
  void CheckVariableRate();

  DecodeSession* mSession;
  MediaInfo* mInfo;
  int mThreads;
  int64_t mFirstAudioTicks = AV_NOPTS_VALUE;
};

}  // namespace codec
