// SPDX-License-Identifier: MIT
// Terminals without a screen, and what a screen would show of their bytes.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace test_support {

// A pseudo terminal. Throws std::runtime_error where the host gives none.
class Terminal {
 public:
  explicit Terminal(int columns);
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void Resize(int columns);
  // What a program opens as its terminal.
  const std::string& Path() const { return mPath; }
  std::FILE* File() const { return mFile.get(); }
  // The other end, where keys are typed and the bytes come out.
  int Keyboard() const { return mKeyboard; }
  // What has been written into the file and not been read yet.
  std::string Read() const;
  // Closes the file, so that the terminal hangs up when the last program on it ends.
  void LetGo() { mFile.reset(); }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  int mKeyboard;
  std::string mPath;
  std::unique_ptr<std::FILE, Close> mFile;
};

struct TerminalRun {
  int waitStatus = 0;  // of waitpid
  std::string bytes;   // what the terminal was sent
};

// Runs a program of the PATH on a terminal that it is in the foreground of, in an environment of
// these settings, the PATH and the options of the sanitizers. Once `cue` has appeared, types
// `keys`.
TerminalRun RunOnTerminal(int columns, const std::vector<std::string>& settings,
                          const std::vector<std::string>& arguments, const std::string& cue = "",
                          const std::string& keys = "");

// Shows what a terminal of this width would show, without an end at the bottom.
class Screen {
 public:
  explicit Screen(int columns) : mColumns(columns) {}

  // Throws std::runtime_error for an escape sequence other than clearing to the end ("J") and
  // colours ("m").
  void Show(const std::string& bytes);

  // Without the blanks at their ends. The last one is that of the cursor.
  std::vector<std::string> Lines() const;
  // Where the cursor is in its line, counted from 0.
  size_t Column() const { return mColumn; }
  // Whether the last colour was reset.
  bool IsColourReset() const { return mIsColourReset; }

 private:
  void Put(const std::string& character);
  size_t Escape(const std::string& bytes, size_t at);

  const size_t mColumns;
  std::vector<std::vector<std::string>> mLines{1};  // of characters
  size_t mRow = 0;
  size_t mColumn = 0;
  bool mIsColourReset = true;
};

}  // namespace test_support
