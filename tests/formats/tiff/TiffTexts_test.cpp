// What a TIFF file tells of its bands in words: colours, scales and offsets, and texts.

#include "bands/tiff/TiffTexts.h"

#include "ExactTiffs.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zrk::ParseTiffItems;

class TiffTexts : public ExactTiffs {
 protected:
  std::vector<XColourRole> Roles(const TiffBuilder& file, XReadPolicy policy = kReadExact) {
    TiffChannels image(Write(BytesOf(file)), policy);
    std::vector<XColourRole> roles;
    for (int c = 0; c < image.GetNumChannels(); ++c) roles.push_back(image.At(c).GetColourRole());
    return roles;
  }
  /// Every text as "band domain name=value".
  static std::vector<std::string> Texts(const XRSFile& file) {
    std::vector<std::string> texts;
    for (const tagXMetadataItem& each : file.GetMetadata()) {
      texts.push_back(std::to_string(each.band) + ' ' + each.domain.AsStdString() + ' ' + each.name.AsStdString() +
                      '=' + each.value.AsStdString());
    }
    return texts;
  }
  void Load(XRSFile& file, const TiffBuilder& tiff, XReadPolicy policy = kReadExact) {
    XString err;
    file.SetReadPolicy(policy);
    ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatTIF, Write(tiff), err, 0, kLevelNone, nullptr)) << err;
  }
};

TEST_F(TiffTexts, ColoursAreThoseOfThePhotometric) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    EXPECT_THAT(Roles(TiffBuilder(), policy), ElementsAre(kRoleGrey));
    EXPECT_THAT(Roles(TiffBuilder().Photometric(0), policy), ElementsAre(kRoleGrey));
    EXPECT_THAT(Roles(TiffBuilder().Samples(3).Photometric(2), policy), ElementsAre(kRoleRed, kRoleGreen, kRoleBlue));
    EXPECT_THAT(Roles(TiffBuilder().Samples(4).Photometric(5), policy),
                ElementsAre(kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha));
  }
}

TEST_F(TiffTexts, AnExtraSampleMayBeAlpha) {
  const auto colours = TiffBuilder().Samples(5).Photometric(2);
  EXPECT_THAT(Roles(TiffBuilder(colours).Tag(338, 3, {0, 2})),
              ElementsAre(kRoleRed, kRoleGreen, kRoleBlue, kRoleUnknown, kRoleAlpha));
  EXPECT_THAT(Roles(TiffBuilder(colours).Tag(338, 3, {1, 0})),
              ElementsAre(kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha, kRoleUnknown));
  EXPECT_THAT(Roles(TiffBuilder().Samples(2).Tag(338, 3, {2})), ElementsAre(kRoleGrey, kRoleAlpha));
  EXPECT_THAT(Roles(TiffBuilder().Samples(2)), ElementsAre(kRoleGrey, kRoleUnknown));
}

TEST_F(TiffTexts, APaletteGivesColours) {
  const auto file = TiffBuilder()
                        .Bits(1)
                        .Samples(2)
                        .Photometric(3)
                        .Tag(338, 3, {2})
                        .ColourMap({0x0101, 0x0202, 0x0303, 0x0404, 0x0505, 0x0606});
  EXPECT_THAT(Roles(file), ElementsAre(kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha));
}

constexpr char kItems[] =
    "<GDALMetadata><Item name=\"Sensor\">TM &amp; more</Item>"
    "<Item name=\"SCALE\" sample=\"1\" role=\"scale\">0.5</Item>"
    "<Item name=\"OFFSET\" sample=\"1\" role=\"offset\">-3</Item>"
    "<Item name=\"DESCRIPTION\" sample=\"1\" role=\"description\">heat</Item>"
    "<Item name=\"A\" domain=\"D\">b</Item></GDALMetadata>";

