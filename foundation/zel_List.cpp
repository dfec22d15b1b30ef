#include "foundation/zel_List.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "foundation/zel_Alloc.h"

namespace {

using TElems = zel_TListElem**;

// Makes a detached element with the value.
zel_TError NewElem(void* value, zel_TListElem*& elem) {
  const zel_TError error = zel_NewAndInit(elem);
  if (error == zel_kErrorNone) {
    elem->value = value;
  }
  return error;
}

// Hands a new element or list to the caller, or releases it if the caller does
// not want it.
template <typename T>
void HandOver(T* made, T** out) {
  if (out != nullptr) {
    *out = made;
  } else {
    zel_DisposeAndDelete(made);
  }
}

bool ComesAfter(const zel_TListElem* a, const zel_TListElem* b,
                zel_TListSortFunc cmp) {
  return cmp(a->value, b->value) > 0;
}

// Returns the end of the longest run from `run` on whose entries do not come
// after `*other`, the next entry of the other half; everything if that is
// exhausted.
TElems EndOfRun(TElems run, TElems end, TElems other, TElems otherEnd,
                zel_TListSortFunc cmp) {
  if (other == otherEnd) {
    return end;
  }
  while (run != end && !ComesAfter(*run, *other, cmp)) {
    ++run;
  }
  return run;
}

// Merges two sorted halves by taking runs from the left and the right in turn.
//
// Either run goes on while its entries are not greater than the other half's
// current entry. So equal entries met in a left run stay in front, but those
// met in a right run overtake the left entry that stopped the run before: the
// order of equal entries changes, in this one way.
void Merge(TElems begin, TElems middle, TElems end, zel_TListSortFunc cmp,
           TElems buffer) {
  TElems left = begin;
  TElems right = middle;
  TElems merged = buffer;
  while (left != middle || right != end) {
    TElems runEnd = EndOfRun(left, middle, right, end, cmp);
    merged = std::copy(left, runEnd, merged);
    left = runEnd;

    runEnd = EndOfRun(right, end, left, middle, cmp);
    merged = std::copy(right, runEnd, merged);
    right = runEnd;
  }
  std::copy(buffer, merged, begin);
}

// Sorts the entries by merging. The buffer has room for all of them and is
// shared by all depths, since one merge runs at a time.
void MergeSort(TElems begin, std::size_t count, zel_TListSortFunc cmp,
               TElems buffer) {
  if (count < 2) {
    return;
  }
  if (count == 2) {
    if (ComesAfter(begin[0], begin[1], cmp)) {
      std::swap(begin[0], begin[1]);
    }
    return;
  }
  const std::size_t half = count / 2;
  MergeSort(begin, half, cmp, buffer);
  MergeSort(begin + half, count - half, cmp, buffer);
  Merge(begin, begin + half, begin + count, cmp, buffer);
}

}  // namespace

int zel_ListSortIntFunc(void* a, void* b) {
  const auto left =
      static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(a));
  const auto right =
      static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(b));
  if (left == right) {
    return 0;
  }
  return left > right ? 1 : -1;
}

int zel_ListSortStringFunc(void* a, void* b) {
  return std::strcmp(static_cast<const char*>(a), static_cast<const char*>(b));
}

void zel_TListElem::Dispose() {
  RemoveFromList();
}

zel_TError zel_TListElem::Clone(zel_TListElem** out) const {
  zel_TListElem* copy = nullptr;
  const zel_TError error = NewElem(value, copy);
  if (error == zel_kErrorNone) {
    HandOver(copy, out);
  }
  return error;
}

void zel_TList::Dispose() {
  while (tail != nullptr) {
    zel_TListElem* elem = tail;  // Dispose moves `tail`
    zel_DisposeAndDelete(elem);
  }
}

zel_TListElem* zel_TList::ValueElem(void* value) const {
  zel_TListElem* elem = head;
  while (elem != nullptr && elem->value != value) {
    elem = elem->next;
  }
  return elem;
}

