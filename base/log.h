// SPDX-License-Identifier: MIT
// The logging functions that every part of the system calls. Each takes a tag (the class that
// speaks, with its namespace) and a printf-style format that the compiler checks. All lines go to
// standard error; standard output is never written. Safe to call from any thread.
#pragma once

// Levels of `log_set_level`, the most important first.
enum LogLevel { kLogError = 0, kLogWarn = 1, kLogInfo = 2, kLogDebug = 3, kLogVerbose = 4 };

// Shows lines of this level and of the more important ones. Info until it is called. Levels outside
// the range count as the nearest one inside it.
void log_set_level(int level);

// Whether a line of this level would be shown; lets a caller skip costly preparation.
bool log_enabled(int level);

// What has failed, before the failure is returned.
[[gnu::format(printf, 2, 3)]] void log_error(const char* tag, const char* format, ...);
// What was corrected or left out.
[[gnu::format(printf, 2, 3)]] void log_warn(const char* tag, const char* format, ...);
// What a run works with, and its progress.
[[gnu::format(printf, 2, 3)]] void log_info(const char* tag, const char* format, ...);
// Steps and settings on the way.
[[gnu::format(printf, 2, 3)]] void log_debug(const char* tag, const char* format, ...);
// Everything else.
[[gnu::format(printf, 2, 3)]] void log_verbose(const char* tag, const char* format, ...);

// Logs a finished text at a level chosen at run time, for lines that come from other libraries.
void log_text(int level, const char* tag, const char* text);
