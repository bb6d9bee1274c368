// SPDX-License-Identifier: MIT
// The program at a terminal, and where it writes plain lines.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <csignal>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/terminal.h"

namespace test_support {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr int kFailure = 255;
const std::vector<std::string> kPlainSettings = {"TERM=xterm", "LC_ALL=C"};

std::vector<std::string> Reversal(const std::string& output,
                                  const std::vector<std::string>& options = {}) {
  std::vector<std::string> words = {ProgramPath(), "-i", Clip(ClipKind::kTiny), "-o",
                                    ScratchPath(output)};
  words.insert(words.end(), options.begin(), options.end());
  return words;
}

std::vector<std::string> ScreenLines(int columns, const std::string& bytes) {
  Screen screen(columns);
  screen.Show(bytes);
  EXPECT_EQ(screen.Column(), 0U);
  EXPECT_TRUE(screen.IsColourReset());
  return screen.Lines();
}

TEST(TerminalProgram, KeepsOneBarBelowTheLinesAtAnyWidth) {
  for (const int columns : {40, 80, 200}) {
    const TerminalRun run =
        RunOnTerminal(columns, kPlainSettings, Reversal("bar.mp4", {"-e", "50"}));
    EXPECT_TRUE(WIFEXITED(run.waitStatus) && WEXITSTATUS(run.waitStatus) == 0) << run.bytes;
    const std::vector<std::string> lines = ScreenLines(columns, run.bytes);
    ASSERT_GE(lines.size(), 3U);
    EXPECT_THAT(lines[0], HasSubstr("warning [reverse::Main] -e"));
    EXPECT_EQ(lines.back(), "") << "the prompt has a line of its own";
    const std::string& bar = lines[lines.size() - 2];
    EXPECT_EQ(bar.size(), static_cast<size_t>(columns) - 1) << bar;
    EXPECT_THAT(bar, AllOf(StartsWith("  [###"), HasSubstr("###] 100% "), HasSubstr("x "),
                           HasSubstr(" in 0:0")));
    EXPECT_THAT(std::vector<std::string>(lines.begin(), lines.end() - 2),
                Not(Contains(HasSubstr("%"))));
    EXPECT_THAT(run.bytes, Not(HasSubstr("progress:")));
  }
}

TEST(TerminalProgram, ShowsNothingButTheBarOfAnOrdinaryRun) {
  const TerminalRun run = RunOnTerminal(80, kPlainSettings, Reversal("ordinary.mp4"));
  const std::vector<std::string> lines = ScreenLines(80, run.bytes);
  ASSERT_EQ(lines.size(), 2U) << run.bytes;
  EXPECT_THAT(lines[0], StartsWith("  [###"));
}

TEST(TerminalProgram, AsksBeforeItReplacesAFile) {
  const std::vector<std::string> words = Reversal("asked.mp4", {"--overwrite", "ask"});
  EXPECT_EQ(WEXITSTATUS(RunOnTerminal(200, kPlainSettings, words).waitStatus), 0)
      << "nothing to ask";
  const std::string question = "asked.mp4 exists; replace it? [y/N] ";
  const TerminalRun no = RunOnTerminal(200, kPlainSettings, words, question, "n\n");
  EXPECT_EQ(WEXITSTATUS(no.waitStatus), kFailure);
  EXPECT_THAT(no.bytes, AllOf(HasSubstr(question), HasSubstr("asked.mp4 stays as it is")));
  const TerminalRun yes = RunOnTerminal(200, kPlainSettings, words, question, "y\n");
  EXPECT_EQ(WEXITSTATUS(yes.waitStatus), 0);
  EXPECT_THAT(yes.bytes, HasSubstr("100%"));
}

TEST(TerminalProgram, DrawsNoBarOfAQuietRunOrOneForAProgram) {
  const TerminalRun quiet = RunOnTerminal(200, kPlainSettings, Reversal("quiet.mp4", {"--quiet"}));
  EXPECT_EQ(WEXITSTATUS(quiet.waitStatus), 0);
  const std::vector<std::string> lines = ScreenLines(200, quiet.bytes);
  ASSERT_EQ(lines.size(), 2U) << quiet.bytes;
  EXPECT_THAT(lines[0], EndsWith("quiet.mp4 holds 3.000 s, reversed"));
  const TerminalRun json =
      RunOnTerminal(200, kPlainSettings, Reversal("json.mp4", {"--progress=json"}));
  EXPECT_THAT(ScreenLines(200, json.bytes).front(), StartsWith("{\"percent\":"));
  EXPECT_THAT(json.bytes, Not(HasSubstr("\x1b")));
}

TEST(TerminalProgram, LogsTheSameLinesAsElsewhereIfAsked) {
  const TerminalRun run = RunOnTerminal(300, kPlainSettings, Reversal("lines.mp4", {"-v"}));
  std::string screen;
  for (const std::string& line : ScreenLines(300, run.bytes)) screen += line + "\n";
  for (const char* text : {"[reverse::Main] =============in:",
                           "info    [codec::Reverse] error reverse length, use start to end clip",
                           "info    [codec::FFmpegEncoderImpl] video codec name: libx264"}) {
    EXPECT_THAT(screen, HasSubstr(text));
  }
}

TEST(TerminalProgram, DrawsBlocksOnlyWhereTheLocaleHasThem) {
  const std::vector<std::string> utf8 = {"TERM=xterm", "LC_ALL=C.UTF-8"};
  EXPECT_THAT(RunOnTerminal(80, utf8, Reversal("utf8.mp4")).bytes, HasSubstr("\u2588"));
  EXPECT_THAT(RunOnTerminal(80, kPlainSettings, Reversal("ascii.mp4")).bytes,
              Not(HasSubstr("\u2588")));
}

TEST(TerminalProgram, WritesPlainLinesWhereTheEnvironmentAsksForThem) {
  const std::vector<std::vector<std::string>> environments = {{"TERM=xterm", "NO_COLOR=1"},
                                                              {"TERM=xterm", "CI=true"},
                                                              {"TERM=dumb"},
                                                              {"TERM="},
                                                              {"COLORTERM=truecolor"}};
  const std::vector<std::string> failing = {ProgramPath(), "-i", "absent.mp4"};
  for (const std::vector<std::string>& environment : environments) {
    EXPECT_THAT(RunOnTerminal(40, environment, failing).bytes,
                AllOf(HasSubstr("error   ["), Not(HasSubstr("\x1b"))))
        << environment.back();
  }
  // Not at the end: an encoder that takes its time says its last words behind it.
  EXPECT_THAT(
      RunOnTerminal(40, {"TERM=dumb"}, Reversal("plain.mp4")).bytes,
      AllOf(HasSubstr("info    [reverse::Main] progress:100.000\r\n"), Not(HasSubstr("\x1b"))));
  // Empty ones ask for nothing.
  EXPECT_THAT(RunOnTerminal(40, {"TERM=xterm", "NO_COLOR=", "CI="}, failing).bytes,
              HasSubstr("\x1b[31merror  \x1b[m ["));
}

TEST(TerminalProgram, WritesPlainLinesIntoAPipe) {
  std::vector<std::string> arguments = {"env", "-u", "CI", "-u", "NO_COLOR", "TERM=xterm"};
  for (const std::string& word : Reversal("pipe.mp4")) arguments.push_back(word);
  const CommandResult result = test_support::Run(arguments);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, Not(HasSubstr("\x1b")));
  EXPECT_THAT(result.err, HasSubstr("info    [reverse::Main] progress:100.000\n"));
}

