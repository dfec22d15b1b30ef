// The only source that includes Tcl's private header.
//
// Invariants:
// 1. A `Proc` made here has one reference, ours, for as long as its owner
//    keeps it; the core adds its own while a body runs. It is never raised
//    around a call: Tcl 8.5 answers a count above one with a private copy of
//    the procedure at every compilation.
// 2. `Proc.cmdPtr`, when not null, owns one reference to a Command. Tcl reads
//    it at each call (namespace) and for every active frame in `info frame`,
//    long after the command may have been deleted, so it must never dangle.
// 3. Structures are reached by fields whose offsets are the same from Tcl
//    8.5.0 on, and stub slots past 8.5's tables (236 of the internal table)
//    are called only behind gCanReturnEarly.

#include "tclobj/zelTcl_Internal.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>
#include <tclInt.h>

#include "tclobj/zelTcl_Handles.h"

namespace {

bool gCanReturnEarly = false;
zelTcl_TWatchedCommand gUpvarCommand;
zelTcl_TWatchedCommand gIfCommand;
bool gCanHookEnd = false;
Tcl_NRPostProc* gProcEnd = nullptr;   // the core's end of a procedure
ProcErrorProc* gProcError = nullptr;  // and what it calls after an error
Tcl_Obj* gClassLocalName = nullptr;   // see LocalIsNamed
Tcl_Obj* gThisLocalName = nullptr;

// What a procedure runs under when its object has no command (any more): Tcl
// asks for nothing but the namespace. Its own reference keeps it from ever
// being freed.
Command gNoCommand;

Interp* Private(Tcl_Interp* interp) {
  return reinterpret_cast<Interp*>(interp);
}

Command* Private(Tcl_Command command) {
  return reinterpret_cast<Command*>(command);
}

Namespace* GlobalNamespace(Tcl_Interp* interp) {
  return reinterpret_cast<Namespace*>(Tcl_GetGlobalNamespace(interp));
}

// The rename trace is set before any other and stays the last of its command,
// so that one record does for all commands. Tcl's own record of the walk tells
// it which command it is called for.
CommandTrace gRenameTrace;
Tcl_CommandTraceProc* gRenameTraceProc = nullptr;

void CallRenameTrace(ClientData /*clientData*/, Tcl_Interp* interp,
                     const char* oldName, const char* newName, int flags) {
  const Command* const command = Private(interp)->activeCmdTracePtr->cmdPtr;
  gRenameTraceProc(command->objClientData, interp, oldName, newName, flags);
}

void DropCommand(Command* command) {
  if (command->refCount > 1) {
    command->refCount--;
  } else {
    TclCleanupCommand(command);
  }
}

// Watches a command that Tcl compiles inline; a script's replacement of it,
// made before we were loaded, is no such command.
void WatchCompiled(Tcl_Interp* interp, const char* name,
                   zelTcl_TWatchedCommand* watched) {
  zelTcl_Internal_Watch(interp, name, watched);
  const Command* const command = watched->command;
  if (command != nullptr &&
      (command->compileProc == nullptr || command->deleteProc != nullptr)) {
    zelTcl_Internal_Unwatch(watched);
  }
}

// The variable that owns an entry of a table of variables.
VarInHash* VarOf(Tcl_HashEntry* entry) {
  return reinterpret_cast<VarInHash*>(reinterpret_cast<char*>(entry) -
                                      offsetof(VarInHash, entry));
}

Var* FindGlobalVar(Tcl_Interp* interp, const char* name) {
  Var* array = nullptr;
  return TclLookupVar(interp, name, nullptr, TCL_GLOBAL_ONLY, nullptr, 0, 0,
                      &array);
}

// The variable of a simple name in the global namespace, or null. A link is not
// followed.
Var* FindSimpleGlobal(Tcl_Interp* interp, Tcl_Obj* name) {
  Tcl_HashEntry* const entry =
      Tcl_FindHashEntry(&GlobalNamespace(interp)->varTable.table, name);
  return entry == nullptr ? nullptr : &VarOf(entry)->var;
}

zelTcl_TGlobalVarState StateOf(const Var* var) {
  while (var != nullptr && TclIsVarLink(var)) {
    var = var->value.linkPtr;
  }
  if (var == nullptr) {
    return zelTcl_TGlobalVarState::kAbsent;
  }
  // A read trace may define the variable when it is asked for.
  if (TclIsVarTraced(var)) {
    return zelTcl_TGlobalVarState::kTraced;
  }
  return TclIsVarUndefined(var) ? zelTcl_TGlobalVarState::kAbsent
                                : zelTcl_TGlobalVarState::kPresent;
}

// A fresh list of the names of the elements of an array that are set.
Tcl_Obj* ElementNames(const Var* array) {
  Tcl_Obj* const names = Tcl_NewListObj(0, nullptr);
  Tcl_HashSearch search;
  for (Tcl_HashEntry* entry =
           Tcl_FirstHashEntry(&array->value.tablePtr->table, &search);
       entry != nullptr; entry = Tcl_NextHashEntry(&search)) {
    if (!TclIsVarUndefined(&VarOf(entry)->var)) {
      (void)Tcl_ListObjAppendElement(nullptr, names, entry->key.objPtr);
    }
  }
  return names;
}

void LinkLocal(Var* local, Var* target) {
  while (TclIsVarLink(target)) {
    target = target->value.linkPtr;
  }
  TclSetVarLink(local);
  local->value.linkPtr = target;
  if (TclIsVarInHash(target)) {
    VarHashRefCount(target)++;
  }
}

// Releases the locals of a frame about to go. The core does the same for each
// with provision for traces; those that have any are left to it.
void ReleaseLocals(CallFrame* frame) {
  bool all = true;
  for (int i = 0; i < frame->numCompiledLocals; ++i) {
    Var* const local = &frame->compiledLocals[i];
    if (local->flags == 0) {
      Tcl_Obj* const value = local->value.objPtr;
      if (value != nullptr) {
        local->value.objPtr = nullptr;
        Tcl_DecrRefCount(value);
      }
    } else if (local->flags == VAR_LINK) {
      Var* const target = local->value.linkPtr;
      local->flags = 0;
      local->value.objPtr = nullptr;
      if (TclIsVarInHash(target)) {
        zelTcl_Internal_ReleaseVar(target);
      }
    } else {
      all = false;
    }
  }
  // With no locals left, the core lets go of neither them nor the table of
  // their names; its last reference it must drop itself.
  if (all && frame->numCompiledLocals > 0 &&
      frame->localCachePtr->refCount > 1) {
    frame->localCachePtr->refCount--;
    frame->localCachePtr = nullptr;
    frame->numCompiledLocals = 0;
  }
}

// The data of the core's callback for the end of a procedure. It uses two of
// the four: the name word and the function that writes the error trace.
enum { kNameWord, kErrorProc, kEndData, kEndProc };

// Writes the line of the procedure into the error trace, as the core does, but
// without the core's formatting, which would take a tenth of the time of an
// error caught.
void WriteErrorLine(Tcl_Interp* interp, Tcl_Obj* nameWord) {
  constexpr int kMostShown = 60;  // of a longer name the core shows the start
  int length = 0;
  const char* const name = Tcl_GetStringFromObj(nameWord, &length);
  if (length > kMostShown) {
    gProcError(interp, nameWord);
    return;
  }
  constexpr std::string_view kBefore("\n    (procedure \"");
  constexpr std::string_view kBetween("\" line ");
  char line[kBefore.size() + kMostShown + kBetween.size() + 16];
  char* end = std::copy(kBefore.begin(), kBefore.end(), line);
  end = std::copy_n(name, length, end);
  end = std::copy(kBetween.begin(), kBetween.end(), end);
  end = std::to_chars(end, line + sizeof(line), Private(interp)->errorLine).ptr;
  *end++ = ')';
  Tcl_AppendObjToErrorInfo(
      interp, Tcl_NewStringObj(line, static_cast<int>(end - line)));
}

int HookedEnd(ClientData data[], Tcl_Interp* interp, int result) {
  ClientData endData[4] = {data[kEndData], nullptr, nullptr, nullptr};
  auto* const end = reinterpret_cast<Tcl_NRPostProc*>(data[kEndProc]);
  ReleaseLocals(Private(interp)->varFramePtr);
  return end(endData, interp, gProcEnd(data, interp, result));
}

// Gives a command another simple name in its namespace, unless that is taken.
// Whatever has the command in its memory looks for it afresh.
bool MoveCommand(Command* command, const char* name) {
  int isNew = 0;
  Tcl_HashEntry* const entry =
      Tcl_CreateHashEntry(&command->nsPtr->cmdTable, name, &isNew);
  if (isNew != 0) {
    Tcl_SetHashValue(entry, command);
    Tcl_DeleteHashEntry(command->hPtr);
    command->hPtr = entry;
    command->cmdEpoch++;
  }
  return isNew != 0;
}

int LeaveShelterNR(ClientData data[], Tcl_Interp* /*interp*/, int result) {
  auto* const command = static_cast<Command*>(data[0]);
  auto* const name = static_cast<Tcl_Obj*>(data[1]);
  if ((command->flags & CMD_IS_DELETED) == 0 &&
      !MoveCommand(command, Tcl_GetString(name))) {
    Tcl_Interp* const interp = command->nsPtr->interp;
    const zelTcl_TSavedState saved(interp);
    (void)Tcl_DeleteCommandFromToken(interp,
                                     reinterpret_cast<Tcl_Command>(command));
  }
  Tcl_DecrRefCount(name);
  DropCommand(command);
  return result;
}

bool IsDying(const Namespace* space) {
  return (space->flags & (NS_DYING | NS_DEAD)) != 0;
}

// Makes a name free by giving the command that has it another one until what is
// running has ended, in this interpreter or a parent.
// Returns: false where the name stays taken.
bool TakeShelter(Tcl_Interp* interp, Namespace* space, const char* name) {
  Tcl_HashEntry* const entry = Tcl_FindHashEntry(&space->cmdTable, name);
  if (entry == nullptr) {
    return true;
  }
  auto* const command = static_cast<Command*>(Tcl_GetHashValue(entry));
  while (interp != nullptr && !zelTcl_Internal_CanQueue(interp)) {
    interp = Tcl_GetMaster(interp);
  }
  if (interp == nullptr || (command->flags & CMD_IS_DELETED) != 0 ||
      command->hPtr != entry) {  // the old entry of one that is being renamed
    return false;
  }
  Tcl_Obj* const oldName = Tcl_NewStringObj(name, -1);
  Tcl_IncrRefCount(oldName);
  const zelTcl_TObjRef shelter(Tcl_DuplicateObj(oldName));
  do {
    Tcl_AppendToObj(shelter.get(), " ", 1);
  } while (!MoveCommand(command, Tcl_GetString(shelter.get())));
  command->refCount++;
  Tcl_NRAddCallback(interp, LeaveShelterNR, command, oldName, nullptr, nullptr);
  return true;
}

// A hidden command is in no namespace's table: its name is another's there.
bool IsHidden(const Command* command) {
  return command->hPtr != nullptr &&
         command->hPtr->tablePtr ==
             Private(command->nsPtr->interp)->hiddenCmdTablePtr;
}

// Ends walks over the traces of the command, from the given one outwards.
void EndWalks(ActiveCommandTrace* walk, const Command* command) {
  for (; walk != nullptr; walk = walk->nextPtr) {
    if (walk->cmdPtr == command) {
      walk->nextTracePtr = nullptr;
    }
  }
}

// True iff the local in this slot has this name. The names of locals are
// shared literals: the one recognised last is kept, and nearly always met
// again.
bool LocalIsNamed(const CallFrame* frame, int slot, const char* name,
                  Tcl_Obj** known) {
  Tcl_Obj* const actual = localName(frame, slot);
  if (actual != nullptr && actual == *known) {
    return true;
  }
  if (actual == nullptr || strcmp(Tcl_GetString(actual), name) != 0) {
    return false;
  }
  zelTcl_SetObj(known, actual);
  return true;
}

}  // namespace

