#include "tclobj/zelTcl_Obj_Init.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "foundation/zel_Alloc.h"
#include "foundation/zel_Error.h"

#include "tclobj/zelTcl_Call.h"
#include "tclobj/zelTcl_Class.h"
#include "tclobj/zelTcl_Handles.h"
#include "tclobj/zelTcl_Internal.h"
#include "tclobj/zelTcl_Method.h"
#include "tclobj/zelTcl_Names.h"
#include "tclobj/zelTcl_Object.h"
#include "tclobj/zelTcl_zelObject.h"

Tcl_Interp* zelTcl_gObj_Interp = nullptr;
Tcl_HashTable zelTcl_gObj_ClassTable;
Tcl_HashTable zelTcl_gObj_ObjectTable;
Tcl_Obj* zelTcl_gObj_ConstructorStringObj = nullptr;
Tcl_Obj* zelTcl_gObj_DestructorStringObj = nullptr;
zelTcl_TClass* zelTcl_gObj_RootClass = nullptr;
bool zelTcl_gObj_RootClassGone = false;
std::atomic<int> zelTcl_gObj_LibInit{0};
std::atomic<int> zelTcl_gObj_InterpInit{0};
Tcl_Command zelTcl_gObj_MethodCmd = nullptr;
Tcl_Command zelTcl_gObj_zelObjectCmd = nullptr;
Tcl_Command zelTcl_gObj_ThisCmd = nullptr;
Tcl_Command zelTcl_gObj_InheritCmd = nullptr;

const char* const gRequestedTclVersion = "8.5";
const char* const zelTcl_gObj_VarExistProcName = "zelGlobalVarExists";
const char* const zelTcl_gObj_CloneArrayProcName = "zelCloneGlobalArray";

const char* const zelTcl_gObj_VarExistProcDefinition =
    R"(proc zelGlobalVarExists { varName } { global $varName ; return [info exists $varName] }
)";

const char* const zelTcl_gObj_CloneArrayProcDefinition =
    R"(proc zelCloneGlobalArray { src dst } { global $src $dst ; array set $dst [array get $src] }
)";

const char* const zelTcl_gObj_RootClassScript =
    R"(method zelObjRootClass dispose {} {
  zelObject delete object $objName
}
method zelObjRootClass attribute { name } {
  return $this($name)
}
method zelObjRootClass setAttribute { name value } {
  return [set this($name) $value]
}
method zelObjRootClass attributes { args } {
  set res [list]
  foreach attribute $args {
    lappend res $this($attribute)
  }
  return $res
}
method zelObjRootClass newName { name } {
  zelObjNewObject $objName [zelObject info classofobject $objName] $name
}
method zelObjRootClass unknown { method args } {
global zelObject

  error "invalid method name \"$method\": should be one of \"[zelObject info methods [zelObject info classofobject $objName]]\""
})";

