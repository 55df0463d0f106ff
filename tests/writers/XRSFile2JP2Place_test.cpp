// Where JPEG 2000 files that are written say that they lie, as GDAL reads it.

#include "Jp2Writing.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class XRSFile2JP2Place : public Jp2Writing {
 protected:
  /// A band in a system, whose pixels are 2.5 by 10 units.
  LoggedBand& AddPlaced(int epsg) {
    LoggedBand& band = AddInSystem(epsg);
    band.SetUpperLeft(400000.25, 5000000.5);
    band.SetPixelSize(2.5, 10);
    return band;
  }
};

TEST_F(XRSFile2JP2Place, OfAWindowIsReadByGdal) {
  for (const int epsg : {32632, 32755, 4326, 3857, 27700, 5186}) {
    AddPlaced(epsg);
    ASSERT_EQ(1, SaveWindow(7, 30, 3, 20)) << Error();
    const GdalImage image = ReadByGdal();
    EXPECT_EQ(epsg, image.epsg);
    ASSERT_TRUE(image.isPlaced);
    EXPECT_THAT(image.transform, ElementsAre(400000.25 + 7 * 2.5, 2.5, 0, 5000000.5 - 3 * 10, 0, -10));
  }
}

TEST_F(XRSFile2JP2Place, ThatIsTurnedIsKept) {
  const double turned[] = {1000, 3, 4, 2000, 4, -3};
  AddPlaced(32632).SetGeoTransform(turned);
  ASSERT_EQ(1, SaveWindow(2, 30, 1, 20));
  EXPECT_THAT(ReadByGdal().transform, ElementsAre(1000 + 2 * 3 + 4, 3, 4, 2000 + 2 * 4 - 3, 4, -3));
}

TEST_F(XRSFile2JP2Place, WithRowsThatGoNorthIsKept) {
  const double northward[] = {1000, 3, 0, 2000, 0, 3};
  AddPlaced(32632).SetGeoTransform(northward);
  ASSERT_EQ(1, SaveImage());
  EXPECT_THAT(ReadByGdal().transform, ElementsAre(1000, 3, 0, 2000, 0, 3));
}

TEST_F(XRSFile2JP2Place, OfABandThatNamesCentresIsThatOfTheCorner) {
  AddPlaced(32632).SetPixelAnchor(kPixelCentre);
  ASSERT_EQ(1, SaveImage());
  EXPECT_THAT(ReadByGdal().transform, ElementsAre(400000.25 - 1.25, 2.5, 0, 5000000.5 + 5, 0, -10));
}

TEST_F(XRSFile2JP2Place, WithoutASystemIsKept) {
  AddPlaced(0);
  ASSERT_EQ(1, SaveImage());
  const GdalImage image = ReadByGdal();
  EXPECT_EQ(0, image.epsg);
  EXPECT_THAT(image.transform, ElementsAre(400000.25, 2.5, 0, 5000000.5, 0, -10));
}

/// Heights alone have no keys.
TEST_F(XRSFile2JP2Place, OfASystemWithoutKeysIsKeptWithoutThatInTheCompatiblePolicy) {
  AddPlaced(5773);
  ASSERT_EQ(1, SaveImage()) << Error();
  const GdalImage image = ReadByGdal();
  EXPECT_EQ(0, image.epsg);
  EXPECT_THAT(image.transform, ElementsAre(400000.25, 2.5, 0, 5000000.5, 0, -10));
}

TEST_F(XRSFile2JP2Place, OfASystemWithoutKeysFailsAnExactSaveThatWantsIt) {
  AddPlaced(5773);
  file_->SetReadPolicy(kReadExact);
  ExpectRefusal("The coordinate system can't be written, because there are no geokeys for it");
  writer_.SetGeoreference(false);
  EXPECT_EQ(1, SaveImage()) << Error();
}

TEST_F(XRSFile2JP2Place, OfASystemAloneIsTheSystem) {
  AddPlaced(32632).SetCoordinateKind(kCoordinatePixel);
  ASSERT_EQ(1, SaveImage());
  const GdalImage image = ReadByGdal();
  EXPECT_EQ(32632, image.epsg);
  EXPECT_FALSE(image.isPlaced);
}

TEST_F(XRSFile2JP2Place, IsNotSaidWhereThereIsNone) {
  Add<std::uint8_t>(10, 10);
  ASSERT_EQ(1, SaveImage());
  EXPECT_THAT(Jp2Walk(ReadBytes(Out())).DataOf("uuid"), IsEmpty());
  EXPECT_FALSE(ReadByGdal().isPlaced);
}

TEST_F(XRSFile2JP2Place, IsNotSaidWhereItIsNotWanted) {
  AddPlaced(32632);
  writer_.SetGeoreference(false);
  ASSERT_EQ(1, SaveImage());
  EXPECT_THAT(Jp2Walk(ReadBytes(Out())).DataOf("uuid"), IsEmpty());
  writer_.SetGeoreference(true);
  ASSERT_EQ(1, SaveImage());
  EXPECT_EQ(32632, ReadByGdal().epsg);
}

/// The box holds a whole TIFF file, and libtiff reads it.
TEST_F(XRSFile2JP2Place, LiesInATiffFile) {
  AddPlaced(32632);
  ASSERT_EQ(1, SaveWindow(7, 30, 3, 20));
  const std::vector<unsigned char> box = Jp2Walk(ReadBytes(Out())).DataOf("uuid");
  const std::vector<unsigned char> geoJp2 = {0xB1, 0x4B, 0xF8, 0xBD, 0x08, 0x3D, 0x4B, 0x43,
                                             0xA5, 0xAE, 0x8C, 0xD7, 0xD5, 0xA6, 0xCE, 0x03};
  ASSERT_GT(box.size(), geoJp2.size());
  EXPECT_TRUE(std::equal(geoJp2.begin(), geoJp2.end(), box.begin()));
  folder_.Write("box.tif", std::vector<unsigned char>(box.begin() + 16, box.end()));
  const TiffTags tags(Path("box.tif"));
  EXPECT_THAT(tags.tiePoints, ElementsAre(0, 0, 0, 400000.25 + 7 * 2.5, 5000000.5 - 3 * 10, 0));
  EXPECT_THAT(tags.pixelScale, ElementsAre(2.5, 10, 0));
  EXPECT_THAT(ReadGeoKeys(Path("box.tif")), testing::AllOf(testing::Contains("1024=1"), testing::Contains("1025=1"),
                                                           testing::Contains("3072=32632")));
}

}  // namespace
