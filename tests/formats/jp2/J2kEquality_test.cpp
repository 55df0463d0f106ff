#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "ReferenceJ2k.h"
#include "XFormatId.h"
#include "XSystem.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <random>

// Samples are those of OpenJPEG's own decoding of the whole codestream, at every level and for windows of all kinds.

namespace {

class LoadedJ2k : public LoadedRaster {
 public:
  explicit LoadedJ2k(const std::vector<unsigned char>& bytes, XReadPolicy policy = kReadExact)
      : LoadedRaster(bytes, kFormatJP2, policy) {}
};

long CeilDivideLong(long number, long divisor) {
  return (number + divisor - 1) / divisor;
}

/// The sample of a channel that a window at a level has in a column and a row.
int ExpectedSample(const ReferenceJ2k& whole, const ReferenceJ2k& reduced, int channel, int level,
                   const std::array<int, 4>& place) {
  const auto& [x0, y0, column, row] = place;
  const ReferenceJ2k::Plane& first = whole.planes[0];
  const ReferenceJ2k::Plane& of = reduced.planes[static_cast<std::size_t>(channel)];
  const long x = CeilDivideLong(first.left + x0, 1L << level) + column;
  const long y = CeilDivideLong(first.top + y0, 1L << level) + row;
  return of.At(x * first.dx / of.dx, y * first.dy / of.dy);
}

int SampleOf(const Pixels& pixels, int dataType, std::size_t index) {
  const unsigned char* const sample = pixels.bytes.data() + index * static_cast<std::size_t>(pixels.sampleBytes);
  if (dataType == kPint08) return *sample;
  if (dataType == kSint08) return static_cast<signed char>(*sample);
  std::uint16_t word = 0;
  std::memcpy(&word, sample, sizeof word);
  return dataType == kSint16 ? static_cast<std::int16_t>(word) : word;
}

/// Compares a window of all channels.
void CompareWindow(LoadedRaster& image, const ReferenceJ2k& whole, const ReferenceJ2k& reduced, int level,
                   const Window& window) {
  for (int c = 0; c < image.CountBands(); ++c) {
    const Pixels pixels = image.Read(c, level, window);
    ASSERT_EQ(window.Width() >> level, pixels.width) << level << ' ' << window << image.Failure(level, window);
    ASSERT_EQ(window.Height() >> level, pixels.height);
    for (int y = 0; y < pixels.height; ++y) {
      for (int x = 0; x < pixels.width; ++x) {
        const int sample =
            SampleOf(pixels, image.Band(c).GetDataType(), static_cast<std::size_t>(y * pixels.width + x));
        ASSERT_EQ(ExpectedSample(whole, reduced, c, level, {window.x0, window.y0, x, y}), sample)
            << "channel " << c << " level " << level << ' ' << window << " at " << x << ", " << y;
      }
    }
  }
}

/// Windows of all kinds at all levels, the same in every run.
void CompareAll(const std::vector<unsigned char>& bytes, int numWindows) {
  LoadedJ2k image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  const int width = image.Band().GetXSize(), height = image.Band().GetYSize();
  const ReferenceJ2k whole = DecodeWithOpenJpeg(bytes, 0);
  std::mt19937 random(20240229);
  for (int level = 0; level <= image.Band().GetLevel(); ++level) {
    const ReferenceJ2k reduced = DecodeWithOpenJpeg(bytes, level);
    if (reduced.planes.empty() || width >> level == 0 || height >> level == 0) continue;
    CompareWindow(image, whole, reduced, level, {0, width - 1, 0, height - 1});
    for (int i = 0; i < numWindows && !testing::Test::HasFatalFailure(); ++i) {
      const auto below = [&random](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
      const int x0 = below(width - (1 << level) + 1), y0 = below(height - (1 << level) + 1);
      const int x1 = x0 + (1 << level) - 1 + below(width - x0 - (1 << level) + 1);
      const int y1 = y0 + (1 << level) - 1 + below(height - y0 - (1 << level) + 1);
      CompareWindow(image, whole, reduced, level, {x0, x1, y0, y1});
    }
  }
}

struct Variant {
  const char* name;
  Jp2Builder (*make)();
};

const Variant kVariants[] = {
    {"OneTile", [] { return Jp2Builder().Size(151, 93).Components(3); }},
    {"OddOrigin", [] { return Jp2Builder().Size(77, 61).Origin(13, 7).Levels(4); }},
    {"Tiles", [] { return Jp2Builder().Size(101, 83).Components(3).Tiles(32, 16).Levels(2); }},
    {"TilesFromOutside", [] { return Jp2Builder().Size(90, 70).Origin(21, 18).Tiles(37, 29, 5, 11).Levels(3); }},
    {"TinyTiles", [] { return Jp2Builder().Size(23, 19).Tiles(4, 5).Levels(2); }},
    {"Words", [] { return Jp2Builder().Size(64, 50).Components(2, 16); }},
    {"SignedWords", [] { return Jp2Builder().Size(64, 50).Components(1, 13, true).Tiles(30, 30); }},
    {"SignedBytes", [] { return Jp2Builder().Size(64, 50).Components(1, 8, true); }},
    {"FewBits", [] { return Jp2Builder().Size(40, 40).Components(1, 3); }},
    {"OneBit", [] { return Jp2Builder().Size(40, 40).Components(1, 1); }},
    {"Lossy", [] { return Jp2Builder().Size(120, 90).Components(3).Lossy(8).Origin(3, 9); }},
    {"Layers",
     [] {
       return Jp2Builder().Size(96, 80).Layers({20, 5, 0}).Order("RPCL");
     }},
    {"Precincts", [] { return Jp2Builder().Size(130, 110).Precincts(32).CodeBlocks(16, 16).Order("PCRL"); }},
    {"SmallBlocks", [] { return Jp2Builder().Size(60, 60).CodeBlocks(4, 4).Order("CPRL"); }},
    {"ListedLengths", [] { return Jp2Builder().Size(99, 70).Tiles(20, 20).TileLengths().PacketLengths(); }},
    {"ListedPackets",
     [] {
       return Jp2Builder().Size(130, 110).Components(3).PacketLengths().Order("RLCP").Layers({9, 0});
     }},
    {"ListedPacketsInPlaces",
     [] { return Jp2Builder().Size(130, 110).Precincts(32).CodeBlocks(16, 16).PacketLengths().Order("RPCL"); }},
    {"ListedPacketsInParts",
     [] {
       return Jp2Builder()
           .Size(99, 70)
           .Tiles(40, 40)
           .Components(2)
           .Component(1, 8, false, 2, 2)
           .PacketLengths()
           .PartPerResolution();
     }},
    {"ListedPacketsByLayer",
     [] {
       return Jp2Builder().Size(99, 70).PacketLengths().Layers({9, 0});
     }},
    {"Parts", [] { return Jp2Builder().Size(99, 70).Tiles(40, 40).Order("RLCP").PartPerResolution(); }},
    {"NoLevels", [] { return Jp2Builder().Size(33, 31).Levels(0); }},
    {"OnePixel", [] { return Jp2Builder().Size(1, 1).Levels(0).Components(4, 10); }},
    {"MixedDepths",
     [] { return Jp2Builder().Size(50, 40).Components(3).Component(1, 12, false).Component(2, 5, true); }},
    {"HalfColours",
     [] { return Jp2Builder().Size(67, 45).Components(3).Component(1, 8, false, 2, 2).Component(2, 8, false, 2, 2); }},
    {"HalfColoursInTiles",
     [] {
       return Jp2Builder().Size(67, 45).Origin(5, 3).Tiles(17, 15).Levels(1).Components(2).Component(1, 8, false, 3, 2);
     }},
    {"AllHalved",
     [] {
       return Jp2Builder()
           .Size(67, 45)
           .Origin(3, 3)
           .Components(2)
           .Component(0, 8, false, 2, 2)
           .Component(1, 8, false, 2, 2);
     }},
};

class J2kEquality : public testing::TestWithParam<Variant> {};

TEST_P(J2kEquality, WithOpenJpegAtAllLevelsAndWindows) {
  CompareAll(GetParam().make().BuildCodestream(), 12);
}

/// Eight workers share the tiles of a window, or OpenJPEG shares the blocks of one tile.
TEST_P(J2kEquality, OfManyThreads) {
  XfnSetWorkerCount(8);
  CompareAll(GetParam().make().BuildCodestream(), 2);
  XfnSetWorkerCount(1);
}

INSTANTIATE_TEST_SUITE_P(Variants, J2kEquality, testing::ValuesIn(kVariants),
                         [](const auto& variant) { return std::string(variant.param.name); });

TEST(J2kEquality, WithWhatWasEncodedWithoutLoss) {
  const Jp2Builder builder = Jp2Builder().Size(45, 33).Components(3, 11).Tiles(16, 16);
  LoadedJ2k image(builder.Build());
  for (int c = 0; c < 3; ++c) {
    const Pixels pixels = image.Read(c, 0, {0, 44, 0, 32});
    for (int y = 0; y < 33; ++y) {
      for (int x = 0; x < 45; ++x) {
        ASSERT_EQ(builder.SampleAt(c, x, y), SampleOf(pixels, kPint16, static_cast<std::size_t>(y * 45 + x)));
      }
    }
  }
}

}  // namespace