void zelTcl_Internal_Attach(Tcl_Interp* interp) {
  int major = 0;
  int minor = 0;
  Tcl_GetVersion(&major, &minor, nullptr, nullptr);
  gCanReturnEarly = major > 8 || (major == 8 && minor >= 6);
  if (gNoCommand.refCount == 0) {
    gNoCommand.refCount = 1;
  }
  gNoCommand.nsPtr = GlobalNamespace(interp);
  WatchCompiled(interp, "upvar", &gUpvarCommand);
  WatchCompiled(interp, "if", &gIfCommand);
}

void zelTcl_Internal_Detach() {
  zelTcl_Internal_Unwatch(&gUpvarCommand);
  zelTcl_Internal_Unwatch(&gIfCommand);
  zelTcl_SetObj(&gClassLocalName, nullptr);
  zelTcl_SetObj(&gThisLocalName, nullptr);
}

bool zelTcl_Internal_CanReturnEarly() {
  return gCanReturnEarly;
}

// ---- Commands ---------------------------------------------------------------

const char* zelTcl_Internal_NameTail(const char* name) {
  const char* tail = name + strlen(name);
  while (tail != name &&
         !(tail - name >= 2 && tail[-1] == ':' && tail[-2] == ':')) {
    --tail;
  }
  return tail;
}

