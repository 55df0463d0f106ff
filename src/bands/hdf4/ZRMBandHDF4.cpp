// The raster is one run of bytes, row by row from the top. A file may end before its raster does, be it cut short or of
// another size than it is taken for. Memory is spent on what is there only, and all behind it is 0.

#include "ZRMBandHDF4.h"

#include "bands/hdf4/HdfWalk.h"
#include "base/Fence.h"
#include "Xepot.h"

#include <algorithm>
#include <new>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandHDF4, ZRMBandDRIO);

namespace {

constexpr unsigned kHowToOpen = XFile::kRead | XFile::kShareDenyNone;

}  // namespace

ZRMBandHDF4::ZRMBandHDF4() {
  SetDataType(kPint08);
  SetBandMin(0.0);
  SetBandMax(255.0);
}

ZRMBandHDF4::~ZRMBandHDF4() = default;

int ZRMBandHDF4::IsValidFormat(XString path) {
  XFile file;
  return file.Open(path, kHowToOpen) && zrk::HasHdfMagic(file);
}

int ZRMBandHDF4::Open(XString path) {
  pixels_.reset();
  numPixels_ = 0;
  zrk::HdfImage image;
  const int isFound = zrk::FencedRead(
      [&] { return file_.Open(path, kHowToOpen) && zrk::HasHdfMagic(file_) && zrk::FindHdfImage(file_, image); });
  if (!isFound) {
    file_.Close();
    return 0;
  }
  rasterOffset_ = image.rasterOffset;
  rasterWidth_ = image.width;
  rasterHeight_ = image.height;
  SetSize(image.width, image.height);
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, image.height - 1);
  SetDataType(kPint08);
  SetSR(XSpatialReference());
  return 1;
}

int ZRMBandHDF4::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  if (!Open(path)) {
    err = "Can't open file : " + path;
    return 0;
  }
  const std::int64_t numWanted = CalcPosition(0, rasterHeight_);
  const std::int64_t length = file_.GetLength();
  const std::int64_t numBytes = std::clamp<std::int64_t>(length - rasterOffset_, 0, numWanted);
  std::unique_ptr<unsigned char[]> pixels(new (std::nothrow) unsigned char[static_cast<std::size_t>(numBytes)]);
  if (!pixels) {
    err = "Fail to allocate memory";
    return 0;
  }
  // A disk that fails is told now, and not by reads that fail later.
  const bool isRead = length >= 0 && file_.ReadAt(rasterOffset_, pixels.get(), numBytes) == numBytes;
  file_.Close();
  if (!isRead) {
    err = "Can't open file : " + path;
    return 0;
  }
  pixels_ = std::move(pixels);
  numPixels_ = numBytes;
  return 1;
}

int ZRMBandHDF4::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  constexpr int kTileSize = 256;  // whatever the band's is
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), kTileSize, kTileSize, x0, x1, y0, y1,
                                         width, height);
}

/// Copies `count` bytes from a place of the raster on, and zeros for those that the file does not have.
void ZRMBandHDF4::CopyPixels(std::int64_t place, std::int64_t count, unsigned char* target) const {
  const std::int64_t held = std::clamp<std::int64_t>(numPixels_ - place, 0, count);
  std::copy_n(pixels_.get() + std::min(place, numPixels_), held, target);
  std::fill_n(target + held, count - held, static_cast<unsigned char>(0));
}

/// A window of whole rows is one run of bytes. The band's size can be set to another than the raster's, which is the
/// one that bounds the pixels.
int ZRMBandHDF4::ReadSubset(tagXArr2*& out, int, int x0, int x1, int y0, int y1, int*) {
  if (!pixels_ || !IsInside(x0, x1, y0, y1) || x1 >= rasterWidth_ || y1 >= rasterHeight_) return 0;
  const int width = x1 - x0 + 1;
  const int height = y1 - y0 + 1;
  tagXArr2* const result = results_.GetBuffer(width, height, 1);
  if (!result) return 0;
  if (width == rasterWidth_) {
    CopyPixels(CalcPosition(x0, y0), std::int64_t{width} * height, result->data);
  } else {
    for (int y = 0; y < height; ++y) CopyPixels(CalcPosition(x0, y0 + y), width, result->Row(y));
  }
  out = result;
  CleanupMemory(0, 0);
  return 1;
}

int ZRMBandHDF4::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandHDF4::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) results_.FreeCurrentThreadsBuffer();
  return 1;
}

int ZRMBandHDF4::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}
