#include "XRSFile3D.h"

#include <gtest/gtest.h>

namespace {

/// A file with a place and a shape, which derived classes set.
class PlacedFile : public XRSFile3D {
 public:
  PlacedFile() {
    SetSize(11, 21);
    SetSamples(3, 1, 2);
    SetMin(100.0, 200.0);
    SetPixelSize(0.5, 0.25);
  }
};

}  // namespace

TEST(RSFile3D, IsEmptyAndHasNoFile) {
  XRSFile3D file;
  int a = 7, b = 7, c = 7, d = 7;
  EXPECT_FALSE(file.OpenFile("any", 0));
  EXPECT_FALSE(file.Close());
  EXPECT_FALSE(file.GetTileRange(0, a, b, c, d));
  EXPECT_EQ(-1, file.GetNumTiles(0, a, b));
  EXPECT_EQ(28, a + b + c + d);
  EXPECT_EQ(0, file.GetXSize());
  EXPECT_EQ(0.0, file.GetPixelSizeX());
}

TEST(RSFile3D, TellsItsShape) {
  const PlacedFile file;
  EXPECT_EQ(11, file.GetXSize());
  EXPECT_EQ(21, file.GetYSize());
  EXPECT_EQ(3, file.GetNumBands());
  EXPECT_EQ(1, file.GetDataType());
  EXPECT_EQ(2, file.GetPixelFormat());
}

TEST(RSFile3D, EndsAtItsLastPixel) {
  const PlacedFile file;
  EXPECT_EQ(100.0, file.GetMinX());
  EXPECT_EQ(200.0, file.GetMinY());
  EXPECT_EQ(105.0, file.GetMaxX());  // 100 + 10 * 0.5
  EXPECT_EQ(205.0, file.GetMaxY());  // 200 + 20 * 0.25
}

TEST(RSFile3D, KeepsNumbersForCallers) {
  XRSFile3D file;
  file.SetCuttingFunc(3);
  file.SetStretchFunc(4);
  EXPECT_EQ(3, file.GetCuttingFunc());
  EXPECT_EQ(4, file.GetStretchFunc());
}

TEST(RSFile3D, HasOneGridHoweverItIsSet) {
  XRSFile3D file;
  file.SetVirtualTileGrid(1.0, 2.0, 3.0, 4.0, 5, 6);
  tagVirtualTileGrid grid = file.GetVirtualTileGrid();
  EXPECT_EQ(1.0, grid.originX);
  EXPECT_EQ(2.0, grid.originY);
  EXPECT_EQ(3.0, grid.stepX);
  EXPECT_EQ(4.0, grid.stepY);
  EXPECT_EQ(5, grid.width);
  EXPECT_EQ(6, grid.height);
  grid.originX = -1.0;
  file.SetVirtualTileGrid(grid);
  EXPECT_EQ(-1.0, file.GetVirtualTileGrid().originX);
}

TEST(RSFile3D, GoesFromPixelsToTheWorldWithoutAShift) {
  XRSFile3D file;
  file.SetVirtualTileGrid(-180.0, -90.0, 0.5, 0.25, 0, 0);
  double x = 10.0, y = 4.0;
  file.PixelToWorld(x, y);
  EXPECT_EQ(-175.0, x);
  EXPECT_EQ(-89.0, y);
  file.WorldToPixel(x, y);
  EXPECT_EQ(10.0, x);
  EXPECT_EQ(4.0, y);
  file.PixelToWorld(0.0, 0.0, x, y);
  EXPECT_EQ(-180.0, x);
  EXPECT_EQ(-90.0, y);
  file.WorldToPixel(-179.75, -89.0, x, y);
  EXPECT_EQ(0.5, x);
  EXPECT_EQ(4.0, y);
}
