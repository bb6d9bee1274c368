// SPDX-License-Identifier: MIT
// Prepares an input for restarts of its clock.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/decoder_options.h"
#include "codec/decoder/joined_parts.h"
#include "codec/decoder/part_scan.h"
#include "codec/decoder/stream_facts.h"

namespace codec {

// Reads a file whose format allows restarts once, and lays its parts on one line or refuses it. The
// same pass tells the length of the clip and which sound lies beyond what was probed.
class RestartCheck {
 public:
  // Uses both while it lives. The decoders of the session are open. `probedTo` as for
  // InputFile::ProbeTo.
  RestartCheck(DecodeSession* session, const DecoderAdditions& additions, int64_t probedTo)
      : mSession(*session), mAdditions(additions), mProbedTo(probedTo) {}

  // Reads the local file, if restarts are looked for and the format allows them. 0, or -1, logged,
  // if it cannot be read, or its clock restarts and that is refused.
  int Run(const std::string& path);

  // What the packets say; nothing if they were not read, or have no stamps.
  const std::optional<ScannedLength>& Scanned() const { return mScanned; }
  // The bytes to probe, if there is sound beyond what was probed.
  std::optional<int64_t> ProbeNeeded() const { return mProbeNeeded; }

 private:
  int RefuseBecause(const PartObstacle& obstacle, const std::string& path);
  void LookForLateSound(const PartScan& scan);
  void Join(const std::shared_ptr<const JoinedParts>& parts);

  DecodeSession& mSession;
  const DecoderAdditions& mAdditions;
  const int64_t mProbedTo;
  std::optional<ScannedLength> mScanned;
  std::optional<int64_t> mProbeNeeded;
};

}  // namespace codec
