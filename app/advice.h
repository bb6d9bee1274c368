// Tells a person what to do about a run that failed.
#pragma once

#include <cstdint>
#include <string>

#include "app/command_line.h"
#include "codec/decoder/media_info.h"

namespace app {

// What is known of a failure, by which it is told apart.
struct Failure {
  CommandLine line;
  codec::MediaInfo info;              // of the input; blank where it could not be opened
  int readError = 0;                  // the host's error number that stands against the input
  const char* notSeekable = nullptr;  // why the input cannot be read backwards
  bool isOntoItself = false;          // the output is the input
  int writeError = 0;                 // the error number that left the output incomplete
  int64_t memoryNeeded = 0;           // bytes that the run lacks the room for; 0 where it has room
  int64_t memoryGranted = 0;          // bytes that it may have
  std::string obstacle;               // what the decoder says against the input
  const char* notTaken = nullptr;     // the first codec that the output's container does not hold
};

// Looks at the files of a run that failed. `error` is the job's result, FFmpeg's negative number; 0
// where the job failed before it wrote.
Failure Examine(const CommandLine& line, const codec::MediaInfo& info, int error);

// One sentence: the file, the reason, what would work.
std::string Advice(const Failure& failure);

}  // namespace app
