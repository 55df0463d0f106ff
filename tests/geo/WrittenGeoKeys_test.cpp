// What coordinate systems become when they go through a file: written with libtiff and libgeotiff, read back by this
// library, and by GDAL, which knows nothing of how they were written.

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
#include <gdal_frmts.h>
#include <gdal_priv.h>
#include <geotiff.h>
#include <ogr_spatialref.h>
#include <xtiffio.h>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::HasSubstr;

OGRSpatialReference OgrOf(int code) {
  OGRSpatialReference system;
  system.importFromEPSG(code);
  return system;
}

std::string WktOf(const OGRSpatialReference& system) {
  char* text = nullptr;
  system.exportToWkt(&text);
  const std::string wkt = text;
  CPLFree(text);
  return wkt;
}

std::string WktOfCode(int code) {
  return WktOf(OgrOf(code));
}

struct TiffClose {
  void operator()(TIFF* tiff) const { XTIFFClose(tiff); }
};

/// A file of one pixel that has the keys of a system, in a folder of its own.
class KeyedFile {
 public:
  explicit KeyedFile(const std::string& wkt) {
    const std::unique_ptr<TIFF, TiffClose> tiff(XTIFFOpen(GetPath().c_str(), "w"));
    for (const std::uint32_t tag : {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH}) TIFFSetField(tiff.get(), tag, 1);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    const zrk::GeoKeys keys(GTIFNew(tiff.get()));
    result_ = XfnGTIFSetFromOGISDefn(keys.get(), wkt);
    GTIFKeySet(keys.get(), GTRasterTypeGeoKey, TYPE_SHORT, 1, 1);
    GTIFWriteKeys(keys.get());
    unsigned char pixel = 0;
    TIFFWriteScanline(tiff.get(), &pixel, 0);
  }

  std::string GetPath() const { return folder_.Path("a.tif"); }
  /// What setting the keys answered.
  int GetResult() const { return result_; }

  std::string ReadWkt() const {
    const auto handle = OpenTiff(GetPath());
    if (!handle) return "no file";
    const zrk::GeoKeys keys = zrk::OpenGeoKeys(handle->Get());
    return keys ? XfnGTIFGetOGISDefn(keys.get()).AsStdString() : "no keys";
  }
  XSpatialReference Read() const {
    XSpatialReference system;
    system.importFromWkt(ReadWkt());
    return system;
  }
  /// With heights, which GDAL passes over unless asked for them.
  OGRSpatialReference ReadWithGdal() const {
    GDALRegister_GTiff();
    const CPLConfigOptionSetter heights("GTIFF_REPORT_COMPD_CS", "YES", false);
    const std::unique_ptr<GDALDataset> dataset(GDALDataset::Open(GetPath().c_str(), GDAL_OF_RASTER));
    const OGRSpatialReference* system = dataset ? dataset->GetSpatialRef() : nullptr;
    return system ? *system : OGRSpatialReference();
  }

 private:
  TempFolder folder_;
  int result_ = -1;
};

/// Whether a system is the same after it has been through a file, for us and for GDAL.
void ExpectSurvives(const std::string& wkt) {
  XSpatialReference system;
  OGRSpatialReference expected;
  ASSERT_EQ(1, system.importFromWkt(wkt));
  ASSERT_EQ(OGRERR_NONE, expected.importFromWkt(wkt.c_str()));
  const KeyedFile file(wkt);
  EXPECT_EQ(1, file.GetResult());
  EXPECT_EQ(1, file.Read().IsSame(system)) << wkt << '\n' << file.ReadWkt();
  const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
  EXPECT_TRUE(file.ReadWithGdal().IsSame(&expected, options)) << wkt << '\n' << WktOf(file.ReadWithGdal());
}

/// The code that a part of a system has in the EPSG register, or the whole of it by the name of null; 0 for none.
int CodeOf(const OGRSpatialReference& system, const char* part) {
  const char* const authority = system.GetAuthorityName(part);
  return authority && std::string("EPSG") == authority ? std::atoi(system.GetAuthorityCode(part)) : 0;
}

