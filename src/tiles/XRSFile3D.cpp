#include "XRSFile3D.h"

namespace Vexorine::ZRL::IO {

XRSFile3D::XRSFile3D() = default;
XRSFile3D::XRSFile3D(const XRSFile3D&) = default;
XRSFile3D& XRSFile3D::operator=(const XRSFile3D&) = default;
XRSFile3D::~XRSFile3D() = default;

bool XRSFile3D::OpenFile(XString, unsigned) {
  return false;
}

bool XRSFile3D::Close() {
  return false;
}

void XRSFile3D::SetVirtualTileGrid(double originX, double originY, double stepX, double stepY, int width, int height) {
  grid_ = {originX, originY, stepX, stepY, width, height};
}

bool XRSFile3D::GetTileRange(int, int&, int&, int&, int&) const {
  return false;
}

int XRSFile3D::GetNumTiles(int, int&, int&) const {
  return -1;
}

double XRSFile3D::GetMaxX() const {
  return minX_ + (xSize_ - 1.0) * pixelSizeX_;
}

double XRSFile3D::GetMaxY() const {
  return minY_ + (ySize_ - 1.0) * pixelSizeY_;
}

void XRSFile3D::PixelToWorld(double& x, double& y) const {
  PixelToWorld(x, y, x, y);
}

void XRSFile3D::PixelToWorld(double pixelX, double pixelY, double& worldX, double& worldY) const {
  worldX = grid_.originX + grid_.stepX * pixelX;
  worldY = grid_.originY + grid_.stepY * pixelY;
}

void XRSFile3D::WorldToPixel(double& x, double& y) const {
  WorldToPixel(x, y, x, y);
}

void XRSFile3D::WorldToPixel(double worldX, double worldY, double& pixelX, double& pixelY) const {
  pixelX = (worldX - grid_.originX) / grid_.stepX;
  pixelY = (worldY - grid_.originY) / grid_.stepY;
}

void XRSFile3D::SetSize(int xSize, int ySize) {
  xSize_ = xSize;
  ySize_ = ySize;
}

void XRSFile3D::SetSamples(int numBands, int dataType, int pixelFormat) {
  numBands_ = numBands;
  dataType_ = dataType;
  pixelFormat_ = pixelFormat;
}

void XRSFile3D::SetMin(double minX, double minY) {
  minX_ = minX;
  minY_ = minY;
}

void XRSFile3D::SetPixelSize(double pixelSizeX, double pixelSizeY) {
  pixelSizeX_ = pixelSizeX;
  pixelSizeY_ = pixelSizeY;
}

}  // namespace Vexorine::ZRL::IO
