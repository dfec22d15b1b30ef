#include "tclobj/zelTcl_Class.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "foundation/zel_Alloc.h"

#include "tclobj/zelTcl_Handles.h"
#include "tclobj/zelTcl_Internal.h"
#include "tclobj/zelTcl_Method.h"
#include "tclobj/zelTcl_Names.h"
#include "tclobj/zelTcl_Obj_Init.h"
#include "tclobj/zelTcl_Object.h"

namespace {

std::uint64_t gLastWalk = 0;

// See MethodNames.
Tcl_Obj* gMethodNames = nullptr;
const zelTcl_TClass* gMethodNamesOf = nullptr;

// Called by whatever changes the methods that some class has or inherits.
void ForgetMethodNames() {
  if (gMethodNames != nullptr) {
    zelTcl_SetObj(&gMethodNames, nullptr);
    gMethodNamesOf = nullptr;
  }
}

zelTcl_TClass* ClassOf(const zel_TListElem* element) {
  return static_cast<zelTcl_TClass*>(element->Value());
}

zel_TError AppendOwnedText(zel_TList* list, char* text) {
  const zel_TError error =
      text == nullptr ? zel_gErrorMemFull : list->AppendValue(text, nullptr);
  if (error != zel_kErrorNone) {
    zel_TestAndFree(text);
  }
  return error;
}

// Finishes a construction whose constructor was queued on Tcl's trampoline.
int ConstructedNR(ClientData data[], Tcl_Interp* interp, int result) {
  auto* const object = static_cast<zelTcl_TObject*>(data[0]);
  auto* const name = static_cast<Tcl_Obj*>(data[1]);
  const int code = object->FinishConstruction(interp, name, result);
  if (code == TCL_OK) {
    Tcl_SetObjResult(interp, name);
  } else {
    object->Retire();
  }
  Tcl_DecrRefCount(name);
  object->Release();
  return code;
}

}  // namespace

// A walk up the inheritance graph from one class: Next gives each ancestor
// once, in depth-first pre-order, without the class itself. Only one walk is
// under way at a time.
class zelTcl_TClass::TWalk {
 public:
  explicit TWalk(zelTcl_TClass* start) : current_(start) {
    serial_ = ++gLastWalk;
    start->walkSerial = serial_;
    start->walkFrom = nullptr;
    start->walkNext = FirstSuperclass(start);
  }

  // Passes a class over: it is neither given nor searched.
  void Skip(zelTcl_TClass* theClass) { theClass->walkSerial = serial_; }

  zelTcl_TClass* Next() {
    while (current_ != nullptr) {
      zel_TListElem* const element = current_->walkNext;
      if (element == nullptr) {
        current_ = current_->walkFrom;
        continue;
      }
      current_->walkNext = element->Next();
      zelTcl_TClass* const found = ClassOf(element);
      if (found->walkSerial != serial_) {
        found->walkSerial = serial_;
        found->walkFrom = current_;
        found->walkNext = FirstSuperclass(found);
        current_ = found;
        return found;
      }
    }
    return nullptr;
  }

 private:
  static zel_TListElem* FirstSuperclass(const zelTcl_TClass* theClass) {
    return theClass->superclasses->Head();
  }

  std::uint64_t serial_ = 0;
  zelTcl_TClass* current_;
};

// ---- Creation and the class command -----------------------------------------

int zelTcl_TClass::Init(Tcl_Interp* interp, Tcl_Obj* name) {
  const int code = zelTcl_TEntity::Init(zelTcl_kClassEntity, interp, name);
  if (code != TCL_OK) {
    return code;
  }
  Tcl_InitHashTable(&methodTable, TCL_STRING_KEYS);
  methodTableReady = 1;
  if (zel_NewAndInit(objectList) != zel_kErrorNone ||
      zel_NewAndInit(superclasses) != zel_kErrorNone ||
      zel_NewAndInit(specializations) != zel_kErrorNone) {
    Tcl_AppendResult(interp, "not enough memory", nullptr);
    Dispose();
    return 1;
  }
  int result = 0;
  if (zelTcl_gObj_RootClass != nullptr) {
    result = Inherit(interp, zelTcl_gObj_RootClass);
  } else if (!zelTcl_gObj_RootClassGone) {
    zelTcl_gObj_RootClass = this;
  }
  state = zelTcl_kReady;
  return result;
}

