// SPDX-License-Identifier: MIT
#include "tests/faults/faults.h"

#include <sched.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <limits>
#include <tuple>
#include <type_traits>

namespace test_support {
namespace {

// The calls come from several threads at once.
struct State {
  std::atomic<bool> armed{false};
  std::atomic<int64_t> count{0};
  std::atomic<int64_t> first{0};  // to fail, as a value of `count`
  std::atomic<int64_t> last{0};   // to fail
  std::atomic<int64_t> failed{0};
  std::atomic<int> error{0};  // 0 for the table's
};

// Constant-initialised: calls are made before `main` runs.
std::array<State, kFaultCalls> gStates;

State& Of(FaultCall call) { return gStates[static_cast<size_t>(call)]; }

constexpr int64_t kNoEnd = std::numeric_limits<int64_t>::max();

#define FAULT_NAME(name, arguments, failure) #name,
constexpr std::array<const char*, kFaultCalls> kNames = {FAULT_TABLE(FAULT_NAME) "openat",
                                                         "pthread_cond_wait", "operator_new"};
#undef FAULT_NAME

}  // namespace

const char* FaultCallName(FaultCall call) { return kNames[static_cast<size_t>(call)]; }

Fault::Fault(FaultCall call, int64_t passing, int error) : mCall(call) {
  State& state = Of(call);
  state.failed = 0;
  state.error = error;
  state.first = state.count + passing;
  state.last = kNoEnd;
  state.armed = true;
}

Fault::~Fault() { Of(mCall).armed = false; }

Fault& Fault::Once() {
  State& state = Of(mCall);
  state.last = state.first.load();
  return *this;
}

int64_t Fault::Failed() const { return Of(mCall).failed; }

int64_t FaultCallCount(FaultCall call) { return Of(call).count; }

bool CountFaultCall(FaultCall call) {
  State& state = Of(call);
  const int64_t number = state.count++;
  if (!state.armed || number < state.first || number > state.last) return false;
  ++state.failed;
  return true;
}

}  // namespace test_support

namespace {

using test_support::CountFaultCall;
using test_support::FaultCall;

template <typename Function>
struct Signature;
template <typename R, typename... A>
struct Signature<R(A...)> {
  using Result = R;
  template <size_t kIndex>
  using Argument = std::tuple_element_t<kIndex, std::tuple<A...>>;
};
// The C library's are declared not to throw.
template <typename R, typename... A>
struct Signature<R(A...) noexcept> : Signature<R(A...)> {};

template <typename Result>
Result Failure(FaultCall call, Result usual) {
  if constexpr (std::is_same_v<Result, int>) {
    const int chosen = test_support::Of(call).error;
    if (usual == -1) {
      errno = chosen != 0 ? chosen : EIO;
      return usual;
    }
    return chosen != 0 ? chosen : usual;
  } else {
    return usual;
  }
}

}  // namespace

// The types of functions alone are wanted here, not what is promised of them.
#pragma GCC diagnostic ignored "-Wignored-attributes"

#define TYPE(name, index) Signature<decltype(name)>::Argument<index>
#define TYPES_0(name)
#define TYPES_1(name) TYPE(name, 0) a
#define TYPES_2(name) TYPES_1(name), TYPE(name, 1) b
#define TYPES_3(name) TYPES_2(name), TYPE(name, 2) c
#define TYPES_4(name) TYPES_3(name), TYPE(name, 3) d
#define TYPES_5(name) TYPES_4(name), TYPE(name, 4) e
#define TYPES_6(name) TYPES_5(name), TYPE(name, 5) f
#define TYPES_7(name) TYPES_6(name), TYPE(name, 6) g
#define TYPES_9(name) TYPES_7(name), TYPE(name, 7) h, TYPE(name, 8) i
#define TYPES_10(name) TYPES_9(name), TYPE(name, 9) j
#define VALUES_0
#define VALUES_1 a
#define VALUES_2 VALUES_1, b
#define VALUES_3 VALUES_2, c
#define VALUES_4 VALUES_3, d
#define VALUES_5 VALUES_4, e
#define VALUES_6 VALUES_5, f
#define VALUES_7 VALUES_6, g
#define VALUES_9 VALUES_7, h, i
#define VALUES_10 VALUES_9, j

// Closing is done also where it fails.
#define WRAPPER(name, arguments, failure)                                               \
  extern "C" decltype(name) __real_##name;                                              \
  extern "C" Signature<decltype(name)>::Result __wrap_##name(TYPES_##arguments(name)) { \
    using Result = Signature<decltype(name)>::Result;                                   \
    if (!CountFaultCall(FaultCall::name)) return __real_##name(VALUES_##arguments);     \
    if (FaultCall::name == FaultCall::avio_closep) {                                    \
      [[maybe_unused]] const Result done = __real_##name(VALUES_##arguments);           \
    }                                                                                   \
    return Failure<Result>(FaultCall::name, failure);                                   \
  }

FAULT_TABLE(WRAPPER)

// Our code always gives a mode.
extern "C" int __real_openat(int folder, const char* path, int flags, ...);
extern "C" int __wrap_openat(int folder, const char* path, int flags, ...) {
  if (CountFaultCall(FaultCall::openat)) return Failure<int>(FaultCall::openat, -1);
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = va_arg(rest, mode_t);
  va_end(rest);
  return __real_openat(folder, path, flags, mode);
}

extern "C" int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
extern "C" int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  if (!CountFaultCall(FaultCall::pthread_cond_wait)) {
    return __real_pthread_cond_wait(condition, mutex);
  }
  // As a real one: others may hold the lock meanwhile.
  pthread_mutex_unlock(mutex);
  sched_yield();
  return pthread_mutex_lock(mutex);
}
