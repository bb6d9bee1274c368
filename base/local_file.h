// SPDX-License-Identifier: MIT
// What the host knows of the files that the user names.
#pragma once

#include <string>

namespace but {

// The path that a name given by the user stands for. A name is always that of a local file, also
// where it looks like an address ("a:b.mp4"); only the prefix "file:" is taken off, unless a file
// is called so.
std::string LocalPath(const std::string& name);

// Why a path cannot be read back and forth: a directory, a pipe, a device. Null when it can, and
// when there is nothing of that name. Opens nothing, so that a pipe without a writer does not
// block.
const char* WhyNotSeekable(const std::string& path);

// What stands there then, as a noun: "a directory", "a pipe (FIFO)". Null in the same cases.
const char* UnseekableKind(const std::string& path);

}  // namespace but
