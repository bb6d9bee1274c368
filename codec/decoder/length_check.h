// SPDX-License-Identifier: MIT
// Asks the packets of a clip for its length if the file's own word is not enough.
#pragma once

#include <optional>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/stream_facts.h"

namespace codec {

// Reads all packets of a file that does not tell its length, or tells a vague one. Of other files
// it reads those from the last key picture on, which may be all: the last picture may begin only
// when the told length is over, and all packets may end before.
class LengthCheck {
 public:
  // Uses both while it lives. The session has video, and the first stamp of its pictures has been
  // looked for. The packet is scratch.
  LengthCheck(DecodeSession* session, AVPacket* packet) : mSession(*session), mPacket(packet) {}

  // Reads what is needed, and corrects the duration of the session. After that the input is where
  // it was after it was opened and sought to its start.
  void Run();

  // What the packets say; nothing if the file's own word stands.
  const std::optional<ScannedLength>& Scanned() const { return mScanned; }

 private:
  std::optional<ScannedLength> ScannedFromHere();
  void ScanAll();
  void ScanEnd();
  void SetEnd(double seconds);

  DecodeSession& mSession;
  AVPacket* const mPacket;
  std::optional<ScannedLength> mScanned;
};

}  // namespace codec
