// The raster is one run of samples, row by row from the top.
//
// Under the compatible policy samples are bytes. They are held in memory as a whole, and every level is answered at
// full size. A file may end before its raster does, because it was cut short or is of another size than it is taken
// for. Memory is spent only on the bytes that are there, and all pixels behind them are 0.
//
// Under the exact policy samples have the type and the byte order that the file tells. Rows are read from the open file
// as they are asked for, and those that the file lacks fail.

#include "ZRMBandHDF4.h"

#include "bands/hdf4/HdfContents.h"
#include "bands/hdf4/HdfWalk.h"
#include "base/Fence.h"
#include "base/ReadError.h"
#include "core/model/BandFrame.h"
#include "XDataType.h"
#include "Xepot.h"
#include "XFile.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <string>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandHDF4, ZRMBandDRIO);

namespace {

constexpr unsigned kHowToOpen = XFile::kRead | XFile::kShareDenyNone;

/// Turns the bytes of each sample around.
template <std::size_t kBytes>
void TurnBytes(unsigned char* samples, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i, samples += kBytes) std::reverse(samples, samples + kBytes);
}

void TurnBytes(tagXArr2& result) {
  const auto count = static_cast<std::size_t>(result.xSize) * static_cast<std::size_t>(result.ySize);
  if (result.elementSize == 2) TurnBytes<2>(result.data, count);
  if (result.elementSize == 4) TurnBytes<4>(result.data, count);
  if (result.elementSize == 8) TurnBytes<8>(result.data, count);
}

}  // namespace

struct ZRMBandHDF4::Impl final : Frame {
  Impl() {
    asksLevelData = false;
    decodesNoLevels = true;
  }

  int Open(const XString& path);
  int OpenExactly(const XString& path, XString& err);
  int ReadPixels(XString& err, const XString& path);
  std::int64_t CalcPosition(int x, int y) const { return std::int64_t{image.width} * y + x; }
  void CopyPixels(std::int64_t place, std::int64_t count, unsigned char* target) const;

  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  zrk::ChannelReads::Record* DecodeExactly(const zrk::ReadRequest& request);
  bool HoldsRows(const zrk::ReadRequest& request) const;
  bool ReadRows(const zrk::ReadRequest& request, tagXArr2& result) const;

  XFile file;
  zrk::HdfImage image;
  std::optional<zrk::HdfRaster> raster;     // under the exact policy
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
  raster.reset();
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
  if (IsExact()) return ReadFileExactly(path, err);
  if (Open(path)) return GetImpl().ReadPixels(err, path);
  err = "Can't open file : " + path;
  return 0;
}

int ZRMBandHDF4::ReadFileExactly(const XString& path, XString& err) {
  if (!zrk::Fenced(err, [&] { return GetImpl().OpenExactly(path, err); })) return 0;
  const zrk::HdfRaster& raster = *GetImpl().raster;
  SetSize(raster.width, raster.height);
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, raster.height - 1);
  SetDataType(raster.dataType);
  SetBandMin(raster.dataType == kPint08 ? 0.0 : kNotSet);
  SetBandMax(raster.dataType == kPint08 ? 255.0 : kNotSet);
  SetSR(XSpatialReference());
  return 1;
}

int ZRMBandHDF4::Impl::OpenExactly(const XString& path, XString& err) {
  pixels.reset();
  raster.reset();
  zrk::HdfRaster found;
  if (!file.Open(path, kHowToOpen)) {
    err = "Can't open file : " + path;
  } else if (!zrk::HasHdfMagic(file)) {
    err = "Not a valid HDF4 file";
  } else if (zrk::FindHdfRaster(file, found, err)) {
    raster = found;
    return 1;
  }
  file.Close();
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
  if (raster) return isInside && request.x1 < raster->width && request.y1 < raster->height;
  return pixels && isInside && request.x1 < image.width && request.y1 < image.height;
}

/// A window of whole rows is one run of bytes.
zrk::ChannelReads::Record* ZRMBandHDF4::Impl::Decode(const zrk::ReadRequest& request, const int*) {
  if (raster) return DecodeExactly(request);
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

zrk::ChannelReads::Record* ZRMBandHDF4::Impl::DecodeExactly(const zrk::ReadRequest& request) {
  if (!HoldsRows(request)) return nullptr;
  const int sampleBytes = XfnGetDataSize(raster->dataType);
  zrk::ChannelReads::Record* const record = reads.Begin(request, {1, request.Width(), request.Height(), sampleBytes});
  if (!record || !ReadRows(request, record->At(0))) return nullptr;
  if (!raster->isLittleEndian) TurnBytes(record->At(0));
  return record;
}

/// The last sample of the window has to lie in the raster and in the file.
bool ZRMBandHDF4::Impl::HoldsRows(const zrk::ReadRequest& request) const {
  const std::int64_t rowBytes = std::int64_t{raster->width} * XfnGetDataSize(raster->dataType);
  const std::int64_t lastBytes = (std::int64_t{request.x1} + 1) * XfnGetDataSize(raster->dataType);
  const std::int64_t held = std::min(raster->length, file.GetLength() - raster->offset);
  if (request.y1 * rowBytes + lastBytes <= held) return true;
  const std::int64_t numWhole = std::max<std::int64_t>(held - lastBytes + rowBytes, 0) / rowBytes;
  const std::string row = std::to_string(std::max<std::int64_t>(numWhole, request.y0));
  const char* const what = held == raster->length ? "The raster" : "The file";
  zrk::NoteReadError((what + (" ends before the image's row " + row)).c_str());
  return false;
}

bool ZRMBandHDF4::Impl::ReadRows(const zrk::ReadRequest& request, tagXArr2& result) const {
  const std::int64_t rowBytes = std::int64_t{raster->width} * result.elementSize;
  const std::int64_t wanted = std::int64_t{result.xSize} * result.elementSize;
  const std::int64_t first = raster->offset + request.y0 * rowBytes + std::int64_t{request.x0} * result.elementSize;
  bool isRead = true;
  if (wanted == rowBytes) {
    isRead = file.ReadAt(first, result.data, wanted * result.ySize) == wanted * result.ySize;
  } else {
    for (int y = 0; y < result.ySize && isRead; ++y) {
      isRead = file.ReadAt(first + y * rowBytes, result.Row(y), wanted) == wanted;
    }
  }
  if (!isRead) zrk::NoteReadError("The disk fails within the image");
  return isRead;
}
