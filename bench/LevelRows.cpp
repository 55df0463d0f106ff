// Rows about level files beside GDAL's overviews, and about compressed native rasters beside LERC in TIFF. Each library
// works on a file of its own kind, tiled and with the same pixels.
//
// A build is level data and statistics together, because a level file has both. GDAL is measured twice: by its
// programs, as a user at the shell works, and by its library in one process, which has all blocks in its cache when
// statistics are taken. A third rival is the floor of LevelLimit.h. Files to read and write are in the system's cache
// for everyone.
//
// Reads compare the levels themselves: both libraries average four pixels into one, and on the levels that are timed
// their pixels must be the same.

#include "Inputs.h"
#include "LevelInputs.h"
#include "LevelLimit.h"
#include "Rows.h"
#include "XExactStatistics.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"
#include "ZRMBandXLD.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <unistd.h>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Dataset = std::unique_ptr<GDALDataset, void (*)(GDALDataset*)>;

/// What is compared: a picture of a size and a type.
struct Picture {
  const char* key;
  const char* title;
  int side;
  int dataType;
  int numBands;
  std::string native;
  std::string tiff;
};

Dataset OpenTiff(const std::string& path) {
  Dataset dataset(GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly)),
                  [](GDALDataset* open) { GDALClose(open); });
  Must(dataset != nullptr, "GDAL can't open " + path);
  return dataset;
}

std::unique_ptr<XRSFile> OpenNative(const std::string& path) {
  auto file = std::make_unique<XRSFile>();
  XString err;
  Must(XRSFileIO::LoadFileZRM(file.get(), path, err, nullptr), path + ": " + err.AsStdString());
  return file;
}

/// The overviews that GDAL builds: as far as one is worth having, some 128 pixels.
std::vector<int> ReductionsOf(int side) {
  std::vector<int> reductions;
  for (int factor = 2; side / factor >= 128; factor *= 2) reductions.push_back(factor);
  return reductions;
}

/// GDAL keeps overviews and statistics that it finds, so that a second build would do nothing.
void RemoveGdals(const Picture& picture) {
  fs::remove(picture.tiff + ".ovr");
  fs::remove(picture.tiff + ".aux.xml");
}

void RunCommand(const std::string& command) {
  Must(std::system(command.c_str()) == 0, "this command fails: " + command);
}

/// Builds as a user at the shell does. The start of two programs is part of it.
void BuildByCommands(const Picture& picture) {
  RemoveGdals(picture);
  std::string reductions;
  for (const int factor : ReductionsOf(picture.side)) reductions.append(" ").append(std::to_string(factor));
  // Overviews go to a file beside the TIFF, as our level file does, and average as ours does.
  RunCommand("gdaladdo -q -ro -r average '" + picture.tiff + "'" + reductions);
  RunCommand("gdalinfo -stats -hist '" + picture.tiff + "' > /dev/null");
}

/// Builds through GDAL's library in one process. All blocks are still in its cache when the statistics are taken.
void BuildByLibrary(const Picture& picture) {
  RemoveGdals(picture);
  const Dataset dataset = OpenTiff(picture.tiff);
  std::vector<int> reductions = ReductionsOf(picture.side);
  Must(dataset->BuildOverviews("AVERAGE", static_cast<int>(reductions.size()), reductions.data(), 0, nullptr, nullptr,
                               nullptr) == CE_None,
       "GDAL can't build overviews");
  for (int i = 1; i <= picture.numBands; ++i) {
    GDALRasterBand* band = dataset->GetRasterBand(i);
    // A level file has both statistics and histogram. The answers are not looked at, only computed.
    double minimum, maximum, mean, deviation;
    Must(band->ComputeStatistics(FALSE, &minimum, &maximum, &mean, &deviation, nullptr, nullptr) == CE_None,
         "GDAL can't compute statistics");
    int numBuckets = 0;
    GUIntBig* counts = nullptr;
    Must(band->GetDefaultHistogram(&minimum, &maximum, &numBuckets, &counts, TRUE, nullptr, nullptr) == CE_None,
         "GDAL can't compute a histogram");
    VSIFree(counts);
  }
}

