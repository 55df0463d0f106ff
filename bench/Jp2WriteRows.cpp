// Rows about saving datasets as JPEG 2000, beside GDAL's driver, which codes by the same OpenJPEG. Both sides keep
// every sample, in tiles of 1,024 pixels and with six resolutions, with one brightness and two colours in place of
// three, and both open their source within what is timed. Ours also writes the lengths of tiles and packets, and is on
// the medium when it is done.
// With two threads ours codes two tiles at once, and GDAL leaves the threads to the codec.
//
// Both results must have the pixels of the source before anything is timed. A last row is about a small file: one bit a
// pixel.

#include "PeakMemory.h"
#include "Rows.h"
#include "SavedFiles.h"
#include "TiffInputs.h"
#include "XDataType.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XRSFile2JP2.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <cpl_conv.h>
#include <cpl_string.h>
#include <cstdio>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr int kFewRounds = 3;  // since each takes seconds

/// How a file is written, for both sides.
struct Coding {
  int reversible;
  const char* rates;         ///< ours
  const char* theirOptions;  ///< GDAL's, with commas between them
  double target;             ///< the largest ratio of our time to GDAL's
};
constexpr Coding kLossless = {1, "", "REVERSIBLE=YES,QUALITY=100,BLOCKXSIZE=1024,BLOCKYSIZE=1024,RESOLUTIONS=6,YCC=YES",
                              1.0};
/// GDAL's quality is a share of the samples' 24 bits.
constexpr Coding kOneBit = {0, "1",
                            "REVERSIBLE=NO,QUALITY=4.1667,BLOCKXSIZE=1024,BLOCKYSIZE=1024,RESOLUTIONS=6,YCC=YES", 1.1};

void SaveAsJp2(const std::string& from, const std::string& to, const Coding& coding, int numThreads) {
  XfnSetWorkerCount(numThreads);
  XRSFile file;
  XString err;
  Must(XRSFileIO::LoadFileTIF(&file, from, err, 0, kLevelNone, nullptr), from + ": " + err.AsStdString());
  XRSFile2JP2 writer;
  writer.SetXRSFile(&file);
  const int right = file.GetBandAt(0)->GetXSize() - 1, bottom = file.GetBandAt(0)->GetYSize() - 1;
  Must(writer.Save(to, 0, right, 0, bottom, err, coding.reversible, coding.rates, 0, 1, nullptr),
       "can't write " + to + ": " + err.AsStdString());
  XfnSetWorkerCount(1);
}

void SaveAsJp2ByGdal(const std::string& from, const std::string& to, const Coding& coding, int numThreads) {
  CPLSetConfigOption("GDAL_NUM_THREADS", std::to_string(numThreads).c_str());
  const GdalSource source = OpenByGdal(from);
  const CPLStringList options(CSLTokenizeString2(coding.theirOptions, ",", 0));
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("JP2OpenJPEG");
  Must(driver != nullptr, "GDAL has no driver for JPEG 2000");
  GDALDataset* made = driver->CreateCopy(to.c_str(), source.get(), FALSE, options.List(), nullptr, nullptr);
  Must(made != nullptr, "GDAL can't write " + to);
  GDALClose(made);
  CPLSetConfigOption("GDAL_NUM_THREADS", nullptr);
}

}  // namespace

void AddJp2WriteRows(const BenchOptions& options, std::vector<Row>& rows) {
  const int side = options.side / 4;
  const std::string stem = options.folder + "/encode" + std::to_string(side);
  const std::string source = stem + ".tif", ours = stem + "_o.jp2", theirs = stem + "_t.jp2";
  MakeTiff(source, side, kPint08, 3, {"BLOCKYSIZE=16", "INTERLEAVE=PIXEL"});
  WaitForDisk(source);
  SaveAsJp2(source, ours, kLossless, 2);
  MustAgree(ours, source);
  SaveAsJp2ByGdal(source, theirs, kLossless, 2);
  MustAgree(theirs, source);
  const PeakMemory peak = MeasurePeakOfSave(source, ours);
  std::printf("%d x %d x 3 saved as lossless JPEG 2000, peak memory %.0f MB (asked: below 210 at any height)\n", side,
              side, static_cast<double>(peak.own) / 1e6);
  const auto prepare = [=] {
    fs::remove(ours);
    fs::remove(theirs);
  };
  const auto add = [&](const char* key, const std::string& title, const Coding& coding, int numThreads) {
    rows.push_back({key, title, "GDAL's library", [=] { SaveAsJp2(source, ours, coding, numThreads); },
                    [=] { SaveAsJp2ByGdal(source, theirs, coding, numThreads); }, 1, coding.target, prepare, 0,
                    kFewRounds});
  };
  add("encode_one", "3 x 8 bits saved as lossless JPEG 2000", kLossless, 1);
  add("encode_two", "3 x 8 bits as lossless JPEG 2000, 2 threads", kLossless, 2);
  add("encode_bit", "3 x 8 bits as JPEG 2000 of 1 bit, 2 threads", kOneBit, 2);
}
