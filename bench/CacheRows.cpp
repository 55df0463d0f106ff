// Rows about windows of compressed tiles where each side may keep decoded blocks, 256 MB of them. Windows lie anywhere
// in an image of three interleaved channels, so that each tile is met by several. They are read of one band after the
// other, and of all bands at once. Each run begins with opening the file, and its blocks are decoded within what is
// timed.
//
// On two threads each reads half of the windows. Our threads share one open file. GDAL's open the file once each,
// because its datasets serve one thread at a time; its cache is one for both.

#include "Rows.h"
#include "TiffInputs.h"
#include "XBlockCache.h"
#include "XDataType.h"
#include "XJointReader.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <thread>

namespace {

constexpr std::int64_t kCacheBytes = std::int64_t{256} << 20;
constexpr int kNumBands = 3;

using Windows = std::span<const Window>;
using SharedWindows = std::shared_ptr<std::vector<Window>>;

const std::vector<TiffKind>& CompressedKinds() {
  static const std::vector<TiffKind> kinds = {
      {"deflate", "Deflate tiles", {"TILED=YES", "INTERLEAVE=PIXEL", "COMPRESS=DEFLATE"}, false},
      {"lzwtiles", "LZW tiles", {"TILED=YES", "INTERLEAVE=PIXEL", "COMPRESS=LZW"}, false},
      {"jpeg", "JPEG tiles", {"TILED=YES", "INTERLEAVE=PIXEL", "COMPRESS=JPEG", "PHOTOMETRIC=YCBCR"}, false},
  };
  return kinds;
}

/// An open file of ours, while the cache is on.
class OurFile {
 public:
  explicit OurFile(const std::string& path) {
    XString err;
    XfnSetBlockCacheBytes(kCacheBytes);
    Must(XRSFileIO::LoadFileTIF(&file_, path, err, 0, kLevelNone, nullptr), path + ": " + err.AsStdString());
    Must(file_.GetNumOfBands() == kNumBands, path + " has other than three channels");
    for (int i = 0; i < kNumBands; ++i) bands_.push_back(file_.GetBandAt(i));
  }
  ~OurFile() { XfnSetBlockCacheBytes(0); }

  const tagXArr2& ReadBand(int i, const Window& window) const {
    tagXArr2* out = nullptr;
    Must(bands_[std::size_t(i)]->ReadSubset(out, 0, window.x0, window.x1, window.y0, window.y1, nullptr),
         "a window could not be read");
    return *out;
  }
  void ReadInTurn(Windows windows) const {
    for (int i = 0; i < kNumBands; ++i) {
      for (const Window& window : windows) ReadBand(i, window);
    }
  }
  void ReadTogether(Windows windows) const {
    std::array<tagXArr2*, kNumBands> out{};
    for (const Window& window : windows) {
      Must(XfnReadBands(bands_, window.x0, window.x1, window.y0, window.y1, nullptr, out),
           "a window could not be read");
    }
  }

 private:
  XRSFile file_;
  std::vector<ZRMBand*> bands_;
};

/// The same by GDAL.
class GdalFile {
 public:
  explicit GdalFile(const std::string& path)
      : dataset_(GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly)),
                 [](GDALDataset* open) { GDALClose(open); }) {
    Must(dataset_ != nullptr, "GDAL can't open " + path);
  }

  const unsigned char* ReadBand(int i, const Window& window) {
    samples_.resize(std::size_t{kWindowSide} * kWindowSide * kNumBands);
    const CPLErr error =
        dataset_->GetRasterBand(i + 1)->RasterIO(GF_Read, window.x0, window.y0, kWindowSide, kWindowSide,
                                                 samples_.data(), kWindowSide, kWindowSide, GDT_Byte, 0, 0, nullptr);
    Must(error == CE_None, "GDAL failed to read a window");
    return samples_.data();
  }
  void ReadInTurn(Windows windows) {
    for (int i = 0; i < kNumBands; ++i) {
      for (const Window& window : windows) ReadBand(i, window);
    }
  }
  void ReadTogether(Windows windows) {
    samples_.resize(std::size_t{kWindowSide} * kWindowSide * kNumBands);
    for (const Window& window : windows) {
      const CPLErr error = dataset_->RasterIO(GF_Read, window.x0, window.y0, kWindowSide, kWindowSide, samples_.data(),
                                              kWindowSide, kWindowSide, GDT_Byte, kNumBands, nullptr, 0, 0, 0, nullptr);
      Must(error == CE_None, "GDAL failed to read a window");
    }
  }

 private:
  std::unique_ptr<GDALDataset, void (*)(GDALDataset*)> dataset_;
  std::vector<unsigned char> samples_;
};

void MustAgree(const std::string& path, Windows windows) {
  const OurFile ours(path);
  GdalFile gdal(path);
  for (const Window& window : windows) {
    for (int i = 0; i < kNumBands; ++i) {
      const tagXArr2& mine = ours.ReadBand(i, window);
      Must(std::equal(mine.data, mine.data + kWindowSide * kWindowSide, gdal.ReadBand(i, window)),
           "this library and GDAL differ in " + path);
    }
  }
}

template <class Read>
void OnTwoThreads(Windows windows, Read&& read) {
  const std::size_t half = windows.size() / 2;
  std::thread other([&] { read(windows.subspan(half)); });
  read(windows.first(half));
  other.join();
}

/// The rows of one way to read: on one thread and on two.
void AddPair(const std::string& key, const std::string& title, const std::string& path, const SharedWindows& windows,
             bool together, std::vector<Row>& rows) {
  const auto ours = [=](const OurFile& file, Windows part) {
    together ? file.ReadTogether(part) : file.ReadInTurn(part);
  };
  const auto theirs = [=](Windows part) {
    GdalFile file(path);
    together ? file.ReadTogether(part) : file.ReadInTurn(part);
  };
  rows.push_back(
      {key + "_one", title, "GDAL", [=] { ours(OurFile(path), *windows); }, [=] { theirs(*windows); }, 1, 1 / 1.2});
  rows.push_back({key + "_two", title + ", 2 threads", "GDAL, 2 threads",
                  [=] {
                    const OurFile file(path);
                    OnTwoThreads(*windows, [&](Windows part) { ours(file, part); });
                  },
                  [=] { OnTwoThreads(*windows, theirs); }, 1, 1 / 2.0});
}

}  // namespace

void AddCacheRows(const BenchOptions& options, std::vector<Row>& rows) {
  GDALSetCacheMax64(kCacheBytes);
  for (const TiffKind& kind : CompressedKinds()) {
    const std::string key = std::string("cache_") + kind.key;
    if (!options.only.empty() && !key.starts_with(options.only) && !options.only.starts_with(key)) continue;
    const std::string path = options.folder + "/tiff_" + kind.key + std::to_string(options.side) + ".tif";
    const auto windows = std::make_shared<std::vector<Window>>(PickWindows(options.side, options.numWindows));
    MakeTiff(path, options.side, kPint08, kNumBands, kind.options);
    MustAgree(path, Windows(*windows).first(8));
    const std::string title = std::string(kind.title) + ", blocks kept, ";
    AddPair(key + "_turn", title + "bands in turn", path, windows, false, rows);
    AddPair(key + "_all", title + "all bands", path, windows, true, rows);
  }
}
