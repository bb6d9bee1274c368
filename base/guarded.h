// The border that no exception crosses.
#pragma once

#include <cerrno>
#include <exception>
#include <new>

#include "base/log.h"

namespace but {

// Runs `body` and gives its result. Where the host had no memory for it, or refused it something
// else, -ENOMEM or -EAGAIN after an error line.
template <typename Body>
int Guarded(const char* tag, const Body& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    log_error(tag, "no memory");
    return -ENOMEM;
  } catch (const std::exception& error) {
    log_error(tag, "%s", error.what());
    return -EAGAIN;
  }
}

}  // namespace but
