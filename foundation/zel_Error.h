#ifndef FOUNDATION_ZEL_ERROR_H
#define FOUNDATION_ZEL_ERROR_H

// Error codes and the process-wide registry of their English messages.
//
// A code is an index: the registry keeps its messages in the order in which
// they were registered, so the built-in ones, registered first, have the same
// codes each time the registry is built. It is built by its first use and is
// not guarded: one thread uses it.

#include <cstdint>

// Result of every operation of this library that can fail. Values above 0 are
// handed out by the registry, so callers test against zel_kErrorNone and pass
// any other code on unchanged.
enum [[nodiscard]] zel_TError : std::int32_t{
    zel_kErrorNoCode = -1,  // a failure for which no code is registered
    zel_kErrorNone = 0,     // success
};

// The built-in codes: zel_kErrorNoCode until the registry has first been built,
// then 1 to 9 in this order for the life of the process.
extern zel_TError zel_gErrorMemFull;
extern zel_TError zel_gErrorWrongParameterVal;
extern zel_TError zel_gDivideByZero;
extern zel_TError zel_gNotInitialized;
extern zel_TError zel_gInitFailed;
extern zel_TError zel_gErrorFileOpenRead;
extern zel_TError zel_gErrorFileOpenWrite;
extern zel_TError zel_gErrorFileRead;
extern zel_TError zel_gErrorFileWrite;

// Builds the registry with the built-in messages only. Seldom needed, since
// the first use does it. A registry in place is released first: its later codes
// then read as "incorrect error code" until they are handed out again.
// Returns: 0, or the bare number 1 when memory ran out.
// Errors: no registry is left, and the next use tries again.
zel_TError zel_ErrorInit();

// Registers one more message.
// Requires: `message` is not null.
// Returns: its code (10 for the first), or -1 when memory ran out.
// Owns: nothing; the text is not copied and has to outlive its code.
zel_TError zel_ErrorNew(const char* message);

// Looks up the message of any code, registered or not.
// Returns: a borrowed text, never null: "incorrect error code" for a code that
// was not handed out, and "error message invalid (not initialized, or no more
// memory)" for -1 or when the registry cannot be built.
const char* zel_ErrorGetMessage(zel_TError code);

// Releases the registry, which the next use builds anew. The built-in codes
// keep their values; those of zel_ErrorNew are no longer registered.
void zel_ErrorDispose();

#endif  // FOUNDATION_ZEL_ERROR_H
