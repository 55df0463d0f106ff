// L0 files. Both kinds are plans of tiles that are made one after the other, each in one buffer, and written straight
// to their offsets. What can't be, such as a tile of more bytes than a buffer has, is found before the file is made.

#include "XExportL0.h"

#include "base/Checked.h"
#include "base/Fence.h"
#include "display/DrawManager.h"
#include "display/HeightMosaic.h"
#include "math/Interleave.h"
#include "writers/MapExport.h"
#include "XFile.h"
#include "XReadPolicy.h"
#include "XSystem.h"
#include "XThread.h"
#include "ZRMBandResize.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr int kMinTileSize = 64;
constexpr int kPlanes = 3;
constexpr char kNoTileMemory[] = "Fail to allocate L0 data memory";

/// The arguments of an export.
struct L0Request {
  XString path;
  const ZRMCompManager* manager;
  double xPixelSize;
  double yPixelSize;
  zrk::Extent bounds;
  int tileSize;
  XThread* thread;
};

/// The whole pixels along a side; 0 where there is none, or more than an image has. What lacks less than a millionth of
/// a pixel is whole in the exact policy.
int CountWholePixels(double extent, double pixelSize) {
  const double almost = XfnGetDefaultReadPolicy() == kReadExact ? 1e-6 : 0.0;
  const double count = std::floor(extent / pixelSize + almost);
  return pixelSize > 0.0 && count >= 1.0 && count <= INT_MAX ? static_cast<int>(count) : 0;
}

/// The tiles of an image.
struct L0Tiles {
  int width = 0;
  int height = 0;
  int size = 0;  ///< of a tile's side
  std::int64_t columns = 0;
  std::int64_t rows = 0;

  explicit L0Tiles(const L0Request& request)
      : width(CountWholePixels(request.bounds.maxX - request.bounds.minX, request.xPixelSize)),
        height(CountWholePixels(request.bounds.maxY - request.bounds.minY, request.yPixelSize)),
        size(std::max(request.tileSize, kMinTileSize)),
        columns((std::int64_t{width} + size - 1) / size),
        rows((std::int64_t{height} + size - 1) / size) {}

  bool HasPixels() const { return width > 0 && height > 0; }
  std::int64_t Count() const { return columns * rows; }
  std::int64_t Pixels() const { return std::int64_t{size} * size; }
  /// Whether a buffer holds a tile and offsets reach to the end of a file of so many bytes a pixel. `fileBytes` is that
  /// end.
  bool Fit(int bytesPerPixel, std::int64_t& fileBytes) const {
    if (Pixels() > INT_MAX / bytesPerPixel) return false;
    const auto total = zrk::CheckedMultiply(Pixels() * bytesPerPixel, Count());
    fileBytes = total.value_or(0);
    return total.has_value();
  }
};

/// One export, whose kind the derived classes tell: a plan, a file, tiles, the report.
class L0Export {
 public:
  L0Export(const L0Request& request, XString& err) : request_(request), err_(err), tiles_(request) {}
  virtual ~L0Export() = default;
  int Run();

 protected:
  /// Whether all that the tiles need is there. False with the sentence.
  virtual bool Prepare() = 0;
  virtual bool MakeTile(std::int64_t tile) = 0;
  virtual bool WriteTile(std::int64_t tile) = 0;
  /// The last two lines of the report.
  virtual XString DescribeSamples() const = 0;
  virtual const char* GetFileFailure() const = 0;

  bool Fail(const char* sentence) {
    err_ = sentence;
    return false;
  }
  bool HasRoom(int bytesPerPixel);
  int* Cancel() const { return request_.thread ? request_.thread->GetStatePtr() : nullptr; }

  const L0Request& request_;
  XString& err_;
  L0Tiles tiles_;
  XFile file_;

 private:
  bool WriteTiles();
  bool WriteReport();
};

/// A file that the disk has no room for is refused before it is begun.
bool L0Export::HasRoom(int bytesPerPixel) {
  std::int64_t fileBytes = 0;
  if (!tiles_.Fit(bytesPerPixel, fileBytes)) return Fail(kNoTileMemory);
  return XfnIsDiskSpaceEnough(request_.path, fileBytes) || Fail("The disk has no room for the L0 file");
}

/// What was begun of the file goes where the export fails or is stopped.
int L0Export::Run() {
  err_.Empty();
  if (!zrk::ShowsMap(*request_.manager, err_) || !Prepare()) return 0;
  if (!file_.Open(request_.path, XFile::kReadWrite | XFile::kCreate)) {
    err_ = GetFileFailure();
    return 0;
  }
  if (WriteTiles() && WriteReport()) return 1;
  file_.Close();
  XFile::Remove(request_.path);
  return 0;
}

