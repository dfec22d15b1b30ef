#ifndef FOUNDATION_ZEL_DYNAMICPOOL_H
#define FOUNDATION_ZEL_DYNAMICPOOL_H

// A growable array of slots that are handed out one at a time and never taken
// back.
//
// Invariants:
// 1. Bit (i mod 32) of usedBits[i / 32] is set iff slot i is handed out.
// 2. In the last word the bits at and beyond `capacity` are always set, so the
//    search for a free bit never finds a slot that does not exist.
// 3. nbUsed is the number of set bits that stand for real slots.
// 4. Slots are handed out in the order 0, 1, 2, ...: an index tells the order.

#include <algorithm>
#include <cstdint>

#include "foundation/zel_Alloc.h"
#include "foundation/zel_Error.h"

// Bits in a word of usedBits, and the word whose slots are all handed out.
constexpr unsigned int zel_kPoolWordBits = 32;
constexpr std::uint32_t zel_kPoolWordFull = ~std::uint32_t{0};

// A plain structure: made by zel_New with unset fields, made usable by Init.
template <typename T>
struct zel_TDynamicPool {
  // Sets the pool up with `initialCount` free slots, to grow by `increment`.
  // Returns: 0, or zel_gErrorMemFull with the pool disposed.
  zel_TError Init(unsigned int initialCount, unsigned int increment);

  // Resizes to `newCount` slots, which keeps the slots and their indices but
  // moves them. 0 changes nothing.
  // Returns: 0, zel_gErrorMemFull, or zel_gErrorWrongParameterVal for fewer
  // slots than there are; on failure the pool is as before.
  zel_TError Allocate(unsigned int newCount);

  // Hands out the next slot, growing the pool if it is full, and writes its
  // index through `index` unless that is null.
  // Returns: the slot, unset and valid until the pool grows, or null when
  // memory ran out.
  T* GetElem(unsigned int* index);

  // Returns: the slots, valid until the pool grows.
  T* Base() { return elems; }

  // Releases the slots and leaves an empty pool that GetElem can grow again.
  void Dispose();

  unsigned int increment;   // slots added when the pool is full
  T* elems;                 // the slots, from zel_NewArray
  unsigned int capacity;    // number of slots in elems
  unsigned int nbUsed;      // number of slots handed out
  std::uint32_t* usedBits;  // one bit a slot, from zel_Malloc
  unsigned int nbBitWords;  // number of words in usedBits
};

template <typename T>
zel_TError zel_TDynamicPool<T>::Init(unsigned int initialCount,
                                     unsigned int increment) {
  this->increment = increment;
  elems = nullptr;
  capacity = 0;
  nbUsed = 0;
  usedBits = nullptr;
  nbBitWords = 0;
  const zel_TError error = Allocate(initialCount);
  if (error != zel_kErrorNone) {
    Dispose();
  }
  return error;
}

template <typename T>
void zel_TDynamicPool<T>::Dispose() {
  zel_TestAndDeleteArray(elems);
  capacity = 0;
  nbUsed = 0;
  zel_TestAndFree(usedBits);
  nbBitWords = 0;
}

template <typename T>
zel_TError zel_TDynamicPool<T>::Allocate(unsigned int newCount) {
  if (newCount == 0) {
    return zel_kErrorNone;
  }
  if (newCount < capacity) {  // also a sum in GetElem that wrapped around
    return zel_gErrorWrongParameterVal;
  }
  const unsigned int newWords = (newCount - 1) / zel_kPoolWordBits + 1;
  T* newElems = nullptr;
  std::uint32_t* newBits = nullptr;
  zel_TError error = zel_NewArray(newElems, newCount);
  if (error == zel_kErrorNone) {
    error = zel_Malloc(newBits, newWords);
  }
  if (error != zel_kErrorNone) {
    zel_TestAndDeleteArray(newElems);
    return error;
  }

  std::fill_n(newBits, newWords, 0);
  if (newCount % zel_kPoolWordBits != 0) {
    newBits[newCount / zel_kPoolWordBits] = zel_kPoolWordFull
                                            << (newCount % zel_kPoolWordBits);
  }
  if (capacity > 0) {
    const unsigned int wholeWords = capacity / zel_kPoolWordBits;
    const unsigned int restBits = capacity % zel_kPoolWordBits;
    std::copy_n(elems, capacity, newElems);
    std::copy_n(usedBits, wholeWords, newBits);
    if (restBits != 0) {  // the bits beyond the old end are free slots now
      newBits[wholeWords] |=
          usedBits[wholeWords] & ~(zel_kPoolWordFull << restBits);
    }
    zel_DeleteArray(elems);
    zel_Free(usedBits);
  }
  elems = newElems;
  usedBits = newBits;
  capacity = newCount;
  nbBitWords = newWords;
  return zel_kErrorNone;
}

template <typename T>
T* zel_TDynamicPool<T>::GetElem(unsigned int* index) {
  if (nbUsed == capacity && Allocate(capacity + increment) != zel_kErrorNone) {
    return nullptr;
  }
  std::uint32_t* const end = usedBits + nbBitWords;
  std::uint32_t* const word = std::find_if(
      usedBits, end,
      [](std::uint32_t bits) { return bits != zel_kPoolWordFull; });
  if (word == end) {  // an increment of 0 did not make room
    return nullptr;
  }
  unsigned int bit = 0;
  while ((*word >> bit & 1U) != 0) {
    ++bit;
  }
  *word |= std::uint32_t{1} << bit;
  ++nbUsed;
  const unsigned int slot =
      static_cast<unsigned int>(word - usedBits) * zel_kPoolWordBits + bit;
  if (index != nullptr) {
    *index = slot;
  }
  return elems + slot;
}

#endif  // FOUNDATION_ZEL_DYNAMICPOOL_H
