// Coordinate systems: texts, codes, names, comparison and copies. The expected systems are well-known ones with their
// EPSG codes, and texts are compared with what OGR itself writes.

#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <cpl_conv.h>
#include <ogr_spatialref.h>
#include <ogr_srs_api.h>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

XString WktOf(const XSpatialReference& sr) {
  XString wkt;
  EXPECT_EQ(1, sr.exportToWkt(wkt));
  return wkt;
}

TEST(XSpatialReference, StartsEmptyWithKindOne) {
  const XSpatialReference sr;
  EXPECT_EQ(1, sr.IsEmpty());
  EXPECT_EQ(kReferenceNone, sr.GetCoordinateKind());
  EXPECT_EQ("", WktOf(sr).AsStdString());
  EXPECT_EQ(0, sr.IsGeographic());
  EXPECT_EQ(0, sr.GetEPSG());
}

TEST(XSpatialReference, AnImportMakesItKnown) {
  XSpatialReference sr;
  ASSERT_EQ(1, sr.importFromEPSG(4326));
  EXPECT_EQ(0, sr.IsEmpty());
  EXPECT_EQ(kReferenceKnown, sr.GetCoordinateKind());
  EXPECT_EQ(1, sr.IsGeographic());
  EXPECT_EQ("WGS 84", sr.GetName().AsStdString());
}

TEST(XSpatialReference, SystemsSurviveTheirText) {
  for (const int code : {4326, 4267, 4269, 32633, 32733, 3857, 27700, 2154, 3031, 26918, 28992, 5514}) {
    XSpatialReference first, second;
    ASSERT_EQ(1, first.importFromEPSG(code)) << code;
    ASSERT_EQ(1, second.importFromWkt(WktOf(first))) << code;
    EXPECT_EQ(1, first.IsSame(second)) << code;
    EXPECT_EQ(code, second.GetEPSG());
  }
}

TEST(XSpatialReference, WritesTheTextThatOgrWrites) {
  XSpatialReference sr;
  ASSERT_EQ(1, sr.importFromEPSG(32633));
  OGRSpatialReference oracle;
  oracle.importFromEPSG(32633);
  char* wkt = nullptr;
  oracle.exportToWkt(&wkt);
  EXPECT_STREQ(wkt, WktOf(sr).GetText());
  CPLFree(wkt);
}

TEST(XSpatialReference, KnowsTheGeographicSystemsByName) {
  for (const char* name : {"WGS84", "WGS72", "NAD27", "NAD83"}) {
    XSpatialReference sr;
    EXPECT_EQ(1, sr.SetWellKnownGeogCS(name)) << name;
    EXPECT_EQ(1, sr.IsGeographic());
  }
  XSpatialReference sr;
  EXPECT_EQ(0, sr.SetWellKnownGeogCS("ATLANTIS"));
}

TEST(XSpatialReference, KeepsItsProjectionUnderAnotherGeographicSystem) {
  XSpatialReference sr;
  ASSERT_EQ(1, sr.importFromEPSG(26711));  // zone 11 on NAD27
  ASSERT_EQ(1, sr.SetWellKnownGeogCS("WGS84"));
  EXPECT_EQ(0, sr.IsGeographic());
  EXPECT_EQ(32611, sr.GetEPSG());
  ASSERT_EQ(1, sr.SetWellKnownGeogCS("EPSG:4269"));
  EXPECT_EQ(26911, sr.GetEPSG());
  ASSERT_EQ(1, sr.importFromEPSG(4267));
  ASSERT_EQ(1, sr.SetWellKnownGeogCS("WGS84"));
  EXPECT_EQ(4326, sr.GetEPSG());
  EXPECT_EQ(0, sr.SetWellKnownGeogCS("EPSG:32611"));
  EXPECT_EQ(1, sr.IsEmpty());
}

