#include "core/load/VectorLoad.h"
#include "TempFolder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// A set that tells when it goes.
class CountedVand : public ZRMVand {
 public:
  CountedVand() { ++alive; }
  ~CountedVand() override { --alive; }
  static inline int alive = 0;
};

ZRMVand* MakeCounted() {
  return new CountedVand;
}

class LoadVector : public testing::Test {
 protected:
  int Load(const zrk::VectorSteps& steps, zrk::VandMaker maker = &MakeCounted) {
    return zrk::LoadVector({.file = &file_, .path = path_, .err = err_, .thread = nullptr}, steps, maker);
  }
  XRSFile file_;
  XString path_ = "/a/b.shp";
  XString err_;
};

TEST_F(LoadVector, SaysSoWhereTheSetCannotBeMade) {
  bool isLoaded = false;
  const auto load = [&](ZRMVand&) { return isLoaded = true; };
  EXPECT_EQ(0, Load({.load = load}, [] { return static_cast<ZRMVand*>(nullptr); }));
  EXPECT_EQ(XString("Unable to call new ZRMVand()"), err_);
  EXPECT_FALSE(isLoaded);
}

TEST_F(LoadVector, DeletesASetThatCannotBeLoaded) {
  EXPECT_EQ(0, Load({.load = [](ZRMVand&) { return 0; }}));
  EXPECT_EQ(0, CountedVand::alive);
  EXPECT_EQ(0, file_.GetNumOfVands());
  EXPECT_TRUE(file_.GetName().IsEmpty());
}

TEST_F(LoadVector, MovesALoadedSetIntoTheDataset) {
  ASSERT_EQ(1, Load({.load = [](ZRMVand&) { return 1; }}));
  ASSERT_EQ(1, file_.GetNumOfVands());
  EXPECT_EQ(&file_, file_.GetVandAt(0)->GetXRSFile());
  EXPECT_EQ(path_, file_.GetName());
  EXPECT_EQ(path_, file_.GetFilePath());
  EXPECT_EQ(1, CountedVand::alive);
}

TEST_F(LoadVector, RunsItsStepsInOrder) {
  std::string order;
  ASSERT_EQ(1, Load({.beforeLoad = [&](ZRMVand&) { order += 'b'; },
                     .load =
                         [&](ZRMVand&) {
                           order += 'l';
                           return 1;
                         },
                     .afterLoad = [&](ZRMVand&) { order += 'a'; }}));
  EXPECT_EQ("bla", order);
}

TEST_F(LoadVector, LeavesWhatFollowsTheLoadOutWhereItFails) {
  bool isCalled = false;
  EXPECT_EQ(0, Load({.load = [](ZRMVand&) { return 0; }, .afterLoad = [&](ZRMVand&) { isCalled = true; }}));
  EXPECT_FALSE(isCalled);
}

TEST_F(LoadVector, RefusesANullDataset) {
  EXPECT_EQ(0, zrk::LoadVector({nullptr, path_, err_, nullptr}, {.load = [](ZRMVand&) { return 1; }}));
  EXPECT_EQ(XString("Not Valid XRSFile"), err_);
}

constexpr const char* kKml =
    "<?xml version=\"1.0\"?><kml xmlns=\"http://www.opengis.net/kml/2.2\"><Document><Placemark><name>p</name>"
    "<Point><coordinates>11.5,48.1,0</coordinates></Point></Placemark></Document></kml>";
constexpr const char* kDxf = "0\nSECTION\n2\nENTITIES\n0\nPOINT\n8\n0\n10\n3.0\n20\n4.0\n30\n0.0\n0\nENDSEC\n0\nEOF\n";

class VectorLoaders : public testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& text) {
    folder_.Write(name, std::vector<unsigned char>(text.begin(), text.end()));
    return folder_.Path(name);
  }
  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

TEST_F(VectorLoaders, CopyTheCallersSystemToADxfFile) {
  XSpatialReference utm;
  ASSERT_EQ(1, utm.importFromEPSG(32633));
  ASSERT_EQ(1, XRSFileIO::LoadFileVector(&file_, kFormatDXF, Write("a.dxf", kDxf), &utm, err_, nullptr)) << err_;
  ASSERT_EQ(1, file_.GetNumOfVands());
  EXPECT_EQ(1, file_.GetVandAt(0)->GetSR()->IsSame(utm));
}

