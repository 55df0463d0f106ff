// Rows about reading JPEG 2000 files of three channels, without loss, in one tile and in tiles of 512 x 512, beside
// OpenJPEG in this process and GDAL. GDAL writes the files, once.
//
// The decoder is the same for all. So a whole image promises the time of OpenJPEG alone, and no more for what is added
// to it. Windows lie anywhere in the image. This library decodes the parts of the tiles that a window needs, and GDAL
// whole blocks. In one row neither keeps what it decoded for a window before, so that the row is about windows that
// seldom meet the same tile, as those of large images and of programs that open a file for each. In another row both
// have memory for all that they ever decoded, as GDAL has by itself; windows meet each tile several times there, and
// GDAL's whole blocks serve it better. All of these are on one thread, although GDAL would take more by itself for a
// window of several blocks. A repeated window is one call.
//
// Nine tenths of the time of a window are the decoder's, which has to decode each code block that a window touches. In
// tiles of 512 x 512 these are a little more than a third of those of the tiles, so that no reader of windows can do
// much better than a third of the time of a reader of whole tiles.
//
// A row takes seconds a round, mostly the rival's. So the image is a quarter as wide as the bitmap, there are few
// rounds and windows, and for one tile the rival reads only the first few of the windows; what is compared is the time
// of one. All rows together take a minute.

#include "Inputs.h"
#include "PeakMemory.h"
#include "Rows.h"
#include "XBlockCache.h"
#include "XReadPolicy.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <openjpeg.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <span>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int kNumChannels = 3;
constexpr int kReduction = 16;
constexpr int kReducedLevel = 4;
constexpr int kSlowRounds = 3;
constexpr std::int64_t kKeptBytes = std::int64_t{256} << 20;

using Bytes = std::vector<unsigned char>;
using GdalFile = std::unique_ptr<GDALDataset, void (*)(GDALDataset*)>;

GdalFile HoldOpen(GDALDataset* dataset) {
  return {dataset, [](GDALDataset* open) {
            if (open) GDALClose(open);
          }};
}

/// Waves with some noise, so that code blocks hold about as much as those of a photograph.
GdalFile MakeWaves(int side) {
  GdalFile waves =
      HoldOpen(GetGDALDriverManager()->GetDriverByName("MEM")->Create("", side, side, kNumChannels, GDT_Byte, nullptr));
  std::mt19937 random(20240229);
  Bytes row(static_cast<std::size_t>(side));
  for (int c = 0; c < kNumChannels; ++c) {
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        const double wave = 128.0 + 60.0 * std::sin(x / 97.0 + c) + 50.0 * std::cos(y / 71.0);
        row[static_cast<std::size_t>(x)] = static_cast<unsigned char>(wave + static_cast<int>(random() % 9) - 4);
      }
      const CPLErr failed =
          waves->GetRasterBand(c + 1)->RasterIO(GF_Write, 0, y, side, 1, row.data(), side, 1, GDT_Byte, 0, 0, nullptr);
      Must(failed == CE_None, "a picture could not be made");
    }
  }
  return waves;
}

void MakeJp2(const std::string& path, int side, int tile) {
  if (fs::exists(path)) return;
  const std::string size = std::to_string(tile);
  CPLStringList options;
  options.SetNameValue("QUALITY", "100");
  options.SetNameValue("REVERSIBLE", "YES");
  options.SetNameValue("BLOCKXSIZE", size.c_str());
  options.SetNameValue("BLOCKYSIZE", size.c_str());
  options.SetNameValue("RESOLUTIONS", "6");
  const GdalFile waves = MakeWaves(side);
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("JP2OpenJPEG");
  Must(driver != nullptr, "this GDAL writes no JPEG 2000 files");
  const GdalFile made =
      HoldOpen(driver->CreateCopy(path.c_str(), waves.get(), FALSE, options.List(), nullptr, nullptr));
  Must(made != nullptr, path + " could not be made");
}

/// An open file of ours.
class OurJp2 {
 public:
  explicit OurJp2(const std::string& path) {
    XString err;
    file_.SetReadPolicy(kReadExact);
    Must(XRSFileIO::LoadFileJP2(&file_, path, err, 0, kLevelNone, nullptr), path + ": " + err.AsStdString());
  }
  /// The channel's samples; one read serves all of them.
  std::span<const unsigned char> Read(int channel, int level, const Window& window) const {
    tagXArr2* out = nullptr;
    Must(file_.GetBandAt(channel)->ReadSubset(out, level, window.x0, window.x1, window.y0, window.y1, nullptr),
         "a window could not be read");
    return {out->data, static_cast<std::size_t>(out->xSize) * static_cast<std::size_t>(out->ySize)};
  }
  void ReadAll(int level, const Window& window) const {
    for (int c = 0; c < kNumChannels; ++c) Read(c, level, window);
  }

