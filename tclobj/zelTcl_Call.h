// The record of one running method call.
//
// A call begins by taking hold of all that its end needs, since between the two
// a script may delete or redefine any of it, or a coroutine may be suspended
// for hours: references to the object, to the method (and through it to its
// class), to the four hidden words, and a lease of the procedure under the
// object's command. Begin and End are apart, so that on Tcl 8.6 a call does
// not nest the C stack: Start queues the body and End runs as a callback of
// Tcl's trampoline, also when the coroutine around it is deleted.
//
// Invariants:
// 1. Each record is linked into the list of active calls from Begin to End,
//    newest first.
// 2. `frame` is set only between the push of the call's frame and End, and no
//    other frame can have that address then: End runs right after the pop,
//    before any script.

#ifndef TCLOBJ_ZELTCL_CALL_H
#define TCLOBJ_ZELTCL_CALL_H

#include <tcl.h>

#include "tclobj/zelTcl_Internal.h"

class zelTcl_TMethod;
class zelTcl_TObject;

// Whether the fast paths of calls are built in; the plain ways beside them give
// the same answers.
#ifdef ZEL_NO_FAST_PATHS
constexpr bool zelTcl_kFastPaths = false;
#else
constexpr bool zelTcl_kFastPaths = true;
#endif

class zelTcl_TCall final {
 public:
  zelTcl_TCall() = default;
  zelTcl_TCall(const zelTcl_TCall&) = delete;
  zelTcl_TCall& operator=(const zelTcl_TCall&) = delete;

  // Takes hold of everything the call needs.
  // Returns: the record, ended by End; null when memory ran out, with the
  // message in the result.
  static zelTcl_TCall* Begin(Tcl_Interp* interp, zelTcl_TMethod* method,
                             zelTcl_TObject* object, int objc,
                             Tcl_Obj* const objv[], int fromClassCommand);
  // Runs the call to its end and ends the record.
  int Run(Tcl_Interp* interp);
  // Tcl 8.6: queues the body and the end of the call, for a caller that returns
  // the code to Tcl at once.
  int Start(Tcl_Interp* interp);

  // The call whose frame is the current one, when it is the newest call and
  // its words and names are still those it began with; null otherwise, and then
  // the variables of the frame tell.
  static const zelTcl_TCall* Current(Tcl_Interp* interp);
  zelTcl_TObject* Object() const { return object; }
  zelTcl_TMethod* Method() const { return method; }

  // Frees the records kept for reuse.
  static void FreeSpares();

 private:
  static int EndNR(ClientData data[], Tcl_Interp* interp, int result);
  static int StartNR(ClientData clientData, Tcl_Interp* interp, int objc,
                     Tcl_Obj* const objv[]);
  int End(Tcl_Interp* interp, int code);
  void MakeLinks(Tcl_Interp* interp);
  Proc* ChooseProc(Tcl_Interp* interp);
  void RewriteArityMessage(Tcl_Interp* interp) const;

  static constexpr int kHidden = 4;  // words before the method's arguments
  static constexpr int kRoom = 8;    // arguments that need no extra block

  zelTcl_TMethod* method = nullptr;
  zelTcl_TObject* object = nullptr;
  zelTcl_TProcLease lease;
  CallFrame* frame = nullptr;  // see invariant 2
  Var* classVar = nullptr;     // to be linked; null when upvar makes the links
  Var* thisVar = nullptr;
  zelTcl_TCall* older = nullptr;
  zelTcl_TCall* newer = nullptr;
  double startTime = 0.0;  // seconds, when profiling was on at Begin
  int fromClassCommand = 0;
  int objc = 0;               // words, the hidden ones included
  Tcl_Obj** words = nullptr;  // `room` or a block of its own
  Tcl_Obj* room[kHidden + kRoom];
};

#endif  // TCLOBJ_ZELTCL_CALL_H
