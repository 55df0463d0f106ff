// A code of 12 bits stands for 4 x 4 pixels, whose rows are in four tables, so that a row of codes gives four rows of
// pixels. A map is applied to the tables and not to the pixels: there are 36 times fewer bytes in them.

#include "rpf/FramePaint.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <span>

namespace zrk {

namespace {

unsigned char* OriginOf(std::size_t subframe, unsigned char* plane) {
  const std::size_t row = subframe / kSubframesAcross * kSubframeSide;
  return plane + row * kFrameSide + subframe % kSubframesAcross * kSubframeSide;
}

void PaintAbsent(unsigned char value, unsigned char* target) {
  for (std::size_t row = 0; row < kSubframeSide; ++row) std::memset(target + row * kFrameSide, value, kSubframeSide);
}

void DecodeSubframe(const unsigned char* codes, const unsigned char* tables, unsigned char* target) {
  for (std::size_t row = 0; row < kSubframeSide; ++row) {
    DecodeRow(codes + row / 4 * kCodeRowBytes, tables + row % 4 * kLookupTableBytes, target + row * kFrameSide);
  }
}

void Map(const FrameMap& map, std::span<const unsigned char> source, unsigned char* target) {
  std::ranges::transform(source, target, [&map](unsigned char code) { return map[code]; });
}

void PaintCompressed(const FrameSubframes& subframes, const unsigned char* tables, const FrameMap* map,
                     unsigned char* plane) {
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
      PaintAbsent(map ? map->front() : 0, OriginOf(i, plane));
    }
  }
}

void PaintPlain(const FrameSubframes& subframes, const FrameMap* map, unsigned char* plane) {
  for (std::size_t i = 0; i < kSubframes; ++i) {
    unsigned char* const target = OriginOf(i, plane);
    if (!subframes.at[i]) PaintAbsent(map ? map->front() : 0, target);
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

void DecodeRow(const unsigned char* codes, const unsigned char* table, unsigned char* target) {
  for (std::size_t group = 0; group < kCodeRowBytes / 3; ++group, codes += 3, target += 8) {
    const CodePair pair = SplitCodes(codes);
    std::memcpy(target, table + 4 * pair.first, 4);
    std::memcpy(target + 4, table + 4 * pair.second, 4);
  }
}

FrameMap MakeCodeMap(unsigned transparentCode) {
  FrameMap map;
  std::iota(map.begin(), map.end(), static_cast<unsigned char>(0));
  if (transparentCode < map.size()) map[transparentCode] = 0;
  return map;
}

void Paint(const FrameSubframes& subframes, const unsigned char* tables, const FrameMap* map, unsigned char* plane) {
  if (subframes.isCompressed) {
    PaintCompressed(subframes, tables, map, plane);
  } else {
    PaintPlain(subframes, map, plane);
  }
}

}  // namespace zrk
