#include "tclobj/zelTcl_Method.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/zel_Alloc.h"

#include "tclobj/zelTcl_Call.h"
#include "tclobj/zelTcl_Handles.h"
#include "tclobj/zelTcl_Internal.h"
#include "tclobj/zelTcl_Obj_Init.h"
#include "tclobj/zelTcl_Object.h"

namespace {

constexpr char cUsage[] = "className methodName args body";

// The first line of every body. It makes the body's own first line the second,
// which is what Tcl's error traces count.
constexpr char cPrologue[] = "upvar #0 $className class $objName this\n";
// Allots the locals `class` and `this` in the same places and compiles to next
// to nothing. A constant 0 would not do: Tcl then compiles no body at all.
constexpr char cLinkedPrologue[] =
    "if {!1} {upvar #0 $className class $objName this}\n";

constexpr zelTcl_TImplicitVar kHiddenParams[zelTcl_kNbImplicitVars] = {
    zelTcl_kObjNameVar, zelTcl_kClassNameVar, zelTcl_kMethodNameVar};

// Formals that make the links fail or lead elsewhere; only the upvar command
// itself does then what a script expects.
constexpr const char* kLinkNames[] = {"this", "class", "objName", "className"};

// The name of one formal: the element itself, or its first field when it has
// a default. Null when it is neither.
Tcl_Obj* FormalName(Tcl_Obj* formal) {
  int count = 0;
  Tcl_Obj** fields = nullptr;
  if (Tcl_ListObjGetElements(nullptr, formal, &count, &fields) != TCL_OK ||
      count < 1 || count > 2) {
    return nullptr;
  }
  return count == 1 ? formal : fields[0];
}

// True iff Tcl is known to take the parameters: a list of plain words without
// defaults.
bool AreWords(Tcl_Obj* params) {
  int count = 0;
  Tcl_Obj** formals = nullptr;
  if (Tcl_ListObjGetElements(nullptr, params, &count, &formals) != TCL_OK) {
    return false;
  }
  for (int i = 0; i < count; ++i) {
    if (!zelTcl_Obj_IsWord(Tcl_GetString(formals[i]))) {
      return false;
    }
  }
  return true;
}

bool IsLinkName(const char* name) {
  for (const char* const linkName : kLinkNames) {
    if (strcmp(name, linkName) == 0) {
      return true;
    }
  }
  return false;
}

// A fresh value of exactly the size: appending would leave room to grow.
Tcl_Obj* JoinText(const char* first, Tcl_Obj* second) {
  const std::size_t firstLength = strlen(first);
  int length = 0;
  const char* const text = Tcl_GetStringFromObj(second, &length);
  Tcl_Obj* const joined = Tcl_NewObj();
  Tcl_SetObjLength(joined, static_cast<int>(firstLength) + length);
  memcpy(joined->bytes, first, firstLength);
  memcpy(joined->bytes + firstLength, text, static_cast<std::size_t>(length));
  return joined;
}

// The parameter list with the three hidden parameters in front.
// Returns: a fresh value, or null with Tcl's list error in the result.
Tcl_Obj* WithHiddenParams(Tcl_Interp* interp, Tcl_Obj* params) {
  Tcl_Obj* hidden[zelTcl_kNbImplicitVars];
  for (int i = 0; i < zelTcl_kNbImplicitVars; ++i) {
    hidden[i] = zelTcl_Obj_ImplicitVarName(kHiddenParams[i]);
  }
  Tcl_Obj* const all = Tcl_NewListObj(zelTcl_kNbImplicitVars, hidden);
  if (Tcl_ListObjAppendList(interp, all, params) != TCL_OK) {
    const zelTcl_TObjRef dropped(all);
    return nullptr;
  }
  return all;
}

}  // namespace

// ---- Definition -------------------------------------------------------------

int zelTcl_TMethod::Init(Tcl_Interp* interp, zelTcl_TClass* theClass, int objc,
                         Tcl_Obj* const objv[]) {
  definingClass = theClass;
  theClass->Preserve();
  if (objc != 5) {
    Tcl_WrongNumArgs(interp, 1, objv, cUsage);
    return TCL_ERROR;
  }
  const int code = Build(interp, objv);
  if (code != TCL_OK) {
    Dispose();
    return TCL_ERROR;
  }
  definingClass->RegisterMethod(this);
  registered = 1;
  zelTcl_SetObj(&body, objv[4]);
  zelTcl_SetObj(&argList, objv[3]);
  return TCL_OK;
}

// Makes everything that can fail.
int zelTcl_TMethod::Build(Tcl_Interp* interp, Tcl_Obj* const objv[]) {
  const char* const name = Tcl_GetString(objv[2]);
  if (zelTcl_Obj_UpdateStringNames(name, &stringName, &protectedString,
                                   interp) != 0) {
    return TCL_ERROR;
  }
  nameHash = zelTcl_TMethodKey(stringName).hash;
  zelTcl_SetObj(&nameObj, objv[2]);
  const char* const className = definingClass->StringName();
  fullName = zelTcl_Obj_NewText(className, "::", stringName);
  if (fullName == nullptr) {
    Tcl_AppendResult(interp, "could not create method \"", className,
                     "::", stringName, "\": no more memory", nullptr);
    return TCL_ERROR;
  }
  if (strcmp(stringName, "destructor") == 0) {
    int nbParams = 0;
    if (Tcl_ListObjLength(interp, objv[3], &nbParams) != TCL_OK) {
      return TCL_ERROR;
    }
    if (nbParams != 0) {
      Tcl_AppendResult(interp, "destructor must not accept any argument",
                       nullptr);
      return TCL_ERROR;
    }
  }
  return AreWords(objv[3])
             ? TCL_OK
             : MakeProc(interp, cPrologue, objv[3], objv[4], &proc);
}

