#include "tclobj/zelTcl_Names.h"

#include <algorithm>
#include <cstring>

#include "foundation/zel_Alloc.h"

#include "tclobj/zelTcl_Handles.h"

zelTcl_TNames::~zelTcl_TNames() {
  zel_TestAndFree(names);
}

zel_TError zelTcl_TNames::Reserve(unsigned room) {
  return zel_Malloc(names, std::max(room, 1U));
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

Tcl_Obj* zelTcl_TNames::NewListObj() const {
  Tcl_Obj* const list = Tcl_NewListObj(0, nullptr);
  for (const TName* name = names; name != names + count; ++name) {
    Tcl_Obj* const value =
        name->value != nullptr ? name->value : Tcl_NewStringObj(name->text, -1);
    const zelTcl_TObjRef held(value);
    if (Tcl_ListObjAppendElement(nullptr, list, value) != TCL_OK) {
      const zelTcl_TObjRef dropped(list);
      return nullptr;
    }
  }
  return list;
}