TEST(XSpatialReference, UtmStandsOnWgs84UnlessASystemIsSet) {
  XSpatialReference sr;
  ASSERT_EQ(1, sr.SetUTM(33, true));
  EXPECT_EQ(32633, sr.GetEPSG());
  XSpatialReference nad;
  ASSERT_EQ(1, nad.SetWellKnownGeogCS("NAD83"));
  ASSERT_EQ(1, nad.SetUTM(18));
  EXPECT_EQ(26918, nad.GetEPSG());
  XSpatialReference south;
  ASSERT_EQ(1, south.SetUTM(33, false));
  EXPECT_EQ(32733, south.GetEPSG());
  EXPECT_EQ(0, south.SetUTM(61));
  EXPECT_EQ(1, south.IsEmpty());
}

TEST(XSpatialReference, CopiesAreIndependent) {
  XSpatialReference first;
  first.importFromEPSG(4326);
  XSpatialReference second = first;
  second.importFromEPSG(32633);
  EXPECT_EQ(1, first.IsGeographic());
  first = second;
  second.Clear();
  EXPECT_EQ(0, first.IsGeographic());
  EXPECT_EQ(kReferenceKnown, first.GetCoordinateKind());
  EXPECT_EQ(kReferenceNone, second.GetCoordinateKind());
}

TEST(XSpatialReference, ComparesSystemsAndNotTheirTexts) {
  XSpatialReference empty, wgs84, other, known;
  wgs84.importFromEPSG(4326);
  known.SetWellKnownGeogCS("WGS84");
  other.importFromEPSG(4267);
  EXPECT_EQ(1, wgs84.IsSame(known));
  EXPECT_EQ(1, wgs84.IsSame(wgs84));
  EXPECT_EQ(0, wgs84.IsSame(other));
  EXPECT_EQ(0, wgs84.IsSame(empty));
  EXPECT_EQ(1, empty.IsSame(XSpatialReference()));
}

TEST(XSpatialReference, IsTheSameInEitherOrderOfAxesAsItsOwnIsFixed) {
  XSpatialReference known, plain, turned;
  known.importFromEPSG(4326);
  const XString wkt =
      "GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS 84\",6378137,298.257223563]],PRIMEM[\"Greenwich\",0],"
      "UNIT[\"degree\",0.0174532925199433]";
  ASSERT_EQ(1, plain.importFromWkt(wkt + "]"));
  ASSERT_EQ(1, turned.importFromWkt(wkt + ",AXIS[\"Longitude\",EAST],AXIS[\"Latitude\",NORTH]]"));
  for (const XSpatialReference& each : {plain, turned}) {
    EXPECT_EQ(1, each.IsSame(known));
    EXPECT_EQ(1, known.IsSame(each));
  }
}

