#include "bands/jp2/Jp2Gml.h"
#include "codec/Jp2Boxes.h"
#include "GeoBox.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "TempFolder.h"
#include "XFormatId.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <array>

// Where JPEG 2000 files lie, under both policies. Places are worked out by hand from the numbers in the boxes.

namespace {

using Bytes = std::vector<unsigned char>;
using Transform = std::array<double, 6>;

constexpr int kUtm11 = 32611;

class PlacedJ2k : public LoadedRaster {
 public:
  PlacedJ2k(const Bytes& bytes, XReadPolicy policy) : LoadedRaster(bytes, kFormatJP2, policy) {}
  Transform GetTransform() {
    Transform transform{};
    Band().GetGeoTransform(transform.data());
    return transform;
  }
};

const GeoBox kScaled = {.pixelScale = {60, 60, 0}, .tiePoints = {0, 0, 0, 440720, 3751320, 0}, .epsg = kUtm11};

Bytes WithGeo(const GeoBox& box) {
  return Jp2Builder().Size(20, 10).Levels(0).Uuid(zrk::kGeoJp2Uuid, box.Build()).Build();
}

Bytes WithMsig(std::size_t numBytes = 70) {
  return Jp2Builder()
      .Size(20, 10)
      .Levels(0)
      .Uuid(zrk::kMsigUuid, MakeMsig(2, 0.5, 0.25, -4, 101, 198, numBytes))
      .Build();
}

TEST(Jp2PlaceCompatible, IsTheCentreOfTheFirstPixel) {
  PlacedJ2k image(WithGeo(kScaled), kReadCompatible);
  EXPECT_EQ(440750.0, image.Band().GetULX());
  EXPECT_EQ(3751290.0, image.Band().GetULY());
  EXPECT_EQ(60.0, image.Band().GetXPixelSize());
  EXPECT_EQ(60.0, image.Band().GetYPixelSize());
  EXPECT_EQ(kCoordinateWorld, image.Band().GetCoordinateKind());
  EXPECT_EQ(kUtm11, image.Band().GetSR()->GetEPSG());
  EXPECT_EQ((Transform{440720, 60, 0, 3751320, 0, -60}), image.GetTransform());
}

TEST(Jp2PlaceCompatible, TakesPointsForCorners) {
  GeoBox box = kScaled;
  box.isPoint = true;
  EXPECT_EQ((Transform{440720, 60, 0, 3751320, 0, -60}), PlacedJ2k(WithGeo(box), kReadCompatible).GetTransform());
}

TEST(Jp2PlaceExact, KnowsPointsFromCorners) {
  GeoBox box = kScaled;
  box.isPoint = true;
  PlacedJ2k image(WithGeo(box), kReadExact);
  EXPECT_EQ((Transform{440690, 60, 0, 3751350, 0, -60}), image.GetTransform());
  EXPECT_EQ(440720.0, image.Band().GetULX());
}

TEST(Jp2Place, ATiePointNeedNotBeThatOfTheFirstPixel) {
  GeoBox box = kScaled;
  box.tiePoints = {10, 5, 0, 440720, 3751320, 0};
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    EXPECT_EQ((Transform{440120, 60, 0, 3751620, 0, -60}), PlacedJ2k(WithGeo(box), policy).GetTransform());
  }
}

TEST(Jp2PlaceCompatible, AMatrixGivesTheSizesAlongTheAxes) {
  const GeoBox box = {.matrix = {2, 1, 0, 100, 1, -3, 0, 200, 0, 0, 0, 0, 0, 0, 0, 1}, .epsg = kUtm11};
  PlacedJ2k image(WithGeo(box), kReadCompatible);
  EXPECT_EQ(101.0, image.Band().GetULX());
  EXPECT_EQ(198.5, image.Band().GetULY());
  EXPECT_EQ(2.0, image.Band().GetXPixelSize());
  EXPECT_EQ(3.0, image.Band().GetYPixelSize());
}

