// Exports of L0 files, pictures and heights. Both make a plan of tiles first. A request that can't be met, such as a
// tile of more bytes than a buffer can have, fails before the file is made. Workers then make the tiles one after the
// other, each worker in a buffer of its own, and write them straight to their offsets. The report is written last.

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
#include <memory>
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

/// The memory that one worker makes tiles in.
class L0Maker {
 public:
  virtual ~L0Maker() = default;
  virtual bool Make(std::int64_t tile) = 0;
  virtual bool Write(std::int64_t tile, XFile& file) = 0;
};

/// One export, whose kind the derived classes tell: a plan, a file, tiles, the report.
class L0Export {
 public:
  L0Export(const L0Request& request, XString& err) : request_(request), err_(err), tiles_(request) {}
  virtual ~L0Export() = default;
  int Run();

 protected:
  /// Whether all that the tiles have in common is there. False with the sentence.
  virtual bool Prepare() = 0;
  /// Null with the sentence where there is no memory.
  virtual std::shared_ptr<L0Maker> NewMaker(XString& err) const = 0;
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
  bool WriteTiles(const std::shared_ptr<L0Maker>& first);
  bool WriteTile(L0Maker& maker, std::int64_t tile, XString& why);
  bool WriteReport();
};

/// A file that the disk has no room for is refused before it is begun.
bool L0Export::HasRoom(int bytesPerPixel) {
  std::int64_t fileBytes = 0;
  if (!tiles_.Fit(bytesPerPixel, fileBytes)) return Fail(kNoTileMemory);
  return XfnIsDiskSpaceEnough(request_.path, fileBytes) || Fail("The disk has no room for the L0 file");
}

/// What was begun of the file goes where the export fails or is stopped. The first maker is made before the file, since
/// a lack of memory is told then.
int L0Export::Run() {
  err_.Empty();
  if (!zrk::ShowsMap(*request_.manager, err_) || !Prepare()) return 0;
  const std::shared_ptr<L0Maker> first = NewMaker(err_);
  if (!first) return 0;
  if (!file_.Open(request_.path, XFile::kReadWrite | XFile::kCreate)) {
    err_ = GetFileFailure();
    return 0;
  }
  if (WriteTiles(first) && WriteReport()) return 1;
  file_.Close();
  XFile::Remove(request_.path);
  return 0;
}

bool L0Export::WriteTiles(const std::shared_ptr<L0Maker>& first) {
  zrk::MapTiles tiles(request_.thread, static_cast<double>(tiles_.Count()));
  const auto newMaker = [&](int worker) -> zrk::MapTiles::Maker {
    XString sentence;
    const std::shared_ptr<L0Maker> maker = worker == 0 ? first : NewMaker(sentence);
    if (!maker) return nullptr;
    return [this, maker](std::int64_t tile, XString& why) { return WriteTile(*maker, tile, why); };
  };
  return tiles.Run(tiles_.Count(), newMaker, err_);
}

/// What goes wrong in a tile leaves it zero, unless the policy is exact.
bool L0Export::WriteTile(L0Maker& maker, std::int64_t tile, XString& why) {
  const bool isExact = XfnGetDefaultReadPolicy() == kReadExact;
  XfnForgetLastReadError();
  const bool isMade = maker.Make(tile);
  if (XfnIsStopRequested(Cancel())) return false;
  if (!isMade && isExact) {
    why = zrk::WhyNotDrawn("The pixels can't be read");
    return false;
  }
  if (maker.Write(tile, file_) || !isExact) return true;
  why = "The L0 file can't be written";
  return false;
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
  class Maker;
  bool Prepare() override;
  std::shared_ptr<L0Maker> NewMaker(XString& err) const override;
  XString DescribeSamples() const override { return "DataType : PINT08\r\nNum Layer : 3"; }
  const char* GetFileFailure() const override { return "Fail to create output L0 File"; }
  double SouthOf(std::int64_t row) const;

  XColour backColour_;
};

