#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Builds TXID stores byte by byte: `TxidBuilder().Grid(3, 2, 8).Tile(0).Tile(4)`. The blocks of a tile are arbitrary
/// bytes that follow from its key.
class TxidBuilder {
 public:
  using Bytes = std::vector<unsigned char>;
  /// Red, green, blue and alpha.
  using Pixel = std::array<unsigned char, 4>;

  /// Tiles in x and y, and their size.
  TxidBuilder& Grid(int numXTiles, int numYTiles, int tileSize);
  /// In units of 1e-08 degree; 1,000,000 each unless told.
  TxidBuilder& PixelSize(std::int64_t x, std::int64_t y);
  /// 10, 50 unless told.
  TxidBuilder& Corner(double x, double y);
  TxidBuilder& Magic(const std::string& magic);
  /// Appends the tile's data and a record of it.
  TxidBuilder& Tile(std::int32_t key);
  /// The same with data of the caller's.
  TxidBuilder& Tile(std::int32_t key, const Bytes& packed);
  /// Appends a record alone.
  TxidBuilder& Record(std::int32_t key, std::uint64_t offset, std::int32_t size);
  /// The size that records of tiles from now on tell; that of the blocks unless told.
  TxidBuilder& TellSize(std::int32_t size);
  /// Bytes in front of what follows in the data.
  TxidBuilder& Gap(std::size_t numBytes);

  Bytes BuildIndex() const;
  const Bytes& BuildData() const { return data_; }

  int Width() const { return numXTiles_ * tileSize_; }
  int Height() const { return numYTiles_ * tileSize_; }
  int TileSize() const { return tileSize_; }
  int CountXTiles() const { return numXTiles_; }
  std::int64_t XPixelSize() const { return xPixelSize_; }
  std::int64_t YPixelSize() const { return yPixelSize_; }
  double X() const { return x_; }
  double Y() const { return y_; }
  std::size_t PackedBytes() const;
  bool Has(std::int32_t key) const { return tiles_.contains(key); }

  /// A pixel of the image, rows counted from the top; zeros where there is no tile.
  Pixel At(int x, int y) const;
  /// A pixel of a tile that exists.
  Pixel AtTile(std::int32_t key, int x, int y) const;
  /// A pixel of one block: the format's own definition, in plain steps.
  static Pixel PixelOf(const unsigned char* block, int x, int y);
  static Bytes AnyBlocks(std::uint32_t seed, std::size_t numBytes);

 private:
  int numXTiles_ = 3, numYTiles_ = 2, tileSize_ = 8;
  std::int64_t xPixelSize_ = 1000000, yPixelSize_ = 1000000;
  double x_ = 10.0, y_ = 50.0;
  std::string magic_ = "TXID";
  std::optional<std::int32_t> toldSize_;
  Bytes records_, data_;
  std::map<std::int32_t, Bytes> tiles_;
};
