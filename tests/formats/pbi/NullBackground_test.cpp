// The picture for tiles that are not there: taken where it is exactly the bitmap that is wanted.

#include "tiles/pbi/NullBackground.h"

#include "TempFolder.h"
#include "XPath.h"
#include "XResourceFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

std::vector<unsigned char> Background() {
  std::vector<unsigned char> bytes(54 + 256 * 256 * 4);
  for (std::size_t i = 54; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 7);
  bytes[0] = 'B', bytes[1] = 'M', bytes[14] = 40;
  bytes[19] = 1, bytes[23] = 1;  // 256 each way
  bytes[28] = 32;
  return bytes;
}

std::size_t CountBytes(const std::vector<unsigned char>& bytes) {
  const TempFolder folder;
  folder.Write("a.bmp", bytes);
  return zrk::ReadNullBackground(folder.Path("a.bmp")).size();
}

}  // namespace

TEST(NullBackground, GivesThePixelsAsTheyLieInTheFile) {
  const TempFolder folder;
  const std::vector<unsigned char> bytes = Background();
  folder.Write("a.bmp", bytes);
  EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + 54, bytes.end()), zrk::ReadNullBackground(folder.Path("a.bmp")));
}

TEST(NullBackground, IsNothingOfAnotherKindSizeOrLength) {
  for (const std::size_t at : {0u, 1u, 14u, 18u, 22u, 28u}) {
    std::vector<unsigned char> bytes = Background();
    bytes[at] ^= 1;
    EXPECT_EQ(0u, CountBytes(bytes)) << at;
  }
  std::vector<unsigned char> bytes = Background();
  bytes.push_back(0);
  EXPECT_EQ(0u, CountBytes(bytes));
  bytes.resize(bytes.size() - 2);
  EXPECT_EQ(0u, CountBytes(bytes));
  EXPECT_TRUE(zrk::ReadNullBackground("/none/NullBackground.bmp").empty());
}

TEST(NullBackground, LiesInTheResourceFolder) {
  const TempFolder folder, other;
  const std::vector<unsigned char> bytes = Background();
  folder.Write("NullBackground.bmp", bytes);
  XfnSetResourceFolder(folder.Path());
  EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + 54, bytes.end()), zrk::LoadNullBackground());
  XfnSetResourceFolder(other.Path());
  EXPECT_TRUE(zrk::LoadNullBackground().empty());
  XfnSetResourceFolder("");
}

TEST(ModulePath, IsTheFolderOfTheProgramThatHasTheLibraryInItself) {
  EXPECT_EQ(std::filesystem::read_symlink("/proc/self/exe").parent_path(),
            std::filesystem::weakly_canonical(XfnGetModulePathUpper().GetText()));
}
