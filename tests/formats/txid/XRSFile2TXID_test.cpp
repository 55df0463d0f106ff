#include "XRSFile2TXID.h"

#include "ByteFlips.h"
#include "FaultyDisk.h"
#include "MemoryBand.h"
#include "OpenStore.h"
#include "XSpatialReference.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <bit>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>

// Stores that are written, and read again byte by byte.

namespace {

/// A dataset of bands of bytes, whose samples a function gives.
class Picture {
 public:
  using Samples = std::function<int(int x, int y)>;

  Picture(int width, int height) : width_(width), height_(height) {}
  ZRMBand& Add(XColourRole role, const Samples& samples) {
    std::vector<std::uint8_t> all;
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) all.push_back(static_cast<std::uint8_t>(samples(x, y)));
    }
    auto band = std::make_unique<MemoryBand>();
    band->SetSamples(width_, height_, all);
    band->SetColourRole(role);
    ZRMBand& added = *band;
    file_->AddBand(band.release());
    return added;
  }
  Picture& Place(double west, double north, double xSize, double ySize) {
    for (int i = 0; i < file_->GetNumOfBands(); ++i) {
      ZRMBand& band = *file_->GetBandAt(i);
      band.SetPixelSize(xSize, ySize);
      band.SetUpperLeft(west, north);
      band.SetCoordinateKind(kCoordinateWorld);
    }
    return *this;
  }
  XRSFile& File() { return *file_; }

 private:
  int width_, height_;
  std::unique_ptr<XRSFile> file_ = std::make_unique<XRSFile>();
};

class TxidWriting : public testing::Test {
 protected:
  int Save(Picture& picture, int tileSize = 8) {
    store_.SetXRSFile(&picture.File());
    store_.SetTileSize(tileSize);
    err_.Empty();
    return store_.Save(folder_.Path("s"), err_, nullptr);
  }
  std::string Refusal(Picture& picture, int tileSize = 8) {
    EXPECT_EQ(0, Save(picture, tileSize));
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
    return err_.AsStdString();
  }
  /// A pixel of the store as an exact read gives it.
  std::vector<int> PixelAt(int x, int y) {
    XRSFile file;
    file.SetReadPolicy(kReadExact);
    EXPECT_EQ(1, XRSFileIO::LoadFileTXID(&file, folder_.Path("s.txi"), err_, nullptr)) << err_;
    std::vector<int> pixel;
    for (int k = 0; k < 4; ++k) pixel.push_back(ReadPixels(*file.GetBandAt(k), 0, {x, x, y, y}).bytes.at(0));
    return pixel;
  }
  std::uint64_t NumberAt(std::size_t offset, int numBytes) const {
    const std::vector<unsigned char> bytes = ReadBytes(folder_.Path("s.txi"));
    std::uint64_t number = 0;
    for (int i = numBytes - 1; i >= 0; --i) number = number << 8 | bytes.at(offset + static_cast<std::size_t>(i));
    return number;
  }
  double PlaceAt(std::size_t offset) const { return std::bit_cast<double>(NumberAt(offset, 8)); }

  TempFolder folder_;
  XRSFile2TXID store_;
  XString err_;
};

/// Runs `work` in a process of its own. Whether that was killed.
template <class Work>
bool IsKilled(const Work& work) {
  const pid_t parent = getpid(), child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == parent) work();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) != 0;
}

/// Colours that blocks keep: one for each block of four by four pixels.
Picture ColouredPicture(int width, int height) {
  Picture picture(width, height);
  // Out of order: what bands show tells their places.
  picture.Add(kRoleGreen, [](int x, int) { return x / 4 % 2 == 0 ? 0 : 255; });
  picture.Add(kRoleRed, [](int, int y) { return y / 4 % 2 == 0 ? 255 : 0; });
  picture.Add(kRoleBlue, [](int, int) { return 0; });
  return picture;
}

