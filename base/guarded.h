// SPDX-License-Identifier: MIT
// The border that no exception crosses.
#pragma once

#include <cerrno>
#include <exception>
#include <new>
#include <type_traits>

#include "base/first_error.h"
#include "base/log.h"

namespace but {

// Runs `body` and gives its result, 0 where it has none. Where the host had no memory for it, or
// refused it something else, -ENOMEM or -EAGAIN after an error line. `thrown`, unless null, keeps
// these two and no result of the body.
template <typename Body>
int Guarded(const char* tag, const Body& body, FirstError* thrown = nullptr) {
  int error = 0;
  try {
    if constexpr (std::is_void_v<decltype(body())>) {
      body();
      return 0;
    } else {
      return body();
    }
  } catch (const std::bad_alloc&) {
    log_error(tag, "no memory");
    error = -ENOMEM;
  } catch (const std::exception& refusal) {
    log_error(tag, "%s", refusal.what());
    error = -EAGAIN;
  }
  if (thrown != nullptr) thrown->Keep(error);
  return error;
}

}  // namespace but
