// Methods: one named piece of Tcl code that belongs to one class, compiled by
// Tcl as a procedure that is no command.
//
// Invariants:
// 1. While `registered` is 1, the class's method table maps `stringName` to
//    this record.
// 2. `proc` and `linkedProc` are made when a call first needs them, from `body`
//    and `argList`: a definition is not charged for a procedure that may never
//    run, and most methods need only one of the two. Where Tcl has to judge the
//    parameters, Init makes `proc`; later, making one cannot fail.
// 3. `fullName` keeps the class's name from the time of the definition: it is
//    the procedure's name in Tcl's messages, also after a rename of the class.
//
// A method that is running may be redefined, deleted, or lose its class. The
// record counts one reference for its place in the table and one for each call
// in progress; the procedure, the names and the class go with the last one.

#ifndef TCLOBJ_ZELTCL_METHOD_H
#define TCLOBJ_ZELTCL_METHOD_H

#include <cstdint>
#include <cstring>

#include <tcl.h>

#include "tclobj/zelTcl_Class.h"

struct Proc;
class zelTcl_TObject;

class zelTcl_TMethod final {
 public:
  // Kept by the profiler.
  std::uint32_t nbCalls = 0;        // calls counted while profiling
  std::uint32_t cumulatedTime = 0;  // their microseconds, modulo 2^32

  zelTcl_TMethod() = default;
  zelTcl_TMethod(const zelTcl_TMethod&) = delete;
  zelTcl_TMethod& operator=(const zelTcl_TMethod&) = delete;

  // Makes the method from the words of "method className methodName args body"
  // and enters it in the class, where it replaces an earlier one of its name.
  // Returns: TCL_OK, or TCL_ERROR with the record disposed and an earlier
  // method untouched.
  // Errors: wrong # args: should be "method className methodName args body"
  //   could not create string names for "NAME": not enough memory
  //   could not create method "CLASS::NAME": no more memory
  //   destructor must not accept any argument
  //   Tcl's own messages about the parameter list.
  int Init(Tcl_Interp* interp, zelTcl_TClass* theClass, int objc,
           Tcl_Obj* const objv[]);
  // Runs the method for the object; `objv` holds its own arguments only.
  // `fromClassCommand` is 1 for a constructor that the class command runs: a
  // wrong word count then names class and object.
  // Returns: the code of the procedure.
  // Errors: could not call method "CLASS::NAME": no more memory
  //   wrong # args: should be "OBJECT METHOD PARAMETERS"
  // Re-entry: anything may be gone on return; the caller keeps what it needs.
  int Execute(Tcl_Interp* interp, zelTcl_TObject* object, int objc,
              Tcl_Obj* const objv[], int fromClassCommand);
  // The same for a caller that returns to Tcl's trampoline right after (Tcl
  // 8.6): the body may run only then. `objv` must stay until it has ended, as
  // the words of a running command do.
  int ExecuteNR(Tcl_Interp* interp, zelTcl_TObject* object, int objc,
                Tcl_Obj* const objv[], int fromClassCommand);
  // Takes the method out of its class. Harmless when repeated.
  void Dispose();

  // Ends the method: Dispose, then the table's reference.
  void Retire() {
    Dispose();
    Release();
  }
  void Preserve() { ++refCount; }
  void Release() {
    if (--refCount == 0) {
      delete this;
    }
  }

  // The names of the parameters, built once. Borrowed.
  Tcl_Obj* Args();
  const char* StringName() const { return stringName; }
  Tcl_Obj* NameObj() const { return nameObj; }
  // Made at the first call.
  Tcl_Obj* FullNameObj() {
    if (fullNameObj == nullptr) {
      fullNameObj = Tcl_NewStringObj(fullName, -1);
      Tcl_IncrRefCount(fullNameObj);
    }
    return fullNameObj;
  }
  const char* ProtectedString() const { return protectedString; }
  zelTcl_TClass* Class() const { return definingClass; }
  Tcl_Obj* Body() const { return body; }
  Tcl_Obj* ArgList() const { return argList; }

  // The chain of methods of the class whose names hash alike; kept by the
  // class.
  bool HasName(const zelTcl_TMethodKey& key) const {
    return nameHash == key.hash && strcmp(stringName, key.name) == 0;
  }
  std::uint32_t NameHash() const { return nameHash; }
  zelTcl_TMethod* NextInBucket() const { return nextInBucket; }
  void EnterBucket(zelTcl_TMethod** bucket) {
    nextInBucket = *bucket;
    *bucket = this;
  }
  void LeaveBucket(zelTcl_TMethod** bucket) {
    while (*bucket != this) {
      bucket = &(*bucket)->nextInBucket;
    }
    *bucket = nextInBucket;
  }

  // The procedure that begins with the upvar line. Borrowed.
  Proc* PlainProc(Tcl_Interp* interp) {
    return proc != nullptr ? proc : MakePlainProc(interp);
  }
  // The procedure that runs when the links `class` and `this` are made from C;
  // null where the formals stand in the way. Borrowed. See zelTcl_Call.cpp.
  Proc* LinkedProc(Tcl_Interp* interp) {
    return linkedTried ? linkedProc : MakeLinkedProc(interp);
  }

 private:
  friend class zelTcl_TCall;

  ~zelTcl_TMethod();
  Proc* MakePlainProc(Tcl_Interp* interp);
  Proc* MakeLinkedProc(Tcl_Interp* interp);
  int Build(Tcl_Interp* interp, Tcl_Obj* const objv[]);
  int MakeProc(Tcl_Interp* interp, const char* prologue, Tcl_Obj* params,
               Tcl_Obj* text, Proc** made);

  zelTcl_TClass* definingClass = nullptr;  // counted, see the head
  char* stringName = nullptr;              // the method name
  char* protectedString = nullptr;         // the name as one list element
  Tcl_Obj* nameObj = nullptr;              // the name as a value
  char* fullName = nullptr;                // CLASS::NAME at definition
  Tcl_Obj* fullNameObj = nullptr;          // the same as a value
  int registered = 0;                      // 1 while in the method table
  Proc* proc = nullptr;                    // see PlainProc
  Tcl_Obj* body = nullptr;                 // the body word as written
  Tcl_Obj* argList = nullptr;              // the parameter word as written
  Tcl_Obj* args = nullptr;                 // parameter names, see Args

  int refCount = 1;                        // see the head
  std::uint32_t nameHash = 0;              // see zelTcl_TMethodKey
  zelTcl_TMethod* nextInBucket = nullptr;  // see HasName
  Proc* linkedProc = nullptr;              // see LinkedProc
  bool linkedTried = false;                // it was made or ruled out
};

#endif  // TCLOBJ_ZELTCL_METHOD_H