bool zel_TList::IsEquivalentValueMember(void* value,
                                        zel_TListSortFunc cmp) const {
  const zel_TListElem* elem = head;
  while (elem != nullptr && cmp(elem->value, value) != 0) {
    elem = elem->next;
  }
  return elem != nullptr;
}

zel_TError zel_TList::AppendValue(void* value, zel_TListElem** out) {
  zel_TListElem* elem = nullptr;
  const zel_TError error = NewElem(value, elem);
  if (error == zel_kErrorNone) {
    AppendElem(elem);
    if (out != nullptr) {
      *out = elem;
    }
  }
  return error;
}

zel_TError zel_TList::InsertValue(void* value, zel_TListElem** out) {
  return AppendValuetAfterElem(value, nullptr, out);
}

zel_TError zel_TList::AppendValuetAfterElem(void* value, zel_TListElem* after,
                                            zel_TListElem** out) {
  zel_TListElem* elem = nullptr;
  const zel_TError error = NewElem(value, elem);
  if (error != zel_kErrorNone) {
    return error;
  }
  zel_TListElem*& link = after != nullptr ? after->next : head;
  elem->list = this;
  elem->prev = after;
  elem->next = link;
  if (link != nullptr) {
    link->prev = elem;
  }
  link = elem;
  if (tail == after) {  // also in an empty list, where both are null
    tail = elem;
  }
  if (out != nullptr) {
    *out = elem;
  }
  return zel_kErrorNone;
}

void zel_TList::InsertListAfterElem(zel_TList* other, zel_TListElem* after) {
  if (other->head == nullptr || (after != nullptr && after->list != this)) {
    return;
  }
  for (zel_TListElem* elem = other->head; elem != nullptr; elem = elem->next) {
    elem->list = this;
  }
  zel_TListElem*& link = after != nullptr ? after->next : head;
  other->head->prev = after;
  other->tail->next = link;
  if (link != nullptr) {
    link->prev = other->tail;
  }
  link = other->head;
  if (tail == after) {
    tail = other->tail;
  }
  other->Reset();
}

void zel_TList::RemoveValue(void* value) {
  zel_TListElem* elem = ValueElem(value);
  if (elem != nullptr) {
    zel_DisposeAndDelete(elem);
  }
}

zel_TError zel_TList::Clone(zel_TList** out) const {
  zel_TList* copy = nullptr;
  zel_TError error = zel_NewAndInit(copy);
  for (const zel_TListElem* elem = head;
       elem != nullptr && error == zel_kErrorNone; elem = elem->next) {
    error = copy->AppendValue(elem->value, nullptr);
  }
  if (error == zel_kErrorNone) {
    HandOver(copy, out);
  } else {
    zel_TestDisposeAndDelete(copy);
  }
  return error;
}

zel_TError zel_TList::Sort(zel_TListSortFunc cmp) {
  std::size_t count = 0;
  for (const zel_TListElem* elem = head; elem != nullptr; elem = elem->next) {
    ++count;
  }
  if (count == 0) {
    return zel_kErrorNone;
  }
  if (count > UINT_MAX / 2) {  // more entries than zel_Malloc can be asked for
    return zel_gErrorMemFull;
  }

  // The first half holds the entries, the second one is the merge buffer.
  TElems entries = nullptr;
  const zel_TError error =
      zel_Malloc(entries, 2 * static_cast<unsigned int>(count));
  if (entries == nullptr) {
    return error;
  }
  TElems entry = entries;
  for (zel_TListElem* elem = head; elem != nullptr; elem = elem->next) {
    *entry++ = elem;
  }
  MergeSort(entries, count, cmp, entries + count);

  zel_TListElem* before = nullptr;
  for (std::size_t i = 0; i < count; ++i) {
    entries[i]->prev = before;
    entries[i]->next = i + 1 < count ? entries[i + 1] : nullptr;
    before = entries[i];
  }
  head = entries[0];
  tail = before;
  zel_Free(entries);
  return zel_kErrorNone;
}