namespace {

// Whoever holds the claim may touch the state: one thread at a time while it is
// initialising, and for good once its interpreter is served. Whoever finds the
// claim taken is a second interpreter. A start that failed keeps it, since only
// the thread of its interpreter can take away what it has made.
std::atomic<bool> gClaimed{false};
// Such a start holds the claim.
std::atomic<bool> gFailed{false};
// Where the latest start began; a Tcl without threads has none but null.
std::atomic<Tcl_ThreadId> gThread{nullptr};

bool gTearingDown = false;

// Kept values, so that Tcl remembers in them where a frame has the variable.
Tcl_Obj* gImplicitVarNames[zelTcl_kNbImplicitVars] = {};
constexpr const char* kImplicitVarNames[zelTcl_kNbImplicitVars] = {
    "objName", "className", "methodName"};

// The helper procedures as they were defined.
zelTcl_TWatchedCommand gVarExistHelper;
zelTcl_TWatchedCommand gCloneArrayHelper;

// The registries are searched by texts, like Tcl's tables of strings. Their
// entries lie in the entities, and so do the texts. Tcl does not touch the key
// of an entry made by the table's own function: there the entity has its name
// as a value.

zelTcl_TEntity* gEntering = nullptr;  // the one being registered

zelTcl_TEntity* EntityOf(const Tcl_HashEntry* entry) {
  return static_cast<zelTcl_TEntity*>(Tcl_GetHashValue(entry));
}

unsigned HashName(Tcl_HashTable* /*table*/, void* key) {
  unsigned hash = 0;
  for (const char* p = static_cast<const char*>(key); *p != '\0'; ++p) {
    hash = 9 * hash + static_cast<unsigned char>(*p);
  }
  return hash;
}

int IsSameName(void* key, Tcl_HashEntry* entry) {
  const char* const name = EntityOf(entry)->StringName();
  return strcmp(static_cast<const char*>(key), name) == 0 ? 1 : 0;
}

Tcl_HashEntry* NewEntry(Tcl_HashTable* /*table*/, void* /*key*/) {
  return gEntering->OwnEntry();
}

void FreeEntry(Tcl_HashEntry* entry) {
  entry->tablePtr = nullptr;  // see zelTcl_TEntity::IsRegistered
}

const Tcl_HashKeyType kRegistryKeys = {
    TCL_HASH_KEY_TYPE_VERSION, 0, HashName, IsSameName, NewEntry, FreeEntry};

void SetResult(Tcl_Interp* interp, const char* text) {
  Tcl_SetObjResult(interp, Tcl_NewStringObj(text, -1));
}

int ThisNRCmd(ClientData clientData, Tcl_Interp* interp, int objc,
              Tcl_Obj* const objv[]);

void CreateBuiltIn(Tcl_Interp* interp, const char* name, Tcl_ObjCmdProc* proc,
                   Tcl_ObjCmdProc* nrProc, Tcl_Command* token) {
  *token = zelTcl_Obj_CreateCommand(interp, name, proc, nrProc, token,
                                    zelTclCleanupCommand);
}

// Tcl's commands and variables are gone; what is still held must not outlive
// the interpreter.
void InterpDeletedProc(ClientData /*clientData*/, Tcl_Interp* interp) {
  zelTcl_Obj_Dispose(interp);
}

template <typename T>
void DisposeAll(Tcl_HashTable* table) {
  while (auto* const entity = zelTcl_FirstHashValue<T>(table)) {
    entity->Retire();
  }
}

int EvalGlobal(Tcl_Interp* interp, const char* script) {
  return Tcl_EvalEx(interp, script, -1, TCL_EVAL_GLOBAL);
}

int DefineBuiltIns(Tcl_Interp* interp) {
  int code = EvalGlobal(interp, zelTcl_gObj_VarExistProcDefinition);
  if (code != TCL_OK) {
    return code;
  }
  zelTcl_Internal_Watch(interp, zelTcl_gObj_VarExistProcName, &gVarExistHelper);
  code = EvalGlobal(interp, zelTcl_gObj_CloneArrayProcDefinition);
  if (code != TCL_OK) {
    return code;
  }
  zelTcl_Internal_Watch(interp, zelTcl_gObj_CloneArrayProcName,
                        &gCloneArrayHelper);
  return EvalGlobal(interp, zelTcl_gObj_RootClassScript);
}

}  // namespace

// ---- Entry and tear-down ----------------------------------------------------

int Zeltclobject_Init(Tcl_Interp* interp) {
  bool expected = false;
  if (zelTcl_gObj_InterpInit != 0) {
    return TCL_OK;
  }
  if (!gClaimed.compare_exchange_strong(expected, true)) {
    if (!gFailed) {
      return TCL_OK;
    }
    if (gThread != Tcl_GetCurrentThread()) {
      SetResult(interp,
                "can't initialize: an earlier attempt failed in another "
                "thread and its interpreter is still there");
      return TCL_ERROR;
    }
    gFailed = false;  // it is tried again
  }
  int code = TCL_OK;
  if (zelTcl_gObj_LibInit == 0) {
    if (Tcl_InitStubs(interp, gRequestedTclVersion, 0) == nullptr) {
      code = TCL_ERROR;
    } else {
      zelTcl_gObj_LibInit = 1;
    }
  }
  if (code == TCL_OK) {
    code = zelTcl_Obj_Init(interp);
  }
  if (zelTcl_gObj_InterpInit == 0) {
    if (zelTcl_gObj_Interp != nullptr) {
      gFailed = true;
    } else {
      gClaimed = false;
    }
  }
  return code;
}

int Zeltclobject_SafeInit(Tcl_Interp* interp) {
  return Zeltclobject_Init(interp);
}

