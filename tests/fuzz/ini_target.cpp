// SPDX-License-Identifier: MIT
#include <cstring>
#include <vector>

#include "base/ini_file.h"
#include "tests/fuzz/memory_file.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/targets.h"

namespace fuzz {

void IniTarget(const uint8_t* data, size_t size) {
  const MemoryFile file(data, size);
  for (const char* key : {"profile", "level"}) {
    for (const uint32_t room : {1U, 8U, 512U}) {
      // Of the heap, so that a byte too many is seen.
      std::vector<char> buffer(room, '\xff');
      const uint32_t length = GetPrivateProfileStringA("encoder", key, "fallback", buffer.data(),
                                                       room, file.Path().c_str());
      Require(length < room, "the length leaves room for the terminator");
      Require(std::strlen(buffer.data()) == length, "the value ends where its length says");
    }
  }
}

}  // namespace fuzz
