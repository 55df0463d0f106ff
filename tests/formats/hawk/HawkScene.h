#pragma once

#include "HawkBuilder.h"
#include "TempFolder.h"
#include "XReadPolicy.h"
#include "ZRMBandHawk.h"

#include <gtest/gtest.h>

#include <string>

/// A sensor without images over a ground of the test's own.
class HawkScene {
 public:
  explicit HawkScene(const HawkBuilder& builder, XReadPolicy policy = kReadCompatible) {
    folder_.Write("x.XML", builder.Build());
    band_.SetReadPolicy(policy);
    band_.SetDemFile(nullptr);
    band_.SetGeoidFile(nullptr);
    XString err;
    EXPECT_TRUE(band_.LoadHawkXML(folder_.Path("x.XML"), err)) << err;
    band_.CalcSplineCoeffs();
  }
  HawkScene& Ground(const HeightGrid& heights) {
    EXPECT_TRUE(band_.SetDemFile(heights.Make()));
    return *this;
  }
  HawkScene& Geoid(const HeightGrid& centimetres) {
    EXPECT_TRUE(band_.SetGeoidFile(centimetres.Make()));
    return *this;
  }

  struct Place {
    double lon = 0.0, lat = 0.0, height = 0.0;
    bool isFound = false;
  };
  Place GroundOf(double column, double line) {
    Place place;
    place.isFound = band_.FindGroundOfPixel(column, line, place.lon, place.lat, place.height) != 0;
    return place;
  }
  /// Why a pixel shows no ground; empty where it shows some.
  std::string Failure(double column, double line) {
    if (GroundOf(column, line).isFound) return {};
    XString reason;
    return XfnGetLastReadError(reason) ? reason.AsStdString() : "no reason";
  }
  ZRMBandHawk& Band() { return band_; }

 private:
  TempFolder folder_;
  ZRMBandHawk band_;
};

/// Ground of one height around longitude 0 on the equator, a degree each way.
inline HeightGrid FlatGround(int height) {
  return {-1.0, 1.0, 0.01, 200, 200, [height](int, int) { return static_cast<std::int16_t>(height); }};
}
