// SPDX-License-Identifier: MIT
#include "app/help.h"

#include <gmock/gmock.h>

#include <sstream>

#include "app/option_table.h"
#include "app/output_keys.h"

namespace app {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(Help, FitsOnAScreen) {
  const std::vector<std::string> lines = Lines(HelpText());
  EXPECT_LE(lines.size(), 40U);
  for (const std::string& line : lines) EXPECT_LE(line.size(), 79U) << line;
}

TEST(Help, HasEachOptionOnALineOfItsOwn) {
  const std::string text = HelpText();
  for (const Option& option : Options()) {
    EXPECT_THAT(text, HasSubstr(std::string(option.name) +
                                (option.HasValue() ? std::string(" ") + option.valueName : "")));
    EXPECT_THAT(text, HasSubstr(std::string("  ") + option.sentence + "\n"));
  }
  EXPECT_THAT(text, HasSubstr("  -h, --help "));
}

TEST(Help, DescribesEachKeyOfSet) {
  const std::string text = KeysText();
  for (const std::string& line : Lines(text)) EXPECT_LE(line.size(), 79U) << line;
  for (const OutputKey& key : OutputKeys()) {
    const std::string heading = std::string("\n\n") + key.name + "\n";
    EXPECT_EQ(text.find(heading) != std::string::npos, key.isSettable) << key.name;
  }
  EXPECT_THAT(text, HasSubstr("\n\ngop\n    int: 1 to 1000000 pictures\n    from key frame to key "
                              "frame; a second of them in a reversal\n"));
  EXPECT_THAT(text, HasSubstr("    needs target-height\n"));
}

TEST(Help, TellsTheVersionsAndTheLicence) {
  const std::string text = VersionText();
  EXPECT_THAT(text, StartsWith("clip-reverse "));
  for (const char* library :
       {"libavformat", "libavcodec", "libavutil", "libswresample", "libswscale"}) {
    EXPECT_THAT(text, testing::ContainsRegex(std::string(library) +
                                             " +[0-9]+[.][0-9]+[.][0-9]+, built with [0-9]+[.]"));
  }
  EXPECT_THAT(text, HasSubstr("Licence: MIT"));
}

}  // namespace
}  // namespace app