int zelTcl_Obj_Init(Tcl_Interp* interp) {
  if (zelTcl_gObj_LibInit == 0) {
    return Zeltclobject_Init(interp);  // comes back here
  }
  if (zelTcl_gObj_InterpInit != 0) {
    return TCL_OK;
  }
  if (zelTcl_gObj_Interp != nullptr) {
    zelTcl_Obj_Dispose(zelTcl_gObj_Interp);
  }
  zelTcl_gObj_Interp = interp;
  gThread = Tcl_GetCurrentThread();
  zelTcl_gObj_RootClassGone = false;
  for (Tcl_HashTable* const table :
       {&zelTcl_gObj_ClassTable, &zelTcl_gObj_ObjectTable}) {
    Tcl_InitCustomHashTable(table, TCL_CUSTOM_PTR_KEYS, &kRegistryKeys);
  }
  zelTcl_SetObj(&zelTcl_gObj_ConstructorStringObj,
                Tcl_NewStringObj("constructor", -1));
  zelTcl_SetObj(&zelTcl_gObj_DestructorStringObj,
                Tcl_NewStringObj("destructor", -1));
  for (int i = 0; i < zelTcl_kNbImplicitVars; ++i) {
    zelTcl_SetObj(&gImplicitVarNames[i],
                  Tcl_NewStringObj(kImplicitVarNames[i], -1));
  }
  zelTcl_Internal_Attach(interp);
  Tcl_CallWhenDeleted(interp, InterpDeletedProc, nullptr);
  CreateBuiltIn(interp, "method", zel_MethodObjCmd, zel_MethodObjCmd,
                &zelTcl_gObj_MethodCmd);
  CreateBuiltIn(interp, "zelObject", zel_zelObjectObjCmd, zel_zelObjectObjCmd,
                &zelTcl_gObj_zelObjectCmd);
  CreateBuiltIn(interp, "this", zel_ThisObjCmd, ThisNRCmd,
                &zelTcl_gObj_ThisCmd);
  CreateBuiltIn(interp, "inherit", zel_InheritObjCmd, zel_InheritObjCmd,
                &zelTcl_gObj_InheritCmd);
  const int code = DefineBuiltIns(interp);
  if (code == TCL_OK) {
    zelTcl_gObj_InterpInit = 1;
  }
  return code;
}

void zelTcl_Obj_Dispose(Tcl_Interp* interp) {
  if (zelTcl_gObj_Interp == nullptr || gTearingDown) {
    return;  // all done, or about to be by the one that was called first
  }
  gTearingDown = true;
  if (!Tcl_InterpDeleted(interp)) {
    Tcl_DontCallWhenDeleted(interp, InterpDeletedProc, nullptr);
    for (const char* const helper :
         {zelTcl_gObj_VarExistProcName, zelTcl_gObj_CloneArrayProcName}) {
      // The one of the global namespace, whichever is current.
      zelTcl_TDString name;
      name.Append("::").Append(helper);
      (void)Tcl_DeleteCommand(interp, name.Value());
    }
    for (Tcl_Command* const token :
         {&zelTcl_gObj_InheritCmd, &zelTcl_gObj_ThisCmd, &zelTcl_gObj_MethodCmd,
          &zelTcl_gObj_zelObjectCmd}) {
      if (*token != nullptr) {
        (void)Tcl_DeleteCommandFromToken(interp, *token);
        *token = nullptr;
      }
    }
  }
  // Scripts that run here may still ask for any name: the tables stay until
  // both are empty, and nothing new can be made.
  DisposeAll<zelTcl_TObject>(&zelTcl_gObj_ObjectTable);
  DisposeAll<zelTcl_TClass>(&zelTcl_gObj_ClassTable);
  Tcl_DeleteHashTable(&zelTcl_gObj_ObjectTable);
  Tcl_DeleteHashTable(&zelTcl_gObj_ClassTable);
  zelTcl_SetObj(&zelTcl_gObj_ConstructorStringObj, nullptr);
  zelTcl_SetObj(&zelTcl_gObj_DestructorStringObj, nullptr);
  for (Tcl_Obj*& name : gImplicitVarNames) {
    zelTcl_SetObj(&name, nullptr);
  }
  zelTcl_Internal_Unwatch(&gVarExistHelper);
  zelTcl_Internal_Unwatch(&gCloneArrayHelper);
  zelTcl_Internal_Detach();
  zelTcl_TCall::FreeSpares();
  zelTcl_gObj_Interp = nullptr;
  gTearingDown = false;
  if (gFailed.exchange(false)) {
    gClaimed = false;
  }
}

bool zelTcl_Obj_Serves() {
  return zelTcl_gObj_Interp != nullptr && !gTearingDown;
}

Tcl_Interp* zelTcl_Obj_Interp() {
  return zelTcl_gObj_Interp;
}

void zelTclCleanupCommand(ClientData clientData) {
  *static_cast<Tcl_Command*>(clientData) = nullptr;
}

Tcl_Command zelTcl_Obj_CreateCommand(Tcl_Interp* interp, const char* name,
                                     Tcl_ObjCmdProc* proc,
                                     Tcl_ObjCmdProc* nrProc,
                                     ClientData clientData,
                                     Tcl_CmdDeleteProc* deleteProc) {
  return zelTcl_Internal_CanReturnEarly() && nrProc != proc
             ? Tcl_NRCreateCommand(interp, name, proc, nrProc, clientData,
                                   deleteProc)
             : Tcl_CreateObjCommand(interp, name, proc, clientData, deleteProc);
}