/// What goes wrong in a tile leaves it zero, unless the policy is exact.
bool L0Export::WriteTiles() {
  const bool isExact = XfnGetDefaultReadPolicy() == kReadExact;
  for (std::int64_t tile = 0; tile < tiles_.Count(); ++tile) {
    if (!zrk::Continue(request_.thread, tile, tiles_.Count())) return false;
    XfnForgetLastReadError();
    const bool isMade = MakeTile(tile);
    if (XfnIsStopRequested(Cancel())) return false;
    if (!isMade && isExact) {
      err_ = zrk::WhyNotDrawn("The pixels can't be read");
      return false;
    }
    if (!WriteTile(tile) && isExact) return Fail("The L0 file can't be written");
  }
  return true;
}

/// Lines end as they do on the systems of the programs that read them.
bool L0Export::WriteReport() {
  XString wkt;
  request_.manager->GetSR()->exportToWkt(wkt);
  const auto pair = [](double a, double b) { return zrk::FormatPlaces(a) + ", " + zrk::FormatPlaces(b) + "\r\n"; };
  XString sizes;
  sizes.Format("Image Size : %d, %d\r\nTileSize : %d\r\n", tiles_.width, tiles_.height, tiles_.size);
  const XString text = "ProjectionWKT : " + wkt + "\r\n" + sizes +
                       "PixelSize : " + pair(request_.xPixelSize, request_.yPixelSize) +
                       "Bound LLX : " + pair(request_.bounds.minX, request_.bounds.minY) +
                       "Bound URX : " + pair(request_.bounds.maxX, request_.bounds.maxY) + DescribeSamples();
  const bool isWritten = zrk::WriteNewFile(request_.path + ".info", text.GetText(), text.GetLength());
  return isWritten || XfnGetDefaultReadPolicy() != kReadExact || Fail("The report of the L0 file can't be written");
}

/// Pictures of tiles, in three planes.
class L0Image : public L0Export {
 public:
  L0Image(const L0Request& request, XColour backColour, XString& err)
      : L0Export(request, err), backColour_(backColour) {}

 private:
  bool Prepare() override;
  bool MakeTile(std::int64_t tile) override;
  bool WriteTile(std::int64_t tile) override;
  XString DescribeSamples() const override { return "DataType : PINT08\r\nNum Layer : 3"; }
  const char* GetFileFailure() const override { return "Fail to create output L0 File"; }
  double SouthOf(std::int64_t row) const;

  XColour backColour_;
  XBackBuffer buffer_;
  std::vector<unsigned char> pixels_;
  std::vector<unsigned char> planes_;
};

/// In the compatible policy the buffer has the size that was asked for, also where tiles are larger.
bool L0Image::Prepare() {
  if (!tiles_.HasPixels()) return Fail(kNoTileMemory);
  if (!HasRoom(kPlanes)) return false;
  if (!buffer_.Create(nullptr, kBackBufferInMemory)) return Fail("Fail to create backbuffer for exporting L0 Data");
  const int size = XfnGetDefaultReadPolicy() == kReadExact ? tiles_.size : request_.tileSize;
  if (!buffer_.Resize(nullptr, size, size)) return Fail("Fail to resize backbuffer for exporting L0 Data");
  buffer_.SetBackColor(backColour_, 1.0);
  buffer_.SetWorldPerPixel(request_.xPixelSize, request_.yPixelSize);
  buffer_.SetSR(*request_.manager->GetSR());
  const auto numBytes = static_cast<std::size_t>(tiles_.Pixels() * kPlanes);
  try {
    pixels_.resize(numBytes);
    planes_.resize(numBytes);
  } catch (const std::bad_alloc&) {
    return Fail(kNoTileMemory);
  }
  return true;
}

/// In the compatible policy the upper edge of a tile stands where its lower edge belongs: tiles lie one too far south.
double L0Image::SouthOf(std::int64_t row) const {
  const double tileHeight = tiles_.size * request_.yPixelSize;
  if (XfnGetDefaultReadPolicy() == kReadExact) return request_.bounds.minY + static_cast<double>(row) * tileHeight;
  const double y = tiles_.height - static_cast<double>(row) * tiles_.size;
  return request_.bounds.maxY - y * request_.yPixelSize - tileHeight;
}

/// Tiles at the rim reach beyond the bounds and show what lies there.
bool L0Image::MakeTile(std::int64_t tile) {
  zrk::Extent extent;
  const double width = tiles_.size * request_.xPixelSize, height = tiles_.size * request_.yPixelSize;
  extent.minX = request_.bounds.minX + static_cast<double>(tile % tiles_.columns) * width;
  extent.maxX = extent.minX + width;
  extent.minY = SouthOf(tile / tiles_.columns);
  extent.maxY = extent.minY + height;
  buffer_.SetWorldToCenter(extent.minX + 0.5 * width, extent.minY + 0.5 * height);
  buffer_.Clear(kSetBackColour, nullptr);
  const int drawn = zrk::DrawManager(*request_.manager, buffer_, extent, kResampleMean, Cancel());
  buffer_.ReadDIB24(tiles_.size, tiles_.size, std::int64_t{tiles_.size} * kPlanes, pixels_.data());
  return drawn != kDrawFailed;
}

