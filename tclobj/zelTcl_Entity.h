// Entities: the named, command-backed base of classes and objects.
//
// An entity owns a Tcl command of its name in the global namespace, is entered
// under that name in the registry of its type, and follows what Tcl does to the
// command: a rename moves the registry entry and the entity's global array, a
// deletion disposes of the entity.
//
// Invariants of a ready entity:
// 1. The registry of its type maps its name to this entity.
// 2. `command` is a command of that name whose client data is this entity.
// 3. Exactly one rename trace of ours is attached to that command, for good.
// 4. `shortName`, unless empty, and `ownEntry`'s key, unless null, are the same
//    name; one of them is there.
// 2 does not hold from a rename of the command until FollowCommand has ended;
// the rest is under the old name until then.
//
// Who keeps the record allocated. `refCount` counts
//   - one reference for the entity's life, dropped once, by the first Retire;
//   - one for its Tcl command, dropped when Tcl calls the delete procedure,
//     which it may do long after the entity was disposed (a deletion under way
//     calls it after all delete traces);
//   - one for each call in progress, for each object or method of a class, and
//     for each stretch of C code that runs scripts and touches it afterwards.
// Dispose ends the entity for scripts, Release at zero frees the record. Every
// step of Dispose tests what it undoes and leaves it so that it may be undone
// again, so a Dispose entered from inside goes on where the outer one was, and
// the outer one then finds the rest done.
//
// Programs make objects by the hundred thousand: the fields are in an order
// that leaves no gaps, the registry's entry and a short name lie in the record,
// and the name becomes a value only for an object that is called or listed.

#ifndef TCLOBJ_ZELTCL_ENTITY_H
#define TCLOBJ_ZELTCL_ENTITY_H

#include <tcl.h>

#include "tclobj/zelTcl_Internal.h"

enum zelTcl_TEntityType : unsigned char {
  zelTcl_kClassEntity = 0,
  zelTcl_kObjectEntity = 1
};

// The type words of messages, indexed by zelTcl_TEntityType.
extern const char* const zelTcl_kEntityTypeStrings[2];

enum zelTcl_TEntityState {
  zelTcl_kReady = 0,
  zelTcl_kInitialising = 1,
  zelTcl_kDisposing = 2,
  zelTcl_kCommandLost = 3,  // the command went while initialising
};

class zelTcl_TEntity {
 public:
  zelTcl_TEntity(const zelTcl_TEntity&) = delete;
  zelTcl_TEntity& operator=(const zelTcl_TEntity&) = delete;

  // Releases everything the entity holds; classes and objects end by calling
  // this one. May run twice, also inside itself.
  // Re-entry: delete traces of the command run scripts.
  virtual void Dispose();
  // What the entity's command does, complete on return.
  // Returns: a Tcl completion code, with the interpreter's result set.
  virtual int CommandHandler(Tcl_Interp* interp, int objc,
                             Tcl_Obj* const objv[]) = 0;
  // The same for Tcl 8.6, where a method may be queued to run when this has
  // returned.
  virtual int CommandHandlerNR(Tcl_Interp* interp, int objc,
                               Tcl_Obj* const objv[]) = 0;

  // Checks the name, creates the command, enters the registry and sets the
  // rename trace. Leaves `state` at zelTcl_kInitialising.
  // Returns: TCL_OK, or 1 with the entity disposed.
  // Errors: could not create TYPE "NAME": and then one of
  //   a TYPE with that name already exists
  //   a global variable with that name already exists
  //   a command with that name already exists
  //   failed to create the TYPE command
  // or the message of the helper procedure that looks for the variable.
  // Re-entry: a replaced helper procedure, and a command that a qualified name
  // replaces, run scripts.
  int Init(zelTcl_TEntityType type, Tcl_Interp* interp, Tcl_Obj* name);
  // Follows a rename of the command, on Tcl 8.6 right after it where the move
  // of the array can run scripts. Where memory or a helper procedure fails, or
  // the name is taken, the entity stays findable under its old name, with its
  // array.
  // Re-entry: traces on the two arrays run scripts.
  void Rename(Tcl_Interp* interp, const char* oldName, const char* newName,
              int flags);
  // Tcl is deleting the command.
  void CommandDeleted();

  // Ends the entity: Dispose, and the first time the life reference is dropped.
  void Retire();
  void Preserve() { ++refCount; }
  // Frees the record with its last reference. Never runs a script.
  void Release() {
    if (--refCount == 0) {
      Free();
    }
  }
  bool IsCommandGoing() const { return commandGoing; }
  // True iff Dispose deletes the command: nothing is about to replace it.
  bool EndsCommand() const { return endsCommand; }
  // True iff Dispose has begun to take the entity's name away.
  bool IsGone() const { return state == zelTcl_kDisposing; }