// ---- Definition commands ----------------------------------------------------

namespace {

// A new class; null with the message in the result.
zelTcl_TClass* CreateClass(Tcl_Interp* interp, Tcl_Obj* name) {
  zelTcl_TClass* theClass = nullptr;
  if (zel_New(theClass) != zel_kErrorNone) {
    Tcl_AppendResult(interp, "could not create class \"", Tcl_GetString(name),
                     "\": not enough memory", nullptr);
  } else if (theClass->Init(interp, name) != 0) {
    theClass->Retire();
    theClass = nullptr;
  }
  return theClass;
}

// A class on its way out takes no new methods, links or objects.
bool RefuseEndingClass(Tcl_Interp* interp, const zelTcl_TClass* theClass,
                       Tcl_Obj* name) {
  if (!theClass->IsEnding()) {
    return false;
  }
  Tcl_ResetResult(interp);
  Tcl_AppendResult(interp, "class \"", Tcl_GetString(name),
                   "\" is being deleted", nullptr);
  return true;
}

// Makes `superclass` a direct superclass unless it is an ancestor already.
int Link(Tcl_Interp* interp, zelTcl_TClass* theClass,
         zelTcl_TClass* superclass) {
  if (theClass->IsAncestor(superclass) != 0) {
    return TCL_OK;
  }
  if (theClass == superclass || superclass->IsAncestor(theClass) != 0) {
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "class \"", theClass->StringName(),
                     "\" is ancestor of class \"", superclass->StringName(),
                     "\"", nullptr);
    return TCL_ERROR;
  }
  return theClass->Inherit(interp, superclass);
}

// Asks Tcl's auto-loader for a class.
// Returns: false with the message in the result when it has no such command.
bool AutoLoad(Tcl_Interp* interp, Tcl_Obj* name) {
  const zelTcl_TObjRef command(Tcl_NewStringObj("auto_load", -1));
  Tcl_Obj* const words[] = {command.get(), name};
  // The answer counts, not the code: a failing loader does not answer 1.
  (void)Tcl_EvalObjv(interp, 2, words, 0);
  const bool loaded = atoi(Tcl_GetStringResult(interp)) == 1;
  Tcl_ResetResult(interp);
  if (!loaded) {
    Tcl_AppendResult(interp, "class \"", Tcl_GetString(name),
                     "\" does not exist", nullptr);
  }
  return loaded;
}

// The object whose method is running; null with the message in the result.
// `*running` receives its call, where the frame tells it.
zelTcl_TObject* RunningObject(Tcl_Interp* interp, Tcl_Obj* const objv[],
                              const zelTcl_TCall** running) {
  *running = zelTcl_TCall::Current(interp);
  if (*running != nullptr) {
    return (*running)->Object();
  }
  const zelTcl_TObjRef objName(
      zelTcl_Obj_ReadVariable(interp, zelTcl_kObjNameVar));
  if (objName.get() == nullptr) {
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "\"", Tcl_GetString(objv[0]),
                     "\" must be called in the context of a method", nullptr);
    return nullptr;
  }
  return zelTcl_Obj_ObjectFromTclObj(objName.get(), interp);
}

int ThisNRCmd(ClientData /*clientData*/, Tcl_Interp* interp, int objc,
              Tcl_Obj* const objv[]) {
  const zelTcl_TCall* running = nullptr;
  zelTcl_TObject* const object = RunningObject(interp, objv, &running);
  return object == nullptr
             ? TCL_ERROR
             : object->MethodDispatchNR(interp, objc, objv, running);
}

}  // namespace

int zel_MethodObjCmd(ClientData /*clientData*/, Tcl_Interp* interp, int objc,
                     Tcl_Obj* const objv[]) {
  if (objc != 5) {
    Tcl_WrongNumArgs(interp, 1, objv, "className methodName args body");
    return TCL_ERROR;
  }
  zelTcl_TClass* theClass = zelTcl_Obj_ClassFromTclObj(objv[1], nullptr);
  const bool created = theClass == nullptr;
  if (created) {
    theClass = CreateClass(interp, objv[1]);
  }
  if (theClass == nullptr || RefuseEndingClass(interp, theClass, objv[1])) {
    return TCL_ERROR;
  }
  zelTcl_TMethod* method = nullptr;
  int code = TCL_ERROR;
  if (zel_New(method) != zel_kErrorNone) {
    Tcl_AppendResult(interp, "could not create method \"",
                     theClass->StringName(), "::", Tcl_GetString(objv[2]),
                     "\": no more memory", nullptr);
  } else {
    code = method->Init(interp, theClass, objc, objv);
  }
  if (code != TCL_OK) {
    if (created) {
      theClass->Retire();
    }
    if (method != nullptr) {
      method->Retire();
    }
  }
  return code;
}

