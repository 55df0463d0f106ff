// Rows about image stores of the globe. A tile is held against the call of the system that fetches the same bytes,
// which no reader can beat. Windows are held against the same picture as GDAL reads it out of a GeoPackage of JPEG
// tiles and out of a Cloud Optimized GeoTIFF with Deflate.
//
// All reads are on one thread. Tiles are read out of a store that stays open, and `pread` out of a descriptor that
// does; the bytes are in the system's cache, for both. For windows both sides open the file within what is timed, so
// that GDAL's cache of blocks, which has the size that GDAL gives it, fills up while windows are read and serves those
// that follow. This library keeps nothing. Pictures much larger than that cache tell what a window costs that nobody
// has met before: `--size=65536 --windows=10000` makes a store of 2 GB.
//
// Readers must agree with the picture as far as the packing allows.

#include "Rivals.h"
#include "Rows.h"
#include "StoreInputs.h"
#include "XPBIFile.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <cpl_vsi.h>
#include <fcntl.h>
#include <gdal_priv.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <span>

namespace {

constexpr int kColours = 3;
constexpr double kLossless = 1000.0;  // decibels that no packing reaches

struct TileAddress {
  int row, column;
};

std::vector<TileAddress> PickTiles(const GlobePicture& picture, int count) {
  std::mt19937 random(4);
  std::uniform_int_distribution<int> place(0, picture.GetTiles() - 1);
  std::vector<TileAddress> tiles;
  for (int i = 0; i < count; ++i) {
    const int row = place(random);
    tiles.push_back({row, place(random)});
  }
  return tiles;
}

/// Tiles of a store that stays open, by this library and by the system alone.
class TileReaders {
 public:
  TileReaders(const std::string& path, const GlobePicture& picture)
      : level_(picture.GetLevel()), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    Must(store_.OpenFile(path, 0) && store_.IsUsable() && file_ >= 0, "can't open " + path);
    record_ = store_.GetFileInfo()->GetLevelInfo(level_)->GetRecord();
    bytes_.resize(static_cast<std::size_t>(record_.storageSize));
  }
  TileReaders(const TileReaders&) = delete;
  TileReaders& operator=(const TileReaders&) = delete;
  ~TileReaders() {
    ::close(file_);
    delete[] buffer_.data;
  }

  const unsigned char* ReadByUs(const TileAddress& tile) {
    Must(store_.GetDXTdata(level_, tile.row, tile.column, &buffer_), "a tile could not be read");
    return buffer_.data;
  }
  const unsigned char* ReadBySystem(const TileAddress& tile) {
    const std::int64_t columns = record_.urCol - record_.llCol + 1;
    const std::int64_t index = (tile.row - record_.llRow) * columns + tile.column - record_.llCol;
    const auto offset = static_cast<off_t>(record_.startPos) + index * record_.storageSize;
    Must(::pread(file_, bytes_.data(), bytes_.size(), offset) == std::ssize(bytes_), "pread failed");
    return bytes_.data();
  }
  void MustBeEqual(std::span<const TileAddress> tiles) {
    for (const TileAddress& tile : tiles) {
      Must(std::memcmp(ReadByUs(tile), ReadBySystem(tile), bytes_.size()) == 0, "a tile differs from the file's bytes");
    }
  }

 private:
  int level_;
  int file_;
  XPBIFile store_;
  tagXTileLevel record_;
  XPBIReadBuffer buffer_;
  std::vector<unsigned char> bytes_;
};

void AddTileRow(const std::string& path, const GlobePicture& picture, int count, std::vector<Row>& rows) {
  const auto readers = std::make_shared<TileReaders>(path, picture);
  const auto tiles = std::make_shared<std::vector<TileAddress>>(PickTiles(picture, count));
  readers->MustBeEqual(*tiles);
  rows.push_back({"pbi_tile", "a tile of an image store, 32 KiB", "pread",
                  [=] {
                    for (const TileAddress& tile : *tiles) readers->ReadByUs(tile);
                  },
                  [=] {
                    for (const TileAddress& tile : *tiles) readers->ReadBySystem(tile);
                  },
                  count, 1.2});
}

/// A store opened as a raster.
class GlobeReader {
 public:
  GlobeReader(const std::string& path, XReadPolicy policy) {
    file_.SetReadPolicy(policy);
    XString err;
    Must(XRSFileIO::LoadFilePBI(&file_, path, err, nullptr), path + ": " + err.AsStdString());
  }
  /// Red, green and blue. The first read decodes the others too.
  std::array<const tagXArr2*, kColours> Read(const Window& window) const {
    std::array<const tagXArr2*, kColours> planes{};
    for (int i = 0; i < kColours; ++i) {
      tagXArr2* out = nullptr;
      Must(file_.GetBandAt(i)->ReadSubset(out, 0, window.x0, window.x1, window.y0, window.y1, nullptr),
           "a window could not be read");
      planes[static_cast<std::size_t>(i)] = out;
    }
    return planes;
  }
  void Read(std::span<const Window> windows) const {
    for (const Window& window : windows) Read(window);
  }
  void Read(const Window& window, Pixels& pixels) const {
    pixels.clear();
    for (const tagXArr2* plane : Read(window)) {
      pixels.insert(pixels.end(), plane->data, plane->data + std::ptrdiff_t{plane->xSize} * plane->ySize);
    }
  }

