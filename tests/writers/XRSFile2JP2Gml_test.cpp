// The place of a JPEG 2000 file that is written in GML, as GDAL reads it. Files have no other place where that is told,
// so that GDAL has to take it from there.

#include "Jp2Writing.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kNoGml = "GML can't be written, because there is no place in a system with an EPSG code";

class XRSFile2JP2Gml : public Jp2Writing {
 protected:
  /// A band of 40 x 30 pixels in a system, placed by a transform. Its place is written in GML alone.
  LoggedBand& AddPlaced(int epsg, const double (&transform)[6]) {
    LoggedBand& band = AddInSystem(epsg);
    band.SetGeoTransform(transform);
    writer_.SetGml(true);
    writer_.SetGeoreference(false);
    return band;
  }
  static std::string Outline(const Jp2Walk& walk) {
    std::string joined;
    for (const std::string& type : walk.GetOutline()) joined += type + ",";
    return joined;
  }
};

constexpr double kInMetres[] = {400000.25, 2.5, 0, 5000000.5, 0, -10};
constexpr double kInDegrees[] = {8.5, 0.125, 0, 49.25, 0, -0.0625};

TEST_F(XRSFile2JP2Gml, OfAWindowPlacesItForGdal) {
  for (const int epsg : {32632, 3857, 27700}) {
    AddPlaced(epsg, kInMetres);
    ASSERT_EQ(1, SaveWindow(7, 30, 3, 20)) << Error();
    const GdalImage image = ReadByGdal();
    EXPECT_EQ(epsg, image.epsg);
    ASSERT_TRUE(image.isPlaced);
    EXPECT_THAT(image.transform, ElementsAre(400000.25 + 7 * 2.5, 2.5, 0, 5000000.5 - 3 * 10, 0, -10));
  }
}

TEST_F(XRSFile2JP2Gml, HasLatitudeFirstWhereTheRegistryHas) {
  AddPlaced(4326, kInDegrees);
  ASSERT_EQ(1, SaveImage()) << Error();
  const GdalImage image = ReadByGdal();
  EXPECT_EQ(4326, image.epsg);
  EXPECT_THAT(image.transform, ElementsAre(8.5, 0.125, 0, 49.25, 0, -0.0625));
}

TEST_F(XRSFile2JP2Gml, KeepsATurn) {
  AddPlaced(32632, {1000, 3, 4, 2000, 4, -3});
  ASSERT_EQ(1, SaveImage());
  EXPECT_THAT(ReadByGdal().transform, ElementsAre(1000, 3, 4, 2000, 4, -3));
}

TEST_F(XRSFile2JP2Gml, IsReadByThisLibraryToo) {
  for (const auto& [epsg, transform] : {std::pair(32632, &kInMetres), std::pair(4326, &kInDegrees)}) {
    AddPlaced(epsg, *transform);
    ASSERT_EQ(1, SaveImage());
    XRSFile file;
    XString err;
    file.SetReadPolicy(kReadExact);
    ASSERT_EQ(1, XRSFileIO::LoadFileJP2(&file, Out(), err, 0, kLevelNone, nullptr)) << err.GetText();
    double read[6] = {};
    file.GetBandAt(0)->GetGeoTransform(read);
    EXPECT_THAT(read, testing::ElementsAreArray(*transform));
    EXPECT_EQ(epsg, file.GetBandAt(0)->GetSR()->GetEPSG());
  }
}

TEST_F(XRSFile2JP2Gml, StandsBesideGeoJp2AndIsListedAsAFeature) {
  AddPlaced(32632, kInMetres);
  writer_.SetGeoreference(true);
  ASSERT_EQ(1, SaveImage());
  const Jp2Walk walk(ReadBytes(Out()));
  EXPECT_THAT(walk.complaints, IsEmpty());
  EXPECT_EQ("jP  ,ftyp,rreq,jp2h, ihdr, colr,uuid,asoc,jp2c,", Outline(walk));
  const std::vector<unsigned char> brands = walk.DataOf("ftyp");
  EXPECT_EQ("jp2 jpx ", std::string(brands.begin() + 8, brands.end()));
  EXPECT_THAT(walk.DataOf("rreq"), ElementsAre(1, 0xC0, 0x80, 0, 2, 0, 5, 0x80, 0, 67, 0x40, 0, 0));
  EXPECT_EQ(32632, ReadByGdal().epsg);
  Decode();
}

TEST_F(XRSFile2JP2Gml, IsNotThereUnlessAskedFor) {
  AddPlaced(32632, kInMetres);
  writer_.SetGml(false);
  ASSERT_EQ(1, SaveImage());
  EXPECT_EQ("jP  ,ftyp,jp2h, ihdr, colr,jp2c,", Outline(Jp2Walk(ReadBytes(Out()))));
}

/// Without a code a text could not name the system.
TEST_F(XRSFile2JP2Gml, WithoutACodeIsLeftOutInTheCompatiblePolicy) {
  AddPlaced(0, kInMetres);
  ASSERT_EQ(1, SaveImage());
  EXPECT_THAT(Outline(Jp2Walk(ReadBytes(Out()))), Not(HasSubstr("asoc")));
}

TEST_F(XRSFile2JP2Gml, WithoutACodeFailsAnExactSave) {
  AddPlaced(0, kInMetres);
  file_->SetReadPolicy(kReadExact);
  ExpectRefusal(kNoGml);
  AddPlaced(32632, kInMetres).SetCoordinateKind(kCoordinatePixel);
  file_->SetReadPolicy(kReadExact);
  ExpectRefusal(kNoGml);
}

}  // namespace
