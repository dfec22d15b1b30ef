// Objects: instances of a class. An object is a record, a command that
// dispatches method calls, and a global array of its attributes, all under one
// name.
//
// Life: BeginConstruction (command, registry, class list), the constructor,
// FinishConstruction; any number of calls; then, by whichever way comes first,
// Destruct (the destructor once, then the array) and Dispose. Each may be
// entered again from the scripts it runs, in any order; the flags below say how
// far things have gone, and the record stays while anybody holds it.

#ifndef TCLOBJ_ZELTCL_OBJECT_H
#define TCLOBJ_ZELTCL_OBJECT_H

#include <tcl.h>

#include "foundation/zel_List.h"

#include "tclobj/zelTcl_Entity.h"

class zelTcl_TCall;
class zelTcl_TClass;
class zelTcl_TMethod;

class zelTcl_TObject final : public zelTcl_TEntity {
 public:
  zelTcl_TObject();

  // Ends the object; a pending destructor runs, and leaves no trace in the
  // interpreter's result.
  // Re-entry: destructor and traces run scripts.
  void Dispose() override;
  // objName methodName ?arg ...?; see MethodDispatchCmd.
  int CommandHandler(Tcl_Interp* interp, int objc,
                     Tcl_Obj* const objv[]) override;
  int CommandHandlerNR(Tcl_Interp* interp, int objc,
                       Tcl_Obj* const objv[]) override;

  // Constructs the object from the class command's words.
  // Returns: TCL_OK, or TCL_ERROR; the caller then retires the object.
  // Errors: those of the entity and of the constructor, and
  //   too many args: there is no constructor
  //   object "NAME" construction failed: constructor created an object, class
  //     or procedure with the same name
  //   object "NAME" construction failed: constructor deleted the object
  int Init(Tcl_Interp* interp, zelTcl_TClass* theClass, int objc,
           Tcl_Obj* const objv[]);
  // The two halves of Init around the constructor's run. A null `*constructor`
  // means that there is none and the object is ready.
  int BeginConstruction(Tcl_Interp* interp, zelTcl_TClass* theClass, int objc,
                        Tcl_Obj* const objv[], zelTcl_TMethod** constructor);
  int FinishConstruction(Tcl_Interp* interp, Tcl_Obj* name, int code);

  // Calls the method that the second word names, in one of three forms:
  // METHOD, CLASS::METHOD (an ancestor's), or inherited (the next definition
  // above the running one). Without such a method, `unknown` is called with the
  // word and all that follows.
  // Returns: the method's code.
  // Errors: wrong # args: should be "WORD <methodName> ..."
  //   there is no class named "CLASS"
  //   "CLASS" is not an ancestor of "OBJECT"
  //   "inherited" can only be invoked on "this" in the context of a method
  //   and those of zelTcl_TClass::FindMethod.
  // Re-entry: the object may be gone on return.
  // `running` is the call of the current frame where the caller knows it, else
  // null.
  int MethodDispatchCmd(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[],
                        const zelTcl_TCall* running);
  // The same for a caller that returns to Tcl's trampoline right after.
  int MethodDispatchNR(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[],
                       const zelTcl_TCall* running);

  // Runs the destructor, at most once in the object's life, and removes the
  // attribute array.
  // Returns: the destructor's code, TCL_OK without one.
  int Destruct(Tcl_Interp* interp);

  zelTcl_TClass* Class() const { return objectClass; }
  bool BeingDestructed() const { return beingDestructed; }

 private:
  struct TTarget;

  ~zelTcl_TObject();
  void Free() override { delete this; }

  zelTcl_TMethod* FindTarget(Tcl_Interp* interp, int objc,
                             Tcl_Obj* const objv[], const zelTcl_TCall* running,
                             int* skipped);
  bool ResolveWord(Tcl_Interp* interp, Tcl_Obj* wordObj,
                   const zelTcl_TCall* running, TTarget* target);
  bool ResolveQualified(Tcl_Interp* interp, const char* word,
                        const char* colons, TTarget* target);
  bool ResolveInherited(Tcl_Interp* interp, const zelTcl_TCall* running,
                        TTarget* target);
  void UnsetLeftArray(Tcl_Interp* interp);

  bool inDestructor : 1;                 // the destructor is running
  bool destructorPending : 1;            // from registration to destruction
  bool beingDestructed : 1;              // set by the first Destruct
  bool leavesArray : 1;                  // see UnsetLeftArray
  zelTcl_TClass* objectClass = nullptr;  // the creating class, counted
  zel_TListElem classElement;            // our place in its list
};

#endif  // TCLOBJ_ZELTCL_OBJECT_H
