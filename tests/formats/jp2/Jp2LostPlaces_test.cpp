// What could tell where an image lies, and can't be read. The exact policy fails the load, and the compatible one goes
// on without.

#include "codec/Jp2Boxes.h"
#include "FaultyDisk.h"
#include "GeoBox.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "XFormatId.h"
#include "XLimits.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace {

using BoxBytes = std::vector<unsigned char>;

const GeoBox kWhole = {.pixelScale = {60, 60, 0}, .tiePoints = {0, 0, 0, 440720, 3751320, 0}, .epsg = 32611};
const GeoBox kSystemAlone = {.epsg = 32611};
constexpr std::size_t kTooLong = (8 << 20) + 1;

Jp2Builder Small() {
  return Jp2Builder().Size(20, 10).Levels(0);
}

Jp2Builder& AddGeo(Jp2Builder& builder, const GeoBox& box) {
  return builder.Uuid(zrk::kGeoJp2Uuid, box.Build());
}

BoxBytes WithGeoData(const BoxBytes& data) {
  return Small().Uuid(zrk::kGeoJp2Uuid, data).Build();
}

const std::string kGrid =
    "<gml:RectifiedGrid xmlns:gml='http://www.opengis.net/gml' dimension='2' srsName='urn:ogc:def:crs:EPSG::32611'>"
    "<gml:origin><gml:Point><gml:pos>1005 1995</gml:pos></gml:Point></gml:origin>"
    "<gml:offsetVector>10 0</gml:offsetVector><gml:offsetVector>0 -10</gml:offsetVector></gml:RectifiedGrid>";

BoxBytes MakeGml(const std::string& xml = kGrid) {
  const BoxBytes text = Join({Jp2Builder::MakeBox("lbl ", Jp2Builder::Text("gml.root-instance")),
                              Jp2Builder::MakeBox("xml ", Jp2Builder::Text(xml))});
  return Join({Jp2Builder::MakeBox("lbl ", Jp2Builder::Text("gml.data")), Jp2Builder::MakeBox("asoc", text)});
}

/// The sentence of an exact load; empty where it succeeds.
std::string WhyNotExactly(const BoxBytes& bytes) {
  const LoadedRaster image(bytes, kFormatJP2, kReadExact);
  return image.IsOpen() ? "" : image.Reason();
}

/// Whether the compatible policy opens a file and finds no place in it.
bool IsPlainCompatibly(const BoxBytes& bytes) {
  LoadedRaster image(bytes, kFormatJP2, kReadCompatible);
  return image.IsOpen() && image.Band().GetCoordinateKind() == kCoordinatePixel;
}

std::vector<BoxBytes> MakeDamagedBoxes() {
  BoxBytes cut = kWhole.Build();
  cut.resize(7);
  GeoBox notFinite = kWhole;
  notFinite.pixelScale = {std::numeric_limits<double>::quiet_NaN(), 1, 0};
  return {WithGeoData(cut), WithGeoData(Jp2Builder::Text("no TIFF file at all")), WithGeoData(notFinite.Build())};
}

TEST(Jp2LostPlacesExact, ADamagedGeoJp2BoxFailsTheLoad) {
  for (const BoxBytes& bytes : MakeDamagedBoxes()) {
    EXPECT_EQ("A GeoJP2 box of the file is damaged", WhyNotExactly(bytes));
  }
}

TEST(Jp2LostPlacesCompatible, ADamagedGeoJp2BoxPlacesNothing) {
  for (const BoxBytes& bytes : MakeDamagedBoxes()) EXPECT_TRUE(IsPlainCompatibly(bytes));
}

TEST(Jp2LostPlacesExact, AGeoJp2BoxThatIsTooLongFailsTheLoad) {
  BoxBytes data = kWhole.Build();
  data.resize(kTooLong);
  EXPECT_EQ("A GeoJP2 box of the file is too long", WhyNotExactly(WithGeoData(data)));
  data.pop_back();
  EXPECT_EQ("", WhyNotExactly(WithGeoData(data)));
}

TEST(Jp2LostPlacesCompatible, AGeoJp2BoxThatIsTooLongPlacesNothing) {
  BoxBytes data = kWhole.Build();
  data.resize(kTooLong);
  EXPECT_TRUE(IsPlainCompatibly(WithGeoData(data)));
}

TEST(Jp2LostPlacesExact, AnEmptyGeoJp2BoxTellsNothing) {
  LoadedRaster image(WithGeoData({}), kFormatJP2, kReadExact);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  EXPECT_EQ(kCoordinatePixel, image.Band().GetCoordinateKind());
}

/// Only the last few boxes are taken apart.
TEST(Jp2LostPlacesExact, MoreGeoJp2BoxesThanAreLookedAtFailTheLoadUnlessOneTellsEverything) {
  Jp2Builder builder = Small();
  AddGeo(builder, kWhole);
  for (int i = 0; i < 3; ++i) AddGeo(builder, kSystemAlone);
  LoadedRaster four(builder.Build(), kFormatJP2, kReadExact);
  ASSERT_TRUE(four.IsOpen()) << four.Reason();
  EXPECT_EQ(60.0, four.Band().GetXPixelSize());
  AddGeo(builder, kSystemAlone);
  EXPECT_EQ("The file has too many GeoJP2 boxes", WhyNotExactly(builder.Build()));
  AddGeo(builder, kWhole);
  EXPECT_EQ("", WhyNotExactly(builder.Build()));
}

