#include "XChannelReads.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <array>
#include <barrier>
#include <thread>
#include <vector>

namespace {

/// Fills channel `channel` of a read with one value, as a decoder would.
void ReadOnePixel(zrk::ChannelReads& reads, const zrk::ReadRequest& request, int channel, unsigned char value) {
  zrk::ChannelReads::Record& record = reads.Begin(request);
  tagXArr2& buffer = record.channels[static_cast<std::size_t>(channel)];
  ASSERT_EQ(buffer.Alloc(1, 1, 1), 1);
  *buffer.data = value;
  record.isFilled = true;
}

}  // namespace

TEST(ChannelReads, BeforeTheFirstReadThereIsNoRequestAndNoResult) {
  const zrk::ChannelReads reads;
  EXPECT_EQ(reads.GetLastRequest(), (zrk::ReadRequest{-1, -1, -1, -1, -1}));
  EXPECT_EQ(reads.GetResult(0, 4), nullptr);
}

TEST(ChannelReads, AResultIsThereOnceTheReadHasFilledIt) {
  zrk::ChannelReads reads;
  zrk::ChannelReads::Record& record = reads.Begin({1, 0, 9, 5, 6});
  ASSERT_EQ(record.channels[2].Alloc(5, 1, 1), 1);
  EXPECT_EQ(reads.GetResult(2, 4), nullptr);
  record.isFilled = true;
  EXPECT_EQ(reads.GetResult(2, 4), &record.channels[2]);
  EXPECT_EQ(reads.GetLastRequest(), (zrk::ReadRequest{1, 0, 9, 5, 6}));
}

TEST(ChannelReads, AChannelWithoutDataOrOutsideTheImageHasNoResult) {
  zrk::ChannelReads reads;
  ReadOnePixel(reads, {0, 0, 0, 0, 0}, 2, 1);
  EXPECT_EQ(reads.GetResult(1, 4), nullptr);
  EXPECT_EQ(reads.GetResult(2, 2), nullptr);
  EXPECT_EQ(reads.GetResult(-1, 4), nullptr);
  EXPECT_EQ(reads.GetResult(4, 5), nullptr);
}

TEST(ChannelReads, ANewReadGivesUpTheResultsBeforeIt) {
  zrk::ChannelReads reads;
  ReadOnePixel(reads, {0, 0, 0, 0, 0}, 0, 1);
  reads.Begin({0, 1, 1, 0, 0});
  EXPECT_EQ(reads.GetResult(0, 4), nullptr);
  EXPECT_EQ(reads.GetLastRequest().x0, 1);
}

TEST(ChannelReads, AReleaseForgetsRequestAndResults) {
  zrk::ChannelReads reads;
  ReadOnePixel(reads, {0, 0, 0, 0, 0}, 0, 1);
  reads.Release();
  EXPECT_EQ(reads.GetResult(0, 4), nullptr);
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
        const tagXArr2* result = reads.GetResult(number % 4, 4);
        const bool isRight = reads.GetLastRequest() == request && result && *result->data == value;
        numRight[static_cast<std::size_t>(number)] += isRight;
        meeting.arrive_and_wait();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(std::all_of(numRight.begin(), numRight.end(), [](int count) { return count == kRounds; }));
}