TEST_F(TxidWriting, WritesTheHeaderAndARecordForEachTile) {
  Picture picture = ColouredPicture(20, 12);
  picture.Place(-180.0, 90.0, 0.25, 0.125);
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_EQ(3u, NumberAt(4, 4));
  EXPECT_EQ(2u, NumberAt(8, 4));
  EXPECT_EQ(8u, NumberAt(12, 4));
  EXPECT_EQ(25000000u, NumberAt(16, 8));
  EXPECT_EQ(12500000u, NumberAt(24, 8));
  EXPECT_EQ(-180.0, PlaceAt(32));
  EXPECT_EQ(90.0, PlaceAt(40));
  EXPECT_EQ(48u + 6 * 16, ReadBytes(folder_.Path("s.txi")).size());
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(i, NumberAt(48 + 16 * i, 4));
    EXPECT_EQ(32 * i, NumberAt(52 + 16 * i, 8));
    EXPECT_EQ(32u, NumberAt(60 + 16 * i, 4));
  }
  EXPECT_EQ(6u * 32, ReadBytes(folder_.Path("s.txd")).size());
  EXPECT_EQ(6, store_.GetNumTilesWritten());
  EXPECT_EQ(6, store_.GetNumTiles());
}

TEST_F(TxidWriting, KeepsColoursInTheirPlaces) {
  Picture picture = ColouredPicture(20, 12);
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_EQ((std::vector<int>{255, 0, 0, 255}), PixelAt(0, 0));
  EXPECT_EQ((std::vector<int>{255, 255, 0, 255}), PixelAt(13, 9));
  EXPECT_EQ((std::vector<int>{0, 255, 0, 255}), PixelAt(4, 7));
  EXPECT_EQ((std::vector<int>{0, 0, 0, 255}), PixelAt(19, 4));
}

TEST_F(TxidWriting, WhatTilesHaveBeyondTheImageIsTransparent) {
  Picture picture = ColouredPicture(20, 12);
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), PixelAt(20, 0));
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), PixelAt(3, 12));
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), PixelAt(23, 15));
}

TEST_F(TxidWriting, LeavesOutTilesThatNobodySees) {
  Picture picture = ColouredPicture(24, 16);
  picture.Add(kRoleAlpha, [](int x, int y) { return x >= 8 && x < 16 ? 0 : y == 15 && x > 19 ? 0 : 9; });
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_EQ(4, store_.GetNumTilesWritten());
  EXPECT_EQ(6, store_.GetNumTiles());
  EXPECT_EQ(48u + 4 * 16, ReadBytes(folder_.Path("s.txi")).size());
  EXPECT_EQ(2u, NumberAt(48 + 16, 4));
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), PixelAt(9, 3));
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), PixelAt(23, 15));
  EXPECT_EQ((std::vector<int>{0, 255, 0, 255}), PixelAt(23, 14)) << "the block has one colour and a hole";
}

TEST_F(TxidWriting, TakesNullValuesOfAllColoursForTransparent) {
  Picture picture(8, 8);
  picture.Add(kRoleGrey, [](int x, int) { return x < 4 ? 255 : 0; }).SetNullValue(255.0);
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), PixelAt(3, 3));
  EXPECT_EQ((std::vector<int>{0, 0, 0, 255}), PixelAt(4, 3));
}

TEST_F(TxidWriting, OfNothingThatIsSeenIsAStoreWithoutTiles) {
  Picture picture(8, 8);
  picture.Add(kRoleGrey, [](int, int) { return 7; }).SetNullValue(7.0);
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_EQ(48u, ReadBytes(folder_.Path("s.txi")).size());
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), PixelAt(3, 3));
}

TEST_F(TxidWriting, OfAnImageWithoutAPlaceCountsPixelsInDegrees) {
  Picture picture = ColouredPicture(20, 12);
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_EQ(100000000u, NumberAt(16, 8));
  EXPECT_EQ(100000000u, NumberAt(24, 8));
}