 private:
  XRSFile file_;
};

/// The mean of the squared differences between a window's planes and the picture.
double CalcSquaredError(const GlobePicture& picture, const Window& window, const Pixels& planes) {
  constexpr std::size_t kPlane = std::size_t{kWindowSide} * kWindowSide;
  Must(planes.size() == kColours * kPlane, "a window has an unexpected size");
  unsigned char rgb[kColours * kWindowSide];
  double sum = 0.0;
  for (std::size_t i = 0; i < kPlane; ++i) {
    const std::size_t x = i % kWindowSide;
    if (x == 0) picture.Paint(window.x0, window.y0 + static_cast<int>(i / kWindowSide), kWindowSide, rgb);
    for (std::size_t k = 0; k < kColours; ++k) {
      const double difference = static_cast<double>(planes[k * kPlane + i]) - rgb[kColours * x + k];
      sum += difference * difference;
    }
  }
  return sum / static_cast<double>(planes.size());
}

/// The least peak signal-to-noise ratio of any window in decibels, which must reach a bound.
template <class Reader>
double MustShow(const GlobePicture& picture, std::span<const Window> windows, double bound, Reader&& reader) {
  Pixels pixels;
  double worst = 0.0;
  for (const Window& window : windows) {
    reader.Read(window, pixels);
    worst = std::max(worst, CalcSquaredError(picture, window, pixels));
  }
  const double decibels = worst > 0.0 ? 10.0 * std::log10(255.0 * 255.0 / worst) : kLossless;
  Must(decibels >= bound, "a window does not show the picture");
  return decibels;
}

/// What a program of GDAL's has that sets nothing: five hundredths of the machine's memory.
void GrantGdalDefaultCache() {
  GDALSetCacheMax64(CPLGetUsablePhysicalRAM() / 20);
}

struct GlobeFiles {
  std::string store, package, tiff;
};

void MustAgreeOnPicture(const GlobeFiles& files, const GlobePicture& picture, std::span<const Window> windows) {
  const double exact = MustShow(picture, windows, 30.0, GlobeReader(files.store, kReadExact));
  // Compatible reads stretch a window by a pixel, and leave samples at seams black.
  const double compatible = MustShow(picture, windows, 20.0, GlobeReader(files.store, kReadCompatible));
  const double jpeg = MustShow(picture, windows, 28.0, GdalReader(files.package));
  MustShow(picture, windows, kLossless, GdalReader(files.tiff));
  std::printf("Windows of an image store: PSNR %.2f exact, %.2f compatible; of the GeoPackage %.2f\n", exact,
              compatible, jpeg);
}

void AddGlobeWindowRows(const GlobeFiles& files, const std::shared_ptr<std::vector<Window>>& windows,
                        std::vector<Row>& rows) {
  const std::string title = std::to_string(windows->size()) + " windows of an image store, ";
  for (const XReadPolicy policy : {kReadExact, kReadCompatible}) {
    const std::string key = policy == kReadExact ? "pbi_exact_" : "pbi_compatible_";
    const std::string named = title + (policy == kReadExact ? "exact" : "compatible");
    const auto ours = [=, store = files.store] { GlobeReader(store, policy).Read(*windows); };
    const auto theirs = [=](const std::string& path) { return [=] { GdalReader(path).Read(*windows); }; };
    rows.push_back(
        {key + "jpeg", named, "GDAL, GeoPackage of JPEG", ours, theirs(files.package), 1, 0.1, &GrantGdalDefaultCache});
    rows.push_back(
        {key + "deflate", named, "GDAL, COG with Deflate", ours, theirs(files.tiff), 1, 0.1, &GrantGdalDefaultCache});
  }
}

}  // namespace

void AddStoreRows(const BenchOptions& options, std::vector<Row>& rows) {
  const GlobePicture picture(options.side);
  const std::string stem = options.folder + "/globe_" + std::to_string(picture.GetSide());
  const GlobeFiles files{stem + ".pbi", stem + ".gpkg", stem + ".tif"};
  MakeGlobeStore(files.store, picture);
  MakeGlobePackage(files.package, picture);
  MakeGlobeTiff(files.tiff, picture);
  const auto windows = std::make_shared<std::vector<Window>>(PickWindows(picture.GetSide(), options.numWindows));
  MustAgreeOnPicture(files, picture, std::span(*windows).first(8));
  AddTileRow(files.store, picture, options.numWindows, rows);
  AddGlobeWindowRows(files, windows, rows);
}
