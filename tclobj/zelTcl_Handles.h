// Owners for what the object system borrows from Tcl: counted values,
// dynamic strings, saved interpreter states, and counted records of our own.
// With them no early return needs a clean-up of its own.

#ifndef TCLOBJ_ZELTCL_HANDLES_H
#define TCLOBJ_ZELTCL_HANDLES_H

#include <tcl.h>

// Holds one reference to a Tcl value, or nothing.
class zelTcl_TObjRef {
 public:
  zelTcl_TObjRef() = default;
  // Takes a reference of its own; a fresh zero-reference value becomes ours.
  explicit zelTcl_TObjRef(Tcl_Obj* obj) : obj_(obj) {
    if (obj_ != nullptr) {
      Tcl_IncrRefCount(obj_);
    }
  }
  zelTcl_TObjRef(const zelTcl_TObjRef&) = delete;
  zelTcl_TObjRef& operator=(const zelTcl_TObjRef&) = delete;
  ~zelTcl_TObjRef() {
    if (obj_ != nullptr) {
      Tcl_DecrRefCount(obj_);
    }
  }
  // Holds another value instead; `obj` may be null.
  void Reset(Tcl_Obj* obj) {
    if (obj != nullptr) {
      Tcl_IncrRefCount(obj);
    }
    if (obj_ != nullptr) {
      Tcl_DecrRefCount(obj_);
    }
    obj_ = obj;
  }
  // Borrowed: valid as long as this handle holds it.
  Tcl_Obj* get() const { return obj_; }

 private:
  Tcl_Obj* obj_ = nullptr;
};

// Replaces what `*slot` holds by `obj`, taking a reference to the new value
// before the old one is dropped. Null clears the slot.
inline void zelTcl_SetObj(Tcl_Obj** slot, Tcl_Obj* obj) {
  Tcl_Obj* const old = *slot;  // dropped last: it may be the same
  if (obj != nullptr) {
    Tcl_IncrRefCount(obj);
  }
  *slot = obj;
  if (old != nullptr) {
    Tcl_DecrRefCount(old);
  }
}

// A Tcl_DString that frees itself.
class zelTcl_TDString {
 public:
  zelTcl_TDString() { Tcl_DStringInit(&string_); }
  zelTcl_TDString(const zelTcl_TDString&) = delete;
  zelTcl_TDString& operator=(const zelTcl_TDString&) = delete;
  ~zelTcl_TDString() { Tcl_DStringFree(&string_); }
  zelTcl_TDString& Append(const char* text, int length = -1) {
    Tcl_DStringAppend(&string_, text, length);
    return *this;
  }
  const char* Value() const { return Tcl_DStringValue(&string_); }
  int Length() const { return Tcl_DStringLength(&string_); }
  // Hands the text to the interpreter's result and leaves this one empty.
  void MoveToResult(Tcl_Interp* interp) { Tcl_DStringResult(interp, &string_); }

 private:
  Tcl_DString string_;
};

// The interpreter's result, error trace and return options, put back when the
// handle goes: what runs meanwhile leaves nothing behind.
class zelTcl_TSavedState {
 public:
  explicit zelTcl_TSavedState(Tcl_Interp* interp)
      : interp_(interp), state_(Tcl_SaveInterpState(interp, TCL_OK)) {}
  zelTcl_TSavedState(const zelTcl_TSavedState&) = delete;
  zelTcl_TSavedState& operator=(const zelTcl_TSavedState&) = delete;
  ~zelTcl_TSavedState() { (void)Tcl_RestoreInterpState(interp_, state_); }

 private:
  Tcl_Interp* interp_;
  Tcl_InterpState state_;
};

// Keeps a counted record (entity, method) allocated while a script may run
// that ends it. The record may have been disposed meanwhile: ask it.
template <typename T>
class zelTcl_TRecordRef {
 public:
  explicit zelTcl_TRecordRef(T* record) : record_(record) {
    if (record_ != nullptr) {
      record_->Preserve();
    }
  }
  zelTcl_TRecordRef(const zelTcl_TRecordRef&) = delete;
  zelTcl_TRecordRef& operator=(const zelTcl_TRecordRef&) = delete;
  ~zelTcl_TRecordRef() {
    if (record_ != nullptr) {
      record_->Release();
    }
  }
  T* operator->() const { return record_; }
  T* get() const { return record_; }

 private:
  T* record_;
};

// The values of a hash table as a range of T*, in the table's own order:
//   for (zelTcl_TMethod* method : zelTcl_THashValues<zelTcl_TMethod>(table))
// The table must not change meanwhile.
template <typename T>
class zelTcl_THashValues {
 public:
  explicit zelTcl_THashValues(Tcl_HashTable* table) : table_(table) {}

  class TIterator {
   public:
    TIterator() = default;
    explicit TIterator(Tcl_HashTable* table)
        : entry_(Tcl_FirstHashEntry(table, &search_)) {}
    T* operator*() const { return static_cast<T*>(Tcl_GetHashValue(entry_)); }
    TIterator& operator++() {
      entry_ = Tcl_NextHashEntry(&search_);
      return *this;
    }
    bool operator!=(const TIterator& other) const {
      return entry_ != other.entry_;
    }

   private:
    Tcl_HashSearch search_ = {};
    Tcl_HashEntry* entry_ = nullptr;
  };

  TIterator begin() const { return TIterator(table_); }
  TIterator end() const { return TIterator(); }

 private:
  Tcl_HashTable* table_;
};

// Any value of the table, null when it is empty: for emptying a table whose
// values remove themselves, while scripts may change it in between.
template <typename T>
T* zelTcl_FirstHashValue(Tcl_HashTable* table) {
  Tcl_HashSearch search;
  Tcl_HashEntry* const entry = Tcl_FirstHashEntry(table, &search);
  return entry == nullptr ? nullptr : static_cast<T*>(Tcl_GetHashValue(entry));
}

#endif  // TCLOBJ_ZELTCL_HANDLES_H