TEST(Jp2PlaceExact, AMatrixKeepsItsRotation) {
  const GeoBox box = {.matrix = {2, 1, 0, 100, 1, -3, 0, 200, 0, 0, 0, 0, 0, 0, 0, 1}, .epsg = kUtm11};
  PlacedJ2k image(WithGeo(box), kReadExact);
  EXPECT_EQ((Transform{100, 2, 1, 200, 1, -3}), image.GetTransform());
  EXPECT_EQ(101.5, image.Band().GetULX());
  EXPECT_EQ(199.0, image.Band().GetULY());
}

TEST(Jp2Place, TiePointsAloneGoToTheDatasetAndTheImageHasPlainPixels) {
  const GeoBox box = {.tiePoints = {1, 2, 0, 30, 40, 5, 6, 7, 0, 80, 90, 10}, .epsg = kUtm11};
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    PlacedJ2k image(WithGeo(box), policy);
    ASSERT_EQ(1, image.File().GetNumOfGCPSet());
    const tagGCPSets& set = *image.File().GetGCPSetAt(0);
    EXPECT_EQ(XString("JP2 TiePoints"), set.name);
    EXPECT_FALSE(set.projectionWkt.IsEmpty());
    ASSERT_EQ(2U, set.points.size());
    EXPECT_EQ(XString("1"), set.points[1].name);
    EXPECT_EQ(6.0, set.points[1].pixelX);
    EXPECT_EQ(90.0, set.points[1].mapY);
    EXPECT_EQ(10.0, set.points[1].mapZ);
    EXPECT_EQ(1, set.points[1].enabled);
    EXPECT_EQ(kCoordinatePixel, image.Band().GetCoordinateKind());
    EXPECT_EQ((std::array{0.0, 10.0}), (std::array{image.Band().GetULX(), image.Band().GetULY()}));
  }
}

TEST(Jp2PlaceCompatible, ABoxWithoutTagsCountsAsFoundAtTheOrigin) {
  PlacedJ2k image(WithGeo({.epsg = kUtm11}), kReadCompatible);
  EXPECT_EQ(kCoordinateWorld, image.Band().GetCoordinateKind());
  EXPECT_EQ((std::array{0.5, 0.5}), (std::array{image.Band().GetULX(), image.Band().GetULY()}));
}

TEST(Jp2PlaceExact, ABoxWithoutTagsTellsASystemAndNoPlace) {
  PlacedJ2k image(WithGeo({.epsg = kUtm11}), kReadExact);
  EXPECT_EQ(kCoordinatePixel, image.Band().GetCoordinateKind());
  EXPECT_EQ(kUtm11, image.Band().GetSR()->GetEPSG());
}

TEST(Jp2PlaceCompatible, APlaceWithoutASystemIsPlainPixels) {
  for (const Bytes& bytes : {WithMsig(), WithGeo({.pixelScale = {2, 2, 0}, .tiePoints = {0, 0, 0, 9, 9, 0}})}) {
    PlacedJ2k image(bytes, kReadCompatible);
    EXPECT_EQ(kCoordinatePixel, image.Band().GetCoordinateKind());
    EXPECT_EQ((std::array{0.0, 10.0, 1.0}),
              (std::array{image.Band().GetULX(), image.Band().GetULY(), image.Band().GetXPixelSize()}));
  }
}

TEST(Jp2PlaceExact, APlaceWithoutASystemIsKept) {
  PlacedJ2k image(WithMsig(), kReadExact);
  EXPECT_EQ(kCoordinateWorld, image.Band().GetCoordinateKind());
  EXPECT_EQ(kReferenceUnknown, image.Band().GetSR()->GetCoordinateKind());
  // The centre (101, 198), less half a pixel along both of the image's axes.
  EXPECT_EQ((Transform{99.875, 2, 0.25, 199.75, 0.5, -4}), image.GetTransform());
}

TEST(Jp2Place, AnMsigBoxOf69BytesIsDropped) {
  EXPECT_EQ(kCoordinatePixel, PlacedJ2k(WithMsig(69), kReadExact).Band().GetCoordinateKind());
  EXPECT_EQ(kCoordinateWorld, PlacedJ2k(WithMsig(70), kReadExact).Band().GetCoordinateKind());
}

