// Rows about reading TIFF files of three channels, beside GDAL and libtiff. The kinds are the layouts that files have:
// strips and tiles, interleaved and planar, plain and compressed. Windows are read of one band, by a reader that has
// just opened the file. GDAL is measured with its blocks kept from window to window, as it works by itself, and
// without.
//
// Plain files promise a third of GDAL's time, because their rows need no decoding and no cache. Compressed ones promise
// no more than its time, since the decoders are the same for all readers.

#include "Rows.h"
#include "TiffInputs.h"
#include "XDataType.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <algorithm>
#include <memory>
#include <span>
#include <thread>

namespace {

using Windows = std::span<const Window>;
using SharedWindows = std::shared_ptr<std::vector<Window>>;

/// LZW decodes whole strips for every narrow window, and so only an eighth of the windows is read.
const std::vector<TiffKind>& AllKinds() {
  static const std::vector<TiffKind> kinds = {
      {"strips", "strips of 16 rows", {"BLOCKYSIZE=16", "INTERLEAVE=PIXEL"}, true},
      {"tiles", "tiles", {"TILED=YES", "INTERLEAVE=PIXEL"}, true},
      {"pstrips", "strips of 16 rows, planar", {"BLOCKYSIZE=16", "INTERLEAVE=BAND"}, true},
      {"ptiles", "tiles, planar", {"TILED=YES", "INTERLEAVE=BAND"}, true},
      {"deflate", "Deflate tiles", {"TILED=YES", "INTERLEAVE=PIXEL", "COMPRESS=DEFLATE"}, false},
      {"pdeflate", "Deflate tiles, planar", {"TILED=YES", "INTERLEAVE=BAND", "COMPRESS=DEFLATE"}, false},
      {"jpeg", "JPEG tiles", {"TILED=YES", "INTERLEAVE=PIXEL", "COMPRESS=JPEG", "PHOTOMETRIC=YCBCR"}, false},
      {"lzw", "LZW strips of 16 rows", {"BLOCKYSIZE=16", "INTERLEAVE=PIXEL", "COMPRESS=LZW"}, false, 8},
  };
  return kinds;
}

class OurBands {
 public:
  explicit OurBands(const std::string& path) {
    XString err;
    Must(XRSFileIO::LoadFileTIF(&file_, path, err, 0, kLevelNone, nullptr), path + ": " + err.AsStdString());
    Must(file_.GetNumOfBands() == 3, path + " has other than three channels");
  }
  const tagXArr2& Read(int channel, const Window& window) const {
    tagXArr2* out = nullptr;
    Must(file_.GetBandAt(channel)->ReadSubset(out, 0, window.x0, window.x1, window.y0, window.y1, nullptr),
         "a window could not be read");
    return *out;
  }
  void Read(int channel, Windows windows) const {
    for (const Window& window : windows) Read(channel, window);
  }

 private:
  XRSFile file_;
};

void MustAgree(const std::string& path, Windows windows) {
  const OurBands ours(path);
  for (int channel = 0; channel < 3; ++channel) {
    GdalBand gdal(path, channel, true);
    LibtiffBand libtiff(path, channel);
    for (const Window& window : windows) {
      const tagXArr2& mine = ours.Read(channel, window);
      Must(std::ranges::equal(gdal.Read(window), std::span(mine.data, gdal.Read(window).size())),
           "this library and GDAL differ in " + path);
      // The rivals are compared as well: a wrong reader of the bench would flatter us.
      Must(libtiff.Read(window) == gdal.Read(window), "libtiff and GDAL differ in " + path);
    }
  }
}

void OnTwoThreads(Windows windows, const std::function<void(Windows)>& read) {
  const std::size_t half = windows.size() / 2;
  std::thread other([&] { read(windows.subspan(half)); });
  read(windows.first(half));
  other.join();
}

/// The image from top to bottom, a row of tiles at a time.
std::vector<Window> CutIntoStripes(int side) {
  std::vector<Window> stripes;
  for (int y = 0; y < side; y += kWindowSide) stripes.push_back({0, side - 1, y, y + kWindowSide - 1});
  return stripes;
}

void AddWindowRows(const std::string& path, const TiffKind& kind, const SharedWindows& windows,
                   std::vector<Row>& rows) {
  const std::string key = std::string("tiff_") + kind.key;
  const std::string title = std::string(kind.title) + ", " + std::to_string(windows->size()) + " windows";
  const auto ours = [=] { OurBands(path).Read(0, *windows); };
  rows.push_back({key + "_windows", title, "GDAL, no block kept", ours,
                  [=] { GdalBand(path, 0, false).Read(*windows); }, 1, kind.isPlain ? 1 / 3.0 : 1.0});
  rows.push_back({key + "_kept", title, "GDAL, blocks kept", ours, [=] { GdalBand(path, 0, true).Read(*windows); }, 1,
                  kind.isPlain ? 1 / 3.0 : 1.0});
  rows.push_back({key + "_libtiff", title, "libtiff", ours, [=] { LibtiffBand(path, 0).Read(*windows); }, 1, 1.0});
  const auto open = std::make_shared<OurBands>(path);
  rows.push_back({key + "_threads", title + ", 2 threads", "itself on 1 thread",
                  [=] { OnTwoThreads(*windows, [&](Windows part) { open->Read(0, part); }); },
                  [=] { open->Read(0, *windows); }, 1, 1 / 1.8});
}

/// All of a band from top to bottom, which programs that compute over whole images do.
void AddSequentialRows(const std::string& path, const TiffKind& kind, int side, std::vector<Row>& rows) {
  const std::string key = std::string("tiff_") + kind.key, title = std::string(kind.title) + ", ";
  const auto stripes = std::make_shared<std::vector<Window>>(CutIntoStripes(side));
  const auto ours = [=] { OurBands(path).Read(0, *stripes); };
  rows.push_back({key + "_whole", title + "all of one band", "GDAL", ours,
                  [=] { GdalBand(path, 0, true).Read(*stripes); }, 1, kind.isPlain ? 1 / 3.0 : 1.0});
  rows.push_back({key + "_whole_libtiff", title + "all of one band", "libtiff", ours,
                  [=] { LibtiffBand(path, 0).Read(*stripes); }, 1, 1.0});
  rows.push_back({key + "_channels", title + "all of three bands in turn", "itself, one band",
                  [=] {
                    const OurBands bands(path);
                    for (const Window& stripe : *stripes) {
                      for (int channel = 0; channel < 3; ++channel) bands.Read(channel, stripe);
                    }
                  },
                  ours, 1, 3.0});
}

}  // namespace

void AddTiffRows(const BenchOptions& options, std::vector<Row>& rows) {
  for (const TiffKind& kind : AllKinds()) {
    const std::string name = std::string("tiff_") + kind.key;
    // A key may be the beginning of a kind's name, or the name with more behind it.
    if (!options.only.empty() && !name.starts_with(options.only) && !options.only.starts_with(name)) continue;
    const std::string path = options.folder + "/" + name + std::to_string(options.side) + ".tif";
    const int numWindows = std::max(options.numWindows / kind.windowShare, 1);
    const auto windows = std::make_shared<std::vector<Window>>(PickWindows(options.side, numWindows));
    MakeTiff(path, options.side, kPint08, 3, kind.options);
    MustAgree(path, Windows(*windows).first(static_cast<std::size_t>(std::min(numWindows, 8))));
    AddWindowRows(path, kind, windows, rows);
    AddSequentialRows(path, kind, options.side, rows);
  }
}
