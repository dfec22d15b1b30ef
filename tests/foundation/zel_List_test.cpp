#include "foundation/zel_List.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/zel_Alloc.h"

#include "tests/foundation/FailingAlloc.h"

namespace {

void* Text(const char* text) {
  return const_cast<char*>(text);
}

void* Int(std::intptr_t i) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): what an integer list does
  return reinterpret_cast<void*>(i);
}

struct TTestList : zel_TList {
  explicit TTestList(const std::vector<const char*>& texts = {}) {
    EXPECT_EQ(Init(), 0);
    for (const char* const text : texts) {
      EXPECT_EQ(AppendValue(Text(text), nullptr), 0);
    }
  }
  ~TTestList() { Dispose(); }
};

// The texts in order, each followed by a blank, after a look at every link.
std::string Texts(const zel_TList& list) {
  std::string texts;
  const zel_TListElem* prev = nullptr;
  for (const zel_TListElem* e = list.Head(); e != nullptr; e = e->Next()) {
    EXPECT_TRUE(e->list == &list && e->prev == prev);
    texts.append(static_cast<const char*>(e->Value())) += ' ';
    prev = e;
  }
  EXPECT_EQ(list.tail, prev);
  return texts;
}

// Compares first letters only, so that the rest tells equal values apart.
std::string gCompared;
int FirstLetter(void* a, void* b) {
  const auto* const left = static_cast<const char*>(a);
  const auto* const right = static_cast<const char*>(b);
  gCompared.append(left).append(right) += ' ';
  return left[0] - right[0];
}

std::string Sorted(const std::vector<const char*>& texts) {
  TTestList list(texts);
  EXPECT_EQ(list.Sort(FirstLetter), 0);
  return Texts(list);
}

}  // namespace

TEST(zelList, LinksAndUnlinksAtEveryPlace) {
  TTestList list;
  TTestList other({"x"});
  zel_TListElem* b = nullptr;
  EXPECT_EQ(list.AppendValuetAfterElem(Text("b"), nullptr, &b), 0);
  EXPECT_EQ(list.AppendValuetAfterElem(Text("d"), b, nullptr), 0);
  EXPECT_EQ(list.AppendValuetAfterElem(Text("c"), b, nullptr), 0);
  EXPECT_EQ(list.InsertValue(Text("a"), nullptr), 0);
  other.RemoveElem(b);
  EXPECT_EQ(Texts(list) + Texts(other), "a b c d x ");
  list.RemoveElem(b);
  b->RemoveFromList();
  other.InsertElem(b);
  list.RemoveValue(Text("a"));
  list.RemoveValue(Text("d"));
  list.RemoveValue(Text("none"));
  EXPECT_EQ(Texts(list) + Texts(other), "c b x ");
  zel_DisposeAndDelete(b);
  other.RemoveValue(Text("x"));
  EXPECT_EQ(Texts(other), "");
  list.Dispose();
  list.InsertListAfterElem(&other, nullptr);
  EXPECT_EQ(list.InsertValue(Text("again"), nullptr), 0);
  other.InsertListAfterElem(&list, list.head);  // not in `other`
  EXPECT_EQ(Texts(list), "again ");
}

TEST(zelList, MovesAllElementsOfAnother) {
  TTestList list;
  for (const int place : {0, 0, 1, 6}) {  // empty, head, middle, tail
    zel_TListElem* after = place == 0 ? nullptr : list.head;
    for (int i = 1; i < place; ++i) {
      after = after->next;
    }
    TTestList other({place == 0 ? "a" : "b", "c"});
    list.InsertListAfterElem(&other, after);
    EXPECT_EQ(Texts(other), "");
  }
  EXPECT_EQ(Texts(list), "a b c c a c b c ");
}