TEST(Jp2Place, AnMsigBoxThatBeginsOtherwiseIsDropped) {
  Bytes data = MakeMsig(2, 0, 0, -2, 1, 1);
  data[4] = 0;
  PlacedJ2k image(Jp2Builder().Levels(0).Uuid(zrk::kMsigUuid, data).Build(), kReadExact);
  EXPECT_EQ(kCoordinatePixel, image.Band().GetCoordinateKind());
}

Jp2Builder TwoBoxes(const GeoBox& first, const GeoBox& second) {
  return Jp2Builder().Levels(0).Uuid(zrk::kGeoJp2Uuid, first.Build()).Uuid(zrk::kGeoJp2Uuid, second.Build());
}

TEST(Jp2PlaceCompatible, TheLastOfSeveralBoxesCounts) {
  PlacedJ2k image(TwoBoxes(kScaled, {.pixelScale = {1, 1, 0}, .epsg = kUtm11}).Build(), kReadCompatible);
  EXPECT_EQ(1.0, image.Band().GetXPixelSize());
}

TEST(Jp2PlaceExact, OfSeveralBoxesOneWithAPlaceAndASystemCounts) {
  const GeoBox placeOnly = {.pixelScale = {1, 1, 0}, .tiePoints = {0, 0, 0, 5, 5, 0}};
  EXPECT_EQ(60.0, PlacedJ2k(TwoBoxes(kScaled, placeOnly).Build(), kReadExact).Band().GetXPixelSize());
  GeoBox larger = kScaled;
  larger.pixelScale = {90, 90, 0};
  EXPECT_EQ(90.0, PlacedJ2k(TwoBoxes(kScaled, larger).Build(), kReadExact).Band().GetXPixelSize());
}

std::string GridText(const char* system, const char* origin, const char* across, const char* down) {
  return std::string("<gml:RectifiedGrid xmlns:gml='http://www.opengis.net/gml' dimension='2' srsName='") + system +
         "'><gml:origin><gml:Point><gml:pos>" + origin + "</gml:pos></gml:Point></gml:origin><gml:offsetVector>" +
         across + "</gml:offsetVector><gml:offsetVector>" + down + "</gml:offsetVector></gml:RectifiedGrid>";
}

Bytes WithGml(const std::string& text) {
  const Bytes root = Join({Jp2Builder::MakeBox("lbl ", Jp2Builder::Text("gml.root-instance")),
                           Jp2Builder::MakeBox("xml ", Jp2Builder::Text(text))});
  const Bytes all =
      Join({Jp2Builder::MakeBox("lbl ", Jp2Builder::Text("gml.data")), Jp2Builder::MakeBox("asoc", root)});
  return Jp2Builder().Size(20, 10).Levels(0).Box("asoc", all).Build();
}

TEST(Jp2PlaceCompatible, AGridOfGmlIsNotLookedAt) {
  PlacedJ2k image(WithGml(GridText("urn:ogc:def:crs:EPSG::32611", "1005 1995", "10 0", "0 -10")), kReadCompatible);
  EXPECT_EQ(kCoordinatePixel, image.Band().GetCoordinateKind());
}

TEST(Jp2PlaceExact, AGridOfGmlPlacesTheImage) {
  PlacedJ2k image(WithGml(GridText("urn:ogc:def:crs:EPSG::32611", "1005 1995", "10 0", "0 -10")), kReadExact);
  EXPECT_EQ((Transform{1000, 10, 0, 2000, 0, -10}), image.GetTransform());
  EXPECT_EQ(kUtm11, image.Band().GetSR()->GetEPSG());
}

TEST(Jp2Gml, HasLatitudeFirstWhereTheRegistryHas) {
  const auto grid = zrk::ParseGmlGrid(GridText("urn:ogc:def:crs:EPSG::4326", "49.5 8.5", "0 1", "-1 0"));
  ASSERT_TRUE(grid);
  EXPECT_EQ((Transform{8, 1, 0, 50, 0, -1}), grid->transform);
  EXPECT_EQ(4326, grid->epsg);
}

