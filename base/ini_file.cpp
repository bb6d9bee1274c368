#include "base/ini_file.h"

#include <ini.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

struct Lookup {
  const char* section;
  const char* key;
  std::string value;
  bool found;
};

// inih calls this for every pair of the file; 1 means "go on".
int OnPair(void* user, const char* section, const char* name, const char* value) {
  auto* lookup = static_cast<Lookup*>(user);
  if (!lookup->found && strcasecmp(section, lookup->section) == 0 &&
      strcasecmp(name, lookup->key) == 0) {
    lookup->value = value;
    lookup->found = true;
  }
  return 1;
}

}  // namespace

uint32_t GetPrivateProfileStringA(const char* section, const char* key, const char* fallback,
                                  char* buffer, uint32_t size, const char* path) {
  if (buffer == nullptr || size == 0) return 0;
  Lookup lookup{section, key, {}, false};
  // A line that inih cannot read does not hide the readable ones, so its result tells nothing here.
  ini_parse(path, &OnPair, &lookup);
  if (!lookup.found) lookup.value = fallback;
  const auto length = std::min<uint32_t>(size - 1, static_cast<uint32_t>(lookup.value.size()));
  std::memcpy(buffer, lookup.value.data(), length);
  buffer[length] = '\0';
  return length;
}