void BuildByUs(const Picture& picture, int numWorkers) {
  // Workers are granted for this build alone. Later rows find one again.
  XfnSetWorkerCount(numWorkers);
  const std::unique_ptr<XRSFile> file = OpenNative(picture.native);
  XString err;
  Must(XRSFileIO::CreateFileXLD(file.get(), picture.native, err, kLevelBuild, nullptr), err.AsStdString());
  XfnSetWorkerCount(1);
}

/// With the histogram, as a level file has it.
void MeasureByUs(const Picture& picture, int numWorkers) {
  XfnSetWorkerCount(numWorkers);
  const std::unique_ptr<XRSFile> file = OpenNative(picture.native);
  std::vector<ZRMBand*> bands;
  for (int i = 0; i < file->GetNumOfBands(); ++i) bands.push_back(file->GetBandAt(i));
  Must(XfnCalcExactStatistics(bands, 1), "no statistics");
  XfnSetWorkerCount(1);
}

/// Statistics of all pixels beside the build of a level file, which takes those of the half-size image.
void AddStatisticsRows(const Picture& picture, std::vector<Row>& rows) {
  for (const int numWorkers : {1, 2}) {
    const std::string workers = numWorkers == 1 ? "" : ", 2 workers";
    rows.push_back({std::string("level_statistics_") + picture.key + "_" + std::to_string(numWorkers),
                    std::string("statistics of all pixels of ") + picture.title + workers, "its level file, built",
                    [=] { MeasureByUs(picture, numWorkers); }, [=] { BuildByUs(picture, numWorkers); }, 1, 2.0,
                    [] { ::sync(); }});
  }
}

/// The build beside the floor under it, on one worker and on two.
void AddLimitRows(const Picture& picture, std::vector<Row>& rows) {
  const std::string built = XRSFileIO::GetFileNameXLD(picture.native).AsStdString(), sample = built + ".sample";
  BuildByUs(picture, 1);
  // The timed builds replace the level file. The size of its bytes is taken from a copy, which stays.
  fs::copy_file(built, sample, fs::copy_options::overwrite_existing);
  for (const int numWorkers : {1, 2}) {
    const std::string workers = numWorkers == 1 ? "" : ", 2 workers";
    rows.push_back({std::string("level_limit_") + picture.key + "_" + std::to_string(numWorkers),
                    std::string("level file of ") + picture.title + workers, "its bytes moved, no work",
                    [=] { BuildByUs(picture, numWorkers); },
                    [=] { MoveBytesOfLevelFile(picture.native, sample, numWorkers); }, 1, numWorkers == 1 ? 1.5 : 1.25,
                    [] { ::sync(); }});
  }
}

/// The pyramid of one band in the level file. It is opened as level data of the painted band, because a native raster
/// has none attached.
class OurLevels {
 public:
  explicit OurLevels(const Picture& picture) : source_(picture.side, picture.dataType, 0) {
    Must(file_.Open(XRSFileIO::GetFileNameXLD(picture.native), XFile::kRead), "no level file");
    levels_.SetFile(&file_, 0);
    // The stores begin behind the head of a level file.
    levels_.SetOffset(12);
    Must(levels_.Init(&source_, picture.side, picture.side, picture.dataType, 256, 256), "no level data");
  }
  const tagXArr2& Read(int level, const Window& window) {
    tagXArr2* out = nullptr;
    Must(levels_.ReadSubset(out, level, window.x0, window.x1, window.y0, window.y1, nullptr), "can't read a level");
    return *out;
  }

 private:
  PaintedBand source_;
  XFile file_;
  ZRMBandXLD levels_;
};

/// Windows of `kWindowSide` pixels on a level, in full-resolution pixels.
std::vector<Window> WindowsOn(int level, int side, int count) {
  std::vector<Window> windows = PickWindows(side >> level, count);
  for (Window& w : windows) w = {w.x0 << level, ((w.x1 + 1) << level) - 1, w.y0 << level, ((w.y1 + 1) << level) - 1};
  return windows;
}

