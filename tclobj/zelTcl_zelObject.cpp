#include "tclobj/zelTcl_zelObject.h"

#include "foundation/zel_Alloc.h"
#include "foundation/zel_Error.h"
#include "foundation/zel_List.h"

#include "tclobj/zelTcl_Class.h"
#include "tclobj/zelTcl_Handles.h"
#include "tclobj/zelTcl_Method.h"
#include "tclobj/zelTcl_Obj_Init.h"
#include "tclobj/zelTcl_Obj_Profiling.h"
#include "tclobj/zelTcl_Object.h"

namespace {

// Finds the word in the null-terminated table; words are never abbreviated.
int GetIndex(Tcl_Interp* interp, Tcl_Obj* word, const char* const table[],
             const char* what, int* index) {
  // The header of Tcl 8.5 lacks the const of the table.
  return Tcl_GetIndexFromObj(interp, word, const_cast<const char**>(table),
                             what, TCL_EXACT, index);
}

// True iff there are `least` to `most` words; otherwise the result tells the
// usage behind the first `shown` words.
bool CheckWordCount(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[],
                    int least, int most, int shown, const char* usage) {
  if (objc >= least && objc <= most) {
    return true;
  }
  Tcl_WrongNumArgs(interp, shown, objv, usage);
  return false;
}

// The class's own method that the words name; null with the message set.
zelTcl_TMethod* OwnMethod(Tcl_Interp* interp, Tcl_Obj* const objv[]) {
  zelTcl_TClass* const theClass = zelTcl_Obj_ClassFromTclObj(objv[3], interp);
  return theClass == nullptr
             ? nullptr
             : theClass->FindMethod(objv[4], interp, zelTcl_kFindOwn);
}

// ---- zelObject delete -------------------------------------------------------

// zelObject delete method <class_name> <method_name>
int DeleteMethod(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  if (!CheckWordCount(interp, objc, objv, 5, 5, 3,
                      "<class_name> <method_name>")) {
    return TCL_ERROR;
  }
  zelTcl_TMethod* const method = OwnMethod(interp, objv);
  if (method == nullptr) {
    return TCL_ERROR;
  }
  method->Retire();
  return TCL_OK;
}

// zelObject delete object <object_name>
int DeleteObject(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  if (!CheckWordCount(interp, objc, objv, 4, 4, 3, "<object_name>")) {
    return TCL_ERROR;
  }
  zelTcl_TObject* const object = zelTcl_Obj_ObjectFromTclObj(objv[3], interp);
  if (object == nullptr) {
    return TCL_ERROR;
  }
  if (object->BeingDestructed()) {
    return TCL_OK;
  }
  const zelTcl_TRecordRef<zelTcl_TObject> held(object);
  const int code = object->Destruct(interp);
  object->Retire();
  return code;
}

// zelObject delete class <class_name>
int DeleteClass(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  if (!CheckWordCount(interp, objc, objv, 4, 4, 3, "<class_name>")) {
    return TCL_ERROR;
  }
  zelTcl_TClass* const theClass = zelTcl_Obj_ClassFromTclObj(objv[3], interp);
  if (theClass == nullptr) {
    return TCL_ERROR;
  }
  theClass->Retire();
  return TCL_OK;
}

// zelObject delete (class|method|object) ?arg arg ...?
int zelTclObjDeleteCmd(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  static const char* const subCmds[] = {"class", "method", "object", nullptr};
  enum { kClass, kMethod, kObject };
  if (objc <= 2) {
    Tcl_WrongNumArgs(interp, 2, objv, "(class|method|object) ?arg arg ...?");
    return TCL_ERROR;
  }
  int index = 0;
  if (GetIndex(interp, objv[2], subCmds, "entity", &index) != TCL_OK) {
    return TCL_ERROR;
  }
  switch (index) {
    case kClass:
      return DeleteClass(interp, objc, objv);
    case kMethod:
      return DeleteMethod(interp, objc, objv);
    default:
      return DeleteObject(interp, objc, objv);
  }
}

// ---- zelObject info ---------------------------------------------------------
//
// Each query gets the whole word list, with its word count already checked.

using TQuery = int (*)(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]);

