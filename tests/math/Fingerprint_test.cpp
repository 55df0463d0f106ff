// The fingerprint of a file against the published hash of its blocks, put together by hand, and whatever the order in
// which they come.

#include "math/Fingerprint.h"

#include "base/Disk.h"
#include "FaultyDisk.h"
#include "math/BlockHash.h"
#include "TempFolder.h"
#include "XSystem.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

/// A file of two blocks and a half, and some bytes.
class FingerprintOfAFile : public testing::Test {
 protected:
  FingerprintOfAFile() : bytes_(static_cast<std::size_t>(kLength)) {
    for (std::size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = static_cast<unsigned char>(i * 7 ^ i >> 9);
    folder_.Write("a", bytes_);
    zrk::SystemDisk().Open(folder_.Path("a"), {}, file_);
  }
  ~FingerprintOfAFile() override { XfnSetWorkerCount(1); }
  std::uint64_t Finish(zrk::Fingerprint& fingerprint) {
    EXPECT_TRUE(fingerprint.ReadRest(*file_, nullptr));
    return fingerprint.Get();
  }
  std::uint64_t Read(std::int64_t length = kLength) {
    zrk::Fingerprint fingerprint(length);
    return Finish(fingerprint);
  }
  void Take(zrk::Fingerprint& fingerprint, std::int64_t offset, std::int64_t count) {
    fingerprint.Take(offset, bytes_.data() + offset, count);
  }

  static constexpr std::int64_t kLength = 10247;
  // Computed apart from this library, by the published hash and what docs/FORMATS.md says.
  static constexpr std::uint64_t kExpected = 0x97D85B43BC747121;
  TempFolder folder_;
  std::vector<unsigned char> bytes_;
  std::shared_ptr<zrk::DiskFile> file_;
};

}  // namespace

TEST_F(FingerprintOfAFile, IsTheSumOfTheHashesOfItsBlocks) {
  EXPECT_EQ(kExpected, Read());
}

TEST_F(FingerprintOfAFile, OfAnEmptyFileIsThatOfNoBlocks) {
  EXPECT_EQ(0U, Read(0));
}

TEST_F(FingerprintOfAFile, DoesNotDependOnHowItsBytesWereTaken) {
  for (const std::int64_t cut : {1, 4000, 4095, 4096, 4097, 8191, 8192, 8193, 10246}) {
    zrk::Fingerprint fingerprint(kLength);
    Take(fingerprint, cut, kLength - cut);
    Take(fingerprint, 0, cut);
    EXPECT_EQ(kExpected, Finish(fingerprint)) << cut;
  }
}

TEST_F(FingerprintOfAFile, TakesEachBlockOnce) {
  zrk::Fingerprint fingerprint(kLength);
  for (int i = 0; i < 3; ++i) Take(fingerprint, 0, kLength);
  EXPECT_EQ(kExpected, fingerprint.Get());
  EXPECT_EQ(kExpected, Finish(fingerprint));
}

TEST_F(FingerprintOfAFile, LeavesOutWhatLiesBeyondItsLength) {
  zrk::Fingerprint fingerprint(5000);
  Take(fingerprint, 0, kLength);
  Take(fingerprint, 6000, 100);
  EXPECT_EQ(Read(5000), fingerprint.Get());
  EXPECT_NE(kExpected, fingerprint.Get());
}

TEST_F(FingerprintOfAFile, ReadsOnlyWhatWasNotTaken) {
  FaultyDisk disk;
  std::shared_ptr<zrk::DiskFile> file;
  ASSERT_EQ(0, disk.Open(folder_.Path("a"), {}, file));
  zrk::Fingerprint fingerprint(kLength);
  Take(fingerprint, 0, kLength);
  EXPECT_TRUE(fingerprint.ReadRest(*file, nullptr));
  EXPECT_EQ(0, disk.GetReadCount());
  zrk::Fingerprint holed(kLength);
  Take(holed, 4096, 4096);
  EXPECT_TRUE(holed.ReadRest(*file, nullptr));
  EXPECT_EQ(2, disk.GetReadCount());
  EXPECT_EQ(kExpected, holed.Get());
}

TEST_F(FingerprintOfAFile, ChangesWithAnyByte) {
  for (std::size_t place = 0; place < bytes_.size(); place += 311) {
    bytes_[place] ^= 1;
    zrk::Fingerprint fingerprint(kLength);
    Take(fingerprint, 0, kLength);
    EXPECT_NE(kExpected, fingerprint.Get()) << place;
    bytes_[place] ^= 1;
  }
}

TEST_F(FingerprintOfAFile, ChangesWhereBlocksChangePlaces) {
  std::swap_ranges(bytes_.begin(), bytes_.begin() + 4096, bytes_.begin() + 4096);
  folder_.Write("a", bytes_);
  EXPECT_NE(kExpected, Read());
}

TEST_F(FingerprintOfAFile, IsTheSameOnAnyThreads) {
  bytes_.resize(3'000'000, 9);
  for (std::size_t i = 0; i < bytes_.size(); i += 1000) bytes_[i] = static_cast<unsigned char>(i / 1000);
  folder_.Write("a", bytes_);
  const std::uint64_t alone = Read(3'000'000);
  for (const int count : {2, 3, 5}) {
    XfnSetWorkerCount(count);
    EXPECT_EQ(alone, Read(3'000'000)) << count;
  }
}

TEST_F(FingerprintOfAFile, IsTheSameWhereThreadsTakeTheSameBytes) {
  zrk::Fingerprint fingerprint(kLength);
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&, i] { Take(fingerprint, i, kLength - i); });
  }
  EXPECT_EQ(kExpected, Finish(fingerprint));
}

TEST_F(FingerprintOfAFile, FailsWhereTheFileIsShorterOrTheWorkIsStopped) {
  zrk::Fingerprint longer(kLength + 1), stopped(kLength);
  EXPECT_FALSE(longer.ReadRest(*file_, nullptr));
  const int cancel = 1;
  EXPECT_FALSE(stopped.ReadRest(*file_, &cancel));
}
