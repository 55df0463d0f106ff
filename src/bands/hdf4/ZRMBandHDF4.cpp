// The raster is one run of bytes, row by row from the top. It is held in memory as a whole, and every level is answered
// at full size. A file may end before its raster does, because it was cut short or is of another size than it is taken
// for. Memory is spent only on the bytes that are there, and all pixels behind them are 0.

#include "ZRMBandHDF4.h"

#include "bands/hdf4/HdfWalk.h"
#include "base/Fence.h"
#include "core/model/BandFrame.h"
#include "Xepot.h"
#include "XFile.h"

#include <algorithm>
#include <new>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandHDF4, ZRMBandDRIO);

namespace {

constexpr unsigned kHowToOpen = XFile::kRead | XFile::kShareDenyNone;

}  // namespace

struct ZRMBandHDF4::Impl final : Frame {
  Impl() { asksLevelData = false; }

  int Open(const XString& path);
  int ReadPixels(XString& err, const XString& path);
  std::int64_t CalcPosition(int x, int y) const { return std::int64_t{image.width} * y + x; }
  void CopyPixels(std::int64_t place, std::int64_t count, unsigned char* target) const;

  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;

  XFile file;
  zrk::HdfImage image;
  std::unique_ptr<unsigned char[]> pixels;  // as many of the raster's as the file has
  std::int64_t numPixels = 0;
};

ZRMBandHDF4::ZRMBandHDF4() : ZRMBandFile(std::make_unique<Impl>()) {
  SetByteRange();
}

ZRMBandHDF4::~ZRMBandHDF4() = default;

ZRMBandHDF4::Impl& ZRMBandHDF4::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandHDF4::IsValidFormat(XString path) {
  XFile file;
  return file.Open(path, kHowToOpen) && zrk::HasHdfMagic(file);
}

int ZRMBandHDF4::Open(XString path) {
  const Impl& impl = GetImpl();
  if (!GetImpl().Open(path)) return 0;
  SetSize(impl.image.width, impl.image.height);
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, impl.image.height - 1);
  SetDataType(kPint08);
  SetSR(XSpatialReference());
  return 1;
}

int ZRMBandHDF4::Impl::Open(const XString& path) {
  pixels.reset();
  numPixels = 0;
  zrk::HdfImage found;
  const int isFound = zrk::FencedRead(
      [&] { return file.Open(path, kHowToOpen) && zrk::HasHdfMagic(file) && zrk::FindHdfImage(file, found); });
  if (!isFound) {
    file.Close();
    return 0;
  }
  image = found;
  return 1;
}

int ZRMBandHDF4::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  if (Open(path)) return GetImpl().ReadPixels(err, path);
  err = "Can't open file : " + path;
  return 0;
}

int ZRMBandHDF4::Impl::ReadPixels(XString& err, const XString& path) {
  const std::int64_t numWanted = CalcPosition(0, image.height);
  const std::int64_t length = file.GetLength();
  const std::int64_t numBytes = std::clamp<std::int64_t>(length - image.rasterOffset, 0, numWanted);
  std::unique_ptr<unsigned char[]> fresh(new (std::nothrow) unsigned char[static_cast<std::size_t>(numBytes)]);
  if (!fresh) {
    err = "Fail to allocate memory";
    return 0;
  }
  // A disk that fails is told now, and not by reads that fail later.
  const bool isRead = length >= 0 && file.ReadAt(image.rasterOffset, fresh.get(), numBytes) == numBytes;
  file.Close();
  if (!isRead) {
    err = "Can't open file : " + path;
    return 0;
  }
  pixels = std::move(fresh);
  numPixels = numBytes;
  return 1;
}

/// Levels are counted as in a store with tiles of this size.
int ZRMBandHDF4::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  constexpr int kTileSize = 256;
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), kTileSize, kTileSize, x0, x1, y0, y1,
                                         width, height);
}

/// Copies `count` bytes from a place of the raster on, and zeros for those that the file does not have.
void ZRMBandHDF4::Impl::CopyPixels(std::int64_t place, std::int64_t count, unsigned char* target) const {
  const std::int64_t held = std::clamp<std::int64_t>(numPixels - place, 0, count);
  std::copy_n(pixels.get() + std::min(place, numPixels), held, target);
  std::fill_n(target + held, count - held, static_cast<unsigned char>(0));
}

/// The band's size can be set to another than the raster's, which is the one that bounds the pixels.
bool ZRMBandHDF4::Impl::Accepts(const zrk::ReadRequest& request, bool isInside, const int*) const {
  return pixels && isInside && request.x1 < image.width && request.y1 < image.height;
}

/// A window of whole rows is one run of bytes.
zrk::ChannelReads::Record* ZRMBandHDF4::Impl::Decode(const zrk::ReadRequest& request, const int*) {
  const int width = request.Width(), height = request.Height();
  zrk::ChannelReads::Record* const record = reads.Begin(request, {1, width, height});
  if (!record) return nullptr;
  tagXArr2& result = record->At(0);
  if (width == image.width) {
    CopyPixels(CalcPosition(0, request.y0), std::int64_t{width} * height, result.data);
  } else {
    for (int y = 0; y < height; ++y) CopyPixels(CalcPosition(request.x0, request.y0 + y), width, result.Row(y));
  }
  return record;
}
