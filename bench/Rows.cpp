// The table's rows about bitmaps and JPEG files, and the list of all rows. A row is two functions that do the same
// work: ours and a rival's. Both open the file where opening is part of what is compared, and otherwise share one that
// was opened before.
//
// Before a row is added its readers must agree on pixels of some windows. A figure for wrong pixels is worth nothing,
// and the program ends instead. Targets are ratios that the library promises.

#include "Rows.h"

#include "Inputs.h"
#include "Rivals.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <memory>
#include <span>
#include <string_view>
#include <thread>

namespace {

using Windows = std::span<const Window>;

/// A file opened by this library.
class OurReader {
 public:
  explicit OurReader(const std::string& path) {
    XString err;
    const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path));
    Must(XRSFileIO::LoadFileRaster(&file_, id, path, err, 0, kLevelNone, nullptr), path + ": " + err.AsStdString());
    Must(file_.GetNumOfBands() == 3, path + " has other than three channels");
  }

  ZRMBand& GetBand(int channel) const { return *file_.GetBandAt(channel); }

  tagXArr2& Read(int channel, const Window& window) const {
    tagXArr2* out = nullptr;
    Must(GetBand(channel).ReadSubset(out, 0, window.x0, window.x1, window.y0, window.y1, nullptr),
         "a window could not be read");
    return *out;
  }
  void Read(Windows windows) const {
    for (const Window& window : windows) {
      for (int channel = 0; channel < 3; ++channel) Read(channel, window);
    }
  }

 private:
  XRSFile file_;
};

/// Half of the windows on a second thread.
void OnTwoThreads(Windows windows, const std::function<void(Windows)>& read) {
  const std::size_t half = windows.size() / 2;
  std::thread other([&] { read(windows.subspan(half)); });
  read(windows.first(half));
  other.join();
}

void MustAgreeWithGdal(const std::string& path, Windows windows) {
  // Channels are compared in GDAL's order, red first, plane by plane.
  const OurReader ours(path);
  GdalReader theirs(path);
  Pixels pixels;
  for (const Window& window : windows) {
    theirs.Read(window, pixels);
    const unsigned char* expected = pixels.data();
    for (int channel = 0; channel < 3; ++channel) {
      const tagXArr2& result = ours.Read(channel, window);
      for (int i = 0; i < result.xSize * result.ySize; ++i, ++expected) {
        Must(result.data[i] == *expected, "this library and GDAL differ in " + path);
      }
    }
  }
}

/// Bitmaps have rows of pixels in the clear, so that these rows measure what a library does around a read: opening,
/// threads, and a window that is already in memory.
void AddBitmapRows(const BenchOptions& options, const std::string& path, std::vector<Row>& rows) {
  const auto windows = std::make_shared<std::vector<Window>>(PickWindows(options.side, options.numWindows));
  // Eight windows tell a wrong channel, row or offset. Comparing all would take longer than the bench.
  MustAgreeWithGdal(path, Windows(*windows).first(8));
  const std::string count = std::to_string(options.numWindows) + " windows of a bitmap, ";
  rows.push_back({"bmp_fresh", count + "just opened", "GDAL", [=] { OurReader(path).Read(*windows); },
                  [=] { GdalReader(path).Read(*windows); }, 1, 0.25});
  rows.push_back({"bmp_threads", count + "2 threads", "GDAL",
                  [=] {
                    const OurReader reader(path);
                    OnTwoThreads(*windows, [&](Windows part) { reader.Read(part); });
                  },
                  [=] { OnTwoThreads(*windows, [&](Windows part) { GdalReader(path).Read(part); }); }, 1, 0.25});
  // From here on both readers stay open from call to call.
  const auto ours = std::make_shared<OurReader>(path);
  rows.push_back({"bmp_scaling", count + "2 threads, again", "itself on 1 thread",
                  [=] { OnTwoThreads(*windows, [&](Windows part) { ours->Read(part); }); },
                  [=] { ours->Read(*windows); }, 1, 1 / 1.8});
  const auto theirs = std::make_shared<GdalReader>(path);
  // GDAL's first pass fills its cache, so that the row compares two libraries that read nothing.
  theirs->Read(*windows);
  rows.push_back({"bmp_warm", count + "all blocks cached", "GDAL", [=] { ours->Read(*windows); },
                  [=] { theirs->Read(*windows); }, 1, 0.33});

  // A follower's answer takes nanoseconds, and one alone can't be timed.
  constexpr int kRepeats = 100000;
  const Window window = windows->front();
  rows.push_back({"sibling", "a window that the master has read, by its follower", "",
                  [=] {
                    ours->Read(0, window);
                    for (int i = 0; i < kRepeats; ++i) ours->Read(1, window);
                  },
                  nullptr, kRepeats, 1e-6});
}

