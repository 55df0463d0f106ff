#pragma once

#include "tagVirtualTileGrid.h"
#include "XExport.h"
#include "XString.h"

namespace Vexorine::ZRL::IO {

/// What files of tiles for a viewer in three dimensions have in common: a place and a shape, and a grid of tiles over
/// the world. All numbers are 0 until a derived class sets them. One thread at a time changes an object.
class ZRKIO_API XRSFile3D {
 public:
  XRSFile3D();
  XRSFile3D(const XRSFile3D&);
  XRSFile3D& operator=(const XRSFile3D&);
  virtual ~XRSFile3D();

  /// Opens and closes a file; false here, because the base has no file.
  virtual bool OpenFile(XString path, unsigned mode);
  virtual bool Close();
  /// Sets the grid, field by field.
  virtual void SetVirtualTileGrid(double originX, double originY, double stepX, double stepY, int width, int height);
  /// The range of tiles of a level, by its place in the file; false here.
  virtual bool GetTileRange(int levelIndex, int& llCol, int& urCol, int& llRow, int& urRow) const;
  /// The number of tiles of a level, by its place in the file; -1 here. The two references are left alone.
  virtual int GetNumTiles(int levelIndex, int& numColumns, int& numRows) const;

  /// The grid as a record.
  void SetVirtualTileGrid(const tagVirtualTileGrid& grid) { grid_ = grid; }
  tagVirtualTileGrid GetVirtualTileGrid() const { return grid_; }

  /// The shape: pixels across and down, bands, the type of a sample (XDataType.h), and the format of a pixel
  /// (XPixelFormat.h).
  int GetXSize() const { return xSize_; }
  int GetYSize() const { return ySize_; }
  int GetNumBands() const { return numBands_; }
  int GetDataType() const { return dataType_; }
  int GetPixelFormat() const { return pixelFormat_; }
  /// The place of the first pixel, and the distance of two pixels, in world units.
  double GetMinX() const { return minX_; }
  double GetMinY() const { return minY_; }
  double GetPixelSizeX() const { return pixelSizeX_; }
  double GetPixelSizeY() const { return pixelSizeY_; }
  /// The place of the last pixel: minimum + (size - 1) * pixel size.
  double GetMaxX() const;
  double GetMaxY() const;

  /// Numbers that are kept for callers. Nothing here looks at them.
  int GetCuttingFunc() const { return cuttingFunc_; }
  void SetCuttingFunc(int function) { cuttingFunc_ = function; }
  int GetStretchFunc() const { return stretchFunc_; }
  void SetStretchFunc(int function) { stretchFunc_ = function; }

  /// Between pixels of the grid and the world: world = origin + step * pixel on each axis, without a shift by half a
  /// pixel. A step of 0 has no way back, and gives what is not finite.
  void PixelToWorld(double& x, double& y) const;
  void PixelToWorld(double pixelX, double pixelY, double& worldX, double& worldY) const;
  void WorldToPixel(double& x, double& y) const;
  void WorldToPixel(double worldX, double worldY, double& pixelX, double& pixelY) const;

 protected:
  unsigned GetOpenMode() const { return openMode_; }
  void SetOpenMode(unsigned mode) { openMode_ = mode; }
  void SetSize(int xSize, int ySize);
  void SetSamples(int numBands, int dataType, int pixelFormat);
  void SetMin(double minX, double minY);
  void SetPixelSize(double pixelSizeX, double pixelSizeY);

 private:
  unsigned openMode_ = 0;
  int xSize_ = 0;
  int ySize_ = 0;
  int numBands_ = 0;
  int dataType_ = 0;
  int pixelFormat_ = 0;
  double minX_ = 0.0;
  double minY_ = 0.0;
  double pixelSizeX_ = 0.0;
  double pixelSizeY_ = 0.0;
  int cuttingFunc_ = 0;
  int stretchFunc_ = 0;
  tagVirtualTileGrid grid_;
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XRSFile3D;
