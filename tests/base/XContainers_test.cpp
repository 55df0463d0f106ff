#include "XArray.h"
#include "XList.h"
#include "XMap.h"
#include "XObList.h"
#include "XPtrArray.h"
#include "XPtrList.h"
#include "XStringList.h"

#include <gtest/gtest.h>

namespace {

TEST(XArray, GrowsAndShrinks) {
  XArray<int> array;
  EXPECT_EQ(0, array.Add(10));
  EXPECT_EQ(1, array.Add(20));
  array[1] = 21;
  EXPECT_EQ(21, array.GetAt(1));
  array.RemoveAt(0);
  EXPECT_EQ(1, array.GetSize());
  array.SetSize(3);
  EXPECT_EQ(0, array[2]);
  array.SetSize(-1);
  EXPECT_TRUE(array.IsEmpty());
}

TEST(XArray, RaisesInvalidArgumentOutsideItself) {
  XArray<int> array;
  array.Add(1);
  EXPECT_THROW(array.GetAt(1), std::invalid_argument);
  EXPECT_THROW(array.ElementAt(-1), std::invalid_argument);
  EXPECT_THROW(array.RemoveAt(1), std::invalid_argument);
  EXPECT_THROW(array.SetAt(5, 0), std::invalid_argument);
}

TEST(XList, KeepsOrderFromBothEnds) {
  XList<int> list(10);
  list.AddTail(2);
  list.AddTail(3);
  list.AddHead(1);
  EXPECT_EQ(3, list.GetCount());
  EXPECT_EQ(2, list.GetAt(1));
  EXPECT_EQ(1, list.RemoveHead());
  EXPECT_EQ(3, list.RemoveTail());
  EXPECT_EQ(2, list.GetHead());
  EXPECT_EQ(2, list.GetTail());
}

TEST(XList, ElementsKeepTheirAddress) {
  XList<int> list;
  list.AddTail(1);
  const int* address = &list.GetHead();
  for (int i = 0; i < 100; ++i) list.AddHead(i);
  EXPECT_EQ(address, &list.GetTail());
}

TEST(XList, RaisesInvalidArgumentWhereThereIsNothing) {
  XList<int> list;
  EXPECT_THROW(list.GetHead(), std::invalid_argument);
  EXPECT_THROW(list.RemoveTail(), std::invalid_argument);
  EXPECT_THROW(list.GetAt(0), std::invalid_argument);
  EXPECT_THROW(list.RemoveAt(0), std::invalid_argument);
}

TEST(XMap, LooksUpSetsAndRemoves) {
  XMap<XString, int> map;
  map.SetAt("a", 1);
  map["b"] = 2;
  map.SetAt("a", 3);
  int value = 0;
  EXPECT_TRUE(map.Lookup("a", value));
  EXPECT_EQ(3, value);
  EXPECT_FALSE(map.Lookup("c", value));
  EXPECT_EQ(3, value);
  EXPECT_TRUE(map.RemoveKey("a"));
  EXPECT_FALSE(map.RemoveKey("a"));
  EXPECT_EQ(1, map.GetCount());
}

TEST(XPtrList, OwnsNothing) {
  int number = 5;
  XPtrList list;
  XPtrArray array;
  list.AddTail(&number);
  array.Add(&number);
  list.RemoveAll();
  array.RemoveAll();
  EXPECT_EQ(5, number);
  EXPECT_TRUE(list.IsEmpty());
}

TEST(XObList, HoldsObjectsOfEveryClass) {
  class Thing : public XObject {};
  Thing thing;
  XObList list;
  list.AddTail(&thing);
  EXPECT_TRUE(list.GetHead()->IsKindOf(XObject::GetRuntimeClassStatic()));
}

TEST(XStringList, IsWalkedInOrder) {
  XStringList list;
  list.AddTail("a");
  list.AddTail("b");
  XString joined;
  for (const XString& text : list) joined += text;
  EXPECT_EQ("ab", joined.AsStdString());
}

}  // namespace
