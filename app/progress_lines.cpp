// SPDX-License-Identifier: MIT
#include "app/progress_lines.h"

#include "base/log.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

}  // namespace

void ProgressLines::OnProgress(const Progress& progress) {
  log_info(kTag, "progress:%.3f", progress.percent);
}

void LastLine::OnEnd(const RunEnd& end) {
  if (!end.isDone) return;
  log_set_level(kLogInfo);
  log_info(kTag, "%s holds %.3f s, reversed", end.output.c_str(), mLast.position);
}

}  // namespace app
