#include "tclobj/zelTcl_Entity.h"

#include <cstdio>
#include <cstring>

#include "tclobj/zelTcl_Handles.h"
#include "tclobj/zelTcl_Internal.h"
#include "tclobj/zelTcl_Obj_Init.h"

const char* const zelTcl_kEntityTypeStrings[2] = {"class", "object"};

namespace {

constexpr char cCommandExists[] = "a command with that name already exists";
constexpr char cUnloaded[] = "the object system has been unloaded";

// Tcl reports qualified names; the entities of the global namespace do without
// the leading colons.
const char* WithoutGlobalPrefix(const char* name) {
  return strncmp(name, "::", 2) == 0 && name[2] != '\0' ? name + 2 : name;
}

// A fresh value of the name. Where the name is no plain word, it has the name
// as a list element behind its text, for ProtectedString: a value that is held
// is never changed in place. Null when there is no memory for the two texts;
// Tcl has none of its own without ending the process.
Tcl_Obj* NewName(const char* name) {
  if (zelTcl_Obj_IsWord(name)) {
    return Tcl_NewStringObj(name, -1);
  }
  const auto length = static_cast<int>(strlen(name));
  const zelTcl_TObjRef element(zelTcl_Obj_NewElement(name));
  int quotedLength = 0;
  const char* const quoted = Tcl_GetStringFromObj(element.get(), &quotedLength);
  auto* const texts = static_cast<char*>(
      attemptckalloc(static_cast<unsigned>(length + quotedLength + 2)));
  if (texts == nullptr) {
    return nullptr;
  }
  memcpy(texts, name, static_cast<std::size_t>(length) + 1);
  memcpy(texts + length + 1, quoted,
         static_cast<std::size_t>(quotedLength) + 1);
  Tcl_Obj* const value = Tcl_NewObj();
  value->bytes = texts;
  value->length = length;
  return value;
}

// The value for an entity of that name: the one given, shared with the script,
// if it is what NewName would make.
Tcl_Obj* NameFrom(Tcl_Obj* given) {
  int length = 0;
  const char* const text = Tcl_GetStringFromObj(given, &length);
  // A name ends at a zero byte, should a text have one.
  return zelTcl_Obj_IsWord(text) &&
                 strlen(text) == static_cast<std::size_t>(length)
             ? given
             : NewName(text);
}

// The name that an entity is about to have, for the length of a move that runs
// scripts: no other may take it meanwhile.
class TReservedName final {
 public:
  explicit TReservedName(const char* name) : name_(name), outer_(gInnermost) {
    gInnermost = this;
  }
  TReservedName(const TReservedName&) = delete;
  TReservedName& operator=(const TReservedName&) = delete;
  ~TReservedName() { gInnermost = outer_; }
  static bool Has(const char* name) {
    const TReservedName* reserved = gInnermost;
    while (reserved != nullptr && strcmp(reserved->name_, name) != 0) {
      reserved = reserved->outer_;
    }
    return reserved != nullptr;
  }

 private:
  static TReservedName* gInnermost;

  const char* name_;
  TReservedName* outer_;
};
TReservedName* TReservedName::gInnermost = nullptr;

zelTcl_TEntity* EntityOf(ClientData clientData) {
  return static_cast<zelTcl_TEntity*>(clientData);
}

// While a rename is under way, Tcl finds the command by its old name as well,
// even when a script run there has ended the entity or deleted the command.
int GoneHandler(ClientData /*clientData*/, Tcl_Interp* interp, int /*objc*/,
                Tcl_Obj* const objv[]) {
  Tcl_AppendResult(interp, "invalid command name \"", Tcl_GetString(objv[0]),
                   "\"", nullptr);
  return TCL_ERROR;
}

}  // namespace

// ---- Creation ---------------------------------------------------------------

