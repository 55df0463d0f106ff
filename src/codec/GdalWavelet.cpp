// ECW and MrSID files through GDAL's drivers of these names, which come as plug-ins. GDAL looks for plug-ins where it
// was told to, and a driver registers itself when its plug-in is loaded. Files are opened with that driver and no
// other, over our own disk.
//
// A reduced window is taken from the reduced image of the driver where that is the image reduced by 2^level exactly and
// the view lies on it. Otherwise the driver scales the window.

#include "base/ReadError.h"
#include "codec/WaveletCodec.h"
#include "geo/GdalDisk.h"
#include "geo/GdalScope.h"
#include "XDataType.h"
#include "XThread.h"

#include <gdal_priv.h>
#include <algorithm>
#include <array>
#include <mutex>
#include <utility>
#include <vector>

namespace zrk {

namespace {

/// Types of samples as GDAL has them, by our codes.
constexpr std::array<GDALDataType, 9> kGdalTypes = {GDT_Unknown, GDT_Byte,  GDT_Unknown, GDT_UInt16, GDT_Int16,
                                                    GDT_UInt32,  GDT_Int32, GDT_Float32, GDT_Float64};

int TypeOfBand(GDALRasterBand& band) {
  const GDALDataType type = band.GetRasterDataType();
  const auto found = type == GDT_Unknown ? kGdalTypes.end() : std::ranges::find(kGdalTypes, type);
  return found == kGdalTypes.end() ? kDataTypeNone : static_cast<int>(found - kGdalTypes.begin());
}

/// What every call of a driver needs: silence, no notes beside the image, and no file elsewhere.
class DriverScope {
 public:
  explicit DriverScope(const XString& path) : kept_(path) {}
  /// A sentence with what GDAL had to say, in its first line.
  XString Tell(const char* sentence) const {
    const XString told = WithPathsOfDisk(quiet_.GetLastError());
    const int end = told.Find('\n');
    return XString(sentence) + (told.IsEmpty() ? "" : ": ") + (end < 0 ? told : told.Left(end));
  }

 private:
  QuietGdal quiet_;
  CPLConfigOptionSetter notes_{"GDAL_PAM_ENABLED", "NO", false};
  KeptToFolder kept_;
};

XString TextOf(const char* text) {
  return text ? XString(text) : XString();
}

WaveletInfo DescribeDataset(GDALDataset& dataset, bool isCentred, bool isExact) {
  WaveletInfo info;
  info.width = dataset.GetRasterXSize();
  info.height = dataset.GetRasterYSize();
  info.numChannels = dataset.GetRasterCount();
  if (info.numChannels < 1) return info;
  // Callers of ECW files expect bytes, which is what the makers' library gives them.
  info.dataType = isExact || isCentred ? TypeOfBand(*dataset.GetRasterBand(1)) : kPint08;
  std::array<double, 6> t = {0.0, 1.0, 0.0, 0.0, 0.0, -1.0};
  if (dataset.GetGeoTransform(t.data()) != CE_None) t = {0.0, 1.0, 0.0, 0.0, 0.0, -1.0};
  const double anchor = isCentred ? 0.5 : 0.0;
  info.x = t[0] + anchor * (t[1] + t[2]);
  info.y = t[3] + anchor * (t[4] + t[5]);
  info.xByColumn = t[1];
  info.xByRow = t[2];
  info.yByColumn = t[4];
  info.yByRow = t[5];
  info.datum = TextOf(dataset.GetMetadataItem("DATUM", "ECW"));
  info.projection = TextOf(dataset.GetMetadataItem("PROJ", "ECW"));
  info.wkt = TextOf(dataset.GetProjectionRef());
  return info;
}

class GdalWaveletImage : public WaveletImage {
 public:
  GdalWaveletImage(XString path, std::unique_ptr<GDALDataset> dataset, bool isCentred, bool isExact)
      : path_(std::move(path)), dataset_(std::move(dataset)), isCentred_(isCentred) {
    info_ = DescribeDataset(*dataset_, isCentred, isExact);
  }
  ~GdalWaveletImage() override {
    const DriverScope scope(path_);
    dataset_.reset();
  }
  GdalWaveletImage(const GdalWaveletImage&) = delete;
  GdalWaveletImage& operator=(const GdalWaveletImage&) = delete;

