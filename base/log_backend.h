// SPDX-License-Identifier: MIT
// Access to the logger behind the `log_*` functions, for sinks of other shape (a terminal's
// progress bar, a test that collects lines). The functions of base/log.h are all that logging code
// needs.
#pragma once

#include <spdlog/logger.h>

#include <memory>

// How a line is written, for sinks that take the place of the first one. The level is marked for
// colouring, which plain sinks leave out.
inline constexpr char kLogPattern[] = "%H:%M:%S.%e %^%-7l%$ %v";

// The one logger of the process; created on first use and never destroyed, so that threads which
// outlive `main` may still log. A message's text is "[tag] text".
const std::shared_ptr<spdlog::logger>& LogBackend();
