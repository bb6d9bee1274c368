// SPDX-License-Identifier: MIT
#include "app/output_keys.h"

#include <gmock/gmock.h>

#include <set>

namespace app {
namespace {

using testing::HasSubstr;

TEST(OutputKeys, HaveANameAndASentenceOnce) {
  std::set<std::string> names;
  for (const OutputKey& key : OutputKeys()) {
    EXPECT_TRUE(names.insert(key.name).second) << key.name;
    EXPECT_STRNE(key.sentence, "") << key.name;
    const bool hasChoices = key.type == KeyType::kChoice || key.type == KeyType::kPreset;
    EXPECT_EQ(hasChoices, *key.choices != '\0') << key.name;
    EXPECT_LE(key.lowest, key.highest) << key.name;
  }
  for (const OutputKey& key : OutputKeys()) {
    EXPECT_TRUE(*key.needs == '\0' || names.count(key.needs) == 1U) << key.name;
  }
}

TEST(OutputKeys, TakeTheValuesOfTheirRange) {
  const std::vector<OutputValue> good = {
      {"preset", "ultrafast"},   {"preset", "placebo"},    {"gop", "1"},
      {"gop", "1000000"},        {"target-width", "2"},    {"target-height", "16384"},
      {"rotation", "270"},       {"use-thread", "0"},      {"use-thread", "1"},
      {"thread-count", "0"},     {"thread-type", "slice"}, {"logo-path", "a b=c.png"},
      {"maxrate", "2147483647"}, {"preset", "12"},         {"video-codec", "libx265"},
      {"video-opt:bf", "3"},     {"audio-opt:q", "2"},     {"video-bitrate", "0"}};
  for (const OutputValue& value : good) EXPECT_EQ(WhyNotSet(value), "") << value.key;
}

TEST(OutputKeys, RefuseTheValuesOutsideOfIt) {
  const std::vector<std::pair<OutputValue, const char*>> bad = {
      {{"gop", "0"}, "--set gop takes 1 to 1000000 pictures, not 0"},
      {{"gop", "1000001"}, "not 1000001"},
      {{"gop", "-1"}, "not -1"},
      {{"gop", "99999999999999999999"}, "not 99999999999999999999"},
      {{"gop", "1.5"}, "not 1.5"},
      {{"gop", "5x"}, "not 5x"},
      {{"gop", " 5"}, "not  5"},
      {{"gop", ""}, "not nothing"},
      {{"target-width", "321"}, "--set target-width takes 2 to 16384 pixels, even, not 321"},
      {{"rotation", "45"}, "--set rotation takes 0, 90, 180, 270 degrees, not 45"},
      {{"preset", "quick"}, "--set preset takes ultrafast, superfast, veryfast, faster, fast"},
      {{"preset", "fast medium"}, "not fast medium"},
      {{"preset", ""}, "not nothing"},
      {{"use-thread", "2"}, "--set use-thread takes 0, 1, not 2"},
      {{"logo-path", ""}, "--set logo-path takes a name, not nothing"},
      {{"presett", "fast"}, "--set knows no key presett; did you mean preset?"},
      {{"sharpness", "5"}, "--set knows no key sharpness; --help=keys lists them"},
      // What the job settles by itself.
      {{"output-path", "x.mp4"}, "--set knows no key output-path"},
      {{"width", "320"}, "--set knows no key width"},
  };
  for (const auto& [value, reason] : bad) EXPECT_THAT(WhyNotSet(value), HasSubstr(reason));
}

TEST(OutputKeys, AskForTheKeyWithoutWhichTheyDoNothing) {
  EXPECT_EQ(WhyNotTogether({}), "");
  EXPECT_EQ(WhyNotTogether({{"preset", "fast"}, {"gop", "5"}}), "");
  EXPECT_EQ(WhyNotTogether({{"target-width", "320"}}),
            "--set target-width does nothing alone; set target-height too");
  EXPECT_EQ(WhyNotTogether({{"target-width", "320"}, {"target-height", "180"}}), "");
  EXPECT_EQ(WhyNotTogether({{"target-height", "180"}, {"rotation", "90"}, {"target-width", "2"}}),
            "");
  EXPECT_EQ(WhyNotTogether({{"rotation", "90"}}),
            "--set rotation does nothing alone; set target-width too");
  EXPECT_EQ(WhyNotTogether({{"has-water-mark", "1"}, {"logo-path", "logo.png"}}),
            "--set logo-path does nothing alone; set water-mark-pos too");
}

}  // namespace
}  // namespace app
