#include "base/WorldLines.h"

#include "FaultyDisk.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

std::vector<std::string> NamesFor(const char* path, const char* extension) {
  std::vector<std::string> names;
  for (const XString& name : zrk::ListWorldFiles(path, extension)) names.push_back(name.AsStdString());
  return names;
}

TEST(WorldLines, AreLookedForUnderTheUsualNames) {
  EXPECT_THAT(NamesFor("/b.c/a.jpg", ".jpw"),
              testing::ElementsAre("/b.c/a.jgw", "/b.c/a.JGW", "/b.c/a.jpgw", "/b.c/a.JPGW", "/b.c/a.jpw", "/b.c/a.JPW",
                                   "/b.c/a.wld", "/b.c/a.WLD"));
  EXPECT_THAT(NamesFor("a.BMP", ".bmw"),
              testing::ElementsAre("a.bpw", "a.BPW", "a.bmpw", "a.BMPW", "a.bmw", "a.BMW", "a.wld", "a.WLD"));
}

TEST(WorldLines, OfNamesWithoutALongExtensionHaveFewerNames) {
  EXPECT_THAT(NamesFor("/b.c/a", ".jpw"), testing::ElementsAre("/b.c/a.jpw", "/b.c/a.JPW", "/b.c/a.wld", "/b.c/a.WLD"));
  EXPECT_THAT(NamesFor("a.j", ".jpw"), testing::ElementsAre("a.jw", "a.JW", "a.jpw", "a.JPW", "a.wld", "a.WLD"));
}

TEST(WorldLines, MakeATransformFromTheOuterCorner) {
  // Steps of a column: 2 to the east and 0.5 to the north. Steps of a row: 0.25 to the east and 4 to the south.
  const auto transform = zrk::TransformOf({{2.0, 0.5, 0.25, -4.0, 100.0, 200.0}, 6});
  ASSERT_TRUE(transform);
  EXPECT_THAT(*transform, testing::ElementsAre(98.875, 2.0, 0.25, 201.75, 0.5, -4.0));
}

TEST(WorldLines, MakeNoTransformWhereTheyCannotPlaceAnImage) {
  EXPECT_FALSE(zrk::TransformOf({{2.0, 0.0, 0.0, -4.0, 100.0, 200.0}, 5}));
  EXPECT_FALSE(zrk::TransformOf({{2.0, 0.0, 0.0, 0.0, 100.0, 200.0}, 6}));
  EXPECT_FALSE(zrk::TransformOf({{2.0, 1.0, 4.0, 2.0, 100.0, 200.0}, 6}));
  EXPECT_FALSE(zrk::TransformOf({{2.0, 0.0, 0.0, -4.0, std::numeric_limits<double>::infinity(), 200.0}, 6}));
}

/// How the exact policy finds a world file among "a.jgw" and "a.wld" in a folder.
class WorldFileSearch : public testing::Test {
 protected:
  int Find() {
    found_.reset();
    err_.Empty();
    return zrk::FindWorldFile({folder_.Path("a.jgw"), folder_.Path("a.wld")}, found_, err_);
  }

  TempFolder folder_;
  std::optional<zrk::WorldLines> found_;
  XString err_;
};

TEST_F(WorldFileSearch, FindsNothingWhereNoFileIsThere) {
  EXPECT_EQ(1, Find());
  EXPECT_FALSE(found_);
}

TEST_F(WorldFileSearch, TakesTheFirstFileThatIsThere) {
  folder_.Write("a.wld", "3\n0\n0\n-3\n10\n20\n");
  ASSERT_EQ(1, Find());
  EXPECT_EQ(3.0, found_->numbers[0]);
  folder_.Write("a.jgw", " 2.5 \r\n+0\r\n-0 of rotation\r\n-2.5e0\t\r\n10\r\n20");
  ASSERT_EQ(1, Find());
  EXPECT_THAT(found_->numbers, testing::ElementsAre(2.5, 0, 0, -2.5, 10, 20));
}

TEST_F(WorldFileSearch, TakesLinesThatEndWithAComma) {
  folder_.Write("a.jgw", "1,\n0,\n0,\r\n-1,\n100,\n200");
  ASSERT_EQ(1, Find());
  EXPECT_THAT(found_->numbers, testing::ElementsAre(1, 0, 0, -1, 100, 200));
}

TEST_F(WorldFileSearch, FailsWhereTheFirstFileThatIsThereIsDamaged) {
  folder_.Write("a.wld", "3\n0\n0\n-3\n10\n20\n");
  constexpr std::pair<std::string_view, const char*> kDamaged[] = {
      {"", "The world file a.jgw has fewer than six lines"},
      {"3\n0\n0\n-3\n10\n", "The world file a.jgw has fewer than six lines"},
      {"no numbers\n", "The world file a.jgw has no number in line 1"},
      {"3\n0\n0\n\n10\n20\n", "The world file a.jgw has no number in line 4"},
      {"3,5\n0\n0\n-3\n10\n20\n", "The world file a.jgw has no number in line 1"},
      {{"3\0\n\0", 4}, "The world file a.jgw has no number in line 1"},
      {"0\n0\n0\n-3\n10\n20\n", "The world file a.jgw has numbers that place no image"},
      {"3\n0\n0\n-3\ninf\n20\n", "The world file a.jgw has numbers that place no image"},
      {"3\n0\n0\n-3\n10\n1e999\n", "The world file a.jgw has numbers that place no image"},
  };
  for (const auto& [text, sentence] : kDamaged) {
    folder_.Write("a.jgw", std::string(text));
    EXPECT_EQ(0, Find()) << text;
    EXPECT_STREQ(sentence, err_);
  }
}

TEST_F(WorldFileSearch, FailsWhereTheFirstFileThatIsThereCannotBeRead) {
  folder_.Write("a.jgw", "3\n0\n0\n-3\n10\n20\n");
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  disk.FailRead(1);
  EXPECT_EQ(0, Find());
  EXPECT_STREQ("The world file a.jgw can't be read: Input/output error", err_);
  disk.FailRead(disk.GetReadCount() + 1, 4);
  EXPECT_EQ(0, Find());
  disk.FailOpen(disk.GetOpenCount() + 1);
  EXPECT_EQ(0, Find());
  EXPECT_STREQ("The world file a.jgw can't be read: Permission denied", err_);
}

TEST_F(WorldFileSearch, PassesOverNamesThatNoFileCanHave) {
  const XString tooLong = folder_.Path(std::string(300, 'a'));
  EXPECT_EQ(1, zrk::FindWorldFile({tooLong}, found_, err_));
}

}  // namespace
