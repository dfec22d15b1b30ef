// The one door to Tcl's private structures. Everything here works on opaque
// handles; zelTcl_Internal.cpp alone includes tclInt.h and explains the quirks.
//
// The same binary serves Tcl 8.5 and 8.6: what only 8.6 has (calls that do not
// nest the C stack, links made without the upvar command) is asked for with
// zelTcl_Internal_CanReturnEarly() and never reached on 8.5.

#ifndef TCLOBJ_ZELTCL_INTERNAL_H
#define TCLOBJ_ZELTCL_INTERNAL_H

#include <tcl.h>

#include "tclobj/zelTcl_Handles.h"

struct CallFrame;
struct Command;
struct Namespace;
struct Proc;
struct Var;

// A command remembered from a moment when it was known to be the right one.
struct zelTcl_TWatchedCommand {
  Command* command = nullptr;  // counted; null while nothing is watched
  int epoch = 0;               // the command's epoch at that moment
};

// What a running call has lent to a procedure's record: see EnterProc.
struct zelTcl_TProcLease {
  Proc* proc = nullptr;
  Command* command = nullptr;  // the command the call runs under, counted
  Command* saved = nullptr;    // what the procedure named before, counted
};

enum class zelTcl_TGlobalVarState { kAbsent, kPresent, kTraced };

// Reads the Tcl version and remembers the commands `upvar` and `if`.
void zelTcl_Internal_Attach(Tcl_Interp* interp);
// Forgets both commands. Harmless when nothing is attached.
void zelTcl_Internal_Detach();
// True iff the running Tcl can call procedures without nesting (8.6 and later).
bool zelTcl_Internal_CanReturnEarly();

// ---- Commands ---------------------------------------------------------------

// The part of a qualified name that follows the last two colons, which is where
// Tcl divides it: a namespace's own name may end in a colon.
const char* zelTcl_Internal_NameTail(const char* name);
// True iff the global namespace holds a command with exactly this simple name;
// no resolution, no auto-loading, so a qualified name never matches.
bool zelTcl_Internal_GlobalCommandExists(Tcl_Interp* interp, const char* name);
// True iff Tcl is deleting the command: it then makes away with one that a
// script puts in its place.
bool zelTcl_Internal_IsBeingDeleted(Tcl_Command command);
// True iff something queued with Tcl_NRAddCallback runs when the command that
// is running now has ended: Tcl 8.6, and not called from C alone.
bool zelTcl_Internal_CanQueue(Tcl_Interp* interp);
// True iff another trace than the one below is on the command.
bool zelTcl_Internal_HasOtherTraces(Tcl_Command command);
// Attaches `proc` as a TCL_TRACE_RENAME trace to the command itself, whatever
// name it has or namespace is current. It is called with TCL_TRACE_DELETE, too,
// and has to call BeforeDeletion then. Its client data is that of the command.
// Requires: no other trace is there; those set later come first. `proc` is the
// same for all commands.
void zelTcl_Internal_AddRenameTrace(Tcl_Command command,
                                    Tcl_CommandTraceProc* proc);
// Removes that trace where it is the only one, from a command that is about to
// be deleted, so that Tcl spends no time on calling delete traces.
void zelTcl_Internal_RemoveRenameTrace(Tcl_Interp* interp, Tcl_Command command);
// Starts watching the global command `name`; whatever was watched before is
// forgotten. Nothing is watched when there is no such command.
void zelTcl_Internal_Watch(Tcl_Interp* interp, const char* name,
                           zelTcl_TWatchedCommand* watched);
void zelTcl_Internal_Unwatch(zelTcl_TWatchedCommand* watched);
// True iff the command watched is still there under its name and untraced.
bool zelTcl_Internal_IsUntouched(const zelTcl_TWatchedCommand& watched);

// ---- The end of a command ---------------------------------------------------
//
// Tcl goes on with a command that it deletes as if no script had run meanwhile:
// through the traces that it has freed, with the namespace that the command is
// in now, and, where it replaces the command, with whatever has the name then:
// it frees that, although others hold it. What follows puts things back to
// where Tcl expects them.
//
// Another command under the name takes shelter: it has a name of its own until
// the running command has ended. Then it is deleted as it should be, if a third
// one has taken the place, or gets its name back. On Tcl 8.5, and where nothing
// is running, there is no shelter.

// For the delete trace of AddRenameTrace, with the name that Tcl gives it: the
// last delete trace has run. No walk over the traces, for a rename under way,
// goes on, and the command has its name and namespace again. One that a trace
// has moved out of a namespace, not the global one, stays where it is.
void zelTcl_Internal_BeforeDeletion(Tcl_Interp* interp, const char* oldName);

// For the length of a delete procedure that runs scripts.
class zelTcl_TCommandEnd final {
 public:
  // Remembers the place of the command. `replaced` is false where Tcl cannot be
  // replacing it, and no shelter is needed.
  zelTcl_TCommandEnd(Tcl_Command command, bool replaced);
  // What is left of the command does `gone`, without client data, if it is
  // called: during a rename, Tcl may still find it. Imports made by a script
  // are deleted, as those before were. `interp` is null if it has been deleted.
  // Re-entry: delete traces of imports run scripts.
  void Finish(Tcl_Interp* interp, Tcl_ObjCmdProc* gone);

 private:
  bool IsHomeAlive(Tcl_Interp* interp) const;