int zelTcl_TMethod::MakeProc(Tcl_Interp* interp, const char* prologue,
                             Tcl_Obj* params, Tcl_Obj* text, Proc** made) {
  const zelTcl_TObjRef code(JoinText(prologue, text));
  const zelTcl_TObjRef all(WithHiddenParams(interp, params));
  return all.get() == nullptr
             ? TCL_ERROR
             : zelTcl_Internal_CreateProc(interp, fullName, all.get(),
                                          code.get(), made);
}

// The definition has passed with the same words, so neither of the two can
// fail.

Proc* zelTcl_TMethod::MakePlainProc(Tcl_Interp* interp) {
  (void)MakeProc(interp, cPrologue, argList, body, &proc);
  return proc;
}

Proc* zelTcl_TMethod::MakeLinkedProc(Tcl_Interp* interp) {
  linkedTried = true;
  int count = 0;
  Tcl_Obj** formals = nullptr;
  (void)Tcl_ListObjGetElements(nullptr, argList, &count, &formals);
  for (int i = 0; i < count; ++i) {
    // Also of a formal without a default, which may stand in braces.
    Tcl_Obj* name = nullptr;
    if (Tcl_ListObjIndex(nullptr, formals[i], 0, &name) != TCL_OK ||
        name == nullptr || IsLinkName(Tcl_GetString(name))) {
      return nullptr;
    }
  }
  (void)MakeProc(interp, cLinkedPrologue, argList, body, &linkedProc);
  return linkedProc;
}

// ---- Calls ------------------------------------------------------------------

int zelTcl_TMethod::Execute(Tcl_Interp* interp, zelTcl_TObject* object,
                            int objc, Tcl_Obj* const objv[],
                            int fromClassCommand) {
  if (Tcl_InterpDeleted(interp)) {
    // A dying interpreter cannot run a procedure: its bytecode is stale and the
    // compiler's tables are freed.
    return TCL_OK;
  }
  zelTcl_TCall* const call =
      zelTcl_TCall::Begin(interp, this, object, objc, objv, fromClassCommand);
  return call == nullptr ? TCL_ERROR : call->Run(interp);
}

int zelTcl_TMethod::ExecuteNR(Tcl_Interp* interp, zelTcl_TObject* object,
                              int objc, Tcl_Obj* const objv[],
                              int fromClassCommand) {
  zelTcl_TCall* const call =
      zelTcl_TCall::Begin(interp, this, object, objc, objv, fromClassCommand);
  return call == nullptr ? TCL_ERROR : call->Start(interp);
}

// ---- Introspection ----------------------------------------------------------

Tcl_Obj* zelTcl_TMethod::Args() {
  if (args != nullptr) {
    return args;
  }
  int count = 0;
  Tcl_Obj** formals = nullptr;
  bool good =
      Tcl_ListObjGetElements(nullptr, argList, &count, &formals) == TCL_OK;
  const zelTcl_TObjRef names(Tcl_NewListObj(0, nullptr));
  for (int i = 0; good && i < count; ++i) {
    Tcl_Obj* const name = FormalName(formals[i]);
    good = name != nullptr &&
           Tcl_ListObjAppendElement(nullptr, names.get(), name) == TCL_OK;
  }
  if (!good) {
    fprintf(stderr,
            "PANIC: could not build list of argument for method %s::%s\n",
            definingClass->StringName(), stringName);
    exit(1);  // Tcl took this list for a procedure; it is not the same any more
  }
  zelTcl_SetObj(&args, names.get());
  return args;
}

// ---- The end ----------------------------------------------------------------

void zelTcl_TMethod::Dispose() {
  if (registered != 0) {
    registered = 0;
    definingClass->DeregisterMethod(this);
  }
}

// What calls in progress still use goes with the record.
zelTcl_TMethod::~zelTcl_TMethod() {
  if (proc != nullptr) {
    zelTcl_Internal_DeleteProc(proc);
  }
  if (linkedProc != nullptr) {
    zelTcl_Internal_DeleteProc(linkedProc);
  }
  zelTcl_SetObj(&body, nullptr);
  zelTcl_SetObj(&argList, nullptr);
  zelTcl_SetObj(&args, nullptr);
  zelTcl_SetObj(&nameObj, nullptr);
  zelTcl_SetObj(&fullNameObj, nullptr);
  zelTcl_Obj_FreeStringNames(&stringName, &protectedString);
  zel_TestAndFree(fullName);
  if (definingClass != nullptr) {
    definingClass->Release();
  }
}
