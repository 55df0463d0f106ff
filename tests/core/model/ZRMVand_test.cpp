#include "ZRMVand.h"

#include "FaultyDisk.h"
#include "PointShapefile.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <cpl_conv.h>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <limits>
#include <thread>
#include <vector>

namespace {

const std::string kPlacemark =
    "<Placemark><Point><coordinates>1.5,2.5</coordinates></Point></Placemark>"
    "<Placemark><Point><coordinates>-4,8</coordinates></Point></Placemark>";
const std::string kTwoFolders =
    "<?xml version=\"1.0\"?><kml xmlns=\"http://www.opengis.net/kml/2.2\"><Document>"
    "<Folder><name>North</name>" +
    kPlacemark +
    "</Folder><Folder><name>South</name>"
    "<Placemark><LineString><coordinates>10,20 30,-40</coordinates></LineString></Placemark></Folder>"
    "</Document></kml>";

class ZRMVandLoad : public testing::Test {
 protected:
  int Load(const std::string& name, int kind, XThread* thread = nullptr) {
    return vand_.LoadFile(folder_.Path(name), kind, err_, thread);
  }
  void WritePoints() { PointShapefile({{1.5, 10.0}, {-2.0, 30.0}, {4.0, 20.0}}).Write(folder_); }
  std::vector<double> Bounds() const {
    std::vector<double> b(4, -1.0);
    return vand_.GetBoundRect(b[0], b[1], b[2], b[3]) ? b : std::vector<double>();
  }

  TempFolder folder_;
  ZRMVand vand_;
  XString err_;
};

/// Sets the state word to stop at the N-th message, and keeps what was posted.
class Listener : public XMessageTarget {
 public:
  explicit Listener(std::size_t stopAt = 0) : stopAt_(stopAt) {}
  void PostMessage(unsigned, XThread* sender, long value) override {
    values.push_back(value);
    if (values.size() == stopAt_) sender->SetState(XThread::kStateStop);
  }
  std::vector<long> values;