bool zelTcl_Internal_GlobalCommandExists(Tcl_Interp* interp, const char* name) {
  // The table's field, since the function that returns it is not in 8.5.
  return Tcl_FindHashEntry(&GlobalNamespace(interp)->cmdTable, name) != nullptr;
}

bool zelTcl_Internal_IsBeingDeleted(Tcl_Command command) {
  return (Private(command)->flags & CMD_IS_DELETED) != 0;
}

bool zelTcl_Internal_CanQueue(Tcl_Interp* interp) {
  return gCanReturnEarly && Private(interp)->numLevels > 0;
}

bool zelTcl_Internal_HasOtherTraces(Tcl_Command command) {
  const CommandTrace* const first = Private(command)->tracePtr;
  return first != nullptr && first != &gRenameTrace;
}

// The public call finds the command by name, as seen from the namespace that
// happens to be current, and complains into the result where it finds none.
// The command is at hand, so the trace is put into its list directly.
void zelTcl_Internal_AddRenameTrace(Tcl_Command command,
                                    Tcl_CommandTraceProc* proc) {
  gRenameTraceProc = proc;
  gRenameTrace.traceProc = CallRenameTrace;
  gRenameTrace.flags = TCL_TRACE_RENAME | TCL_TRACE_DELETE;
  // One reference is kept, so that Tcl never frees it.
  gRenameTrace.refCount += gRenameTrace.refCount == 0 ? 2 : 1;
  Private(command)->tracePtr = &gRenameTrace;
}

