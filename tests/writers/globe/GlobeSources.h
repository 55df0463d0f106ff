#pragma once

#include "MemoryBand.h"
#include "StoreBytes.h"
#include "TempFolder.h"
#include "XCoordinateTransformation.h"
#include "XGlobeExport.h"
#include "ZRMCompManager.h"

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

/// Where the pixels of a band lie: its outer upper left corner, and the size of its pixels.
struct BandPlace {
  double west;
  double north;
  double xSize;
  double ySize;
  int width;
  int height;
};

/// Pixels of a degree that cover the earth.
constexpr BandPlace kWholeEarth{-180.0, 90.0, 1.0, 1.0, 360, 180};

/// Bands in memory and the manager that shows them, in longitude and latitude unless told otherwise.
class GlobeSources {
 public:
  GlobeSources() { SetSystem(4326); }

  void SetSystem(int code) {
    XSpatialReference sr;
    sr.importFromEPSG(code);
    manager.SetSR(sr);
  }

  /// Adds a composite of one band, below those before it. `sampleAt` gives the sample of a column and a row.
  template <class Sample>
  MemoryBand& Add(const BandPlace& place, const std::function<double(int, int)>& sampleAt, int code = 4326) {
    ZRMComposite& composite = AddComposite();
    MemoryBand& band = MakeBand<Sample>(place, sampleAt, code);
    composite.SetBand(0, &band);
    return band;
  }
  /// Adds a composite of three bands of bytes.
  void AddPicture(const BandPlace& place, const std::function<double(int, int, int)>& sampleAt, int code = 4326) {
    ZRMComposite& composite = AddComposite();
    for (int i = 0; i < 3; ++i) {
      composite.SetBand(i, &MakeBand<std::uint8_t>(
                               place, [&](int x, int y) { return sampleAt(i, x, y); }, code));
    }
  }

 private:
  std::vector<std::unique_ptr<MemoryBand>> bands_;  // go after the manager

  ZRMComposite& AddComposite() {
    auto* const composite = new ZRMComposite;
    manager.AddZRMComposite(composite);
    return *composite;
  }

  template <class Sample>
  MemoryBand& MakeBand(const BandPlace& place, const std::function<double(int, int)>& sampleAt, int code) {
    std::vector<Sample> samples;
    for (int y = 0; y < place.height; ++y) {
      for (int x = 0; x < place.width; ++x) samples.push_back(static_cast<Sample>(sampleAt(x, y)));
    }
    auto band = std::make_unique<MemoryBand>();
    band->SetSamples(place.width, place.height, samples);
    band->SetUpperLeft(place.west, place.north);
    band->SetPixelSize(place.xSize, place.ySize);
    band->SetCoordinateKind(kCoordinateWorld);
    XSpatialReference sr;
    sr.importFromEPSG(code);
    band->SetSR(sr);
    bands_.push_back(std::move(band));
    return *bands_.back();
  }

 public:
  ZRMCompManager manager;
};

/// An exported store as its bytes tell, read without the library.
class ExportedStore : public StoreReader {
 public:
  explicit ExportedStore(const std::string& path) : StoreReader(ReadBytes(path)) {}

  /// The offset of a tile, or 0 where no level holds it.
  std::size_t OffsetOf(int level, int row, int col) const {
    for (int i = 0; i < Count(); ++i) {
      const StoreRecord r = Record(static_cast<std::size_t>(i));
      if (r.level != level || row < r.llRow || row > r.urRow || col < r.llCol || col > r.urCol) continue;
      const std::int64_t before = std::int64_t{r.urCol - r.llCol + 1} * (row - r.llRow) + col - r.llCol;
      return static_cast<std::size_t>(static_cast<std::int64_t>(r.offset) + before * r.storage);
    }
    return 0;
  }
  /// The posts of a tile, 31 by 31 from the north, and its normals, three floats each.
  std::vector<float> Posts(int level, int row, int col) const { return Floats(OffsetOf(level, row, col), 961); }
  std::vector<float> Normals(int level, int row, int col) const {
    return Floats(OffsetOf(level, row, col) + 3844, 2883);
  }
  /// The blocks of a tile of 256 by 256 pixels.
  std::vector<unsigned char> Blocks(int level, int row, int col) const {
    return Bytes(OffsetOf(level, row, col), 32768);
  }

 private:
  std::vector<float> Floats(std::size_t offset, std::size_t count) const {
    const std::vector<unsigned char> bytes = Bytes(offset, count * sizeof(float));
    std::vector<float> floats(count);
    std::memcpy(floats.data(), bytes.data(), bytes.size());
    return floats;
  }
};