int zelTcl_TEntity::Init(zelTcl_TEntityType newType, Tcl_Interp* interp,
                         Tcl_Obj* name) {
  state = zelTcl_kInitialising;
  type = newType;
  const zelTcl_TObjRef nameObj(NameFrom(name));
  if (nameObj.get() == nullptr) {
    zelTcl_Obj_ReportNoNames(interp, Tcl_GetString(name));
    Dispose();
    return 1;
  }
  SetName(nameObj.get());
  if (HasNamesake()) {
    return Fail(interp, "a ", TypeString(), " with that name already exists");
  }
  int exists = 0;
  if (zelTcl_Obj_GlobalExists(interp, name, &exists) != TCL_OK) {
    Dispose();
    return 1;
  }
  // A redefined helper procedure may have done anything.
  if (!zelTcl_Obj_Serves()) {
    return Fail(interp, cUnloaded, "", "");
  }
  if (HasNamesake()) {
    return Fail(interp, "a ", TypeString(), " with that name already exists");
  }
  if (exists != 0) {
    return Fail(interp, "a global variable with that name already exists", "",
                "");
  }
  const char* const text = StringName();
  if (zelTcl_Internal_GlobalCommandExists(interp, text)) {
    return Fail(interp, cCommandExists, "", "");
  }
  const bool isSimple = zelTcl_Obj_IsSimpleName(text);
  zelTcl_TDString commandName;
  if (!isSimple && strncmp(text, "::", 2) != 0) {
    // A qualified name is meant from the global namespace, whatever namespace
    // the class command was called in.
    commandName.Append("::");
  }
  commandName.Append(text);
  if (!isSimple && MakeWay(interp, commandName.Value()) != 0) {
    return 1;
  }
  Preserve();  // for the command
  command = zelTcl_Obj_CreateCommand(
      interp, commandName.Value(), zelTcl_EntityCmdHandler,
      zelTcl_EntityCmdHandlerNR, this, zelTcl_EntityDeleteCmdHandler);
  if (command == nullptr) {
    Release();
    return Fail(interp, "failed to create the ", TypeString(), " command");
  }
  zelTcl_Obj_RegisterEntity(this);
  zelTcl_Internal_AddRenameTrace(command, zelTcl_EntityRenameCallback);
  return TCL_OK;
}

// A qualified name takes over the command that bears it. That command goes
// before ours is made: Tcl would make away with whatever a script run by its
// end puts in its place.
int zelTcl_TEntity::MakeWay(Tcl_Interp* interp, const char* commandName) {
  const Tcl_Command replaced =
      Tcl_FindCommand(interp, commandName, nullptr, TCL_GLOBAL_ONLY);
  if (replaced == nullptr) {
    return 0;
  }
  if (zelTcl_Internal_IsBeingDeleted(replaced)) {
    return Fail(interp, cCommandExists, "", "");
  }
  (void)Tcl_DeleteCommandFromToken(interp, replaced);
  if (!zelTcl_Obj_Serves()) {
    return Fail(interp, cUnloaded, "", "");
  }
  if (HasNamesake()) {
    return Fail(interp, "a ", TypeString(), " with that name already exists");
  }
  return Tcl_FindCommand(interp, commandName, nullptr, TCL_GLOBAL_ONLY) ==
                 nullptr
             ? 0
             : Fail(interp, cCommandExists, "", "");
}

bool zelTcl_TEntity::HasNamesake() const {
  return (zelTcl_Obj_Interp() != nullptr &&
          Tcl_FindHashEntry(Table(), StringName()) != nullptr) ||
         TReservedName::Has(StringName());
}

int zelTcl_TEntity::Fail(Tcl_Interp* interp, const char* ending,
                         const char* word, const char* rest) {
  Tcl_AppendResult(interp, "could not create ", TypeString(), " \"",
                   StringName(), "\": ", ending, word, rest, nullptr);
  Dispose();
  return 1;
}

// ---- Names ------------------------------------------------------------------

Tcl_HashTable* zelTcl_TEntity::Table() const {
  return zelTcl_Obj_EntityHashTable(this);
}

const char* zelTcl_TEntity::ProtectedString() const {
  const char* const name = StringName();
  return name == nullptr || zelTcl_Obj_IsWord(name)
             ? name
             : name + strlen(name) + 1;  // see NewName
}

// Requires: a value from NameFrom or NewName; see ProtectedString.
void zelTcl_TEntity::SetName(Tcl_Obj* name) {
  const char* const text = Tcl_GetString(name);
  const std::size_t length = strlen(text);
  const bool fits = length < sizeof(shortName) && zelTcl_Obj_IsWord(text);
  memcpy(shortName, fits ? text : "", fits ? length + 1 : 1);
  zelTcl_SetObj(&ownEntry.key.objPtr, fits ? nullptr : name);
  nameGone = false;
}

