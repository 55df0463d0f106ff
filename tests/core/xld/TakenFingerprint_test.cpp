// Fingerprints in level files of native rasters. The build shows them the tiles that it reads, and they are the same as
// those of files that are read for nothing else.

#include "base/DataTypeVisit.h"
#include "FaultyDisk.h"
#include "LevelDataset.h"
#include "math/Fingerprint.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"
#include "ZRMBandEPOT.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

/// Samples of 8 bits are taken in blocks of tiles, and wider ones in whole rows of tiles.
class TakenFingerprint : public testing::TestWithParam<int> {
 protected:
  ~TakenFingerprint() override { XfnSetWorkerCount(1); }

  /// Two bands of an odd number of tiles, which end within one.
  void WriteImage(const std::string& name) {
    XRSFile dataset;
    for (int i = 0; i < 2; ++i) {
      zrk::VisitDataType(GetParam(), [&](auto zero) {
        AddDirectBand(dataset, kWidth, kHeight, RandomSamples<decltype(zero)>(kWidth, kHeight, seed_++), kTile);
      });
    }
    ASSERT_EQ(1, XRSFileIO::SaveFileZRM(&dataset, folder_.Path(name), 1, 0, kWidth - 1, 0, kHeight - 1, err_, nullptr,
                                        100, 0, 1));
  }
  std::unique_ptr<XRSFile> Open(const std::string& name) {
    auto file = std::make_unique<XRSFile>();
    EXPECT_EQ(1, XRSFileIO::LoadFileZRM(file.get(), folder_.Path(name), err_, nullptr)) << err_.GetText();
    return file;
  }
  void Build(XRSFile& file) {
    ASSERT_EQ(1, XRSFileIO::CreateFileXLD(&file, folder_.Path("a.zrm"), err_, kLevelBuild, nullptr)) << err_.GetText();
  }
  /// What the level file tells.
  std::string Told() const {
    const auto bytes = ReadBytes(folder_.Path("a.xld"));
    const std::string text(bytes.begin(), bytes.end());
    const std::size_t first = text.find(" fingerprint=\"") + 14;
    return text.substr(first, text.find('"', first) - first);
  }
  /// That of all bytes of the image.
  std::string Expected() const {
    const auto bytes = ReadBytes(folder_.Path("a.zrm"));
    zrk::Fingerprint fingerprint(std::ssize(bytes));
    fingerprint.Take(0, bytes.data(), std::ssize(bytes));
    return std::to_string(fingerprint.Get());
  }

  static constexpr int kWidth = 702, kHeight = 534, kTile = 32;
  static constexpr std::int64_t kFirstStore = 16;
  TempFolder folder_;
  XString err_;
  unsigned seed_ = 1;
};

}  // namespace

TEST_P(TakenFingerprint, IsThatOfAllBytesOnAnyThreads) {
  WriteImage("a.zrm");
  for (const int numWorkers : {1, 2, 3}) {
    XfnSetWorkerCount(numWorkers);
    Build(*Open("a.zrm"));
    EXPECT_EQ(Expected(), Told()) << numWorkers;
  }
}

TEST_P(TakenFingerprint, LeavesOutBandsOfOtherFiles) {
  WriteImage("a.zrm");
  WriteImage("b.zrm");
  XFile other;
  ASSERT_EQ(1, other.Open(folder_.Path("b.zrm"), XFile::kRead));
  auto band = std::make_unique<ZRMBandEPOT>();
  ASSERT_EQ(1, band->SetImage(&other, kFirstStore, kWidth, kHeight, GetParam(), kTile, kTile, 1, kCompressionPlain));
  XRSFile file;
  file.SetFilePath(folder_.Path("a.zrm"));
  file.AddBand(band.release());
  Build(file);
  EXPECT_EQ(Expected(), Told());
}

TEST_P(TakenFingerprint, DoesNotReadTilesAgain) {
  WriteImage("a.zrm");
  const auto countReads = [&](bool canTell) {
    FaultyDisk disk;
    disk.SetNames(canTell);
    const zrk::ScopedDisk scoped(disk);
    Build(*Open("a.zrm"));
    return disk.GetBytesRead();
  };
  const auto imageBytes = static_cast<std::int64_t>(ReadBytes(folder_.Path("a.zrm")).size());
  EXPECT_GT(countReads(false) - countReads(true), imageBytes / 3);
  EXPECT_EQ(Expected(), Told());
}

INSTANTIATE_TEST_SUITE_P(Types, TakenFingerprint, testing::Values(kPint08, kReal32));
