// Damage to the blocks of TIFF files under exact reads. A file that is cut gives each block that is whole and none that
// isn't. A byte that is changed is noticed by some codes and not by others; blocks without it stay as they were.

#include "ByteFlips.h"
#include "ExactTiffs.h"
#include "TiffMemory.h"

#include <iostream>
#include <random>

namespace {

using Bytes = TiffBuilder::Bytes;

struct Code {
  const char* name;
  int compression;
  int bits;
};

std::ostream& operator<<(std::ostream& stream, const Code& code) {
  return stream << code.name;
}

constexpr Code kCodes[] = {{"Plain", 1, 8}, {"Lzw", 5, 8},          {"Deflate", 8, 8},
                           {"Jpeg", 7, 8},  {"PackBits", 32773, 8}, {"FaxGroup4", 4, 1}};

constexpr std::size_t kFirstBlock = 4096;
constexpr int kBlocks = 4, kWidth = 64, kRowsOfBlock = 16;

/// A file whose tags lie before `kFirstBlock` and its blocks behind, so that a cut leaves the tags.
struct DamagedFile {
  Bytes bytes;
  std::vector<std::size_t> ends;  ///< of the blocks
};

TiffBuilder ImageOf(const Code& code) {
  TiffBuilder file;
  file.Size(kWidth, kBlocks * kRowsOfBlock).Strips(kRowsOfBlock).Bits(code.bits).Compression(code.compression);
  return file.Pixel([](int x, int y, int) { return std::uint64_t(x * x / 16 + 3 * y + (x / 8 + y / 4) % 2 * 40); });
}

/// Takes the blocks that libtiff has made, and the tables of JPEG, which are in a tag.
DamagedFile LayBlocksLast(const Code& code) {
  Bytes encoded = code.compression == 1 ? ImageOf(code).Build() : ImageOf(code).Encode();
  Bytes copy = encoded;
  const TiffPointer tiff = OpenTiffInMemory(copy, "r");
  TiffBuilder file = ImageOf(code);
  Bytes blocks;
  std::vector<std::uint64_t> offsets, counts;
  DamagedFile laid;
  for (int i = 0; i < kBlocks; ++i) {
    const auto block = static_cast<std::uint32_t>(i);
    const auto begin = encoded.begin() + static_cast<std::ptrdiff_t>(TIFFGetStrileOffset(tiff.get(), block));
    offsets.push_back(kFirstBlock + blocks.size());
    counts.push_back(TIFFGetStrileByteCount(tiff.get(), block));
    blocks.insert(blocks.end(), begin, begin + static_cast<std::ptrdiff_t>(counts.back()));
    laid.ends.push_back(kFirstBlock + blocks.size());
    file.Block(i, {0});
  }
  std::uint32_t count = 0;
  const unsigned char* tables = nullptr;
  if (code.compression == 7 && TIFFGetField(tiff.get(), TIFFTAG_JPEGTABLES, &count, &tables)) {
    file.Tag(347, 7, {tables, tables + count});
  }
  laid.bytes = file.Tag(273, 4, offsets).Tag(279, 4, counts).Build();
  laid.bytes.resize(kFirstBlock);
  laid.bytes.insert(laid.bytes.end(), blocks.begin(), blocks.end());
  return laid;
}

class TiffExactDamage : public ExactTiffs, public testing::WithParamInterface<Code> {
 protected:
  /// The pixels of each block; empty where its read fails.
  std::vector<ReferenceTiff::Samples> ReadBlocks(const Bytes& bytes) {
    TiffChannels image(Write(bytes), kReadExact);
    std::vector<ReferenceTiff::Samples> blocks;
    for (int i = 0; i < kBlocks && image.IsOpen(); ++i) {
      blocks.push_back(image.Read(0, 0, 0, kWidth - 1, i * kRowsOfBlock, (i + 1) * kRowsOfBlock - 1));
    }
    return blocks;
  }
};

TEST_P(TiffExactDamage, ByACutFailsTheReadsThatTouchItAndNoOthers) {
  const DamagedFile file = LayBlocksLast(GetParam());
  const auto whole = ReadBlocks(file.bytes);
  ASSERT_EQ(static_cast<std::size_t>(kBlocks), whole.size());
  for (const auto& block : whole) ASSERT_FALSE(block.empty()) << GetReason();
  const std::size_t span = file.bytes.size() - kFirstBlock;
  constexpr std::size_t kPlaces = 200;
  for (std::size_t i = 0; i < kPlaces; i += TrialStep()) {
    const std::size_t cut = kFirstBlock + span * i / kPlaces;
    const auto got = ReadBlocks({file.bytes.begin(), file.bytes.begin() + static_cast<std::ptrdiff_t>(cut)});
    ASSERT_EQ(whole.size(), got.size()) << "cut at " << cut;
    for (std::size_t block = 0; block < whole.size(); ++block) {
      const bool isWhole = file.ends[block] <= cut;
      EXPECT_EQ(isWhole ? whole[block] : ReferenceTiff::Samples(), got[block]) << "cut at " << cut << ", " << block;
    }
  }
}

TEST_P(TiffExactDamage, ToAByteConcernsItsBlockAlone) {
  DamagedFile file = LayBlocksLast(GetParam());
  const auto whole = ReadBlocks(file.bytes);
  std::mt19937 random(20240229);
  const int numFlips = TrialCount(2000, 100);
  int numUnnoticed = 0;
  for (int i = 0; i < numFlips; ++i) {
    const std::size_t place = kFirstBlock + random() % (file.bytes.size() - kFirstBlock);
    const auto flip = static_cast<unsigned char>(1 + random() % 255);
    file.bytes[place] ^= flip;
    const auto got = ReadBlocks(file.bytes);
    file.bytes[place] ^= flip;
    ASSERT_EQ(whole.size(), got.size()) << "byte " << place;
    for (std::size_t block = 0; block < whole.size(); ++block) {
      const bool isHit = place < file.ends[block] && (block == 0 || place >= file.ends[block - 1]);
      if (isHit) {
        numUnnoticed += !got[block].empty() && got[block] != whole[block];
      } else {
        ASSERT_EQ(whole[block], got[block]) << "byte " << place << ", block " << block;
      }
    }
  }
  RecordProperty("unnoticed", numUnnoticed);
  std::cout << GetParam() << ": " << numUnnoticed << " of " << numFlips << " changes give other pixels unnoticed\n";
}

INSTANTIATE_TEST_SUITE_P(Codes, TiffExactDamage, testing::ValuesIn(kCodes),
                         [](const testing::TestParamInfo<Code>& code) { return code.param.name; });

}  // namespace