void zelTcl_TEntity::ShareName(Tcl_Obj* given) {
  if (ownEntry.key.objPtr == nullptr) {
    const zelTcl_TObjRef name(NameFrom(given));
    zelTcl_SetObj(&ownEntry.key.objPtr, name.get());
  }
}

Tcl_Obj* zelTcl_TEntity::MakeNameObj() {
  zelTcl_SetObj(&ownEntry.key.objPtr, Tcl_NewStringObj(shortName, -1));
  return ownEntry.key.objPtr;
}

zelTcl_TEntity::~zelTcl_TEntity() {
  zelTcl_SetObj(&ownEntry.key.objPtr, nullptr);
}

// ---- Renaming ---------------------------------------------------------------

// Tcl calls this in the middle of its rename: a script that runs here and puts
// another command in the place of this one takes the process along. Where the
// move can run scripts, it is therefore made right after the rename.
void zelTcl_TEntity::Rename(Tcl_Interp* interp, const char* /*oldName*/,
                            const char* newName, int /*flags*/) {
  // Where a delete trace renames what is going, the entity goes by its own
  // name.
  if (!IsRegistered() || !followsRenames || IsGone() ||
      Tcl_InterpDeleted(interp) || zelTcl_Internal_IsBeingDeleted(command)) {
    return;
  }
  followsRenames = false;  // until this one has been followed
  if (zelTcl_Internal_CanQueue(interp) &&
      !(zelTcl_Obj_MovesUnseen(interp, StringName()) &&
        zelTcl_Obj_MovesUnseen(interp, WithoutGlobalPrefix(newName)))) {
    Preserve();
    Tcl_NRAddCallback(interp, RenamedNR, this, nullptr, nullptr, nullptr);
  } else {
    FollowCommand(interp);
  }
}

int zelTcl_TEntity::RenamedNR(ClientData data[], Tcl_Interp* interp,
                              int result) {
  zelTcl_TEntity* const entity = EntityOf(data[0]);
  if (!entity->IsGone() && !Tcl_InterpDeleted(interp)) {
    const zelTcl_TSavedState saved(interp);
    entity->FollowCommand(interp);
  }
  entity->Release();
  return result;
}

// Gives the entity the name that its command has. The command that has a name
// left on the way may be that of another entity, which could not have the name
// before and follows now.
void zelTcl_TEntity::FollowCommand(Tcl_Interp* interp) {
  const zelTcl_TObjRef left(Tcl_NewListObj(0, nullptr));
  FollowOwnCommand(interp, left.get());
  Tcl_Obj* name = nullptr;
  for (int i = 0; Tcl_ListObjIndex(nullptr, left.get(), i, &name) == TCL_OK &&
                  name != nullptr;
       ++i) {
    zelTcl_TEntity* const heir = Heir(interp, Tcl_GetString(name));
    if (heir != nullptr) {
      heir->followsRenames = false;
      heir->FollowOwnCommand(interp, left.get());
    }
  }
}

// Meanwhile traces may rename the command again, or end it, in a constructor
// without the object. A name that could not be had is not asked for twice.
void zelTcl_TEntity::FollowOwnCommand(Tcl_Interp* interp, Tcl_Obj* left) {
  const zelTcl_TRecordRef<zelTcl_TEntity> self(this);
  zelTcl_TObjRef tried;
  while (command != nullptr) {
    const zelTcl_TObjRef actual(Tcl_NewObj());
    Tcl_GetCommandFullName(interp, command, actual.get());
    const char* const name = WithoutGlobalPrefix(Tcl_GetString(actual.get()));
    if (strcmp(name, WithoutGlobalPrefix(StringName())) == 0 ||
        (tried.get() != nullptr &&
         strcmp(name, Tcl_GetString(tried.get())) == 0)) {
      followsRenames = true;
      return;
    }
    tried.Reset(Tcl_NewStringObj(name, -1));
    const zelTcl_TObjRef oldName(NameObj());
    switch (FollowName(interp, name)) {
      case TMove::kDone:
        (void)Tcl_ListObjAppendElement(nullptr, left, oldName.get());
        break;
      case TMove::kRefused:
        break;
      case TMove::kFailed:
        return;
    }
  }
}

