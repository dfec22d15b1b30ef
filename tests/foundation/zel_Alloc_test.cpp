#include "foundation/zel_Alloc.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "tests/foundation/FailingAlloc.h"

static std::string gLog;
static zel_TError gInitResult;

struct TTwoStep {
  TTwoStep() { gLog += "new "; }
  ~TTwoStep() { gLog += "delete "; }
  zel_TError Init() { return gInitResult; }
  void Dispose() { gLog += "Dispose "; }
};

struct THuge {  // 64 of these would take 0 bytes
  char bytes[SIZE_MAX / 64 + 1];
};

TEST(zelAlloc, MallocTurnsToWholePagesAt2048Bytes) {
  for (const unsigned int words : {1U, 511U, 512U, 5000U}) {
    const FailingAlloc alloc;
    std::uint32_t* block = nullptr;
    EXPECT_EQ(zel_Malloc(block, words), 0);
    block[words - 1] = 0;
    EXPECT_EQ(alloc.kinds, words < 512 ? "m" : "v");
    zel_TestAndFree(block);
    zel_TestAndFree(block);
    EXPECT_EQ(block, nullptr);
  }
}

TEST(zelAlloc, TwoStepObjectsAndArrays) {
  TTwoStep* object = nullptr;
  for (const int initResult : {0, 77}) {
    gLog.clear();
    gInitResult = static_cast<zel_TError>(initResult);
    EXPECT_EQ(zel_NewAndInit(object), initResult);
    EXPECT_EQ(object == nullptr, initResult == 77);
    zel_TestDisposeAndDelete(object);
    zel_TestDisposeAndDelete(object);
    EXPECT_EQ(gLog, "new Dispose delete ");
  }
  EXPECT_EQ(zel_NewArray(object, 2), 0);
  zel_TestAndDeleteArray(object);
  zel_TestAndDeleteArray(object);
  EXPECT_EQ(gLog, "new Dispose delete new new delete delete ");
}

TEST(zelAlloc, NoMemory) {
  (void)zel_ErrorInit();
  TTwoStep stale;
  TTwoStep* object = &stale;
  EXPECT_EQ((FailingAlloc(1), zel_NewAndInit(object)), 1);
  EXPECT_EQ(object, nullptr);
  TTwoStep* array = &stale;
  EXPECT_EQ((FailingAlloc(1), zel_NewArray(array, 2)), 1);
  EXPECT_EQ(array, nullptr);
  for (const unsigned int count : {1U, 5000U}) {
    char* block = nullptr;
    EXPECT_EQ((FailingAlloc(1), zel_Malloc(block, count)), 1);
    zel_Free(block);
  }
  const FailingAlloc alloc;
  THuge* huge = nullptr;
  EXPECT_EQ(zel_Malloc(huge, 64), 1);
  EXPECT_EQ(zel_NewArray(huge, 64), 1);
  EXPECT_EQ(alloc.kinds, "");
}
