// What saves of the exact policy keep beside the pixels, as GDAL reads it back.

#include "GdalDataset.h"
#include "TiffWriting.h"
#include "XRSFileIO.h"

#include <map>

#include <cpl_conv.h>
#include <gdal.h>

namespace {

class XRSFile2TiffExact : public TiffWriting {
 protected:
  void AddBands(int numBands) {
    NewDataset();
    file_->SetReadPolicy(kReadExact);
    for (int i = 0; i < numBands; ++i) Add<std::uint8_t>(40, 30, static_cast<unsigned>(i));
  }
  ZRMBand& Band(int index) { return *file_->GetBandAt(index); }
  void SetTransform(const double (&transform)[6]) {
    Band(0).SetCoordinateKind(kCoordinateWorld);
    Band(0).SetGeoTransform(transform);
  }
  std::array<double, 6> WrittenTransform() {
    std::array<double, 6> transform{};
    EXPECT_EQ(CE_None, GDALGetGeoTransform(Open(), transform.data()));
    return transform;
  }
  GDALDatasetH Open() {
    GDALAllRegister();
    dataset_.reset(GDALOpen(Path().c_str(), GA_ReadOnly));
    EXPECT_TRUE(dataset_);
    return dataset_.get();
  }
  void Load(const std::string& path) {
    NewDataset();
    file_->SetReadPolicy(kReadExact);
    ASSERT_EQ(1, XRSFileIO::LoadFileRaster(file_.get(), kFormatTIF, path, err_, 0, kLevelNone, nullptr)) << err_;
  }
  GDALRasterBandH OpenBand(int number) { return GDALGetRasterBand(Open(), number); }