bool L0Image::Prepare() {
  if (!tiles_.HasPixels()) return Fail(kNoTileMemory);
  return HasRoom(kPlanes);
}

class L0Image::Maker : public L0Maker {
 public:
  explicit Maker(const L0Image& image) : image_(image) {}
  bool Prepare(XString& err);
  bool Make(std::int64_t tile) override;
  bool Write(std::int64_t tile, XFile& file) override;

 private:
  const L0Image& image_;
  XBackBuffer buffer_;
  std::vector<unsigned char> pixels_;
  std::vector<unsigned char> planes_;
};

/// In the compatible policy the buffer has the size that was asked for, also where tiles are larger.
bool L0Image::Maker::Prepare(XString& err) {
  const L0Tiles& tiles = image_.tiles_;
  const auto fail = [&](const char* sentence) {
    err = sentence;
    return false;
  };
  if (!buffer_.Create(nullptr, kBackBufferInMemory)) return fail("Fail to create backbuffer for exporting L0 Data");
  const int size = XfnGetDefaultReadPolicy() == kReadExact ? tiles.size : image_.request_.tileSize;
  if (!buffer_.Resize(nullptr, size, size)) return fail("Fail to resize backbuffer for exporting L0 Data");
  buffer_.SetBackColor(image_.backColour_, 1.0);
  buffer_.SetWorldPerPixel(image_.request_.xPixelSize, image_.request_.yPixelSize);
  buffer_.SetSR(*image_.request_.manager->GetSR());
  const auto numBytes = static_cast<std::size_t>(tiles.Pixels() * kPlanes);
  try {
    pixels_.resize(numBytes);
    planes_.resize(numBytes);
  } catch (const std::bad_alloc&) {
    return fail(kNoTileMemory);
  }
  return true;
}

std::shared_ptr<L0Maker> L0Image::NewMaker(XString& err) const {
  auto maker = std::make_shared<Maker>(*this);
  if (!maker->Prepare(err)) return nullptr;
  return maker;
}

/// In the compatible policy the upper edge of a tile stands where its lower edge belongs: tiles lie one too far south.
double L0Image::SouthOf(std::int64_t row) const {
  const double tileHeight = tiles_.size * request_.yPixelSize;
  if (XfnGetDefaultReadPolicy() == kReadExact) return request_.bounds.minY + static_cast<double>(row) * tileHeight;
  const double y = tiles_.height - static_cast<double>(row) * tiles_.size;
  return request_.bounds.maxY - y * request_.yPixelSize - tileHeight;
}

/// Tiles at the rim reach beyond the bounds and show what lies there.
bool L0Image::Maker::Make(std::int64_t tile) {
  const L0Tiles& tiles = image_.tiles_;
  const L0Request& request = image_.request_;
  zrk::Extent extent;
  const double width = tiles.size * request.xPixelSize, height = tiles.size * request.yPixelSize;
  extent.minX = request.bounds.minX + static_cast<double>(tile % tiles.columns) * width;
  extent.maxX = extent.minX + width;
  extent.minY = image_.SouthOf(tile / tiles.columns);
  extent.maxY = extent.minY + height;
  buffer_.SetWorldToCenter(extent.minX + 0.5 * width, extent.minY + 0.5 * height);
  buffer_.Clear(kSetBackColour, nullptr);
  const int drawn = zrk::DrawManager(*request.manager, buffer_, extent, kResampleMean, image_.Cancel());
  buffer_.ReadDIB24(tiles.size, tiles.size, std::int64_t{tiles.size} * kPlanes, pixels_.data());
  return drawn != kDrawFailed;
}

