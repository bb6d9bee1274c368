// SPDX-License-Identifier: MIT
// Tells a person what to do about a run that failed.
#pragma once

#include <cstdint>
#include <string>

#include "app/order.h"
#include "codec/decoder/media_info.h"
#include "reverse/job_failure.h"
#include "reverse/reverse.h"

namespace app {

// What is known of a failure, by which it is told apart.
struct Failure {
  Order order;
  codec::JobFailure cause;
  codec::MediaInfo info;           // of the input; blank if it could not be opened
  double start = 0;                // of the range, in seconds, once the job has checked it
  double end = 0;                  // the same
  int64_t memoryNeeded = 0;        // bytes that the run needs; 0 if there is room for it
  int64_t memoryGranted = 0;       // bytes that it may have
  const char* notTaken = nullptr;  // the first codec that the output's container does not hold
};

// Collects what the job, which has failed, knows of it. No file is looked at: it may be another one
// by now.
Failure FailureOf(const Order& order, const codec::Reverse& job);

// One sentence: the file, the reason, what would work.
std::string Advice(const Failure& failure);

}  // namespace app
