#include "House.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::IsEmpty;

// The rules, held against this tree.

namespace {

std::vector<std::string> BandClasses() {
  std::vector<std::string> classes;
  for (const tagXFormat& format : XfnGetFormats()) {
    if (format.bandClass[0] != '\0') classes.push_back(format.bandClass);
  }
  return classes;
}

const House& ThisTree() {
  static const House house(SourcePath(""), BandClasses());
  return house;
}

TEST(ThisHouse, IsRead) {
  EXPECT_GT(ThisTree().GetFiles().size(), 100u);
  EXPECT_EQ("base", ThisTree().RoomOf("include/XFile.h"));
  EXPECT_EQ("core/model", ThisTree().RoomOf("include/XBand.h"));
  EXPECT_EQ("bands/bmp", ThisTree().RoomOf("include/ZRMBandBMP.h"));
  EXPECT_EQ("core/dispatch", ThisTree().RoomOf("include/XFormatTable.h"));
}

TEST(ThisHouse, HasIncludesThatPointDown) {
  EXPECT_THAT(ThisTree().FindWrongArrows(), IsEmpty());
}

TEST(ThisHouse, HasBandsThatAreBlindToEachOther) {
  EXPECT_THAT(ThisTree().FindBandsThatAreSeen(), IsEmpty());
}

TEST(ThisHouse, NamesFormatsInTheirOwnFoldersOnly) {
  EXPECT_THAT(ThisTree().FindNamedFormats(), IsEmpty());
}

TEST(ThisHouse, HasNoForeignHeadersInPublicOnesAndOnTheGroundFloor) {
  EXPECT_THAT(ThisTree().FindForeignHeaders(), IsEmpty());
}

TEST(ThisHouse, HasNoSourceOfMoreThanSixHundredLines) {
  EXPECT_THAT(ThisTree().FindLongFiles(600), IsEmpty());
}

TEST(ThisHouse, HasOneHeaderThatIncludesThemAll) {
  EXPECT_THAT(ThisTree().FindHeadersMissingFrom("ZRKio.h"), IsEmpty());
}

TEST(ThisHouse, HasAllThatBelongsToAFormatThatCanBeRead) {
  EXPECT_THAT(FindGapsOfFormats(SourcePath(""), XfnGetFormats()), IsEmpty());
}

}  // namespace