void zelTcl_Internal_RemoveRenameTrace(Tcl_Interp* interp,
                                       Tcl_Command command) {
  if (!zelTcl_Internal_HasOtherTraces(command) &&
      Private(command)->tracePtr != nullptr) {
    EndWalks(Private(interp)->activeCmdTracePtr, Private(command));
    Private(command)->tracePtr = nullptr;
    gRenameTrace.refCount--;
  }
}

void zelTcl_Internal_Watch(Tcl_Interp* interp, const char* name,
                           zelTcl_TWatchedCommand* watched) {
  zelTcl_Internal_Unwatch(watched);
  Command* const command =
      Private(Tcl_FindCommand(interp, name, nullptr, TCL_GLOBAL_ONLY));
  if (command != nullptr) {
    command->refCount++;
    watched->command = command;
    watched->epoch = command->cmdEpoch;
  }
}

void zelTcl_Internal_Unwatch(zelTcl_TWatchedCommand* watched) {
  if (watched->command != nullptr) {
    DropCommand(watched->command);
    watched->command = nullptr;
  }
}

bool zelTcl_Internal_IsUntouched(const zelTcl_TWatchedCommand& watched) {
  // Deleting, renaming, hiding and replacing a command all raise its epoch.
  return watched.command != nullptr &&
         watched.command->cmdEpoch == watched.epoch &&
         watched.command->tracePtr == nullptr;
}

// ---- The end of a command ---------------------------------------------------

void zelTcl_Internal_BeforeDeletion(Tcl_Interp* interp, const char* oldName) {
  const ActiveCommandTrace* const deleting = Private(interp)->activeCmdTracePtr;
  Command* const command = deleting->cmdPtr;
  EndWalks(deleting->nextPtr, command);
  if (IsHidden(command)) {
    return;
  }
  const char* const tail = zelTcl_Internal_NameTail(oldName);
  if (tail == oldName + 2) {
    command->nsPtr = GlobalNamespace(interp);
  } else if (std::string_view(command->nsPtr->fullName) !=
             std::string_view(oldName, tail - oldName - 2)) {
    return;
  }
  Namespace* const home = command->nsPtr;
  Tcl_HashEntry* entry = Tcl_FindHashEntry(&home->cmdTable, tail);
  if ((entry != nullptr && entry == command->hPtr) || IsDying(home) ||
      !TakeShelter(interp, home, tail)) {
    return;
  }
  int isNew = 0;
  entry = Tcl_CreateHashEntry(&home->cmdTable, tail, &isNew);
  Tcl_SetHashValue(entry, command);
  if (command->hPtr != nullptr) {
    Tcl_DeleteHashEntry(command->hPtr);
  }
  command->hPtr = entry;
}

