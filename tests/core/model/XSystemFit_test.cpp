#include "XSystemFit.h"

#include "MemoryBand.h"
#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

class SystemFit : public testing::Test {
 protected:
  SystemFit() {
    degrees_.importFromEPSG(4326);
    metres_.importFromEPSG(32633);
  }
  /// The answer for a band of 10 x 10 pixels whose corner and pixel size are these.
  int Fits(double x, double y, double pixelSize, const XSpatialReference& sr, int kind = kCoordinateWorld) {
    MemoryBand band;
    band.SetSize(10, 10);
    band.SetUpperLeft(x, y);
    band.SetPixelSize(pixelSize, pixelSize);
    band.SetCoordinateKind(kind);
    err_.Empty();
    return XfnCanBePlacedIn(band, sr, err_);
  }
  XSpatialReference degrees_, metres_;
  XString err_;
};

TEST_F(SystemFit, TakesDegreesOfTheWholeEarth) {
  EXPECT_EQ(1, Fits(-180.0, 90.0, 18.0, degrees_));
  EXPECT_EQ(1, Fits(190.0, 90.0, 17.0, degrees_));
  EXPECT_EQ(1, Fits(-181.0, 91.0, 18.2, degrees_));
  EXPECT_EQ(XString(""), err_);
}

TEST_F(SystemFit, RefusesMetresAsDegrees) {
  EXPECT_EQ(0, Fits(300000.0, 4000000.0, 30.0, degrees_));
  EXPECT_EQ(XString("the coordinates of the image, 300000 to 300300 and 3999700 to 4000000, can't be degrees"), err_);
  EXPECT_EQ(0, Fits(0.0, 500.0, 1.0, degrees_));
  EXPECT_EQ(0, Fits(-500.0, 10.0, 1.0, degrees_));
}

TEST_F(SystemFit, TakesForLengthsWhatMayBeSome) {
  EXPECT_EQ(1, Fits(300000.0, 4000000.0, 30.0, metres_));
  EXPECT_EQ(1, Fits(-180.0, 90.0, 18.0, metres_));
  EXPECT_EQ(0, Fits(1e13, 0.0, 1.0, metres_));
}

TEST_F(SystemFit, RefusesPlacesThatAreNoNumbers) {
  EXPECT_EQ(0, Fits(std::numeric_limits<double>::quiet_NaN(), 0.0, 1.0, metres_));
  EXPECT_EQ(0, Fits(0.0, std::numeric_limits<double>::infinity(), 1.0, degrees_));
}

TEST_F(SystemFit, TakesABandWithoutAPlaceAndAnEmptySystem) {
  EXPECT_EQ(1, Fits(0.0, 5000.0, 1.0, degrees_, kCoordinatePixel));
  EXPECT_EQ(1, Fits(0.0, 5000.0, 1.0, XSpatialReference()));
}

}  // namespace
