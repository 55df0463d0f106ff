#include "base/ViewedFile.h"

#include "FaultyDisk.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

class ViewedFiles : public testing::Test {
 protected:
  zrk::ViewedFile Open() {
    std::shared_ptr<zrk::DiskFile> file;
    EXPECT_EQ(0, disk_.Open(folder_.Path("a"), {}, file));
    return zrk::ViewedFile(file);
  }

  TempFolder folder_;
  FaultyDisk disk_;
};

TEST_F(ViewedFiles, ShowTheirBytesForSmallPieces) {
  folder_.Write("a", {7, 8, 9});
  const zrk::ViewedFile file = Open();
  const std::span<const unsigned char> bytes = file.View((1 << 20) - 1);
  EXPECT_EQ((std::vector<unsigned char>{7, 8, 9}), std::vector<unsigned char>(bytes.begin(), bytes.end()));
}

TEST_F(ViewedFiles, AreToBeReadForLargePieces) {
  folder_.Write("a", {7, 8, 9});
  EXPECT_TRUE(Open().View(1 << 20).empty());
}

TEST_F(ViewedFiles, ShowNoMoreThanTheyHoldNow) {
  folder_.Write("a", std::vector<unsigned char>(10000, 1));
  const zrk::ViewedFile file = Open();
  EXPECT_EQ(10000u, file.View(1).size());
  std::filesystem::resize_file(folder_.Path("a"), 20);
  EXPECT_EQ(20u, file.View(1).size());
  std::filesystem::resize_file(folder_.Path("a"), 30000);
  EXPECT_EQ(10000u, file.View(1).size()) << "what is mapped does not grow";
}

TEST_F(ViewedFiles, AreToBeReadWhereTheyCannotBeMapped) {
  folder_.Write("a", {7, 8, 9});
  disk_.FailMap(1);
  const zrk::ViewedFile file = Open();
  EXPECT_TRUE(file.View(1).empty());
  EXPECT_TRUE(file.View(1).empty());
}

}  // namespace