  Command* command_;  // held by Tcl until the delete procedure has returned
  Namespace* home_;
  zelTcl_TObjRef homeName_;  // null for the global namespace
  zelTcl_TObjRef name_;      // null without need or name
};

// ---- Procedures -------------------------------------------------------------

// Makes a procedure of the global namespace that is no command.
// Returns: TCL_OK, or TCL_ERROR with Tcl's message about the parameter list.
// Owns: `*proc` carries one reference, dropped by DeleteProc.
int zelTcl_Internal_CreateProc(Tcl_Interp* interp, const char* name,
                               Tcl_Obj* params, Tcl_Obj* body, Proc** proc);
void zelTcl_Internal_DeleteProc(Proc* proc);
// Makes `proc` run under `command` (null: under a stand-in in the global
// namespace) until LeaveProc; pairs may end in any order.
void zelTcl_Internal_EnterProc(Tcl_Interp* interp, Proc* proc,
                               Tcl_Command command, zelTcl_TProcLease* lease);
void zelTcl_Internal_LeaveProc(zelTcl_TProcLease* lease);
// Tcl 8.5: runs the procedure and returns its code. `words[0]` names it in
// Tcl's messages.
int zelTcl_Internal_RunProc(Tcl_Interp* interp, Proc* proc, int objc,
                            Tcl_Obj* const words[]);
// Tcl 8.6: binds the words and queues the body, which runs when the caller has
// returned to Tcl's trampoline. TCL_OK means the procedure's frame is pushed.
// The words must stay until the frame is popped.
int zelTcl_Internal_StartProc(Tcl_Interp* interp, Proc* proc, int objc,
                              Tcl_Obj* const words[]);

// A procedure just started has two callbacks on Tcl's trampoline: the run of
// its body and, below, its own end. True iff the running Tcl was seen to do so,
// which RecognizeEnd looks at after a start: then HookEnd can let the second
// one do our part as well.
bool zelTcl_Internal_CanHookEnd();
void zelTcl_Internal_RecognizeEnd(Tcl_Interp* interp, Tcl_Obj* nameWord);
// Makes `end` run, with `clientData` as its only data, right after the end of
// the procedure just started, and takes over the release of its locals, where
// they are plain, from a core that treats each as if it might be traced.
// Requires: CanHookEnd, and the last StartProc has returned TCL_OK.
void zelTcl_Internal_HookEnd(Tcl_Interp* interp, Tcl_NRPostProc* end,
                             ClientData clientData);

// ---- Frames -----------------------------------------------------------------

// The frame that variable names resolve in: only for comparison.
CallFrame* zelTcl_Internal_VarFrame(Tcl_Interp* interp);
// True iff the frame runs `proc` and its first three locals still hold the very
// values words[1] to words[3], plain and untraced.
bool zelTcl_Internal_FrameHolds(const CallFrame* frame, const Proc* proc,
                                Tcl_Obj* const words[]);

// ---- Global variables -------------------------------------------------------

// The state of the variable of this name in the global namespace. Requires: a
// name without "::" or parentheses.
zelTcl_TGlobalVarState zelTcl_Internal_SimpleGlobalState(Tcl_Interp* interp,
                                                         Tcl_Obj* name);
// The same for any name, qualified ones included.
zelTcl_TGlobalVarState zelTcl_Internal_GlobalState(Tcl_Interp* interp,
                                                   const char* name);
// True iff there is a trace on the global variable of this name, or on one of
// its elements.
bool zelTcl_Internal_IsArrayTraced(Tcl_Interp* interp, const char* name);
// Copies every element of the global array `source` into the global array
// `target`, which is created, firing the read and write traces of each element.
// A source that is no array has no elements.
// Returns: TCL_OK, or TCL_ERROR with Tcl's message.
// Re-entry: traces may run scripts.
int zelTcl_Internal_CopyGlobalArray(Tcl_Interp* interp, const char* source,
                                    const char* target);
// The global variable of this name, made undefined if missing, held by one
// reference so that it stays the one that scripts reach by the name. Requires:
// a name without "::" or parentheses. Drop with ReleaseVar.
Var* zelTcl_Internal_HoldGlobalVar(Tcl_Interp* interp, Tcl_Obj* name);
// True iff both names lead to the same global variable, one by a link.
bool zelTcl_Internal_IsSameGlobal(Tcl_Interp* interp, const char* first,
                                  const char* second);
// True iff the name no longer leads to this variable.
bool zelTcl_Internal_VarIsStale(const Var* var);
void zelTcl_Internal_ReleaseVar(Var* var);

// ---- Links made without the upvar command -----------------------------------

// True iff `upvar` and `if` are Tcl's own and untraced, no step trace or
// variable resolver is at work, and `command` (or none) lives in the global
// namespace: then nothing can tell links made from C from those of upvar.
bool zelTcl_Internal_LinksUnseen(Tcl_Interp* interp, Tcl_Command command);
// Links the two locals behind the formals of the frame just pushed for `proc`,
// `class` and `this`, to the two variables.
// Returns: false, with nothing changed, where these slots hold other names.
bool zelTcl_Internal_LinkLocals(Tcl_Interp* interp, const Proc* proc,
                                Var* classVar, Var* thisVar);

// Forgets that the running command was reached through an alias or an ensemble,
// so that a word-count message names the procedure's own words.
void zelTcl_Internal_ForgetRewrittenWords(Tcl_Interp* interp);

#endif  // TCLOBJ_ZELTCL_INTERNAL_H
