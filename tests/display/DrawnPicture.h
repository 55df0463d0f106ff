#pragma once

#include "MemoryBand.h"
#include "XSpatialReference.h"
#include "ZRMBandResize.h"
#include "ZRMComposite.h"

#include <memory>
#include <vector>

/// A band in memory with its place in the world.
struct PlacedBand : MemoryBand {
  template <class Sample>
  PlacedBand& Set(int width, int height, const std::vector<Sample>& samples) {
    SetSamples(width, height, samples);
    return Place(0.0, height, 1.0);
  }
  PlacedBand& Place(double ulx, double uly, double pixelSize) {
    SetUpperLeft(ulx, uly);
    SetPixelSize(pixelSize, pixelSize);
    SetCoordinateKind(kCoordinateWorld);
    return *this;
  }
  PlacedBand& In(int epsg) {
    GetSR()->importFromEPSG(epsg);
    return *this;
  }
};

/// A buffer over an extent of the world, cleared to a colour.
struct Picture {
  Picture(int width, int height, double ulx, double uly, double pixelSize, XColour colour = 0) {
    buffer.Create(nullptr, kBackBufferInMemory);
    buffer.Resize(nullptr, width, height);
    buffer.SetWorldPerPixel(pixelSize, pixelSize);
    buffer.SetWorldToCenter(ulx + 0.5 * width * pixelSize, uly - 0.5 * height * pixelSize);
    buffer.Clear(colour, nullptr);
  }
  Picture& In(int epsg) {
    XSpatialReference sr;
    sr.importFromEPSG(epsg);
    buffer.SetSR(sr);
    return *this;
  }

  /// Draws over the whole picture.
  int Draw(ZRMComposite& composite, int method = kResampleNearest, int* cancel = nullptr) {
    double west = 0, east = 0, south = 0, north = 0;
    buffer.GetWorldRange(west, east, south, north);
    return composite.Draw(&buffer, west, south, east, north, method, nullptr, cancel);
  }
  /// A pixel as a colour, row 0 at the top.
  XColour At(int x, int y) const {
    const unsigned char* const pixel = buffer.GetPixels() + ((buffer.GetHeight() - 1 - y) * buffer.GetWidth() + x) * 3;
    return static_cast<XColour>(pixel[2] | pixel[1] << 8 | pixel[0] << 16);
  }
  /// The red of all pixels, row by row from the top.
  std::vector<int> Reds() const {
    std::vector<int> reds;
    for (int y = 0; y < buffer.GetHeight(); ++y) {
      for (int x = 0; x < buffer.GetWidth(); ++x) reds.push_back(static_cast<int>(At(x, y) & 255));
    }
    return reds;
  }

  XBackBuffer buffer;
};

/// What a composite of one band gives in a picture on the band's own pixels, over red 99.
inline std::vector<int> DrawnOver99(ZRMComposite& composite) {
  const ZRMBand& band = *composite.GetBand(0);
  Picture picture(band.GetXSize(), band.GetYSize(), band.GetULX(), band.GetULY(), band.GetXPixelSize(), 99);
  picture.Draw(composite);
  return picture.Reds();
}
