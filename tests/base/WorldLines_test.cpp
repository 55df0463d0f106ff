#include "base/WorldLines.h"

#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

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

TEST(WorldLines, ThatPlaceNothingGiveWayToTheNextName) {
  const TempFolder folder;
  folder.Write("a.jgw", "no numbers");
  folder.Write("a.wld", "3\n0\n0\n-3\n10\n20\n");
  zrk::WorldLines lines;
  EXPECT_EQ(folder.Path("a.wld"), zrk::FindWorldFile(folder.Path("a.jpg"), ".jpw", lines).AsStdString());
  EXPECT_EQ(3.0, lines.numbers[0]);
  EXPECT_TRUE(zrk::FindWorldFile(folder.Path("b.jpg"), ".jpw", lines).IsEmpty());
}

}  // namespace
