// SPDX-License-Identifier: MIT
#include "codec/decoder/part_clock.h"

#include <algorithm>

namespace codec {
namespace {

constexpr int64_t kSecond = 1000000;
// Pauses of a recording are shorter.
constexpr int64_t kFarAhead = 10 * kSecond;
// Stamps of decoding do not go back at all, but containers round.
constexpr int64_t kBackDecoded = kSecond / 10;
// Stamps of presentation go back by as much as pictures are reordered.
constexpr int64_t kBackShown = kSecond;
// Streams of one part begin at about the same time, and so they end.
constexpr int64_t kFarBefore = 10 * kSecond;
constexpr int64_t kAfterLast = 2 * kSecond;

}  // namespace

int64_t PartClock::Length() const {
  return mParts.Count() == 0 ? 0 : *mParts.End() - mParts.Parts().front().begin;
}

void PartClock::Take(const std::deque<ClockedPacket>& window) {
  const ClockedPacket& packet = window.front();
  if (!packet.shown.has_value()) return;
  if (!mIsOpen) {
    Open(packet);
  } else if (Jumps(packet)) {
    if (BelongsToLast(packet) || !IsConfirmed(window)) return;
    Close();
    Open(packet);
  }
  Note(packet);
}

bool PartClock::Jumps(const ClockedPacket& packet) const {
  const int64_t shown = *packet.shown;
  if (shown > mPart.end + kFarAhead) return true;
  const Track& track = mTracks[packet.track];
  if (!track.shown.has_value()) return shown < mPart.begin - kFarBefore;
  if (shown < *track.shown - kBackShown) return true;
  return packet.decoded.has_value() && track.decoded.has_value() &&
         *packet.decoded < *track.decoded - kBackDecoded;
}

// Whether it is one of the last packets of the part before, which lies a little too late in the
// file.
bool PartClock::BelongsToLast(const ClockedPacket& packet) const {
  if (mParts.Count() == 0 || mTracks[packet.track].shown.has_value()) return false;
  const JoinedParts::Part& last = mParts.Parts().back();
  return last.begin <= *packet.shown && *packet.shown <= last.end + kAfterLast;
}

// At the end of the file it does not matter.
bool PartClock::IsConfirmed(const std::deque<ClockedPacket>& window) const {
  constexpr int kLookedAt = 4;
  int looked = 0;
  int jumping = 0;
  for (size_t i = 1; i < window.size() && looked < kLookedAt; ++i) {
    const ClockedPacket& next = window[i];
    if (next.track != window.front().track || !next.shown.has_value()) continue;
    ++looked;
    if (Jumps(next)) ++jumping;
  }
  return 2 * jumping >= looked && (window.front().track == kPictures || PicturesJump(window));
}

// Sound whose stamps overlap goes back alone. All streams of a new part begin anew.
bool PartClock::PicturesJump(const std::deque<ClockedPacket>& window) const {
  const auto next = std::find_if(window.begin(), window.end(), [](const ClockedPacket& packet) {
    return packet.track == kPictures && packet.shown.has_value();
  });
  return next == window.end() || Jumps(*next);
}

void PartClock::Open(const ClockedPacket& packet) {
  mPart = {};
  mPart.position = mParts.Count() == 0 ? 0 : packet.position;
  mPart.begin = *packet.shown;
  mPart.end = *packet.shown;
  mTracks = {};
  mIsOpen = true;
  mHasKey = false;
}

void PartClock::Close() {
  constexpr int64_t kShort = kSecond / 4;
  if (!mIsOpen) return;
  if (const std::optional<int64_t> end = mParts.End()) mPart.shift = *end - mPart.begin;
  mParts.AddPart(mPart);
  mShortParts = mPart.end - mPart.begin < kShort ? mShortParts + 1 : 0;
  mIsOpen = false;
  for (size_t track = 0; track < kTracks; ++track) {
    for (PartLanding landing : mTrails[track].landings.All()) {
      landing.time += mPart.shift;
      mParts.AddLanding(mStreams[track], landing);
    }
    mTrails[track].landings.Clear();
  }
}

void PartClock::End() { Close(); }

void PartClock::Note(const ClockedPacket& packet) {
  const int64_t shown = *packet.shown;
  mPart.begin = std::min(mPart.begin, shown);
  mPart.end = std::max(mPart.end, shown + packet.length);
  if (packet.track == kPictures) mPart.lastPicture = std::max(mPart.lastPicture, shown);
  Track& track = mTracks[packet.track];
  track.shown = std::max(track.shown.value_or(shown), shown);
  track.decoded = packet.decoded;
  NoteKey(packet);
  NoteLanding(packet);
}

void PartClock::NoteKey(const ClockedPacket& packet) {
  if (mHasKey || packet.track != kPictures || !packet.isKey) return;
  mHasKey = true;
  mPart.keyPosition = packet.position;
  if (packet.losesLeading) mPart.keyTime = *packet.shown;
}

// A picture that begins amid a block of the file is found after the end of the one before it;
// blocks of sound are found by words that may stand in the sound, too.
void PartClock::NoteLanding(const ClockedPacket& packet) {
  constexpr std::array<size_t, kTracks> kBefore = {4, 16};
  if (!packet.isFirstThere) return;
  std::deque<int64_t>& positions = mTrails[packet.track].positions;
  const size_t before = kBefore[packet.track];
  const int64_t from = positions.size() < before ? 0 : positions.front();
  if (packet.isKey) mTrails[packet.track].landings.Add({*packet.shown, packet.position, from});
  positions.push_back(packet.position);
  if (positions.size() > before) positions.pop_front();
}

}  // namespace codec
