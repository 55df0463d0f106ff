#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "XFormatId.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <algorithm>

// JPEG 2000 files under the exact policy. What stands in the way of the compatible one is told beside each case.

namespace {

class ExactJ2k : public LoadedRaster {
 public:
  explicit ExactJ2k(const std::vector<unsigned char>& bytes) : LoadedRaster(bytes, kFormatJP2, kReadExact) {}
};

TEST(Jp2Exact, TheFirstReadOfTheMasterGivesItsOwnChannel) {
  ExactJ2k image(Jp2Builder().Components(3).Samples([](int c, int, int) { return 10 * (c + 1); }).Build());
  EXPECT_EQ(10, image.Read(0, 0, {2, 9, 3, 8}).bytes[0]);
}

TEST(Jp2Exact, KeepsTheDepthAndTheTypeOfEachComponent) {
  const auto flat = [](int c, int, int) { return c == 0 ? 77 : c == 1 ? 800 : -3; };
  ExactJ2k image(Jp2Builder().Components(3).Component(1, 10, false).Component(2, 4, true).Samples(flat).Build());
  EXPECT_EQ(kPint08, image.Band(0).GetDataType());
  EXPECT_EQ(kPint16, image.Band(1).GetDataType());
  EXPECT_EQ(kSint08, image.Band(2).GetDataType());
  EXPECT_EQ(77, image.Read(0, 0, {0, 1, 0, 1}).bytes[0]);
  const Pixels words = image.Read(1, 0, {0, 1, 0, 1});
  EXPECT_EQ(800, words.bytes[0] + 256 * words.bytes[1]);
  EXPECT_EQ(-3, static_cast<signed char>(image.Read(2, 0, {0, 1, 0, 1}).bytes[0]));
}

TEST(Jp2Exact, RepeatsTheSamplesOfSmallerComponents) {
  const auto columns = [](int, int x, int) { return x; };
  ExactJ2k image(
      Jp2Builder().Components(3).Component(1, 8, false, 2, 2).Component(2, 8, false, 2, 2).Samples(columns).Build());
  ASSERT_EQ(3, image.CountBands());
  const Pixels pixels = image.Read(1, 0, {5, 10, 7, 7});
  EXPECT_EQ((std::vector<unsigned char>{2, 3, 3, 4, 4, 5}), pixels.bytes);
}

TEST(Jp2Exact, RefusesAFileWhoseFirstComponentHasFewerSamplesThanAnother) {
  ExactJ2k image(Jp2Builder().Components(2).Component(0, 8, false, 2, 2).Build());
  EXPECT_EQ("The first component has fewer samples than another one", image.Reason());
}

TEST(Jp2Exact, RefusesAFileOfWhichOneComponentIsTooWide) {
  ExactJ2k image(Jp2Builder().Components(2).Component(1, 20, false).Build());
  EXPECT_EQ("[Number of bytes : 3] is not supported!", image.Reason());
}

TEST(Jp2Exact, ATileThatIsMissingFails) {
  std::vector<unsigned char> bytes = Jp2Builder().Size(64, 64).Tiles(32, 32).BuildCodestream();
  const std::vector<unsigned char> second = {0xFF, 0x90, 0, 10, 0, 1};
  bytes.erase(std::search(bytes.begin(), bytes.end(), second.begin(), second.end()), bytes.end());
  ExactJ2k image(bytes);
  EXPECT_EQ("", image.Failure(0, {0, 31, 0, 31}));
  EXPECT_EQ("The file has no tile 1", image.Failure(0, {0, 32, 0, 31}));
  EXPECT_EQ("The file has no tile 3", image.Failure(0, {40, 50, 40, 50}));
}

TEST(Jp2Exact, ATileThatIsCutShortFailsAndOthersAreRead) {
  std::vector<unsigned char> bytes = Jp2Builder().Size(64, 64).Tiles(32, 32).BuildCodestream();
  bytes.resize(bytes.size() - 20);
  ExactJ2k image(bytes);
  EXPECT_EQ("", image.Failure(0, {0, 63, 0, 31}));
  EXPECT_EQ("The file ends within tile 3", image.Failure(0, {40, 50, 40, 50}));
}

TEST(Jp2Exact, AListOfLengthsThatLiesGivesWayToTheCodestream) {
  const Jp2Builder builder = Jp2Builder().Size(64, 64).Tiles(32, 32).TileLengths();
  std::vector<unsigned char> bytes = builder.BuildCodestream();
  ExactJ2k sound(bytes);
  const std::vector<unsigned char> list = {0xFF, 0x55};
  const auto place = std::search(bytes.begin(), bytes.end(), list.begin(), list.end());
  ASSERT_NE(bytes.end(), place);
  place[10] ^= 0x04;  // within the length of the first tile-part
  ExactJ2k image(bytes);
  EXPECT_EQ(sound.Read(0, 0, {0, 63, 0, 63}), image.Read(0, 0, {0, 63, 0, 63}));
}

TEST(Jp2Exact, AStopWordEndsARead) {
  ExactJ2k image(Jp2Builder().Size(64, 64).Tiles(16, 16).Build());
  int stop = 1;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, image.Band().ReadSubset(out, 0, 0, 63, 0, 63, &stop));
  XString reason;
  XfnGetLastReadError(reason);
  EXPECT_EQ(XString("The read was stopped"), reason);
}

TEST(Jp2Exact, TellsHowTheCodestreamIsMade) {
  ExactJ2k image(
      Jp2Builder().Size(100, 80).Components(2, 11, true).Tiles(64, 48).Levels(4).Layers({9, 0}).Order("RPCL").Build());
  const tagXJp2Codestream info = static_cast<ZRMBandJ2K&>(image.Band()).GetCodestreamInfo();
  ASSERT_EQ(2U, info.components.size());
  EXPECT_EQ(11, info.components[1].depth);
  EXPECT_TRUE(info.components[1].isSigned);
  EXPECT_EQ((std::array{64, 48, 2, 2}),
            (std::array{info.tileWidth, info.tileHeight, info.tilesAcross, info.tilesDown}));
  EXPECT_EQ((std::array{4, 2}), (std::array{info.numLevels, info.numLayers}));
  EXPECT_EQ(XString("RPCL"), info.progression);
  EXPECT_TRUE(info.isReversible);
}

TEST(Jp2Exact, ListsBoxesWithTheirTexts) {
  const std::vector<unsigned char> label = Jp2Builder::MakeBox("lbl ", Jp2Builder::Text("gml.root-instance"));
  const std::vector<unsigned char> gml =
      Jp2Builder::MakeBox("asoc", Join({label, Jp2Builder::MakeBox("xml ", Jp2Builder::Text("<g/>"))}));
  ExactJ2k image(Jp2Builder()
                     .Box("xml ", Jp2Builder::Text("<a/>"))
                     .Box("asoc", Join({Jp2Builder::MakeBox("lbl ", Jp2Builder::Text("gml.data")), gml}))
                     .Build());
  const std::vector<tagXJp2Box> boxes = static_cast<ZRMBandJ2K&>(image.Band()).ListBoxes();
  ASSERT_EQ(12U, boxes.size());
  EXPECT_EQ(XString("BOX_0"), boxes[5].name);
  EXPECT_EQ(XString("<a/>"), boxes[5].text);
  EXPECT_EQ(2, boxes[10].depth);
  EXPECT_EQ(XString("gml.root-instance"), boxes[10].name);
  EXPECT_EQ(XString("<g/>"), boxes[10].text);
  EXPECT_EQ(XString("jp2c"), boxes[11].type);
}

}  // namespace