zelTcl_TObject* zelTcl_TClass::NewObject(Tcl_Interp* interp, int objc,
                                         Tcl_Obj* const objv[]) {
  if (objc < 2) {
    Tcl_AppendResult(interp, "wrong # args: should be \"", ProtectedString(),
                     " <objName> ...\"", nullptr);
    return nullptr;
  }
  if (ending) {
    Tcl_AppendResult(interp, "could not create object \"",
                     Tcl_GetString(objv[1]), "\": class \"", StringName(),
                     "\" is being deleted", nullptr);
    return nullptr;
  }
  zelTcl_TObject* object = nullptr;
  if (zel_New(object) != zel_kErrorNone) {
    Tcl_AppendResult(interp, "could not create object \"",
                     Tcl_GetString(objv[1]), "\": not enough memory", nullptr);
  }
  return object;
}

int zelTcl_TClass::CommandHandler(Tcl_Interp* interp, int objc,
                                  Tcl_Obj* const objv[]) {
  zelTcl_TObject* const object = NewObject(interp, objc, objv);
  if (object == nullptr) {
    return TCL_ERROR;
  }
  const zelTcl_TRecordRef<zelTcl_TObject> held(object);
  const int code = object->Init(interp, this, objc, objv);
  if (code != TCL_OK) {
    object->Retire();
    return code;
  }
  Tcl_SetObjResult(interp, objv[1]);
  return TCL_OK;
}

int zelTcl_TClass::CommandHandlerNR(Tcl_Interp* interp, int objc,
                                    Tcl_Obj* const objv[]) {
  zelTcl_TObject* const object = NewObject(interp, objc, objv);
  if (object == nullptr) {
    return TCL_ERROR;
  }
  zelTcl_TMethod* constructor = nullptr;
  const int code =
      object->BeginConstruction(interp, this, objc, objv, &constructor);
  if (code != TCL_OK) {
    object->Retire();
    return code;
  }
  if (constructor == nullptr) {
    Tcl_SetObjResult(interp, objv[1]);
    return TCL_OK;
  }
  object->Preserve();
  Tcl_IncrRefCount(objv[1]);
  Tcl_NRAddCallback(interp, ConstructedNR, object, objv[1], nullptr, nullptr);
  return constructor->ExecuteNR(interp, object, objc - 2, objv + 2, 1);
}

// ---- Lookup -----------------------------------------------------------------

inline zelTcl_TMethod* zelTcl_TClass::OwnMethod(const zelTcl_TMethodKey& key) {
  const unsigned bucket = key.hash % kNbBuckets;
  if ((filter >> bucket & 1U) == 0) {
    return nullptr;
  }
  zelTcl_TMethod* method = buckets[bucket];
  while (method != nullptr && !method->HasName(key)) {
    method = method->NextInBucket();
  }
  return method;
}

zelTcl_TMethod* zelTcl_TClass::FindMethod(const zelTcl_TMethodKey& key,
                                          int flags) {
  if ((flags & zelTcl_kFindOwn) != 0) {
    zelTcl_TMethod* const method = OwnMethod(key);
    if (method != nullptr) {
      return method;
    }
  }
  if ((flags & zelTcl_kFindInherited) != 0 &&
      (reach >> key.hash % kNbBuckets & 1U) != 0) {
    // The walk begins straight up from first superclass to first superclass,
    // where nothing can be met twice: this far it needs no way back, and most
    // methods are found.
    for (zelTcl_TClass* ancestor = firstSuperclass; ancestor != nullptr;
         ancestor = ancestor->firstSuperclass) {
      zelTcl_TMethod* const method = ancestor->OwnMethod(key);
      if (method != nullptr) {
        return method;
      }
    }
    TWalk walk(this);
    while (zelTcl_TClass* const ancestor = walk.Next()) {
      zelTcl_TMethod* const method = ancestor->OwnMethod(key);
      if (method != nullptr) {
        return method;
      }
    }
  }
  return nullptr;
}