zelTcl_TCommandEnd::zelTcl_TCommandEnd(Tcl_Command command, bool replaced)
    : command_(Private(command)), home_(command_->nsPtr) {
  if (replaced && command_->hPtr != nullptr && !IsHidden(command_)) {
    name_.Reset(Tcl_NewStringObj(static_cast<const char*>(Tcl_GetHashKey(
                                     command_->hPtr->tablePtr, command_->hPtr)),
                                 -1));
    if (home_->parentPtr != nullptr) {
      homeName_.Reset(Tcl_NewStringObj(home_->fullName, -1));
    }
  }
}

// Where it is not, Tcl may keep it, but nothing here does.
bool zelTcl_TCommandEnd::IsHomeAlive(Tcl_Interp* interp) const {
  return homeName_.get() == nullptr ||
         Tcl_FindNamespace(interp, Tcl_GetString(homeName_.get()), nullptr,
                           TCL_GLOBAL_ONLY) ==
             reinterpret_cast<Tcl_Namespace*>(home_);
}

void zelTcl_TCommandEnd::Finish(Tcl_Interp* interp, Tcl_ObjCmdProc* gone) {
  // Tcl 8.6 asks for the first of the two functions, 8.5 knows only the second.
  if (gCanReturnEarly) {
    command_->nreProc = gone;
  }
  command_->objProc = gone;
  command_->objClientData = nullptr;
  command_->nsPtr = home_;
  if (interp == nullptr) {
    return;
  }
  // Tcl passes imports on to the command that replaces this one.
  const ImportRef* import = nullptr;
  while ((command_->flags & CMD_REDEF_IN_PROGRESS) == 0 &&
         command_->importRefPtr != nullptr &&
         command_->importRefPtr != import) {
    import = command_->importRefPtr;
    (void)Tcl_DeleteCommandFromToken(
        interp, reinterpret_cast<Tcl_Command>(import->importedCmdPtr));
  }
  if (name_.get() != nullptr && IsHomeAlive(interp)) {
    (void)TakeShelter(interp, home_, Tcl_GetString(name_.get()));
  }
}

// ---- Procedures -------------------------------------------------------------

int zelTcl_Internal_CreateProc(Tcl_Interp* interp, const char* name,
                               Tcl_Obj* params, Tcl_Obj* body, Proc** proc) {
  const int code =
      TclCreateProc(interp, GlobalNamespace(interp), name, params, body, proc);
  if (code == TCL_OK) {
    // Tcl leaves the field unset, expecting its caller to make a command.
    (*proc)->cmdPtr = nullptr;
  } else {
    *proc = nullptr;
  }
  return code;
}

void zelTcl_Internal_DeleteProc(Proc* proc) {
  if (proc->cmdPtr != nullptr) {
    DropCommand(proc->cmdPtr);
    proc->cmdPtr = nullptr;
  }
  TclProcDeleteProc(proc);
}

// A call for another object names its own command in the record and puts back
// what was there when it ends, so that `info frame` finds the outer frames'
// object again. Each pointer is counted where it lies; coroutines may end
// their calls in any order, and then at worst name the other object.
void zelTcl_Internal_EnterProc(Tcl_Interp* interp, Proc* proc,
                               Tcl_Command command, zelTcl_TProcLease* lease) {
  // The namespace of a command that has left its table may be gone as well.
  Command* const mine = command != nullptr && Private(command)->hPtr != nullptr
                            ? Private(command)
                            : &gNoCommand;
  if (mine == &gNoCommand) {
    gNoCommand.nsPtr = GlobalNamespace(interp);
  }
  mine->refCount++;
  lease->proc = proc;
  lease->command = mine;
  lease->saved = nullptr;
  if (proc->cmdPtr != mine) {
    lease->saved = proc->cmdPtr;
    mine->refCount++;
    proc->cmdPtr = mine;
  }
}

void zelTcl_Internal_LeaveProc(zelTcl_TProcLease* lease) {
  if (lease->saved != nullptr) {
    Command* const current = lease->proc->cmdPtr;
    lease->proc->cmdPtr = lease->saved;
    lease->saved = nullptr;
    DropCommand(current);
  }
  // Without a saved command the field stays as it is: another call may still
  // be suspended, and Tcl does not expect to find it null.
  DropCommand(lease->command);
  lease->command = nullptr;
}

