// SPDX-License-Identifier: MIT
#include "tests/support/command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tests/support/picture_count.h"

extern char** environ;

namespace test_support {
namespace {

using Clock = std::chrono::steady_clock;

// Reads both pipes until both are closed or the time is over. True when they were closed.
bool Collect(int outPipe, int errPipe, Clock::time_point end, CommandResult* result) {
  std::array<pollfd, 2> pipes = {pollfd{outPipe, POLLIN, 0}, pollfd{errPipe, POLLIN, 0}};
  std::array<std::string*, 2> texts = {&result->out, &result->err};
  std::array<char, 65536> block;
  while (pipes[0].fd >= 0 || pipes[1].fd >= 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) return false;
    if (poll(pipes.data(), pipes.size(), static_cast<int>(left.count())) <= 0) continue;
    for (size_t i = 0; i < pipes.size(); ++i) {
      if (pipes[i].fd < 0 || pipes[i].revents == 0) continue;
      const ssize_t got = read(pipes[i].fd, block.data(), block.size());
      if (got > 0) {
        texts[i]->append(block.data(), static_cast<size_t>(got));
      } else {
        pipes[i].fd = -1;
      }
    }
  }
  return true;
}

class Scratch {
 public:
  Scratch() {
    std::string pattern = (std::filesystem::temp_directory_path() / "clip-reverse-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    mPath = pattern;
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  const std::filesystem::path& Path() const { return mPath; }

 private:
  std::filesystem::path mPath;
};

}  // namespace

CommandResult Run(const std::vector<std::string>& arguments, std::chrono::seconds limit) {
  CommandResult result;
  std::array<int, 2> out{};
  std::array<int, 2> err{};
  if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe failed");
  }

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);

  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  pid_t child = 0;
  const int spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  close(err[1]);
  if (spawned != 0) {
    close(out[0]);
    close(err[0]);
    throw std::runtime_error("cannot run " + arguments[0]);
  }

  result.timedOut = !Collect(out[0], err[0], Clock::now() + limit, &result);
  if (result.timedOut) kill(child, SIGKILL);
  close(out[0]);
  close(err[0]);

  int status = 0;
  rusage usage{};
  while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.peakKilobytes = usage.ru_maxrss;
  return result;
}

void AppendWords(const std::string& text, std::vector<std::string>* words) {
  std::istringstream stream(text);
  std::string word;
  while (stream >> word) words->push_back(word);
}

namespace {

// What a run says of its pictures must be what its output holds. Runs that say nothing are those
// that failed, show a text, or are told to be quiet or plain.
void ExpectHonestAccount(const std::vector<std::string>& arguments, const CommandResult& result) {
  const std::string text = ReversedLine(result.err);
  const auto output = std::find(arguments.begin(), arguments.end(), "-o");
  // The line of a quiet run ends alike: "out.mp4 holds 3.000 s, reversed".
  const bool tells = text.find(" picture") != std::string::npos;
  if (result.status != 0 || !tells || output == arguments.end()) return;
  std::error_code ignored;
  const std::string& path = *std::next(output);
  if (!std::filesystem::is_regular_file(path, ignored)) return;
  EXPECT_EQ(std::stoll(text), CountPackets(path)) << path << "\n" << result.err;
}

}  // namespace

std::string ProgramPath() { return CLIPREVERSE_PROGRAM; }

CommandResult RunProgram(std::vector<std::string> arguments, std::chrono::seconds limit) {
  arguments.insert(arguments.begin(), ProgramPath());
  const CommandResult result = Run(arguments, limit);
  ExpectHonestAccount(arguments, result);
  return result;
}

std::string ReversedLine(const std::string& log) {
  const size_t end = log.find(" reversed\n");
  if (end == std::string::npos) return "";
  const std::string tag = "] ";
  const size_t begin = log.rfind(tag, end) + tag.size();
  return log.substr(begin, end - begin) + " reversed";
}

std::string FrameTimingOption() {
  static const bool known =
      Run({"ffmpeg", "-v", "error", "-h", "long"}).out.find("-fps_mode") != std::string::npos;
  return known ? "-fps_mode" : "-vsync";
}

std::string ScratchPath(const std::string& name) {
  static const Scratch scratch;
  return (scratch.Path() / name).string();
}

}  // namespace test_support