  bool Read(const WaveletView& view, void* const* planes, const int* cancel) override {
    const DriverScope scope(path_);
    for (int i = 0; i < view.numChannels; ++i) {
      if (XfnIsStopRequested(cancel)) return FailRead(kReadStopped);
      GDALRasterBand* const band = dataset_->GetRasterBand(view.channel + i + 1);
      if (!band || !ReadBand(*band, view, planes[i])) {
        return FailRead(scope.Tell("GDAL's driver can't decode the window"));
      }
    }
    return true;
  }

 private:
  bool ReadBand(GDALRasterBand& band, const WaveletView& view, void* plane) const {
    const GDALDataType type = kGdalTypes[static_cast<std::size_t>(info_.dataType)];
    GDALRasterBand* const reduced = FindReduced(band, view.level);
    GDALRasterIOExtraArg how;
    INIT_RASTERIO_EXTRA_ARG(how);
    if (reduced) {
      return reduced->RasterIO(GF_Read, view.left, view.top, view.width, view.height, plane, view.width, view.height,
                               type, 0, 0, &how) == CE_None;
    }
    const Window& window = view.window;
    return band.RasterIO(GF_Read, window.x0, window.y0, window.Width(), window.Height(), plane, view.width, view.height,
                         type, 0, 0, &how) == CE_None;
  }

  /// The image reduced by 2^level, its last columns and rows counted where they are not whole. Views of ECW files are
  /// windows that are scaled, and do not lie on it.
  GDALRasterBand* FindReduced(GDALRasterBand& band, int level) const {
    if (!isCentred_) return nullptr;
    if (level == 0) return &band;
    const std::int64_t step = std::int64_t{1} << level;
    for (int i = 0; i < band.GetOverviewCount(); ++i) {
      GDALRasterBand* const each = band.GetOverview(i);
      if (each && each->GetXSize() == (info_.width + step - 1) / step &&
          each->GetYSize() == (info_.height + step - 1) / step) {
        return each;
      }
    }
    return nullptr;
  }

  XString path_;
  std::unique_ptr<GDALDataset> dataset_;
  bool isCentred_;
};

class GdalDecoder : public WaveletDecoder {
 public:
  explicit GdalDecoder(const WaveletCodec& codec) : codec_(codec) {}

  std::unique_ptr<WaveletImage> Open(const XString& path, bool isExact, XString& reason) const override {
    const DriverScope scope(path);
    const char* const drivers[] = {codec_.driver, nullptr};
    const char* const nothingBeside[] = {nullptr};
    constexpr unsigned kHow = GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_INTERNAL;
    std::unique_ptr<GDALDataset> dataset(
        GDALDataset::Open(PathForGdal(path).GetText(), kHow, drivers, nullptr, nothingBeside));
    if (dataset) return std::make_unique<GdalWaveletImage>(path, std::move(dataset), codec_.isCentred, isExact);
    reason = scope.Tell("GDAL's driver refuses the file");
    return nullptr;
  }

  XString GetPlace() const override { return XString("GDAL's driver ") + codec_.driver; }

 private:
  const WaveletCodec& codec_;
};

}  // namespace

/// GDAL loads all plug-ins that it finds at once. Those that are there already register themselves to no effect.
std::shared_ptr<const WaveletDecoder> FindGdalDecoder(const WaveletCodec& codec) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  const QuietGdal quiet;
  GDALDriverManager* const manager = GetGDALDriverManager();
  if (!manager) return nullptr;
  if (!manager->GetDriverByName(codec.driver)) manager->AutoLoadDrivers();
  if (!manager->GetDriverByName(codec.driver)) return nullptr;
  return std::make_shared<GdalDecoder>(codec);
}

}  // namespace zrk