int zel_InheritObjCmd(ClientData /*clientData*/, Tcl_Interp* interp, int objc,
                      Tcl_Obj* const objv[]) {
  if (objc != 3) {
    Tcl_WrongNumArgs(interp, 1, objv, "<className> <superClassName>");
    return TCL_ERROR;
  }
  // Both are looked up before anything is loaded: a script that defines the
  // class named first as well has taken its name.
  const zelTcl_TRecordRef<zelTcl_TClass> known(
      zelTcl_Obj_ClassFromTclObj(objv[1], nullptr));
  zelTcl_TClass* superclass = zelTcl_Obj_ClassFromTclObj(objv[2], nullptr);
  if (superclass == nullptr) {
    if (!AutoLoad(interp, objv[2])) {
      return TCL_ERROR;
    }
    superclass = zelTcl_Obj_ClassFromTclObj(objv[2], interp);
    if (superclass == nullptr) {
      return TCL_ERROR;
    }
  }
  const zelTcl_TRecordRef<zelTcl_TClass> held(superclass);
  zelTcl_TClass* const theClass =
      known.get() != nullptr ? known.get() : CreateClass(interp, objv[1]);
  if (theClass == nullptr) {
    return TCL_ERROR;
  }
  int code = TCL_ERROR;
  if (!RefuseEndingClass(interp, theClass, objv[1]) &&
      !RefuseEndingClass(interp, superclass, objv[2])) {
    code = Link(interp, theClass, superclass);
  }
  if (code != TCL_OK && known.get() == nullptr) {
    theClass->Retire();
  }
  return code;
}

int zel_ThisObjCmd(ClientData /*clientData*/, Tcl_Interp* interp, int objc,
                   Tcl_Obj* const objv[]) {
  const zelTcl_TCall* running = nullptr;
  zelTcl_TObject* const object = RunningObject(interp, objv, &running);
  return object == nullptr
             ? TCL_ERROR
             : object->MethodDispatchCmd(interp, objc, objv, running);
}

// ---- Registries -------------------------------------------------------------

namespace {

zelTcl_TEntity* zelTclObjEntityFromTclObj(Tcl_Obj* name, Tcl_HashTable* table,
                                          Tcl_Interp* interp,
                                          const char* typeWord) {
  // Scripts that outlive an unload (a trace, a resumed coroutine) find nothing.
  Tcl_HashEntry* const entry =
      zelTcl_gObj_Interp == nullptr
          ? nullptr
          : Tcl_FindHashEntry(table, Tcl_GetString(name));
  if (entry != nullptr) {
    return EntityOf(entry);
  }
  if (interp != nullptr) {
    Tcl_AppendResult(interp, "there is no ", typeWord, " named \"",
                     Tcl_GetString(name), "\"", nullptr);
  }
  return nullptr;
}

char* CopyText(const char* text, std::size_t length) {
  char* copy = nullptr;
  (void)zel_Malloc(copy, static_cast<unsigned>(length + 1));
  if (copy != nullptr) {
    memcpy(copy, text, length + 1);
  }
  return copy;
}

char* CopyAsElement(const char* name) {
  const zelTcl_TObjRef element(zelTcl_Obj_NewElement(name));
  int length = 0;
  const char* const text = Tcl_GetStringFromObj(element.get(), &length);
  return CopyText(text, static_cast<std::size_t>(length));
}

}  // namespace

zelTcl_TEntity* zelTcl_Obj_EntityFromTclObj(zelTcl_TEntityType type,
                                            Tcl_Obj* name, Tcl_Interp* interp) {
  return zelTclObjEntityFromTclObj(name,
                                   type == zelTcl_kClassEntity
                                       ? &zelTcl_gObj_ClassTable
                                       : &zelTcl_gObj_ObjectTable,
                                   interp, zelTcl_kEntityTypeStrings[type]);
}

zelTcl_TClass* zelTcl_Obj_ClassFromTclObj(Tcl_Obj* name, Tcl_Interp* interp) {
  return static_cast<zelTcl_TClass*>(
      zelTcl_Obj_EntityFromTclObj(zelTcl_kClassEntity, name, interp));
}

