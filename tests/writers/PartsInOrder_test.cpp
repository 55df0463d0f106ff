#include "writers/PartsInOrder.h"
#include "ThreadRuns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

namespace {

using testing::ElementsAre;

class PartsInOrderTest : public testing::Test {
 protected:
  zrk::PartsInOrder::Sink Keep(int failAt = -1) {
    return [this, failAt](int index, const auto& part) {
      EXPECT_EQ(index, part.at(0));
      taken_.push_back(index);
      return index != failAt;
    };
  }
  static zrk::PartsInOrder::Bytes Part(int index) { return {static_cast<unsigned char>(index)}; }
  std::vector<int> taken_;
};

TEST_F(PartsInOrderTest, HandsOnWhatComesEarlyWhenItsTurnIs) {
  zrk::PartsInOrder parts(3, 5, Keep());
  EXPECT_TRUE(parts.Add(5, Part(5)));
  EXPECT_TRUE(parts.Add(4, Part(4)));
  EXPECT_TRUE(taken_.empty());
  EXPECT_TRUE(parts.Add(3, Part(3)));
  EXPECT_TRUE(parts.Add(6, Part(6)));
  EXPECT_THAT(taken_, ElementsAre(3, 4, 5, 6));
}

TEST_F(PartsInOrderTest, TakesNothingBehindAPartThatTheSinkDidNotTake) {
  zrk::PartsInOrder parts(0, 5, Keep(1));
  EXPECT_TRUE(parts.Add(0, Part(0)));
  EXPECT_TRUE(parts.Add(2, Part(2)));
  EXPECT_FALSE(parts.Add(1, Part(1)));
  EXPECT_FALSE(parts.Add(3, Part(3)));
  EXPECT_THAT(taken_, ElementsAre(0, 1));
}

TEST_F(PartsInOrderTest, OfManyThreadsComeInOrder) {
  zrk::PartsInOrder parts(0, 1, Keep());
  std::atomic<int> next = 0;
  RunOnThreads(8, [&](int) {
    for (int index = next++; index < 200; index = next++) EXPECT_TRUE(parts.Add(index, Part(index)));
  });
  ASSERT_EQ(200u, taken_.size());
  for (int i = 0; i < 200; ++i) EXPECT_EQ(i, taken_[static_cast<std::size_t>(i)]);
}

TEST_F(PartsInOrderTest, LetsThreadsGoWhoseTurnWillNotCome) {
  zrk::PartsInOrder parts(0, 1, Keep());
  RunOnThreads(4, [&](int t) {
    if (t == 3) {
      parts.GiveUp();
    } else {
      EXPECT_FALSE(parts.Add(t + 2, Part(t + 2)));
    }
  });
  EXPECT_TRUE(taken_.empty());
}

}  // namespace
