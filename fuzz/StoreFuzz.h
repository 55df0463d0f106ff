#pragma once

#include "RasterFuzz.h"
#include "XLimits.h"

#include <algorithm>
#include <cstring>
#include <vector>

/// Opens the bytes as a tile store and reads corners and overviews. The first byte of the input chooses the policy. Of
/// the others, those of a header come first, as many as the second and third byte tell. The header is filled up with
/// zeros to the 51,200 bytes that it has in a file, and tiles begin behind it with what is left of the input, so that
/// inputs are short.
inline void ReadAsStore(const std::uint8_t* data, std::size_t size, const char* path, int id) {
  constexpr std::size_t kChoiceBytes = 3, kHeaderBytes = 51200, kMaxFileBytes = 1 << 17;
  if (size < kChoiceBytes) return;
  const std::size_t stated = data[1] | data[2] << 8;
  const std::size_t inHeader = std::min({stated, size - kChoiceBytes, kHeaderBytes});
  const std::size_t inTiles = std::min(size - kChoiceBytes - inHeader, kMaxFileBytes - kHeaderBytes);
  static std::vector<std::uint8_t> bytes;
  bytes.assign(kHeaderBytes + inTiles, 0);
  std::memcpy(bytes.data(), data + kChoiceBytes, inHeader);
  std::memcpy(bytes.data() + kHeaderBytes, data + kChoiceBytes + inHeader, inTiles);

  tagXLimits limits;
  limits.decodedTileBytes = 1 << 20;
  XfnSetLimits(limits);
  MemoryDisk disk;
  disk.Add(path, bytes);
  const zrk::ScopedDisk scope(disk);
  XRSFile file;
  file.SetReadPolicy(data[0] & 1 ? kReadExact : kReadCompatible);
  XString err;
  if (!XRSFileIO::LoadFileRaster(&file, id, path, err, 0, kLevelNone, nullptr)) return;
  ZRMBand& band = *file.GetBandAt(file.GetNumOfBands() - 1);
  for (const int level : {0, 1, 3}) {
    for (const bool isAtEnd : {false, true}) ReadCorner(band, level, isAtEnd);
  }
  const int right = band.GetXSize() - 1, bottom = band.GetYSize() - 1;
  tagXArr2* out = nullptr;
  for (const int level : {2, 5, 24, 30}) {
    const std::int64_t pixels = ((std::int64_t{right} >> level) + 1) * ((std::int64_t{bottom} >> level) + 1);
    if (pixels < 1 << 10) band.ReadSubset(out, level, 0, right, 0, bottom, nullptr);
  }
}