TEST_F(TxidWriting, KeepsRowsThatGoNorth) {
  Picture picture = ColouredPicture(20, 12);
  picture.Place(5.0, -7.0, 0.5, -0.5);
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_EQ(-50000000, static_cast<std::int64_t>(NumberAt(24, 8)));
}

TEST_F(TxidWriting, RefusesWhatDoesNotFit) {
  Picture empty(8, 8);
  EXPECT_EQ("No Band found", Refusal(empty));
  Picture picture = ColouredPicture(20, 12);
  for (const int size : {0, 2, 6, 4100, -8}) {
    EXPECT_EQ("The side of a tile must be a multiple of 4 from 4 to 4096", Refusal(picture, size));
  }
  EXPECT_EQ("The pixel size can't be told in units of 1e-08 degree, as tile stores have it",
            Refusal(picture.Place(0, 0, 1.2e-8, 1e-8)));
  picture.Place(0, 0, 0.1, 0.1).File().GetBandAt(1)->GetSR()->importFromEPSG(32632);
  EXPECT_EQ("Only images in longitude and latitude on WGS 84 fit into a tile store", Refusal(picture));
  const double turned[6] = {0, 0.1, 0.05, 0, 0.05, -0.1};
  Picture other = ColouredPicture(20, 12);
  other.Place(0, 0, 0.1, 0.1);
  for (int i = 0; i < 3; ++i) other.File().GetBandAt(i)->SetGeoTransform(turned);
  EXPECT_EQ("An image that is turned does not fit into a tile store", Refusal(other));
  Picture wide(8, 8);
  wide.Add(kRoleGrey, [](int, int) { return 0; }).SetDataType(kPint16);
  EXPECT_EQ("Only bands of unsigned bytes fit into a tile store", Refusal(wide));
}

TEST_F(TxidWriting, RefusesCoordinatesThatCannotBeDegrees) {
  Picture picture = ColouredPicture(20, 12);
  EXPECT_NE("", Refusal(picture.Place(500000.0, 5500000.0, 30.0, 30.0)));
}

TEST_F(TxidWriting, WithoutADatasetOrANameSaysSo) {
  EXPECT_EQ(0, XRSFile2TXID().Save(folder_.Path("s"), err_, nullptr));
  EXPECT_EQ("Not Valid XRSFile", err_.AsStdString());
  Picture picture = ColouredPicture(20, 12);
  store_.SetXRSFile(&picture.File());
  store_.SetXRSFile(nullptr);
  EXPECT_EQ(0, store_.Save("", err_, nullptr));
  EXPECT_EQ("There is no name for the tile store", err_.AsStdString());
}

TEST_F(TxidWriting, DoesNotReplaceTheStoreThatItReads) {
  const std::string path = WriteStore(TxidBuilder().Grid(2, 2, 8).Tile(0), folder_);
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  ASSERT_EQ(1, XRSFileIO::LoadFileTXID(&file, path, err_, nullptr));
  store_.SetXRSFile(&file);
  EXPECT_EQ(0, store_.Save(folder_.Path("a"), err_, nullptr));
  EXPECT_EQ("The tile store can't take the place of that file", err_.AsStdString());
  EXPECT_EQ(1, store_.Save(folder_.Path("b"), err_, nullptr)) << err_;
}

TEST_F(TxidWriting, KeepsSymbolicLinks) {
  std::filesystem::create_directory(folder_.Path("far"));
  folder_.Write("far/i", "old");
  std::filesystem::create_symlink(folder_.Path("far/i"), folder_.Path("s.txi"));
  Picture picture = ColouredPicture(20, 12);
  ASSERT_EQ(1, Save(picture)) << err_;
  EXPECT_TRUE(std::filesystem::is_symlink(folder_.Path("s.txi")));
  EXPECT_EQ(48u + 6 * 16, std::filesystem::file_size(folder_.Path("far/i")));
}

