#include "ByteFlips.h"
#include "codec/Jp2Boxes.h"
#include "GeoBox.h"
#include "Jp2Builder.h"
#include "MemoryDisk.h"
#include "Samples.h"
#include "XLimits.h"
#include "XRSFileIO.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <optional>

// Damaged files are refused with a reason, or read. Nothing of a file that was cut short comes out otherwise than in
// the whole one under the exact policy.

namespace {

using Bytes = std::vector<unsigned char>;

constexpr const char* kPath = "/a.jp2";

Bytes MakeBoxed() {
  const GeoBox place = {.pixelScale = {60, 60, 0}, .tiePoints = {0, 0, 0, 440720, 3751320, 0}, .epsg = 32611};
  return Jp2Builder().Size(31, 27).Components(3).Levels(2).Uuid(zrk::kGeoJp2Uuid, place.Build()).Build();
}

Bytes MakeTiled() {
  return Jp2Builder().Size(31, 27).Components(2, 12).Tiles(16, 16).Levels(2).TileLengths().BuildCodestream();
}

Bytes MakeLayered() {
  return Jp2Builder()
      .Size(40, 33)
      .Levels(3)
      .Layers({20, 5, 0})
      .Precincts(16)
      .CodeBlocks(8, 8)
      .Order("RPCL")
      .BuildCodestream();
}

struct Sound {
  const char* name;
  Bytes (*make)();
};

/// Some windows of a file at some levels; what failed is empty.
struct Trial {
  bool isOpen = false;
  std::vector<Pixels> pixels;
};

Trial TryJp2(const Bytes& bytes, XReadPolicy policy) {
  MemoryDisk disk;
  disk.Add(kPath, bytes);
  const zrk::ScopedDisk scope(disk);
  XRSFile file;
  file.SetReadPolicy(policy);
  XString err;
  Trial trial;
  trial.isOpen = XRSFileIO::LoadFileJP2(&file, kPath, err, 0, kLevelNone, nullptr) != 0;
  if (!trial.isOpen) {
    EXPECT_FALSE(err.IsEmpty());
    return trial;
  }
  for (int i = 0; i < std::min(file.GetNumOfBands(), 4); ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    const int right = std::min(band.GetXSize(), 31) - 1, bottom = std::min(band.GetYSize(), 27) - 1;
    for (const Window& window : {Window{0, right, 0, bottom}, Window{right / 2, right, 0, bottom / 2}}) {
      for (const int level : {0, 1}) {
        trial.pixels.push_back(ReadPixels(band, level, window));
        XString reason;
        EXPECT_TRUE(!trial.pixels.back().bytes.empty() || XfnGetLastReadError(reason));
      }
    }
  }
  return trial;
}

/// Where files are cut: at some hundred places, or at all of them with ZRK_TRIALS=all.
std::vector<std::size_t> PlacesToCut(const Bytes& bytes) {
  const auto count = static_cast<std::size_t>(TrialCount(static_cast<int>(bytes.size()), 200));
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < count; ++i) places.push_back(bytes.size() * i / count);
  return places;
}

class Jp2Damage : public testing::TestWithParam<Sound> {
 protected:
  Jp2Damage() {
    tagXLimits limits;
    limits.imagePixels = 1 << 22;
    limits.decodedTileBytes = 64 << 20;
    XfnSetLimits(limits);
  }
  ~Jp2Damage() override { XfnSetLimits(tagXLimits()); }

  const Bytes sound_ = GetParam().make();
};

TEST_P(Jp2Damage, IsNotSeenInASoundFile) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    for (const Pixels& each : TryJp2(sound_, policy).pixels) EXPECT_FALSE(each.bytes.empty());
  }
}

TEST_P(Jp2Damage, ByTruncationFailsExactReadsOrLeavesThemAsTheyWere) {
  const Trial whole = TryJp2(sound_, kReadExact);
  for (const std::size_t count : PlacesToCut(sound_)) {
    SCOPED_TRACE(testing::Message() << "cut at " << count);
    const Trial cut = TryJp2({sound_.begin(), sound_.begin() + static_cast<std::ptrdiff_t>(count)}, kReadExact);
    ASSERT_LE(cut.pixels.size(), whole.pixels.size());
    for (std::size_t i = 0; i < cut.pixels.size(); ++i) {
      ASSERT_TRUE(cut.pixels[i].bytes.empty() || cut.pixels[i] == whole.pixels[i]) << i;
    }
  }
}

TEST_P(Jp2Damage, ByTruncationEndsCompatiblyInARefusalOrAReadableFile) {
  for (const std::size_t count : PlacesToCut(sound_)) {
    SCOPED_TRACE(testing::Message() << "cut at " << count);
    TryJp2({sound_.begin(), sound_.begin() + static_cast<std::ptrdiff_t>(count)}, kReadCompatible);
    if (HasFailure()) return;
  }
}

TEST_P(Jp2Damage, ToOneByteEndsInARefusalOrAReadableFile) {
  FlipBytes(sound_, TrialCount(20000, 300), {0, 200}, [](const Bytes& bytes) {
    TryJp2(bytes, kReadExact);
    TryJp2(bytes, kReadCompatible);
  });
}

INSTANTIATE_TEST_SUITE_P(Files, Jp2Damage,
                         testing::Values(Sound{"Boxed", &MakeBoxed}, Sound{"Tiled", &MakeTiled},
                                         Sound{"Layered", &MakeLayered}),
                         [](const auto& sound) { return std::string(sound.param.name); });

}  // namespace
