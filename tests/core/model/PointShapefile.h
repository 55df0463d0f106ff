#pragma once

#include "TempFolder.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

/// A shapefile of points, put together by hand after the format's published description: the file of shapes and its
/// index, without a table and a system.
class PointShapefile {
 public:
  explicit PointShapefile(const std::vector<std::pair<double, double>>& points) {
    PutHeader(shp_, 50 + 14 * static_cast<int>(points.size()), points);
    PutHeader(shx_, 50 + 4 * static_cast<int>(points.size()), points);
    for (std::size_t i = 0; i < points.size(); ++i) {
      PutBig(shx_, 50 + 14 * static_cast<int>(i));
      PutBig(shx_, kWordsOfPoint);
      PutBig(shp_, static_cast<int>(i + 1));
      PutBig(shp_, kWordsOfPoint);
      PutLittle(shp_, kPoint);
      PutReal(shp_, points[i].first);
      PutReal(shp_, points[i].second);
    }
  }

  /// Replaces the box that both headers give.
  PointShapefile& Box(double minX, double minY, double maxX, double maxY) {
    Bytes box;
    for (const double value : {minX, minY, maxX, maxY}) PutReal(box, value);
    for (Bytes* file : {&shp_, &shx_}) std::copy(box.begin(), box.end(), file->begin() + kPlaceOfBox);
    return *this;
  }

  void Write(const TempFolder& folder, const std::string& name = "a") const {
    folder.Write(name + ".shp", shp_);
    folder.Write(name + ".shx", shx_);
  }

 private:
  using Bytes = std::vector<unsigned char>;
  static constexpr int kPoint = 1;
  static constexpr int kWordsOfPoint = 10;
  static constexpr int kPlaceOfBox = 36;

  static void PutBig(Bytes& bytes, int value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<unsigned char>(value >> shift));
  }
  static void PutLittle(Bytes& bytes, int value) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(value >> shift));
  }
  static void PutReal(Bytes& bytes, double value) {
    unsigned char raw[8];
    std::memcpy(raw, &value, 8);
    bytes.insert(bytes.end(), raw, raw + 8);
  }
  static void PutHeader(Bytes& bytes, int words, const std::vector<std::pair<double, double>>& points) {
    PutBig(bytes, 9994);
    for (int i = 0; i < 5; ++i) PutBig(bytes, 0);
    PutBig(bytes, words);
    PutLittle(bytes, 1000);
    PutLittle(bytes, kPoint);
    auto low = points.at(0), high = points.at(0);
    for (const auto& [x, y] : points) {
      low = {std::min(low.first, x), std::min(low.second, y)};
      high = {std::max(high.first, x), std::max(high.second, y)};
    }
    for (const double value : {low.first, low.second, high.first, high.second, 0.0, 0.0, 0.0, 0.0})
      PutReal(bytes, value);
  }

  Bytes shp_, shx_;
};
