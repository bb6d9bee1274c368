// SPDX-License-Identifier: MIT
// Progress for a program that has started this one.
#pragma once

#include <cstdio>
#include <functional>
#include <optional>
#include <string>

#include "app/progress_observer.h"
#include "app/run_pace.h"

namespace app {

// A text as JSON writes it, with its quotes. What is no UTF-8 becomes U+FFFD.
std::string JsonText(const std::string& text);

// Writes one JSON object a line:
//
//   {"percent":12.500,"position":1.250,"length":10.000,"speed":5.00,"left":1.8,"bytes":48}
//
// Position and length of the range in seconds, speed as a multiple of playing, seconds left, bytes
// written. What is not known yet is null. The last line has "result" too, "done" or "failed", and
// for the latter "advice", a sentence. Of a run that was begun the last line also tells the
// "pictures" and the seconds of "sound" that were reversed, "lost_pictures" and "lost_sound", and
// "missing_bytes" if the clip is cut off.
class JsonProgress : public ProgressObserver {
 public:
  // `file` is open and stays so. `clock` gives seconds that never run backwards.
  JsonProgress(std::FILE* file, std::function<double()> clock);
  // The same with the host's clock.
  explicit JsonProgress(std::FILE* file);

  void OnProgress(const Progress& progress) override;
  void OnAccount(const codec::JobAccount& account) override { mAccount = account; }
  void OnEnd(const RunEnd& end) override;

 private:
  std::string Fields() const;
  std::string AccountFields() const;
  void Write(const std::string& fields);

  std::FILE* const mFile;
  const std::function<double()> mClock;
  RunPace mPace;
  Progress mLast;
  std::optional<codec::JobAccount> mAccount;
};

}  // namespace app
