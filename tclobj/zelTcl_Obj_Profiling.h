// Profiling: how often each method ran and how long, between a start and a
// stop. The counters are fields of the methods; the clock is read only while
// profiling is on.

#ifndef TCLOBJ_ZELTCL_OBJ_PROFILING_H
#define TCLOBJ_ZELTCL_OBJ_PROFILING_H

#include <tcl.h>

class zelTcl_TMethod;

// 1 while profiling is on. Not touched by an unload.
extern int zelTcl_gObj_Profiling;

// Clears the counters of every method and starts counting.
// Requires: profiling is off.
void zelTcl_Obj_ProfilingStart();
// Stops counting and leaves the report as the interpreter's result: a list of
// {CLASS::METHOD calls microseconds average share}, for every method or, with
// `onlyCalled`, for those with calls. An average over no calls and a share of
// no time are 0.0.
// Returns: TCL_OK.
int zelTcl_Obj_ProfilingStopAndOutput(Tcl_Interp* interp, int onlyCalled);
// Counts a call that ends now, if profiling is on.
// Units: `startTime` in seconds; a time before the start of profiling (0.0 for
// a call that began while it was off) counts from that start.
void zelTcl_Obj_ProfilingCountCall(zelTcl_TMethod* method, double startTime);

#endif  // TCLOBJ_ZELTCL_OBJ_PROFILING_H
