#ifndef TESTS_FOUNDATION_FAILINGALLOC_H
#define TESTS_FOUNDATION_FAILINGALLOC_H

#include <string>

// Records the allocations of the code under test while it lives, and refuses
// the `failAt`-th of them, counted from 1. One such object at a time.
//
// The test executable is linked with --wrap for malloc, valloc and the nothrow
// forms of operator new, so the calls of its own object files come here first.
// The memory is still the library's or the sanitizer's, which goes on checking
// that kinds are not mixed and that nothing leaks.
struct FailingAlloc {
  explicit FailingAlloc(int failAt = 0) : failAt(failAt) { current = this; }
  ~FailingAlloc() { current = nullptr; }

  const int failAt;
  std::string kinds;  // n for new, a for new[], m for malloc, v for valloc
  inline static FailingAlloc* current = nullptr;
};

#endif  // TESTS_FOUNDATION_FAILINGALLOC_H
