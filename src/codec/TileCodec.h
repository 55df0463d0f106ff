#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace zrk {

// The coding of single tiles of compressed pyramids. A tile is `width` by `height` samples of one of the eight scalar
// data types, row by row. Nothing here throws but std::bad_alloc.

/// How a blob holds its samples.
enum class TileCoding : std::uint32_t {
  kLerc = 0,        ///< a LERC blob
  kLercZstd = 1,    ///< a LERC blob in a zstd frame
  kPlanesZstd = 2,  ///< the lowest bytes of all samples, then the next ones, and so on, in a zstd frame
};

struct TileBlob {
  TileCoding coding = TileCoding::kLerc;
  std::vector<unsigned char> bytes;
};

/// Codes a tile so that no sample is off by more than `maxError`; 0 keeps every bit. A tile that has samples which are
/// not finite keeps every bit. The same samples give the same bytes. False where a library fails.
bool EncodeTile(const void* samples, int dataType, int width, int height, double maxError, TileBlob& blob);

/// Room that a decoder keeps from tile to tile.
using TileRoom = std::vector<unsigned char>;

/// Decodes a blob to exactly width * height samples at `out`. False for a blob that is damaged or of another shape.
bool DecodeTile(std::span<const unsigned char> blob, TileCoding coding, int dataType, int width, int height, void* out,
                TileRoom& room);

}  // namespace zrk