  zelTcl_TEntityType Type() const {
    return static_cast<zelTcl_TEntityType>(type);
  }
  const char* TypeString() const { return zelTcl_kEntityTypeStrings[type]; }
  // The registry of the type.
  Tcl_HashTable* Table() const;
  // The name of the command, the registry's entry and the array. Null once the
  // entity is disposed, as the next two.
  const char* StringName() const { return nameGone ? nullptr : LastText(); }
  // The name as one list element: StringName itself where that is a word.
  const char* ProtectedString() const;
  // The name as a value, made when first asked for.
  Tcl_Obj* NameObj() {
    if (nameGone) {
      return nullptr;
    }
    return ownEntry.key.objPtr != nullptr ? ownEntry.key.objPtr : MakeNameObj();
  }
  // Null once Tcl has called the delete procedure.
  Tcl_Command Command() const { return command; }
  // The registry's entry of this entity. Its key is NameObj, once made.
  Tcl_HashEntry* OwnEntry() { return &ownEntry; }
  // True iff the entry is in the registry.
  bool IsRegistered() const { return ownEntry.tablePtr != nullptr; }

  // The entity's array, found once and then held; null where the plain upvar
  // line must make the link (qualified names and those that look like array
  // elements). Borrowed.
  Var* ArrayVar(Tcl_Interp* interp) {
    return arrayVar != nullptr && !zelTcl_Internal_VarIsStale(arrayVar)
               ? arrayVar
               : FindArrayVar(interp);
  }

 protected:
  zelTcl_TEntity()
      : type(zelTcl_kClassEntity),
        endsCommand(false),
        commandGoing(false),
        lifeEnded(false),
        followsRenames(true),
        nameGone(true) {}
  ~zelTcl_TEntity();
  // True iff an entity of either type bears the name, or will in a moment.
  static bool IsTaken(const char* name);
  // Makes the script's own value of the name NameObj, unless there is one:
  // for an entity that is about to need it.
  void ShareName(Tcl_Obj* given);
  // The name, also that of an entity that is disposed.
  const char* LastText() const {
    return *shortName != '\0' ? shortName : Tcl_GetString(ownEntry.key.objPtr);
  }
  // Deletes the record as the type it is.
  virtual void Free() = 0;

 private:
  int Fail(Tcl_Interp* interp, const char* ending, const char* word,
           const char* rest);
  bool HasNamesake() const;
  int MakeWay(Tcl_Interp* interp, const char* commandName);
  void SetName(Tcl_Obj* name);
  Tcl_Obj* MakeNameObj();
  Var* FindArrayVar(Tcl_Interp* interp);
  void DropArrayVar();
  enum class TMove { kDone, kRefused, kFailed };
  static int RenamedNR(ClientData data[], Tcl_Interp* interp, int result);
  void FollowCommand(Tcl_Interp* interp);
  void FollowOwnCommand(Tcl_Interp* interp, Tcl_Obj* left);
  static zelTcl_TEntity* Heir(Tcl_Interp* interp, const char* name);
  TMove MoveArray(Tcl_Interp* interp, const char* newName);
  TMove FollowName(Tcl_Interp* interp, const char* newName);

  Tcl_HashEntry ownEntry = {};    // see OwnEntry; one reference to the key
  Tcl_Command command = nullptr;  // null when there is none
  Var* arrayVar = nullptr;        // the global array, held; see ArrayVar
  char shortName[16] = "";        // a word that fits, or empty
  int refCount = 1;               // see the head of this file

 protected:
  unsigned char state = zelTcl_kInitialising;  // a zelTcl_TEntityState

 private:
  unsigned char type : 1;   // a zelTcl_TEntityType
  bool endsCommand : 1;     // Dispose deletes the command
  bool commandGoing : 1;    // Tcl has called the delete procedure
  bool lifeEnded : 1;       // the life reference has been dropped
  bool followsRenames : 1;  // no rename is being followed, none has failed
  bool nameGone : 1;        // there is no name yet, or no longer
};

// Tcl's callbacks; the client data is the entity.
int zelTcl_EntityCmdHandler(ClientData clientData, Tcl_Interp* interp, int objc,
                            Tcl_Obj* const objv[]);
int zelTcl_EntityCmdHandlerNR(ClientData clientData, Tcl_Interp* interp,
                              int objc, Tcl_Obj* const objv[]);
void zelTcl_EntityDeleteCmdHandler(ClientData clientData);
void zelTcl_EntityRenameCallback(ClientData clientData, Tcl_Interp* interp,
                                 const char* oldName, const char* newName,
                                 int flags);

#endif  // TCLOBJ_ZELTCL_ENTITY_H