// The entity whose command has the name, if it can follow it there.
zelTcl_TEntity* zelTcl_TEntity::Heir(Tcl_Interp* interp, const char* name) {
  const Tcl_Command command =
      Tcl_FindCommand(interp, name, nullptr, TCL_GLOBAL_ONLY);
  Tcl_CmdInfo info;
  if (command == nullptr || zelTcl_Internal_IsBeingDeleted(command) ||
      Tcl_GetCommandInfoFromToken(command, &info) == 0 ||
      info.objProc != zelTcl_EntityCmdHandler) {
    return nullptr;
  }
  zelTcl_TEntity* const heir = EntityOf(info.objClientData);
  return heir->followsRenames && !heir->IsGone() ? heir : nullptr;
}

// Moves array, registry entry and names to the new name. Where that is taken or
// memory runs out, the entity keeps its own: kRefused, and a later rename may
// succeed. Where it is gone, or a helper procedure has failed, it follows no
// rename any more: kFailed.
zelTcl_TEntity::TMove zelTcl_TEntity::FollowName(Tcl_Interp* interp,
                                                 const char* newName) {
  // Whatever can fail for want of memory comes first.
  const zelTcl_TObjRef name(NewName(newName));
  if (name.get() == nullptr) {
    fprintf(stderr,
            "PANIC: no more memory while renaming %s \"%s\" to \"%s\"\n",
            TypeString(), StringName(), newName);
    return TMove::kRefused;
  }
  const char* const text = Tcl_GetString(name.get());
  // Another entity may be registered under a name that its command has lost: in
  // its constructor, or by a rename to a name that no array can have.
  if (IsTaken(text)) {
    return TMove::kRefused;
  }
  const TReservedName reserved(text);
  const TMove moved = MoveArray(interp, text);
  if (moved != TMove::kDone) {
    return moved;
  }
  const char* problem = nullptr;
  if (!IsRegistered()) {
    problem = "entry not found";
  } else if (Tcl_FindHashEntry(Table(), text) != nullptr) {
    problem = "new name already exist";
  }
  if (problem != nullptr) {
    fprintf(stderr,
            "PANIC: %s in the the string to pointer hash entry while renaming "
            "%s \"%s\" to \"%s\"\n",
            problem, TypeString(), StringName(), text);
    return TMove::kFailed;
  }
  zelTcl_Obj_DeregisterEntity(this);
  DropArrayVar();
  SetName(name.get());
  zelTcl_Obj_RegisterEntity(this);
  return TMove::kDone;
}

bool zelTcl_TEntity::IsTaken(const char* name) {
  const zelTcl_TObjRef value(Tcl_NewStringObj(name, -1));
  return zelTcl_Obj_ClassFromTclObj(value.get(), nullptr) != nullptr ||
         zelTcl_Obj_ObjectFromTclObj(value.get(), nullptr) != nullptr ||
         TReservedName::Has(name);
}

// Moves the global array from the present name to the new one, over whatever
// variable is there. Traces may run scripts at each step, which may end this
// entity.
zelTcl_TEntity::TMove zelTcl_TEntity::MoveArray(Tcl_Interp* interp,
                                                const char* newName) {
  int exists = 0;
  if (zelTcl_Obj_GlobalExists(interp, newName, &exists) != TCL_OK) {
    return TMove::kFailed;
  }
  if (exists != 0) {
    if (!IsGone() &&
        zelTcl_Internal_IsSameGlobal(interp, StringName(), newName)) {
      return TMove::kDone;  // a script has linked the new name to the array
    }
    (void)Tcl_UnsetVar(interp, newName, TCL_GLOBAL_ONLY);
  }
  const zelTcl_TObjRef oldName(NameObj());
  if (IsGone() ||
      zelTcl_Obj_GlobalExists(interp, oldName.get(), &exists) != TCL_OK) {
    return TMove::kFailed;
  }
  if (exists != 0 && !IsGone()) {
    const char* const old = Tcl_GetString(oldName.get());
    if (zelTcl_Obj_CloneGlobalArray(interp, old, newName) != TCL_OK) {
      return TMove::kFailed;
    }
    if (!IsGone()) {
      (void)Tcl_UnsetVar(interp, old, TCL_GLOBAL_ONLY);
    }
    if (IsGone()) {
      // It went with its old array; the copy must not stay behind.
      (void)Tcl_UnsetVar(interp, newName, TCL_GLOBAL_ONLY);
    }
  }
  return IsGone() ? TMove::kFailed : TMove::kDone;
}

