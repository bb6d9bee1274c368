// SPDX-License-Identifier: MIT
#include "app/order.h"

#include "base/log.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

}  // namespace

void SwitchOnAdditions(const Order& order, codec::Reverse* job) {
  if (order.isPlain && order.memory > 0) {
    log_warn(kTag, "%s leaves %s out", order.names->plain, order.names->memory);
  }
  if (order.isPlain) return;
  // Of the one warning that every run has, a person who is shown warnings only would learn nothing.
  if (!log_enabled(kLogInfo)) job->SetOutputParameter("speed", "1");
  job->SetMirror(order.Mirrors());
  job->SetCopy(order.isCopy);
  job->SetSafeOutput(order.isSafe);
  job->SetRefuseEmpty(true);
  job->SetIndependent(true);
  job->SetMemoryLimit(order.memory > 0 ? order.memory : codec::Reverse::kHostMemory);
}

void DescribeOutput(const Order& order, codec::Reverse* job) {
  if (order.hasNoSound) job->DisableAudio();
  job->SetStrict(order.isStrict);
  for (const OutputValue& given : order.outputValues) {
    job->SetOutputParameter(given.key.c_str(), given.value.c_str());
  }
}

}  // namespace app
