// Classes: entities whose command creates objects and which hold methods,
// objects and the links of the inheritance graph.
//
// Invariants:
// 1. P is among the superclasses of K exactly when K is among the
//    specializations of P: Inherit and DeInherit keep both sides.
// 2. The graph has no cycle: nothing links a class to itself or to one of its
//    descendants. The inherit command refuses that.
// 3. A method name occurs at most once in a method table, and every method of
//    the table is in the bucket of its name's hash.
// 4. `firstSuperclass` is the value of the head of `superclasses`.
// 5. A class that is being disposed takes no new object, method or link, so its
//    lists only shrink and disposal ends. They stay, empty, as long as the
//    record: scripts can still ask for them.
// 6. `reach` has all bits of `filter` and of the `reach` of each superclass.
//    Whatever adds bits passes them on downwards; nothing takes any away, so
//    `reach` may tell of methods that have gone, but misses none.
//
// Walks up the graph visit each class once, in depth-first pre-order: the first
// encounter decides, and a class met again by another path has nothing new to
// say. They keep their way back in the classes themselves, so they need neither
// the C stack nor memory, whatever the depth. No script runs during a walk.
//
// Lookups keep no cache: nothing has to be invalidated, and the definition in
// force is the one found. They hash the name once and look into one bucket of
// each class on the way, which is nearly always empty where the method is not:
// a bit of `filter` tells. Whether it pays to go up at all, a bit of `reach`
// tells: most classes have neither constructor nor destructor, and the creation
// of an object should not cost more the more ancestors there are.

#ifndef TCLOBJ_ZELTCL_CLASS_H
#define TCLOBJ_ZELTCL_CLASS_H

#include <cstdint>

#include <tcl.h>

#include "foundation/zel_Error.h"
#include "foundation/zel_List.h"

#include "tclobj/zelTcl_Entity.h"

class zelTcl_TMethod;
class zelTcl_TObject;

// Where FindMethod searches; the values combine.
enum zelTcl_TFindFlags {
  zelTcl_kFindOwn = 1,
  zelTcl_kFindInherited = 2,
  zelTcl_kFindAll = 3
};

// A method name on its way through a lookup.
struct zelTcl_TMethodKey {
  // Hashes the name.
  explicit zelTcl_TMethodKey(const char* name) : name(name) {
    for (const char* p = name; *p != '\0'; ++p) {
      hash = Mix(hash, *p);
    }
  }
  // For a caller that has gone through the characters itself.
  zelTcl_TMethodKey(const char* name, std::uint32_t hash)
      : name(name), hash(hash) {}

  static constexpr std::uint32_t kStart = 2166136261U;
  static std::uint32_t Mix(std::uint32_t hash, char c) {
    return (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  }

  const char* name;
  std::uint32_t hash = kStart;
};

class zelTcl_TClass final : public zelTcl_TEntity {
 public:
  zelTcl_TClass() = default;

  // Ends the class: its array, its objects (whose destructors still find the
  // superclasses), its links, its methods, its command and its registration.
  // Subclasses stay, without this superclass.
  // Re-entry: destructors and traces run scripts.
  void Dispose() override;
  // className objName ?arg ...?
  // Returns: TCL_OK with the name as the caller wrote it, or TCL_ERROR.
  // Errors: wrong # args: should be "CLASS <objName> ..."
  //   could not create object "NAME": not enough memory
  //   could not create object "NAME": class "CLASS" is being deleted
  //   and what the object's own creation reports.
  int CommandHandler(Tcl_Interp* interp, int objc,
                     Tcl_Obj* const objv[]) override;
  int CommandHandlerNR(Tcl_Interp* interp, int objc,
                       Tcl_Obj* const objv[]) override;

  // Makes an empty class that inherits the root class; the very first one
  // becomes the root class.
  // Returns: 0, or non-zero with the message in the result; the caller then
  // retires the class.
  // Errors: those of the entity; not enough memory.
  int Init(Tcl_Interp* interp, Tcl_Obj* name);

  // Looks a method up by name: the own table, the ancestors, or both.
  // Returns: the method, borrowed, or null.
  // Errors, only with an interpreter:
  //   wrong method "NAME": should be A, B, or C
  //   wrong method "NAME": class "CLASS" has no methods"
  //   wrong method "NAME"   (the names could not be collected)
  //   "CLASS" does not specialize the method "NAME"   (without the own table)
  zelTcl_TMethod* FindMethod(Tcl_Obj* name, Tcl_Interp* interp, int flags);
  zelTcl_TMethod* FindMethod(const zelTcl_TMethodKey& key, int flags);
  // Appends the message of a FindMethod that found nothing.
  void ReportNoMethod(Tcl_Interp* interp, const char* key, int flags);

