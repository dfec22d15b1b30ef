#include "foundation/zel_Error.h"

#include <cstdint>

#include "foundation/zel_Alloc.h"
#include "foundation/zel_DynamicPool.h"

// The registry is a pool of message pointers, and a code is the index of a
// slot. Invariants:
// 1. gArray is null, or an initialised pool.
// 2. gNbErrors is the number of slots of gArray that hold a message, 0 while
//    there is none, so a code below it can be looked up without further test.

// The one pool in use: every member is compiled and exported with the library.
template struct zel_TDynamicPool<char*>;

zel_TError zel_gErrorMemFull = zel_kErrorNoCode;
zel_TError zel_gErrorWrongParameterVal = zel_kErrorNoCode;
zel_TError zel_gDivideByZero = zel_kErrorNoCode;
zel_TError zel_gNotInitialized = zel_kErrorNoCode;
zel_TError zel_gInitFailed = zel_kErrorNoCode;
zel_TError zel_gErrorFileOpenRead = zel_kErrorNoCode;
zel_TError zel_gErrorFileOpenWrite = zel_kErrorNoCode;
zel_TError zel_gErrorFileRead = zel_kErrorNoCode;
zel_TError zel_gErrorFileWrite = zel_kErrorNoCode;

namespace {

constexpr char cNoError[] = "no error";
constexpr char cErrorNotInitialized[] =
    "error message invalid (not initialized, or no more memory)";
constexpr char cErrorIncorrectCode[] = "incorrect error code";

struct TBuiltInError {
  zel_TError* code;
  const char* message;
};

// In the order of their codes, which start at 1.
constexpr TBuiltInError cBuiltInErrors[] = {
    {&zel_gErrorMemFull, "no more memory"},
    {&zel_gErrorWrongParameterVal, "incorrect parameter value"},
    {&zel_gDivideByZero, "division by 0 or singularity"},
    {&zel_gNotInitialized, "attempt to use an uninitilialized object"},
    {&zel_gInitFailed, "attempt to initialize an object failed"},
    {&zel_gErrorFileOpenRead, "could not open file for reading"},
    {&zel_gErrorFileOpenWrite, "could not open file for writing"},
    {&zel_gErrorFileRead, "error while reading from file"},
    {&zel_gErrorFileWrite, "error while writing to file"},
};

constexpr unsigned int cPoolIncrement = 20;

// The built-in messages find room in the slots that the pool starts with: once
// those are there, building the registry cannot fail half-way.
static_assert(1 + sizeof(cBuiltInErrors) / sizeof(cBuiltInErrors[0]) <=
              cPoolIncrement);

constexpr zel_TError cInitFailed{1};

zel_TDynamicPool<char*>* gArray = nullptr;
std::int32_t gNbErrors = 0;

// Stores a message in the next slot and returns its index, the new code, or
// zel_kErrorNoCode.
zel_TError Register(const char* message) {
  unsigned int index = 0;
  char** const slot = gArray->GetElem(&index);
  if (slot == nullptr) {
    return zel_kErrorNoCode;
  }
  *slot = const_cast<char*>(message);  // never written through
  ++gNbErrors;
  return static_cast<zel_TError>(index);
}

}  // namespace

zel_TError zel_ErrorInit() {
  zel_ErrorDispose();
  if (zel_New(gArray) != zel_kErrorNone) {
    return cInitFailed;
  }
  if (gArray->Init(cPoolIncrement, cPoolIncrement) != zel_kErrorNone) {
    zel_Delete(gArray);
    return cInitFailed;
  }
  if (Register(cNoError) != zel_kErrorNone) {
    return cInitFailed;
  }
  for (const TBuiltInError& error : cBuiltInErrors) {
    const zel_TError code = Register(error.message);
    if (code == zel_kErrorNoCode) {
      return cInitFailed;
    }
    *error.code = code;
  }
  return zel_kErrorNone;
}

zel_TError zel_ErrorNew(const char* message) {
  if (gArray == nullptr && zel_ErrorInit() != zel_kErrorNone) {
    return zel_kErrorNoCode;
  }
  return Register(message);
}

const char* zel_ErrorGetMessage(zel_TError code) {
  if (gArray == nullptr && zel_ErrorInit() != zel_kErrorNone) {
    return cErrorNotInitialized;
  }
  if (code == zel_kErrorNoCode) {
    return cErrorNotInitialized;
  }
  if (code < 0 || code >= gNbErrors) {
    return cErrorIncorrectCode;
  }
  return gArray->Base()[code];
}

void zel_ErrorDispose() {
  zel_TestDisposeAndDelete(gArray);
  gNbErrors = 0;
}