TEST_F(TiffTexts, ItemsGiveScalesOffsetsAndTextsToExactLoads) {
  XRSFile file;
  Load(file, TiffBuilder().Samples(2).Text(42112, kItems));
  EXPECT_EQ(1.0, file.GetBandAt(0)->GetGain());
  EXPECT_EQ(0.5, file.GetBandAt(1)->GetGain());
  EXPECT_EQ(-3.0, file.GetBandAt(1)->GetBias());
  EXPECT_THAT(Texts(file), ElementsAre("-1  Sensor=TM & more", "1  DESCRIPTION=heat", "-1 D A=b"));
}

TEST_F(TiffTexts, ItemsKeepTheirRoles) {
  XRSFile file;
  Load(file, TiffBuilder().Samples(2).Text(42112, kItems));
  EXPECT_EQ("", file.GetMetadata().at(0).role.AsStdString());
  EXPECT_EQ("description", file.GetMetadata().at(1).role.AsStdString());
}

TEST_F(TiffTexts, CompatibleLoadsHaveNone) {
  XRSFile file;
  Load(file, TiffBuilder().Samples(2).Text(42112, kItems).Text(305, "maker"), kReadCompatible);
  EXPECT_EQ(1.0, file.GetBandAt(1)->GetGain());
  EXPECT_EQ(0.0, file.GetBandAt(1)->GetBias());
  EXPECT_THAT(Texts(file), IsEmpty());
}

TEST_F(TiffTexts, TagsGiveTextsUnderTheirNames) {
  XRSFile file;
  Load(file, TiffBuilder().Text(270, "a view").Text(305, "maker").Text(306, "2020:01:02 03:04:05").Text(33432, "us"));
  EXPECT_THAT(Texts(file), ElementsAre("-1  TIFFTAG_IMAGEDESCRIPTION=a view", "-1  TIFFTAG_SOFTWARE=maker",
                                       "-1  TIFFTAG_DATETIME=2020:01:02 03:04:05", "-1  TIFFTAG_COPYRIGHT=us"));
}

TEST_F(TiffTexts, OfASampleBesideAPaletteAreOfItsBand) {
  XRSFile file;
  Load(file, TiffBuilder()
                 .Bits(1)
                 .Samples(2)
                 .Photometric(3)
                 .Text(42112, kItems)
                 .ColourMap({0x0101, 0x0202, 0x0303, 0x0404, 0x0505, 0x0606}));
  EXPECT_EQ(0.5, file.GetBandAt(3)->GetGain());
  EXPECT_EQ(1.0, file.GetBandAt(1)->GetGain());
  EXPECT_EQ("3  DESCRIPTION=heat", Texts(file).at(1));
}

TEST(TiffItems, OfDangerousOrBrokenTextsAreNone) {
  EXPECT_TRUE(ParseTiffItems("").texts.empty());
  EXPECT_TRUE(ParseTiffItems("<GDALMetadata><Item name=\"a\">b").texts.empty());
  EXPECT_TRUE(ParseTiffItems("<!DOCTYPE x><GDALMetadata><Item name=\"a\">b</Item></GDALMetadata>").texts.empty());
  EXPECT_EQ(1u, ParseTiffItems("<GDALMetadata><Item name=\"a\">b</Item></GDALMetadata>").texts.size());
}

TEST(TiffItems, HoldTextsThatWereMadeXmlTwice) {
  const auto items =
      ParseTiffItems("<GDALMetadata><Item name=\"a\">1 &amp;lt; 2 &amp;amp;lt; &lt;&amp;</Item></GDALMetadata>");
  ASSERT_EQ(1u, items.texts.size());
  EXPECT_EQ("1 < 2 &lt; <&", items.texts[0].value.AsStdString());
}

TEST(TiffItems, ThatAreNoNumbersStayTexts) {
  for (const char* text : {"", "x", "1x", "inf", "1e999"}) {
    const std::string item = std::string("<Item name=\"SCALE\" sample=\"0\" role=\"scale\">") + text + "</Item>";
    const auto items = ParseTiffItems("<GDALMetadata>" + item + "</GDALMetadata>");
    EXPECT_TRUE(items.numbers.empty()) << text;
    EXPECT_EQ(1u, items.texts.size()) << text;
  }
}

}  // namespace
