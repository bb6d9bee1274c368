// SPDX-License-Identifier: MIT
#include "app/option_table.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

namespace app {
namespace {

TEST(OptionTable, HasEachNameOnce) {
  std::set<std::string> names;
  for (const Option& option : Options()) {
    for (const char* name : {option.name, option.synonym, option.meant}) {
      EXPECT_TRUE(*name == '\0' || names.insert(name).second) << name;
    }
  }
}

TEST(OptionTable, HasSentencesThatFitOnALine) {
  for (const Option& option : Options()) {
    EXPECT_LE(std::strlen(option.sentence), 55U) << option.name;
    EXPECT_EQ(option.HasValue(), *option.valueName != '\0') << option.name;
    EXPECT_EQ(option.HasValue(), *option.example != '\0') << option.name;
  }
}

TEST(OptionTable, TakesItsOwnExamples) {
  for (const Option& option : Options()) {
    if (!option.HasValue()) continue;
    CommandLine line;
    EXPECT_EQ(option.store(&line, option.example), 0) << option.name;
  }
}

TEST(OptionTable, FindsValuesInsideOfLongOptionsOnly) {
  EXPECT_STREQ(FindOption("--memory=300M").inside, "300M");
  EXPECT_STREQ(FindOption("--set=preset=fast").inside, "preset=fast");
  EXPECT_STREQ(FindOption("--set=").inside, "");
  EXPECT_EQ(FindOption("--memory").inside, nullptr);
  EXPECT_STREQ(FindOption("--memory").option->name, "--memory");
  EXPECT_STREQ(FindOption("-h").option->name, "--help");
  EXPECT_STREQ(FindOption("--help=keys").option->name, "--help=keys");
  for (const char* word : {"-i=x", "--plain=1", "--help=all", "--memoryx", "-vv", "v", "", "-",
                           "--", "=", "--start", "-S"}) {
    EXPECT_EQ(FindOption(word).option, nullptr) << word;
  }
}

TEST(OptionTable, NamesTheOptionThatWasMeant) {
  const std::vector<std::pair<const char*, const char*>> rows = {{"-S", "-s"},
                                                                 {"--start", "-s"},
                                                                 {"--strat", "-s"},
                                                                 {"-start", "-s"},
                                                                 {"--end", "-e"},
                                                                 {"--input", "-i"},
                                                                 {"-in", "-i"},
                                                                 {"--output=x", "-o"},
                                                                 {"--verbose", "-v"},
                                                                 {"-V", "-v"},
                                                                 {"--mem=5", "--memory"},
                                                                 {"--hepl", "--help"},
                                                                 {"--no-audio", "--no-sound"},
                                                                 {"--force", "--overwrite"},
                                                                 {"--plain=1", "--plain"},
                                                                 {"--preset", "--set preset="},
                                                                 {"--crf=20", "--set crf="},
                                                                 {"--width", ""},
                                                                 {"-x", ""},
                                                                 {"--colour", ""},
                                                                 {"--", ""}};
  for (const auto& [word, option] : rows) EXPECT_EQ(NearestOption(word), option) << word;
}

}  // namespace
}  // namespace app
