// The configuration carrier of the pipeline: an ordered bag of text keys and text values.
#pragma once

#include <map>
#include <string>

namespace codec {

// Numbers travel as text, so a double keeps six significant digits (29.970029 is read back
// as 29.97). A copy shares nothing with its source. Not synchronised: one thread at a time.
//
// Getters return 0 when the key is present and -1 when it is absent; on -1 the output is untouched,
// so that a caller's default survives. Text that is not a number reads as its leading number, or 0.
class MediaFormat {
 public:
  void SetString(const char* key, const char* value);
  void SetInt32(const char* key, int value);
  void SetDouble(const char* key, double value);

  int GetString(const char* key, std::string& value) const;
  int GetInt32(const char* key, int& value) const;
  int GetDouble(const char* key, double& value) const;

  // Logs every entry in key order at debug level, then a closing line.
  void Dump() const;

  // The entries in key order, for consumers that walk all of them.
  const std::map<std::string, std::string>& Entries() const { return mEntries; }

 private:
  std::map<std::string, std::string> mEntries;
};

}  // namespace codec
