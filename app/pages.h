// SPDX-License-Identifier: MIT
// The parts of pages and completions that repeat the program's tables.
#pragma once

#include <string>
#include <vector>

namespace app {

// A part of a file: what stands between the line that holds "begin of generated: NAME" and the one
// that holds "end of generated: NAME".
struct PagePart {
  const char* file;  // below the root of the tree
  const char* name;
  std::string text;  // whole lines
};

// All of them, by the tables of options and of output keys.
std::vector<PagePart> PageParts();

// The page with its part replaced; empty if it has no such lines.
std::string WithPart(const std::string& page, const PagePart& part);

}  // namespace app
