// The zelObject command: deletion, introspection, profiling and unloading.

#ifndef TCLOBJ_ZELTCL_ZELOBJECT_H
#define TCLOBJ_ZELTCL_ZELOBJECT_H

#include <tcl.h>

// zelObject option ?arg arg ...?
// Re-entry: destructors run scripts; after `unload` nothing of the system is
// left.
int zel_zelObjectObjCmd(ClientData clientData, Tcl_Interp* interp, int objc,
                        Tcl_Obj* const objv[]);

#endif  // TCLOBJ_ZELTCL_ZELOBJECT_H
