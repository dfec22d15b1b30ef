#include "tests/foundation/FailingAlloc.h"

#include <cstddef>
#include <new>

static bool Refuses(char kind) {
  FailingAlloc* const current = FailingAlloc::current;
  if (current == nullptr) {
    return false;
  }
  current->kinds += kind;  // by the throwing new, which is not wrapped
  return current->kinds.size() == static_cast<std::size_t>(current->failAt);
}

// The linker calls __wrap_X for X, whose original is then called __real_X.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
using TTag = const std::nothrow_t&;
void* __real_malloc(std::size_t size);
void* __real_valloc(std::size_t size);
void* __real__ZnwmRKSt9nothrow_t(std::size_t size, TTag tag);
void* __real__ZnamRKSt9nothrow_t(std::size_t size, TTag tag);

void* __wrap_malloc(std::size_t size) {
  return Refuses('m') ? nullptr : __real_malloc(size);
}
void* __wrap_valloc(std::size_t size) {
  return Refuses('v') ? nullptr : __real_valloc(size);
}
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, TTag tag) {
  return Refuses('n') ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}
void* __wrap__ZnamRKSt9nothrow_t(std::size_t size, TTag tag) {
  return Refuses('a') ? nullptr : __real__ZnamRKSt9nothrow_t(size, tag);
}
}
// NOLINTEND(bugprone-reserved-identifier)