zelTcl_TMethod* zelTcl_TClass::FindMethod(Tcl_Obj* name, Tcl_Interp* interp,
                                          int flags) {
  const zelTcl_TMethodKey key(Tcl_GetString(name));
  zelTcl_TMethod* const method = FindMethod(key, flags);
  if (method == nullptr && interp != nullptr) {
    ReportNoMethod(interp, key.name, flags);
  }
  return method;
}

void zelTcl_TClass::ReportNoMethod(Tcl_Interp* interp, const char* key,
                                   int flags) {
  if ((flags & zelTcl_kFindOwn) == 0) {
    Tcl_AppendResult(interp, "\"", StringName(),
                     "\" does not specialize the method \"", key, "\"",
                     nullptr);
    return;
  }
  Tcl_AppendResult(interp, "wrong method \"", key, "\"", nullptr);
  zel_TList* names = nullptr;
  if (FullMethodList(&names, 0) != zel_kErrorNone) {
    return;
  }
  if (names->Head() == nullptr) {
    Tcl_AppendResult(interp, ": class \"", StringName(), "\" has no methods\"",
                     nullptr);
  } else {
    Tcl_AppendResult(interp, ": should be ", nullptr);
    zelTcl_Obj_AppendOptionList(interp, names);
  }
  zelTcl_Obj_DeleteTextList(names);
}

// ---- Lists over the graph ---------------------------------------------------

zelTcl_TMethodSet::~zelTcl_TMethodSet() {
  zel_TestAndFree(methods);
}

// Enters the method unless one of its name is there: an open table of twice the
// size, probed from the name's hash.
bool zelTcl_TMethodSet::IsNew(zelTcl_TMethod* method) {
  const zelTcl_TMethodKey key(method->StringName(), method->NameHash());
  unsigned slot = key.hash & mask;
  while (seen[slot] != nullptr) {
    if (seen[slot]->HasName(key)) {
      return false;
    }
    slot = (slot + 1) & mask;
  }
  seen[slot] = method;
  return true;
}

zel_TError zelTcl_TMethodSet::Collect(zelTcl_TClass* theClass) {
  unsigned most = 0;
  zelTcl_TClass::TWalk counting(theClass);
  for (zelTcl_TClass* from = theClass; from != nullptr;
       from = counting.Next()) {
    most += from->NbMethods();
  }
  mask = 1;
  while (mask < 2 * most) {
    mask = 2 * mask + 1;
  }
  // One block for both.
  const zel_TError error = zel_Malloc(methods, most + mask + 1);
  if (error != zel_kErrorNone) {
    return error;
  }
  seen = methods + most;
  std::fill_n(seen, mask + 1, nullptr);
  zelTcl_TClass::TWalk walk(theClass);
  for (zelTcl_TClass* from = theClass; from != nullptr; from = walk.Next()) {
    if (from->NbMethods() == 0) {
      continue;
    }
    for (zelTcl_TMethod* method :
         zelTcl_THashValues<zelTcl_TMethod>(from->MethodTable())) {
      if (IsNew(method)) {
        methods[count++] = method;
      }
    }
  }
  return zel_kErrorNone;
}

zel_TError zelTcl_TClass::FullMethodList(zel_TList** list, int withPrefix) {
  *list = nullptr;
  zelTcl_TMethodSet methods;
  zel_TError error = methods.Collect(this);
  zel_TList* result = nullptr;
  if (error == zel_kErrorNone) {
    error = zel_NewAndInit(result);
  }
  for (const zelTcl_TMethod* method : methods) {
    if (error != zel_kErrorNone) {
      break;
    }
    error = AppendOwnedText(
        result, withPrefix != 0 && method->Class() != this
                    ? zelTcl_Obj_NewText(method->Class()->StringName(),
                                         "::", method->StringName())
                    : zelTcl_Obj_NewText(method->StringName(), "", ""));
  }
  if (error == zel_kErrorNone && withPrefix == 0) {
    error = result->Sort(zel_ListSortStringFunc);
  }
  if (error == zel_kErrorNone) {
    *list = result;
  } else if (result != nullptr) {
    zelTcl_Obj_DeleteTextList(result);
  }
  return error;
}

