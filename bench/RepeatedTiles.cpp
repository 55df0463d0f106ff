// Files of gigabytes are made quickly where their tiles repeat. GDAL writes a file of the full size that has the tiles
// of one period, and the tables of that file are then filled up. What a window costs is the same as if all tiles were
// different, since readers know tiles by their place.
//
// A GeoPackage is a database, and copies its tiles itself. The directory of a BigTIFF has records of 20 bytes: tag,
// type, count and offset. Two of them lead to the offsets of the tiles and to their lengths.

#include "RepeatedTiles.h"

#include "Inputs.h"

#include <gdal_priv.h>
#include <cstdint>
#include <fstream>
#include <vector>

namespace {

constexpr int kTileOffsets = 324, kTileByteCounts = 325;

/// Numbers of a file in the machine's order of bytes, which is that of the file.
class TiffNumbers {
 public:
  explicit TiffNumbers(const std::string& path) : file_(path, std::ios::in | std::ios::out | std::ios::binary) {}

  std::uint64_t Read(std::uint64_t offset, int size) {
    std::uint64_t number = 0;
    file_.seekg(static_cast<std::streamoff>(offset)).read(reinterpret_cast<char*>(&number), size);
    return number;
  }
  void Write(std::uint64_t offset, std::uint64_t number, int size) {
    file_.seekp(static_cast<std::streamoff>(offset)).write(reinterpret_cast<const char*>(&number), size);
  }
  bool IsWell() const { return file_.good(); }

 private:
  std::fstream file_;
};

/// Types 3, 4 and 16 are numbers of two, four and eight bytes.
int SizeOf(std::uint64_t type) {
  return type == 3 ? 2 : type == 4 ? 4 : 8;
}

/// Fills the table of a tag, row by row of the tiles.
void RepeatTable(TiffNumbers& file, std::uint64_t record, const TileRepeat& repeat) {
  const int size = SizeOf(file.Read(record + 2, 2));
  const auto period = static_cast<std::uint64_t>(repeat.period), all = static_cast<std::uint64_t>(repeat.numTiles);
  Must(file.Read(record + 4, 8) == all * all, "a TIFF has another number of tiles");
  const std::uint64_t table = file.Read(record + 12, 8), step = static_cast<std::uint64_t>(size);
  std::vector<std::uint64_t> firsts;
  for (std::uint64_t i = 0; i < period * period; ++i) {
    firsts.push_back(file.Read(table + (i / period * all + i % period) * step, size));
    Must(firsts.back() != 0, "a TIFF lacks a tile");
  }
  for (std::uint64_t i = 0; i < all * all; ++i) {
    file.Write(table + i * step, firsts[i / all % period * period + i % all % period], size);
  }
}

}  // namespace

void RepeatPackageTiles(const std::string& path, const TileRepeat& repeat) {
  if (repeat.period >= repeat.numTiles) return;
  const GDALDatasetUniquePtr package(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_VECTOR | GDAL_OF_UPDATE));
  Must(package != nullptr, "GDAL can't open " + path);
  const std::string period = std::to_string(repeat.period), all = std::to_string(repeat.numTiles);
  const std::string copy = "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + " + period + " FROM n WHERE i + " +
                           period + " < " + all +
                           ") INSERT INTO globe (zoom_level, tile_column, tile_row, tile_data) "
                           "SELECT zoom_level, tile_column + x.i, tile_row + y.i, tile_data FROM globe, n AS x, n AS y "
                           "WHERE x.i + y.i > 0 AND tile_column + x.i < " +
                           all + " AND tile_row + y.i < " + all;
  package->ReleaseResultSet(package->ExecuteSQL(copy.c_str(), nullptr, nullptr));
}

void RepeatTiffTiles(const std::string& path, const TileRepeat& repeat) {
  if (repeat.period >= repeat.numTiles) return;
  TiffNumbers file(path);
  Must(file.Read(0, 8) == 0x0008002B4949, path + " is no BigTIFF");
  const std::uint64_t directory = file.Read(8, 8), numRecords = file.Read(directory, 8);
  for (std::uint64_t i = 0; i < numRecords && file.IsWell(); ++i) {
    const std::uint64_t record = directory + 8 + i * 20, tag = file.Read(record, 2);
    if (tag == kTileOffsets || tag == kTileByteCounts) RepeatTable(file, record, repeat);
  }
  Must(file.IsWell(), "can't write the tables of " + path);
}