TEST(Jp2LostPlacesExact, ADamagedBoxInFrontOfOneThatTellsEverythingDoesNoHarm) {
  Jp2Builder builder = Small().Uuid(zrk::kGeoJp2Uuid, Jp2Builder::Text("no TIFF file"));
  EXPECT_EQ("", WhyNotExactly(AddGeo(builder, kWhole).Build()));
}

TEST(Jp2LostPlacesExact, AnMsigBoxOfNumbersThatAreNoneFailsTheLoad) {
  const BoxBytes data = MakeMsig(std::numeric_limits<double>::infinity(), 0, 0, -2, 1, 1);
  const BoxBytes bytes = Small().Uuid(zrk::kMsigUuid, data).Build();
  EXPECT_EQ("The MSIG box of the file is damaged", WhyNotExactly(bytes));
}

TEST(Jp2LostPlacesCompatible, AnMsigBoxOfNumbersThatAreNonePlacesNothing) {
  const BoxBytes data = MakeMsig(std::numeric_limits<double>::infinity(), 0, 0, -2, 1, 1);
  EXPECT_TRUE(IsPlainCompatibly(Small().Uuid(zrk::kMsigUuid, data).Build()));
}

TEST(Jp2LostPlacesExact, AnMsigBoxMayBeOfAnyLength) {
  const BoxBytes data = MakeMsig(2, 0, 0, -2, 101, 199, kTooLong);
  LoadedRaster image(Small().Uuid(zrk::kMsigUuid, data).Build(), kFormatJP2, kReadExact);
  EXPECT_EQ(kCoordinateWorld, image.Band().GetCoordinateKind());
  EXPECT_EQ(101.0, image.Band().GetULX());
}

/// The limit of texts for the time of a test.
class ShortTexts {
 public:
  ShortTexts() {
    tagXLimits limits;
    limits.xmlBytes = 100;
    XfnSetLimits(limits);
  }
  ~ShortTexts() { XfnSetLimits(tagXLimits()); }
};

TEST(Jp2LostPlacesExact, ATextThatIsTooLongFailsTheLoadUnlessABoxPlacesTheImage) {
  const ShortTexts limits;
  Jp2Builder builder = Small().Box("asoc", MakeGml());
  EXPECT_EQ("A text of the file is too long to look for a place in", WhyNotExactly(builder.Build()));
  EXPECT_EQ("", WhyNotExactly(AddGeo(builder, kWhole).Build()));
}

TEST(Jp2LostPlacesCompatible, ATextThatIsTooLongIsNotLookedAt) {
  const ShortTexts limits;
  EXPECT_TRUE(IsPlainCompatibly(Small().Box("asoc", MakeGml()).Build()));
}

/// Cut short, with a declaration that is refused, with an origin of one number, and in 16-bit characters.
std::vector<std::string> MakeDamagedTexts() {
  std::string noPlace = kGrid;
  noPlace.replace(noPlace.find("1005 1995"), 9, "1005");
  std::string wide;
  for (const char letter : kGrid) wide += {letter, '\0'};
  return {kGrid.substr(0, kGrid.size() - 5), "<!DOCTYPE a>" + kGrid, noPlace, wide};
}

TEST(Jp2LostPlacesExact, AGmlTextThatCannotBeReadFailsTheLoadUnlessABoxPlacesTheImage) {
  for (const std::string& text : MakeDamagedTexts()) {
    Jp2Builder builder = Small().Box("asoc", MakeGml(text));
    EXPECT_EQ("The place in a GML text of the file can't be read", WhyNotExactly(builder.Build())) << text;
    EXPECT_EQ("", WhyNotExactly(AddGeo(builder, kWhole).Build())) << text;
  }
}

TEST(Jp2LostPlacesCompatible, AGmlTextThatCannotBeReadIsNotLookedAt) {
  for (const std::string& text : MakeDamagedTexts()) {
    EXPECT_TRUE(IsPlainCompatibly(Small().Box("asoc", MakeGml(text)).Build())) << text;
  }
}

/// Texts of the file itself are seldom GML.
TEST(Jp2LostPlacesExact, ADamagedTextOutsideOfGmlFailsTheLoadWhereItNamesAGrid) {
  const auto withText = [](const std::string& text) { return Small().Box("xml ", Jp2Builder::Text(text)).Build(); };
  EXPECT_EQ("The place in a GML text of the file can't be read", WhyNotExactly(withText(kGrid.substr(0, 200))));
  EXPECT_EQ("", WhyNotExactly(withText("<camera>")));
  EXPECT_EQ("", WhyNotExactly(withText("")));
}

TEST(Jp2LostPlacesExact, AGmlTextWithoutAGridTellsNoPlace) {
  for (const char* text : {"", " ", "<gml:Point xmlns:gml='http://www.opengis.net/gml'/>"}) {
    EXPECT_EQ("", WhyNotExactly(Small().Box("asoc", MakeGml(text)).Build())) << text;
  }
}

TEST(Jp2LostPlacesExact, ADiskThatFailsLosesNoPlace) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  TempFolder folder;
  folder.Write("a.jp2", Small().Box("asoc", MakeGml()).Build());
  for (int nth = 1, numReads = nth; nth <= numReads; ++nth) {
    ZRMBandJ2K band(nullptr);
    band.SetReadPolicy(kReadExact);
    const int before = disk.GetReadCount();
    disk.FailRead(before + nth);
    XString err;
    if (band.ReadFile(folder.Path("a.jp2"), err, nullptr)) {
      EXPECT_EQ(1005.0, band.GetULX()) << nth;
    } else {
      EXPECT_TRUE(err.AsStdString().starts_with("The disk fails")) << nth << ": " << err.GetText();
    }
    numReads = disk.GetReadCount() - before;
  }
}

}  // namespace