// The class of this name, or the class of the object of this name.
// Errors: there is no class or object VERB "NAME"
zelTcl_TClass* ClassOrObjectsClass(Tcl_Interp* interp, Tcl_Obj* name,
                                   const char* verb, bool* isObject = nullptr) {
  const zelTcl_TObject* const object =
      zelTcl_Obj_ObjectFromTclObj(name, nullptr);
  if (isObject != nullptr) {
    *isObject = object != nullptr;
  }
  zelTcl_TClass* const theClass =
      object != nullptr ? object->Class()
                        : zelTcl_Obj_ClassFromTclObj(name, nullptr);
  if (theClass == nullptr) {
    Tcl_AppendResult(interp, "there is no class or object ", verb, " \"",
                     Tcl_GetString(name), "\"", nullptr);
  }
  return theClass;
}

void AppendFoundationError(Tcl_Interp* interp, const char* context,
                           zel_TError error) {
  Tcl_AppendResult(interp, context, zel_ErrorGetMessage(error), nullptr);
}

// zelObject info arglist|args|body <class_name> <method_name>
template <Tcl_Obj* (*Get)(zelTcl_TMethod*)>
int InfoOfMethod(Tcl_Interp* interp, int /*objc*/, Tcl_Obj* const objv[]) {
  zelTcl_TMethod* const method = OwnMethod(interp, objv);
  if (method == nullptr) {
    return TCL_ERROR;
  }
  Tcl_SetObjResult(interp, Get(method));
  return TCL_OK;
}

Tcl_Obj* ArgListOf(zelTcl_TMethod* method) {
  return method->ArgList();
}
Tcl_Obj* ArgsOf(zelTcl_TMethod* method) {
  return method->Args();
}
Tcl_Obj* BodyOf(zelTcl_TMethod* method) {
  return method->Body();
}

// zelObject info class|interface (<class_name>|<object_name>)
template <bool kWithBodies>
int InfoDefinitions(Tcl_Interp* interp, int /*objc*/, Tcl_Obj* const objv[]) {
  zelTcl_TClass* const theClass = ClassOrObjectsClass(interp, objv[3], "names");
  if (theClass == nullptr) {
    return TCL_ERROR;
  }
  zelTcl_TDString text;
  for (const zelTcl_TMethod* method :
       zelTcl_THashValues<zelTcl_TMethod>(theClass->MethodTable())) {
    text.Append("method ")
        .Append(theClass->ProtectedString())
        .Append(" ")
        .Append(method->ProtectedString())
        .Append(" {")
        .Append(Tcl_GetString(method->ArgList()));
    if (kWithBodies) {
      text.Append("} {").Append(Tcl_GetString(method->Body()));
    }
    text.Append("}\n");
  }
  text.MoveToResult(interp);
  return TCL_OK;
}

// zelObject info classes ?<object_name>|<class_name>?
int InfoClasses(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  Tcl_Obj* names = nullptr;
  if (objc == 3) {
    if (zelTcl_Obj_StringHashTableToObj(interp, &zelTcl_gObj_ClassTable, &names,
                                        1) != TCL_OK) {
      return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, names);
    return TCL_OK;
  }
  bool isObject = false;
  zelTcl_TClass* const theClass =
      ClassOrObjectsClass(interp, objv[3], "names", &isObject);
  if (theClass == nullptr) {
    return TCL_ERROR;
  }
  zel_TList* ancestors = nullptr;
  const zel_TError error = theClass->CreateRecursiveAncestorList(&ancestors);
  if (error != zel_kErrorNone) {
    AppendFoundationError(interp, "could not create ancestors list: ", error);
    return TCL_ERROR;
  }
  const int code =
      zelTcl_Obj_EntityListToStringNameObjList(interp, ancestors, &names, 0);
  zel_DisposeAndDelete(ancestors);
  if (code != TCL_OK) {
    return code;
  }
  const zelTcl_TObjRef held(names);
  if (isObject) {
    const zelTcl_TObjRef first(
        Tcl_NewStringObj(theClass->ProtectedString(), -1));
    Tcl_Obj* const element = first.get();
    if (Tcl_ListObjReplace(interp, names, 0, 0, 1, &element) != TCL_OK) {
      return TCL_ERROR;
    }
  }
  Tcl_SetObjResult(interp, names);
  return TCL_OK;
}

