// SPDX-License-Identifier: MIT
// Counts pictures, to hold the account of a run against them.
#pragma once

#include <cstdint>
#include <string>

namespace test_support {

// The packets of the first video stream; 0 if there is none.
int64_t CountPackets(const std::string& path);

// The pictures of a clip that one decode from its start to its end gives, with a single thread, and
// that begin less than `seconds` after the clip does. Pictures that are shown before the first key
// picture do not count: they lean on what is not there.
int64_t CountDecodable(const std::string& path, double seconds);

}  // namespace test_support