Tcl_Obj* zelTcl_TClass::MethodNames(zel_TError* error) {
  *error = zel_kErrorNone;
  if (gMethodNamesOf == this) {
    return gMethodNames;
  }
  zelTcl_TMethodSet methods;
  zelTcl_TNames sorted;
  *error = methods.Collect(this);
  if (*error == zel_kErrorNone) {
    *error = sorted.Reserve(methods.Count());
  }
  if (*error != zel_kErrorNone) {
    return nullptr;
  }
  for (const zelTcl_TMethod* method : methods) {
    sorted.Add(method->StringName(), method->NameObj());
  }
  sorted.Sort();
  Tcl_Obj* const names = sorted.NewListObj();
  if (names != nullptr) {
    zelTcl_SetObj(&gMethodNames, names);
    gMethodNamesOf = this;
  }
  return names;
}

int zelTcl_TClass::IsAncestor(zelTcl_TClass* other) {
  TWalk walk(this);
  while (const zelTcl_TClass* const ancestor = walk.Next()) {
    if (ancestor == other) {
      return 1;
    }
  }
  return 0;
}

zel_TError zelTcl_TClass::CreateRecursiveAncestorList(zel_TList** list) {
  zel_TList* result = *list;
  if (result == nullptr) {
    const zel_TError error = zel_NewAndInit(result);
    if (error != zel_kErrorNone) {
      return error;
    }
  }
  TWalk walk(this);
  for (const zel_TListElem* element = result->Head(); element != nullptr;
       element = element->Next()) {
    walk.Skip(ClassOf(element));
  }
  zel_TError error = zel_kErrorNone;
  zelTcl_TClass* ancestor = nullptr;
  while (error == zel_kErrorNone && (ancestor = walk.Next()) != nullptr) {
    error = result->AppendValue(ancestor, nullptr);
  }
  if (*list == nullptr) {
    if (error != zel_kErrorNone) {
      zel_DisposeAndDelete(result);
    }
    *list = result;
  }
  return error;
}

// ---- Links and registrations ------------------------------------------------

int zelTcl_TClass::Inherit(Tcl_Interp* interp, zelTcl_TClass* superclass) {
  zel_TListElem* up = nullptr;
  zel_TListElem* down = nullptr;
  if (zel_NewAndInit(up) != zel_kErrorNone ||
      zel_NewAndInit(down) != zel_kErrorNone) {
    zel_TestDisposeAndDelete(up);
    Tcl_AppendResult(interp, "not enough memory", nullptr);
    return 1;
  }
  ForgetMethodNames();
  up->value = superclass;
  superclasses->InsertElem(up);
  firstSuperclass = superclass;
  down->value = this;
  superclass->specializations->AppendElem(down);
  Reach(superclass->reach);
  return 0;
}

// Adds the bits to the class and to all below it. Those that have them already
// have passed them on. The way back is kept as in a walk upwards.
void zelTcl_TClass::Reach(std::uint64_t bits) {
  if ((bits & ~reach) == 0) {
    return;
  }
  reach |= bits;
  walkFrom = nullptr;
  walkNext = specializations->Head();
  zelTcl_TClass* current = this;
  while (current != nullptr) {
    const zel_TListElem* const element = current->walkNext;
    if (element == nullptr) {
      current = current->walkFrom;
      continue;
    }
    current->walkNext = element->Next();
    zelTcl_TClass* const below = ClassOf(element);
    if ((bits & ~below->reach) != 0) {
      below->reach |= bits;
      below->walkFrom = current;
      below->walkNext = below->specializations->Head();
      current = below;
    }
  }
}

void zelTcl_TClass::DeInherit(zelTcl_TClass* superclass) {
  ForgetMethodNames();
  superclasses->RemoveValue(superclass);
  firstSuperclass =
      superclasses->Head() == nullptr ? nullptr : ClassOf(superclasses->Head());
  superclass->specializations->RemoveValue(this);
}