 private:
  XRSFile file_;
};

/// Reads windows through GDAL, on one thread.
class GdalJp2 {
 public:
  explicit GdalJp2(const std::string& path, bool keepsBlocks = false) : keepsBlocks_(keepsBlocks) {
    CPLSetConfigOption("GDAL_NUM_THREADS", "1");
    file_ = HoldOpen(GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly)));
    Must(file_ != nullptr, "GDAL can't open " + path);
  }
  ~GdalJp2() { CPLSetConfigOption("GDAL_NUM_THREADS", nullptr); }
  GdalJp2(const GdalJp2&) = delete;
  GdalJp2& operator=(const GdalJp2&) = delete;

  const Bytes& Read(const Window& window, int reduction) {
    const int width = window.x1 - window.x0 + 1, height = window.y1 - window.y0 + 1;
    const int columns = width / reduction, rows = height / reduction;
    samples_.resize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * kNumChannels);
    if (!keepsBlocks_) file_->FlushCache(false);
    Must(file_->RasterIO(GF_Read, window.x0, window.y0, width, height, samples_.data(), columns, rows, GDT_Byte,
                         kNumChannels, nullptr, 0, 0, 0, nullptr) == CE_None,
         "GDAL failed to read a window");
    return samples_;
  }

 private:
  GdalFile file_ = HoldOpen(nullptr);
  Bytes samples_;
  bool keepsBlocks_;
};

struct Codestream {
  const Bytes& bytes;
  std::size_t place;
};

OPJ_SIZE_T ReadCodestream(void* buffer, OPJ_SIZE_T count, void* user) {
  auto& stream = *static_cast<Codestream*>(user);
  const std::size_t got = std::min<std::size_t>(count, stream.bytes.size() - stream.place);
  if (got == 0) return static_cast<OPJ_SIZE_T>(-1);
  std::copy_n(stream.bytes.data() + stream.place, got, static_cast<unsigned char*>(buffer));
  stream.place += got;
  return got;
}

/// OpenJPEG alone, over bytes in memory. Its samples stay 32-bit numbers.
void DecodeByOpenJpeg(const Bytes& bytes, std::size_t offset, int numThreads) {
  Codestream codestream{bytes, offset};
  opj_codec_t* const codec = opj_create_decompress(OPJ_CODEC_J2K);
  opj_stream_t* const stream = opj_stream_create(1 << 20, OPJ_STREAM_READ);
  opj_stream_set_user_data(stream, &codestream, nullptr);
  opj_stream_set_user_data_length(stream, bytes.size() - offset);
  opj_stream_set_read_function(stream, &ReadCodestream);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  opj_setup_decoder(codec, &parameters);
  opj_codec_set_threads(codec, numThreads > 1 ? numThreads : 0);
  opj_image_t* image = nullptr;
  Must(opj_read_header(stream, codec, &image) && opj_decode(codec, stream, image), "OpenJPEG failed to decode");
  opj_image_destroy(image);
  opj_stream_destroy(stream);
  opj_destroy_codec(codec);
}

Bytes LoadBytes(const std::string& path, std::size_t& offset) {
  std::ifstream stream(path, std::ios::binary);
  Bytes bytes((std::istreambuf_iterator<char>(stream)), {});
  constexpr unsigned char kStart[] = {0xFF, 0x4F, 0xFF, 0x51};
  offset = static_cast<std::size_t>(std::search(bytes.begin(), bytes.end(), std::begin(kStart), std::end(kStart)) -
                                    bytes.begin());
  return bytes;
}

void MustAgree(const std::string& path, std::span<const Window> windows) {
  const OurJp2 ours(path);
  GdalJp2 gdal(path);
  for (const Window& window : windows) {
    const Bytes& theirs = gdal.Read(window, 1);
    for (int c = 0; c < kNumChannels; ++c) {
      const std::span<const unsigned char> mine = ours.Read(c, 0, window);
      Must(std::ranges::equal(mine, std::span(theirs).subspan(static_cast<std::size_t>(c) * mine.size(), mine.size())),
           "this library and GDAL differ in " + path);
    }
  }
}

void AddWholeRows(const std::string& path, const std::string& key, const std::string& title, int side,
                  std::vector<Row>& rows) {
  for (const int numThreads : {1, 2}) {
    const std::string threads = numThreads == 1 ? ", one thread" : ", two threads";
    const Window whole{0, side - 1, 0, side - 1};
    rows.push_back({key + "_whole" + std::to_string(numThreads), "all of a JPEG 2000 file, " + title + threads,
                    "OpenJPEG",
                    [=] {
                      XfnSetWorkerCount(numThreads);
                      OurJp2(path).ReadAll(0, whole);
                      XfnSetWorkerCount(1);
                    },
                    [=] {
                      std::size_t offset = 0;
                      const Bytes bytes = LoadBytes(path, offset);
                      DecodeByOpenJpeg(bytes, offset, numThreads);
                    },
                    1, 1.03, nullptr, 0, kSlowRounds});
  }
}

