#ifndef FOUNDATION_ZEL_ALLOC_H
#define FOUNDATION_ZEL_ALLOC_H

// Obtaining and releasing memory and two-step objects without exceptions.
//
// Every helper takes the caller's own pointer variable by reference:
// 1. A creating helper sets it to what was made, or to null on failure.
// 2. A releasing helper leaves it null, so that nothing is released twice.
//
// There are three kinds of memory, and each is given back only by its own
// helpers:
//   single objects  new / delete           zel_New        zel_Delete
//   arrays          new[] / delete[]       zel_NewArray   zel_DeleteArray
//   raw blocks      malloc, valloc / free  zel_Malloc     zel_Free
//
// A two-step object is created empty, gets its state from `zel_TError Init()`
// and gives up what it holds in `void Dispose()`, which accepts the state that
// a failed Init leaves.
//
// Exhausted memory is reported as the value that zel_gErrorMemFull has at that
// moment: -1, still a failure, as long as the error registry was never used.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "foundation/zel_Error.h"

// Byte size from which zel_Malloc hands out page-aligned memory.
constexpr std::size_t zel_kPageAlignedSize = 2048;

// Allocates one T. A plain structure is left with unset fields.
// Returns: 0 or zel_gErrorMemFull.
// Owns: the caller; release with zel_Delete or zel_DisposeAndDelete.
template <typename T>
zel_TError zel_New(T*& object) {
  object = new (std::nothrow) T;
  return object != nullptr ? zel_kErrorNone : zel_gErrorMemFull;
}

// Deletes the object without disposing it; does nothing for null.
template <typename T>
void zel_Delete(T*& object) {
  delete object;
  object = nullptr;
}

// Ends a two-step object: Dispose, then delete.
// Requires: `object` is not null.
template <typename T>
void zel_DisposeAndDelete(T*& object) {
  object->Dispose();
  zel_Delete(object);
}

// Ends a two-step object if there is one.
template <typename T>
void zel_TestDisposeAndDelete(T*& object) {
  if (object != nullptr) {
    zel_DisposeAndDelete(object);
  }
}

// Makes a two-step object ready for use: allocation, then Init. If Init fails,
// the object is disposed and deleted again.
// Returns: 0, zel_gErrorMemFull, or the code of the failed Init.
// Owns: the caller; release with zel_DisposeAndDelete.
template <typename T>
zel_TError zel_NewAndInit(T*& object) {
  zel_TError error = zel_New(object);
  if (error == zel_kErrorNone) {
    error = object->Init();
    if (error != zel_kErrorNone) {
      zel_DisposeAndDelete(object);
    }
  }
  return error;
}

// Returns: the bytes that `count` values of type T take, or SIZE_MAX if they
// are more, where the product would wrap around to a small size.
template <typename T>
constexpr std::size_t zel_ArraySize(std::size_t count) {
  // NOLINTNEXTLINE(bugprone-sizeof-expression): a T may well be a pointer
  constexpr std::size_t size = sizeof(T);
  return count <= SIZE_MAX / size ? count * size : SIZE_MAX;
}

// Allocates an array of `count` T; plain contents are not cleared.
// Returns: 0 or zel_gErrorMemFull.
// Owns: the caller; release with zel_DeleteArray.
template <typename T>
zel_TError zel_NewArray(T*& array, unsigned int count) {
  const bool fits = zel_ArraySize<T>(count) < SIZE_MAX;
  array = fits ? new (std::nothrow) T[count] : nullptr;
  return array != nullptr ? zel_kErrorNone : zel_gErrorMemFull;
}

// Deletes the array; does nothing for null.
template <typename T>
void zel_DeleteArray(T*& array) {
  delete[] array;
  array = nullptr;
}

// Deletes the array if there is one.
template <typename T>
void zel_TestAndDeleteArray(T*& array) {
  if (array != nullptr) {
    zel_DeleteArray(array);
  }
}

// Allocates a raw block for `count` T, page-aligned from zel_kPageAlignedSize
// bytes up; the contents are not cleared and no constructor runs.
// Returns: 0 or zel_gErrorMemFull.
// Owns: the caller; release with zel_Free.
template <typename T>
zel_TError zel_Malloc(T*& block, unsigned int count) {
  const std::size_t size = zel_ArraySize<T>(count);
  void* memory = nullptr;
  if (size < zel_kPageAlignedSize) {
    memory = std::malloc(size);
  } else if (size < SIZE_MAX) {
    memory = valloc(size);
  }
  block = static_cast<T*>(memory);
  return block != nullptr ? zel_kErrorNone : zel_gErrorMemFull;
}

// Frees the block; does nothing for null.
template <typename T>
void zel_Free(T*& block) {
  std::free(block);
  block = nullptr;
}

// Frees the block if there is one.
template <typename T>
void zel_TestAndFree(T*& block) {
  if (block != nullptr) {
    zel_Free(block);
  }
}

#endif  // FOUNDATION_ZEL_ALLOC_H
