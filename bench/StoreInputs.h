#pragma once

#include "Inputs.h"

#include <algorithm>
#include <string>
#include <vector>

/// A picture in colour that is computed where it is looked at, so that files of gigabytes are written out of no memory:
/// smooth waves with the grain of a photograph, in whole tiles of the global grid. A large picture repeats itself, so
/// that rivals that pack slowly need not pack all of it.
class GlobePicture {
 public:
  static constexpr int kTileSide = 256;

  /// As many whole tiles as `side` pixels have room for.
  explicit GlobePicture(int side);

  int GetTiles() const { return numTiles_; }
  int GetSide() const { return numTiles_ * kTileSide; }
  /// The tiles each way after which the picture begins anew.
  int GetPeriodTiles() const { return std::min(numTiles_, 16); }
  /// The level of the grid that has so many rows of tiles. The picture begins in its row 0 and column 0.
  int GetLevel() const { return level_; }
  double GetTileDegrees() const;

  /// Red, green and blue of `count` pixels from (x, y) on; y counts from the top.
  void Paint(int x, int y, int count, unsigned char* rgb) const;

 private:
  void PaintPart(int x, int y, int count, unsigned char* rgb) const;

  int numTiles_;
  int level_ = 0;
  std::vector<float> slow_;      // along x, with a long wave
  std::vector<float> fastSine_;  // and with a short one
  std::vector<float> fastCosine_;
};

/// Write the picture unless the file is there: as an image store of one level in blocks of DXT1, as a GeoPackage of
/// JPEG tiles, and as a Cloud Optimized GeoTIFF with Deflate. All have tiles of 256 x 256 pixels at the same places.
void MakeGlobeStore(const std::string& path, const GlobePicture& picture);
void MakeGlobePackage(const std::string& path, const GlobePicture& picture);
void MakeGlobeTiff(const std::string& path, const GlobePicture& picture);
