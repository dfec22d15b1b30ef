// The object system's door and common ground: the entry points that Tcl's load
// command calls, the process-wide state, the definition commands, the
// registries of classes and objects, and the conversions and global-variable
// helpers that the other modules share.
//
// One interpreter per process is served: the first that initialises the system.
// The state below is its own and is used on its thread only; the two flags are
// atomic, since an interpreter of another thread may ask to load the library.

#ifndef TCLOBJ_ZELTCL_OBJ_INIT_H
#define TCLOBJ_ZELTCL_OBJ_INIT_H

#include <atomic>

#include <tcl.h>

#include "foundation/zel_List.h"

#include "tclobj/zelTcl_Entity.h"

class zelTcl_TClass;
class zelTcl_TObject;

// ---- Process-wide state -----------------------------------------------------

extern Tcl_Interp* zelTcl_gObj_Interp;  // the one served, or null
// Names to entities. They own nothing, and are entered and left by the
// functions below only, since the entries lie in the entities.
extern Tcl_HashTable zelTcl_gObj_ClassTable;
extern Tcl_HashTable zelTcl_gObj_ObjectTable;
extern Tcl_Obj* zelTcl_gObj_ConstructorStringObj;  // "constructor", held
extern Tcl_Obj* zelTcl_gObj_DestructorStringObj;   // "destructor", held
// What later classes inherit: the first class made. Null before, and for good
// once that class has gone (then zelTcl_gObj_RootClassGone is true).
extern zelTcl_TClass* zelTcl_gObj_RootClass;
extern bool zelTcl_gObj_RootClassGone;
extern std::atomic<int> zelTcl_gObj_LibInit;     // 1 once Tcl's stubs are there
extern std::atomic<int> zelTcl_gObj_InterpInit;  // 1 once an interpreter served
extern Tcl_Command zelTcl_gObj_MethodCmd;  // the four built-in commands; null
extern Tcl_Command zelTcl_gObj_zelObjectCmd;  // when deleted
extern Tcl_Command zelTcl_gObj_ThisCmd;
extern Tcl_Command zelTcl_gObj_InheritCmd;
extern const char* const gRequestedTclVersion;
extern const char* const zelTcl_gObj_VarExistProcName;
extern const char* const zelTcl_gObj_CloneArrayProcName;
extern const char* const zelTcl_gObj_VarExistProcDefinition;
extern const char* const zelTcl_gObj_CloneArrayProcDefinition;
extern const char* const zelTcl_gObj_RootClassScript;

// ---- Entry and tear-down ----------------------------------------------------

// What load calls, for trusted and for safe interpreters alike. The first
// interpreter to come is served; any other is answered TCL_OK and gets nothing.
// Returns: TCL_OK, or TCL_ERROR with the message of the step that failed; what
// was made before stays, and the next call removes it before it tries again.
extern "C" int Zeltclobject_Init(Tcl_Interp* interp);
extern "C" int Zeltclobject_SafeInit(Tcl_Interp* interp);
int zelTcl_Obj_Init(Tcl_Interp* interp);
// Tears everything down: helper procedures, commands, objects, classes. The
// process cannot serve again.
// Re-entry: destructors run, without the built-in commands.
void zelTcl_Obj_Dispose(Tcl_Interp* interp);
// True iff entities can be made: from the start of the initialisation to that
// of the tear-down.
bool zelTcl_Obj_Serves();
// Returns: the interpreter served; null before and after.
Tcl_Interp* zelTcl_Obj_Interp();
// Delete callback of the built-in commands: clears the token that `clientData`
// points to.
void zelTclCleanupCommand(ClientData clientData);
// Creates a command in the global namespace; on Tcl 8.6 one that need not nest
// the C stack. Null when Tcl refuses.
Tcl_Command zelTcl_Obj_CreateCommand(Tcl_Interp* interp, const char* name,
                                     Tcl_ObjCmdProc* proc,
                                     Tcl_ObjCmdProc* nrProc,
                                     ClientData clientData,
                                     Tcl_CmdDeleteProc* deleteProc);

// ---- Definition commands ----------------------------------------------------

// method className methodName args body
int zel_MethodObjCmd(ClientData clientData, Tcl_Interp* interp, int objc,
                     Tcl_Obj* const objv[]);
// inherit <className> <superClassName>
int zel_InheritObjCmd(ClientData clientData, Tcl_Interp* interp, int objc,
                      Tcl_Obj* const objv[]);
// this methodName ?arg ...?
int zel_ThisObjCmd(ClientData clientData, Tcl_Interp* interp, int objc,
                   Tcl_Obj* const objv[]);

// ---- Registries -------------------------------------------------------------

// Looks a name up among the classes or the objects.
// Returns: the entity, borrowed, or null.
// Errors, only with an interpreter: there is no TYPE named "NAME"
zelTcl_TEntity* zelTcl_Obj_EntityFromTclObj(zelTcl_TEntityType type,
                                            Tcl_Obj* name, Tcl_Interp* interp);
