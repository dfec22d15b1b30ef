#include "foundation/zel_Error.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "tests/foundation/FailingAlloc.h"

static const zel_TError gCodeAtLoad = zel_gErrorMemFull;  // no test ran yet

static std::string Message(int code) {
  return zel_ErrorGetMessage(static_cast<zel_TError>(code));
}

TEST(zelError, BuiltInCodesAndMessages) {
  EXPECT_EQ(gCodeAtLoad, -1);
  zel_ErrorDispose();
  std::string all;
  for (const int code :
       {INT_MIN, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, INT_MAX}) {
    all += Message(code) + "\n";
  }
  EXPECT_EQ(all,
            "incorrect error code\n"
            "incorrect error code\n"
            "error message invalid (not initialized, or no more memory)\n"
            "no error\n"
            "no more memory\n"
            "incorrect parameter value\n"
            "division by 0 or singularity\n"
            "attempt to use an uninitilialized object\n"
            "attempt to initialize an object failed\n"
            "could not open file for reading\n"
            "could not open file for writing\n"
            "error while reading from file\n"
            "error while writing to file\n"
            "incorrect error code\n"
            "incorrect error code\n");
  int code = 0;
  for (const zel_TError variable :
       {zel_gErrorMemFull, zel_gErrorWrongParameterVal, zel_gDivideByZero,
        zel_gNotInitialized, zel_gInitFailed, zel_gErrorFileOpenRead,
        zel_gErrorFileOpenWrite, zel_gErrorFileRead, zel_gErrorFileWrite}) {
    EXPECT_EQ(variable, ++code);
  }
}

TEST(zelError, NewKeepsThePointersAndGrowsBy20) {
  zel_ErrorDispose();
  const std::string texts[45];
  for (int code = 10; code < 45; ++code) {
    const char* const text = texts[code].c_str();
    const std::string kinds = code == 10 ? "nam" : code % 20 == 0 ? "am" : "";
    for (int failAt = 1; failAt <= static_cast<int>(kinds.size()); ++failAt) {
      EXPECT_EQ((FailingAlloc(failAt), zel_ErrorNew(text)), -1);
    }
    const FailingAlloc alloc;
    EXPECT_EQ(zel_ErrorNew(text), code);
    EXPECT_EQ(alloc.kinds, kinds);
    for (int i = 10; i <= code; ++i) {
      EXPECT_EQ(zel_ErrorGetMessage(static_cast<zel_TError>(i)),
                texts[i].c_str());
    }
  }
}

TEST(zelError, RebuildsAfterDisposeInitAndFailure) {
  for (const int failAt : {1, 2, 3}) {
    zel_ErrorDispose();
    zel_ErrorDispose();
    EXPECT_EQ((FailingAlloc(failAt), Message(0)),
              "error message invalid (not initialized, or no more memory)");
    EXPECT_EQ((FailingAlloc(failAt), zel_ErrorInit()), 1);
    EXPECT_EQ(zel_ErrorNew("old"), 10);
    EXPECT_EQ(zel_ErrorInit(), 0);
    EXPECT_EQ(Message(10), "incorrect error code");
    EXPECT_EQ(zel_ErrorNew("new"), 10);
    EXPECT_EQ((FailingAlloc(failAt), zel_ErrorInit()), 1);
    EXPECT_EQ(Message(10), "incorrect error code");
  }
}
