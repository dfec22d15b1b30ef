#include "tclobj/zelTcl_Call.h"

#include <cstring>

#include "foundation/zel_Alloc.h"
#include "foundation/zel_Time.h"

#include "tclobj/zelTcl_Handles.h"
#include "tclobj/zelTcl_Method.h"
#include "tclobj/zelTcl_Obj_Init.h"
#include "tclobj/zelTcl_Obj_Profiling.h"
#include "tclobj/zelTcl_Object.h"

namespace {

// Deep recursion ends in many records at once; more than this are given back.
constexpr int kMostSpares = 64;

zelTcl_TCall* gNewest = nullptr;  // list of active calls
zelTcl_TCall* gSpares = nullptr;  // records for reuse, linked by `older`
int gNbSpares = 0;

constexpr char cArityPrefix[] = "wrong # args: should be \"";
constexpr int kArityPrefixLength = sizeof(cArityPrefix) - 1;
constexpr char cHiddenParams[] = " objName className methodName";
constexpr int kHiddenParamsLength = sizeof(cHiddenParams) - 1;

// The word as one list element, the way Tcl's own messages write a name.
void AppendQuoted(Tcl_Obj* text, Tcl_Obj* word) {
  const zelTcl_TObjRef list(Tcl_NewListObj(1, &word));
  Tcl_AppendObjToObj(text, list.get());
}

bool StartsWith(const char* text, int length, const char* start,
                int startLength) {
  return length >= startLength &&
         memcmp(text, start, static_cast<std::size_t>(startLength)) == 0;
}

// True for a byte inside a character: text cut in front of it would be broken.
bool IsInsideCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

}  // namespace

// ---- Beginning and end ------------------------------------------------------

zelTcl_TCall* zelTcl_TCall::Begin(Tcl_Interp* interp, zelTcl_TMethod* method,
                                  zelTcl_TObject* object, int objc,
                                  Tcl_Obj* const objv[], int fromClassCommand) {
  const double startTime = zelTcl_gObj_Profiling != 0 ? zelTime() : 0.0;
  zelTcl_TCall* call = gSpares;
  if (call != nullptr) {
    gSpares = call->older;
    --gNbSpares;
  } else {
    (void)zel_New(call);  // a null record is reported below
  }
  if (call != nullptr) {
    call->words = call->room;
    if (objc > kRoom) {
      (void)zel_Malloc(call->words, static_cast<unsigned>(objc + kHidden));
    }
    if (call->words == nullptr) {
      zel_Delete(call);
    }
  }
  if (call == nullptr) {
    Tcl_AppendResult(interp, "could not call method \"",
                     method->Class()->StringName(), "::", method->StringName(),
                     "\": no more memory", nullptr);
    zelTcl_Obj_ProfilingCountCall(method, startTime);
    return nullptr;
  }

  method->Preserve();
  object->Preserve();
  call->method = method;
  call->object = object;
  call->startTime = startTime;
  call->fromClassCommand = fromClassCommand;
  call->objc = objc + kHidden;
  call->frame = nullptr;
  call->words[0] = method->FullNameObj();
  call->words[1] = object->NameObj();
  call->words[2] = method->definingClass->NameObj();
  call->words[3] = method->NameObj();
  // The other two are the method's for as long as the record is.
  Tcl_IncrRefCount(call->words[1]);
  Tcl_IncrRefCount(call->words[2]);
  if (objc > 0) {
    // The caller keeps these alive until the command has ended.
    memcpy(call->words + kHidden, objv,
           static_cast<std::size_t>(objc) * sizeof(Tcl_Obj*));
  }
  zelTcl_Internal_EnterProc(interp, call->ChooseProc(interp), object->Command(),
                            &call->lease);
  call->newer = nullptr;
  call->older = gNewest;
  if (gNewest != nullptr) {
    gNewest->newer = call;
  }
  gNewest = call;
  return call;
}

int zelTcl_TCall::End(Tcl_Interp* interp, int code) {
  zelTcl_Internal_LeaveProc(&lease);
  if (code == TCL_ERROR) {
    RewriteArityMessage(interp);
  }
  zelTcl_Obj_ProfilingCountCall(method, startTime);

  (newer != nullptr ? newer->older : gNewest) = older;
  if (older != nullptr) {
    older->newer = newer;
  }
  Tcl_DecrRefCount(words[1]);
  Tcl_DecrRefCount(words[2]);
  method->Release();
  object->Release();
  if (words != room) {
    zel_Free(words);
  }
  // After an unload, nobody would free a spare.
  if (zelTcl_Obj_Serves() && gNbSpares < kMostSpares) {
    older = gSpares;
    gSpares = this;
    ++gNbSpares;
  } else {
    delete this;
  }
  return code;
}

void zelTcl_TCall::FreeSpares() {
  while (gSpares != nullptr) {
    zelTcl_TCall* spare = gSpares;
    gSpares = spare->older;
    zel_Delete(spare);
  }
  gNbSpares = 0;
}

// ---- The two ways to run ----------------------------------------------------

int zelTcl_TCall::Run(Tcl_Interp* interp) {
  if (zelTcl_Internal_CanReturnEarly()) {
    return Tcl_NRCallObjProc(interp, StartNR, this, objc, words);
  }
  zelTcl_Internal_ForgetRewrittenWords(interp);
  return End(interp, zelTcl_Internal_RunProc(interp, lease.proc, objc, words));
}

int zelTcl_TCall::StartNR(ClientData clientData, Tcl_Interp* interp,
                          int /*objc*/, Tcl_Obj* const /*objv*/[]) {
  return static_cast<zelTcl_TCall*>(clientData)->Start(interp);
}