 private:
  GdalDataset dataset_;
};

TEST_F(XRSFile2TiffExact, KeepsTheNullValue) {
  for (const double value : {7.0, -0.1, 1e30}) {
    AddBands(2);
    for (int i = 0; i < 2; ++i) Band(i).SetNullValue(value);
    ASSERT_EQ(1, SaveAll()) << Error();
    int hasValue = 0;
    const double written = GDALGetRasterNoDataValue(OpenBand(2), &hasValue);
    EXPECT_TRUE(hasValue);
    EXPECT_EQ(value, written);
  }
}

TEST_F(XRSFile2TiffExact, RefusesNullValuesThatDiffer) {
  AddBands(2);
  Band(1).SetNullValue(7.0);
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ("The bands have different null values, and a TIFF file has one for all of them", Error());
}

TEST_F(XRSFile2TiffExact, WritesNoNullValueWhereThereIsNone) {
  AddBands(1);
  ASSERT_EQ(1, SaveAll());
  int hasValue = 1;
  GDALGetRasterNoDataValue(OpenBand(1), &hasValue);
  EXPECT_FALSE(hasValue);
}

TEST_F(XRSFile2TiffExact, KeepsColoursAndAlpha) {
  AddBands(4);
  const XColourRole roles[] = {kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha};
  for (int i = 0; i < 4; ++i) Band(i).SetColourRole(roles[i]);
  ASSERT_EQ(1, SaveAll());
  const GDALColorInterp wanted[] = {GCI_RedBand, GCI_GreenBand, GCI_BlueBand, GCI_AlphaBand};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(wanted[i], GDALGetRasterColorInterpretation(OpenBand(i + 1)));
}

TEST_F(XRSFile2TiffExact, KeepsAlphaBesideGrey) {
  AddBands(2);
  Band(0).SetColourRole(kRoleGrey);
  Band(1).SetColourRole(kRoleAlpha);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(GCI_GrayIndex, GDALGetRasterColorInterpretation(OpenBand(1)));
  EXPECT_EQ(GCI_AlphaBand, GDALGetRasterColorInterpretation(OpenBand(2)));
}

TEST_F(XRSFile2TiffExact, KeepsScaleAndOffsetOfSamples) {
  AddBands(2);
  Band(1).SetGain(0.1);
  Band(1).SetBias(-273.15);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(0.1, GDALGetRasterScale(OpenBand(2), nullptr));
  EXPECT_EQ(-273.15, GDALGetRasterOffset(OpenBand(2), nullptr));
  EXPECT_EQ(1.0, GDALGetRasterScale(OpenBand(1), nullptr));
}

TEST_F(XRSFile2TiffExact, KeepsTextsOfTheFileAndOfABand) {
  AddBands(2);
  file_->AddMetadata({"TIFFTAG_COPYRIGHT", "nobody", -1, ""});
  file_->AddMetadata({"AREA", "<Alps> & \"around\"", -1, ""});
  file_->AddMetadata({"UNIT", "kelvin", 1, ""});
  file_->AddMetadata({"SECRET", "x", -1, "OWN"});
  ASSERT_EQ(1, SaveAll());
  const GDALDatasetH dataset = Open();
  EXPECT_STREQ("nobody", GDALGetMetadataItem(dataset, "TIFFTAG_COPYRIGHT", nullptr));
  EXPECT_STREQ("<Alps> & \"around\"", GDALGetMetadataItem(dataset, "AREA", nullptr));
  EXPECT_STREQ("x", GDALGetMetadataItem(dataset, "SECRET", "OWN"));
  EXPECT_STREQ("kelvin", GDALGetMetadataItem(GDALGetRasterBand(dataset, 2), "UNIT", nullptr));
}

TEST_F(XRSFile2TiffExact, WritesATurnedTransformAsAMatrix) {
  AddBands(1);
  SetTransform({1000.0, 0.5, 0.25, 2000.0, -0.25, 0.5});
  ASSERT_EQ(1, SaveAll());
  EXPECT_THAT(TiffTags(Path()).pixelScale, testing::IsEmpty());
  EXPECT_THAT(WrittenTransform(), testing::ElementsAre(1000.0, 0.5, 0.25, 2000.0, -0.25, 0.5));
}

TEST_F(XRSFile2TiffExact, WritesRowsThatGoNorthAsAMatrix) {
  AddBands(1);
  SetTransform({1000.0, 0.5, 0.0, 2000.0, 0.0, 0.5});
  ASSERT_EQ(1, SaveAll());
  EXPECT_THAT(WrittenTransform(), testing::ElementsAre(1000.0, 0.5, 0.0, 2000.0, 0.0, 0.5));
}

TEST_F(XRSFile2TiffExact, PlacesAWindowByItsOwnCorner) {
  AddBands(1);
  SetTransform({1000.0, 2.0, 0.0, 2000.0, 0.0, -4.0});
  ASSERT_EQ(1, Save(7, 30, 3, 20));
  EXPECT_THAT(WrittenTransform(), testing::ElementsAre(1014.0, 2.0, 0.0, 1988.0, 0.0, -4.0));
}

// The centre of the first pixel of the window is (1000 + 7.5 * 2, 2000 - 3.5 * 4).
TEST_F(XRSFile2TiffExact, TellsTheWindowInTheWorldFileToo) {
  AddBands(1);
  SetTransform({1000.0, 2.0, 0.0, 2000.0, 0.0, -4.0});
  ASSERT_EQ(1, Save(7, 30, 3, 20));
  double transform[6];
  ASSERT_TRUE(GDALReadWorldFile(Path().c_str(), "tfw", transform));
  EXPECT_THAT(transform, testing::ElementsAre(1014.0, 2.0, 0.0, 1988.0, 0.0, -4.0));
}

TEST_F(XRSFile2TiffExact, PlacesBandsOfPixelCentresByTheirCorners) {
  AddBands(1);
  Band(0).SetCoordinateKind(kCoordinateWorld);
  Band(0).SetPixelSize(2.0, 4.0);
  Band(0).SetUpperLeft(1000.0, 2000.0);
  Band(0).SetPixelAnchor(kPixelCentre);
  ASSERT_EQ(1, SaveAll());
  EXPECT_THAT(WrittenTransform(), testing::ElementsAre(999.0, 2.0, 0.0, 2002.0, 0.0, -4.0));
}

/// Texts that have to be written with care, as XML within XML.
const std::vector<std::string>& CarefulTexts() {
  static const std::vector<std::string> texts = {
      "plain",        "<Alps> & \"around\" 'it'", "&lt;b&gt; &amp;amp; &#65;",
      "line\nnext",   "caf\xC3\xA9 \xE2\x82\xAC", "a  b\tc",
      "</Item><Item", "]]> <![CDATA[x]]>"};
  return texts;
}

TEST_F(XRSFile2TiffExact, WritesTextsAsGdalReadsThem) {
  AddBands(1);
  int number = 0;
  for (const std::string& text : CarefulTexts()) file_->AddMetadata({std::to_string(number++), text, -1, "", ""});
  ASSERT_EQ(1, SaveAll());
  for (int i = 0; i < number; ++i) {
    EXPECT_EQ(CarefulTexts()[static_cast<std::size_t>(i)],
              GDALGetMetadataItem(Open(), std::to_string(i).c_str(), nullptr));
  }
}

TEST_F(XRSFile2TiffExact, ReadsTextsAsGdalWritesThem) {
  const std::string path = Path("gdal.tif");
  GDALAllRegister();
  const GDALDatasetH made = GDALCreate(GDALGetDriverByName("GTiff"), path.c_str(), 5, 4, 1, GDT_Byte, nullptr);
  int number = 0;
  for (const std::string& text : CarefulTexts()) {
    GDALSetMetadataItem(made, std::to_string(number++).c_str(), text.c_str(), "OWN");
  }
  GDALSetDescription(GDALGetRasterBand(made, 1), "heat & <light>");
  GDALSetRasterUnitType(GDALGetRasterBand(made, 1), "m\"");
  GDALClose(made);
  Load(path);
  std::map<std::string, std::string> texts;
  for (const tagXMetadataItem& item : file_->GetMetadata()) {
    texts[item.role.IsEmpty() ? item.name : item.role] = item.value.AsStdString();
  }
  for (int i = 0; i < number; ++i) EXPECT_EQ(CarefulTexts()[static_cast<std::size_t>(i)], texts[std::to_string(i)]);
  EXPECT_EQ("heat & <light>", texts["description"]);
  EXPECT_EQ("m\"", texts["unittype"]);
}

TEST_F(XRSFile2TiffExact, KeepsWhatGdalKnowsOfABand) {
  AddBands(2);
  file_->AddMetadata({"DESCRIPTION", "heat", 1, "", "description"});
  file_->AddMetadata({"UNITTYPE", "kelvin", 1, "", "unittype"});
  ASSERT_EQ(1, SaveAll());
  EXPECT_STREQ("heat", GDALGetDescription(OpenBand(2)));
  EXPECT_STREQ("kelvin", GDALGetRasterUnitType(OpenBand(2)));
  EXPECT_STREQ("", GDALGetRasterUnitType(OpenBand(1)));
  EXPECT_EQ(nullptr, GDALGetMetadataItem(OpenBand(2), "UNITTYPE", nullptr));
}

TEST_F(XRSFile2TiffExact, KeepsASystemWithoutAPlace) {
  AddBands(1);
  Band(0).GetSR()->importFromEPSG(32632);
  ASSERT_EQ(1, SaveAll());
  double transform[6];
  EXPECT_NE(CE_None, GDALGetGeoTransform(Open(), transform));
  EXPECT_EQ(32632, GdalImage(Path()).epsg);
  EXPECT_FALSE(std::filesystem::exists(Path("a.tfw")));
}

/// Heights alone have no keys.
TEST_F(XRSFile2TiffExact, RefusesASystemWithoutKeys) {
  AddBands(1);
  ASSERT_EQ(1, Band(0).GetSR()->importFromEPSG(5773));
  SetTransform({1000.0, 0.5, 0.0, 2000.0, 0.0, -0.5});
  ExpectFailure("The coordinate system can't be written, because there are no geokeys for it");
}

TEST_F(XRSFile2TiffExact, AddsNothingInTheCompatiblePolicy) {
  AddBands(1);
  file_->SetReadPolicy(kReadCompatible);
  Band(0).SetNullValue(7.0);
  Band(0).SetGain(0.1);
  SetTransform({1000.0, 0.5, 0.25, 2000.0, -0.25, 0.5});
  ASSERT_EQ(1, SaveAll());
  int hasValue = 1;
  GDALGetRasterNoDataValue(OpenBand(1), &hasValue);
  EXPECT_FALSE(hasValue);
  EXPECT_EQ(1.0, GDALGetRasterScale(OpenBand(1), nullptr));
  double transform[6];
  EXPECT_NE(CE_None, GDALGetGeoTransform(Open(), transform));
}

}  // namespace