// zelObject info classofobject <object_name>
int InfoClassOfObject(Tcl_Interp* interp, int /*objc*/, Tcl_Obj* const objv[]) {
  const zelTcl_TObject* const object =
      zelTcl_Obj_ObjectFromTclObj(objv[3], interp);
  if (object == nullptr) {
    return TCL_ERROR;
  }
  zelTcl_TClass* const theClass = object->Class();
  Tcl_SetObjResult(interp,
                   theClass->ProtectedString() == theClass->StringName()
                       ? theClass->NameObj()
                       : Tcl_NewStringObj(theClass->ProtectedString(), -1));
  return TCL_OK;
}

// zelObject info exists (class|object) <name>
int InfoExists(Tcl_Interp* interp, int /*objc*/, Tcl_Obj* const objv[]) {
  // In the order of zelTcl_TEntityType.
  static const char* const subSubCmds[] = {"class", "object", nullptr};
  int type = 0;
  if (GetIndex(interp, objv[3], subSubCmds, "class_or_object", &type) !=
      TCL_OK) {
    return TCL_ERROR;
  }
  const bool exists =
      zelTcl_Obj_EntityFromTclObj(static_cast<zelTcl_TEntityType>(type),
                                  objv[4], nullptr) != nullptr;
  Tcl_SetObjResult(interp, Tcl_NewBooleanObj(exists ? 1 : 0));
  return TCL_OK;
}

// Owns: `*names` is fresh, null when the list could not be made (with a
// message).
zel_TError PrefixedMethodNames(Tcl_Interp* interp, zelTcl_TClass* theClass,
                               Tcl_Obj** names) {
  zel_TList* methods = nullptr;
  const zel_TError error = theClass->FullMethodList(&methods, 1);
  if (error == zel_kErrorNone) {
    (void)zelTcl_Obj_ListToObj(interp, methods, names);
    zelTcl_Obj_DeleteTextList(methods);
  }
  return error;
}

// zelObject info methods (<class_name>|<object_name>) ?superclass_prefix?
int InfoMethods(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  zelTcl_TClass* const theClass = ClassOrObjectsClass(interp, objv[3], "named");
  int withPrefix = 0;
  if (theClass == nullptr ||
      (objc == 5 &&
       Tcl_GetBooleanFromObj(interp, objv[4], &withPrefix) != TCL_OK)) {
    return TCL_ERROR;
  }
  Tcl_Obj* names = nullptr;
  zel_TError error = zel_kErrorNone;
  if (withPrefix != 0) {
    error = PrefixedMethodNames(interp, theClass, &names);
  } else {
    names = theClass->MethodNames(&error);
    if (names == nullptr && error == zel_kErrorNone) {
      zelTcl_Obj_ReportList(interp);
    }
  }
  if (error != zel_kErrorNone) {
    AppendFoundationError(interp, "could not create method list: ", error);
  }
  if (names == nullptr) {
    return TCL_ERROR;
  }
  Tcl_SetObjResult(interp, names);
  return TCL_OK;
}

// zelObject info objects ?<class_name>?
int InfoObjects(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  Tcl_Obj* names = nullptr;
  int code = TCL_ERROR;
  if (objc == 3) {
    code = zelTcl_Obj_StringHashTableToObj(interp, &zelTcl_gObj_ObjectTable,
                                           &names, 1);
  } else {
    const zelTcl_TClass* const theClass =
        zelTcl_Obj_ClassFromTclObj(objv[3], interp);
    if (theClass != nullptr) {
      code = zelTcl_Obj_EntityListToStringNameObjList(
          interp, theClass->ObjectList(), &names, 1);
    }
  }
  if (code == TCL_OK) {
    Tcl_SetObjResult(interp, names);
  }
  return code;
}

// zelObject info specializations <class_name>
int InfoSpecializations(Tcl_Interp* interp, int /*objc*/,
                        Tcl_Obj* const objv[]) {
  const zelTcl_TClass* const theClass =
      zelTcl_Obj_ClassFromTclObj(objv[3], interp);
  Tcl_Obj* names = nullptr;
  if (theClass == nullptr ||
      zelTcl_Obj_EntityListToStringNameObjList(
          interp, theClass->Specializations(), &names, 0) != TCL_OK) {
    return TCL_ERROR;
  }
  Tcl_SetObjResult(interp, names);
  return TCL_OK;
}

