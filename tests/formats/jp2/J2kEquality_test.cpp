#include "J2kComparison.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "XFormatId.h"
#include "XLimits.h"
#include "XSystem.h"

#include <gtest/gtest.h>

// Samples are those of OpenJPEG's own decoding of the whole codestream, at every level and for windows of all kinds.

namespace {

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
  CompareWithOpenJpeg(GetParam().make().BuildCodestream(), 12);
}

/// Eight workers share the tiles of a window, or OpenJPEG shares the blocks of one tile.
TEST_P(J2kEquality, OfManyThreads) {
  XfnSetWorkerCount(8);
  CompareWithOpenJpeg(GetParam().make().BuildCodestream(), 2);
  XfnSetWorkerCount(1);
}

INSTANTIATE_TEST_SUITE_P(Variants, J2kEquality, testing::ValuesIn(kVariants),
                         [](const auto& variant) { return std::string(variant.param.name); });

/// The limit leaves room for the planes of three components, so that the others follow later. The second one keeps the
/// encoder from mixing the first three.
TEST(J2kEquality, OfComponentsThatAreDecodedSomeAtATime) {
  tagXLimits limits;
  limits.decodedTileBytes = 3 * 4 * 200 * 150;
  XfnSetLimits(limits);
  CompareWithOpenJpeg(Jp2Builder().Size(200, 150).Levels(2).Components(8).Component(1, 9, false).BuildCodestream(), 6);
  XfnSetLimits(tagXLimits());
}

TEST(J2kEquality, WithWhatWasEncodedWithoutLoss) {
  const Jp2Builder builder = Jp2Builder().Size(45, 33).Components(3, 11).Tiles(16, 16);
  LoadedRaster image(builder.Build(), kFormatJP2, kReadExact);
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
