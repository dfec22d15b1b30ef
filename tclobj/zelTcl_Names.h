// An array of names on its way to becoming a Tcl list: collected from lists and
// tables, sorted without moving a text, and handed over as the values that the
// entities and methods hold already.

#ifndef TCLOBJ_ZELTCL_NAMES_H
#define TCLOBJ_ZELTCL_NAMES_H

#include <cstdint>

#include <tcl.h>

#include "foundation/zel_Error.h"

class zelTcl_TNames {
 public:
  zelTcl_TNames() = default;
  zelTcl_TNames(const zelTcl_TNames&) = delete;
  zelTcl_TNames& operator=(const zelTcl_TNames&) = delete;
  ~zelTcl_TNames();

  // Makes room for `count` names in all.
  // Requires: called once.
  // Returns: 0 or zel_gErrorMemFull.
  zel_TError Reserve(unsigned count);
  // Adds a name. Requires: room for it.
  // Owns: nothing; text and value stay the caller's. A null value stands for a
  // fresh one made of the text.
  void Add(const char* text, Tcl_Obj* value);
  // Ascending strcmp order.
  void Sort();
  // Returns: a fresh list of the values in order; null when Tcl refuses.
  Tcl_Obj* NewListObj();

 private:
  // The first bytes of the text, as a number that orders like them, decide
  // nearly every comparison without a look at the text.
  struct TName {
    std::uint64_t prefix;
    const char* text;
    Tcl_Obj* value;
  };

  static constexpr int kPrefixLength = 8;
  static bool Precedes(const TName& a, const TName& b);

  TName* names = nullptr;      // from zel_Malloc
  Tcl_Obj** values = nullptr;  // from zel_Malloc; for NewListObj
  unsigned count = 0;
};

#endif  // TCLOBJ_ZELTCL_NAMES_H