 private:
  std::size_t stopAt_;
};

TEST_F(ZRMVandLoad, CountsThePointsOfAShapefileAndTheirExtent) {
  WritePoints();
  ASSERT_EQ(1, Load("a.shp", ZRMVand::kKindSHP)) << err_.GetText();
  ASSERT_EQ(1, vand_.GetNumOfLayers());
  EXPECT_EQ("a", vand_.GetLayerAt(0)->name.AsStdString());
  EXPECT_EQ(3, vand_.GetLayerAt(0)->numFeatures);
  EXPECT_EQ((std::vector<double>{-2.0, 4.0, 10.0, 30.0}), Bounds());
  EXPECT_TRUE(vand_.GetLayerAt(0)->wkt.IsEmpty());
  EXPECT_TRUE(vand_.GetSR()->IsEmpty());
  EXPECT_EQ(folder_.Path("a.shp"), vand_.GetName().AsStdString());
}

TEST_F(ZRMVandLoad, HasNoLayersOutsideTheList) {
  WritePoints();
  ASSERT_EQ(1, Load("a.shp", ZRMVand::kKindSHP));
  EXPECT_EQ(nullptr, vand_.GetLayerAt(1));
  EXPECT_EQ(nullptr, vand_.GetLayerAt(-1));
}

TEST_F(ZRMVandLoad, DescribesEachFolderOfKmlAsALayer) {
  folder_.Write("a.kml", kTwoFolders);
  ASSERT_EQ(1, Load("a.kml", ZRMVand::kKindKML)) << err_.GetText();
  ASSERT_EQ(2, vand_.GetNumOfLayers());
  const tagXVectorLayer& north = *vand_.GetLayerAt(0);
  EXPECT_EQ("North", north.name.AsStdString());
  EXPECT_EQ(2, north.numFeatures);
  EXPECT_EQ(-4.0, north.minX);
  EXPECT_EQ(8.0, north.maxY);
  EXPECT_EQ(1, vand_.GetLayerAt(1)->numFeatures);
  EXPECT_EQ((std::vector<double>{-4.0, 30.0, -40.0, 20.0}), Bounds());
  EXPECT_EQ(4326, vand_.GetSR()->GetEPSG());
}

TEST_F(ZRMVandLoad, TakesTheSystemFromTheFileBeside) {
  WritePoints();
  folder_.Write("a.prj",
                "GEOGCS[\"GCS_North_American_1927\",DATUM[\"D_North_American_1927\",SPHEROID[\"Clarke_1866\",6378206.4,"
                "294.9786982]],PRIMEM[\"Greenwich\",0],UNIT[\"Degree\",0.017453292519943295]]");
  ASSERT_EQ(1, Load("a.shp", ZRMVand::kKindSHP));
  EXPECT_EQ(4267, vand_.GetSR()->GetEPSG());
  EXPECT_EQ(kReferenceKnown, vand_.GetSR()->GetCoordinateKind());
}

TEST_F(ZRMVandLoad, TakesTheExtentOfAShapefileFromItsHeader) {
  PointShapefile({{1.0, 2.0}, {3.0, 4.0}}).Box(-10.0, -20.0, 30.0, 40.0).Write(folder_);
  ASSERT_EQ(1, Load("a.shp", ZRMVand::kKindSHP));
  EXPECT_EQ((std::vector<double>{-10.0, 30.0, -20.0, 40.0}), Bounds());
}

TEST_F(ZRMVandLoad, TakesNoExtentThatIsNoRange) {
  const double inf = std::numeric_limits<double>::infinity();
  for (const auto& [low, high] : {std::pair{-inf, inf}, std::pair{2.0, 1.0}, std::pair{0.0, inf}}) {
    PointShapefile({{1.0, 2.0}, {3.0, 4.0}}).Box(low, 0.0, high, 1.0).Write(folder_);
    ASSERT_EQ(1, Load("a.shp", ZRMVand::kKindSHP));
    EXPECT_FALSE(vand_.GetLayerAt(0)->hasExtent) << low << " to " << high;
    EXPECT_TRUE(Bounds().empty());
  }
}

TEST_F(ZRMVandLoad, LooksAtTheShapesWhereTheHeaderHasNoNumber) {
  PointShapefile({{1.0, 2.0}, {3.0, 4.0}}).Box(std::numeric_limits<double>::quiet_NaN(), 0.0, 1.0, 1.0).Write(folder_);
  ASSERT_EQ(1, Load("a.shp", ZRMVand::kKindSHP));
  EXPECT_EQ((std::vector<double>{1.0, 3.0, 2.0, 4.0}), Bounds());
}

TEST_F(ZRMVandLoad, SaysWhichKindsItCannotRead) {
  const std::pair<int, const char*> kinds[] = {{ZRMVand::kKindXVC, "Native vector files can't be read by this build"},
                                               {ZRMVand::kKindDLG, "DLG files can't be read by this build"},
                                               {ZRMVand::kKindNITF, "NITF vector data can't be read by this build"},
                                               {0, "Files of this kind can't be read by this build"},
                                               {8, "Files of this kind can't be read by this build"}};
  WritePoints();
  for (const auto& [kind, sentence] : kinds) {
    EXPECT_EQ(0, Load("a.shp", kind));
    EXPECT_STREQ(sentence, err_.GetText());
  }
}

TEST_F(ZRMVandLoad, NamesAFileThatIsNotThere) {
  for (const int kind : {ZRMVand::kKindDXF, ZRMVand::kKindDGN, ZRMVand::kKindSHP, ZRMVand::kKindKML}) {
    EXPECT_EQ(0, Load("none", kind));
    EXPECT_EQ("Can't read vector file : " + folder_.Path("none") + " (No such file or directory)", err_.AsStdString());
  }
}

TEST_F(ZRMVandLoad, RefusesFilesOfOtherKindsSilently) {
  WritePoints();
  const std::vector<unsigned char> shapes = ReadBytes(folder_.Path("a.shp"));
  testing::internal::CaptureStderr();
  for (const auto& [name, kind] : {std::pair{"b.dxf", ZRMVand::kKindDXF}, std::pair{"b.dgn", ZRMVand::kKindDGN},
                                   std::pair{"b.kml", ZRMVand::kKindKML}}) {
    folder_.Write(name, shapes);
    EXPECT_EQ(0, Load(name, kind)) << name;
    EXPECT_EQ(0, err_.Find("Can't read vector file : " + folder_.Path(name))) << err_.GetText();
  }
  folder_.Write("b.shp", "no shapes");
  EXPECT_EQ(0, Load("b.shp", ZRMVand::kKindSHP));
  EXPECT_EQ("Can't read vector file : " + folder_.Path("b.shp") + " (not a shapefile)", err_.AsStdString());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(ZRMVandLoad, RefusesFolders) {
  WritePoints();
  for (const int kind : {ZRMVand::kKindDXF, ZRMVand::kKindDGN, ZRMVand::kKindSHP, ZRMVand::kKindKML}) {
    EXPECT_EQ(0, Load(".", kind)) << kind;
    EXPECT_FALSE(err_.IsEmpty());
  }
}

TEST_F(ZRMVandLoad, NamesTheFileThatOgrMisses) {
  WritePoints();
  ASSERT_EQ(1, XFile::Remove(folder_.Path("a.shx")));
  EXPECT_EQ(0, Load("a.shp", ZRMVand::kKindSHP));
  EXPECT_NE(-1, err_.Find(" " + folder_.Path("a.shx"))) << err_.GetText();
  EXPECT_EQ(-1, err_.Find("/vsi")) << err_.GetText();
}

TEST_F(ZRMVandLoad, IsEmptyAfterAFailure) {
  folder_.Write("a.kml", kTwoFolders);
  ASSERT_EQ(1, Load("a.kml", ZRMVand::kKindKML));
  EXPECT_EQ(0, Load("none.kml", ZRMVand::kKindKML));
  EXPECT_EQ(0, vand_.GetNumOfLayers());
  EXPECT_TRUE(vand_.GetName().IsEmpty());
  EXPECT_TRUE(vand_.GetSR()->IsEmpty());
  EXPECT_TRUE(Bounds().empty());
}

TEST_F(ZRMVandLoad, ReportsEachLayerAndTheEnd) {
  folder_.Write("a.kml", kTwoFolders);
  Listener listener;
  XThread thread(&listener);
  ASSERT_EQ(1, Load("a.kml", ZRMVand::kKindKML, &thread));
  EXPECT_EQ((std::vector<long>{0, 50, 100}), listener.values);
}

TEST_F(ZRMVandLoad, KeepsNothingWhenItIsStopped) {
  folder_.Write("a.kml", kTwoFolders);
  for (const std::size_t message : {1, 2}) {
    Listener listener(message);
    XThread thread(&listener);
    err_ = "left over";
    EXPECT_EQ(0, Load("a.kml", ZRMVand::kKindKML, &thread));
    EXPECT_EQ(message, listener.values.size());
    EXPECT_EQ(0, vand_.GetNumOfLayers());
    EXPECT_TRUE(err_.IsEmpty());
  }
}

TEST_F(ZRMVandLoad, StopsWithinALayer) {
  // A thousand columns and rows of a point take seconds to look at.
  folder_.Write("a.dxf",
                "0\nSECTION\n2\nHEADER\n0\nENDSEC\n0\nSECTION\n2\nTABLES\n0\nENDSEC\n"
                "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n2\nB\n0\nPOINT\n10\n1\n20\n2\n0\nENDBLK\n0\nENDSEC\n"
                "0\nSECTION\n2\nENTITIES\n0\nINSERT\n2\nB\n70\n1000\n71\n1000\n0\nENDSEC\n0\nEOF\n");
  XThread thread;
  std::thread stopper([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    thread.SetState(XThread::kStateStop);
  });
  EXPECT_EQ(0, Load("a.dxf", ZRMVand::kKindDXF, &thread));
  EXPECT_TRUE(err_.IsEmpty()) << err_.GetText();
  stopper.join();
}

TEST_F(ZRMVandLoad, HasNoFurtherObjectsInTheLongForm) {
  WritePoints();
  XObList objects;
  objects.AddTail(&vand_);
  int numObjects = 9;
  EXPECT_EQ(1, vand_.LoadFileEx(folder_.Path("a.shp"), ZRMVand::kKindSHP, objects, &numObjects, err_, nullptr));
  EXPECT_EQ(0, numObjects);
  EXPECT_EQ(1, objects.GetCount());
  EXPECT_EQ(1, vand_.LoadFileEx(folder_.Path("a.shp"), ZRMVand::kKindSHP, objects, nullptr, err_, nullptr));
}

TEST_F(ZRMVandLoad, DoesNotFollowTheEnvironment) {
  const CPLConfigOptionSetter restore("SHAPE_RESTORE_SHX", "YES", false);
  WritePoints();
  ASSERT_EQ(1, XFile::Remove(folder_.Path("a.shx")));
  EXPECT_EQ(0, Load("a.shp", ZRMVand::kKindSHP));
  EXPECT_FALSE(XFile::Exists(folder_.Path("a.shx")));
}

TEST_F(ZRMVandLoad, ReadsThroughTheDiskInPlace) {
  WritePoints();
  FaultyDisk counting;
  {
    const zrk::ScopedDisk inPlace(counting);
    ASSERT_EQ(1, Load("a.shp", ZRMVand::kKindSHP));
  }
  ASSERT_GT(counting.GetReadCount(), 2);
  for (int nth = 1; nth <= counting.GetReadCount(); ++nth) {
    FaultyDisk disk;
    disk.FailRead(nth);
    const zrk::ScopedDisk inPlace(disk);
    const int isLoaded = Load("a.shp", ZRMVand::kKindSHP);
    EXPECT_EQ(isLoaded, vand_.GetNumOfLayers()) << nth;
  }
  FaultyDisk disk;
  disk.FailRead(2);
  const zrk::ScopedDisk inPlace(disk);
  EXPECT_EQ(0, Load("a.shp", ZRMVand::kKindSHP));
}

TEST_F(ZRMVandLoad, ReadsRelativePaths) {
  WritePoints();
  const std::string path = std::filesystem::relative(folder_.Path("a.shp")).string();
  EXPECT_EQ(1, vand_.LoadFile(path, ZRMVand::kKindSHP, err_, nullptr)) << err_.GetText();
  EXPECT_EQ(path, vand_.GetName().AsStdString());
}

TEST(ZRMVandThreads, LoadFilesOfAllKindsAtOnce) {
  TempFolder folder;
  PointShapefile({{1.0, 2.0}}).Write(folder);
  folder.Write("a.kml", kTwoFolders);
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      const bool isKml = t % 2 == 0;
      for (int i = 0; i < 20; ++i) {
        ZRMVand vand;
        XString err;
        vand.LoadFile(folder.Path(isKml ? "a.kml" : "a.shp"), isKml ? ZRMVand::kKindKML : ZRMVand::kKindSHP, err,
                      nullptr);
        if (vand.GetNumOfLayers() != (isKml ? 2 : 1)) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}

}  // namespace