int zelTcl_TCall::Start(Tcl_Interp* interp) {
  zelTcl_Internal_ForgetRewrittenWords(interp);
  const bool hook = zelTcl_kFastPaths && zelTcl_Internal_CanHookEnd();
  if (!hook) {
    // First, so that it runs whatever becomes of the call.
    Tcl_NRAddCallback(interp, EndNR, this, nullptr, nullptr, nullptr);
  }
  const int code = zelTcl_Internal_StartProc(interp, lease.proc, objc, words);
  if (code != TCL_OK) {
    return hook ? End(interp, code) : code;
  }
  frame = zelTcl_Internal_VarFrame(interp);
  if (thisVar != nullptr) {
    MakeLinks(interp);
  }
  if (hook) {
    zelTcl_Internal_HookEnd(interp, EndNR, this);
  } else if (zelTcl_kFastPaths) {
    zelTcl_Internal_RecognizeEnd(interp, words[0]);
  }
  return TCL_OK;
}

int zelTcl_TCall::EndNR(ClientData data[], Tcl_Interp* interp, int result) {
  return static_cast<zelTcl_TCall*>(data[0])->End(interp, result);
}

// ---- Fast path: the links `class` and `this` --------------------------------
//
// The plain procedure begins with an upvar command that makes both links. The
// linked one allots the same locals in the same slots without running upvar,
// and the links are set in the frame just pushed, before its body runs. What a
// script can see is the same; where it could see a difference, the plain
// procedure runs.

Proc* zelTcl_TCall::ChooseProc(Tcl_Interp* interp) {
  thisVar = nullptr;
  if (zelTcl_kFastPaths &&
      zelTcl_Internal_LinksUnseen(interp, object->Command())) {
    Proc* const linked = method->LinkedProc(interp);
    classVar = method->definingClass->ArrayVar(interp);
    if (linked != nullptr && classVar != nullptr) {
      thisVar = object->ArrayVar(interp);
    }
    if (thisVar != nullptr) {
      return linked;
    }
  }
  return method->PlainProc(interp);
}

void zelTcl_TCall::MakeLinks(Tcl_Interp* interp) {
  if (!zelTcl_Internal_LinkLocals(interp, lease.proc, classVar, thisVar)) {
    // The body is queued already: make the links by name.
    (void)Tcl_UpVar2(interp, "#0", Tcl_GetString(words[2]), nullptr, "class",
                     0);
    (void)Tcl_UpVar2(interp, "#0", Tcl_GetString(words[1]), nullptr, "this", 0);
  }
}

// ---- Fast path: the call of the current frame -------------------------------
//
// `this` and the inherited form are defined by the variables objName, className
// and methodName. While the frame still holds the very values that the call
// passed, and the entities still have these names, the record gives the same
// answer without reading variables and searching registries.

const zelTcl_TCall* zelTcl_TCall::Current(Tcl_Interp* interp) {
  const zelTcl_TCall* const call = gNewest;
  if (!zelTcl_kFastPaths || call == nullptr || call->frame == nullptr ||
      call->frame != zelTcl_Internal_VarFrame(interp) ||
      !zelTcl_Internal_FrameHolds(call->frame, call->lease.proc, call->words) ||
      call->object->NameObj() != call->words[1] ||
      call->method->definingClass->NameObj() != call->words[2]) {
    return nullptr;
  }
  return call;
}

// ---- The message for a wrong word count -------------------------------------

// Tcl writes "CLASS::METHOD objName className methodName PARAMETERS"; the
// script wrote "OBJECT METHOD ..." or, for a constructor, "CLASS OBJECT ...".
// The text up to the hidden parameters' end is replaced. Any other message of
// the form that is long enough is cut at the same place, as long as that is not
// inside a character.
void zelTcl_TCall::RewriteArityMessage(Tcl_Interp* interp) const {
  int length = 0;
  const char* const message =
      Tcl_GetStringFromObj(Tcl_GetObjResult(interp), &length);
  if (!StartsWith(message, length, cArityPrefix, kArityPrefixLength)) {
    return;
  }
  const char* const shown = message + kArityPrefixLength;
  const int shownLength = length - kArityPrefixLength;
  const zelTcl_TObjRef name(Tcl_NewObj());
  AppendQuoted(name.get(), words[0]);
  Tcl_AppendToObj(name.get(), cHiddenParams, kHiddenParamsLength);
  int nameLength = 0;
  const char* const nameText = Tcl_GetStringFromObj(name.get(), &nameLength);
  int position = 0;
  if (StartsWith(shown, shownLength, nameText, nameLength)) {
    position = kArityPrefixLength + nameLength;
  } else {
    int plainLength = 0;
    (void)Tcl_GetStringFromObj(words[0], &plainLength);
    position = kArityPrefixLength + plainLength + kHiddenParamsLength +
               (*shown == '{' ? 2 : 0);
    if (length < position || IsInsideCharacter(message[position])) {
      return;
    }
  }
  Tcl_Obj* const rewritten = Tcl_NewStringObj(cArityPrefix, kArityPrefixLength);
  AppendQuoted(rewritten, words[fromClassCommand != 0 ? 2 : 1]);
  Tcl_AppendToObj(rewritten, " ", 1);
  AppendQuoted(rewritten, words[fromClassCommand != 0 ? 1 : 3]);
  Tcl_AppendToObj(rewritten, message + position, length - position);
  Tcl_SetObjResult(interp, rewritten);
}
