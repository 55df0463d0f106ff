// The image of a frame is coded by vector quantisation, as the standard of the Raster Product Format (MIL-STD-2411)
// describes. A code of 12 bits stands for 4 x 4 pixels. Four tables have the four rows of these pixels for each of 4096
// codes, so that a row of codes gives four rows of pixels, each from a table of its own. A frame may also have plain
// pixels.
//
// A map of bytes is applied to the tables and not to the pixels: there are 36 times fewer bytes in them. Subframes are
// painted to their places in a plane of 1536 x 1536 bytes. Every pixel of the plane is written once, so that it need
// not be cleared first. Nothing here is shared, and several threads may paint frames of their own.

#include "rpf/FramePaint.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <span>

namespace zrk {

namespace {

/// The first pixel of a subframe. Subframes are numbered by rows, from the upper left one.
unsigned char* OriginOf(std::size_t subframe, unsigned char* plane) {
  const std::size_t row = subframe / kSubframesAcross * kSubframeSide;
  return plane + row * kFrameSide + subframe % kSubframesAcross * kSubframeSide;
}

void PaintAbsent(unsigned char value, unsigned char* target) {
  for (std::size_t row = 0; row < kSubframeSide; ++row) std::memset(target + row * kFrameSide, value, kSubframeSide);
}

/// Four rows of pixels use one row of codes, each with the next table.
void DecodeSubframe(const unsigned char* codes, const unsigned char* tables, unsigned char* target) {
  for (std::size_t row = 0; row < kSubframeSide; ++row) {
    DecodeRow(codes + row / 4 * kCodeRowBytes, tables + row % 4 * kLookupTableBytes, target + row * kFrameSide);
  }
}

void Map(const FrameMap& map, std::span<const unsigned char> source, unsigned char* target) {
  std::ranges::transform(source, target, [&map](unsigned char code) { return map[code]; });
}

/// The tables are copied to be mapped, since the planes of a colour frame are painted from the same tables with a map
/// each.
void PaintCompressed(const FrameSubframes& subframes, const unsigned char* tables, const FrameMap* map,
                     unsigned char absent, unsigned char* plane) {
  std::vector<unsigned char> mapped;
  if (map) {
    mapped.resize(kLookupTables * kLookupTableBytes);
    Map(*map, {tables, mapped.size()}, mapped.data());
    tables = mapped.data();
  }
  for (std::size_t i = 0; i < kSubframes; ++i) {
    if (subframes.at[i]) {
      DecodeSubframe(subframes.at[i], tables, OriginOf(i, plane));
    } else {
      PaintAbsent(absent, OriginOf(i, plane));
    }
  }
}

/// Here the map has to be applied to each pixel. Without a map rows are copied as they are.
void PaintPlain(const FrameSubframes& subframes, const FrameMap* map, unsigned char absent, unsigned char* plane) {
  for (std::size_t i = 0; i < kSubframes; ++i) {
    unsigned char* const target = OriginOf(i, plane);
    if (!subframes.at[i]) PaintAbsent(absent, target);
    for (std::size_t row = 0; subframes.at[i] && row < kSubframeSide; ++row) {
      const std::span<const unsigned char> source(subframes.at[i] + row * kSubframeSide, kSubframeSide);
      if (map) {
        Map(*map, source, target + row * kFrameSide);
      } else {
        std::memcpy(target + row * kFrameSide, source.data(), source.size());
      }
    }
  }
}

}  // namespace

/// A group of three bytes has two codes and gives eight pixels. Copies of a size that the compiler knows become single
/// moves.
void DecodeRow(const unsigned char* codes, const unsigned char* table, unsigned char* target) {
  for (std::size_t group = 0; group < kCodeRowBytes / 3; ++group, codes += 3, target += 8) {
    const CodePair pair = SplitCodes(codes);
    std::memcpy(target, table + 4 * pair.first, 4);
    std::memcpy(target + 4, table + 4 * pair.second, 4);
  }
}

/// Code 0 is what absent subframes are painted with, so that transparent pixels and missing ones look the same.
FrameMap MakeCodeMap(unsigned transparentCode) {
  FrameMap map;
  std::iota(map.begin(), map.end(), static_cast<unsigned char>(0));
  if (transparentCode < map.size()) map[transparentCode] = 0;
  return map;
}

void Paint(const FrameSubframes& subframes, const unsigned char* tables, const FrameMap* map, unsigned char* plane) {
  Paint(subframes, tables, map, map ? map->front() : 0, plane);
}

void Paint(const FrameSubframes& subframes, const unsigned char* tables, const FrameMap* map, unsigned char absent,
           unsigned char* plane) {
  if (subframes.isCompressed) {
    PaintCompressed(subframes, tables, map, absent, plane);
  } else {
    PaintPlain(subframes, map, absent, plane);
  }
}

/// A compressed subframe has the bytes of the tables that its codes name, 4 in each table.
std::array<bool, 256> FindUsedBytes(const FrameSubframes& subframes, std::size_t subframe,
                                    const unsigned char* tables) {
  std::array<bool, 256> used{};
  const unsigned char* const bytes = subframes.at[subframe];
  if (!subframes.isCompressed) {
    for (std::size_t i = 0; i < kPlainSubframe; ++i) used[bytes[i]] = true;
    return used;
  }
  std::vector<bool> isSeen(kLookupTableBytes / 4);
  const auto see = [&](unsigned code) {
    if (isSeen[code]) return;
    isSeen[code] = true;
    for (std::size_t table = 0; table < kLookupTables; ++table) {
      for (std::size_t i = 0; i < 4; ++i) used[tables[table * kLookupTableBytes + 4 * code + i]] = true;
    }
  };
  for (std::size_t i = 0; i < kCompressedSubframe; i += 3) {
    const CodePair pair = SplitCodes(bytes + i);
    see(pair.first);
    see(pair.second);
  }
  return used;
}

}  // namespace zrk
