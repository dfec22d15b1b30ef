#include "foundation/zel_DynamicPool.h"

#include <climits>

#include <gtest/gtest.h>

#include "tests/foundation/FailingAlloc.h"

struct TPool : zel_TDynamicPool<unsigned int> {
  ~TPool() { Dispose(); }
};

// Checks every bit, and that each slot handed out still holds its index.
static void ExpectUsed(const TPool& pool, unsigned int nbUsed) {
  ASSERT_EQ(pool.nbUsed, nbUsed);
  ASSERT_EQ(pool.nbBitWords, (pool.capacity + 31) / 32);
  for (unsigned int i = 0; i < pool.nbBitWords * 32; ++i) {
    const bool isUsed = (pool.usedBits[i / 32] >> (i % 32) & 1U) != 0;
    ASSERT_EQ(isUsed, i < nbUsed || i >= pool.capacity) << "bit " << i;
    ASSERT_TRUE(i >= nbUsed || pool.elems[i] == i);
  }
}

TEST(zelDynamicPool, HandsOutInOrderWhateverTheSizes) {
  for (const unsigned int initial : {0U, 1U, 20U, 31U, 32U, 33U, 64U}) {
    for (const unsigned int increment : {1U, 20U, 31U, 32U, 44U}) {
      SCOPED_TRACE(testing::Message() << initial << " by " << increment);
      TPool pool;
      ASSERT_EQ(pool.Init(initial, increment), 0);
      for (unsigned int i = 0; i < 100 && !HasFatalFailure(); ++i) {
        ExpectUsed(pool, i);
        unsigned int index = UINT_MAX;
        unsigned int* const slot = pool.GetElem(&index);
        ASSERT_EQ(index, i);
        ASSERT_EQ(slot, pool.Base() + i);
        *slot = i;
      }
      EXPECT_EQ((pool.capacity - initial) % increment, 0U);
    }
  }
}

TEST(zelDynamicPool, FailuresLeaveItAsItWas) {
  for (const int failAt : {1, 2}) {
    TPool pool;
    EXPECT_NE((FailingAlloc(failAt), pool.Init(1, 1)), 0);
    ExpectUsed(pool, 0);
    *pool.GetElem(nullptr) = 0;  // grows from nothing
    EXPECT_EQ((FailingAlloc(failAt), pool.GetElem(nullptr)), nullptr);
    ExpectUsed(pool, 1);
    *pool.GetElem(nullptr) = 1;
    for (const unsigned int noRoom : {0U, UINT_MAX}) {
      pool.increment = noRoom;  // the same size, or a sum that wraps around
      EXPECT_EQ(pool.GetElem(nullptr), nullptr);
      ExpectUsed(pool, 2);
    }
  }
}
