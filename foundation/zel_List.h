#ifndef FOUNDATION_ZEL_LIST_H
#define FOUNDATION_ZEL_LIST_H

// A doubly linked list of untyped values.
//
// A value is whatever the caller stores: a pointer, a text, or an integer kept
// in the pointer itself. Values are never owned; elements belong to their list.
//
// Invariants:
// 1. `head` and `tail` are both null or both set.
// 2. Following `next` from `head` reaches `tail`; following `prev` from `tail`
//    reaches `head`.
// 3. The `list` of every linked element is this list, that of a detached
//    element is null.
//
// There is no element count. Linking and unlinking take constant time, looking
// a value up is a walk from the head.
//
// Wherever an operation has an `out`, it may be null; otherwise it receives
// what was made, on success only. An operation that makes something returns 0,
// or zel_gErrorMemFull with the list as before.

#include "foundation/zel_Error.h"

struct zel_TList;

// Orders two values: above 0 if `a` comes after `b`, 0 if they are equal, below
// 0 if `a` comes first. It has to be consistent: if `a` comes after `b`, then
// `b` comes before `a`.
using zel_TListSortFunc = int (*)(void* a, void* b);

// Compares values that are signed 32-bit integers kept in the pointer.
int zel_ListSortIntFunc(void* a, void* b);

// Compares values that point to NUL-terminated texts, in strcmp order.
int zel_ListSortStringFunc(void* a, void* b);

// An element. Made by zel_NewAndInit, released by zel_DisposeAndDelete; the
// constructor leaves the fields unset.
struct zel_TListElem final {
  // Makes a detached element with a null value. Returns: 0.
  virtual zel_TError Init() {
    value = nullptr;
    Reset();
    return zel_kErrorNone;
  }

  // Leaves the list, if the element is in one.
  virtual void Dispose();

  // Marks the element as detached without unlinking it from its neighbours.
  void Reset();

  // Unlinks the element from its list, if it is in one.
  void RemoveFromList();

  zel_TListElem* Next() const { return next; }
  void* Value() const { return value; }

  // Makes a detached element with the same value.
  // Owns: the caller, through `out`; without `out` the copy is released.
  zel_TError Clone(zel_TListElem** out) const;

  void* value;          // what the caller stored; not owned
  zel_TList* list;      // list that it is linked into, or null
  zel_TListElem* next;  // following element; null at the tail
  zel_TListElem* prev;  // preceding element; null at the head
};

// The list. Made by zel_NewAndInit, released by zel_DisposeAndDelete; a plain
// structure, whose fields are unset before Init.
struct zel_TList {
  // Makes an empty list. Returns: 0.
  zel_TError Init();

  // Frees all elements, from the tail on; the list stays usable.
  void Dispose();

  // Forgets the elements without touching them.
  void Reset();

  zel_TListElem* Head() const { return head; }

  // Finds the first element that holds exactly this pointer.
  // Returns: a borrowed element, or null.
  zel_TListElem* ValueElem(void* value) const;

  // True iff an element holds exactly this pointer.
  bool IsValueMember(void* value) const;

  // True iff `cmp(value of an element, value)` is 0 for some element. The
  // comparator is called from the head on, up to the first such element.
  bool IsEquivalentValueMember(void* value, zel_TListSortFunc cmp) const;

  // Links a detached element at the tail; the list owns it from then on.
  void AppendElem(zel_TListElem* elem);

  // Links a detached element at the head; the list owns it from then on.
  void InsertElem(zel_TListElem* elem);

  // Unlinks the element; nothing happens if it is not in this list.
  // Owns: the caller, from then on.
  void RemoveElem(zel_TListElem* elem);

  // Adds a new element at the tail.
  zel_TError AppendValue(void* value, zel_TListElem** out);

  // Adds a new element at the head.
  zel_TError InsertValue(void* value, zel_TListElem** out);

  // Adds a new element right behind `after`, or at the head if that is null.
  // Requires: `after` is null or in this list.
  zel_TError AppendValuetAfterElem(void* value, zel_TListElem* after,
                                   zel_TListElem** out);

  // Moves all elements of `other` behind `after`, or to the head if that is
  // null. Nothing happens if `after` is in no list or in another one.
  // Requires: `other` is not this list. Takes time linear in its length.
  void InsertListAfterElem(zel_TList* other, zel_TListElem* after);

  // Frees the first element that holds exactly this pointer, if there is one.
  void RemoveValue(void* value);

  // Makes a list with the same values in the same order.
  // Owns: the caller, through `out`; without `out` the copy is released.
  zel_TError Clone(zel_TList** out) const;

  // Puts the elements in the order of the comparator by O(n log n) comparisons.
  // The elements are relinked and keep their values, so pointers to them stay
  // valid. The order of equal values is not kept but determined: see Merge in
  // the source.
  // Re-entry: the comparator must not change the list.
  zel_TError Sort(zel_TListSortFunc cmp);

  zel_TListElem* head;  // first element; null when empty
  zel_TListElem* tail;  // last element; null when empty
};

// Inline, as they run for every object made and deleted.

inline void zel_TListElem::Reset() {
  list = nullptr;
  next = nullptr;
  prev = nullptr;
}

inline void zel_TListElem::RemoveFromList() {
  if (list != nullptr) {
    list->RemoveElem(this);
  }
}

inline zel_TError zel_TList::Init() {
  Reset();
  return zel_kErrorNone;
}

inline void zel_TList::Reset() {
  head = nullptr;
  tail = nullptr;
}

inline bool zel_TList::IsValueMember(void* value) const {
  return ValueElem(value) != nullptr;
}

inline void zel_TList::AppendElem(zel_TListElem* elem) {
  elem->list = this;
  elem->prev = tail;
  elem->next = nullptr;
  if (tail != nullptr) {
    tail->next = elem;
  } else {
    head = elem;
  }
  tail = elem;
}

inline void zel_TList::InsertElem(zel_TListElem* elem) {
  elem->list = this;
  elem->next = head;
  elem->prev = nullptr;
  if (head != nullptr) {
    head->prev = elem;
  } else {
    tail = elem;
  }
  head = elem;
}

inline void zel_TList::RemoveElem(zel_TListElem* elem) {
  if (elem->list != this) {
    return;
  }
  if (elem == head) {
    head = elem->next;
  } else {
    elem->prev->next = elem->next;
  }
  if (elem == tail) {
    tail = elem->prev;
  } else {
    elem->next->prev = elem->prev;
  }
  elem->Reset();
}

#endif  // FOUNDATION_ZEL_LIST_H