/// A JPEG can't be entered in the middle. These rows measure how soon the first window comes, and what the next cost.
void AddJpegRows(const BenchOptions& options, const std::string& path, std::vector<Row>& rows) {
  // A JPEG is decoded as a whole, and one of the bitmap's size would take most of the bench's time.
  const int side = options.side / 2;
  const auto windows = std::make_shared<std::vector<Window>>(PickWindows(side, options.numWindows));
  MustAgreeWithGdal(path, Windows(*windows).first(8));
  const Window first = windows->front(), whole = {0, side - 1, 0, side - 1};
  rows.push_back({"jpeg_first", "the first window of a JPEG", "libjpeg-turbo and a copy",
                  [=] {
                    OurReader(path).Read({&first, 1});
                  },
                  [=] { DecodeByLibjpeg(path); }, 1, 1.0});
  rows.push_back({"jpeg_whole", "all pixels of a JPEG, just opened", "GDAL",
                  [=] {
                    OurReader(path).Read({&whole, 1});
                  },
                  [=] {
                    GdalReader(path).Read({&whole, 1});
                  },
                  1, 1.0});
  const auto ours = std::make_shared<OurReader>(path);
  const auto theirs = std::make_shared<GdalReader>(path);
  // Both have decoded all of the image when the timing begins.
  ours->Read({&first, 1});
  theirs->Read({&whole, 1});
  rows.push_back({"jpeg_next", std::to_string(options.numWindows) + " further windows, all blocks cached", "GDAL",
                  [=] { ours->Read(*windows); }, [=] { theirs->Read(*windows); }, 1, 0.33});
}

/// Rows that need no more than the options, by the beginning of their keys.
struct RowGroup {
  std::string_view key;
  void (*add)(const BenchOptions&, std::vector<Row>&);
};
constexpr RowGroup kGroups[] = {
    {"tiff", &AddTiffRows},       {"cache", &AddCacheRows},     {"level", &AddLevelRows},
    {"comp", &AddCompressedRows}, {"write", &AddTiffWriteRows}, {"encode", &AddJp2WriteRows},
    {"rpf", &AddRpfRows},         {"dted", &AddDtedRows},       {"txid", &AddTxidRows},
    {"pbi", &AddStoreRows},       {"pyramid", &AddPyramidRows}, {"hfa", &AddHfaRows},
    {"hawk", &AddHawkRows},       {"ortho", &AddHawkOrthoRows}, {"nitf", &AddNitfRows},
    {"names", &AddPlaceRows},     {"jp2", &AddJp2Rows},         {"machine", &AddMachineRows}};

}  // namespace

std::vector<Row> MakeRows(const BenchOptions& options) {
  SetUpGdal();
  const std::string stem = options.folder + "/bench" + std::to_string(options.side);
  std::vector<Row> rows;
  // Inputs are large. Those of rows that nobody wants are not made. A key wanted may be the beginning of a group's
  // name, or the name with more behind it.
  const auto wants = [&](std::string_view group) {
    return group.starts_with(options.only) || std::string_view(options.only).starts_with(group);
  };
  if (wants("bmp") || wants("sibling")) {
    MakeBitmap(stem + ".bmp", options.side);
    AddBitmapRows(options, stem + ".bmp", rows);
  }
  if (wants("jpeg")) {
    MakeJpeg(stem + ".jpg", options.side / 2);
    AddJpegRows(options, stem + ".jpg", rows);
  }
  if (wants("block")) {
    if (options.photograph.empty()) MakeJpeg(stem + ".jpg", options.side / 2);
    AddBlockRows(options.photograph.empty() ? stem + ".jpg" : options.photograph, rows);
  }
  for (const RowGroup& group : kGroups) {
    if (wants(group.key)) group.add(options, rows);
  }
  std::erase_if(rows, [&](const Row& row) { return !row.key.starts_with(options.only); });
  return rows;
}
