// SPDX-License-Identifier: MIT
// The failing `operator new`. Not part of the fault library: it replaces the operators of the whole
// program, the standard library's use of them and the checks of a sanitizer included.
#include <cstdlib>
#include <new>

#include "tests/faults/faults.h"

// Not the counted one.
extern "C" void* __real_malloc(size_t bytes);

void* operator new(size_t bytes) {
  const bool fails = test_support::CountFaultCall(test_support::FaultCall::operator_new);
  void* const memory = fails ? nullptr : __real_malloc(bytes == 0 ? 1 : bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(size_t bytes, const std::nothrow_t&) noexcept {
  const bool fails = test_support::CountFaultCall(test_support::FaultCall::operator_new);
  return fails ? nullptr : __real_malloc(bytes == 0 ? 1 : bytes);
}
void* operator new[](size_t bytes) { return operator new(bytes); }
void* operator new[](size_t bytes, const std::nothrow_t& nothrow) noexcept {
  return operator new(bytes, nothrow);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }
