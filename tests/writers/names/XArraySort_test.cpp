#include "XArraySort.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using Pair = std::pair<int, int>;

int CompareFirst(const Pair& added, const Pair& there) {
  return added.first < there.first ? -1 : added.first > there.first;
}

std::vector<Pair> ListPairs(const Vexorine::ZRL::IO::XArraySort<Pair>& array) {
  std::vector<Pair> pairs;
  for (int i = 0; i < array.GetSize(); ++i) pairs.push_back(array.GetAt(i));
  return pairs;
}

}  // namespace

TEST(XArraySort, KeepsElementsInAscendingOrder) {
  XArraySort<Pair> array(&CompareFirst);
  EXPECT_EQ(0, array.Insert({5, 0}));
  EXPECT_EQ(0, array.Insert({2, 1}));
  EXPECT_EQ(2, array.Insert({9, 2}));
  EXPECT_EQ(1, array.Insert({3, 3}));
  EXPECT_THAT(ListPairs(array), testing::ElementsAre(Pair(2, 1), Pair(3, 3), Pair(5, 0), Pair(9, 2)));
}

TEST(XArraySort, PutsANewElementInFrontOfAllItsEquals) {
  XArraySort<Pair> array(&CompareFirst);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(0, array.Insert({7, i}));
  EXPECT_EQ(0, array.Insert({1, 5}));
  EXPECT_EQ(1, array.Insert({7, 6}));
  EXPECT_EQ(1, array.FindPosition({7, 0}));
}

TEST(XArraySort, RefusesIndicesOutside) {
  XArraySort<Pair> array(&CompareFirst);
  array.Insert({1, 1});
  EXPECT_THROW(array.GetAt(1), std::invalid_argument);
  EXPECT_THROW(array.GetAt(-1), std::invalid_argument);
  array.RemoveAll();
  EXPECT_EQ(0, array.GetSize());
}