zelTcl_TObject* zelTcl_Obj_ObjectFromTclObj(Tcl_Obj* name, Tcl_Interp* interp) {
  return static_cast<zelTcl_TObject*>(
      zelTcl_Obj_EntityFromTclObj(zelTcl_kObjectEntity, name, interp));
}

Tcl_HashTable* zelTcl_Obj_EntityHashTable(const zelTcl_TEntity* entity) {
  return entity->Type() == zelTcl_kClassEntity ? &zelTcl_gObj_ClassTable
                                               : &zelTcl_gObj_ObjectTable;
}

void zelTcl_Obj_RegisterEntity(zelTcl_TEntity* entity) {
  int isNew = 0;
  gEntering = entity;
  Tcl_HashEntry* const entry =
      Tcl_CreateHashEntry(entity->Table(), entity->StringName(), &isNew);
  gEntering = nullptr;
  if (isNew == 0) {
    fprintf(stderr,
            "PANIC: can't register %s \"%s\": %s with this name is already "
            "registered\n",
            entity->TypeString(), entity->StringName(), entity->TypeString());
    return;
  }
  Tcl_SetHashValue(entry, entity);
}

void zelTcl_Obj_DeregisterEntity(zelTcl_TEntity* entity) {
  if (!entity->IsRegistered()) {
    fprintf(stderr,
            "PANIC: can't deregister %s \"%s\": this %s is not registered\n",
            entity->TypeString(), entity->StringName(), entity->TypeString());
    return;
  }
  Tcl_DeleteHashEntry(entity->OwnEntry());
}

char* zelTcl_Obj_NewText(const char* first, const char* second,
                         const char* third) {
  const char* const pieces[] = {first, second, third};
  const std::size_t lengths[] = {strlen(first), strlen(second), strlen(third)};
  char* text = nullptr;
  (void)zel_Malloc(
      text, static_cast<unsigned>(lengths[0] + lengths[1] + lengths[2] + 1));
  if (text != nullptr) {
    char* end = text;
    for (int i = 0; i < 3; ++i) {
      memcpy(end, pieces[i], lengths[i]);
      end += lengths[i];
    }
    *end = '\0';
  }
  return text;
}

Tcl_Obj* zelTcl_Obj_NewElement(const char* name) {
  Tcl_Obj* const element = Tcl_NewStringObj(name, -1);
  return Tcl_NewListObj(1, &element);
}

void zelTcl_Obj_ReportNoNames(Tcl_Interp* interp, const char* name) {
  if (interp != nullptr) {
    Tcl_AppendResult(interp, "could not create string names for \"", name,
                     "\": not enough memory", nullptr);
  }
}

int zelTcl_Obj_UpdateStringNames(const char* name, char** stringName,
                                 char** protectedString, Tcl_Interp* interp) {
  char* string = CopyText(name, strlen(name));
  char* quoted = string == nullptr || zelTcl_Obj_IsWord(name)
                     ? string
                     : CopyAsElement(name);
  if (quoted == nullptr) {
    zel_TestAndFree(string);
    zelTcl_Obj_ReportNoNames(interp, name);
    return 1;
  }
  zelTcl_Obj_FreeStringNames(stringName, protectedString);
  *stringName = string;
  *protectedString = quoted;
  return 0;
}

void zelTcl_Obj_FreeStringNames(char** stringName, char** protectedString) {
  if (*protectedString == *stringName) {
    *protectedString = nullptr;
  }
  zel_TestAndFree(*protectedString);
  zel_TestAndFree(*stringName);
}

// ---- Variables --------------------------------------------------------------

namespace {

// How the helper procedures can be asked about a name. They import the variable
// under the last part of its name, which then hides a parameter of that name.
bool IsOneOf(const char* name, std::initializer_list<const char*> params) {
  const char* const tail = zelTcl_Internal_NameTail(name);
  for (const char* const param : params) {
    if (strcmp(tail, param) == 0) {
      return true;
    }
  }
  return false;
}

// `second` is null for the helper with one argument.
int CallHelper(Tcl_Interp* interp, const char* helper, Tcl_Obj* first,
               Tcl_Obj* second) {
  const zelTcl_TObjRef name(Tcl_NewStringObj(helper, -1));
  const zelTcl_TObjRef heldFirst(first);
  const zelTcl_TObjRef heldSecond(second);
  Tcl_Obj* const words[] = {name.get(), first, second};
  return Tcl_EvalObjv(interp, second == nullptr ? 2 : 3, words,
                      TCL_EVAL_GLOBAL);
}

}  // namespace

bool zelTcl_Obj_IsWord(const char* text) {
  const char* end = text;
  while ((*end >= 'a' && *end <= 'z') || (*end >= 'A' && *end <= 'Z') ||
         (*end >= '0' && *end <= '9') || *end == '_') {
    ++end;
  }
  return *end == '\0' && end != text;
}