void ReadByGdal(const std::string& path, std::span<const Window> windows, bool keepsBlocks) {
  GdalJp2 file(path, keepsBlocks);
  for (const Window& window : windows) file.Read(window, 1);
}

/// How windows of a file are read. The rival reads the first few of them, and all of them where it keeps its blocks.
struct WindowPlan {
  int count;
  int numTheirs;
  double keptTarget;
};

void AddWindowRows(const std::string& path, const std::string& key, const std::string& title, int side,
                   const WindowPlan& plan, std::vector<Row>& rows) {
  const auto [count, numTheirs, keptTarget] = plan;
  const auto windows = std::make_shared<std::vector<Window>>(PickWindows(side, count));
  MustAgree(path, std::span(*windows).first(std::min<std::size_t>(windows->size(), 4)));
  const auto readOurs = [=](std::int64_t numKeptBytes) {
    XfnSetBlockCacheBytes(numKeptBytes);
    const OurJp2 file(path);
    for (const Window& window : *windows) file.ReadAll(0, window);
    XfnSetBlockCacheBytes(0);
  };
  const auto first = static_cast<std::size_t>(std::min(numTheirs, count));
  rows.push_back({key + "_windows", "a window of JPEG 2000, " + title, "GDAL, no blocks kept", [=] { readOurs(0); },
                  [=] { ReadByGdal(path, std::span(*windows).first(first), false); }, count, 0.34, nullptr,
                  static_cast<int>(first), kSlowRounds});
  rows.push_back({key + "_kept", "a window, blocks kept, JPEG 2000, " + title, "GDAL, all blocks kept",
                  [=] { readOurs(kKeptBytes); }, [=] { ReadByGdal(path, *windows, true); }, count, keptTarget, nullptr,
                  0, kSlowRounds});
  const Window whole{0, side - 1, 0, side - 1};
  rows.push_back({key + "_view", "a view of a JPEG 2000 file at 1/16, " + title, "GDAL",
                  [=] { OurJp2(path).ReadAll(kReducedLevel, whole); }, [=] { GdalJp2(path).Read(whole, kReduction); },
                  1, 1.0});
}

}  // namespace

void AddJp2Rows(const BenchOptions& options, std::vector<Row>& rows) {
  GDALAllRegister();
  constexpr int kTileSide = 512, kUsualWindows = 40, kMostWindows = 200;
  const int side = std::max(options.side / 4, kWindowSide * 2);
  // The number of windows that other rows have by themselves would take minutes here.
  const int count =
      options.numWindows == BenchOptions().numWindows ? kUsualWindows : std::min(options.numWindows, kMostWindows);
  struct Kind {
    const char* key;
    int tileSide;
    const char* title;
    WindowPlan plan;
  };
  // A tile that is too large to be kept is always decoded in parts. Any other tile is decoded in part once, and as a
  // whole once.
  const Kind kinds[] = {{"jp2_one", side, "one tile", {count, 10, 2.0}},
                        {"jp2_tiles", kTileSide, "tiles of 512 x 512", {count, count, 1.4}}};
  for (const auto& [key, tile, title, plan] : kinds) {
    const std::string path = options.folder + "/" + std::string(key) + std::to_string(side) + ".jp2";
    MakeJp2(path, side, tile);
    AddWholeRows(path, key, title, side, rows);
    AddWindowRows(path, key, title, side, plan, rows);
  }
  const PeakMemory peak = MeasurePeakOfWindow(options.folder + "/jp2_tiles" + std::to_string(side) + ".jp2");
  std::printf("a window of a tiled JPEG 2000 file of %.0f megapixels, peak memory %.0f MB (asked: below 67)\n",
              static_cast<double>(side) * side / 1e6, static_cast<double>(peak.own) / 1e6);
  const auto file = std::make_shared<OurJp2>(options.folder + "/jp2_tiles" + std::to_string(side) + ".jp2");
  constexpr int kRepeats = 100000;
  rows.push_back({"jp2_repeat", "a window of a JPEG 2000 file again", "",
                  [file] {
                    for (int i = 0; i < kRepeats; ++i) file->Read(0, 0, {0, kWindowSide - 1, 0, kWindowSide - 1});
                  },
                  nullptr, kRepeats, 1e-6});
}
