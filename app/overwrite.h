// SPDX-License-Identifier: MIT
// Asks before a file is replaced.
#pragma once

#include <functional>
#include <string>

#include "app/order.h"

namespace app {

// Gives the answer to a question: a line without its end, or nothing at the end of the input. Null
// if there is nobody to ask.
using Ask = std::function<std::string(const std::string& question)>;

// What stands against a run by its --overwrite: empty, or a sentence that says what to do. Only a
// file counts, not a device or a pipe, nor the input, which the job refuses by itself.
std::string WhyNotOverwritten(const Order& order, const Ask& ask);

// Whether a file that comes to stand at the output during the run has to stay: nobody has allowed
// to replace it. To be called before WhyNotOverwritten.
bool KeepsExisting(const Order& order);

// Asks on standard error and reads standard input; null unless both are at a terminal.
Ask AskAtTerminal();

}  // namespace app
