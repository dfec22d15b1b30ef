#include "tclobj/zelTcl_Obj_Profiling.h"

#include <algorithm>
#include <cstdint>

#include "foundation/zel_Time.h"

#include "tclobj/zelTcl_Class.h"
#include "tclobj/zelTcl_Handles.h"
#include "tclobj/zelTcl_Method.h"
#include "tclobj/zelTcl_Obj_Init.h"

int zelTcl_gObj_Profiling = 0;

namespace {

double gProfilingStartTime = 0.0;

// Whole microseconds since `start`, modulo 2^32.
std::uint32_t MicrosecondsSince(double start) {
  return static_cast<std::uint32_t>(
      static_cast<std::int64_t>((zelTime() - start) * 1000000.0));
}

double Quotient(std::uint32_t dividend, std::uint32_t divisor) {
  return divisor == 0 ? 0.0 : static_cast<double>(dividend) / divisor;
}

template <typename Visit>
void ForEachMethod(const Visit& visit) {
  for (zelTcl_TClass* theClass :
       zelTcl_THashValues<zelTcl_TClass>(&zelTcl_gObj_ClassTable)) {
    for (zelTcl_TMethod* method :
         zelTcl_THashValues<zelTcl_TMethod>(theClass->MethodTable())) {
      visit(method);
    }
  }
}

}  // namespace

void zelTcl_Obj_ProfilingStart() {
  ForEachMethod([](zelTcl_TMethod* method) {
    method->nbCalls = 0;
    method->cumulatedTime = 0;
  });
  zelTcl_gObj_Profiling = 1;
  gProfilingStartTime = zelTime();
}

int zelTcl_Obj_ProfilingStopAndOutput(Tcl_Interp* interp, int onlyCalled) {
  zelTcl_gObj_Profiling = 0;
  const std::uint32_t total = MicrosecondsSince(gProfilingStartTime);
  Tcl_Obj* const report = Tcl_NewListObj(0, nullptr);
  ForEachMethod([report, total, onlyCalled](const zelTcl_TMethod* method) {
    if (onlyCalled != 0 && method->nbCalls == 0) {
      return;
    }
    Tcl_Obj* const name = Tcl_NewStringObj(method->Class()->StringName(), -1);
    Tcl_AppendStringsToObj(name, "::", method->StringName(), nullptr);
    Tcl_Obj* const record[] = {
        name, Tcl_NewWideIntObj(method->nbCalls),
        Tcl_NewWideIntObj(method->cumulatedTime),
        Tcl_NewDoubleObj(Quotient(method->cumulatedTime, method->nbCalls)),
        Tcl_NewDoubleObj(Quotient(method->cumulatedTime, total))};
    (void)Tcl_ListObjAppendElement(nullptr, report, Tcl_NewListObj(5, record));
  });
  Tcl_SetObjResult(interp, report);
  return TCL_OK;
}

void zelTcl_Obj_ProfilingCountCall(zelTcl_TMethod* method, double startTime) {
  if (zelTcl_gObj_Profiling != 0) {
    ++method->nbCalls;
    method->cumulatedTime +=
        MicrosecondsSince(std::max(startTime, gProfilingStartTime));
  }
}
