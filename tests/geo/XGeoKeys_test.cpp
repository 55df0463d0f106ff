// Geokeys become the text of a coordinate system. Files are built key by key, sound ones and damaged ones. The expected
// text is the one that OGR has for the same code, or the parameters that the keys hold.

#include "XGeoKeys.h"

#include "bands/tiff/TiffPlace.h"
#include "GeoTiffFile.h"
#include "Repeat.h"
#include "TempFolder.h"
#include "XSpatialReference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cpl_conv.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr int kModel = 1024, kCitation = 1026, kGeographic = 2048, kGeographicCitation = 2049, kDatum = 2050;
constexpr int kAngularUnits = 2054, kEllipsoid = 2056, kSemiMajor = 2057, kInverseFlattening = 2059, kShift = 2062;
constexpr int kProjected = 3072, kProjectedCitation = 3073, kProjection = 3074, kMethod = 3075, kLinearUnits = 3076;
constexpr int kOriginLongitude = 3080, kOriginLatitude = 3081, kEasting = 3082, kNorthing = 3083, kScale = 3092;
constexpr int kVertical = 4096, kVerticalCitation = 4097, kUnitsOfAzimuth = 2060;
constexpr int kModelProjected = 1, kModelGeographic = 2, kModelGeocentric = 3, kUserDefined = 32767;

std::string WktOf(const GeoTiffFile& file) {
  const TempFolder folder;
  folder.Write("a.tif", file.Build());
  const auto handle = OpenTiff(folder.Path("a.tif"));
  if (!handle) return "no file";
  const zrk::GeoKeys keys = zrk::OpenGeoKeys(handle->Get());
  return keys ? XfnGTIFGetOGISDefn(keys.get()).AsStdString() : "no keys";
}

/// The text that OGR itself has for a code.
std::string WktOfEpsg(int code) {
  OGRSpatialReference system;
  system.importFromEPSG(code);
  char* text = nullptr;
  system.exportToWkt(&text);
  const std::string wkt = text;
  CPLFree(text);
  return wkt;
}

/// A transverse Mercator projection of one's own, about 9 degrees east.
GeoTiffFile OwnProjection() {
  return GeoTiffFile()
      .Key(kModel, kModelProjected)
      .Key(kProjected, kUserDefined)
      .Key(kProjection, kUserDefined)
      .Key(kMethod, 1)
      .Key(kLinearUnits, 9001)
      .Key(kOriginLongitude, std::vector{9.0})
      .Key(kOriginLatitude, std::vector{0.0})
      .Key(kEasting, std::vector{500000.0})
      .Key(kNorthing, std::vector{0.0})
      .Key(kScale, std::vector{0.9996});
}

TEST(XGeoKeys, OfANullHandleAreEmpty) {
  EXPECT_TRUE(XfnGTIFGetOGISDefn(nullptr).IsEmpty());
}

TEST(XGeoKeys, NameProjectedSystemsByCode) {
  for (const int code : {32632, 27700, 2154, 3857, 26718}) {
    EXPECT_EQ(WktOfEpsg(code), WktOf(GeoTiffFile().Key(kModel, kModelProjected).Key(kProjected, code)));
  }
}

TEST(XGeoKeys, NameGeographicSystemsByCode) {
  for (const int code : {4326, 4267, 4258}) {
    XSpatialReference system, expected;
    expected.importFromEPSG(code);
    ASSERT_EQ(1, system.importFromWkt(WktOf(GeoTiffFile().Key(kModel, kModelGeographic).Key(kGeographic, code))));
    EXPECT_EQ(code, system.GetEPSG());
    EXPECT_EQ(1, system.IsSame(expected));
  }
}

TEST(XGeoKeys, DescribeSystemsWithoutACode) {
  const std::string wkt = WktOf(OwnProjection().Key(kGeographic, 4267));
  XSpatialReference system;
  ASSERT_EQ(1, system.importFromWkt(wkt)) << wkt;
  EXPECT_THAT(wkt, HasSubstr("PROJECTION[\"Transverse_Mercator\"]"));
  EXPECT_THAT(wkt, HasSubstr("DATUM[\"North_American_Datum_1927\""));
  EXPECT_THAT(wkt, HasSubstr("PARAMETER[\"central_meridian\",9]"));
  EXPECT_THAT(wkt, HasSubstr("PARAMETER[\"scale_factor\",0.9996]"));
  EXPECT_THAT(wkt, HasSubstr("PARAMETER[\"false_easting\",500000]"));
}

