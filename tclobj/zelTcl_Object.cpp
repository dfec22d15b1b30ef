#include "tclobj/zelTcl_Object.h"

#include <cstring>

#include "tclobj/zelTcl_Call.h"
#include "tclobj/zelTcl_Class.h"
#include "tclobj/zelTcl_Handles.h"
#include "tclobj/zelTcl_Method.h"
#include "tclobj/zelTcl_Obj_Init.h"

// ---- Construction -----------------------------------------------------------

zelTcl_TObject::zelTcl_TObject()
    : inDestructor(false),
      destructorPending(false),
      beingDestructed(false),
      leavesArray(false) {
  (void)classElement.Init();  // cannot fail
  classElement.value = this;
}

int zelTcl_TObject::Init(Tcl_Interp* interp, zelTcl_TClass* theClass, int objc,
                         Tcl_Obj* const objv[]) {
  zelTcl_TMethod* constructor = nullptr;
  const int code =
      BeginConstruction(interp, theClass, objc, objv, &constructor);
  if (code != TCL_OK || constructor == nullptr) {
    return code;
  }
  const zelTcl_TObjRef name(objv[1]);
  return FinishConstruction(
      interp, name.get(),
      constructor->Execute(interp, this, objc - 2, objv + 2, 1));
}

int zelTcl_TObject::BeginConstruction(Tcl_Interp* interp,
                                      zelTcl_TClass* theClass, int objc,
                                      Tcl_Obj* const objv[],
                                      zelTcl_TMethod** constructor) {
  *constructor = nullptr;
  objectClass = theClass;
  theClass->Preserve();
  const int code = zelTcl_TEntity::Init(zelTcl_kObjectEntity, interp, objv[1]);
  if (code != TCL_OK) {
    return code;
  }
  if (objectClass->IsEnding()) {
    Tcl_AppendResult(interp, "could not create object \"", StringName(),
                     "\": class \"", Tcl_GetString(objv[0]),
                     "\" is being deleted", nullptr);
    return TCL_ERROR;
  }
  *constructor = objectClass->FindMethod(zelTcl_gObj_ConstructorStringObj,
                                         nullptr, zelTcl_kFindAll);
  if (*constructor == nullptr && objc > 2) {
    Tcl_SetObjResult(
        interp, Tcl_NewStringObj("too many args: there is no constructor", -1));
    return TCL_ERROR;
  }
  objectClass->RegisterObject(&classElement);
  destructorPending = true;
  if (*constructor == nullptr) {
    state = zelTcl_kReady;
  } else {
    ShareName(objv[1]);
  }
  return TCL_OK;
}

int zelTcl_TObject::FinishConstruction(Tcl_Interp* interp, Tcl_Obj* name,
                                       int code) {
  if (state == zelTcl_kCommandLost) {
    Tcl_AppendResult(interp, "object \"", StringName(),
                     "\" construction failed: constructor created an object, "
                     "class or procedure with the same name",
                     nullptr);
    code = TCL_ERROR;
  } else if (IsGone() && code == TCL_OK) {
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "object \"", Tcl_GetString(name),
                     "\" construction failed: constructor deleted the object",
                     nullptr);
    code = TCL_ERROR;
  }
  if (code == TCL_OK) {
    state = zelTcl_kReady;
    return TCL_OK;
  }
  // What was never constructed is not destructed; its array stays for the
  // script to look at.
  destructorPending = false;
  const zelTcl_TObjRef result(Tcl_GetObjResult(interp));
  const zelTcl_TObjRef trace(
      Tcl_GetVar2Ex(interp, "errorInfo", nullptr, TCL_GLOBAL_ONLY));
  Dispose();
  if (Tcl_GetObjResult(interp) != result.get() && trace.get() != nullptr) {
    const zelTcl_TObjRef tail(Tcl_NewStringObj("\n\n", -1));
    Tcl_AppendObjToObj(tail.get(), trace.get());
    Tcl_AppendObjToErrorInfo(interp, tail.get());
  }
  return TCL_ERROR;
}

// ---- Fast path: plain method words ------------------------------------------
//
// A word without colons that is not "inherited" keeps the hash of its text in
// its value, as Tcl's own words keep what they were found to mean. It says
// nothing about any class or method, so nothing can make it wrong.

namespace {

// No functions: the hash owns nothing, and the text is always there.
const Tcl_ObjType kPlainWordType = {"zelMethodWord", nullptr, nullptr, nullptr,
                                    nullptr};

bool IsPlainWord(const Tcl_Obj* word) {
  return word->typePtr == &kPlainWordType;
}

zelTcl_TMethodKey KeyOfPlainWord(const Tcl_Obj* word) {
  return {word->bytes, static_cast<std::uint32_t>(word->internalRep.longValue)};
}

// Leaves a word alone that is a number, a list or the like at the same time.
void RememberPlainWord(Tcl_Obj* word, std::uint32_t hash) {
  if (zelTcl_kFastPaths && word->typePtr == nullptr) {
    word->typePtr = &kPlainWordType;
    word->internalRep.longValue = static_cast<long>(hash);
  }
}

}  // namespace

