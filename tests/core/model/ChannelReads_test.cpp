#include "core/model/ChannelReads.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <array>
#include <barrier>
#include <thread>
#include <vector>

namespace {

constexpr zrk::ChannelReads::Shape kFourPixels{4, 1, 1, 1};

/// Fills channel `channel` of a read of four with one value, as a decoder would.
void ReadOnePixel(zrk::ChannelReads& reads, const zrk::ReadRequest& request, int channel, unsigned char value) {
  zrk::ChannelReads::Record* const record = reads.Begin(request, kFourPixels);
  ASSERT_NE(record, nullptr);
  *record->At(channel).data = value;
  record->isFilled = true;
}

}  // namespace

TEST(ChannelReads, BeforeTheFirstReadThereIsNoRequestAndNoResult) {
  const zrk::ChannelReads reads;
  EXPECT_EQ(reads.GetLastRequest(), (zrk::ReadRequest{-1, -1, -1, -1, -1}));
  EXPECT_EQ(reads.GetResult(0), nullptr);
}

TEST(ChannelReads, AResultIsThereOnceTheReadHasFilledIt) {
  zrk::ChannelReads reads;
  zrk::ChannelReads::Record* const record = reads.Begin({1, 0, 9, 5, 6}, {3, 5, 1, 1});
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(reads.GetResult(2), nullptr);
  record->isFilled = true;
  EXPECT_EQ(reads.GetResult(2), &record->At(2));
  EXPECT_EQ(reads.GetLastRequest(), (zrk::ReadRequest{1, 0, 9, 5, 6}));
}

TEST(ChannelReads, AChannelOutsideTheReadHasNoResult) {
  zrk::ChannelReads reads;
  ReadOnePixel(reads, {0, 0, 0, 0, 0}, 2, 1);
  EXPECT_EQ(reads.GetResult(-1), nullptr);
  EXPECT_EQ(reads.GetResult(4), nullptr);
}

TEST(ChannelReads, ManyChannelsHaveRoomAndStayWhereTheyAreWhenMoreAreRead) {
  zrk::ChannelReads reads;
  reads.Begin({0, 0, 0, 0, 0}, {3, 1, 1, 2})->isFilled = true;
  const tagXArr2* const second = reads.GetResult(1);
  reads.Begin({0, 1, 1, 0, 0}, {1000, 1, 1, 2})->isFilled = true;
  EXPECT_EQ(reads.GetResult(1), second);
  ASSERT_NE(reads.GetResult(999), nullptr);
  EXPECT_EQ(reads.GetResult(999)->elementSize, 2);
  EXPECT_TRUE(reads.GetResult(999)->isLent);
}

TEST(ChannelReads, AReadOfFewerChannelsGivesUpTheOthers) {
  zrk::ChannelReads reads;
  ReadOnePixel(reads, {0, 0, 0, 0, 0}, 3, 1);
  reads.Begin({0, 1, 1, 0, 0}, {1, 1, 1, 1})->isFilled = true;
  EXPECT_EQ(reads.GetResult(3), nullptr);
}

TEST(ChannelReads, AShapeThatCannotBeFailsAndCountsAsAsked) {
  zrk::ChannelReads reads;
  EXPECT_EQ(reads.Begin({9, 0, 0, 0, 0}, {3, 0, 1, 1}), nullptr);
  EXPECT_EQ(reads.GetLastRequest().level, 9);
  EXPECT_EQ(reads.GetResult(0), nullptr);
}

TEST(ChannelReads, ANewReadGivesUpTheResultsBeforeIt) {
  zrk::ChannelReads reads;
  ReadOnePixel(reads, {0, 0, 0, 0, 0}, 0, 1);
  reads.Begin({0, 1, 1, 0, 0}, kFourPixels);
  EXPECT_EQ(reads.GetResult(0), nullptr);
  EXPECT_EQ(reads.GetLastRequest().x0, 1);
}

TEST(ChannelReads, AResultIsFoundByItsRequestAlone) {
  zrk::ChannelReads reads;
  ReadOnePixel(reads, {0, 0, 0, 0, 0}, 1, 7);
  EXPECT_EQ(reads.FindResult(1, {0, 0, 0, 0, 0}), reads.GetResult(1));
  EXPECT_EQ(reads.FindResult(1, {1, 0, 0, 0, 0}), nullptr);
}

TEST(ChannelReads, AReleaseForgetsRequestAndResults) {
  zrk::ChannelReads reads;
  ReadOnePixel(reads, {0, 0, 0, 0, 0}, 0, 1);
  reads.Release();
  EXPECT_EQ(reads.GetResult(0), nullptr);
  EXPECT_EQ(reads.GetLastRequest().level, -1);
}

TEST(ChannelReads, ARequestKnowsItsSize) {
  const zrk::ReadRequest request{2, 3, 10, 4, 4};
  EXPECT_EQ(request.Width(), 8);
  EXPECT_EQ(request.Height(), 1);
}

TEST(ChannelReadsThreads, EachThreadSeesItsOwnLastRequestAndPixels) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 200;
  zrk::ChannelReads reads;
  std::barrier meeting(kThreads);
  std::array<int, kThreads> numRight{};
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&, number] {
      for (int round = 0; round < kRounds; ++round) {
        const zrk::ReadRequest request{number, round, round + number, 0, number};
        const auto value = static_cast<unsigned char>(number * 31 + round);
        ReadOnePixel(reads, request, number % 4, value);
        meeting.arrive_and_wait();  // all have read before any looks
        const tagXArr2* result = reads.GetResult(number % 4);
        const bool isRight = reads.GetLastRequest() == request && result && *result->data == value;
        numRight[static_cast<std::size_t>(number)] += isRight;
        meeting.arrive_and_wait();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(std::all_of(numRight.begin(), numRight.end(), [](int count) { return count == kRounds; }));
}
