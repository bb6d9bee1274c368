// SPDX-License-Identifier: MIT
// Reading one value from an INI file, on the inih library.
#pragma once

#include <cstdint>

// Copies the value of `key` in `[section]` of the file at `path` into `buffer` (`size` bytes,
// terminator included, longer values are cut), or `fallback` when the file cannot be opened or does
// not name the key. Section and key compare without case; the first match counts. What follows " ;"
// is a comment; lines are read up to inih's limit (about 200 characters as Debian builds it), the
// rest of a longer one is dropped. Returns the number of characters copied, without the terminator;
// 0 for a buffer without room.
uint32_t GetPrivateProfileStringA(const char* section, const char* key, const char* fallback,
                                  char* buffer, uint32_t size, const char* path);
