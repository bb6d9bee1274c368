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

// Switches on what the tool does beyond the plain reversal, unless the command line says --plain. A
// job that another program constructs has none of it. To be called before the job's Init.
void SwitchOnAdditions(const CommandLine& commandLine, codec::Reverse* job);

// Tells the job what the command line says of the output. To be called before the job's Init.
void DescribeOutput(const CommandLine& commandLine, codec::Reverse* job);

// The same as RunReverse with a job of these arguments that is not yet initialised.
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
