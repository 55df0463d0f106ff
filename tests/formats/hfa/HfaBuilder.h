#pragma once

#include <string>
#include <vector>

#include <gdal.h>

/// Has GDAL write a small HFA file. Sample (x, y) of layer k is `Value(x, y, k)`, cut to what its type holds.
class HfaBuilder {
 public:
  using Bytes = std::vector<unsigned char>;

  HfaBuilder& Size(int width, int height) {
    width_ = width;
    height_ = height;
    return *this;
  }
  HfaBuilder& Layers(int count) {
    numLayers_ = count;
    return *this;
  }
  HfaBuilder& Type(GDALDataType type) {
    type_ = type;
    return *this;
  }
  /// An option of GDAL's writer, as "COMPRESSED=YES".
  HfaBuilder& Option(const std::string& option) {
    options_.push_back(option);
    return *this;
  }
  /// West, pixel width, north, pixel height; without it the file has no place.
  HfaBuilder& Place(double west, double width, double north, double height) {
    place_ = {west, width, 0.0, north, 0.0, -height};
    return *this;
  }
  HfaBuilder& Epsg(int code) {
    epsg_ = code;
    return *this;
  }
  /// A system of any kind, in place of a code.
  HfaBuilder& Wkt(const std::string& wkt) {
    wkt_ = wkt;
    return *this;
  }
  /// Overviews of these factors, made as means unless a method is given.
  HfaBuilder& Overviews(const std::vector<int>& factors, const char* method = "AVERAGE") {
    factors_ = factors;
    method_ = method;
    return *this;
  }
  /// Makes the first layer thematic, with so many colours: (i, 2 i, 255 - i) for class i, by their low bytes.
  HfaBuilder& Classes(int count) {
    numClasses_ = count;
    return *this;
  }
  /// Makes the first layer thematic, without colours.
  HfaBuilder& Thematic() {
    isThematic_ = true;
    return *this;
  }
  HfaBuilder& Null(double value) {
    null_ = value;
    hasNull_ = true;
    return *this;
  }

  Bytes Build() const;
  static int Value(int x, int y, int layer) { return (x * 3 + y * 7 + layer * 50 + x * y % 5) % 120; }

 private:
  int width_ = 20, height_ = 15, numLayers_ = 1, epsg_ = 0, numClasses_ = 0;
  GDALDataType type_ = GDT_Byte;
  std::vector<std::string> options_;
  std::vector<double> place_;
  std::string wkt_;
  std::vector<int> factors_;
  const char* method_ = "AVERAGE";
  double null_ = 0.0;
  bool hasNull_ = false, isThematic_ = false;
};