TEST_F(VectorLoaders, LeaveADxfFileWithoutASystemWhereTheCallerHasNone) {
  ASSERT_EQ(1, XRSFileIO::LoadFileDXF(&file_, Write("a.dxf", kDxf), nullptr, err_, nullptr)) << err_;
  EXPECT_EQ(1, file_.GetVandAt(0)->GetSR()->IsEmpty());
}

TEST_F(VectorLoaders, SetTheDatasetsOwnSystemForKml) {
  file_.AddBand(new ZRMBand);
  XSpatialReference wgs84;
  ASSERT_EQ(1, wgs84.SetWellKnownGeogCS("WGS84"));
  ASSERT_EQ(1, XRSFileIO::LoadFileKML(&file_, Write("a.kml", kKml), err_, nullptr)) << err_;
  EXPECT_EQ(1, file_.GetSR()->IsSame(wgs84));
  EXPECT_EQ(1, file_.GetVandAt(0)->GetSR()->IsSame(wgs84));
}

TEST_F(VectorLoaders, LoadKmlIntoADatasetThatHasNoSystem) {
  ASSERT_EQ(1, XRSFileIO::LoadFileKML(&file_, Write("a.kml", kKml), err_, nullptr)) << err_;
  EXPECT_EQ(1, file_.GetNumOfVands());
  EXPECT_EQ(nullptr, file_.GetSR());
}

TEST_F(VectorLoaders, LeaveTheDatasetsSystemAloneWhereKmlFails) {
  file_.AddBand(new ZRMBand);
  EXPECT_EQ(0, XRSFileIO::LoadFileKML(&file_, folder_.Path("none.kml"), err_, nullptr));
  EXPECT_FALSE(err_.IsEmpty());
  EXPECT_EQ(1, file_.GetSR()->IsEmpty());
}

TEST_F(VectorLoaders, ReadAShapefilesOwnSystem) {
  const std::string path = SharedDataDir() + "/vector/gen_shp_point.shp";
  if (ReadBytes(path).empty()) GTEST_SKIP() << "no shared data";
  ASSERT_EQ(1, XRSFileIO::LoadFileVector(&file_, kFormatSHP, path, nullptr, err_, nullptr)) << err_;
  EXPECT_EQ(1, file_.GetNumOfVands());
  EXPECT_EQ(path, file_.GetName().AsStdString());
}

TEST_F(VectorLoaders, CopyTheCallersSystemToADgnFile) {
  const std::string path = SharedDataDir() + "/vector/gen_dgn_line.dgn";
  if (ReadBytes(path).empty()) GTEST_SKIP() << "no shared data";
  XSpatialReference utm;
  ASSERT_EQ(1, utm.importFromEPSG(32633));
  ASSERT_EQ(1, XRSFileIO::LoadFileDGN(&file_, path, &utm, err_, nullptr)) << err_;
  EXPECT_EQ(1, file_.GetVandAt(0)->GetSR()->IsSame(utm));
}

TEST_F(VectorLoaders, PassOnWhyAKindCannotBeRead) {
  using IO = XRSFileIO;
  XObList objects;
  int numObjects = -1;
  const XString path = folder_.Path("none");
  EXPECT_EQ(0, IO::LoadFileXVC(&file_, path, err_, nullptr));
  EXPECT_FALSE(err_.IsEmpty());
  EXPECT_EQ(0, IO::LoadFileDLG(&file_, path, nullptr, err_, nullptr));
  EXPECT_EQ(0, IO::LoadFileNITF(&file_, path, nullptr, err_, nullptr));
  EXPECT_EQ(0, IO::LoadFileNITFEx(&file_, path, nullptr, objects, &numObjects, err_, nullptr));
  EXPECT_EQ(0, IO::LoadFileSHP(&file_, path, err_, nullptr));
  EXPECT_EQ(0, file_.GetNumOfVands());
}

TEST_F(VectorLoaders, RefuseANullDataset) {
  using IO = XRSFileIO;
  for (const auto load : {&IO::LoadFileXVC, &IO::LoadFileSHP, &IO::LoadFileKML}) {
    err_.Empty();
    EXPECT_EQ(0, load(nullptr, "x", err_, nullptr));
    EXPECT_EQ(XString("Not Valid XRSFile"), err_);
  }
  for (const auto load : {&IO::LoadFileDXF, &IO::LoadFileDGN, &IO::LoadFileDLG, &IO::LoadFileNITF}) {
    err_.Empty();
    EXPECT_EQ(0, load(nullptr, "x", nullptr, err_, nullptr));
    EXPECT_EQ(XString("Not Valid XRSFile"), err_);
  }
}

}  // namespace