void ExpectCodeSurvives(int code) {
  SCOPED_TRACE(code);
  ExpectSurvives(WktOfCode(code));
  const KeyedFile file(WktOfCode(code));
  EXPECT_EQ(code, file.Read().GetEPSG());
  EXPECT_EQ(code, CodeOf(file.ReadWithGdal(), nullptr));
}

/// Geokeys have codes for the parts of a compound system but none for the whole.
void ExpectPartsSurvive(const OGRSpatialReference& compound, int plane, int heights) {
  ExpectSurvives(WktOf(compound));
  const KeyedFile file(WktOf(compound));
  OGRSpatialReference ours;
  ours.importFromWkt(file.ReadWkt().c_str());
  for (const OGRSpatialReference& found : {ours, file.ReadWithGdal()}) {
    EXPECT_TRUE(found.IsCompound());
    EXPECT_EQ(plane, CodeOf(found, "PROJCS"));
    EXPECT_EQ(heights, CodeOf(found, "VERT_CS"));
  }
}

constexpr char kOwnDatum[] =
    "GEOGCS[\"Own system\",DATUM[\"Own_datum\",SPHEROID[\"Clarke 1866\",6378206.4,294.978698213898]],"
    "PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.0174532925199433]]";

std::string OwnProjection(const std::string& parameters, const std::string& unit) {
  return "PROJCS[\"Own grid\"," + std::string(kOwnDatum) + "," + parameters + ",UNIT[" + unit + "]]";
}

constexpr char kOwnTransverseMercator[] =
    "PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"latitude_of_origin\",1.5],PARAMETER[\"central_meridian\",10.25],"
    "PARAMETER[\"scale_factor\",0.99975],PARAMETER[\"false_easting\",300000],PARAMETER[\"false_northing\",-5000]";
constexpr char kOwnLambert[] =
    "PROJECTION[\"Lambert_Conformal_Conic_2SP\"],PARAMETER[\"latitude_of_origin\",46],"
    "PARAMETER[\"central_meridian\",-71.5],PARAMETER[\"standard_parallel_1\",44.25],"
    "PARAMETER[\"standard_parallel_2\",47.75],PARAMETER[\"false_easting\",1000],PARAMETER[\"false_northing\",2000]";

/// A geographic system whose datum is shifted against WGS 84.
std::string WithShift(const std::string& numbers) {
  std::string wkt = kOwnDatum;
  return wkt.insert(wkt.find("],PRIMEM"), ",TOWGS84[" + numbers + "]");
}

const std::string kKnownDatumWithShift =
    "GEOGCS[\"NAD27\",DATUM[\"North_American_Datum_1927\",SPHEROID[\"Clarke 1866\",6378206.4,294.978698213898],"
    "TOWGS84[-8,160,176,0,0,0,0],AUTHORITY[\"EPSG\",\"6267\"]],PRIMEM[\"Greenwich\",0],"
    "UNIT[\"degree\",0.0174532925199433],AUTHORITY[\"EPSG\",\"4267\"]]";

/// Switches of GDAL, each with a value that is not its usual one.
constexpr const char* kPreferences[][2] = {{"GTIFF_SRS_SOURCE", "GEOKEYS"},  {"GTIFF_WRITE_TOWGS84", "YES"},
                                           {"GTIFF_WRITE_TOWGS84", "NO"},    {"GTIFF_ESRI_CITATION", "NO"},
                                           {"GTIFF_IMPORT_FROM_EPSG", "NO"}, {"GTIFF_REPORT_COMPD_CS", "YES"},
                                           {"GEOTIFF_VERSION", "1.1"},       {"GEOTIFF_KEYS_FLAVOR", "ESRI_PE"},
                                           {"GDAL_TIFF_ENDIANNESS", "BIG"},  {"GDAL_PAM_ENABLED", "YES"},
                                           {"OSR_WKT_FORMAT", "WKT2"},       {"OSR_WKT_FORMAT", "none"},
                                           {"OSR_STRIP_TOWGS84", "NO"},      {"CPL_DEBUG", "ON"}};

