// SPDX-License-Identifier: MIT
// Brings the lines of the log to the program that uses the C interface.
#pragma once

#include "include/clipreverse.h"

namespace capi {

// Makes sure that no line goes to a standard stream, neither ours nor FFmpeg's: lines go to the
// callback, or nowhere. For any thread; only the first call does something. May throw
// std::bad_alloc.
void RouteLog();

// Who is given the lines from now on, and from which level; null for nobody. After the return the
// callback before is called no more. CLIPREVERSE_OK, or CLIPREVERSE_ERROR_STATE if a callback asks
// for it.
int SetLogCallback(int level, clipreverse_log_callback callback, void* user);

}  // namespace capi