TEST_F(TxidWriting, TellsTheThreadHowItEnded) {
  Picture picture = ColouredPicture(20, 12);
  store_.SetXRSFile(&picture.File());
  store_.SetTileSize(8);
  XThread thread;
  EXPECT_EQ(1, store_.Save(folder_.Path("s"), err_, &thread));
  EXPECT_EQ(XThread::kResultSuccess, thread.GetResultCode());
  thread.SetState(XThread::kStateStop);
  err_ = "as it was";
  EXPECT_EQ(0, store_.Save(folder_.Path("t"), err_, &thread));
  EXPECT_EQ(XThread::kResultCancel, thread.GetResultCode());
  EXPECT_EQ("as it was", err_.AsStdString());
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("t.txi_tmp")));
}

/// A store that was written over an older one, wholly or in part.
class TxidRewriting : public TxidWriting {
 protected:
  using Files = std::pair<std::vector<unsigned char>, std::vector<unsigned char>>;

  /// Saves both once, to know what they look like.
  void LearnBoth(Picture& picture) {
    ASSERT_EQ(1, Save(picture));
    new_ = Look();
    Picture older = ColouredPicture(8, 8);
    ASSERT_EQ(1, Save(older));
    old_ = Look();
  }
  Files Look() const { return {ReadBytes(folder_.Path("s.txi")), ReadBytes(folder_.Path("s.txd"))}; }
  bool HasIndex() const { return std::filesystem::exists(folder_.Path("s.txi")); }
  /// Nothing but the older store is in the folder.
  void BeginAnew() {
    std::filesystem::remove_all(folder_.Path());
    std::filesystem::create_directory(folder_.Path());
    folder_.Write("s.txi", old_.first);
    folder_.Write("s.txd", old_.second);
  }

  Files old_, new_;
};

/// Every call to the disk fails once, in every way. Afterwards there is the old store, whole, or the new one.
TEST_F(TxidRewriting, LeavesTheOldStoreOrTheNewOne) {
  Picture picture = ColouredPicture(20, 12);
  LearnBoth(picture);
  for (const DiskFault fault : {DiskFault::kError, DiskFault::kFull, DiskFault::kShort}) {
    bool wasReached = true;
    for (int nth = 1; wasReached; ++nth) {
      BeginAnew();
      FaultyDisk disk;
      int isSaved = 0;
      {
        const zrk::ScopedDisk scoped(disk);
        disk.FailCall(nth, fault);
        isSaved = Save(picture);
        wasReached = disk.GetCallCount() >= nth;
      }
      ASSERT_EQ(isSaved ? new_ : old_, Look()) << "call " << nth;
      ASSERT_TRUE(isSaved || !err_.IsEmpty());
    }
  }
}

/// A writer that is killed ends at one of its calls to the disk, since nothing is left of what it does between them. A
/// store that has an index afterwards is the old one or the new one, whole.
TEST_F(TxidRewriting, ThatIsKilledLeavesAnOldStoreANewOneOrNoIndex) {
  Picture picture = ColouredPicture(52, 44);
  LearnBoth(picture);
  int numOld = 0, numNew = 0, numWithout = 0;
  bool isKilled = true;
  for (int nth = 1; isKilled; nth += nth < 40 ? static_cast<int>(TrialStep()) : 1) {
    BeginAnew();
    isKilled = IsKilled([&] {
      FaultyDisk disk;
      const zrk::ScopedDisk scoped(disk);
      disk.DieAtCall(nth);
      Save(picture);
    });
    const Files left = HasIndex() ? Look() : old_;
    ASSERT_TRUE(left == old_ || left == new_) << "call " << nth;
    ++(!HasIndex() ? numWithout : left == old_ ? numOld : numNew);
  }
  EXPECT_GT(numOld, 0);
  EXPECT_GT(numWithout, 0);
  EXPECT_GT(numNew, 0);
}

}  // namespace
