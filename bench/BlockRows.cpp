// Rows about blocks of DXT1 beside libsquish: its range fit, the faster of its two ways to pack, and its decoder. Both
// work on square tiles in memory, on one thread. libsquish is called block by block, as it does itself for a whole
// picture, because it would share a picture among threads.
//
// The tiles cover a photograph that the caller names, or else the picture that stands for one in other rows. Each side
// unpacks what it packed, and the error of both is printed. Every row packs with all instructions that the machine has;
// one more keeps to AVX2.

#include "Inputs.h"
#include "Rows.h"
#include "XImageCodec.h"

#include <gdal_priv.h>
#include <hwy/targets.h>
#include <squish.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

constexpr int kSide = 256;
constexpr int kBlocksAcross = kSide / 4;
constexpr std::size_t kTileBytes = std::size_t{kSide} * kSide * 4;
constexpr std::size_t kPackedBytes = std::size_t{kBlocksAcross} * kBlocksAcross * 8;

using Bytes = std::vector<unsigned char>;

/// A tile as each side wants it, and as each packed it.
struct Tile {
  Bytes rgba;  ///< the uppermost row first
  Bytes bgra;  ///< the lowest row first
  Bytes ours = Bytes(kPackedBytes);
  Bytes theirs = Bytes(kPackedBytes);
};
using Tiles = std::shared_ptr<std::vector<Tile>>;

/// Reads one tile, opaque.
Tile ReadTile(GDALDataset& picture, int x0, int y0) {
  Tile tile{Bytes(kTileBytes, 255), Bytes(kTileBytes, 255)};
  const CPLErr error = picture.RasterIO(GF_Read, x0, y0, kSide, kSide, tile.rgba.data(), kSide, kSide, GDT_Byte, 3,
                                        nullptr, 4, 4 * kSide, 1, nullptr);
  Must(error == CE_None, "GDAL failed to read a tile");
  for (std::size_t i = 0; i < kTileBytes; i += 4) {
    const std::size_t row = i / (4 * kSide), to = (kSide - 1 - row) * 4 * kSide + i % (4 * kSide);
    for (std::size_t k = 0; k < 3; ++k) tile.bgra[to + k] = tile.rgba[i + 2 - k];
  }
  return tile;
}

/// Tiles that cover the picture. The last of a row or column lie at its end, over those before them.
Tiles ReadTiles(const std::string& path) {
  const std::unique_ptr<GDALDataset, void (*)(GDALDataset*)> picture(
      GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly)), [](GDALDataset* open) { GDALClose(open); });
  Must(picture && picture->GetRasterCount() >= 3, path + " is no picture in colour");
  const int width = picture->GetRasterXSize(), height = picture->GetRasterYSize();
  Must(width >= kSide && height >= kSide, path + " is smaller than a tile");
  const auto tiles = std::make_shared<std::vector<Tile>>();
  for (int y0 = 0; y0 < height; y0 += kSide) {
    for (int x0 = 0; x0 < width; x0 += kSide) {
      tiles->push_back(ReadTile(*picture, std::min(x0, width - kSide), std::min(y0, height - kSide)));
    }
  }
  return tiles;
}

void PackByUs(std::vector<Tile>& tiles) {
  XImageCodec codec(kSide, 1);
  for (Tile& tile : tiles) codec.EncodeDXT1(tile.bgra.data(), tile.ours.data());
}

void UnpackByUs(std::vector<Tile>& tiles) {
  XImageCodec codec(kSide, 1);
  for (Tile& tile : tiles) codec.DecodeDXT1(21, tile.ours.data(), codec.buffer);
}

/// Calls `visit(first pixel, block)` for all blocks.
template <class Visit>
void VisitBlocks(unsigned char* rgba, unsigned char* packed, Visit visit) {
  for (int row = 0; row < kBlocksAcross; ++row) {
    for (int column = 0; column < kBlocksAcross; ++column, packed += 8) {
      visit(rgba + (std::ptrdiff_t{row} * kSide + column) * 16, packed);
    }
  }
}

void PackBySquish(std::vector<Tile>& tiles) {
  for (Tile& tile : tiles) {
    VisitBlocks(tile.rgba.data(), tile.theirs.data(), [](const unsigned char* first, unsigned char* block) {
      unsigned char pixels[64];
      for (int y = 0; y < 4; ++y) std::memcpy(pixels + 16 * y, first + std::ptrdiff_t{4} * kSide * y, 16);
      squish::Compress(pixels, block, squish::kDxt1 | squish::kColourRangeFit);
    });
  }
}

