// Levels of sources whose tiles are taken from their stores. They are those of the same samples in memory, which are
// held against an independent pyramid elsewhere.

#include "LevelDataset.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"
#include "XSystem.h"
#include "ZRMBandEPOT.h"

#include <gtest/gtest.h>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kTileSide = 32;

/// What a level file holds: pixels, and statistics in its text. Two lines are left out that tell of its image: which
/// file that is, and how many levels its band has without the file.
std::string LevelsIn(const std::string& path) {
  const auto bytes = ReadBytes(path);
  std::string levels(bytes.begin(), bytes.end());
  for (const char* const element : {"<XRS_TAG_IMAGE ", "<XRS_TAG_BAND_LEVELS>"}) {
    const std::size_t place = levels.find(element);
    if (place == std::string::npos) continue;
    const std::size_t line = levels.rfind('\n', place);
    levels.erase(line, levels.find('\n', place) - line);
  }
  return levels;
}

template <class Sample>
class TileSourceOf : public testing::Test {
 protected:
  ~TileSourceOf() override { XfnSetWorkerCount(1); }

  std::string OfMemory(int width, int height) {
    memory_ = std::make_unique<XRSFile>();
    AddDirectBand(*memory_, width, height, RandomSamples<Sample>(width, height), kTileSide);
    return Build(*memory_, "memory");
  }
  /// After that of memory, whose samples it has.
  std::string OfStore(int width, int height) {
    const XString path = folder_.Path("store.zrm");
    EXPECT_EQ(1, XRSFileIO::SaveFileZRM(memory_.get(), path, 1, 0, width - 1, 0, height - 1, err_, nullptr, 100, 0, 1));
    XRSFile store;
    EXPECT_EQ(1, XRSFileIO::LoadFileZRM(&store, path, err_, nullptr)) << err_.GetText();
    return Build(store, "store");
  }

 private:
  std::string Build(XRSFile& file, const std::string& name) {
    EXPECT_EQ(1, XRSFileIO::CreateFileXLD(&file, folder_.Path(name + ".zrm"), err_, kLevelBuild, nullptr))
        << err_.GetText();
    return LevelsIn(folder_.Path(name + ".xld"));
  }

  TempFolder folder_;
  std::unique_ptr<XRSFile> memory_;
  XString err_;
};

/// A store in a file of its own, which ends with the last sample of the image and not with its tile.
template <class Sample>
class StoreFileOf : public testing::Test {
 protected:
  void Write(int side, std::int64_t offset) {
    side_ = side;
    offset_ = offset;
    samples_ = RandomSamples<Sample>(side, side);
    XFile file;
    ASSERT_EQ(1, file.Open(folder_.Path("a.dat"), XFile::kReadWrite | XFile::kCreate));
    tagXArr2 samples(side, side, sizeof(Sample));
    std::memcpy(samples.data, samples_.data(), samples_.size() * sizeof(Sample));
    ASSERT_EQ(1, OpenStore(file)->WriteSubset(&samples, 0, side - 1, 0, side - 1, false, 0.0));
  }
  void Cut() { std::filesystem::resize_file(folder_.Path("a.dat"), static_cast<std::uintmax_t>(offset_) + 1000); }

  /// The levels, or the reason why there are none.
  std::string BuildOfStore() {
    XFile file;
    EXPECT_EQ(1, file.Open(folder_.Path("a.dat"), XFile::kRead));
    XRSFile dataset;
    dataset.AddBand(OpenStore(file).release());
    return Build(dataset);
  }
  std::string BuildOfMemory() {
    XRSFile dataset;
    AddDirectBand(dataset, side_, side_, samples_, kStoreTile);
    return Build(dataset);
  }

 private:
  static constexpr int kStoreTile = 64;

  std::unique_ptr<ZRMBandEPOT> OpenStore(XFile& file) {
    auto band = std::make_unique<ZRMBandEPOT>();
    EXPECT_EQ(1, band->SetImage(&file, offset_, side_, side_, zrk::kDataTypeOf<Sample>, kStoreTile, kStoreTile, 1,
                                kCompressionPlain));
    band->SetBandName("Channel 1");
    return band;
  }
  std::string Build(XRSFile& dataset) {
    XString err, reason;
    if (XRSFileIO::CreateFileXLD(&dataset, folder_.Path("a.zrm"), err, kLevelBuild, nullptr)) {
      return LevelsIn(folder_.Path("a.xld"));
    }
    XfnGetLastReadError(reason);
    return reason.AsStdString();
  }

  TempFolder folder_;
  int side_ = 0;
  std::int64_t offset_ = 0;
  std::vector<Sample> samples_;
};

using StoredTypes = testing::Types<std::uint8_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(TileSourceOf, StoredTypes);
TYPED_TEST_SUITE(StoreFileOf, StoredTypes);

}  // namespace

TYPED_TEST(TileSourceOf, GivesTheLevelsOfTheSameSamplesInMemory) {
  for (const auto& [width, height] : {std::pair(64, 64), {128, 96}, {130, 100}, {702, 534}, {34, 300}, {600, 34}}) {
    for (const int numWorkers : {1, 2}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << numWorkers);
      XfnSetWorkerCount(numWorkers);
      const std::string ofMemory = this->OfMemory(width, height);
      EXPECT_TRUE(ofMemory == this->OfStore(width, height));
    }
  }
}

using WideTileSource = TileSourceOf<float>;

/// A part of a row of tiles is read at once there.
TEST_F(WideTileSource, GivesTheLevelsOfTheSameSamplesInMemory) {
  const std::string ofMemory = OfMemory(70000, 66);
  EXPECT_TRUE(ofMemory == OfStore(70000, 66));
}

TYPED_TEST(StoreFileOf, MayEndWithinItsLastTile) {
  this->Write(100, 16);
  EXPECT_TRUE(this->BuildOfMemory() == this->BuildOfStore());
}

TYPED_TEST(StoreFileOf, MayBeginAtAnyOffset) {
  this->Write(128, 17);
  EXPECT_TRUE(this->BuildOfMemory() == this->BuildOfStore());
}

TYPED_TEST(StoreFileOf, TellsWhichTileCantBeRead) {
  this->Write(128, 16);
  this->Cut();
  EXPECT_EQ("The tile in column 0 and row 0 of level 0 can't be read", this->BuildOfStore());
}
