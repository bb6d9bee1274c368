// SPDX-License-Identifier: MIT
#include "capi/job_options.h"

#include <algorithm>
#include <array>

#include "app/byte_size.h"

namespace capi {
namespace {

template <bool app::Order::*Member, bool IsOn>
bool StoreFlag(const std::string& value, app::Order* order) {
  if (value != "0" && value != "1") return false;
  order->*Member = (value == "1") == IsOn;
  return true;
}

bool StoreOverwrite(const std::string& value, app::Order* order) {
  if (value != "yes" && value != "no") return false;
  order->overwrite = value == "yes" ? app::Overwrite::kYes : app::Overwrite::kNo;
  return true;
}

bool StoreMemory(const std::string& value, app::Order* order) {
  const int64_t bytes = app::ParseByteSize(value);
  if (bytes > 0) order->memory = bytes;
  return bytes > 0;
}

struct JobOption {
  const char* key;
  const char* values;
  bool (*store)(const std::string& value, app::Order* order);
};

using app::Order;

// Those that are no keys of the output.
constexpr std::array kOptions = {
    JobOption{"sound", "0, 1", &StoreFlag<&Order::hasNoSound, false>},
    JobOption{"copy", "0, 1", &StoreFlag<&Order::isCopy, true>},
    JobOption{"like-source", "0, 1", &StoreFlag<&Order::isLikeSource, true>},
    JobOption{"strict", "0, 1", &StoreFlag<&Order::isStrict, true>},
    JobOption{"mirror", "0, 1", &StoreFlag<&Order::isMirrored, true>},
    JobOption{"safe", "0, 1", &StoreFlag<&Order::isSafe, true>},
    JobOption{"plain", "0, 1", &StoreFlag<&Order::isPlain, true>},
    JobOption{"overwrite", "yes, no", &StoreOverwrite},
    JobOption{"memory", "bytes, or K, M or G as in 300M", &StoreMemory},
};

}  // namespace

std::string SetOption(const std::string& key, const std::string& value, app::Order* order) {
  const auto* const option = std::find_if(kOptions.begin(), kOptions.end(),
                                          [&key](const JobOption& one) { return key == one.key; });
  if (option != kOptions.end()) {
    if (option->store(value, order)) return "";
    return key + " takes " + option->values + ", not " + (value.empty() ? "nothing" : value);
  }
  std::string reason = app::WhyNotSet({key, value}, *order->names);
  if (reason.empty()) order->outputValues.push_back({key, value});
  return reason;
}

}  // namespace capi