void zelTcl_TClass::RegisterMethod(zelTcl_TMethod* method) {
  ForgetMethodNames();
  int isNew = 0;
  Tcl_HashEntry* entry =
      Tcl_CreateHashEntry(&methodTable, method->StringName(), &isNew);
  if (isNew == 0) {
    // The one defined before takes its entry along.
    static_cast<zelTcl_TMethod*>(Tcl_GetHashValue(entry))->Retire();
    entry = Tcl_CreateHashEntry(&methodTable, method->StringName(), &isNew);
  }
  Tcl_SetHashValue(entry, method);
  const unsigned bucket = method->NameHash() % kNbBuckets;
  method->EnterBucket(&buckets[bucket]);
  filter |= std::uint64_t{1} << bucket;
  Reach(filter);
}

void zelTcl_TClass::DeregisterMethod(zelTcl_TMethod* method) {
  ForgetMethodNames();
  Tcl_HashEntry* const entry =
      Tcl_FindHashEntry(&methodTable, method->StringName());
  if (entry == nullptr) {
    fputs(
        "PANIC: can't deregister a method from its class when its not in the "
        "class's method table\n",
        stderr);
    return;
  }
  Tcl_DeleteHashEntry(entry);
  const unsigned bucket = method->NameHash() % kNbBuckets;
  method->LeaveBucket(&buckets[bucket]);
  if (buckets[bucket] == nullptr) {
    filter &= ~(std::uint64_t{1} << bucket);
  }
}

void zelTcl_TClass::RegisterObject(zel_TListElem* element) {
  objectList->AppendElem(element);
}

void zelTcl_TClass::DeregisterObject(zel_TListElem* element) {
  objectList->RemoveElem(element);
}

// ---- The end ----------------------------------------------------------------

void zelTcl_TClass::Dispose() {
  ending = true;
  if (zelTcl_gObj_RootClass == this) {
    // Later classes do without a root class rather than inherit a dead one.
    zelTcl_gObj_RootClass = nullptr;
    zelTcl_gObj_RootClassGone = true;
  }
  if (superclasses != nullptr && StringName() != nullptr) {
    // Without the list, creation failed early, and a variable of the name is
    // someone else's.
    (void)Tcl_UnsetVar(zelTcl_Obj_Interp(), StringName(), TCL_GLOBAL_ONLY);
  }
  DisposeObjects();
  if (superclasses != nullptr && StringName() != nullptr) {
    // Destructors that count the objects have made the array anew.
    (void)Tcl_UnsetVar(zelTcl_Obj_Interp(), StringName(), TCL_GLOBAL_ONLY);
  }
  DisposeLinks();
  DisposeMethods();
  zelTcl_TEntity::Dispose();
}

// Destructors may do anything, ending this class included: the list is looked
// at afresh after each.
void zelTcl_TClass::DisposeObjects() {
  while (objectList != nullptr && objectList->Head() != nullptr) {
    static_cast<zelTcl_TObject*>(objectList->Head()->Value())->Retire();
  }
}

void zelTcl_TClass::DisposeLinks() {
  while (superclasses != nullptr && superclasses->Head() != nullptr) {
    DeInherit(ClassOf(superclasses->Head()));
  }
  while (specializations != nullptr && specializations->Head() != nullptr) {
    ClassOf(specializations->Head())->DeInherit(this);
  }
}

void zelTcl_TClass::DisposeMethods() {
  while (NbMethods() != 0) {
    zelTcl_FirstHashValue<zelTcl_TMethod>(&methodTable)->Retire();
  }
}

zelTcl_TClass::~zelTcl_TClass() {
  ForgetMethodNames();
  zel_TestDisposeAndDelete(objectList);
  zel_TestDisposeAndDelete(superclasses);
  zel_TestDisposeAndDelete(specializations);
  if (methodTableReady != 0) {
    Tcl_DeleteHashTable(&methodTable);
  }
}
