// The boxes around the codestream, and what other programs make of them.

#include "Jp2Writing.h"
#include "writers/Jp2Head.h"

#include <cstdio>

#include <gdal.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Outline = std::vector<std::string>;

class XRSFile2JP2Boxes : public Jp2Writing {
 protected:
  Jp2Walk Walk() const {
    Jp2Walk walk(ReadBytes(Out()));
    EXPECT_THAT(walk.complaints, IsEmpty());
    return walk;
  }
  Jp2Walk SaveAndWalk() {
    EXPECT_EQ(1, SaveImage()) << Error();
    return Walk();
  }
  /// The colour interpretations that GDAL tells.
  std::vector<int> MeaningsByGdal() const {
    const GdalImage image = ReadByGdal();
    std::vector<int> meanings;
    for (const GdalImage::Band& band : image.bands) meanings.push_back(band.interpretation);
    return meanings;
  }
  /// What opj_dump has to say on its standard error, and on its standard output as a warning.
  std::string AskOpjDump() const {
    const std::string command = "opj_dump -i '" + Out() + "' 2>&1";
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    std::string said, line;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
      line += static_cast<char>(c);
      if (c != '\n') continue;
      if (line.find("WARN") != std::string::npos || line.find("ERROR") != std::string::npos) said += line;
      line.clear();
    }
    const int status = ::pclose(pipe);
    return status == 0 ? said : said + "failed: " + std::to_string(status);
  }
};

TEST_F(XRSFile2JP2Boxes, OfOneBandAreTheFewThatThereMustBe) {
  Add<std::uint8_t>(70, 50);
  const Jp2Walk walk = SaveAndWalk();
  EXPECT_EQ((Outline{"jP  ", "ftyp", "jp2h", " ihdr", " colr", "jp2c"}), walk.GetOutline());
  EXPECT_THAT(walk.DataOf("ihdr"), ElementsAre(0, 0, 0, 50, 0, 0, 0, 70, 0, 1, 7, 7, 0, 0));
  EXPECT_THAT(walk.DataOf("colr"), ElementsAre(1, 0, 0, 0, 0, 0, 17));
  EXPECT_THAT(walk.DataOf("ftyp"), ElementsAre('j', 'p', '2', ' ', 0, 0, 0, 0, 'j', 'p', '2', ' '));
}

TEST_F(XRSFile2JP2Boxes, TellDepthAndSign) {
  AddOfType(kSint16, 20, 20);
  EXPECT_EQ(0x8F, SaveAndWalk().DataOf("ihdr")[10]);
  NewDataset();
  AddOfType(kPint16, 20, 20);
  EXPECT_EQ(0x0F, SaveAndWalk().DataOf("ihdr")[10]);
  NewDataset();
  AddOfType(kSint08, 20, 20);
  EXPECT_EQ(0x87, SaveAndWalk().DataOf("ihdr")[10]);
}

TEST_F(XRSFile2JP2Boxes, TellEachDepthWhereTheyDiffer) {
  for (const int type : {kPint08, kSint16, kPint16}) AddOfType(type, 20, 20);
  const Jp2Walk walk = SaveAndWalk();
  EXPECT_EQ((Outline{"jP  ", "ftyp", "jp2h", " ihdr", " bpcc", " colr", "jp2c"}), walk.GetOutline());
  EXPECT_EQ(255, walk.DataOf("ihdr")[10]);
  EXPECT_THAT(walk.DataOf("bpcc"), ElementsAre(0x07, 0x8F, 0x0F));
}

TEST_F(XRSFile2JP2Boxes, TellTwoBandsAsGreyAndSomethingElse) {
  for (int i = 0; i < 2; ++i) Add<std::uint8_t>(20, 20);
  const Jp2Walk walk = SaveAndWalk();
  EXPECT_EQ(17, walk.DataOf("colr").back());
  EXPECT_THAT(walk.DataOf("cdef"), ElementsAre(0, 2, 0, 0, 0, 0, 0, 1, 0, 1, 255, 255, 255, 255));
}

TEST_F(XRSFile2JP2Boxes, TellThreeBandsAsColours) {
  for (int i = 0; i < 3; ++i) Add<std::uint8_t>(20, 20);
  const Jp2Walk walk = SaveAndWalk();
  EXPECT_EQ(16, walk.DataOf("colr").back());
  EXPECT_THAT(walk.DataOf("cdef"), IsEmpty());
  EXPECT_THAT(MeaningsByGdal(), ElementsAre(GCI_RedBand, GCI_GreenBand, GCI_BlueBand));
}

TEST_F(XRSFile2JP2Boxes, TellOpacityByTheRoleOfTheBand) {
  for (int i = 0; i < 5; ++i) Add<std::uint8_t>(20, 20);
  file_->GetBandAt(3)->SetColourRole(kRoleAlpha);
  const Jp2Walk walk = SaveAndWalk();
  EXPECT_THAT(walk.DataOf("cdef"), ElementsAre(0, 5, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 2, 0, 2, 0, 0, 0, 3, 0, 3, 0, 1,
                                               0, 0, 0, 4, 255, 255, 255, 255));
  EXPECT_THAT(MeaningsByGdal(), ElementsAre(GCI_RedBand, GCI_GreenBand, GCI_BlueBand, GCI_AlphaBand, GCI_Undefined));
}

TEST_F(XRSFile2JP2Boxes, LeaveOtherProgramsSilent) {
  for (int numBands = 1; numBands <= 5; ++numBands) {
    Add<std::uint8_t>(200, 150).GetSR()->importFromEPSG(32632);
    file_->GetBandAt(0)->SetCoordinateKind(kCoordinateWorld);
    writer_.SetTileSize(64);
    for (const bool hasGml : {false, true}) {
      writer_.SetGml(hasGml);
      ASSERT_EQ(1, SaveImage({.rates = "0.5,1,"})) << Error();
      EXPECT_EQ("", AskOpjDump()) << numBands << hasGml;
    }
  }
}

TEST_F(XRSFile2JP2Boxes, OfManyTilesTellWhereEachBegins) {
  Add<std::uint8_t>(31, 17);
  writer_.SetTileSize(1);
  EXPECT_EQ(31u * 17u, SaveAndWalk().tileParts.size());
}

/// The length counts the box itself.
TEST(Jp2CodestreamBox, HasTheLongFormWhereAskedFor) {
  EXPECT_THAT(zrk::MakeCodestreamBox(0x01020304, false), ElementsAre(1, 2, 3, 12, 'j', 'p', '2', 'c'));
  EXPECT_THAT(zrk::MakeCodestreamBox(0x0102030405, true),
              ElementsAre(0, 0, 0, 1, 'j', 'p', '2', 'c', 0, 0, 0, 1, 2, 3, 4, 0x15));
}

TEST_F(XRSFile2JP2Boxes, OfManyBandsTellEachChannel) {
  for (int i = 0; i < 300; ++i) Add<std::uint8_t>(4, 3, static_cast<unsigned>(i));
  const Jp2Walk walk = SaveAndWalk();
  EXPECT_EQ(2u + 6 * 300, walk.DataOf("cdef").size());
  EXPECT_EQ(RandomSamples<std::uint8_t>(4, 3, 299), SamplesOfType<std::uint8_t>(Decode(), 299));
}

}  // namespace