bool zelTcl_Obj_IsSimpleName(const char* name) {
  while (*name != '\0' && *name != '(' && !(name[0] == ':' && name[1] == ':')) {
    ++name;
  }
  return *name == '\0';
}

Tcl_Obj* zelTcl_Obj_ImplicitVarName(zelTcl_TImplicitVar which) {
  return gImplicitVarNames[which];
}

Tcl_Obj* zelTcl_Obj_ReadVariable(Tcl_Interp* interp,
                                 zelTcl_TImplicitVar which) {
  Tcl_Obj* const name = gImplicitVarNames[which];
  return name == nullptr ? nullptr : Tcl_ObjGetVar2(interp, name, nullptr, 0);
}

// While the helper procedure is the one made at start, what it would answer for
// a plain variable is found out directly, and a name that it cannot import is
// asked about in its place. Otherwise it is called.
int zelTcl_Obj_GlobalExists(Tcl_Interp* interp, Tcl_Obj* name, int* exists) {
  const char* const text = Tcl_GetString(name);
  const bool untouched = zelTcl_Internal_IsUntouched(gVarExistHelper);
  int code = TCL_OK;
  if (untouched && IsOneOf(text, {"varName"})) {
    Tcl_Obj* const global = Tcl_NewStringObj("::", -1);
    Tcl_AppendObjToObj(global, name);
    code = CallHelper(interp, "::info", Tcl_NewStringObj("exists", -1), global);
  } else {
    const zelTcl_TGlobalVarState state =
        untouched && zelTcl_Obj_IsSimpleName(text)
            ? zelTcl_Internal_SimpleGlobalState(interp, name)
            : zelTcl_TGlobalVarState::kTraced;
    if (state != zelTcl_TGlobalVarState::kTraced) {
      *exists = state == zelTcl_TGlobalVarState::kAbsent ? 0 : 1;
      return TCL_OK;
    }
    code = CallHelper(interp, zelTcl_gObj_VarExistProcName, name, nullptr);
  }
  if (code == TCL_OK) {
    code = Tcl_GetIntFromObj(interp, Tcl_GetObjResult(interp), exists);
    Tcl_ResetResult(interp);
  }
  return code;
}

int zelTcl_Obj_GlobalExists(Tcl_Interp* interp, const char* name, int* exists) {
  const zelTcl_TObjRef value(Tcl_NewStringObj(name, -1));
  return zelTcl_Obj_GlobalExists(interp, value.get(), exists);
}

int zelTcl_Obj_CloneGlobalArray(Tcl_Interp* interp, const char* source,
                                const char* destination) {
  // Called for a traced array, so that its array trace fires, unless the names
  // are such that the procedure cannot import both.
  if (zelTcl_Internal_IsUntouched(gCloneArrayHelper) &&
      (zelTcl_Internal_GlobalState(interp, source) !=
           zelTcl_TGlobalVarState::kTraced ||
       !zelTcl_Obj_IsSimpleName(source) ||
       !zelTcl_Obj_IsSimpleName(destination) ||
       IsOneOf(source, {"src", "dst"}) ||
       IsOneOf(destination, {"src", "dst"}))) {
    return zelTcl_Internal_CopyGlobalArray(interp, source, destination);
  }
  const zelTcl_TObjRef from(Tcl_NewStringObj(source, -1));
  const zelTcl_TObjRef to(Tcl_NewStringObj(destination, -1));
  const int code =
      CallHelper(interp, zelTcl_gObj_CloneArrayProcName, from.get(), to.get());
  if (code == TCL_OK) {
    Tcl_ResetResult(interp);
  }
  return code;
}

bool zelTcl_Obj_MovesUnseen(Tcl_Interp* interp, const char* name) {
  return zelTcl_Internal_IsUntouched(gVarExistHelper) &&
         zelTcl_Internal_IsUntouched(gCloneArrayHelper) &&
         zelTcl_Obj_IsSimpleName(name) && !IsOneOf(name, {"varName"}) &&
         !zelTcl_Internal_IsArrayTraced(interp, name);
}

// ---- Conversions ------------------------------------------------------------

namespace {

const char* TextOf(const zel_TListElem* element) {
  return static_cast<const char*>(element->Value());
}

// The key of an entry of a registry or of a table of strings.
const char* KeyText(Tcl_HashTable* table, Tcl_HashEntry* entry) {
  return table->typePtr == &kRegistryKeys
             ? EntityOf(entry)->StringName()
             : static_cast<const char*>(Tcl_GetHashKey(table, entry));
}

}  // namespace