TEST(zelList, LooksUpValuesFromTheHead) {
  char b1[] = "b";
  char b2[] = "b";
  TTestList list({"a", b1, "c", b1});
  EXPECT_EQ(list.ValueElem(b1), list.Head()->Next());
  EXPECT_FALSE(list.IsValueMember(b2));
  EXPECT_TRUE(list.IsEquivalentValueMember(b2, zel_ListSortStringFunc));
  EXPECT_FALSE(list.IsEquivalentValueMember(Text(""), zel_ListSortStringFunc));
  gCompared.clear();
  EXPECT_TRUE(list.IsEquivalentValueMember(Text("b?"), FirstLetter));
  EXPECT_EQ(gCompared, "ab? bb? ");
  list.RemoveValue(b1);
  EXPECT_EQ(Texts(list), "a c b ");
}

TEST(zelList, SortsEqualValuesInItsOwnWay) {
  EXPECT_EQ(Sorted({"2a", "1a", "2b"}), "1a 2b 2a ");
  EXPECT_EQ(Sorted({"1a", "1b", "1c", "1d", "1e"}), "1a 1b 1c 1d 1e ");
  EXPECT_EQ(Sorted({"2a", "1a", "2b", "2c", "1b", "3a", "1c", "2d"}),
            "1a 1b 1c 2d 2a 2b 2c 3a ");
  gCompared.clear();
  EXPECT_EQ(Sorted({"a"}) + Sorted({"b", "a"}) + gCompared, "a a b ba ");
  gCompared.clear();
  EXPECT_EQ(Sorted({"3a", "1a", "3b", "2a", "1b"}), "1a 1b 2a 3b 3a ");
  EXPECT_EQ(gCompared, "3a1a 2a1b 3b1b 1b3b 2a3b 1a1b 3a1b 1b3a 2a3a 3b3a ");
}

TEST(zelList, SortsTextsInOneBlockAndComparesIntegers) {
  for (const std::size_t count : {0, 127, 128, 1000}) {
    std::vector<const char*> texts;
    for (std::size_t i = 0; i < count; ++i) {
      texts.push_back(&"zyxwvutsrqponmlkjihgfedcba"[i * i * 7919 % 26]);
    }
    TTestList list(texts);
    const FailingAlloc alloc;
    EXPECT_EQ(list.Sort(zel_ListSortStringFunc), 0);
    EXPECT_EQ(alloc.kinds, count == 0 ? "" : count < 128 ? "m" : "v");
    std::sort(texts.rbegin(), texts.rend());  // all in one text, backwards
    EXPECT_EQ(Texts(list), Texts(TTestList(texts)));
  }
  EXPECT_EQ(zel_ListSortIntFunc(Int(5), Int(-1)), 1);
  EXPECT_EQ(zel_ListSortIntFunc(Int(INT32_MIN), Int(INT32_MAX)), -1);
  EXPECT_EQ(zel_ListSortIntFunc(Int(0xFFFFFFFF), Int(-1)), 0);  // 32 bits
}

TEST(zelList, ClonesAndReportsNoMemory) {
  (void)zel_ErrorInit();
  TTestList list({"b", "a"});
  zel_TListElem* elem = nullptr;
  zel_TList* copy = &list;
  EXPECT_EQ((FailingAlloc(1), list.AppendValue(nullptr, &elem)), 1);
  EXPECT_EQ((FailingAlloc(1), list.InsertValue(nullptr, &elem)), 1);
  EXPECT_EQ((FailingAlloc(1), list.head->Clone(&elem)), 1);
  EXPECT_EQ((FailingAlloc(1), list.Sort(zel_ListSortStringFunc)), 1);
  for (const int failAt : {1, 2, 3}) {
    EXPECT_EQ((FailingAlloc(failAt), list.Clone(&copy)), 1);
  }
  EXPECT_TRUE(elem == nullptr && copy == &list);
  EXPECT_EQ(Texts(list), "b a ");
  EXPECT_EQ(list.head->Clone(nullptr) + list.Clone(nullptr), 0);
  EXPECT_EQ(list.head->Clone(&elem) + list.Clone(&copy), 0);
  copy->AppendElem(elem);
  EXPECT_EQ(Texts(*copy), "b a b ");
  zel_DisposeAndDelete(copy);
}