// ---- The array --------------------------------------------------------------

Var* zelTcl_TEntity::FindArrayVar(Tcl_Interp* interp) {
  DropArrayVar();  // it is stale
  if (zelTcl_Obj_IsSimpleName(StringName())) {
    arrayVar = zelTcl_Internal_HoldGlobalVar(interp, NameObj());
  }
  return arrayVar;
}

void zelTcl_TEntity::DropArrayVar() {
  if (arrayVar != nullptr) {
    Var* const var = arrayVar;
    arrayVar = nullptr;
    zelTcl_Internal_ReleaseVar(var);
  }
}

// ---- The end ----------------------------------------------------------------

void zelTcl_TEntity::CommandDeleted() {
  commandGoing = true;
  if (state == zelTcl_kReady) {
    Retire();
  } else if (state == zelTcl_kInitialising) {
    state = zelTcl_kCommandLost;
  }
  command = nullptr;
}

void zelTcl_TEntity::Dispose() {
  state = zelTcl_kDisposing;
  if (command != nullptr && !commandGoing) {
    Tcl_Interp* const interp = zelTcl_Obj_Interp();
    if (!zelTcl_Internal_IsBeingDeleted(command)) {
      endsCommand = true;
      zelTcl_Internal_RemoveRenameTrace(interp, command);
    }
    (void)Tcl_DeleteCommandFromToken(interp, command);
  }
  DropArrayVar();
  if (IsRegistered()) {
    zelTcl_Obj_DeregisterEntity(this);
  }
  nameGone = true;
}

void zelTcl_TEntity::Retire() {
  const zelTcl_TRecordRef<zelTcl_TEntity> self(this);
  Dispose();
  if (!lifeEnded) {
    lifeEnded = true;
    Release();
  }
}

// ---- Tcl's callbacks --------------------------------------------------------

int zelTcl_EntityCmdHandler(ClientData clientData, Tcl_Interp* interp, int objc,
                            Tcl_Obj* const objv[]) {
  zelTcl_TEntity* const entity = EntityOf(clientData);
  return entity->StringName() == nullptr
             ? GoneHandler(clientData, interp, objc, objv)
             : entity->CommandHandler(interp, objc, objv);
}

int zelTcl_EntityCmdHandlerNR(ClientData clientData, Tcl_Interp* interp,
                              int objc, Tcl_Obj* const objv[]) {
  zelTcl_TEntity* const entity = EntityOf(clientData);
  return entity->StringName() == nullptr
             ? GoneHandler(clientData, interp, objc, objv)
             : entity->CommandHandlerNR(interp, objc, objv);
}

void zelTcl_EntityDeleteCmdHandler(ClientData clientData) {
  zelTcl_TEntity* const entity = EntityOf(clientData);
  if (entity->IsCommandGoing()) {
    return;
  }
  zelTcl_TCommandEnd commandEnd(entity->Command(), !entity->EndsCommand());
  entity->CommandDeleted();
  entity->Release();  // the command's reference
  Tcl_Interp* const interp = zelTcl_Obj_Interp();
  commandEnd.Finish(
      interp == nullptr || Tcl_InterpDeleted(interp) ? nullptr : interp,
      GoneHandler);
}

void zelTcl_EntityRenameCallback(ClientData clientData, Tcl_Interp* interp,
                                 const char* oldName, const char* newName,
                                 int flags) {
  if ((flags & TCL_TRACE_DELETE) != 0) {
    zelTcl_Internal_BeforeDeletion(interp, oldName);
  } else {
    EntityOf(clientData)->Rename(interp, oldName, newName, flags);
  }
}
