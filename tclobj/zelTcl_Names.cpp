#include "tclobj/zelTcl_Names.h"

#include <algorithm>
#include <cstring>

#include "foundation/zel_Alloc.h"

#include "tclobj/zelTcl_Handles.h"

zelTcl_TNames::~zelTcl_TNames() {
  zel_TestAndFree(names);
  zel_TestAndFree(values);
}

zel_TError zelTcl_TNames::Reserve(unsigned room) {
  const zel_TError error = zel_Malloc(names, std::max(room, 1U));
  return error == zel_kErrorNone ? zel_Malloc(values, std::max(room, 1U))
                                 : error;
}

void zelTcl_TNames::Add(const char* text, Tcl_Obj* value) {
  std::uint64_t prefix = 0;
  const char* p = text;
  for (int i = 0; i < kPrefixLength; ++i) {
    prefix <<= 8U;
    if (*p != '\0') {
      prefix |= static_cast<unsigned char>(*p++);
    }
  }
  names[count++] = {prefix, text, value};
}

bool zelTcl_TNames::Precedes(const TName& a, const TName& b) {
  if (a.prefix != b.prefix) {
    return a.prefix < b.prefix;
  }
  // A prefix that ends in a zero byte is the whole text.
  return (a.prefix & 0xFFU) != 0 &&
         strcmp(a.text + kPrefixLength, b.text + kPrefixLength) < 0;
}

void zelTcl_TNames::Sort() {
  std::sort(names, names + count, Precedes);
}

// All at once, so that the list need not grow.
Tcl_Obj* zelTcl_TNames::NewListObj() {
  for (unsigned i = 0; i < count; ++i) {
    values[i] = names[i].value != nullptr ? names[i].value
                                          : Tcl_NewStringObj(names[i].text, -1);
    Tcl_IncrRefCount(values[i]);
  }
  Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
  if (Tcl_ListObjReplace(nullptr, list, 0, 0, static_cast<int>(count),
                         values) != TCL_OK) {
    const zelTcl_TObjRef dropped(list);
    list = nullptr;
  }
  for (unsigned i = 0; i < count; ++i) {
    Tcl_DecrRefCount(values[i]);
  }
  return list;
}