TEST(XGeoKeys, DescribeEllipsoidsWithoutACode) {
  const std::string wkt = WktOf(GeoTiffFile()
                                    .Key(kModel, kModelGeographic)
                                    .Key(kGeographic, kUserDefined)
                                    .Key(kDatum, kUserDefined)
                                    .Key(kAngularUnits, 9102)
                                    .Key(kEllipsoid, kUserDefined)
                                    .Key(kSemiMajor, std::vector{6378200.0})
                                    .Key(kInverseFlattening, std::vector{300.0}));
  EXPECT_THAT(wkt, HasSubstr("6378200,"));
  EXPECT_THAT(wkt, HasSubstr("GEOGCS["));
}

TEST(XGeoKeys, WithADatumOrAnEllipsoidAloneAreASystem) {
  const GeoTiffFile geographic = GeoTiffFile().Key(kModel, kModelGeographic).Key(kGeographic, kUserDefined);
  EXPECT_THAT(WktOf(GeoTiffFile(geographic).Key(kDatum, 6267)), HasSubstr("North_American_Datum_1927"));
  EXPECT_THAT(WktOf(GeoTiffFile(geographic).Key(kEllipsoid, 7008)), HasSubstr("Clarke 1866"));
}

TEST(XGeoKeys, WithAProjectionAloneAreASystem) {
  EXPECT_THAT(WktOf(OwnProjection()), HasSubstr("PROJECTION[\"Transverse_Mercator\"]"));
}

TEST(XGeoKeys, KnowGeocentricSystems) {
  EXPECT_THAT(WktOf(GeoTiffFile().Key(kModel, kModelGeocentric).Key(kGeographic, 4978)), HasSubstr("GEOCCS["));
}

TEST(XGeoKeys, WithHeightsAreACompoundSystemSinceGeoTiff11) {
  EXPECT_EQ(WktOfEpsg(32632), WktOf(Utm32().Key(kVertical, 5773)));
  const std::string compound = WktOf(Utm32().Version(1, 1, 1).Key(kVertical, 5773));
  EXPECT_THAT(compound, HasSubstr("COMPD_CS["));
  EXPECT_THAT(compound, HasSubstr("VERT_CS[\"EGM96 height\""));
}

TEST(XGeoKeys, WithAModelTypeAloneAreEmpty) {
  for (const int model : {0, kModelProjected, kModelGeographic, kModelGeocentric, kUserDefined}) {
    EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, model))) << model;
  }
}

TEST(XGeoKeys, ThatOnlyNameASystemAreEmpty) {
  const std::string name = "my grid";
  EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, kUserDefined).Key(kCitation, name)));
  EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, kModelProjected).Key(kCitation, name)));
  EXPECT_EQ("", WktOf(GeoTiffFile()
                          .Key(kModel, kModelProjected)
                          .Key(kProjected, kUserDefined)
                          .Key(kProjectedCitation, name)
                          .Key(kLinearUnits, 9001)));
  EXPECT_EQ(
      "",
      WktOf(GeoTiffFile().Key(kModel, kModelGeographic).Key(kGeographic, kUserDefined).Key(kGeographicCitation, name)));
}

TEST(XGeoKeys, WithCodesThatNobodyKnowsAreEmpty) {
  EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, kModelGeographic).Key(kGeographic, 9999)));
  EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, kModelProjected).Key(kProjected, 60000)));
  EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, kModelGeographic).Key(kGeographic, kUserDefined).Key(kDatum, 9999)));
}

TEST(XGeoKeys, OfAFileWithoutAnyAreEmpty) {
  EXPECT_EQ("", WktOf(GeoTiffFile()));
}

/// A citation that holds the text of a geographic system, with so many brackets within brackets at its end.
std::string EsriText(const std::string& before, int depth) {
  return before +
         "ESRI PE String = GEOGCS[\"Mine\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137.0,298.257223563]],"
         "PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]" +
         (depth > 0 ? "," + Repeat("X[", depth) + "1" + Repeat("]", depth) : "") + "]";
}

TEST(XGeoKeys, MayHoldTheTextOfASystem) {
  const std::string wkt = WktOf(GeoTiffFile().Key(kModel, kUserDefined).Key(kProjectedCitation, EsriText("", 0)));
  EXPECT_EQ(0u, wkt.find("GEOGCS[\"Mine\"")) << wkt;
}

TEST(XGeoKeys, WithATextThatNestsTooDeepAreEmpty) {
  for (const char* before : {"", "\"", "]]]]"}) {
    const std::string text = EsriText(before, 2000);
    EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, kUserDefined).Key(kProjectedCitation, text))) << before;
  }
}

TEST(XGeoKeys, DoWithoutTextsThatAreTooLong) {
  EXPECT_EQ(WktOfEpsg(32632), WktOf(Utm32().Key(kCitation, std::string(40000, 'x'))));
}