std::string LocalWithName(std::size_t length) {
  return "LOCAL_CS[\"" + std::string(length, 'n') + "\",UNIT[\"metre\",1]]";
}

/// What is asked of hostile texts: an answer, whichever.
void ReadAgain(const std::string& wkt) {
  const KeyedFile file(wkt);
  EXPECT_THAT(file.GetResult(), testing::AnyOf(0, 1));
  EXPECT_NE("no file", file.ReadWkt());
  EXPECT_NE("no keys", file.ReadWkt());
}

/// The revision of the keys that a system's file has.
int MinorRevisionOf(const std::string& wkt) {
  const KeyedFile file(wkt);
  const auto handle = OpenTiff(file.GetPath());
  const zrk::GeoKeys keys = zrk::OpenGeoKeys(handle->Get());
  int versions[3] = {};
  GTIFDirectoryInfo(keys.get(), versions, nullptr);
  return versions[2];
}

}  // namespace

TEST(WrittenGeoKeys, KeepTransverseMercatorGrids) {
  for (const int code : {32632, 32733, 26718, 25832, 27700, 3006, 2193, 28355, 5181, 31467}) ExpectCodeSurvives(code);
}

TEST(WrittenGeoKeys, KeepLambertAndAlbersGrids) {
  for (const int code : {2154, 31370, 3035, 5070, 3310, 2263, 27572}) ExpectCodeSurvives(code);
}

TEST(WrittenGeoKeys, KeepStereographicGrids) {
  for (const int code : {32661, 3031, 3413, 28992}) ExpectCodeSurvives(code);
}

TEST(WrittenGeoKeys, KeepObliqueGrids) {
  for (const int code : {2057, 29873, 3168, 3375, 21781, 5514}) ExpectCodeSurvives(code);
}

TEST(WrittenGeoKeys, KeepMercatorGrids) {
  for (const int code : {3857, 3395}) ExpectCodeSurvives(code);
}

TEST(WrittenGeoKeys, KeepGeographicSystems) {
  for (const int code : {4326, 4267, 4258}) ExpectCodeSurvives(code);
}

TEST(WrittenGeoKeys, KeepGeocentricSystemsWithTheCodeOfTheirDatum) {
  ExpectSurvives(WktOfCode(4978));
  EXPECT_THAT(KeyedFile(WktOfCode(4978)).ReadWkt(), HasSubstr("AUTHORITY[\"EPSG\",\"6326\"]"));
}

TEST(WrittenGeoKeys, KeepSystemsWithHeights) {
  ExpectPartsSurvive(OgrOf(7405), 27700, 5701);
  ExpectPartsSurvive(OgrOf(5698), 2154, 5720);
}

TEST(WrittenGeoKeys, KeepHeightsAboveAGridOfOnesOwnChoice) {
  OGRSpatialReference compound;
  const OGRSpatialReference plane = OgrOf(32632), heights = OgrOf(5773);
  compound.SetCompoundCS("UTM with heights", &plane, &heights);
  ExpectPartsSurvive(compound, 32632, 5773);
}

TEST(WrittenGeoKeys, KeepGeographicSystemsWithHeights) {
  XSpatialReference system;
  XString wkt;
  ASSERT_EQ(1, system.importFromEPSG(4979));
  ASSERT_EQ(1, system.exportToWkt(wkt));
  ExpectSurvives(WktOfCode(4979));
  ExpectSurvives(wkt.AsStdString());
}

TEST(WrittenGeoKeys, KeepGridsWithoutACode) {
  ExpectSurvives(OwnProjection(kOwnTransverseMercator, "\"metre\",1"));
  ExpectSurvives(OwnProjection(kOwnLambert, "\"metre\",1"));
}

