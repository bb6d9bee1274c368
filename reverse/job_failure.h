// SPDX-License-Identifier: MIT
// Why a job has failed.
#pragma once

#include <string>

namespace codec {

// What a job was at when it failed.
enum class FailedStep {
  kNone,         // it did not fail, or has not yet
  kSameFile,     // comparing the names: the output is the input
  kOpenInput,    // opening the input and reading its header and streams
  kMemory,       // planning its memory: see MemoryNeeded
  kReadFacts,    // what the input holds is nothing that can be reversed: see InputInfo
  kCopy,         // finding out whether the pictures can be copied: see the obstacle
  kCheckRange,   // the range starts at or after the end of the input, or is empty
  kOpenOutput,   // making the output, its encoders and its container; may have an obstacle
  kStart,        // starting the work: the host gave no thread
  kReadInput,    // reading pictures: there is none at or around the range
  kReadRange,    // the same, but there are pictures before or after the range
  kReadFirst,    // the same, but for one that the range begins with, which is left out
  kHost,         // the host gave no memory in the middle of the work
  kLoss,         // all is written that could be read, but a part was lost: see SetStrict
  kWriteOutput,  // writing the output
  kCancel,       // nothing: it was cancelled or released early, see SetDiscardCancelled
};

// The first thing that a job has failed at, kept so that nobody has to look at the files again:
// they may have changed since.
struct JobFailure {
  FailedStep step = FailedStep::kNone;  // where the first failure was
  int error = 0;                        // FFmpeg's negative number; 0 if there is none for it
  // What the file of that step is, if not one that can be read and written back and forth: "a
  // directory", "a pipe (FIFO)". Null if it is such a file, or not known. Static text.
  const char* kind = nullptr;
  // What stands in the way of an input that could be opened, of copying it, or of an output like
  // this, and what would work. Empty if nothing is known.
  std::string obstacle = {};
};

}  // namespace codec
