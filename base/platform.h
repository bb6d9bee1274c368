// SPDX-License-Identifier: MIT
// The few calls to the host that are neither media nor threads.
#pragma once

#include <cstdint>

// Waits for this many milliseconds.
void Sleep(int milliseconds);

// Makes writing into a pipe that nobody reads, or past the limit of a file's size, an error of that
// write. By default either ends the program without a word.
void IgnoreWriteSignals();

// Waits for a key press, but only where a person can give one: standard input and standard output
// both at a terminal. Returns at once otherwise.
void PauseForKey();

namespace but {

// Processor time of the process, in milliseconds.
int64_t ProcessClockMillis();

// Processor time of the process in steps of a millisecond, as microseconds.
int64_t NowMicros();

}  // namespace but