TEST(WrittenGeoKeys, KeepGridsInOtherUnits) {
  ExpectSurvives(OwnProjection(kOwnTransverseMercator, "\"US survey foot\",0.304800609601219"));
  ExpectSurvives(OwnProjection(kOwnLambert, "\"foot\",0.3048"));
}

TEST(WrittenGeoKeys, KeepGeographicSystemsWithoutACode) {
  ExpectSurvives(kOwnDatum);
  ExpectSurvives(WithShift("10,-20.5,30"));
  ExpectSurvives(WithShift("10,-20.5,30,1.5,-2.25,0.125,-3.5"));
}

TEST(WrittenGeoKeys, KeepTheNameOfALocalSystemAndPlaceItsImage) {
  const KeyedFile file("LOCAL_CS[\"Site grid\",UNIT[\"metre\",1]]");
  EXPECT_EQ(1, file.GetResult());
  EXPECT_TRUE(file.ReadWithGdal().IsLocal());
  EXPECT_STREQ("Site grid", file.ReadWithGdal().GetName());
  const auto handle = OpenTiff(file.GetPath());
  EXPECT_TRUE(zrk::AreUsable(zrk::OpenGeoKeys(handle->Get()).get()));
}

TEST(WrittenGeoKeys, AreNoneForANullHandle) {
  EXPECT_EQ(0, XfnGTIFSetFromOGISDefn(nullptr, WktOfCode(32632)));
}

TEST(WrittenGeoKeys, AreNoneForWhatIsNoSystem) {
  const std::string wkt = WktOfCode(32632);
  const std::string shell = "PROJCS[\"x\",GEOGCS[\"y\",";
  for (const std::string& text :
       {std::string(), std::string(" "), std::string("garbage"), std::string("EPSG:32632"), std::string("PROJCS["),
        wkt.substr(0, wkt.size() / 2), std::string(1, '\0') + wkt, std::string("\xff\xfe"), shell + Repeat("X[", 5000),
        Repeat("GEOGCS[\"a\",", 5000), std::string(2 << 20, '['), "GEOGCS[\"" + std::string(2 << 20, 'x') + "\"]"}) {
    const KeyedFile file(text);
    EXPECT_EQ(0, file.GetResult()) << text.substr(0, 40);
    EXPECT_EQ("", file.ReadWkt()) << text.substr(0, 40);
    EXPECT_TRUE(file.ReadWithGdal().IsEmpty() || file.ReadWithGdal().IsLocal()) << text.substr(0, 40);
  }
}

TEST(WrittenGeoKeys, AreThoseOfATextUpToItsFirstZero) {
  const KeyedFile file(WktOfCode(32632) + std::string("\0[[[[[", 6));
  EXPECT_EQ(1, file.GetResult());
  EXPECT_EQ(32632, file.Read().GetEPSG());
}

TEST(WrittenGeoKeys, SurviveNumbersThatAreNoneAndLongNames) {
  for (const char* number : {"1e308", "-1e308", "1e999", "nan", "0", "1e-320"}) {
    ReadAgain(
        OwnProjection("PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"central_meridian\"," + std::string(number) + "]",
                      "\"metre\"," + std::string(number)));
  }
  ReadAgain(OwnProjection(kOwnLambert, "\"" + std::string(50000, 'u') + "\",2.5"));
}

TEST(WrittenGeoKeys, AreNoneWhereTheirTextsAreTooLong) {
  EXPECT_EQ(1, KeyedFile(LocalWithName(1000)).GetResult());
  // A bar ends the text and a zero all texts.
  EXPECT_EQ(1, KeyedFile(LocalWithName(65533)).GetResult());
  for (const std::size_t length : {65534u, 65535u, 65536u, 90000u}) {
    EXPECT_EQ(0, KeyedFile(LocalWithName(length)).GetResult()) << length;
  }
}