// zelObject info <info_type> ?arg arg ...?
int zelTclObjInfoCmd(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  static const char* const subCmds[] = {
      "arglist",         "args",   "body",      "class",   "classes",
      "classofobject",   "exists", "interface", "methods", "objects",
      "specializations", nullptr};
  static constexpr struct {
    int least;
    int most;
    const char* usage;
    TQuery run;
  } kQueries[] = {
      {5, 5, "<class_name> <method_name>", InfoOfMethod<ArgListOf>},
      {5, 5, "<class_name> <method_name>", InfoOfMethod<ArgsOf>},
      {5, 5, "<class_name> <method_name>", InfoOfMethod<BodyOf>},
      {4, 4, "(<class_name>|<object_name>)", InfoDefinitions<true>},
      {3, 4, "?<object_name>|<class_name>?", InfoClasses},
      {4, 4, "<object_name>", InfoClassOfObject},
      {5, 5, "(class|object) <name>", InfoExists},
      {4, 4, "(<class_name>|<object_name>)", InfoDefinitions<false>},
      {4, 5, "(<class_name>|<object_name>) ?superclass_prefix?", InfoMethods},
      {3, 4, "?<class_name>?", InfoObjects},
      {4, 4, "<class_name>", InfoSpecializations},
  };
  if (objc < 3) {
    Tcl_WrongNumArgs(interp, 2, objv, "<info_type> ?arg arg ...?");
    return TCL_ERROR;
  }
  int index = 0;
  if (GetIndex(interp, objv[2], subCmds, "info_type", &index) != TCL_OK) {
    return TCL_ERROR;
  }
  const auto& query = kQueries[index];
  return CheckWordCount(interp, objc, objv, query.least, query.most, 3,
                        query.usage)
             ? query.run(interp, objc, objv)
             : TCL_ERROR;
}

// ---- zelObject profile ------------------------------------------------------

// zelObject profile start|stop
int zelTclObjProfileCmd(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  static const char* const subCmds[] = {"start", "stop", nullptr};
  enum { kStart, kStop };
  int index = 0;
  if (!CheckWordCount(interp, objc, objv, 3, 3, 2, "start|stop") ||
      GetIndex(interp, objv[2], subCmds, "profiling command", &index) !=
          TCL_OK) {
    return TCL_ERROR;
  }
  if (index == kStop) {
    if (zelTcl_gObj_Profiling == 0) {
      Tcl_AppendResult(interp, "can't stop profiling: not currently profiling",
                       nullptr);
      return TCL_ERROR;
    }
    return zelTcl_Obj_ProfilingStopAndOutput(interp, 1);
  }
  if (zelTcl_gObj_Profiling != 0) {
    Tcl_AppendResult(interp, "can't start profiling: profiling already started",
                     nullptr);
    return TCL_ERROR;
  }
  zelTcl_Obj_ProfilingStart();
  return TCL_OK;
}

}  // namespace

int zel_zelObjectObjCmd(ClientData /*clientData*/, Tcl_Interp* interp, int objc,
                        Tcl_Obj* const objv[]) {
  static const char* const subCmds[] = {"delete", "info", "profile", "unload",
                                        nullptr};
  enum { kDelete, kInfo, kProfile, kUnload };
  if (objc <= 1) {
    Tcl_WrongNumArgs(interp, 1, objv, "option ?arg arg ...?");
    return TCL_ERROR;
  }
  int index = 0;
  if (GetIndex(interp, objv[1], subCmds, "option", &index) != TCL_OK) {
    return TCL_ERROR;
  }
  switch (index) {
    case kDelete:
      return zelTclObjDeleteCmd(interp, objc, objv);
    case kInfo:
      return zelTclObjInfoCmd(interp, objc, objv);
    case kProfile:
      return zelTclObjProfileCmd(interp, objc, objv);
    default:
      zelTcl_Obj_Dispose(interp);
      return TCL_OK;
  }
}