// ---- Dispatch ---------------------------------------------------------------

// Where a method word leads: which name is looked up, in which class and how.
struct zelTcl_TObject::TTarget {
  zelTcl_TClass* theClass = nullptr;  // searched, and asked for `unknown`
  zelTcl_TMethodKey key{"", 0};
  int flags = zelTcl_kFindAll;
  zelTcl_TObjRef keepsName;  // for a name that nothing else keeps
};

int zelTcl_TObject::CommandHandler(Tcl_Interp* interp, int objc,
                                   Tcl_Obj* const objv[]) {
  return MethodDispatchCmd(interp, objc, objv, nullptr);
}

int zelTcl_TObject::CommandHandlerNR(Tcl_Interp* interp, int objc,
                                     Tcl_Obj* const objv[]) {
  return MethodDispatchNR(interp, objc, objv, nullptr);
}

int zelTcl_TObject::MethodDispatchCmd(Tcl_Interp* interp, int objc,
                                      Tcl_Obj* const objv[],
                                      const zelTcl_TCall* running) {
  int skipped = 0;
  zelTcl_TMethod* const method =
      FindTarget(interp, objc, objv, running, &skipped);
  return method == nullptr
             ? TCL_ERROR
             : method->Execute(interp, this, objc - skipped, objv + skipped, 0);
}

int zelTcl_TObject::MethodDispatchNR(Tcl_Interp* interp, int objc,
                                     Tcl_Obj* const objv[],
                                     const zelTcl_TCall* running) {
  int skipped = 0;
  zelTcl_TMethod* const method =
      FindTarget(interp, objc, objv, running, &skipped);
  return method == nullptr ? TCL_ERROR
                           : method->ExecuteNR(interp, this, objc - skipped,
                                               objv + skipped, 0);
}

// The method that the second word leads to, and how many words come before its
// arguments. Null with the message in the result.
zelTcl_TMethod* zelTcl_TObject::FindTarget(Tcl_Interp* interp, int objc,
                                           Tcl_Obj* const objv[],
                                           const zelTcl_TCall* running,
                                           int* skipped) {
  if (objc < 2) {
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "wrong # args: should be \"",
                     Tcl_GetString(objv[0]), " <methodName> ...\"", nullptr);
    return nullptr;
  }
  TTarget target;
  if (IsPlainWord(objv[1])) {
    target.theClass = objectClass;
    target.key = KeyOfPlainWord(objv[1]);
  } else if (!ResolveWord(interp, objv[1], running, &target)) {
    return nullptr;
  }
  *skipped = 2;
  zelTcl_TMethod* method =
      target.theClass->FindMethod(target.key, target.flags);
  if (method == nullptr) {
    // The word itself and all behind it become the arguments of `unknown`.
    *skipped = 1;
    method = target.theClass->FindMethod(zelTcl_TMethodKey("unknown"),
                                         zelTcl_kFindAll);
  }
  if (method == nullptr) {
    target.theClass->ReportNoMethod(interp, target.key.name, target.flags);
  }
  return method;
}

// A word met for the first time, or of one of the two special forms.
bool zelTcl_TObject::ResolveWord(Tcl_Interp* interp, Tcl_Obj* wordObj,
                                 const zelTcl_TCall* running, TTarget* target) {
  const char* const word = Tcl_GetString(wordObj);
  if (strcmp(word, "inherited") == 0) {
    return ResolveInherited(interp, running, target);
  }
  // One pass hashes a plain name and finds the colons of a qualified one.
  std::uint32_t hash = zelTcl_TMethodKey::kStart;
  const char* end = word;
  while (*end != '\0' && !(end[0] == ':' && end[1] == ':')) {
    hash = zelTcl_TMethodKey::Mix(hash, *end++);
  }
  if (*end != '\0') {
    return ResolveQualified(interp, word, end, target);
  }
  target->theClass = objectClass;
  target->key = zelTcl_TMethodKey(word, hash);
  RememberPlainWord(wordObj, hash);
  return true;
}

// CLASS::METHOD; further colons belong to the method.
bool zelTcl_TObject::ResolveQualified(Tcl_Interp* interp, const char* word,
                                      const char* colons, TTarget* target) {
  const zelTcl_TObjRef className(
      Tcl_NewStringObj(word, static_cast<int>(colons - word)));
  target->theClass = zelTcl_Obj_ClassFromTclObj(className.get(), interp);
  if (target->theClass == nullptr) {
    return false;
  }
  if (objectClass->IsAncestor(target->theClass) == 0) {
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "\"", target->theClass->StringName(),
                     "\" is not an ancestor of \"", StringName(), "\"",
                     nullptr);
    return false;
  }
  target->key = zelTcl_TMethodKey(colons + 2);
  return true;
}