int zelTcl_Internal_RunProc(Tcl_Interp* interp, Proc* proc, int objc,
                            Tcl_Obj* const words[]) {
  // Compiling beforehand keeps 8.5 from doing it inside the call, where it
  // would give a running procedure's record away to a copy.
  const int code =
      TclProcCompileProc(interp, proc, proc->bodyPtr, proc->cmdPtr->nsPtr,
                         "body of proc", Tcl_GetString(words[0]));
  return code == TCL_OK ? TclGetObjInterpProc()(proc, interp, objc, words)
                        : code;
}

int zelTcl_Internal_StartProc(Tcl_Interp* interp, Proc* proc, int objc,
                              Tcl_Obj* const words[]) {
  return TclNRInterpProc(proc, interp, objc, words);
}

bool zelTcl_Internal_CanHookEnd() {
  return gCanHookEnd;
}

void zelTcl_Internal_RecognizeEnd(Tcl_Interp* interp, Tcl_Obj* nameWord) {
  const NRE_callback* const end = TOP_CB(interp)->nextPtr;
  gCanHookEnd =
      end->data[kNameWord] == nameWord && end->data[kErrorProc] != nullptr &&
      end->data[kEndData] == nullptr && end->data[kEndProc] == nullptr;
}

void zelTcl_Internal_HookEnd(Tcl_Interp* interp, Tcl_NRPostProc* end,
                             ClientData clientData) {
  NRE_callback* const callback = TOP_CB(interp)->nextPtr;
  gProcEnd = callback->procPtr;
  gProcError = reinterpret_cast<ProcErrorProc*>(callback->data[kErrorProc]);
  callback->data[kErrorProc] = reinterpret_cast<ClientData>(WriteErrorLine);
  callback->procPtr = HookedEnd;
  callback->data[kEndData] = clientData;
  callback->data[kEndProc] = reinterpret_cast<ClientData>(end);
}

// ---- Frames -----------------------------------------------------------------

CallFrame* zelTcl_Internal_VarFrame(Tcl_Interp* interp) {
  return Private(interp)->varFramePtr;
}

bool zelTcl_Internal_FrameHolds(const CallFrame* frame, const Proc* proc,
                                Tcl_Obj* const words[]) {
  if (frame->procPtr != proc || frame->isProcCallFrame != FRAME_IS_PROC ||
      frame->numCompiledLocals < 3) {
    return false;
  }
  for (int i = 0; i < 3; ++i) {
    const Var& local = frame->compiledLocals[i];
    if (local.flags != 0 || local.value.objPtr != words[i + 1]) {
      return false;
    }
  }
  return true;
}

// ---- Global variables -------------------------------------------------------

zelTcl_TGlobalVarState zelTcl_Internal_SimpleGlobalState(Tcl_Interp* interp,
                                                         Tcl_Obj* name) {
  return StateOf(FindSimpleGlobal(interp, name));
}

zelTcl_TGlobalVarState zelTcl_Internal_GlobalState(Tcl_Interp* interp,
                                                   const char* name) {
  return StateOf(FindGlobalVar(interp, name));
}

bool zelTcl_Internal_IsArrayTraced(Tcl_Interp* interp, const char* name) {
  const Var* const array = FindGlobalVar(interp, name);
  if (array == nullptr || TclIsVarTraced(array) || !TclIsVarArray(array)) {
    return array != nullptr && TclIsVarTraced(array);
  }
  Tcl_HashSearch search;
  for (Tcl_HashEntry* entry =
           Tcl_FirstHashEntry(&array->value.tablePtr->table, &search);
       entry != nullptr; entry = Tcl_NextHashEntry(&search)) {
    if (TclIsVarTraced(&VarOf(entry)->var)) {
      return true;
    }
  }
  return false;
}