/// Reads windows through GDAL. As with this library they are given in full-resolution pixels, and GDAL finds the
/// overview by the size that is asked for.
void ReadByGdal(const std::string& tiff, int level, std::span<const Window> windows, std::vector<unsigned char>& out) {
  const Dataset dataset = OpenTiff(tiff);
  GDALRasterBand* band = dataset->GetRasterBand(1);
  // Without the overview GDAL would average full-resolution pixels, and the row would measure something else.
  Must(band->GetOverviewCount() >= level, "no overview");
  const GDALDataType type = band->GetRasterDataType();
  out.resize(static_cast<std::size_t>(kWindowSide * kWindowSide * GDALGetDataTypeSizeBytes(type)));
  for (const Window& w : windows) {
    const CPLErr error = band->RasterIO(GF_Read, w.x0, w.y0, kWindowSide << level, kWindowSide << level, out.data(),
                                        kWindowSide, kWindowSide, type, 0, 0, nullptr);
    Must(error == CE_None, "GDAL can't read a level");
  }
}

void MustAgree(const Picture& picture, int level, std::span<const Window> windows) {
  OurLevels ours(picture);
  std::vector<unsigned char> theirs;
  for (const Window& window : windows) {
    ReadByGdal(picture.tiff, level, {&window, 1}, theirs);
    const tagXArr2& mine = ours.Read(level, window);
    Must(std::memcmp(mine.data, theirs.data(), theirs.size()) == 0, "this library and GDAL differ on a level");
  }
}

void AddBuildRows(const Picture& picture, std::vector<Row>& rows) {
  // The targets: five times as fast as the programs, eight times on two workers, and no slower than the library.
  const std::string key = std::string("levels_") + picture.key;
  const std::string title = std::string("level file of ") + picture.title;
  rows.push_back({key + "_1", title, "gdaladdo and gdalinfo", [=] { BuildByUs(picture, 1); },
                  [=] { BuildByCommands(picture); }, 1, 1 / 5.0});
  rows.push_back({key + "_2", title + ", 2 workers", "gdaladdo and gdalinfo", [=] { BuildByUs(picture, 2); },
                  [=] { BuildByCommands(picture); }, 1, 1 / 8.0});
  rows.push_back({key + "_library", title, "GDAL's library", [=] { BuildByUs(picture, 1); },
                  [=] { BuildByLibrary(picture); }, 1, 1.0});
}

void AddReadRows(const BenchOptions& options, const Picture& picture, std::vector<Row>& rows) {
  BuildByUs(picture, 1);
  BuildByLibrary(picture);
  // A large, a middle and a small level: tiles that are read once, and tiles that many windows share.
  for (const int level : {1, 3, 5}) {
    if (picture.side >> level < kWindowSide) continue;
    const auto windows = std::make_shared<std::vector<Window>>(WindowsOn(level, picture.side, options.numWindows));
    MustAgree(picture, level, std::span(*windows).first(8));
    const std::string title = std::to_string(options.numWindows) + " windows at level " + std::to_string(level);
    rows.push_back({"level_read_" + std::to_string(level), title, "GDAL",
                    [=] {
                      OurLevels ours(picture);
                      for (const Window& window : *windows) ours.Read(level, window);
                    },
                    [=] {
                      std::vector<unsigned char> out;
                      ReadByGdal(picture.tiff, level, *windows, out);
                    },
                    1, 1 / 3.0});
  }
}

std::string CompressedName(const Picture& picture) {
  return picture.native + ".comp.zrm";
}
std::string LercName(const Picture& picture) {
  return picture.tiff + ".lerc.tif";
}

void CompressByUs(const Picture& picture, double maxError) {
  const std::unique_ptr<XRSFile> file = OpenNative(picture.native);
  XString err;
  const int last = picture.side - 1;
  Must(XRSFileIO::SaveFileZRMComp(file.get(), CompressedName(picture), 0, 0, last, 0, last, maxError, err, nullptr, 0),
       err.AsStdString());
}

void CompressByGdal(const Picture& picture, double maxError) {
  const Dataset dataset = OpenTiff(picture.tiff);
  // The same coders under the same bound, so that container and handling are what differs.
  const std::string bound = "MAX_Z_ERROR=" + std::to_string(maxError);
  const char* const options[] = {"TILED=YES", "COMPRESS=LERC_ZSTD", bound.c_str(), nullptr};
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  GDALDataset* made = driver->CreateCopy(LercName(picture).c_str(), dataset.get(), FALSE, const_cast<char**>(options),
                                         nullptr, nullptr);
  Must(made != nullptr, "GDAL can't compress");
  GDALClose(made);
}