// The variables of the running method tell which definition is the current one.
bool zelTcl_TObject::ResolveInherited(Tcl_Interp* interp,
                                      const zelTcl_TCall* running,
                                      TTarget* target) {
  target->flags = zelTcl_kFindInherited;
  const zelTcl_TCall* const call =
      running != nullptr ? running : zelTcl_TCall::Current(interp);
  if (call != nullptr && call->Object() == this) {
    target->theClass = call->Method()->Class();
    target->key = zelTcl_TMethodKey(call->Method()->StringName(),
                                    call->Method()->NameHash());
    return true;
  }
  // Read traces may run scripts: each value is held while the next is read.
  target->keepsName.Reset(
      zelTcl_Obj_ReadVariable(interp, zelTcl_kMethodNameVar));
  const zelTcl_TObjRef objName(
      zelTcl_Obj_ReadVariable(interp, zelTcl_kObjNameVar));
  const zelTcl_TObjRef className(
      zelTcl_Obj_ReadVariable(interp, zelTcl_kClassNameVar));
  if (target->keepsName.get() != nullptr && objName.get() != nullptr &&
      className.get() != nullptr) {
    target->key = zelTcl_TMethodKey(Tcl_GetString(target->keepsName.get()));
    target->theClass = zelTcl_Obj_ClassFromTclObj(className.get(), nullptr);
    if (target->theClass != nullptr &&
        zelTcl_Obj_ObjectFromTclObj(objName.get(), nullptr) == this) {
      return true;
    }
  }
  Tcl_SetObjResult(
      interp, Tcl_NewStringObj("\"inherited\" can only be invoked on \"this\" "
                               "in the context of a method",
                               -1));
  return false;
}

// ---- The end ----------------------------------------------------------------

int zelTcl_TObject::Destruct(Tcl_Interp* interp) {
  if (beingDestructed) {
    return TCL_OK;
  }
  beingDestructed = true;
  if (!destructorPending) {
    return TCL_OK;
  }
  destructorPending = false;
  const zelTcl_TRecordRef<zelTcl_TObject> self(this);
  int code = TCL_OK;
  zelTcl_TMethod* const destructor = objectClass->FindMethod(
      zelTcl_gObj_DestructorStringObj, nullptr, zelTcl_kFindAll);
  if (destructor != nullptr) {
    inDestructor = true;
    code = destructor->Execute(interp, this, 0, nullptr, 0);
    inDestructor = false;
  }
  if (IsGone()) {
    UnsetLeftArray(interp);
  } else {
    (void)Tcl_UnsetVar(interp, StringName(), TCL_GLOBAL_ONLY);
  }
  return code;
}

// The array has gone, but scripts ran afterwards: the destructor that has ended
// its own object, or a delete trace. What they wrote to `this` goes too, unless
// the name is in use again.
void zelTcl_TObject::UnsetLeftArray(Tcl_Interp* interp) {
  if (leavesArray) {
    leavesArray = false;
    if (!IsTaken(LastText())) {
      (void)Tcl_UnsetVar(interp, LastText(), TCL_GLOBAL_ONLY);
    }
  }
}

void zelTcl_TObject::Dispose() {
  Tcl_Interp* const interp = zelTcl_Obj_Interp();
  if (destructorPending) {
    if (Tcl_InterpDeleted(interp) ||
        objectClass->FindMethod(zelTcl_gObj_DestructorStringObj, nullptr,
                                zelTcl_kFindAll) == nullptr) {
      (void)Destruct(interp);
    } else {
      // Nobody asked for the destructor's answer here.
      const zelTcl_TSavedState saved(interp);
      (void)Destruct(interp);
    }
  }
  if (inDestructor && !leavesArray && StringName() != nullptr) {
    leavesArray = true;
    state = zelTcl_kDisposing;  // a rename in an unset trace is not followed
    (void)Tcl_UnsetVar(interp, StringName(), TCL_GLOBAL_ONLY);
  }
  if (classElement.list != nullptr) {
    objectClass->DeregisterObject(&classElement);
  }
  // Delete traces on the command may call methods, which write to `this` again.
  if (beingDestructed && Command() != nullptr && StringName() != nullptr &&
      zelTcl_Internal_HasOtherTraces(Command())) {
    leavesArray = true;
  }
  zelTcl_TEntity::Dispose();
  if (!inDestructor) {
    UnsetLeftArray(interp);
  }
}

zelTcl_TObject::~zelTcl_TObject() {
  if (objectClass != nullptr) {
    objectClass->Release();
  }
}