/// A tile has its place in each of the three planes.
bool L0Image::WriteTile(std::int64_t tile) {
  const std::int64_t tileBytes = tiles_.Pixels();
  unsigned char* const first = planes_.data();
  zrk::SplitPixels3(pixels_.data(), static_cast<std::size_t>(tileBytes), first, first + tileBytes,
                    first + 2 * tileBytes);
  bool isWritten = true;
  for (std::int64_t plane = 0; plane < kPlanes; ++plane) {
    const std::int64_t offset = (plane * tiles_.Count() + tile) * tileBytes;
    isWritten &= file_.WriteAt(offset, first + plane * tileBytes, tileBytes) != 0;
  }
  return isWritten;
}

/// Heights of tiles, in one plane.
class L0Heights : public L0Export {
 public:
  using L0Export::L0Export;

 private:
  bool Prepare() override;
  bool MakeTile(std::int64_t tile) override;
  bool WriteTile(std::int64_t tile) override;
  XString DescribeSamples() const override {
    return XString("DataType : ") + XfnGetDataTypeString(mosaic_->GetDataType()) + "\r\nNum Layer : 1";
  }
  const char* GetFileFailure() const override { return "Fail to create output L0 DEM File"; }

  std::unique_ptr<zrk::HeightMosaic> mosaic_;
  int sampleBytes_ = 0;
  tagXArr2 read_;
  std::vector<unsigned char> samples_;  // of a tile
};

/// A mosaic without a source or without pixels is the same failure to callers.
bool L0Heights::Prepare() {
  mosaic_ = zrk::HeightMosaic::Make(*request_.manager);
  if (!mosaic_ || !tiles_.HasPixels()) return Fail(zrk::kNoMosaic);
  sampleBytes_ = XfnGetDataSize(mosaic_->GetDataType());
  if (!HasRoom(sampleBytes_)) return false;
  try {
    samples_.resize(static_cast<std::size_t>(tiles_.Pixels() * sampleBytes_));
  } catch (const std::bad_alloc&) {
    return Fail(kNoTileMemory);
  }
  return true;
}

/// Heights are those at the centres of pixels.
bool L0Heights::MakeTile(std::int64_t tile) {
  const zrk::PostGrid grid{request_.bounds.minX + 0.5 * request_.xPixelSize,
                           request_.bounds.maxY - 0.5 * request_.yPixelSize, request_.xPixelSize, request_.yPixelSize};
  const std::int64_t column = tile % tiles_.columns * tiles_.size, row = tile / tiles_.columns * tiles_.size;
  const zrk::PostBlock block{column, row, static_cast<int>(std::min<std::int64_t>(tiles_.size, tiles_.width - column)),
                             static_cast<int>(std::min<std::int64_t>(tiles_.size, tiles_.height - row))};
  std::fill(samples_.begin(), samples_.end(), static_cast<unsigned char>(0));
  if (!mosaic_->Read(grid, block, read_, Cancel())) return false;
  const auto rowBytes = static_cast<std::size_t>(tiles_.size) * static_cast<std::size_t>(sampleBytes_);
  for (int y = 0; y < block.numRows; ++y) {
    std::memcpy(samples_.data() + static_cast<std::size_t>(y) * rowBytes, read_.Row(y),
                static_cast<std::size_t>(block.numColumns) * static_cast<std::size_t>(sampleBytes_));
  }
  return true;
}

/// A whole tile, also where the grid ends within it.
bool L0Heights::WriteTile(std::int64_t tile) {
  const auto tileBytes = static_cast<std::int64_t>(samples_.size());
  return file_.WriteAt(tile * tileBytes, samples_.data(), tileBytes) != 0;
}

}  // namespace

int XfnExport2L0Data_Image(XString path, ZRMCompManager* manager, double xPixelSize, double yPixelSize, double llx,
                           double lly, double urx, double ury, int tileSize, XColour backColour, XString& err,
                           XThread* thread) {
  return zrk::Fenced(err, [&] {
    if (!manager) {
      err = zrk::kNoManager;
      return 0;
    }
    const L0Request request{path, manager, xPixelSize, yPixelSize, {llx, urx, lly, ury, true}, tileSize, thread};
    return L0Image(request, backColour, err).Run();
  });
}

int XfnExport2L0Data_DEM(XString path, ZRMCompManager* manager, double xPixelSize, double yPixelSize, double llx,
                         double lly, double urx, double ury, int tileSize, XColour, XString& err, XThread* thread) {
  return zrk::Fenced(err, [&] {
    if (!manager) {
      err = zrk::kNoManager;
      return 0;
    }
    const L0Request request{path, manager, xPixelSize, yPixelSize, {llx, urx, lly, ury, true}, tileSize, thread};
    return L0Heights(request, err).Run();
  });
}
