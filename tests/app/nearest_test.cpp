// SPDX-License-Identifier: MIT
#include "app/nearest.h"

#include <gtest/gtest.h>

namespace app {
namespace {

const std::vector<std::string> kWords = {"-s",     "--plain", "--memory",
                                         "--help", "preset",  "maxrate"};

TEST(Nearest, FindsWhatWasMeant) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"--plian", "--plain"},   // swapped
      {"--plai", "--plain"},    // left out
      {"--plainn", "--plain"},  // added
      {"--plaim", "--plain"},   // another
      {"-plain", "--plain"},    // a dash too few
      {"--PLAIN", "--plain"},   // in capitals
      {"-S", "-s"},             //
      {"--mem", "--memory"},    // its beginning
      {"prset", "preset"},      //
      {"max-rate", "maxrate"},  //
      {"--hlep", "--help"},     //
  };
  for (const auto& [word, meant] : rows) EXPECT_EQ(Nearest(word, kWords), meant) << word;
}

TEST(Nearest, FindsNothingFarAway) {
  for (const char* word : {"", "-", "--", "-x", "--p", "--colour", "--plxyz", "clip.mp4"}) {
    EXPECT_EQ(Nearest(word, kWords), "") << word;
  }
  EXPECT_EQ(Nearest("--plain", {}), "");
}

TEST(Nearest, PrefersFewerChanges) {
  EXPECT_EQ(Nearest("--stat", {"--start", "--state", "--stat"}), "--stat");
  EXPECT_EQ(Nearest("--statt", {"--starts", "--state"}), "--state");
}

}  // namespace
}  // namespace app
