// SPDX-License-Identifier: MIT
#include "codec/format/media_format.h"

#include <cstdlib>
#include <locale>
#include <sstream>

#include "base/log.h"
#include "base/plain_number.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaFormat";

// The text a standard stream writes with its default settings; empty when the stream fails.
template <typename Number>
std::string NumberText(Number value) {
  std::ostringstream stream;
  // A program's global locale must not turn 29.97 into "29,97", which the getters cannot read back.
  stream.imbue(std::locale::classic());
  stream << value;
  return stream.fail() ? std::string() : stream.str();
}

}  // namespace

void MediaFormat::SetString(const char* key, const char* value) { mEntries[key] = value; }

void MediaFormat::SetInt32(const char* key, int value) { mEntries[key] = NumberText(value); }

void MediaFormat::SetDouble(const char* key, double value) { mEntries[key] = NumberText(value); }

int MediaFormat::GetString(const char* key, std::string& value) const {
  const auto entry = mEntries.find(key);
  if (entry == mEntries.end()) return -1;
  value = entry->second;
  return 0;
}

int MediaFormat::GetInt32(const char* key, int& value) const {
  const auto entry = mEntries.find(key);
  if (entry == mEntries.end()) return -1;
  value = std::atoi(entry->second.c_str());
  return 0;
}

int MediaFormat::GetDouble(const char* key, double& value) const {
  const auto entry = mEntries.find(key);
  if (entry == mEntries.end()) return -1;
  value = but::ReadPlainNumber(entry->second.c_str());
  return 0;
}

void MediaFormat::Dump() const {
  for (const auto& [key, value] : mEntries) {
    log_debug(kTag, "%s===>%s", key.c_str(), value.c_str());
  }
  log_debug(kTag, "--------------------------");
}

}  // namespace codec
