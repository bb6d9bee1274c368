// SPDX-License-Identifier: MIT
// Opens an input and probes what a plan for reading it backwards needs to know.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/decoder_options.h"
#include "codec/decoder/media_info.h"
#include "codec/decoder/stream_facts.h"

namespace codec {

// Fills a fresh session and a fresh record:
//   1. open the file, ask what its pictures may take, find its streams, ask again
//   2. open the video decoder, derive the picture facts
//   3. open the audio decoder and the converter
//   4. look for restarts of the clock, if this is switched on
//   5. scan for the key-frame interval, back to the start
//   6. only if the scan met no video: check for variable frame rate, back to the start
//   7. if this is switched on: check the length that the file tells, back to the start
class SessionOpener {
 public:
  SessionOpener(DecodeSession* session, MediaInfo* info, const DecoderOptions& options)
      : mSession(session),
        mInfo(info),
        mOptions(options),
        mShare(options),
        mPacket(av_packet_alloc()) {}

  // Streams are looked for in so many bytes, as by InputFile::ProbeTo. To be called before Open.
  void ProbeTo(int64_t bytes);
  // 0, or -1, logged, if the file does not open, its video has no pixel format, its pictures get
  // no share of memory, or its clock restarts and that is refused. Then the session is of no use.
  int Open(const std::string& path);

  // Nothing unless Open has ended early, with 0: there is sound beyond what was probed. Then the
  // session and the record are of no use, and the input is to be opened again with a fresh session
  // and this number for ProbeTo.
  std::optional<int64_t> ProbeNeeded() const { return mProbeNeeded; }
  // Why the input was not opened; blank if it was.
  const OpenFailure& WhyNotOpened() const { return mSession->input.WhyNotOpened(); }
  // What the options grant this input.
  const DecoderShare& Share() const { return mShare; }
  // What the packets say, if the length was scanned for.
  const std::optional<ScannedLength>& Scanned() const { return mScanned; }

 private:
  // Whether the video, if it is known by now, is granted a share.
  bool AskForShare(bool isProbed);
  int OpenVideo();
  void DescribeVideo();
  void DescribeProfile();
  void OpenAudio();
  void DescribeAudio();
  void SetDuration(const StreamDecoder* decoder);
  int CheckRestarts(const std::string& path);
  void ScanKeyFrames();
  void CheckVariableRate();
  void CheckLength();

  DecodeSession* mSession;
  MediaInfo* mInfo;
  const DecoderOptions& mOptions;
  DecoderShare mShare;
  const ffmpeg::UniquePacket mPacket;
  double mFrameRate = 0;  // frames per second; 0 if unknown
  int64_t mFirstAudioTicks = AV_NOPTS_VALUE;
  std::optional<ScannedLength> mScanned;
  int64_t mProbedTo = 0;  // bytes; 0 for FFmpeg's own choice
  std::optional<int64_t> mProbeNeeded;
};

}  // namespace codec
