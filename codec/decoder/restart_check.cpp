// SPDX-License-Identifier: MIT
#include "codec/decoder/restart_check.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/sound_choice.h"

namespace codec {
namespace {

// Where the obstacle lies, and what would work.
std::string Words(const PartObstacle& obstacle) {
  std::array<char, 64> place{};
  std::snprintf(place.data(), place.size(), " at %.3f s (byte %lld)", obstacle.seconds,
                static_cast<long long>(obstacle.position));
  const char* const remedy =
      obstacle.isRestart ? "; put it on one time line first, as by ffmpeg -i IN -c copy OUT.mkv"
                         : "; join its parts anew, as by ffmpeg's concat demuxer";
  return obstacle.what + place.data() + remedy;
}

}  // namespace

// Without video nothing is reversed.
int RestartCheck::Run(const std::string& path) {
  const Restarts wanted = mAdditions.restarts;
  if (wanted == Restarts::kUnseen || mSession.video == nullptr) return 0;
  if (!MayRestart(mSession.input.Context())) return 0;
  PartScan scan(mSession.VideoIndex(), mSession.AudioIndex());
  const int result = scan.Run(path, wanted == Restarts::kRefused);
  if (scan.Failure() != 0) mSession.input.Failure().Keep(scan.Failure());
  if (result != 0) return -1;
  if (scan.Obstacle().has_value()) return RefuseBecause(*scan.Obstacle(), path);
  if (mAdditions.findsLateSound) LookForLateSound(scan);
  mScanned = scan.Length();
  if (const std::shared_ptr<const JoinedParts> parts = scan.Parts()) Join(parts);
  return 0;
}

int RestartCheck::RefuseBecause(const PartObstacle& obstacle, const std::string& path) {
  const std::string words = Words(obstacle);
  mSession.input.Refuse(words);
  log_error(kDecoderTag, "%s: %s", path.c_str(), words.c_str());
  return -1;
}

// A probe takes some more bytes than those before the sound: it decodes a few packets.
void RestartCheck::LookForLateSound(const PartScan& scan) {
  constexpr int64_t kMore = int64_t{4} << 20;
  constexpr int64_t kMost = int64_t{64} << 20;
  AVFormatContext* const file = mSession.input.Context();
  const std::optional<UnprobedSound> late = scan.SoundUnknownTo(file);
  if (!late.has_value()) return;
  // Sound of another programme does not stand in for that of this one.
  if (mSession.audio != nullptr &&
      ShareProgram(file, mSession.VideoIndex(), mSession.audio->Index())) {
    return;
  }
  if (mProbedTo == 0 && late->position <= kMost - kMore) {
    mProbeNeeded = late->position + kMore;
  } else if (mSession.audio == nullptr) {
    mSession.passedOverSound.lost = late->stream;
  }
}

void RestartCheck::Join(const std::shared_ptr<const JoinedParts>& parts) {
  mSession.input.Join(parts);
  log_info(kDecoderTag, "%s: the clock restarts %zu times; the parts are laid end to end",
           mSession.input.Path().c_str(), parts->Count() - 1);
  const double begin = static_cast<double>(parts->Parts().front().begin) / AV_TIME_BASE;
  mSession.duration = std::max(0.0, mScanned->end - begin);
}

}  // namespace codec