void zelTcl_Obj_AppendOptionList(Tcl_Interp* interp, const zel_TList* list) {
  for (const zel_TListElem* element = list->head; element != nullptr;
       element = element->next) {
    if (element != list->head) {
      Tcl_AppendResult(interp, ", ", element->next == nullptr ? "or " : "",
                       nullptr);
    }
    Tcl_AppendResult(interp, TextOf(element), nullptr);
  }
}

int zelTcl_Obj_ReportList(Tcl_Interp* interp) {
  SetResult(interp,
            "could not create list: error while adding elements to the list");
  return TCL_ERROR;
}

int zelTcl_Obj_ListToObj(Tcl_Interp* interp, const zel_TList* list,
                         Tcl_Obj** out) {
  Tcl_Obj* const result = Tcl_NewListObj(0, nullptr);
  for (const zel_TListElem* element = list->head; element != nullptr;
       element = element->next) {
    if (Tcl_ListObjAppendElement(
            nullptr, result, Tcl_NewStringObj(TextOf(element), -1)) != TCL_OK) {
      const zelTcl_TObjRef dropped(result);
      return zelTcl_Obj_ReportList(interp);
    }
  }
  *out = result;
  return TCL_OK;
}

int zelTcl_Obj_HashToList(Tcl_Interp* interp, Tcl_HashTable* table,
                          zel_TList** out, zel_TListSortFunc comparator) {
  zel_TList* list = nullptr;
  zel_TError error = zel_NewAndInit(list);
  Tcl_HashSearch search;
  for (Tcl_HashEntry* entry = Tcl_FirstHashEntry(table, &search);
       entry != nullptr && error == zel_kErrorNone;
       entry = Tcl_NextHashEntry(&search)) {
    // The list's values are untyped; nobody writes to these.
    error =
        list->AppendValue(const_cast<char*>(KeyText(table, entry)), nullptr);
  }
  const char* problem = "no more memory";
  if (error == zel_kErrorNone && comparator != nullptr) {
    problem = "error while sorting the list";
    error = list->Sort(comparator);
  }
  if (error != zel_kErrorNone) {
    zel_TestDisposeAndDelete(list);
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "could not create list from hash table: ", problem,
                     nullptr);
    return TCL_ERROR;
  }
  *out = list;
  return TCL_OK;
}

int zelTcl_Obj_StringHashTableToObj(Tcl_Interp* interp, Tcl_HashTable* table,
                                    Tcl_Obj** out, int sorted) {
  zelTcl_TNames names;
  if (names.Reserve(static_cast<unsigned>(table->numEntries)) !=
      zel_kErrorNone) {
    SetResult(interp, "could not create list from hash table: no more memory");
    return TCL_ERROR;
  }
  Tcl_HashSearch search;
  for (Tcl_HashEntry* entry = Tcl_FirstHashEntry(table, &search);
       entry != nullptr; entry = Tcl_NextHashEntry(&search)) {
    names.Add(KeyText(table, entry), nullptr);
  }
  if (sorted != 0) {
    names.Sort();
  }
  Tcl_Obj* const result = names.NewListObj();
  if (result == nullptr) {
    SetResult(interp,
              "could not create list from hash table: error while adding "
              "elements to the list");
    return TCL_ERROR;
  }
  *out = result;
  return TCL_OK;
}

int zelTcl_Obj_EntityListToStringNameObjList(Tcl_Interp* interp,
                                             const zel_TList* list,
                                             Tcl_Obj** out, int sorted) {
  unsigned count = 0;
  for (const zel_TListElem* element = list->head; element != nullptr;
       element = element->next) {
    ++count;
  }
  zelTcl_TNames names;
  if (names.Reserve(count) != zel_kErrorNone) {
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "could not create list of names: no more memory",
                     nullptr);
    return TCL_ERROR;
  }
  for (const zel_TListElem* element = list->head; element != nullptr;
       element = element->next) {
    auto* const entity = static_cast<zelTcl_TEntity*>(element->Value());
    names.Add(entity->StringName(), entity->NameObj());
  }
  if (sorted != 0) {
    names.Sort();
  }
  Tcl_Obj* const result = names.NewListObj();
  if (result == nullptr) {
    SetResult(interp,
              "could not create name list: error while adding elements to the "
              "list");
    return TCL_ERROR;
  }
  *out = result;
  return TCL_OK;
}

void zelTcl_Obj_DeleteTextList(zel_TList* list) {
  for (zel_TListElem* element = list->head; element != nullptr;
       element = element->next) {
    free(element->value);
  }
  zel_DisposeAndDelete(list);
}
