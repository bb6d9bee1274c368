// SPDX-License-Identifier: MIT
// Writes the tables of the program into the pages and completions that repeat them, or checks that
// they are there. Usage: write_pages [--check] ROOT_OF_THE_TREE
//
// Exit status: 0; 1 if a page differs, or has no place for its part.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "app/pages.h"

namespace {

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Whether the page is, or now is, as it should be.
bool Settle(const std::string& path, const app::PagePart& part, bool isCheck) {
  const std::string before = Read(path);
  const std::string after = app::WithPart(before, part);
  if (after.empty()) {
    std::fprintf(stderr, "%s has no place for: %s\n", path.c_str(), part.name);
    return false;
  }
  if (after == before) return true;
  if (isCheck) {
    std::fprintf(stderr, "%s is older than the program's table: %s; run scripts/pages\n",
                 path.c_str(), part.name);
    return false;
  }
  std::ofstream file(path, std::ios::binary);
  file << after << std::flush;
  return file.good();
}

}  // namespace

int main(int argc, char** argv) {
  const bool isCheck = argc == 3 && std::string(argv[1]) == "--check";
  if (argc != 2 && !isCheck) {
    std::fprintf(stderr, "usage: write_pages [--check] ROOT_OF_THE_TREE\n");
    return 2;
  }
  bool isRight = true;
  for (const app::PagePart& part : app::PageParts()) {
    isRight = Settle(std::string(argv[argc - 1]) + "/" + part.file, part, isCheck) && isRight;
  }
  return isRight ? 0 : 1;
}