zelTcl_TClass* zelTcl_Obj_ClassFromTclObj(Tcl_Obj* name, Tcl_Interp* interp);
zelTcl_TObject* zelTcl_Obj_ObjectFromTclObj(Tcl_Obj* name, Tcl_Interp* interp);
// The registry of the entity's type.
Tcl_HashTable* zelTcl_Obj_EntityHashTable(const zelTcl_TEntity* entity);
// Enters the entity under its name, or takes it out. A name that is taken or
// missing is reported on the standard error stream.
void zelTcl_Obj_RegisterEntity(zelTcl_TEntity* entity);
void zelTcl_Obj_DeregisterEntity(zelTcl_TEntity* entity);
// Joins three texts.
// Returns: a new text for zel_Free; null when memory ran out.
char* zelTcl_Obj_NewText(const char* first, const char* second,
                         const char* third);
// A fresh value whose text is the name as one list element.
Tcl_Obj* zelTcl_Obj_NewElement(const char* name);
// Makes the two texts of a name: itself, and the name as one list element. They
// are one and the same text where the name needs no quoting.
// Returns: 0 with both replaced (what they held is freed), or 1 with both kept.
// Owns: the caller, zelTcl_Obj_FreeStringNames.
// Errors, only with an interpreter:
//   could not create string names for "NAME": not enough memory
int zelTcl_Obj_UpdateStringNames(const char* name, char** stringName,
                                 char** protectedString, Tcl_Interp* interp);
// Appends the message of that, unless `interp` is null.
void zelTcl_Obj_ReportNoNames(Tcl_Interp* interp, const char* name);
// Frees the two texts of a name, where set, and clears both.
void zelTcl_Obj_FreeStringNames(char** stringName, char** protectedString);

// ---- Variables --------------------------------------------------------------

// True iff the text is of letters (of ASCII), digits and underscores only: then
// it is its own list element, and a variable may have it as its name.
bool zelTcl_Obj_IsWord(const char* text);
// True iff Tcl takes the name for that of a plain variable: neither qualified
// nor like an array element.
bool zelTcl_Obj_IsSimpleName(const char* name);

// The variables that a method's body receives.
enum zelTcl_TImplicitVar {
  zelTcl_kObjNameVar,
  zelTcl_kClassNameVar,
  zelTcl_kMethodNameVar,
  zelTcl_kNbImplicitVars
};
// The name of one of them, a value that the system holds. Borrowed; null when
// nothing is served.
Tcl_Obj* zelTcl_Obj_ImplicitVarName(zelTcl_TImplicitVar which);
// Reads one of them in the scope of the running command.
// Returns: its value, borrowed from the variable, or null.
// Re-entry: read traces run scripts.
Tcl_Obj* zelTcl_Obj_ReadVariable(Tcl_Interp* interp, zelTcl_TImplicitVar which);

// Tells whether there is a global variable of this name.
// Returns: a completion code, with the result empty on TCL_OK.
// Errors: the message of a helper procedure that a script has redefined, or of
// Tcl for a name that no variable can have.
// Re-entry: a redefined helper procedure and read traces run scripts.
int zelTcl_Obj_GlobalExists(Tcl_Interp* interp, Tcl_Obj* name, int* exists);
int zelTcl_Obj_GlobalExists(Tcl_Interp* interp, const char* name, int* exists);
// Copies every element of one global array into another, which is created if
// missing. Returns, errors and re-entry as above.
int zelTcl_Obj_CloneGlobalArray(Tcl_Interp* interp, const char* source,
                                const char* destination);
// True iff no script can run when an array is moved from or to this name: the
// helper procedures are those made at start, and nothing there is traced.
bool zelTcl_Obj_MovesUnseen(Tcl_Interp* interp, const char* name);

// ---- Conversions ------------------------------------------------------------
//
// A value made is fresh, without a reference. On failure nothing is stored, and
// the message is in the interpreter's result.

// Appends the texts of the list to the result: "a", "a, or b", "a, b, or c".
void zelTcl_Obj_AppendOptionList(Tcl_Interp* interp, const zel_TList* list);
// Leaves the message for a list that Tcl refused: could not create list: error
// while adding elements to the list. Returns: TCL_ERROR.
int zelTcl_Obj_ReportList(Tcl_Interp* interp);
// Errors: as above.
int zelTcl_Obj_ListToObj(Tcl_Interp* interp, const zel_TList* list,
                         Tcl_Obj** out);
// The keys of a table, in its own order or sorted. The list is the caller's,
// the keys stay the table's, or the entities'.
// Errors: could not create list from hash table: no more memory
//   could not create list from hash table: error while sorting the list
int zelTcl_Obj_HashToList(Tcl_Interp* interp, Tcl_HashTable* table,
                          zel_TList** out, zel_TListSortFunc comparator);
// The same as a Tcl list.
// Errors: could not create list from hash table: no more memory
//   could not create list from hash table: error while adding elements to the
//     list
int zelTcl_Obj_StringHashTableToObj(Tcl_Interp* interp, Tcl_HashTable* table,
                                    Tcl_Obj** out, int sorted);
// The names of a list of entities.
// Errors: could not create list of names: and the foundation's message
//   could not create name list: error while adding elements to the list
int zelTcl_Obj_EntityListToStringNameObjList(Tcl_Interp* interp,
                                             const zel_TList* list,
                                             Tcl_Obj** out, int sorted);
// Frees a list together with its malloc'd texts.
void zelTcl_Obj_DeleteTextList(zel_TList* list);

#endif  // TCLOBJ_ZELTCL_OBJ_INIT_H