TEST(XGeoKeys, HaveTextsThatEndAtAZero) {
  const std::string text = EsriText("", 0);
  const auto fileOf = [](const std::string& citation) {
    return GeoTiffFile().Key(kModel, kUserDefined).Key(kProjectedCitation, citation);
  };
  EXPECT_EQ(WktOf(fileOf(text)), WktOf(fileOf(text + std::string("\0[[[[", 5))));
}

TEST(XGeoKeys, MayShareTheirTexts) {
  GeoTiffFile file = Utm32().Key(kCitation, std::string(15999, 'x'));
  for (int id = kUnitsOfAzimuth; id < kUnitsOfAzimuth + 2; ++id) file.RawKey(id, 34737, 16000, 0);
  for (const int id : {kGeographicCitation, kProjectedCitation, kVerticalCitation}) file.RawKey(id, 34737, 16000, 0);
  EXPECT_EQ(WktOfEpsg(32632), WktOf(file));
}

TEST(XGeoKeys, DoWithoutValuesOfOtherCountsThanTheyHave) {
  const std::vector<double> many(200, 1.0);
  EXPECT_EQ(WktOfEpsg(32632), WktOf(Utm32().Key(kSemiMajor, many)));
  // Two words that lie behind the directory's own, which are taken for no code.
  std::vector<std::uint16_t> words = {1, 1, 0, 2, 1024, 0, 1, 1, 3072, 34735, 2, 12, 32632, 32632};
  EXPECT_EQ("", WktOf(GeoTiffFile().Directory(words)));
}

TEST(XGeoKeys, DoWithoutKeysOfTheWrongType) {
  EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, kModelProjected).Key(kProjected, std::string("32632"))));
  EXPECT_EQ("", WktOf(GeoTiffFile().Key(kModel, kModelProjected).Key(kProjected, std::vector{32632.0})));
}

TEST(XGeoKeys, SurviveNumbersThatAreNone) {
  for (const double value : {std::nan(""), HUGE_VAL, -HUGE_VAL, 0.0, -1.0, 1e308}) {
    const std::string wkt = WktOf(GeoTiffFile()
                                      .Key(kModel, kModelGeographic)
                                      .Key(kGeographic, kUserDefined)
                                      .Key(kEllipsoid, kUserDefined)
                                      .Key(kSemiMajor, std::vector{value})
                                      .Key(kInverseFlattening, std::vector{value}));
    EXPECT_THAT(wkt, Not(HasSubstr("unretrievable"))) << value;
  }
}

TEST(XGeoKeys, AreReadSilentlyAndLeaveNoFileBehind) {
  testing::internal::CaptureStderr();
  WktOf(Utm32().Key(kLinearUnits, 12345).Key(kGeographic, 9999));
  WktOf(GeoTiffFile().Key(kModel, kUserDefined).Key(kProjectedCitation, std::string("ESRI PE String = GEOGCS[")));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  char** names = VSIReadDir("/vsimem/");
  EXPECT_EQ(-1, CSLPartialFindString(names, "zrkio"));
  CSLDestroy(names);
}

TEST(XGeoKeys, MeanTheSameWhateverTheEnvironmentPrefers) {
  const GeoTiffFile shifted =
      GeoTiffFile().Key(kModel, kModelGeographic).Key(kGeographic, 4267).Key(kShift, std::vector{1.0, 2.0, 3.0});
  for (const GeoTiffFile& file : {Utm32().Key(kVertical, 5773), shifted, OwnProjection().Key(kDatum, 6267)}) {
    const std::string expected = WktOf(file);
    for (const char* const option :
         {"GTIFF_REPORT_COMPD_CS", "GTIFF_SRS_SOURCE", "GTIFF_IMPORT_FROM_EPSG", "GDAL_GEOREF_SOURCES",
          "GTIFF_ESRI_CITATION", "OSR_WKT_FORMAT", "OSR_STRIP_TOWGS84"}) {
      for (const char* const value : {"YES", "NO", "GEOKEYS", "NONE", "WKT2"}) {
        const CPLConfigOptionSetter preference(option, value, false);
        EXPECT_EQ(expected, WktOf(file)) << option << '=' << value;
      }
    }
  }
}

TEST(XGeoKeysThreads, AreReadByManyAtOnce) {
  const std::string expected = WktOfEpsg(32632);
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 5; ++i) {
        if (WktOf(Utm32()) != expected) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}

TEST(XGeoKeys, HaveTheGTiffDriverOnce) {
  WktOf(Utm32());
  WktOf(Utm32());
  int count = 0;
  for (int i = 0; i < GetGDALDriverManager()->GetDriverCount(); ++i) {
    if (std::string("GTiff") == GetGDALDriverManager()->GetDriver(i)->GetDescription()) ++count;
  }
  EXPECT_EQ(1, count);
}

}  // namespace
