// SPDX-License-Identifier: MIT
// The entry point of clip-reverse.
#include <cstdio>
#include <memory>

#include "app/command_line.h"
#include "app/help.h"
#include "app/json_progress.h"
#include "app/progress_lines.h"
#include "app/run_driver.h"
#include "app/terminal_sink.h"
#include "base/guarded.h"
#include "base/log.h"
#include "base/platform.h"
#include "codec/ffmpeg/log_bridge.h"
#include "codec/ffmpeg/versions.h"

namespace {

// Whom the command line asks for; null for the usual one.
std::unique_ptr<app::ProgressObserver> ChosenObserver(const app::CommandLine& line) {
  if (line.isJson) return std::make_unique<app::JsonProgress>(stderr);
  if (line.isQuiet) return std::make_unique<app::LastLine>();
  return nullptr;
}

int Run(int argc, char** argv) {
  IgnoreWriteSignals();
  app::TerminalLog terminal;
  codec::ffmpeg::InstallLogBridge();
  app::CommandLine commandLine;
  if (app::ParseCommandLine(argc, argv, &commandLine) != 0) return -1;
  if (commandLine.page != app::Page::kNone) return app::PrintPage(commandLine.page);
  if (codec::ffmpeg::CheckVersions(codec::ffmpeg::LibraryVersions()) != 0) return -1;
  log_info("reverse::Main", "=============in:%s, out:%s, start:%.3f, end:%.3f",
           commandLine.input.c_str(), commandLine.output.c_str(), commandLine.start,
           commandLine.end);
  const std::unique_ptr<app::ProgressObserver> chosen = ChosenObserver(commandLine);
  app::ProgressObserver* const usual = terminal.IsDrawing() ? &terminal : nullptr;
  return app::RunReverse(commandLine, chosen != nullptr ? chosen.get() : usual);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    app::PrintUsage();
    PauseForKey();
    return -1;
  }
  return but::Guarded("reverse::Main", [=] { return Run(argc, argv); }) == 0 ? 0 : -1;
}
