// Rows about saving whole datasets as TIFF, beside GDAL and beside a plain copy of the result, which is the floor.
// Every contender opens its source within what is timed, works on one thread, and writes a new file. Our
// save brings the file to the medium before it gives it its name, and that is timed as well. The rivals sync nothing,
// and their bytes may still be on their way when the clock stops.
//
// Sources are strips of interleaved pixels, planes, and a native raster, because bands come out of each in another way.
// Results must have the same pixels as GDAL's before anything is timed. Peak memory is told beside the table.

#include "LevelInputs.h"
#include "PeakMemory.h"
#include "Rows.h"
#include "SavedFiles.h"
#include "TiffInputs.h"

#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

namespace {

/// One picture in three kinds of source, and the names that it is saved under.
struct Picture {
  const char* key;
  const char* title;
  std::string strips;
  std::string planes;
  std::string native;
  std::string ours;
  std::string theirs;
  std::string kept;  ///< a result that stays, to be copied
};

void RunCommand(const std::string& command) {
  Must(std::system(command.c_str()) == 0, "this command fails: " + command);
}

/// The start of the program is part of it, as it is for a user at the shell.
void SaveByGdalsProgram(const std::string& from, const std::string& to) {
  RunCommand("gdal_translate -q '" + from + "' '" + to + "'");
}

void SaveByGdalsLibrary(const std::string& from, const std::string& to) {
  const GdalSource source = OpenByGdal(from);
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  GDALDataset* made = driver->CreateCopy(to.c_str(), source.get(), FALSE, nullptr, nullptr, nullptr);
  // Closing flushes GDAL's cache, and so it belongs to the save.
  Must(made != nullptr, "GDAL can't write " + to);
  GDALClose(made);
}

/// Removes the results. Pages that were not written yet go with them. What is already on its way to the disk is waited
/// for, so that nobody's work is done in another's time.
void Prepare(const Picture& picture) {
  fs::remove(picture.ours);
  fs::remove(picture.theirs);
  ::sync();
}

void MakeKept(const Picture& picture) {
  SaveAsTiff(picture.strips, picture.kept);
  WaitForDisk(picture.kept);
}

void MustSaveAlike(const Picture& picture) {
  SaveByGdalsProgram(picture.strips, picture.theirs);
  for (const std::string& source : {picture.strips, picture.planes, picture.native}) {
    fs::remove(picture.ours);
    SaveAsTiff(source, picture.ours);
    MustAgree(picture.ours, picture.theirs);
  }
  Prepare(picture);
}

void PrintPeaks(const Picture& picture) {
  for (const std::string& source : {picture.strips, picture.planes, picture.native}) {
    const PeakMemory peak = MeasurePeakOfSave(source, picture.ours);
    std::printf("%s from %s saved as TIFF, peak memory %.0f MB (asked: below 100), with mapped files %.0f MB\n",
                picture.title, fs::path(source).filename().c_str(), static_cast<double>(peak.own) / 1e6,
                static_cast<double>(peak.withFiles) / 1e6);
  }
  Prepare(picture);
}

void AddRowsOf(const Picture& picture, const char* kind, const std::string& source, const std::string& theirSource,
               std::vector<Row>& rows) {
  const std::string key = std::string("write_") + picture.key + "_" + kind;
  const std::string title = std::string(picture.title) + " to TIFF, from " + kind;
  const auto ours = [=] { SaveAsTiff(source, picture.ours); };
  // The targets: five times as fast as the program, no slower than the library, and a copy takes 0.7 of our time at
  // least.
  const auto prepare = [=] { Prepare(picture); };
  rows.push_back({key + "_program", title, "gdal_translate", ours,
                  [=] { SaveByGdalsProgram(theirSource, picture.theirs); }, 1, 1 / 5.0, prepare});
  rows.push_back({key + "_library", title, "GDAL's library", ours,
                  [=] { SaveByGdalsLibrary(theirSource, picture.theirs); }, 1, 1.0, prepare});
  rows.push_back({key + "_copy", title, "cp of the result", ours,
                  [=] { RunCommand("cp '" + picture.kept + "' '" + picture.theirs + "'"); }, 1, 1 / 0.7, prepare});
}

Picture MakePicture(const BenchOptions& options, const char* key, const char* title, int side, int dataType,
                    int numBands) {
  // Results lie beside their sources, on the same disk.
  const std::string stem = options.folder + "/write_" + key + std::to_string(side);
  Picture picture = {key,           title,           stem + "_strips.tif", stem + "_planes.tif",
                     stem + ".zrm", stem + "_o.tif", stem + "_t.tif",      stem + "_kept.tif"};
  MakeTiff(picture.strips, side, dataType, numBands, {"BLOCKYSIZE=16", "INTERLEAVE=PIXEL"});
  MakeTiff(picture.planes, side, dataType, numBands, {"BLOCKYSIZE=16", "INTERLEAVE=BAND"});
  MakeNative(picture.native, side, dataType, numBands);
  for (const std::string& source : {picture.strips, picture.planes, picture.native}) WaitForDisk(source);
  return picture;
}

}  // namespace

void AddTiffWriteRows(const BenchOptions& options, std::vector<Row>& rows) {
  const auto wants = [&](const std::string& name) {
    return name.starts_with(options.only) || options.only.starts_with(name);
  };
  std::vector<Picture> pictures;
  if (wants("write_rgb")) {
    pictures.push_back(MakePicture(options, "rgb", "a large 3 x 8-bit picture", 2 * options.side, kPint08, 3));
  }
  if (wants("write_u16")) {
    pictures.push_back(MakePicture(options, "u16", "a 4 x 16-bit picture", options.side, kPint16, 4));
  }
  for (const Picture& picture : pictures) {
    MakeKept(picture);
    MustSaveAlike(picture);
    PrintPeaks(picture);
    AddRowsOf(picture, "strips", picture.strips, picture.strips, rows);
    AddRowsOf(picture, "planes", picture.planes, picture.planes, rows);
    // GDAL can't read native rasters. It takes the same pixels from the TIFF that suits it best.
    AddRowsOf(picture, "native", picture.native, picture.strips, rows);
  }
}
