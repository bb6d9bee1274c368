// SPDX-License-Identifier: MIT
#include "base/ini_file.h"

#include <ini.h>
#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
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

// Reads one line, as fgets does. inih reads lines into a buffer of fixed size. Of a longer line its
// older releases would take the rest for a line of its own, with a key of its own where it holds a
// "="; newer ones pass over what follows up to a line end, so that one is left for them.
char* ReadLine(char* line, int size, void* stream) {
  auto* file = static_cast<std::FILE*>(stream);
  char* result = std::fgets(line, size, file);
  if (result == nullptr || std::strchr(line, '\n') != nullptr) return result;
  int c = std::fgetc(file);
  while (c != '\n' && c != EOF) c = std::fgetc(file);
  std::ungetc(c, file);
  return result;
}

}  // namespace

uint32_t GetPrivateProfileStringA(const char* section, const char* key, const char* fallback,
                                  char* buffer, uint32_t size, const char* path) {
  if (buffer == nullptr || size == 0) return 0;
  Lookup lookup{section, key, {}, false};
  // A line that inih cannot read does not hide the readable ones, so its result tells nothing here.
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "re"), &std::fclose);
  if (file != nullptr) ini_parse_stream(&ReadLine, file.get(), &OnPair, &lookup);
  if (!lookup.found) lookup.value = fallback;
  const auto length = std::min<uint32_t>(size - 1, static_cast<uint32_t>(lookup.value.size()));
  std::memcpy(buffer, lookup.value.data(), length);
  buffer[length] = '\0';
  return length;
}