/// Reads go by whole rows of tiles, so that neither library decodes a tile twice.
void ReadCompressedByUs(const Picture& picture) {
  const std::unique_ptr<XRSFile> file = OpenNative(CompressedName(picture));
  for (int y = 0; y < picture.side; y += kWindowSide) {
    tagXArr2* out = nullptr;
    Must(file->GetBandAt(0)->ReadSubset(out, 0, 0, picture.side - 1, y, y + kWindowSide - 1, nullptr), "can't read");
  }
}

void ReadCompressedByGdal(const Picture& picture) {
  const Dataset dataset = OpenTiff(LercName(picture));
  GDALRasterBand* band = dataset->GetRasterBand(1);
  const GDALDataType type = band->GetRasterDataType();
  std::vector<unsigned char> rows(static_cast<std::size_t>(picture.side) * kWindowSide *
                                  static_cast<std::size_t>(GDALGetDataTypeSizeBytes(type)));
  for (int y = 0; y < picture.side; y += kWindowSide) {
    Must(band->RasterIO(GF_Read, 0, y, picture.side, kWindowSide, rows.data(), picture.side, kWindowSide, type, 0, 0,
                        nullptr) == CE_None,
         "GDAL can't read");
  }
}

void AddRowsOf(const Picture& picture, double maxError, std::vector<Row>& rows) {
  CompressByUs(picture, maxError);
  CompressByGdal(picture, maxError);
  // Sizes are printed apart from the table, which is about times.
  const auto ours = static_cast<double>(fs::file_size(CompressedName(picture)));
  const auto theirs = static_cast<double>(fs::file_size(LercName(picture)));
  std::printf("%s compressed, error up to %g: %.1f MB, as LERC_ZSTD in TIFF %.1f MB, ratio %.2f (asked: 1.10)\n",
              picture.title, maxError, ours / 1e6, theirs / 1e6, ours / theirs);
  const std::string key = std::string("comp_") + picture.key, title = std::string(picture.title) + ", compressed, ";
  rows.push_back({key + "_write", title + "written", "GDAL LERC_ZSTD", [=] { CompressByUs(picture, maxError); },
                  [=] { CompressByGdal(picture, maxError); }, 1, 1.0});
  rows.push_back({key + "_read", title + "read", "GDAL LERC_ZSTD", [=] { ReadCompressedByUs(picture); },
                  [=] { ReadCompressedByGdal(picture); }, 1, 1.0});
}

Picture MakePicture(const BenchOptions& options, const char* key, const char* title, int side, int dataType,
                    int numBands) {
  const std::string stem = options.folder + "/levels_" + key + std::to_string(side);
  Picture picture = {key, title, side, dataType, numBands, stem + ".zrm", stem + ".tif"};
  MakeNative(picture.native, side, dataType, numBands);
  MakeTiledTiff(picture.tiff, side, dataType, numBands);
  return picture;
}

}  // namespace

void AddLevelRows(const BenchOptions& options, std::vector<Row>& rows) {
  // Bytes, three bands that are read together, and reals, whose histogram needs a second pass.
  const int large = 2 * options.side;
  const Picture grey = MakePicture(options, "u8", "a large 8-bit picture", large, kPint08, 1);
  const Picture colour = MakePicture(options, "rgb", "a large 3 x 8-bit picture", large, kPint08, 3);
  const Picture real = MakePicture(options, "f32", "a float picture", options.side, kReal32, 1);
  for (const Picture& picture : {grey, colour, real}) AddBuildRows(picture, rows);
  for (const Picture& picture : {grey, colour, real}) AddLimitRows(picture, rows);
  for (const Picture& picture : {grey, colour, real}) AddStatisticsRows(picture, rows);
  AddReadRows(options, grey, rows);
}

void AddCompressedRows(const BenchOptions& options, std::vector<Row>& rows) {
  const int side = options.side / 2;
  AddRowsOf(MakePicture(options, "f32", "a float picture", side, kReal32, 1), 0.5, rows);
  AddRowsOf(MakePicture(options, "u8", "an 8-bit picture", side, kPint08, 1), 0.0, rows);
}