TEST(Jp2Gml, HasLongitudeFirstByAnOlderName) {
  const auto grid =
      zrk::ParseGmlGrid(GridText("http://www.opengis.net/gml/srs/epsg.xml#4326", "8.5 49.5", "1 0", "0 -1"));
  ASSERT_TRUE(grid);
  EXPECT_EQ((Transform{8, 1, 0, 50, 0, -1}), grid->transform);
}

TEST(Jp2Gml, IsNoneWhereItIsNotWhole) {
  const std::string system = "urn:ogc:def:crs:EPSG::32611";
  EXPECT_FALSE(zrk::ParseGmlGrid(""));
  EXPECT_FALSE(zrk::ParseGmlGrid("<a/>"));
  EXPECT_FALSE(zrk::ParseGmlGrid(GridText(system.c_str(), "1", "1 0", "0 1")));
  EXPECT_FALSE(zrk::ParseGmlGrid(GridText(system.c_str(), "1 2 3", "1 0", "0 1")));
  EXPECT_FALSE(zrk::ParseGmlGrid(GridText(system.c_str(), "nan 1", "1 0", "0 1")));
  EXPECT_FALSE(zrk::ParseGmlGrid(GridText(system.c_str(), "1 1", "x 0", "0 1")));
  EXPECT_FALSE(zrk::ParseGmlGrid("<!DOCTYPE a>" + GridText(system.c_str(), "1 1", "1 0", "0 1")));
}

TEST(ZRMBandJ2KBoxes, GiveTheCentresOfTheFirstAndTheLastPixel) {
  TempFolder folder;
  folder.Write("a.jp2", WithGeo(kScaled));
  ZRMBandJ2K band(nullptr);
  XSpatialReference sr;
  double left = 0, lower = 0, right = 0, upper = 0, xSize = 0, ySize = 0;
  ASSERT_EQ(1, band.ReadBoxes(folder.Path("a.jp2"), 20, 10, &sr, left, lower, right, upper, xSize, ySize));
  EXPECT_EQ((std::array{440750.0, 3750750.0, 441890.0, 3751290.0, 60.0, 60.0}),
            (std::array{left, lower, right, upper, xSize, ySize}));
  EXPECT_EQ(kUtm11, sr.GetEPSG());
}

TEST(ZRMBandJ2KBoxes, AFileWithoutThemIsNotFound) {
  TempFolder folder;
  folder.Write("a.jp2", Jp2Builder().Levels(0).Build());
  ZRMBandJ2K band(nullptr);
  XSpatialReference sr;
  double left = 7, lower = 0, right = 0, upper = 0, xSize = 0, ySize = 0;
  EXPECT_EQ(0, band.ReadBoxes(folder.Path("a.jp2"), 20, 10, &sr, left, lower, right, upper, xSize, ySize));
  EXPECT_EQ(0, band.ReadBoxes(folder.Path("none"), 20, 10, &sr, left, lower, right, upper, xSize, ySize));
  EXPECT_EQ(7.0, left);
}

TEST(ZRMBandJ2KBoxes, GeoJp2DataIsTakenApart) {
  ZRMBandJ2K band(nullptr);
  Bytes data = kScaled.Build();
  auto* const text = reinterpret_cast<char*>(data.data());
  const int size = static_cast<int>(data.size());
  XString wkt;
  Transform t{};
  ASSERT_EQ(1, band.ParseJP2GeoTIFF(size, text, wkt, t.data(), nullptr));
  EXPECT_EQ((Transform{440720, 60, 0, 3751320, 0, -60}), t);
  EXPECT_FALSE(wkt.IsEmpty());
  EXPECT_EQ(0, band.ParseJP2GeoTIFF(0, text, wkt, t.data(), nullptr));
  EXPECT_EQ(0, band.ParseJP2GeoTIFF(size, nullptr, wkt, t.data(), nullptr));
  EXPECT_EQ(0, band.ParseJP2GeoTIFF(size, text, wkt, nullptr, nullptr));
  EXPECT_EQ(0, band.ParseJP2GeoTIFF(7, text, wkt, t.data(), nullptr));
}

