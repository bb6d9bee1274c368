// SPDX-License-Identifier: MIT
// What options are called where a sentence asks a person to use one.
#pragma once

namespace app {

// Static texts. The same sentence is read at a terminal and by who uses a program that embeds the
// library, and these know the options by other names.
struct OptionNames {
  const char* start;
  const char* end;
  const char* memory;
  const char* plain;
  const char* noMirror;  // the part of a plain reversal that leaves the mirror off
  const char* likeSource;
  const char* copy;
  const char* strict;
  const char* overwrite;
  const char* set;          // what stands before a key of the output
  const char* noSound;      // what leaves the sound out
  const char* keyOwner;     // what knows these keys
  const char* keyList;      // where they are listed
  const char* inputName;    // what to check if there is no such input
  const char* asInput;      // how an input is named
  const char* otherOutput;  // what to choose if the output cannot be written
  const char* more;         // where more is said
};

// Those of the tool.
inline constexpr OptionNames kToolNames = {"-s",
                                           "-e",
                                           "--memory",
                                           "--plain",
                                           "--plain",
                                           "--like-source",
                                           "--copy",
                                           "--strict",
                                           "--overwrite",
                                           "--set ",
                                           "--no-sound",
                                           "--set",
                                           "--help=keys lists them",
                                           "the name after -i",
                                           "with -i",
                                           "another name for -o",
                                           "the lines above say why, and -v tells more"};

// Those of the C interface.
inline constexpr OptionNames kJobNames = {"\"start\"",
                                          "\"end\"",
                                          "\"memory\"",
                                          "\"plain\"",
                                          "\"mirror\" 0",
                                          "\"like-source\"",
                                          "\"copy\"",
                                          "\"strict\"",
                                          "\"overwrite\"",
                                          "",
                                          "sound=0",
                                          "a job",
                                          "docs/keys.md lists them",
                                          "its name",
                                          "as the input",
                                          "another output",
                                          "the log says why"};

}  // namespace app