/// A tile has its place in each of the three planes.
bool L0Image::Maker::Write(std::int64_t tile, XFile& file) {
  const std::int64_t tileBytes = image_.tiles_.Pixels();
  unsigned char* const first = planes_.data();
  zrk::SplitPixels3(pixels_.data(), static_cast<std::size_t>(tileBytes), first, first + tileBytes,
                    first + 2 * tileBytes);
  bool isWritten = true;
  for (std::int64_t plane = 0; plane < kPlanes; ++plane) {
    const std::int64_t offset = (plane * image_.tiles_.Count() + tile) * tileBytes;
    isWritten &= file.WriteAt(offset, first + plane * tileBytes, tileBytes) != 0;
  }
  return isWritten;
}

/// Heights of tiles, in one plane.
class L0Heights : public L0Export {
 public:
  using L0Export::L0Export;

 private:
  class Maker;
  bool Prepare() override;
  std::shared_ptr<L0Maker> NewMaker(XString& err) const override;
  XString DescribeSamples() const override {
    return XString("DataType : ") + XfnGetDataTypeString(mosaic_->GetDataType()) + "\r\nNum Layer : 1";
  }
  const char* GetFileFailure() const override { return "Fail to create output L0 DEM File"; }
  int SampleBytes() const { return XfnGetDataSize(mosaic_->GetDataType()); }

  std::unique_ptr<zrk::HeightMosaic> mosaic_;
};

/// A mosaic without a source or without pixels is the same failure to callers.
bool L0Heights::Prepare() {
  mosaic_ = zrk::HeightMosaic::Make(*request_.manager);
  if (!mosaic_ || !tiles_.HasPixels()) return Fail(zrk::kNoMosaic);
  return HasRoom(SampleBytes());
}

class L0Heights::Maker : public L0Maker {
 public:
  explicit Maker(const L0Heights& heights)
      : heights_(heights),
        samples_(static_cast<std::size_t>(heights.tiles_.Pixels()) * static_cast<std::size_t>(heights.SampleBytes())) {}
  bool Make(std::int64_t tile) override;
  bool Write(std::int64_t tile, XFile& file) override;

 private:
  const L0Heights& heights_;
  tagXArr2 read_;
  std::vector<unsigned char> samples_;  // of a tile
};

std::shared_ptr<L0Maker> L0Heights::NewMaker(XString& err) const {
  try {
    return std::make_shared<Maker>(*this);
  } catch (const std::bad_alloc&) {
    err = kNoTileMemory;
    return nullptr;
  }
}

/// Heights are those at the centres of pixels.
bool L0Heights::Maker::Make(std::int64_t tile) {
  const L0Tiles& tiles = heights_.tiles_;
  const L0Request& request = heights_.request_;
  const zrk::PostGrid grid{request.bounds.minX + 0.5 * request.xPixelSize,
                           request.bounds.maxY - 0.5 * request.yPixelSize, request.xPixelSize, request.yPixelSize};
  const std::int64_t column = tile % tiles.columns * tiles.size, row = tile / tiles.columns * tiles.size;
  const zrk::PostBlock block{column, row, static_cast<int>(std::min<std::int64_t>(tiles.size, tiles.width - column)),
                             static_cast<int>(std::min<std::int64_t>(tiles.size, tiles.height - row))};
  std::fill(samples_.begin(), samples_.end(), static_cast<unsigned char>(0));
  if (!heights_.mosaic_->Read(grid, block, read_, heights_.Cancel())) return false;
  const auto sampleBytes = static_cast<std::size_t>(heights_.SampleBytes());
  const std::size_t rowBytes = static_cast<std::size_t>(tiles.size) * sampleBytes;
  for (int y = 0; y < block.numRows; ++y) {
    std::memcpy(samples_.data() + static_cast<std::size_t>(y) * rowBytes, read_.Row(y),
                static_cast<std::size_t>(block.numColumns) * sampleBytes);
  }
  return true;
}

/// A whole tile, also where the grid ends within it.
bool L0Heights::Maker::Write(std::int64_t tile, XFile& file) {
  const auto tileBytes = static_cast<std::int64_t>(samples_.size());
  return file.WriteAt(tile * tileBytes, samples_.data(), tileBytes) != 0;
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