  // All method names an object of the class can call, each once: sorted, or,
  // with prefixes, the own ones and then the inherited ones as CLASS::NAME in
  // the order of the walk.
  // Owns: the caller frees each text with zel_Free, then the list; or calls
  // zelTcl_Obj_DeleteTextList.
  zel_TError FullMethodList(zel_TList** list, int withPrefix);
  // The sorted names as a Tcl list. The list made last is kept as long as
  // nothing is defined, deleted or linked, since the root class asks for it in
  // each of its messages.
  // Returns: the list, borrowed, or null with the error in `*error`, which is 0
  // when Tcl refuses the list.
  Tcl_Obj* MethodNames(zel_TError* error);

  // 1 when `other` is a direct or indirect superclass; no class is its own.
  int IsAncestor(zelTcl_TClass* other);
  // Appends the ancestors, each once, a superclass before its own ancestors.
  // A null `*list` receives a new list that the caller disposes and deletes; a
  // list given keeps what was appended when memory runs out, and what it held
  // is neither listed again nor searched.
  zel_TError CreateRecursiveAncestorList(zel_TList** list);

  // Adds a direct superclass in front of the others.
  // Requires: neither class is the other or an ancestor of the other.
  // Returns: 0, or 1 with "not enough memory" appended to the result.
  int Inherit(Tcl_Interp* interp, zelTcl_TClass* superclass);
  void DeInherit(zelTcl_TClass* superclass);

  // Enters a method, retiring the one that has its name.
  void RegisterMethod(zelTcl_TMethod* method);
  void DeregisterMethod(zelTcl_TMethod* method);
  // Enters an object at the end of the list, or takes it out, by the element
  // that the object itself keeps: both take constant time and no memory.
  void RegisterObject(zel_TListElem* element);
  void DeregisterObject(zel_TListElem* element);

  // True iff Dispose has begun.
  bool IsEnding() const { return ending; }

  Tcl_HashTable* MethodTable() { return &methodTable; }
  unsigned NbMethods() const {
    return methodTableReady != 0 ? static_cast<unsigned>(methodTable.numEntries)
                                 : 0;
  }
  zel_TList* ObjectList() const { return objectList; }
  zel_TList* Specializations() const { return specializations; }

 private:
  friend class zelTcl_TMethodSet;
  class TWalk;

  ~zelTcl_TClass();
  void Free() override { delete this; }

  zelTcl_TObject* NewObject(Tcl_Interp* interp, int objc,
                            Tcl_Obj* const objv[]);
  zelTcl_TMethod* OwnMethod(const zelTcl_TMethodKey& key);
  void Reach(std::uint64_t bits);
  void DisposeObjects();
  void DisposeLinks();
  void DisposeMethods();

  zel_TList* objectList = nullptr;       // objects in creation order, not owned
  Tcl_HashTable methodTable = {};        // name to method; owns the methods
  int methodTableReady = 0;              // 1 while methodTable exists
  zel_TList* superclasses = nullptr;     // direct, newest first, not owned
  zel_TList* specializations = nullptr;  // direct subclasses, not owned

  zelTcl_TClass* firstSuperclass = nullptr;  // head of `superclasses`
  std::uint64_t filter = 0;                  // a bit for each bucket in use
  std::uint64_t reach = 0;                   // the same, with all ancestors'
  bool ending = false;                       // Dispose has begun
  // The walk that has visited this class last, and its way back from here.
  std::uint64_t walkSerial = 0;
  zelTcl_TClass* walkFrom = nullptr;
  zel_TListElem* walkNext = nullptr;

  static constexpr unsigned kNbBuckets = 64;
  zelTcl_TMethod* buckets[kNbBuckets] = {};  // methods by hash of the name
};

// The methods that an object of a class can call, each name once: those of the
// class, then those of its ancestors in the order of the walk. Borrowed;
// nothing may run that changes a class.
class zelTcl_TMethodSet {
 public:
  zelTcl_TMethodSet() = default;
  zelTcl_TMethodSet(const zelTcl_TMethodSet&) = delete;
  zelTcl_TMethodSet& operator=(const zelTcl_TMethodSet&) = delete;
  ~zelTcl_TMethodSet();

  // Requires: called once.
  // Returns: 0, or zel_gErrorMemFull with the set empty.
  zel_TError Collect(zelTcl_TClass* theClass);
  unsigned Count() const { return count; }
  zelTcl_TMethod* const* begin() const { return methods; }
  zelTcl_TMethod* const* end() const { return methods + count; }

 private:
  bool IsNew(zelTcl_TMethod* method);

  zelTcl_TMethod** methods = nullptr;  // from zel_Malloc, `seen` included
  unsigned count = 0;
  zelTcl_TMethod** seen = nullptr;  // by hash of the name
  unsigned mask = 0;                // slots of `seen`, less one
};

#endif  // TCLOBJ_ZELTCL_CLASS_H