int zelTcl_Internal_CopyGlobalArray(Tcl_Interp* interp, const char* source,
                                    const char* target) {
  const zelTcl_TObjRef sourceName(Tcl_NewStringObj(source, -1));
  const zelTcl_TObjRef targetName(Tcl_NewStringObj(target, -1));
  const Var* const array = FindGlobalVar(interp, source);
  // The names are taken first: a trace on one element may change the others.
  const zelTcl_TObjRef names(array != nullptr && TclIsVarArray(array)
                                 ? ElementNames(array)
                                 : Tcl_NewListObj(0, nullptr));
  int count = 0;
  Tcl_Obj** name = nullptr;
  (void)Tcl_ListObjGetElements(nullptr, names.get(), &count, &name);
  constexpr int kFlags = TCL_GLOBAL_ONLY | TCL_LEAVE_ERR_MSG;
  if (count == 0) {
    // An array without elements is made by taking its only one away again.
    const zelTcl_TObjRef empty(Tcl_NewObj());
    if (Tcl_ObjSetVar2(interp, targetName.get(), empty.get(), empty.get(),
                       kFlags) == nullptr) {
      return TCL_ERROR;
    }
    (void)Tcl_UnsetVar2(interp, target, "", TCL_GLOBAL_ONLY);
    return TCL_OK;
  }
  for (int i = 0; i < count; ++i) {
    Tcl_Obj* const value =
        Tcl_ObjGetVar2(interp, sourceName.get(), name[i], TCL_GLOBAL_ONLY);
    if (value == nullptr) {
      continue;  // a trace has unset it meanwhile
    }
    const zelTcl_TObjRef held(value);
    if (Tcl_ObjSetVar2(interp, targetName.get(), name[i], value, kFlags) ==
        nullptr) {
      return TCL_ERROR;
    }
  }
  return TCL_OK;
}

// Where the variable is a link that a script has made, the link itself is held,
// not what it leads to at this moment.
Var* zelTcl_Internal_HoldGlobalVar(Tcl_Interp* interp, Tcl_Obj* name) {
  Var* var = FindSimpleGlobal(interp, name);
  if (var == nullptr) {
    Var* array = nullptr;
    var = TclObjLookupVar(interp, name, nullptr, TCL_GLOBAL_ONLY, nullptr, 1, 1,
                          &array);
  }
  if (var != nullptr) {
    VarHashRefCount(var)++;
  }
  return var;
}

bool zelTcl_Internal_IsSameGlobal(Tcl_Interp* interp, const char* first,
                                  const char* second) {
  const Var* const var = FindGlobalVar(interp, first);
  return var != nullptr && var == FindGlobalVar(interp, second);
}

bool zelTcl_Internal_VarIsStale(const Var* var) {
  return TclIsVarDeadHash(var) != 0;
}

void zelTcl_Internal_ReleaseVar(Var* var) {
  VarHashRefCount(var)--;
  // What the core does when its last link to a variable goes.
  if (TclIsVarUndefined(var) && !TclIsVarTraced(var) &&
      VarHashRefCount(var) == !TclIsVarDeadHash(var)) {
    if (VarHashRefCount(var) == 0) {
      ckfree(reinterpret_cast<char*>(var));
    } else {
      Tcl_DeleteHashEntry(&reinterpret_cast<VarInHash*>(var)->entry);
    }
  }
}

// ---- Links made without the upvar command -----------------------------------

bool zelTcl_Internal_LinksUnseen(Tcl_Interp* interp, Tcl_Command command) {
  const Interp* const iPtr = Private(interp);
  const Namespace* const global = iPtr->globalNsPtr;
  return gCanReturnEarly && zelTcl_Internal_IsUntouched(gUpvarCommand) &&
         zelTcl_Internal_IsUntouched(gIfCommand) && iPtr->tracePtr == nullptr &&
         iPtr->resolverPtr == nullptr && global->varResProc == nullptr &&
         global->compiledVarResProc == nullptr &&
         (command == nullptr || Private(command)->nsPtr == global);
}

bool zelTcl_Internal_LinkLocals(Tcl_Interp* interp, const Proc* proc,
                                Var* classVar, Var* thisVar) {
  CallFrame* const frame = Private(interp)->varFramePtr;
  const int slot = proc->numArgs;
  if (frame->procPtr != proc || frame->numCompiledLocals < slot + 2 ||
      !LocalIsNamed(frame, slot, "class", &gClassLocalName) ||
      !LocalIsNamed(frame, slot + 1, "this", &gThisLocalName)) {
    return false;
  }
  LinkLocal(&frame->compiledLocals[slot], classVar);
  LinkLocal(&frame->compiledLocals[slot + 1], thisVar);
  return true;
}

void zelTcl_Internal_ForgetRewrittenWords(Tcl_Interp* interp) {
  auto& rewrite = Private(interp)->ensembleRewrite;
  rewrite.sourceObjs = nullptr;
  rewrite.numRemovedObjs = 0;
  rewrite.numInsertedObjs = 0;
}
