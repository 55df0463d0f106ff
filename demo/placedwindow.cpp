// Opens a picture that lies somewhere on earth, tells where, and reads the part of it between two corners that are
// given in the world. Shows how world coordinates become a window of pixels. Uses the public interface only.

#include <ZRKio.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

/// A rectangle in the coordinates of the picture's own system.
struct Corners {
  double west, east, south, north;
};

void Describe(const ZRMBand& band) {
  double west = 0.0, east = 0.0, south = 0.0, north = 0.0;
  band.GetBoundRect(west, east, south, north);
  const XSpatialReference& system = *band.GetSR();
  std::printf("%d x %d pixels from %g to %g in x and from %g to %g in y\n", band.GetXSize(), band.GetYSize(), west,
              east, south, north);
  std::printf("system %s, EPSG:%d\n", system.GetName().GetText(), system.GetEPSG());
}

/// Finds the window of pixels between the corners. False where it is empty or not within the picture.
bool FindWindow(const ZRMBand& band, const Corners& corners, int& x0, int& x1, int& y0, int& y1) {
  band.ConvWorldToPixelCoord(corners.west, corners.north, x0, y0);
  band.ConvWorldToPixelCoord(corners.east, corners.south, x1, y1);
  // The second corner lies where the next pixel begins. The last pixel of the window is the one before it.
  --x1;
  --y1;
  return 0 <= x0 && x0 <= x1 && x1 < band.GetXSize() && 0 <= y0 && y0 <= y1 && y1 < band.GetYSize();
}

bool TellMeans(const XRSFile& picture, int x0, int x1, int y0, int y1) {
  std::printf("columns %d to %d, rows %d to %d; means:", x0, x1, y0, y1);
  for (int i = 0; i < picture.GetNumOfBands(); ++i) {
    tagXArr2* pixels = nullptr;  // belongs to the band
    if (!picture.GetBandAt(i)->ReadSubset(pixels, 0, x0, x1, y0, y1, nullptr)) return false;
    const std::int64_t count = std::int64_t{pixels->xSize} * pixels->ySize;
    std::int64_t sum = 0;
    for (std::int64_t p = 0; p < count; ++p) sum += pixels->data[p];
    std::printf(" %.1f", static_cast<double>(sum) / static_cast<double>(count));
  }
  std::printf("\n");
  return true;
}

}  // namespace

/// Sums are taken over bytes, and so pictures of other samples are refused.
int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "Usage: placedwindow FILE WEST EAST SOUTH NORTH\n");
    return 2;
  }
  const XString path = argv[1];
  const Corners corners = {std::atof(argv[2]), std::atof(argv[3]), std::atof(argv[4]), std::atof(argv[5])};
  XRSFile picture;
  XString err;
  const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path));
  if (!XRSFileIO::LoadFileRaster(&picture, id, path, err, 0, kLevelNone, nullptr)) {
    std::fprintf(stderr, "%s: %s\n", path.GetText(), err.GetText());
    return 1;
  }
  // All bands of a picture have the same georeference, and so the first speaks for them.
  const ZRMBand& first = *picture.GetBandAt(0);
  Describe(first);
  int x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  if (first.GetDataType() == kPint08 && FindWindow(first, corners, x0, x1, y0, y1) &&
      TellMeans(picture, x0, x1, y0, y1)) {
    return 0;
  }
  std::fprintf(stderr, "The corners don't give a window of bytes in this picture.\n");
  return 1;
}
