#pragma once

#include "SensorTruth.h"
#include "XRSFile.h"
#include "ZRMBand2DMem.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// Samples of 16 bits over longitude and latitude, as a dataset for the library and as ground for the model of the
/// tests.
class TerrainGrid {
 public:
  using Real = SensorTruth::Real;
  /// West, north, and pixels of one size.
  struct Frame {
    double west, north, pixel;
    int width, height;
    /// About a place, 0.24 degrees wide, some 250 metres a pixel.
    static Frame About(double lon, double lat) { return {lon - 0.12, lat + 0.12, 0.0025, 96, 96}; }
    static Frame World() { return {-180.0, 90.0, 1.0, 360, 180}; }
  };

  TerrainGrid(const Frame& frame, const std::function<double(double lon, double lat)>& formula) : frame_(frame) {
    for (int j = 0; j < frame.height; ++j) {
      for (int i = 0; i < frame.width; ++i) {
        const double value = formula(frame.west + (i + 0.5) * frame.pixel, frame.north - (j + 0.5) * frame.pixel);
        samples_.push_back(static_cast<std::int16_t>(std::lround(value)));
      }
    }
  }

  /// A dataset of its own, which the receiver deletes.
  XRSFile* MakeFile(double nullValue = kNotSet) const {
    auto file = std::make_unique<XRSFile>();
    auto band = std::make_unique<ZRMBand2DMem>();
    band->SetSourceMemory(frame_.width, frame_.height, kSint16);
    std::memcpy(band->GetSourceMemory()->data, samples_.data(), samples_.size() * sizeof(std::int16_t));
    band->SetUpperLeft(frame_.west, frame_.north);
    band->SetPixelSize(frame_.pixel, frame_.pixel);
    band->SetCoordinateKind(kCoordinateWorld);
    band->GetSR()->SetWellKnownGeogCS("WGS84");
    band->SetNullValue(nullValue);
    file->AddBand(band.release());
    return file.release();
  }

  /// The sample of the pixel whose number is truncated; nothing outside.
  std::optional<int> At(Real lon, Real lat) const {
    const Real x = std::trunc((lon - frame_.west) / frame_.pixel), y = std::trunc((frame_.north - lat) / frame_.pixel);
    if (!(x >= 0 && x < frame_.width && y >= 0 && y < frame_.height)) return std::nullopt;
    return Sample(static_cast<int>(x), static_cast<int>(y));
  }
  /// Between the centres of four pixels. The place has to lie between such.
  Real Between(Real lon, Real lat) const {
    const Real x = (lon - frame_.west) / frame_.pixel - 0.5L, y = (frame_.north - lat) / frame_.pixel - 0.5L;
    const int i = static_cast<int>(std::floor(x)), j = static_cast<int>(std::floor(y));
    const Real u = x - i, v = y - j;
    return (Sample(i, j) * (1 - u) + Sample(i + 1, j) * u) * (1 - v) +
           (Sample(i, j + 1) * (1 - u) + Sample(i + 1, j + 1) * u) * v;
  }

 private:
  int Sample(int x, int y) const { return samples_.at(static_cast<std::size_t>(y * frame_.width + x)); }

  Frame frame_;
  std::vector<std::int16_t> samples_;
};
