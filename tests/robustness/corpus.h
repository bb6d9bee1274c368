// SPDX-License-Identifier: MIT
// The inputs that the robustness tests start from.
#pragma once

#include <string>
#include <vector>

#include "tests/robustness/sandbox.h"

namespace test_support {

// Small sound clips, one for each container and pair of codecs: 160x90, about a second. Made with
// ffmpeg once for each build directory.
std::vector<std::string> BaseClips();

// Inputs that are wrong, absurd or merely unusual by design, each with the limits it must keep to.
std::vector<SandboxCase> HostileCases();

// The bytes of a file, and a file of these bytes.
std::string ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::string& bytes);

}  // namespace test_support
