// Levels of sources whose tiles are taken from their stores. They are those of the same samples in memory, which are
// held against an independent pyramid elsewhere.

#include "LevelDataset.h"
#include "TempFolder.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>

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

using StoredTypes = testing::Types<std::uint8_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(TileSourceOf, StoredTypes);

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