TEST(TerminalProgram, EndsAFailedRunWithWhatToDo) {
  const TerminalRun run = RunOnTerminal(300, kPlainSettings, Reversal("refused.webm"));
  EXPECT_EQ(WEXITSTATUS(run.waitStatus), kFailure);
  const std::vector<std::string> lines = ScreenLines(300, run.bytes);
  ASSERT_GT(lines.size(), 3U);
  EXPECT_EQ(lines.back(), "");
  EXPECT_THAT(lines[lines.size() - 2],
              EndsWith(ScratchPath("refused.webm") +
                       " cannot hold H.264; use --set video-codec=libvpx-vp9 --set "
                       "audio-codec=libopus, or .mp4, .mov, .mkv, .avi or .ts"));
  EXPECT_THAT(lines, Not(Contains(HasSubstr("%"))));
}

TEST(TerminalProgram, IsEndedByTheInterruptKeyAtOnce) {
  const TerminalRun run = RunOnTerminal(
      80, kPlainSettings,
      {ProgramPath(), "-i", LongStillClip(), "-o", ScratchPath("interrupted.mp4")}, "%", "\x03");
  EXPECT_TRUE(WIFSIGNALED(run.waitStatus));
  EXPECT_EQ(WTERMSIG(run.waitStatus), SIGINT);
  // What remains is the bar, with the terminal's own echo of the key in the blanks before it. By
  // then the bar may have been drawn once more.
  Screen screen(80);
  screen.Show(run.bytes);
  EXPECT_TRUE(screen.IsColourReset());
  EXPECT_LE(screen.Column(), 2U);
  EXPECT_THAT(screen.Lines().back(),
              AllOf(AnyOf(StartsWith("^C["), StartsWith("  [")), HasSubstr("%")));
}

}  // namespace
}  // namespace test_support