TEST(XSpatialReference, AFailedImportLeavesItEmptyAndSilent) {
  testing::internal::CaptureStderr();
  for (const char* text : {"", "nonsense", "GEOGCS[\"x\"", "PROJCS[\"a\",GEOGCS[]]"}) {
    XSpatialReference sr;
    sr.importFromEPSG(4326);
    EXPECT_EQ(0, sr.importFromWkt(text)) << text;
    EXPECT_EQ(1, sr.IsEmpty());
    EXPECT_EQ(kReferenceNone, sr.GetCoordinateKind());
  }
  XSpatialReference sr;
  EXPECT_EQ(0, sr.importFromEPSG(999999));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(XSpatialReference, TextsWithoutBoundAreRefused) {
  XSpatialReference sr;
  EXPECT_EQ(0, sr.importFromWkt(XString(std::string(2 << 20, 'x'))));
  std::string deep;
  for (int i = 0; i < 10000; ++i) deep += "GEOGCS[";
  EXPECT_EQ(0, sr.importFromWkt(XString(deep)));
}

TEST(XSpatialReference, WritesWkt1WhateverTheEnvironmentPrefers) {
  const CPLConfigOptionSetter preference("OSR_WKT_FORMAT", "WKT2_2018", false);
  XSpatialReference sr;
  ASSERT_EQ(1, sr.importFromEPSG(32633));
  EXPECT_EQ(0, WktOf(sr).Find("PROJCS[\"WGS 84 / UTM zone 33N\""));
}

TEST(XSpatialReference, WritesGeographicHeightsAsACompoundSystem) {
  XSpatialReference sr, again;
  ASSERT_EQ(1, sr.importFromEPSG(4979));
  const XString wkt = WktOf(sr);
  EXPECT_EQ(0, wkt.Find("COMPD_CS["));
  ASSERT_EQ(1, again.importFromWkt(wkt));
  EXPECT_EQ(1, again.IsSame(sr));
}

TEST(XSpatialReference, LeavesTheTextAloneWhereThereIsNoWkt1) {
  // A system of time has no words in WKT 1.
  XSpatialReference sr;
  ASSERT_EQ(1, sr.importFromWkt("TIMECRS[\"t\",TDATUM[\"d\",TIMEORIGIN[2000-01-01]],CS[TemporalDateTime,1],"
                                "AXIS[\"time\",future]]"));
  XString wkt = "as it was";
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, sr.exportToWkt(wkt));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("as it was", wkt.AsStdString());
}

TEST(XSpatialReference, TakesNoCodeThatIsNoNumber) {
  for (const char* code : {"99999999999999999999", "12x", "", "-"}) {
    XString wkt;
    wkt.Format(
        "GEOGCS[\"a\",DATUM[\"b\",SPHEROID[\"c\",6000000,290]],PRIMEM[\"Greenwich\",0],"
        "UNIT[\"degree\",0.0174532925199433],AUTHORITY[\"EPSG\",\"%s\"]]",
        code);
    XSpatialReference sr;
    ASSERT_EQ(1, sr.importFromWkt(wkt)) << code;
    EXPECT_EQ(0, sr.GetEPSG()) << code;
  }
}

TEST(XSpatialReference, FindsTheCodeOfASystemWithoutOne) {
  XSpatialReference sr;
  ASSERT_EQ(1, sr.SetWellKnownGeogCS("NAD27"));
  ASSERT_EQ(1, sr.SetUTM(18));
  EXPECT_EQ(26718, sr.GetEPSG());
  EXPECT_EQ(0, sr.IsGeographic());
}

TEST(XSpatialReference, AsksNoNetworkForGrids) {
  XSpatialReference sr;
  ASSERT_EQ(1, sr.importFromEPSG(4326));
  EXPECT_EQ(0, OSRGetPROJEnableNetwork());
}

TEST(XSpatialReference, OutlivesTheThreadThatMadeIt) {
  auto sr = std::make_unique<XSpatialReference>();
  XString before;
  std::thread([&] {
    sr->importFromEPSG(32633);
    before = WktOf(*sr);
  }).join();
  EXPECT_EQ(before, WktOf(*sr));
  XSpatialReference again;
  again.importFromEPSG(32633);
  EXPECT_EQ(1, sr->IsSame(again));
  EXPECT_EQ(32633, sr->GetEPSG());
  std::thread([&] { sr.reset(); }).join();
}

TEST(XSpatialReferenceThreads, IsReadByManyAtOnce) {
  XSpatialReference sr, other;
  sr.importFromEPSG(32633);
  other.importFromEPSG(32733);
  const XString expected = WktOf(sr);
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 20; ++i) {
        const XSpatialReference copy = sr;
        if (WktOf(sr) != expected || WktOf(copy) != expected) ++numWrong;
        if (!copy.IsSame(sr) || sr.IsGeographic() || sr.GetEPSG() != 32633) ++numWrong;
        // In both orders, so that two locks would meet.
        if (t % 2 == 0 ? sr.IsSame(other) : other.IsSame(sr)) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}

}  // namespace
