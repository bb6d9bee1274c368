// SPDX-License-Identifier: MIT
// A job that was ordered, from the checks of the order to what is said of its end.
#pragma once

#include <memory>
#include <string>

#include "app/order.h"
#include "app/overwrite.h"
#include "reverse/reverse.h"

namespace app {

// Runs what the order asks for and keeps the advice about a failure. What the tool and the C
// interface have in common: the tool adds a terminal, the C interface a border. Life: constructor,
// Open, Start, Job()->WaitForEnd, Finish; all from one thread.
class OrderedJob {
 public:
  // With a job of its own, which has the additions and the output of the order.
  explicit OrderedJob(const Order& order);
  // With a given job that is not yet initialised.
  OrderedJob(Order order, std::unique_ptr<codec::Reverse> job);

  codec::Reverse* Job() const { return mJob.get(); }

  // Looks for what stands against the order, then opens input and output. 0, or -1 after error
  // lines: then the job is over. `ask` may be null.
  int Open(const Ask& ask);
  // Begins the work. 0, or -1 after error lines; Finish is to be called in either case.
  int Start();
  // Percent done, 0 to 100. The job's own number is 100 after the last picture. This one stays
  // below 100 until the output is closed, so it is told only once, and of a whole file.
  double Percent() const;
  // Ends the work, closes the output and logs what was written and lost. 0, or -1 after error
  // lines.
  int Finish();
  // Frees the job, which writes its last lines of the log. Job is null from then on.
  void Drop() { mJob.reset(); }

  // What to do about the failure: one sentence. Empty if there was none.
  const std::string& Advice() const { return mAdvice; }
  // Whether the failure was that a file stands at the output.
  bool MetExisting() const { return mMetExisting; }

 private:
  int Fail();

  const Order mOrder;
  std::unique_ptr<codec::Reverse> mJob;  // until Drop
  std::string mAdvice;
  bool mMetExisting = false;
};

}  // namespace app
