// SPDX-License-Identifier: MIT
#include "reverse/closed_account.h"

#include <algorithm>

namespace codec {

JobAccount ClosedAccount(const BackwardWalk& walk, double start, double end, MediaWriter* writer,
                         const Reversal& reversal) {
  JobAccount account = walk.Account();
  LostPictures& lost = account.lost;
  // The writer takes no picture that has the time of the one before.
  const int64_t taken = writer->PicturesWritten();
  if (taken >= 0 && taken < account.pictures) {
    lost.timeless += account.pictures - taken;
    account.pictures = taken;
  }
  const bool isDone = walk.IsDone() && writer->OutputError() == 0;
  if (isDone && (walk.IsTorn() || lost.timeless > 0 || lost.isDoubtful)) {
    const int64_t met = reversal.CountPictures(start, end);
    lost.unread += std::max<int64_t>(met - account.pictures - lost.Count(), 0);
  }
  const LostSound leftOut = reversal.SoundLeftOut();
  if (isDone && leftOut.seconds > 0) account.sound.Lose(leftOut.time, leftOut.seconds);
  if (isDone && !walk.SawLaterPicture()) account.input = reversal.InputExtent();
  return account;
}

}  // namespace codec
