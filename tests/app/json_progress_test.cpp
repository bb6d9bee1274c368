// SPDX-License-Identifier: MIT
#include "app/json_progress.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace app {
namespace {

// A file in memory, and a clock that a test sets.
class JsonFile {
 public:
  JsonFile() = default;
  ~JsonFile() {
    mFile.reset();
    std::free(mText);
  }
  JsonFile(const JsonFile&) = delete;
  JsonFile& operator=(const JsonFile&) = delete;

  std::FILE* File() { return mFile.get(); }
  std::string Text() const { return {mText, mSize}; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  char* mText = nullptr;
  size_t mSize = 0;
  std::unique_ptr<std::FILE, Close> mFile{open_memstream(&mText, &mSize)};
};

Progress Report(double percent, int64_t bytes) {
  Progress progress;
  progress.percent = percent;
  progress.range = 10;
  progress.position = percent / 10;
  progress.bytes = bytes;
  return progress;
}

TEST(JsonProgress, WritesAnObjectALine) {
  JsonFile file;
  double now = 100;
  JsonProgress json(file.File(), [&now] { return now; });
  json.OnProgress(Report(0, 48));
  now = 102;
  json.OnProgress(Report(50, 1234567890123));
  json.OnProgress(Report(100, 5));
  json.OnEnd({true, "out.mp4", ""});
  EXPECT_EQ(file.Text(),
            "{\"percent\":0.000,\"position\":0.000,\"length\":10.000,\"speed\":null,\"left\":null,"
            "\"bytes\":48}\n"
            "{\"percent\":50.000,\"position\":5.000,\"length\":10.000,\"speed\":2.50,\"left\":2.0,"
            "\"bytes\":1234567890123}\n"
            "{\"percent\":100.000,\"position\":10.000,\"length\":10.000,\"speed\":5.00,"
            "\"left\":0.0,\"bytes\":5}\n"
            "{\"percent\":100.000,\"position\":10.000,\"length\":10.000,\"speed\":5.00,"
            "\"left\":0.0,\"bytes\":5,\"result\":\"done\"}\n");
}

TEST(JsonProgress, TellsTheAccountInItsLastLine) {
  JsonFile file;
  JsonProgress json(file.File(), [] { return 0.0; });
  codec::JobAccount account;
  account.pictures = 150;
  account.sound.written = 6;
  account.lost.undecoded = 2;
  account.lost.unread = 1;
  account.sound.lost = 0.064;
  json.OnAccount(account);
  json.OnEnd({true, "out.mp4", ""});
  EXPECT_EQ(file.Text(),
            "{\"percent\":0.000,\"position\":0.000,\"length\":0.000,\"speed\":null,\"left\":null,"
            "\"bytes\":0,\"pictures\":150,\"sound\":6.000,\"lost_pictures\":3,\"lost_sound\":0.064,"
            "\"result\":\"done\"}\n");
}

TEST(JsonProgress, TellsWhatToDoAboutAFailure) {
  JsonFile file;
  JsonProgress json(file.File(), [] { return 0.0; });
  json.OnEnd({false, "out.mp4", "\"a\\b\".mp4 does not exist"});
  EXPECT_EQ(
      file.Text(),
      "{\"percent\":0.000,\"position\":0.000,\"length\":0.000,\"speed\":null,\"left\":null,"
      "\"bytes\":0,\"result\":\"failed\",\"advice\":\"\\\"a\\\\b\\\".mp4 does not exist\"}\n");
}

TEST(JsonProgress, WritesAnyTextAsJson) {
  const std::string mark = "\xEF\xBF\xBD";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", ""},
      {"a/b", "a/b"},
      {"tab\tline\nend\x1b", "tab\\u0009line\\u000aend\\u001b"},
      {"\u00e9\u20ac\U0001F3AC", "\u00e9\u20ac\U0001F3AC"},
      {"\xff", mark},
      {"a\xe2\x82", "a" + mark + mark},                 // cut off
      {"\xc0\x80", mark + mark},                        // longer than need be
      {"\xed\xa0\x80", mark + mark + mark},             // half of a pair
      {"\xf4\x90\x80\x80", mark + mark + mark + mark},  // above Unicode
      {"\x80z", mark + "z"},
  };
  for (const auto& [text, json] : rows) EXPECT_EQ(JsonText(text), "\"" + json + "\"");
  EXPECT_EQ(JsonText(std::string("\0", 1)), "\"\\u0000\"");
}

}  // namespace
}  // namespace app
