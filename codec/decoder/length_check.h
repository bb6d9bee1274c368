// SPDX-License-Identifier: MIT
// Asks the packets of a clip for its length if the file's own word is not enough.
#pragma once

#include <optional>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/stream_facts.h"

namespace codec {

// Reads all packets of a file that does not tell its length, or tells a vague one. Of other files
// it reads the packets from the last key picture on: the last picture may begin only when the
// length that the file tells is over, and all packets may end before.
class LengthCheck {
 public:
  // Uses both while it lives. The session has video, and the first stamp of its pictures has been
  // looked for. The packet is scratch.
  LengthCheck(DecodeSession* session, AVPacket* packet) : mSession(*session), mPacket(packet) {}

  // Reads what is needed, and corrects the duration of the session. After that the next packet is
  // one of the first ones.
  void Run();

  // What the packets say; nothing if the file's own word stands.
  const std::optional<ScannedLength>& Scanned() const { return mScanned; }

 private:
  std::optional<ScannedLength> ScannedFromHere();
  void ScanAll();
  void ScanEnd();

  DecodeSession& mSession;
  AVPacket* const mPacket;
  std::optional<ScannedLength> mScanned;
};

}  // namespace codec
