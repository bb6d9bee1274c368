// SPDX-License-Identifier: MIT
// The packets of one sound stream, from an input that reads nothing else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "codec/decoder/first_failure.h"
#include "codec/decoder/input_file.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Moves within the stream: to a place before a time, and back to the very start. At the start the
// packets are exactly those that the freshly opened file gives.
class SoundInput {
 public:
  // Opens the local file with nothing but this stream switched on; the first packet is the next
  // one. `parts` lays the stamps on one line, if the clock of the file restarts. `probedTo` as
  // for InputFile::ProbeTo. 0, or -1 with the reason logged.
  int Open(const std::string& path, int streamIndex,
           const std::shared_ptr<const JoinedParts>& parts = nullptr, int64_t probedTo = 0);

  // Fills the blank `packet` with the stream's next one. False at the end of input, after an error
  // too: the packet is blank then.
  bool Read(AVPacket* packet);

  // Moves to a packet at or before this time in the file's stamps, in seconds. The landing may be
  // far before the time, or late. False if the file has no way there.
  bool MoveBefore(double seconds);
  // Moves to the stream's first packet. 0, or -1, logged, when the file cannot be opened again.
  int MoveToStart();
  // Lets the file read its index. Some files read it at the first seek only. Moves.
  void LearnIndex();

  bool IsFirst(const AVPacket* packet) const;
  // Time of the first packet in the file's stamps, in seconds; infinite if the packet has no stamp,
  // or there is no packet.
  double FirstSeconds() const { return mFirstSeconds; }
  bool HasPackets() const { return mFirst != nullptr; }

  // Ticks of the stream in seconds.
  double Seconds(int64_t ticks) const;
  // The packet's time in the file's stamps, in seconds; not a number when it has no stamp.
  double SecondsOf(const AVPacket* packet) const;
  // Whether the file gives a stamp to some packets only, and FFmpeg counts those of the others by a
  // sample rate. Ticks that are samples, as in Ogg, know no rate.
  bool CountsStamps() const;
  // How long the packet lasts; 0 when the file does not say.
  double LengthOf(const AVPacket* packet) const;

  // Owned here; another one after MoveToStart.
  const AVStream* Stream() const { return mInput->Context()->streams[mIndex]; }

  // FFmpeg's number of the first failure that is the host's; 0 while there was none.
  int Failure() const {
    return mFailure.Error() != 0 ? mFailure.Error() : mInput->Failure().Error();
  }
  int64_t PacketsRead() const { return mPacketsRead; }
  int64_t Seeks() const { return mSeeks; }
  int64_t Opens() const { return mOpens; }

 private:
  int OpenInput();
  int KeepFirst();
  bool LandedOnFirst();
  bool Seek(int stream, double seconds);
  // Time of the last entry of the stream's index at or before; minus infinity when there is none.
  double Indexed(int stream, double seconds) const;

  std::string mPath;
  int mIndex = -1;
  int mVideo = -1;  // -1 when the file has none
  std::shared_ptr<const JoinedParts> mParts;
  int64_t mProbedTo = 0;  // bytes
  std::unique_ptr<InputFile> mInput;
  ffmpeg::UniquePacket mFirst;
  double mFirstSeconds = 0;
  size_t mStartWay = 0;   // ways to the start before this one have failed
  FirstFailure mFailure;  // of the inputs before this one, and of scratch memory
  int64_t mPacketsRead = 0;
  int64_t mSeeks = 0;
  int64_t mOpens = 0;
};

}  // namespace codec
