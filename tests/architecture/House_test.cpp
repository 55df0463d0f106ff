#include "House.h"

#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

// The rules, tried on small trees that keep or break them.

namespace {

class SmallTree : public testing::Test {
 protected:
  void Write(const std::string& path, const std::string& text) {
    const fs::path file = Root() / path;
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }
  fs::path Root() const { return folder_.Path("tree"); }
  House Read() const { return House(Root(), {"ZRMBandOne", "ZRMBandTwo"}); }

  TempFolder folder_;
};

using HouseArrows = SmallTree;
using HouseBands = SmallTree;
using HouseHeaders = SmallTree;
using HouseFormats = SmallTree;

TEST_F(HouseArrows, PointDownOrWithinTheRoom) {
  Write("src/base/Low.h", "");
  Write("src/core/model/Row.h", "#include \"base/Low.h\"\n");
  Write("src/core/level/Store.cpp", "#include \"core/model/Row.h\"\n");
  EXPECT_THAT(Read().FindWrongArrows(), IsEmpty());
}

TEST_F(HouseArrows, DoNotPointUp) {
  Write("src/core/model/Row.h", "");
  Write("src/base/Low.cpp", "\n#include \"core/model/Row.h\"\n");
  EXPECT_THAT(Read().FindWrongArrows(),
              ElementsAre("src/base/Low.cpp:2 includes core/model/Row.h: from base to core/model"));
}

TEST_F(HouseArrows, DoNotPointAcrossAFloor) {
  Write("src/geo/Place.h", "");
  Write("src/math/Spline.cpp", "#include \"geo/Place.h\"\n");
  EXPECT_THAT(Read().FindWrongArrows(), ElementsAre("src/math/Spline.cpp:1 includes geo/Place.h: from math to geo"));
}

TEST_F(HouseArrows, DoNotPointFromTheModelToTheDispatch) {
  Write("src/core/dispatch/Table.h", "");
  Write("src/core/model/Row.cpp", "#include \"core/dispatch/Table.h\"\n");
  EXPECT_THAT(Read().FindWrongArrows(),
              ElementsAre("src/core/model/Row.cpp:1 includes core/dispatch/Table.h: from core/model to core/dispatch"));
}

TEST_F(HouseArrows, DoNotRunInACircleInsideTheCore) {
  Write("src/core/native/Fields.h", "");
  Write("src/core/level/Store.cpp", "#include \"core/native/Fields.h\"\n");
  EXPECT_THAT(Read().FindWrongArrows(),
              ElementsAre("src/core/level/Store.cpp:1 includes core/native/Fields.h: from core/level to core/native"));
}

TEST_F(HouseArrows, AreSeenThroughPublicHeaders) {
  Write("include/XRow.h", "");
  Write("src/core/model/XRow.cpp", "#include \"XRow.h\"\n");
  Write("src/base/Low.cpp", "#include \"XRow.h\"\n");
  EXPECT_THAT(Read().FindWrongArrows(), ElementsAre("src/base/Low.cpp:1 includes XRow.h: from base to core/model"));
}

TEST_F(HouseArrows, AreSeenThroughHeadersWithoutASource) {
  Write("include/XRow.h", "");
  Write("include/XRowList.h", "#include \"XRow.h\"\n");
  Write("src/core/model/XRow.cpp", "");
  Write("src/base/Low.cpp", "#include \"XRowList.h\"\n");
  EXPECT_THAT(Read().FindWrongArrows(), ElementsAre("src/base/Low.cpp:1 includes XRowList.h: from base to core/model"));
}

TEST_F(HouseArrows, LeadToFilesOfTheTree) {
  Write("src/math/Spline.cpp", "#include \"gdal.h\"\n");
  EXPECT_THAT(Read().FindWrongArrows(), ElementsAre("src/math/Spline.cpp:1 includes gdal.h, which is not in the tree"));
}

TEST_F(HouseArrows, StartInARoom) {
  Write("src/attic/Old.cpp", "");
  EXPECT_THAT(Read().FindWrongArrows(), ElementsAre("src/attic/Old.cpp lies in no room"));
}

TEST_F(HouseArrows, AreFreeForToolsWithinTheirOwnRoom) {
  Write("tools/zrkio/Args.h", "");
  Write("tools/zrkio/Info.cpp", "#include \"Args.h\"\n#include \"ZRKio.h\"\n");
  Write("include/ZRKio.h", "");
  EXPECT_THAT(Read().FindWrongArrows(), IsEmpty());
}

TEST_F(HouseBands, AreBlindToEachOther) {
  Write("include/ZRMBandOne.h", "");
  Write("include/ZRMBandTwo.h", "");
  Write("src/bands/one/ZRMBandOne.cpp", "#include \"ZRMBandOne.h\"\n");
  Write("src/bands/two/ZRMBandTwo.cpp", "#include \"ZRMBandTwo.h\"\n#include \"ZRMBandOne.h\"\n");
  EXPECT_THAT(Read().FindBandsThatAreSeen(), ElementsAre("src/bands/two/ZRMBandTwo.cpp:2 knows ZRMBandOne"));
}

TEST_F(HouseBands, AreKnownToTheirOwnRoomAlone) {
  Write("include/ZRMBandOne.h", "");
  Write("src/bands/one/ZRMBandOne.cpp", "");
  Write("src/bands/one/OneFormat.cpp", "#include \"ZRMBandOne.h\"\n");
  Write("src/core/dispatch/Loaders.cpp", "#include \"ZRMBandOne.h\"\n");
  EXPECT_THAT(Read().FindBandsThatAreSeen(), ElementsAre("src/core/dispatch/Loaders.cpp:1 knows ZRMBandOne"));
}

TEST_F(HouseBands, AreNamedByIdOrCastInTheirFoldersTheTableAndTheDoorOnly) {
  Write("src/bands/one/OneFormat.cpp", "static_cast<ZRMBandOne&>(band); kFormatONE;\n");
  Write("src/core/dispatch/FormatTable.cpp", "Absent(kFormatTWO)\n");
  Write("src/core/dispatch/XRSFileIO.cpp", "LoadOf(kFormatONE)\n");
  Write("src/core/dispatch/FormatLookup.cpp", "return kFormatNone;\n");
  Write("src/core/dispatch/Bounds.cpp", "\ncase kFormatONE:\n");
  Write("tools/Info.cpp", "dynamic_cast<const ZRMBandOne*>(band)\n");
  EXPECT_THAT(Read().FindNamedFormats(), ElementsAre("src/core/dispatch/Bounds.cpp:2 names kFormatONE",
                                                     "tools/Info.cpp:1 names _cast<const ZRMBandO"));
}

TEST_F(HouseBands, OfOneProductFamilyKnowEachOther) {
  Write("include/ZRMBandOne.h", "");
  Write("src/rpf/ZRMBandOne.cpp", "");
  Write("src/rpf/Frame.cpp", "#include \"ZRMBandOne.h\"\n");
  EXPECT_THAT(Read().FindBandsThatAreSeen(), IsEmpty());
}

TEST_F(HouseHeaders, OfOtherProjectsStayOutOfPublicHeadersAndTheGroundFloor) {
  Write("include/XRow.h", "#include <vector>\n#include <gdal.h>\n#include <unistd.h>\n");
  Write("src/base/Low.cpp", "#include <unistd.h>\n#include <hwy/highway.h>\n");
  Write("src/math/Spline.cpp", "#include <hwy/highway.h>\n");
  EXPECT_THAT(Read().FindForeignHeaders(),
              ElementsAre("include/XRow.h:2 includes gdal.h", "include/XRow.h:3 includes unistd.h",
                          "src/base/Low.cpp:2 includes hwy/highway.h"));
}

TEST_F(HouseHeaders, AreAllInTheOneThatIncludesThemAll) {
  Write("include/ZRKio.h", "#include \"XRow.h\"\n");
  Write("include/XRow.h", "");
  Write("include/XRowList.h", "");
  EXPECT_THAT(Read().FindHeadersMissingFrom("ZRKio.h"), ElementsAre("XRowList.h is missing"));
}

TEST_F(HouseHeaders, AndSourcesHaveALengthThatCanBeRead) {
  Write("src/base/Long.cpp", std::string(11, '\n'));
  Write("src/base/Short.cpp", std::string(10, '\n'));
  EXPECT_THAT(Read().FindLongFiles(10), ElementsAre("src/base/Long.cpp has 11 lines"));
}

constexpr tagXFormat kToy = {1, "Toy image", "toy", true, true, "ZRMBandToy"};

TEST_F(HouseFormats, MissEverythingInAnEmptyTree) {
  EXPECT_THAT(FindGapsOfFormats(Root(), {&kToy, 1}),
              ElementsAre("Toy image has no line in the table of README.md", "Toy image has no public header",
                          "Toy image has no band source", "Toy image has no row in a source named ...Format.cpp",
                          "Toy image has no test file", "Toy image has no samples beside its tests",
                          "Toy image has no fuzz target", "Toy image has no fuzz seeds",
                          "Toy image has no page in docs/formats headed by its name"));
}

TEST_F(HouseFormats, AreCompleteWithTheirFilesAndALine) {
  Write("README.md", "# Toys\n\n| Toy image | .toy |\n");
  Write("include/ZRMBandToy.h", "");
  Write("src/bands/toy/ZRMBandToy.cpp", "");
  Write("src/bands/toy/ToyFormat.cpp", "const FormatRow kToyFormat = {\"ZRMBandToy\"};");
  Write("tests/formats/toy/ZRMBandToy_test.cpp", "");
  Write("tests/formats/toy/ToySamples.cpp", "");
  Write("fuzz/ZRMBandToy_fuzz.cpp", "");
  Write("fuzz/seeds/ZRMBandToy/a.toy", "");
  Write("docs/formats/toy.md", "# Toy image\n");
  EXPECT_THAT(FindGapsOfFormats(Root(), {&kToy, 1}), IsEmpty());
}

TEST_F(HouseFormats, AreNotTakenForOthersWhoseNameIsLonger) {
  Write("README.md", "| Toy image 2000 | .toy |\n| x | about Toy image |\n");
  EXPECT_EQ("Toy image has no line in the table of README.md", FindGapsOfFormats(Root(), {&kToy, 1}).front());
}

TEST_F(HouseFormats, NeedNothingWhileTheyCannotBeRead) {
  tagXFormat unread = kToy;
  unread.canRead = false;
  EXPECT_THAT(FindGapsOfFormats(Root(), {&unread, 1}), IsEmpty());
}

}  // namespace
