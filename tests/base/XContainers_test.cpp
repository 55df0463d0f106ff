#include "XMap.h"
#include "XObList.h"
#include "XPtrArray.h"
#include "XPtrList.h"
#include "XStringList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::Pair;

namespace {

template <class Container>
auto Walk(const Container& container) {
  return std::vector(container.begin(), container.end());
}

}  // namespace

TEST(XArray, GrowsAtItsEnd) {
  XArray<int> array;
  EXPECT_TRUE(array.IsEmpty());
  EXPECT_EQ(array.Add(7), 0);
  EXPECT_EQ(array.Add(8), 1);
  EXPECT_EQ(array.GetSize(), 2);
  EXPECT_EQ(array.GetCount(), 2);
  EXPECT_THAT(Walk(array), ElementsAre(7, 8));
}

TEST(XArray, ElementsAreSetAndGotByPlace) {
  XArray<int> array;
  array.SetSize(3);
  array.SetAt(1, 5);
  array[2] = 6;
  array.ElementAt(0) = 4;
  EXPECT_THAT(Walk(array), ElementsAre(4, 5, 6));
  EXPECT_EQ(std::as_const(array)[1], 5);
}

TEST(XArray, ANewSizeCutsOrExtendsWithDefaults) {
  XArray<int> array;
  array.Add(1);
  array.SetSize(3);
  EXPECT_THAT(Walk(array), ElementsAre(1, 0, 0));
  array.SetSize(1);
  EXPECT_THAT(Walk(array), ElementsAre(1));
  array.SetSize(-1);
  EXPECT_TRUE(array.IsEmpty());
}

TEST(XArray, ElementsAreRemoved) {
  XArray<int> array;
  for (const int each : {1, 2, 3}) array.Add(each);
  array.RemoveAt(1);
  EXPECT_THAT(Walk(array), ElementsAre(1, 3));
  array.RemoveAll();
  EXPECT_TRUE(array.IsEmpty());
}

TEST(XArray, PlacesOutsideAreRefused) {
  XArray<int> array;
  array.Add(1);
  EXPECT_THROW(array.GetAt(1), std::invalid_argument);
  EXPECT_THROW(array.GetAt(-1), std::invalid_argument);
  EXPECT_THROW(array[1] = 2, std::invalid_argument);
  EXPECT_THROW(array.SetAt(-1, 2), std::invalid_argument);
  EXPECT_THROW(array.RemoveAt(1), std::invalid_argument);
  EXPECT_THAT(Walk(array), ElementsAre(1));
}

TEST(XList, GrowsAtBothEnds) {
  XList<int> list;
  EXPECT_TRUE(list.IsEmpty());
  list.AddTail(2);
  list.AddTail(3);
  list.AddHead(1);
  EXPECT_THAT(Walk(list), ElementsAre(1, 2, 3));
  EXPECT_EQ(list.GetCount(), 3);
  EXPECT_EQ(list.GetHead(), 1);
  EXPECT_EQ(list.GetTail(), 3);
  EXPECT_EQ(list.GetAt(1), 2);
}

TEST(XList, ElementsAreTakenFromBothEnds) {
  XList<int> list(1);
  for (const int each : {1, 2, 3, 4}) list.AddTail(each);
  EXPECT_EQ(list.RemoveHead(), 1);
  EXPECT_EQ(list.RemoveTail(), 4);
  list.RemoveAt(1);
  EXPECT_THAT(Walk(list), ElementsAre(2));
  list.RemoveAll();
  EXPECT_TRUE(list.IsEmpty());
}

TEST(XList, ElementsKeepTheirAddress) {
  XStringList list;
  list.AddTail("b");
  const XString* address = &list.GetHead();
  list.AddHead("a");
  list.AddTail("c");
  list.RemoveHead();
  EXPECT_EQ(&list.GetHead(), address);
}

TEST(XList, PlacesOutsideAreRefused) {
  XList<int> list;
  EXPECT_THROW(list.GetHead(), std::invalid_argument);
  EXPECT_THROW(list.GetTail(), std::invalid_argument);
  EXPECT_THROW(list.RemoveHead(), std::invalid_argument);
  EXPECT_THROW(list.RemoveTail(), std::invalid_argument);
  EXPECT_THROW(list.GetAt(0), std::invalid_argument);
  EXPECT_THROW(list.RemoveAt(-1), std::invalid_argument);
}

TEST(XMap, KeepsTheLastValueOfAKeyInOrderOfKeys) {
  XMap<int, XString> map;
  EXPECT_TRUE(map.IsEmpty());
  map.SetAt(2, "b");
  map.SetAt(1, "a");
  map.SetAt(2, "c");
  EXPECT_EQ(map.GetCount(), 2);
  EXPECT_THAT(Walk(map), ElementsAre(Pair(1, XString("a")), Pair(2, XString("c"))));
}

TEST(XMap, ALookupThatFailsLeavesTheValueAlone) {
  XMap<int, int> map;
  map.SetAt(1, 10);
  int value = 5;
  EXPECT_FALSE(map.Lookup(2, value));
  EXPECT_EQ(value, 5);
  EXPECT_TRUE(map.Lookup(1, value));
  EXPECT_EQ(value, 10);
}

TEST(XMap, AMissingValueIsMadeByDefault) {
  XMap<int, int> map;
  EXPECT_EQ(map[3], 0);
  map[3] = 4;
  EXPECT_EQ(map.GetCount(), 1);
  EXPECT_EQ(map[3], 4);
}

TEST(XMap, KeysAreRemoved) {
  XMap<int, int> map;
  map.SetAt(1, 10);
  EXPECT_FALSE(map.RemoveKey(2));
  EXPECT_TRUE(map.RemoveKey(1));
  EXPECT_FALSE(map.RemoveKey(1));
  map.SetAt(1, 10);
  map.RemoveAll();
  EXPECT_TRUE(map.IsEmpty());
}

TEST(XMap, TakesTextsAsKeys) {
  XMap<XString, int> map;
  map.SetAt("b", 2);
  map["a"] = 1;
  int value = 0;
  EXPECT_TRUE(map.Lookup("a", value));
  EXPECT_EQ(value, 1);
}

TEST(XStringList, IsWalkedInOrder) {
  XStringList list;
  list.AddTail("a");
  list.AddTail("b");
  XString joined;
  for (const XString& text : list) joined += text;
  EXPECT_EQ(joined, "ab");
}

TEST(XPtrList, OwnsNothing) {
  int value = 5;
  XPtrArray array;
  array.Add(&value);
  XPtrList list;
  list.AddTail(&value);
  EXPECT_EQ(array[0], &value);
  EXPECT_EQ(list.RemoveHead(), &value);
  array.RemoveAll();
  EXPECT_EQ(value, 5);
}

TEST(XObList, HoldsObjectsOfEveryClass) {
  class Thing : public XObject {};
  Thing thing;
  XObList list;
  list.AddTail(&thing);
  EXPECT_TRUE(list.GetHead()->IsKindOf(XObject::GetRuntimeClassStatic()));
}
