// The systems that words of ECW files mean. What a number of the registry is, and which there are, PROJ is asked
// itself.

#include "bands/ecw/EcwSystem.h"

#include "TempFolder.h"
#include "XSpatialReference.h"
#include "ZRMBandECW.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>
#include <proj.h>

#include <memory>
#include <regex>
#include <set>

namespace {

XSpatialReference Named(const char* datum, const char* projection, XReadPolicy policy = kReadCompatible,
                        const XSpatialReference& before = {}) {
  ZRMBandECW band;
  band.SetReadPolicy(policy);
  XSpatialReference system = before;
  band.SetProjection(datum, projection, &system);
  return system;
}

XSpatialReference Epsg(int code) {
  XSpatialReference system;
  EXPECT_EQ(1, system.importFromEPSG(code));
  return system;
}

/// PROJ's own system of a number, by its own interface; empty where PROJ has none.
XSpatialReference FromProj(int code) {
  const std::unique_ptr<PJ_CONTEXT, decltype(&proj_context_destroy)> context(proj_context_create(),
                                                                             &proj_context_destroy);
  proj_log_level(context.get(), PJ_LOG_NONE);
  const std::unique_ptr<PJ, decltype(&proj_destroy)> found(
      proj_create_from_database(context.get(), "EPSG", std::to_string(code).c_str(), PJ_CATEGORY_CRS, 0, nullptr),
      &proj_destroy);
  XSpatialReference system;
  if (found) system.importFromWkt(proj_as_wkt(context.get(), found.get(), PJ_WKT2_2019, nullptr));
  return system;
}

/// A projected system of PROJ's with another geographic one beneath it, as GDAL puts them together.
XSpatialReference OnDatum(int code, int datumCode) {
  const CPLConfigOptionSetter asItStands("OSR_USE_NON_DEPRECATED", "NO", false);
  OGRSpatialReference system, datum;
  system.importFromEPSG(code);
  datum.importFromEPSG(datumCode);
  system.CopyGeogCSFrom(&datum);
  const std::unique_ptr<char, decltype(&VSIFree)> wkt(
      [&] {
        char* text = nullptr;
        system.exportToWkt(&text);
        return text;
      }(),
      &VSIFree);
  XSpatialReference made;
  EXPECT_EQ(1, made.importFromWkt(wkt.get()));
  return made;
}

bool AreSame(const XSpatialReference& one, const XSpatialReference& other) {
  return one.IsSame(other) != 0 && one.GetCoordinateKind() == other.GetCoordinateKind();
}

/// The rows of a list on the page about the format, as NAME=NUMBER.
std::vector<std::pair<std::string, int>> RowsOnPage(const std::string& heading) {
  const std::vector<unsigned char> bytes = ReadBytes(SourcePath("docs/formats/ecw.md"));
  std::string page(bytes.begin(), bytes.end());
  page.erase(0, page.find("\n## " + heading + "\n"));
  page.erase(page.find("\n## ", 1));
  static const std::regex kRow("([A-Z0-9]+)=([0-9]+)");
  std::vector<std::pair<std::string, int>> rows;
  for (std::sregex_iterator match(page.begin(), page.end(), kRow), end; match != end; ++match) {
    rows.emplace_back((*match)[1], std::stoi((*match)[2]));
  }
  return rows;
}

std::vector<std::pair<std::string, int>> RowsOf(std::span<const zrk::EcwName> names) {
  std::vector<std::pair<std::string, int>> rows;
  for (const zrk::EcwName& each : names) rows.emplace_back(std::string(each.name), each.code);
  return rows;
}

/// Numbers of the table that PROJ's registry lacks.
const std::set<int> kUnknownToProj = {26804, 26805, 26806, 40035, 40038, 40039, 40040, 40041, 40042};

TEST(EcwSystem, HasTheTablesOfThePage) {
  EXPECT_EQ(147u, zrk::GetEcwProjections().size());
  EXPECT_EQ(RowsOnPage("Projections"), RowsOf(zrk::GetEcwProjections()));
  EXPECT_EQ(14u, zrk::GetEcwDatums().size());
  EXPECT_EQ(RowsOnPage("Datums"), RowsOf(zrk::GetEcwDatums()));
}

TEST(EcwSystem, OfEachProjectionIsThatOfProjOrUnknownWherePROJHasNone) {
  const XSpatialReference before = Epsg(4326);
  for (const zrk::EcwName& each : zrk::GetEcwProjections()) {
    const XSpatialReference named = Named("", std::string(each.name).c_str(), kReadCompatible, before);
    const XSpatialReference expected = FromProj(each.code);
    EXPECT_EQ(kUnknownToProj.contains(each.code), expected.IsEmpty() != 0) << each.name;
    EXPECT_TRUE(named.IsSame(expected.IsEmpty() ? before : expected)) << each.name;
    EXPECT_EQ(expected.IsEmpty() ? kReferenceUnknown : kReferenceKnown, named.GetCoordinateKind()) << each.name;
  }
}

TEST(EcwSystem, OfEachProjectionGetsTheDatumThatIsNamed) {
  for (const zrk::EcwName& each : zrk::GetEcwProjections()) {
    if (kUnknownToProj.contains(each.code)) continue;
    const std::string name(each.name);
    EXPECT_TRUE(AreSame(OnDatum(each.code, 4326), Named("WGS84", name.c_str()))) << name;
  }
}

TEST(EcwSystem, OfAZoneIsOnWgs84WhateverTheDatum) {
  for (const char* datum : {"WGS84", "NAD27", "TOKYO", "nonsense", ""}) {
    EXPECT_EQ(32652, Named(datum, "NUTM52").GetEPSG()) << datum;
    EXPECT_EQ(32752, Named(datum, "SUTM52").GetEPSG()) << datum;
  }
  EXPECT_EQ(32601, Named("wgs84", "nutm1").GetEPSG());
  EXPECT_EQ(32760, Named("", "XUTM60").GetEPSG());  // any other letter is south
}

TEST(EcwSystem, OfDegreesIsWgs84WhateverTheDatum) {
  for (const char* datum : {"WGS84", "NAD27", "nonsense"}) {
    EXPECT_TRUE(AreSame(Epsg(4326), Named(datum, "GEODETIC"))) << datum;
    EXPECT_TRUE(AreSame(Epsg(4326), Named(datum, "a geodetic one"))) << datum;
  }
}

TEST(EcwSystem, OfATableGetsADatumThatIsKnownAndKeepsItsOwnOtherwise) {
  EXPECT_TRUE(AreSame(OnDatum(22173, 4326), Named("WGS84", "TMARG3")));
  EXPECT_TRUE(AreSame(OnDatum(22173, 4267), Named("nad27", "tmarg3")));
  EXPECT_TRUE(AreSame(Epsg(22173), Named("nonsense", "TMARG3")));
  // The numbers of these two are no geographic systems.
  EXPECT_TRUE(AreSame(Epsg(22173), Named("BOGOTA", "TMARG3")));
  EXPECT_TRUE(AreSame(Epsg(22173), Named("NAHRWAN", "TMARG3")));
}

TEST(EcwSystem, OfAnUnknownProjectionIsAsBeforeAndCountsAsUnknown) {
  const XSpatialReference before = Epsg(31468);
  for (const char* projection :
       {"RAW", "", "TMARG", "TMARG33", "UTM", "NUTM0", "NUTM61", "NUTM-5", "XYUTM52", "NUTM99999999999999999999"}) {
    const XSpatialReference named = Named("WGS84", projection, kReadCompatible, before);
    EXPECT_TRUE(named.IsSame(before)) << projection;
    EXPECT_EQ(kReferenceUnknown, named.GetCoordinateKind()) << projection;
  }
  ZRMBandECW().SetProjection("WGS84", "NUTM52", nullptr);
}

TEST(EcwExactSystem, CountsTheDatumInAnyCase) {
  EXPECT_EQ(32652, Named("WGS84", "NUTM52", kReadExact).GetEPSG());
  EXPECT_EQ(26711, Named("NAD27", "NUTM11", kReadExact).GetEPSG());
  EXPECT_TRUE(AreSame(Epsg(4267), Named("NAD27", "GEODETIC", kReadExact)));
  EXPECT_TRUE(AreSame(OnDatum(22173, 4326), Named("WGS84", "TMARG3", kReadExact)));
}

TEST(EcwExactSystem, IsEmptyAndUnknownWhereAWordIsNotKnown) {
  const XSpatialReference before = Epsg(31468);
  for (const auto& [datum, projection] :
       {std::pair("nonsense", "NUTM52"), std::pair("nonsense", "GEODETIC"), std::pair("nonsense", "TMARG3"),
        std::pair("WGS84", "nonsense"), std::pair("WGS84", "TMHAWI1F"), std::pair("BOGOTA", "TMARG3"),
        std::pair("WGS84", "NUTM61"), std::pair("WGS84", "XYUTM5")}) {
    const XSpatialReference named = Named(datum, projection, kReadExact, before);
    EXPECT_TRUE(named.IsEmpty()) << projection;
    EXPECT_EQ(kReferenceUnknown, named.GetCoordinateKind()) << projection;
  }
}

TEST(EcwExactSystem, IsNoneOfARawImage) {
  const XSpatialReference named = Named("RAW", "RAW", kReadExact, Epsg(31468));
  EXPECT_TRUE(named.IsEmpty());
  EXPECT_EQ(kReferenceNone, named.GetCoordinateKind());
}

}  // namespace
