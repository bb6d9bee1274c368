// SPDX-License-Identifier: MIT
// The configuration carrier of the pipeline: an ordered bag of text keys and text values.
#pragma once

#include <map>
#include <string>

namespace codec {

// Numbers travel as text. A copy shares nothing with its source. Keys and texts are copied; none
// may be null. Not synchronised: one thread at a time.
//
// Getters return 0 when the key is present and -1 when it is absent; on -1 the output is untouched,
// so that a caller's default survives. Text that is not a number reads as its leading number, or 0.
class MediaFormat {
 public:
  // Adds the key, or replaces its value.
  void SetString(const char* key, const char* value);
  // The same with a number. Booleans are 0 and 1.
  void SetInt32(const char* key, int value);
  // The same. Six significant digits are kept: 29.970029 is read back as 29.97.
  void SetDouble(const char* key, double value);

  // The value as it is. 0 or -1.
  int GetString(const char* key, std::string& value) const;
  // The value as a whole number. 0 or -1.
  int GetInt32(const char* key, int& value) const;
  // The value as a number. 0 or -1.
  int GetDouble(const char* key, double& value) const;

  // Logs every entry in key order at debug level, then a closing line.
  void Dump() const;

  // The entries in key order, for consumers that walk all of them.
  const std::map<std::string, std::string>& Entries() const { return mEntries; }

 private:
  std::map<std::string, std::string> mEntries;
};

}  // namespace codec
