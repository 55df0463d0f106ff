// The room on the disk, and what the bands of a TIFF file must have in common.

#include "FaultyDisk.h"
#include "TiffWriting.h"

#include <cmath>
#include <functional>

namespace {

class XRSFile2TiffRoom : public TiffWriting {
 protected:
  /// Whether so many free bytes are enough.
  bool IsEnough(std::int64_t freeBytes) {
    FaultyDisk disk;
    disk.SetFreeBytes(freeBytes);
    const zrk::ScopedDisk scoped(disk);
    std::filesystem::remove(Path());
    if (SaveAll()) return true;
    EXPECT_EQ("Disk Space is Full", Error());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
    return false;
  }
};

TEST_F(XRSFile2TiffRoom, IsNeverWantedForBandsOfNoType) {
  Add<std::uint8_t>(20, 10);
  EXPECT_TRUE(IsEnough(0));
}

TEST_F(XRSFile2TiffRoom, IsWantedForSamplesThatAreAsLongAsTheTypeOfBandSays) {
  const std::vector<std::pair<int, int>> sizes = {
      {1, 1},  {2, 1},  {3, 2},  {4, 2},   {5, 4},  {6, 4},  {7, 4},  {8, 8},  {9, 2},  {10, 2}, {11, 4}, {12, 4},
      {13, 8}, {14, 8}, {15, 8}, {16, 16}, {17, 1}, {18, 3}, {19, 3}, {20, 4}, {23, 4}, {24, 2}, {29, 2}};
  for (const auto& [bandType, bytes] : sizes) {
    NewDataset();
    for (int i = 0; i < 2; ++i) Add<std::uint8_t>(20, 10).SetBandType(bandType);
    EXPECT_FALSE(IsEnough(20 * 10 * 2 * bytes - 1)) << bandType;
    EXPECT_TRUE(IsEnough(20 * 10 * 2 * bytes)) << bandType;
  }
}

TEST_F(XRSFile2TiffRoom, IsEnoughForATypeOfBandBeyondTheTable) {
  for (const int bandType : {-1, 30, 1000, INT_MAX, INT_MIN}) {
    NewDataset();
    Add<std::uint8_t>(20, 10).SetBandType(bandType);
    EXPECT_TRUE(IsEnough(0)) << bandType;
  }
}

TEST_F(XRSFile2TiffRoom, IsThatOfTheWindow) {
  Add<std::uint8_t>(20, 10).SetBandType(8);
  FaultyDisk disk;
  disk.SetFreeBytes(3 * 4 * 8);
  const zrk::ScopedDisk scoped(disk);
  EXPECT_EQ(1, Save(5, 7, 2, 5)) << Error();
  EXPECT_EQ(0, Save(5, 8, 2, 5));
  EXPECT_EQ("Disk Space is Full", Error());
}

TEST_F(XRSFile2TiffRoom, IsCountedBeyond4GiB) {
  LoggedBand& band = Add<std::uint8_t>(20, 10);
  band.SetBandType(16);
  band.SetSize(70000, 70000);
  EXPECT_FALSE(IsEnough(std::int64_t{70000} * 70000 * 16 - 1));
  EXPECT_EQ(0, band.GetNumReads());
}

TEST_F(XRSFile2TiffRoom, IsAskedForBeforeTheBandsAreCompared) {
  Add<std::uint8_t>(20, 10).SetBandType(8);
  Add<std::uint16_t>(20, 10);
  EXPECT_FALSE(IsEnough(0));
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ("Inconsistant Datatype Information", Error());
}

TEST_F(XRSFile2TiffRoom, LeavesAFileOfTheNameWhereItLacks) {
  folder_.Write("a.tif", "there before");
  Add<std::uint8_t>(20, 10).SetBandType(8);
  FaultyDisk disk;
  disk.SetFreeBytes(0);
  const zrk::ScopedDisk scoped(disk);
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ(12u, ReadBytes(Path()).size());
}

/// One thing in which bands can differ, in the order in which they are compared.
struct Difference {
  std::string message;
  std::function<void(ZRMBand&)> make;
};

const std::vector<Difference>& PlaceDifferences() {
  static const std::vector<Difference> differences = {
      {"Inconsistant Projection System Information", [](ZRMBand& band) { band.GetSR()->importFromEPSG(32633); }},
      {"Inconsistant X Pixel Size Information", [](ZRMBand& band) { band.SetXPixelSize(std::nextafter(2.5, 3)); }},
      {"Inconsistant Y Pixel Size Information", [](ZRMBand& band) { band.SetYPixelSize(std::nextafter(2.5, 2)); }},
      {"Inconsistant Upper Left X Information", [](ZRMBand& band) { band.SetULX(std::nextafter(1000.0, 0)); }},
      {"Inconsistant Upper Left Y Information", [](ZRMBand& band) { band.SetULY(std::nextafter(2000.0, 9e9)); }}};
  return differences;
}

const std::vector<Difference>& ShapeDifferences() {
  static const std::vector<Difference> differences = {
      {"Inconsistant Image Width Information", [](ZRMBand& band) { band.SetXSize(21); }},
      {"Inconsistant Image Height Information", [](ZRMBand& band) { band.SetYSize(9); }},
      {"Inconsistant Datatype Information", [](ZRMBand& band) { band.SetDataType(kSint08); }}};
  return differences;
}

std::vector<Difference> AllDifferences() {
  std::vector<Difference> all = PlaceDifferences();
  all.insert(all.end(), ShapeDifferences().begin(), ShapeDifferences().end());
  return all;
}

class XRSFile2TiffBands : public TiffWriting {
 protected:
  /// Four bands that agree, the first of the kind of coordinates.
  void AddBands(int coordinateKind) {
    NewDataset();
    for (int i = 0; i < 4; ++i) {
      LoggedBand& band = Add<std::uint8_t>(20, 10);
      band.SetCoordinateKind(i == 0 ? coordinateKind : kCoordinateWorld);
      band.GetSR()->importFromEPSG(32632);
      band.SetUpperLeft(1000.0, 2000.0);
      band.SetPixelSize(2.5, 2.5);
    }
  }
  ZRMBand& At(int i) { return *file_->GetBandAt(i); }
};

TEST_F(XRSFile2TiffBands, MustAgreeInEachThing) {
  for (const Difference& difference : AllDifferences()) {
    for (const int coordinateKind : {2, 3}) {
      for (const int band : {1, 3}) {
        AddBands(coordinateKind);
        difference.make(At(band));
        ExpectFailure(difference.message);
      }
    }
  }
}

TEST_F(XRSFile2TiffBands, AreComparedThingByThing) {
  const auto differences = AllDifferences();
  for (std::size_t first = 0; first < differences.size(); ++first) {
    AddBands(2);
    for (std::size_t i = first; i < differences.size(); ++i) differences[i].make(At(1));
    ExpectFailure(differences[first].message);
  }
}

TEST_F(XRSFile2TiffBands, AreComparedBandByBand) {
  const auto differences = AllDifferences();
  AddBands(2);
  differences.back().make(At(1));
  differences.front().make(At(2));
  ExpectFailure(differences.back().message);
}

TEST_F(XRSFile2TiffBands, MayLieApartWhereTheFirstIsInPixels) {
  for (const int coordinateKind : {0, 1, 4}) {
    for (const Difference& difference : PlaceDifferences()) {
      AddBands(coordinateKind);
      difference.make(At(1));
      EXPECT_EQ(1, SaveAll()) << coordinateKind << ' ' << difference.message << ": " << Error();
    }
  }
}

TEST_F(XRSFile2TiffBands, MustAgreeInShapeAlsoInPixels) {
  for (const Difference& difference : ShapeDifferences()) {
    AddBands(1);
    difference.make(At(2));
    ExpectFailure(difference.message);
  }
}

TEST_F(XRSFile2TiffBands, MayBeInNoSystemAtAll) {
  AddBands(2);
  for (int i = 0; i < 4; ++i) At(i).GetSR()->Clear();
  EXPECT_EQ(1, SaveAll()) << Error();
  At(2).GetSR()->importFromEPSG(32632);
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ("Inconsistant Projection System Information", Error());
}

TEST_F(XRSFile2TiffBands, LeaveAFileOfTheNameWhereTheyDiffer) {
  folder_.Write("a.tif", "there before");
  AddBands(1);
  At(1).SetYSize(9);
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ("Inconsistant Image Height Information", Error());
  EXPECT_EQ(12u, ReadBytes(Path()).size());
}

}  // namespace
