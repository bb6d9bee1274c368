// SPDX-License-Identifier: MIT
#include "codec/decoder/length_check.h"

#include <algorithm>
#include <limits>

#include "codec/decoder/length_scan.h"
#include "codec/utils/numbers.h"

namespace codec {

void LengthCheck::Run() {
  if (!(mSession.duration > 0) || IsLengthVague(mSession.input.Context())) {
    ScanAll();
  } else {
    ScanEnd();
  }
}

std::optional<ScannedLength> LengthCheck::ScannedFromHere() {
  LengthScan scan;
  scan.Add(mSession.video->Stream());
  if (mSession.audio != nullptr) scan.Add(mSession.audio->Stream());
  scan.Run(&mSession.input, mPacket);
  return scan.Length();
}

void LengthCheck::ScanAll() {
  mScanned = ScannedFromHere();
  SetEnd(mScanned.has_value() ? mScanned->end : -std::numeric_limits<double>::infinity());
  mSession.input.SeekToStart(std::numeric_limits<int64_t>::min());
  mSession.FlushDecoders();
}

// A cover is no picture of the clip, and cannot be sought.
void LengthCheck::ScanEnd() {
  const AVFormatContext* const file = mSession.input.Context();
  const std::optional<double> told = ToldEnd(file, std::nullopt);
  if (!told.has_value() || !IsPlayed(mSession.video->Stream())) return;
  const int64_t end = TruncateToInt64(*told * mSession.video->TicksPerSecond());
  if (mSession.input.SeekBackward(mSession.VideoIndex(), end) >= 0) {
    const std::optional<ScannedLength> scanned = ScannedFromHere();
    const bool isNeeded =
        scanned.has_value() && (LeavesOutPicture(*told, *scanned) || EndsAfterStreams(file));
    if (isNeeded) {
      mScanned = scanned;
      SetEnd(LikelyEnd(ToldEnd(file, mScanned), mScanned));
    }
  }
  mSession.ReturnToStart();
}

// In seconds of the file's stamps.
void LengthCheck::SetEnd(double seconds) {
  const bool hasFirst = mSession.first_video_pts_ != AV_NOPTS_VALUE;
  const double first = hasFirst ? mSession.video->Seconds(mSession.first_video_pts_) : 0;
  mSession.duration = std::max(0.0, seconds - first);
}

}  // namespace codec
