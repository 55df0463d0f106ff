#pragma once

#include "MemoryDisk.h"
#include "XFormatTable.h"
#include "XLimits.h"
#include "XPath.h"
#include "XReadPolicy.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <cstdint>

/// Reads the upper left corner of a band, or the lower right one.
inline void ReadCorner(ZRMBand& band, int level, bool isAtEnd) {
  constexpr int kLast = 31;
  const int right = band.GetXSize() - 1, bottom = band.GetYSize() - 1;
  tagXArr2* out = nullptr;
  if (isAtEnd) {
    band.ReadSubset(out, level, std::max(right - kLast, 0), right, std::max(bottom - kLast, 0), bottom, nullptr);
  } else {
    band.ReadSubset(out, level, 0, std::min(right, kLast), 0, std::min(bottom, kLast), nullptr);
  }
}

/// Opens the bytes as a raster of the format through the dispatch and reads a few windows of every channel at a few
/// levels. Images that are large for a fuzz run are opened but read at their corners only. A window is read of one
/// channel after another, as programs do it, so that what one decoding gave serves them all.
inline void ReadAsRaster(const std::uint8_t* data, std::size_t size, const char* path, int id, XReadPolicy policy) {
  MemoryDisk disk;
  disk.Add(path, {data, size});
  const zrk::ScopedDisk scope(disk);

  XRSFile file;
  file.SetReadPolicy(policy);
  XString err;
  if (!XRSFileIO::LoadFileRaster(&file, id, path, err, 0, kLevelNone, nullptr)) return;
  // Each channel decodes the same block again, so a few of thousands of channels tell as much as all of them.
  const int step = std::max(1, file.GetNumOfBands() / 8);
  for (const int level : {0, 1, 3}) {
    for (const bool isAtEnd : {false, true}) {
      for (int i = 0; i < file.GetNumOfBands(); i += step) ReadCorner(*file.GetBandAt(i), level, isAtEnd);
    }
  }
  for (int i = 0; i < file.GetNumOfBands(); i += step) {
    ZRMBand& band = *file.GetBandAt(i);
    if (std::int64_t{band.GetXSize()} * band.GetYSize() <= 1 << 16) band.CalcStatistics(1);
  }
}

/// Inputs of an odd number of bytes are read exactly, the others compatibly. What stands behind the end of an image
/// means nothing in most formats, so that one more byte changes the policy alone.
inline XReadPolicy PolicyOf(std::size_t size) {
  return size % 2 == 1 ? kReadExact : kReadCompatible;
}

inline void ReadAsRaster(const std::uint8_t* data, std::size_t size, const char* path, int id) {
  ReadAsRaster(data, size, path, id, PolicyOf(size));
}

/// The first byte chooses the policy, and the file stands behind it. Limits keep what it may claim small.
inline void ReadBehindPolicy(const std::uint8_t* data, std::size_t size, const char* path, int id) {
  if (size == 0) return;
  tagXLimits limits;
  limits.decodedTileBytes = 1 << 22;
  limits.imagePixels = 1 << 24;
  limits.tableBytes = 1 << 20;
  XfnSetLimits(limits);
  ReadAsRaster(data + 1, size - 1, path, id, data[0] & 1 ? kReadExact : kReadCompatible);
}

/// The same of the format that the path's extension tells.
inline void ReadAsRaster(const std::uint8_t* data, std::size_t size, const char* path) {
  ReadAsRaster(data, size, path, XRSFileIO::GetIDFromExt(XfnGetFileExt(path)));
}

/// Looks for the format by the first bytes, since the file's name tells nothing.
inline void FindFormat(const std::uint8_t* data, std::size_t size) {
  MemoryDisk disk;
  disk.Add("/fuzz", {data, size});
  const zrk::ScopedDisk scope(disk);
  XfnFindFormatOfFile("/fuzz");
}
