// SPDX-License-Identifier: MIT
// Writes the seeds of every target. Usage: fuzz_seeds FOLDER
// Those of the target "png" go to FOLDER/png, and so on.
#include <filesystem>

#include "tests/fuzz/seeds.h"
#include "tests/fuzz/targets.h"
#include "tests/robustness/corpus.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  for (const fuzz::Target& target : fuzz::kTargets) {
    const std::filesystem::path folder = std::filesystem::path(argv[1]) / target.name;
    std::filesystem::create_directories(folder);
    int number = 0;
    for (const std::string& seed : fuzz::Seeds(target.name)) {
      test_support::WriteBytes((folder / ("seed" + std::to_string(++number))).string(), seed);
    }
  }
  return 0;
}