/// The pixels of an opaque block as stores mean them: components of 5 and 6 bits are shifted up to 8. A card repeats
/// their high bits below, which makes all but black a little brighter.
void UnpackAsMeant(const unsigned char* block, unsigned char* pixels) {
  int colours[4][3];
  for (int i = 0; i < 2; ++i) {
    const int word = block[2 * i] | block[2 * i + 1] << 8;
    colours[i][0] = word >> 8 & 0xF8;
    colours[i][1] = word >> 3 & 0xFC;
    colours[i][2] = word << 3 & 0xF8;
  }
  for (int k = 0; k < 3; ++k) {
    colours[2][k] = (2 * colours[0][k] + colours[1][k]) / 3;
    colours[3][k] = (colours[0][k] + 2 * colours[1][k]) / 3;
  }
  for (int i = 0; i < 16; ++i) {
    const int* colour = colours[block[4 + i / 4] >> i % 4 * 2 & 3];
    for (int k = 0; k < 3; ++k) pixels[4 * i + k] = static_cast<unsigned char>(colour[k]);
  }
}

/// Unpacks with a function that takes a block to 16 pixels.
template <class Unpack>
void UnpackTile(Bytes& packed, Bytes& rgba, Unpack unpack) {
  VisitBlocks(rgba.data(), packed.data(), [&](unsigned char* first, const unsigned char* block) {
    unsigned char pixels[64];
    unpack(block, pixels);
    for (int y = 0; y < 4; ++y) std::memcpy(first + std::ptrdiff_t{4} * kSide * y, pixels + 16 * y, 16);
  });
}

void UnpackOneBySquish(const unsigned char* block, unsigned char* pixels) {
  squish::Decompress(pixels, block, squish::kDxt1);
}

void UnpackBySquish(std::vector<Tile>& tiles) {
  Bytes rgba(kTileBytes);
  for (Tile& tile : tiles) UnpackTile(tile.ours, rgba, UnpackOneBySquish);
}

class ErrorSum {
 public:
  void Add(const Bytes& rgba, const Bytes& back) {
    for (std::size_t i = 0; i < rgba.size(); ++i) {
      const double difference = static_cast<double>(rgba[i]) - back[i];
      if (i % 4 != 3) squares_ += difference * difference;
    }
    count_ += rgba.size() / 4 * 3;
  }
  double Psnr() const { return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(count_) / squares_); }

 private:
  double squares_ = 0.0;
  std::size_t count_ = 0;
};

void PrintErrors(const std::string& path, std::vector<Tile>& tiles) {
  ErrorSum ours, oursOnACard, theirs;
  Bytes back(kTileBytes);
  for (Tile& tile : tiles) {
    UnpackTile(tile.ours, back, UnpackAsMeant);
    ours.Add(tile.rgba, back);
    UnpackTile(tile.ours, back, UnpackOneBySquish);
    oursOnACard.Add(tile.rgba, back);
    UnpackTile(tile.theirs, back, UnpackOneBySquish);
    theirs.Add(tile.rgba, back);
  }
  std::printf("%s packed as DXT1: PSNR %.2f, on a card %.2f; by libsquish's range fit %.2f\n", path.c_str(),
              ours.Psnr(), oursOnACard.Psnr(), theirs.Psnr());
}

/// Both sides must unpack the same pixels of the same blocks.
void MustUnpackAlike(std::vector<Tile>& tiles) {
  XImageCodec codec(kSide, 1);
  Bytes rgba(kTileBytes);
  for (Tile& tile : tiles) {
    codec.DecodeDXT1(21, tile.ours.data(), codec.buffer);
    UnpackTile(tile.ours, rgba, UnpackOneBySquish);
    for (std::size_t i = 0; i < kTileBytes; ++i) {
      const std::size_t row = i / (4 * kSide), from = (kSide - 1 - row) * 4 * kSide + i % (4 * kSide);
      const std::size_t swapped = i % 4 == 3 ? from : from / 4 * 4 + 2 - i % 4;
      Must(rgba[i] == codec.buffer[swapped], "this library and libsquish unpack blocks differently");
    }
  }
}

}  // namespace

void AddBlockRows(const std::string& photograph, std::vector<Row>& rows) {
  const Tiles tiles = ReadTiles(photograph);
  PackByUs(*tiles);
  PackBySquish(*tiles);
  MustUnpackAlike(*tiles);
  PrintErrors(photograph, *tiles);
  const int times = static_cast<int>(tiles->size());
  rows.push_back({"block_pack", "a tile of 256 x 256 packed as DXT1", "libsquish, range fit", [=] { PackByUs(*tiles); },
                  [=] { PackBySquish(*tiles); }, times, 1 / 25.0});
  if (hwy::SupportedTargets() & HWY_AVX2) {
    const auto packWithAvx2 = [=] {
      hwy::SetSupportedTargetsForTest(HWY_AVX2);
      PackByUs(*tiles);
      hwy::SetSupportedTargetsForTest(0);
    };
    rows.push_back({"block_avx2", "a tile of 256 x 256 packed as DXT1, no more than AVX2", "libsquish, range fit",
                    packWithAvx2, [=] { PackBySquish(*tiles); }, times, 1 / 25.0});
  }
  rows.push_back({"block_unpack", "a tile of 256 x 256 unpacked from DXT1", "libsquish", [=] { UnpackByUs(*tiles); },
                  [=] { UnpackBySquish(*tiles); }, times, 1 / 3.0});
}
