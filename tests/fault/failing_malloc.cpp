// Makes chosen memory allocations of one shared library fail.
//
// The object is preloaded (LD_PRELOAD), so that its allocation functions come
// before the C library's, and is loaded by Tcl as an extension, which gives the
// script the switch:
//
//   failAlloc library ?first ?count??
//
// counts the allocations made by code of the library of that path, which is
// opened, but not initialised, where it is not yet. From then on the `first`th
// of them, counted from 1, and the `count` - 1 that follow it fail (`first` 0
// or missing: none). Returns how many were counted since the last call.
//
// Who allocates is told by the return address: the library may ask for memory
// itself, or contain the C++ runtime that does.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <new>

#include <tcl.h>

// What the functions of the C library are called inside it.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_valloc(std::size_t size);

namespace {

std::uintptr_t gStart = 0;  // the library in memory
std::uintptr_t gEnd = 0;
int gCounted = 0;
int gFirst = 0;
int gLast = 0;

bool Fails(const void* caller) {
  const auto address = reinterpret_cast<std::uintptr_t>(caller);
  if (address < gStart || address >= gEnd) {
    return false;
  }
  ++gCounted;
  return gCounted >= gFirst && gCounted <= gLast;
}

// Sets the range when this is the library whose path `data` is.
int FindLibrary(dl_phdr_info* info, std::size_t /*size*/, void* data) {
  if (strcmp(info->dlpi_name, static_cast<const char*>(data)) != 0) {
    return 0;
  }
  gStart = info->dlpi_addr;
  gEnd = gStart;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& segment = info->dlpi_phdr[i];
    const std::uintptr_t end = gStart + segment.p_vaddr + segment.p_memsz;
    if (segment.p_type == PT_LOAD && end > gEnd) {
      gEnd = end;
    }
  }
  return 1;
}

int FailAllocCmd(ClientData /*clientData*/, Tcl_Interp* interp, int objc,
                 Tcl_Obj* const objv[]) {
  const int counted = gCounted;
  int first = 0;
  int count = 1;
  if (objc < 2 || objc > 4) {
    Tcl_WrongNumArgs(interp, 1, objv, "library ?first ?count??");
    return TCL_ERROR;
  }
  if ((objc > 2 && Tcl_GetIntFromObj(interp, objv[2], &first) != TCL_OK) ||
      (objc > 3 && Tcl_GetIntFromObj(interp, objv[3], &count) != TCL_OK)) {
    return TCL_ERROR;
  }
  char* const path = Tcl_GetString(objv[1]);
  if (dlopen(path, RTLD_NOW) == nullptr ||
      dl_iterate_phdr(FindLibrary, path) == 0) {
    Tcl_AppendResult(interp, "could not open \"", path, "\"", nullptr);
    return TCL_ERROR;
  }
  gCounted = 0;
  gFirst = first;
  gLast = first == 0 ? 0 : first + count - 1;
  Tcl_SetObjResult(interp, Tcl_NewIntObj(counted));
  return TCL_OK;
}

}  // namespace

extern "C" void* malloc(std::size_t size) noexcept {
  return Fails(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

extern "C" void* valloc(std::size_t size) noexcept {
  return Fails(__builtin_return_address(0)) ? nullptr : __libc_valloc(size);
}

// For a library that does not contain the C++ runtime.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Fails(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

extern "C" int Failingmalloc_Init(Tcl_Interp* interp) {
  if (Tcl_InitStubs(interp, "8.5", 0) == nullptr) {
    return TCL_ERROR;
  }
  (void)Tcl_CreateObjCommand(interp, "failAlloc", FailAllocCmd, nullptr,
                             nullptr);
  return TCL_OK;
}
