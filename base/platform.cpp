// SPDX-License-Identifier: MIT
#include "base/platform.h"

#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <thread>

void Sleep(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void IgnoreWriteSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

void PauseForKey() {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) return;
  termios before{};
  if (tcgetattr(STDIN_FILENO, &before) != 0) return;
  // One key is enough: without line mode the read does not wait for Enter. The interrupt key counts
  // as a key too, so that nothing can end the program before the terminal is as it was.
  termios raw = before;
  raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
  raw.c_cc[VMIN] = 1;
  raw.c_cc[VTIME] = 0;
  tcsetattr(STDIN_FILENO, TCSANOW, &raw);
  char key = 0;
  [[maybe_unused]] const ssize_t got = read(STDIN_FILENO, &key, 1);
  tcsetattr(STDIN_FILENO, TCSANOW, &before);
}

namespace but {

int64_t ProcessClockMillis() {
  return static_cast<int64_t>(std::clock()) / (CLOCKS_PER_SEC / 1000);
}

int64_t NowMicros() { return ProcessClockMillis() * 1000; }

}  // namespace but
