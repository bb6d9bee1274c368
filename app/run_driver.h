// SPDX-License-Identifier: MIT
// Runs one reversal from the arguments to the exit status.
#pragma once

#include <functional>
#include <memory>

#include "app/command_line.h"
#include "app/progress_observer.h"
#include "reverse/reverse.h"

namespace app {

// Reverses what the command line asks for. The observer is the caller's; null for lines of the log.
// The exit status: 0, or -1 after an error line that says what to do.
int RunReverse(const CommandLine& commandLine, ProgressObserver* observer = nullptr);

// The same with a job of these arguments that is not yet initialised, as the caller has made it.
int RunJob(std::unique_ptr<codec::Reverse> job, const CommandLine& commandLine,
           ProgressObserver* observer = nullptr);

// What ReportProgress waits with: until the time has passed or the job, which must outlive the
// result, is over. With --plain always until the time has passed.
std::function<void(int milliseconds)> WaitFor(const CommandLine& commandLine, codec::Reverse* job);

// Reports the progress, then waits 400 ms, until it has reported 100 percent. The wait may be
// shorter where the progress is 100 by then.
void ReportProgress(const std::function<Progress()>& progress,
                    const std::function<void(int milliseconds)>& wait, ProgressObserver* observer);

}  // namespace app
