#pragma once

#include "codec/TiffHandle.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Builds TIFF files with geo tags byte by byte: `GeoTiffFile().Size(7, 5).Scale({10, 10}).Key(1024, 1).Build()`. The
/// image is one strip of bytes, all 0. Tags are written that have a value; geokeys go in the order in which they come.
class GeoTiffFile {
 public:
  using Bytes = std::vector<unsigned char>;

  GeoTiffFile& Size(int width, int height);
  GeoTiffFile& Scale(std::vector<double> scale);
  /// Six numbers a point: column, row, 0, x, y, z.
  GeoTiffFile& TiePoints(std::vector<double> points);
  GeoTiffFile& Matrix(std::vector<double> matrix);
  GeoTiffFile& Key(int id, int value);
  GeoTiffFile& Key(int id, const std::vector<double>& values);
  /// A bar is written behind the text.
  GeoTiffFile& Key(int id, const std::string& text);
  /// An entry of the key directory word by word: where its values lie, how many they are, and from which on.
  GeoTiffFile& RawKey(int id, int tag, int count, int place);
  /// Of the key directory; 1, 1 and 0 unless set.
  GeoTiffFile& Version(int version, int major, int minor);
  /// Writes a number of keys that the directory doesn't have.
  GeoTiffFile& ClaimKeys(int count);
  /// Writes the directory of keys as words of one's own.
  GeoTiffFile& Directory(std::vector<std::uint16_t> words);

  Bytes Build() const;

 private:
  std::vector<std::uint16_t> MakeDirectory() const;

  int width_ = 7;
  int height_ = 5;
  std::vector<double> scale_;
  std::vector<double> tiePoints_;
  std::vector<double> matrix_;
  std::vector<std::uint16_t> version_ = {1, 1, 0};
  int claimedKeys_ = -1;
  std::vector<std::uint16_t> entries_;
  std::vector<double> keyDoubles_;
  std::string keyTexts_;
  std::vector<std::uint16_t> directory_;
};

/// A file in UTM zone 32 of the north, on WGS 84.
inline GeoTiffFile Utm32() {
  return GeoTiffFile().Key(1024, 1).Key(3072, 32632);
}

/// A TIFF file opened as the library opens them; null where it can't be.
std::unique_ptr<zrk::TiffHandle> OpenTiff(const std::string& path);
