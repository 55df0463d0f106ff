// A band class of a made-up file with as many channels as are asked for, as the classes of formats are written.

#include "ZRMBandChannels.h"

#include "core/model/BandFrame.h"

#include <gtest/gtest.h>
#include <climits>
#include <memory>
#include <vector>

namespace {

/// Pixel x of channel c is 10 * c + x; nothing but what a band class must add stands here.
class ManyChannels : public ZRMBandChannels<ZRMBand> {
 public:
  explicit ManyChannels(ManyChannels* master, int numChannels = 0)
      : ZRMBandChannels(std::make_unique<Impl>(numChannels), master) {
    if (!master) SetSize(8, 1);
    SetByteRange();
  }
  int CountDecodes() const { return static_cast<Impl&>(GetFrame()).numDecodes; }

 private:
  struct Impl final : Frame {
    explicit Impl(int count) : numChannels(count) {}
    zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int*) override {
      ++numDecodes;
      zrk::ChannelReads::Record* const record = reads.Begin(request, {numChannels, request.Width(), 1});
      for (int c = 0; record && c < numChannels; ++c) {
        for (int x = 0; x < request.Width(); ++x) {
          record->At(c).data[x] = static_cast<unsigned char>(10 * c + request.x0 + x);
        }
      }
      return record;
    }
    int numChannels;
    int numDecodes = 0;
  };
};

class ZRMBandChannelsTest : public testing::Test {
 protected:
  ZRMBandChannelsTest() {
    for (int c = 1; c < 20; ++c) {
      followers_.push_back(std::make_unique<ManyChannels>(&master_));
      followers_.back()->SetChannel(c);
    }
  }
  ManyChannels& Follower(int channel) { return *followers_[static_cast<std::size_t>(channel - 1)]; }
  /// The first sample of a window; -1 where the read fails.
  static int Read(ZRMBand& band, int x0, int x1) {
    tagXArr2* out = nullptr;
    return band.ReadSubset(out, 0, x0, x1, 0, 0, nullptr) ? out->data[0] : -1;
  }

  ManyChannels master_{nullptr, 20};
  std::vector<std::unique_ptr<ManyChannels>> followers_;
};

}  // namespace

TEST_F(ZRMBandChannelsTest, OneDecodeServesTwentyChannels) {
  EXPECT_EQ(2, Read(master_, 2, 5));
  for (int c = 1; c < 20; ++c) EXPECT_EQ(10 * c + 2, Read(Follower(c), 2, 5));
  EXPECT_EQ(1, master_.CountDecodes());
}

TEST_F(ZRMBandChannelsTest, AFollowerThatComesFirstHasItsMasterRead) {
  EXPECT_EQ(193, Read(Follower(19), 3, 3));
  EXPECT_EQ(3, Read(master_, 3, 3));
  EXPECT_EQ(53, Read(Follower(5), 3, 3));
  EXPECT_EQ(2, master_.CountDecodes());
}

TEST_F(ZRMBandChannelsTest, AFollowerSharesTheGeometryAndOwnsNoResult) {
  EXPECT_EQ(8, Follower(4).GetXSize());
  ASSERT_EQ(40, Read(Follower(4), 0, 0));
  EXPECT_EQ(nullptr, Follower(4).GetResult(4));
  ASSERT_NE(nullptr, master_.GetResult(4));
  int level = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  master_.GetPrevReadSubsetParam(level, x0, x1, y0, y1);
  EXPECT_EQ(std::vector<int>({0, 0, 0, 0, 0}), std::vector<int>({level, x0, x1, y0, y1}));
}

TEST_F(ZRMBandChannelsTest, AChannelThatIsNotThereFails) {
  for (const int channel : {-1, 20, INT_MAX}) {
    Follower(1).SetChannel(channel);
    EXPECT_EQ(-1, Read(Follower(1), 0, 3));
  }
}

TEST_F(ZRMBandChannelsTest, CleanupFreesTheResults) {
  ASSERT_EQ(0, Read(master_, 0, 3));
  ASSERT_EQ(1, master_.CleanupMemory(1, 1));
  EXPECT_EQ(nullptr, master_.GetResult(0));
  EXPECT_EQ(0, Read(master_, 0, 3));
}