TEST(WrittenGeoKeys, AreNoneWhereTheyWouldNotDescribeTheSystem) {
  EXPECT_EQ(0, KeyedFile(WktOfCode(5773)).GetResult());  // heights alone
  // Of a name that long GDAL makes a local system.
  const std::string wkt = OwnProjection(kOwnTransverseMercator, "\"metre\",1");
  EXPECT_EQ(1, KeyedFile("PROJCS[\"" + std::string(400, 'n') + wkt.substr(wkt.find("\",GEOGCS"))).GetResult());
  EXPECT_EQ(0, KeyedFile("PROJCS[\"" + std::string(1000, 'n') + wkt.substr(wkt.find("\",GEOGCS"))).GetResult());
}

TEST(WrittenGeoKeys, ReplaceThoseOfTheSameNames) {
  const TempFolder folder;
  const std::unique_ptr<TIFF, TiffClose> tiff(XTIFFOpen(folder.Path("a.tif").c_str(), "w"));
  const zrk::GeoKeys keys(GTIFNew(tiff.get()));
  ASSERT_EQ(1, XfnGTIFSetFromOGISDefn(keys.get(), WktOfCode(32632)));
  ASSERT_EQ(1, XfnGTIFSetFromOGISDefn(keys.get(), WktOfCode(27700)));
  EXPECT_EQ(0, XfnGTIFSetFromOGISDefn(keys.get(), "garbage"));
  unsigned short code = 0;
  EXPECT_EQ(1, GTIFKeyGetSHORT(keys.get(), ProjectedCSTypeGeoKey, &code, 0, 1));
  EXPECT_EQ(27700, code);
  EXPECT_EQ(0, GTIFKeyInfo(keys.get(), GTRasterTypeGeoKey, nullptr, nullptr));  // the caller's
}

TEST(WrittenGeoKeys, AreOfTheSecondVersionWhereThereAreHeightsOnly) {
  EXPECT_EQ(0, MinorRevisionOf(WktOfCode(32632)));
  EXPECT_EQ(1, MinorRevisionOf(WktOfCode(7405)));
}

TEST(WrittenGeoKeys, AreMadeSilentlyAndLeaveNoFileBehind) {
  const CPLConfigOptionSetter debug("CPL_DEBUG", "ON", false);
  testing::internal::CaptureStderr();
  for (const std::string& wkt :
       {WktOfCode(7405), std::string("PROJCS["), OwnProjection("PROJECTION[\"None\"]", "\"x\",0")}) {
    ReadAgain(wkt);
  }
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  char** names = VSIReadDir("/vsimem/");
  EXPECT_EQ(-1, CSLPartialFindString(names, "zrkio"));
  CSLDestroy(names);
}

TEST(WrittenGeoKeys, AreTheSameWhateverTheEnvironmentPrefers) {
  const std::string feet = OwnProjection(kOwnTransverseMercator, "\"US survey foot\",0.304800609601219");
  for (const std::string& wkt : {feet, WithShift("10,-20.5,30"), kKnownDatumWithShift}) {
    const KeyedFile expected(wkt);
    for (const auto& [option, value] : kPreferences) {
      const CPLConfigOptionSetter preference(option, value, false);
      const KeyedFile file(wkt);
      EXPECT_EQ(ReadBytes(expected.GetPath()), ReadBytes(file.GetPath())) << option << '=' << value;
      EXPECT_EQ(expected.ReadWkt(), file.ReadWkt()) << option << '=' << value;
    }
  }
}

TEST(WrittenGeoKeysThreads, AreMadeByManyAtOnce) {
  const std::vector<int> codes = {32632, 27700, 2154, 4326};
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  for (const int code : codes) {
    threads.emplace_back([&numWrong, code] {
      for (int i = 0; i < 5; ++i) {
        if (KeyedFile(WktOfCode(code)).Read().GetEPSG() != code) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}