TEST(ZRMBandJ2KBoxes, MsigDataIsTakenApart) {
  ZRMBandJ2K band(nullptr);
  Bytes data = MakeMsig(2, 0.5, 0.25, -4, 101, 198);
  auto* const text = reinterpret_cast<char*>(data.data());
  Transform t{};
  ASSERT_EQ(1, band.ParseMSIG(70, text, t.data()));
  EXPECT_EQ((Transform{99.875, 2, 0.25, 199.75, 0.5, -4}), t);
  EXPECT_EQ(0, band.ParseMSIG(69, text, t.data()));
  EXPECT_EQ(0, band.ParseMSIG(70, nullptr, t.data()));
  EXPECT_EQ(0, band.ParseMSIG(70, text, nullptr));
}

// Pixels of 2 by 3, the centre of the first one at (100, 200).
constexpr char kWorldLines[] = "2\n0\n0\n-3\n100\n200\n";

/// A file with a world file beside it.
class WorldPlacedJ2k : public testing::Test {
 protected:
  int Load(const Bytes& bytes, const std::string& lines, XReadPolicy policy) {
    folder_.Write("image.jp2", bytes);
    folder_.Write("image.j2w", lines);
    file_.SetReadPolicy(policy);
    return XRSFileIO::LoadFileJP2(&file_, folder_.Path("image.jp2"), err_, 0, kLevelNone, nullptr);
  }
  Transform GetTransform() {
    Transform transform{};
    file_.GetBandAt(0)->GetGeoTransform(transform.data());
    return transform;
  }

  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

using Jp2WorldFileCompatible = WorldPlacedJ2k;
using Jp2WorldFileExact = WorldPlacedJ2k;

TEST_F(Jp2WorldFileCompatible, IsNotLookedAt) {
  ASSERT_EQ(1, Load(Jp2Builder().Size(20, 10).Levels(0).Build(), kWorldLines, kReadCompatible)) << err_.GetText();
  EXPECT_EQ(kCoordinatePixel, file_.GetBandAt(0)->GetCoordinateKind());
}

TEST_F(Jp2WorldFileExact, PlacesAnImageThatHasNoPlaceOfItsOwn) {
  ASSERT_EQ(1, Load(Jp2Builder().Size(20, 10).Levels(0).Build(), kWorldLines, kReadExact)) << err_.GetText();
  EXPECT_EQ(kCoordinateWorld, file_.GetBandAt(0)->GetCoordinateKind());
  EXPECT_EQ((Transform{99, 2, 0, 201.5, 0, -3}), GetTransform());
}

TEST_F(Jp2WorldFileExact, KeepsTheSystemOfABoxThatTellsNoPlace) {
  ASSERT_EQ(1, Load(WithGeo({.epsg = kUtm11}), kWorldLines, kReadExact)) << err_.GetText();
  EXPECT_EQ((Transform{99, 2, 0, 201.5, 0, -3}), GetTransform());
  EXPECT_EQ(kUtm11, file_.GetBandAt(0)->GetSR()->GetEPSG());
}

TEST_F(Jp2WorldFileExact, YieldsToThePlaceInTheFile) {
  ASSERT_EQ(1, Load(WithGeo(kScaled), kWorldLines, kReadExact)) << err_.GetText();
  EXPECT_EQ((Transform{440720, 60, 0, 3751320, 0, -60}), GetTransform());
}

TEST_F(Jp2WorldFileExact, FailsTheLoadWhereItPlacesNothing) {
  EXPECT_EQ(0, Load(Jp2Builder().Size(20, 10).Levels(0).Build(), "2\n0\n", kReadExact));
  EXPECT_NE(std::string::npos, err_.AsStdString().find("image.j2w")) << err_.GetText();
  EXPECT_EQ(0, file_.GetNumOfBands());
}

}  // namespace
