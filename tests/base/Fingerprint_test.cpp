// The hash against published values of XXH64 with seed 0, and the fingerprint of a file against the hash of its blocks.

#include "base/Fingerprint.h"

#include "base/Disk.h"
#include "base/LittleEndian.h"
#include "TempFolder.h"
#include "XSystem.h"

#include <gtest/gtest.h>
#include <string_view>

namespace {

std::uint64_t HashText(std::string_view text) {
  return zrk::HashBytes(text.data(), text.size());
}

/// A file of two blocks and a half.
class FingerprintFile : public testing::Test {
 protected:
  FingerprintFile() : bytes_(static_cast<std::size_t>(kLength)) {
    for (std::size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = static_cast<unsigned char>(i * 7 ^ i >> 9);
    folder_.Write("a", bytes_);
    zrk::SystemDisk().Open(folder_.Path("a"), {}, file_);
  }
  ~FingerprintFile() override { XfnSetWorkerCount(1); }
  std::uint64_t Take(std::int64_t length) {
    std::uint64_t fingerprint = 0;
    EXPECT_TRUE(zrk::FingerprintFile(*file_, length, nullptr, fingerprint));
    return fingerprint;
  }

  static constexpr std::int64_t kLength = 5 * zrk::kFingerprintBlock / 2;
  TempFolder folder_;
  std::vector<unsigned char> bytes_;
  std::shared_ptr<zrk::DiskFile> file_;
};

}  // namespace

TEST(HashBytes, IsXxh64) {
  EXPECT_EQ(0xEF46DB3751D8E999U, HashText(""));
  EXPECT_EQ(0xD24EC4F1A98C6E5BU, HashText("a"));
  EXPECT_EQ(0x44BC2CF5AD770999U, HashText("abc"));
  EXPECT_EQ(0x415872F599CEA71EU, HashText("asdf"));
  EXPECT_EQ(0x02A2E85470D6FD96U, HashText("Call me Ishmael. Some years ago--never mind how long precisely-"));
}

TEST_F(FingerprintFile, IsTheHashOfTheHashesOfItsBlocks) {
  std::vector<unsigned char> hashes;
  for (std::int64_t offset = 0; offset < kLength; offset += zrk::kFingerprintBlock) {
    const auto count = static_cast<std::size_t>(std::min(zrk::kFingerprintBlock, kLength - offset));
    const auto hash = zrk::LittleEndian(zrk::HashBytes(bytes_.data() + offset, count));
    hashes.insert(hashes.end(), hash.begin(), hash.end());
  }
  ASSERT_EQ(3U * 8, hashes.size());
  EXPECT_EQ(zrk::HashBytes(hashes.data(), hashes.size()), Take(kLength));
}

TEST_F(FingerprintFile, OnThreadsIsThatOfOne) {
  const std::uint64_t alone = Take(kLength);
  for (const int count : {2, 3, 5}) {
    XfnSetWorkerCount(count);
    EXPECT_EQ(alone, Take(kLength)) << count;
  }
}

TEST_F(FingerprintFile, ChangesWithAnyByte) {
  const std::uint64_t before = Take(kLength);
  for (const std::size_t place : {std::size_t{0}, std::size_t{1500000}, bytes_.size() - 1}) {
    std::vector<unsigned char> changed = bytes_;
    changed[place] ^= 1;
    folder_.Write("a", changed);
    EXPECT_NE(before, Take(kLength)) << place;
  }
}

TEST_F(FingerprintFile, OfAnEmptyFileIsThatOfNoBlocks) {
  EXPECT_EQ(HashText(""), Take(0));
}

TEST_F(FingerprintFile, FailsWhereTheFileIsShorterOrTheWorkIsStopped) {
  std::uint64_t fingerprint = 7;
  EXPECT_FALSE(zrk::FingerprintFile(*file_, kLength + 1, nullptr, fingerprint));
  EXPECT_FALSE(zrk::FingerprintFile(*file_, -1, nullptr, fingerprint));
  const int cancel = 1;
  EXPECT_FALSE(zrk::FingerprintFile(*file_, kLength, &cancel, fingerprint));
  EXPECT_EQ(7U, fingerprint);
}
