// SPDX-License-Identifier: MIT
#include "tests/support/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace test_support {
namespace {

// What a program has from this one's environment. The others than the PATH tell a sanitizer which
// findings are not ours.
constexpr std::array kKept = {"PATH", "ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS",
                              "UBSAN_OPTIONS"};

std::vector<char*> Pointers(const std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (const std::string& word : words) pointers.push_back(const_cast<char*>(word.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// A session of its own, so that the terminal that it opens becomes the one that it is interrupted
// from.
pid_t SpawnOn(const std::string& path, const std::vector<std::string>& settings,
              const std::vector<std::string>& arguments) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, path.c_str(), O_RDWR, 0);
  posix_spawn_file_actions_adddup2(&actions, STDIN_FILENO, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, STDIN_FILENO, STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);

  std::vector<std::string> environment = settings;
  for (const char* name : kKept) {
    const char* const value = std::getenv(name);
    if (value != nullptr) environment.push_back(std::string(name) + "=" + value);
  }
  pid_t child = 0;
  const int spawned = posix_spawnp(&child, arguments[0].c_str(), &actions, &attributes,
                                   Pointers(arguments).data(), Pointers(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) throw std::runtime_error("cannot run " + arguments[0]);
  return child;
}

// False once all that the terminal was sent has been read and nobody can send it more.
bool ReadSome(int keyboard, std::string* bytes) {
  std::array<char, 4096> block;
  const ssize_t got = read(keyboard, block.data(), block.size());
  if (got > 0) bytes->append(block.data(), static_cast<size_t>(got));
  return got > 0;
}

size_t LengthOfCharacter(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if (byte >= 0xf0) return 4;
  if (byte >= 0xe0) return 3;
  return byte >= 0xc0 ? 2 : 1;
}

}  // namespace

Terminal::Terminal(int columns) : mKeyboard(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  if (mKeyboard < 0 || grantpt(mKeyboard) != 0 || unlockpt(mKeyboard) != 0) {
    throw std::runtime_error("no pseudo terminal");
  }
  mPath = ptsname(mKeyboard);
  const int screen = open(mPath.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (screen < 0) throw std::runtime_error("cannot open " + mPath);
  mFile.reset(fdopen(screen, "w"));
  Resize(columns);
}

Terminal::~Terminal() { close(mKeyboard); }

void Terminal::Resize(int columns) {
  winsize size{};
  size.ws_row = 24;
  size.ws_col = static_cast<unsigned short>(columns);
  ioctl(mKeyboard, TIOCSWINSZ, &size);
}

std::string Terminal::Read() const {
  // The host hands bytes on when it likes; those before the mark have come when the mark has.
  constexpr char kMark = '\x1e';
  std::fputc(kMark, mFile.get());
  std::fflush(mFile.get());
  std::string bytes;
  while (bytes.empty() || bytes.back() != kMark) {
    if (!ReadSome(mKeyboard, &bytes)) throw std::runtime_error("cannot read " + mPath);
  }
  bytes.pop_back();
  return bytes;
}

TerminalRun RunOnTerminal(int columns, const std::vector<std::string>& settings,
                          const std::vector<std::string>& arguments, const std::string& cue,
                          const std::string& keys) {
  // Only tells a hang from slowness.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(250);
  Terminal terminal(columns);
  const pid_t child = SpawnOn(terminal.Path(), settings, arguments);
  terminal.LetGo();
  TerminalRun run;
  bool isTyped = keys.empty();
  pollfd waiting = {terminal.Keyboard(), POLLIN, 0};
  while (poll(&waiting, 1, 1000) == 0 || ReadSome(terminal.Keyboard(), &run.bytes)) {
    if (!isTyped && run.bytes.find(cue) != std::string::npos) {
      isTyped = write(terminal.Keyboard(), keys.data(), keys.size()) > 0;
    }
    if (std::chrono::steady_clock::now() > end) kill(child, SIGKILL);
  }
  waitpid(child, &run.waitStatus, 0);
  return run;
}

void Screen::Show(const std::string& bytes) {
  for (size_t at = 0; at < bytes.size();) {
    const char c = bytes[at];
    if (c == '\x1b') {
      at = Escape(bytes, at);
      continue;
    }
    const size_t length = LengthOfCharacter(c);
    if (c == '\r') {
      mColumn = 0;
    } else if (c == '\n') {
      if (++mRow == mLines.size()) mLines.emplace_back();
    } else {
      Put(bytes.substr(at, length));
    }
    at += length;
  }
}

void Screen::Put(const std::string& character) {
  if (mColumn == mColumns) {
    mColumn = 0;
    if (++mRow == mLines.size()) mLines.emplace_back();
  }
  std::vector<std::string>& line = mLines[mRow];
  if (line.size() <= mColumn) line.resize(mColumn + 1, " ");
  line[mColumn++] = character;
}

// Gives back where the sequence ends.
size_t Screen::Escape(const std::string& bytes, size_t at) {
  const size_t end = bytes.find_first_not_of("0123456789;", at + 2);
  if (bytes.compare(at + 1, 1, "[") != 0 || end == std::string::npos) {
    throw std::runtime_error("unknown escape sequence");
  }
  const std::string values = bytes.substr(at + 2, end - at - 2);
  if (bytes[end] == 'm') {
    mIsColourReset = values.empty() || values == "0";
  } else if (bytes[end] == 'J' && values.empty()) {
    mLines.resize(mRow + 1);
    if (mLines[mRow].size() > mColumn) mLines[mRow].resize(mColumn);
  } else {
    throw std::runtime_error("unexpected escape sequence " + values + bytes[end]);
  }
  return end + 1;
}

std::vector<std::string> Screen::Lines() const {
  std::vector<std::string> lines;
  for (size_t row = 0; row <= mRow; ++row) {
    std::string line;
    for (const std::string& character : mLines[row]) line += character;
    lines.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
  }
  return lines;
}

}  // namespace test_support
