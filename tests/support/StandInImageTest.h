#pragma once

#include "OpenRaster.h"
#include "StandInBytes.h"
#include "StandIns.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

/// A file of a stand-in, opened by the stand-in library of a folder.
template <class Band>
class StandInImageOf {
 public:
  StandInImageOf(int formatId, const std::string& words, XReadPolicy policy, const std::string& kind = "whole")
      : folder_(StandInFolder(kind)), image_(StandInBytes(words), "a.img", formatId, policy) {}
  OpenRaster<Band>* operator->() { return &image_; }
  OpenRaster<Band>& operator*() { return image_; }

 private:
  ScopedCodecFolder folder_;
  OpenRaster<Band> image_;
};

/// What a read of bytes of the stand-in shall give: the samples at these columns and rows.
inline Pixels StandInPixels(int band, const std::vector<int>& columns, const std::vector<int>& rows) {
  Pixels pixels{static_cast<int>(columns.size()), static_cast<int>(rows.size()), {}};
  for (const int y : rows) {
    for (const int x : columns) pixels.bytes.push_back(static_cast<unsigned char>(StandInSample(band, x, y)));
  }
  return pixels;
}

/// The places first, first + step and so on, of a number.
inline std::vector<int> Places(int first, int count, int step = 1) {
  std::vector<int> places(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) places[static_cast<std::size_t>(i)] = first + i * step;
  return places;
}
