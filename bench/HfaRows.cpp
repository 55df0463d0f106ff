// Rows about HFA and NITF files of one band of bytes, plain and compressed: windows of an image just opened, and all of
// it, beside GDAL, whose drivers read for both what is not plain. Both keep as many bytes of blocks from window to
// window. GDAL writes the files, once.
//
// On two threads each reads half of the windows, or half of the image by stripes of whole blocks. Our threads share one
// open file. GDAL's open the file once each, because a dataset of GDAL's serves one thread at a time.

#include "Inputs.h"
#include "Rows.h"
#include "XBlockCache.h"
#include "XFormatTable.h"
#include "XRSFile.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <thread>
#include <vector>

namespace {

using HfaWindows = std::span<const Window>;
using HfaBytes = std::vector<unsigned char>;

constexpr std::int64_t kKeptBytes = std::int64_t{256} << 20;

/// Slopes with some noise on them.
unsigned char HfaSample(int x, int y, int noise) {
  return static_cast<unsigned char>((x / 8 + y / 16) % 200 + (x * 7 ^ y * 13) % noise);
}

/// A kind of file, and how GDAL writes it.
struct HfaKind {
  const char* driver;
  const char* extension;
  const char* name;  // of the kind, as "plain"
  const char* file;  // begins the name of the file
  int noise;         // how many values it has; with 1 samples repeat, and HFA compresses blocks of such samples only
  std::vector<const char*> options;
};

void MakeHfa(const std::string& path, int side, const HfaKind& kind) {
  if (std::filesystem::exists(path)) return;
  // A run that is ended in the middle leaves no file that the next one would take for whole.
  const std::string unfinished = path + ".part" + kind.extension;
  CPLStringList options;
  for (const char* option : kind.options) options.AddString(option);
  GDALDriverManager& drivers = *GetGDALDriverManager();
  GDALDataset* const image = drivers.GetDriverByName("MEM")->Create("", side, side, 1, GDT_Byte, nullptr);
  HfaBytes row(static_cast<std::size_t>(side));
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) row[static_cast<std::size_t>(x)] = HfaSample(x, y, kind.noise);
    Must(image->GetRasterBand(1)->RasterIO(GF_Write, 0, y, side, 1, row.data(), side, 1, GDT_Byte, 0, 0, nullptr) ==
             CE_None,
         "can't make the image of " + path);
  }
  GDALDataset* const written = drivers.GetDriverByName(kind.driver)
                                   ->CreateCopy(unfinished.c_str(), image, FALSE, options.List(), nullptr, nullptr);
  Must(written != nullptr, "can't write " + path);
  GDALClose(written);
  GDALClose(image);
  std::filesystem::rename(unfinished, path);
}

/// While it lives, the library keeps blocks. It has none at first.
struct KeptBlocks {
  KeptBlocks() { XfnSetBlockCacheBytes(kKeptBytes); }
  ~KeptBlocks() { XfnSetBlockCacheBytes(0); }
  KeptBlocks(const KeptBlocks&) = delete;
  KeptBlocks& operator=(const KeptBlocks&) = delete;
};

class OpenHfa {
 public:
  explicit OpenHfa(const std::string& path) {
    XString err;
    file_.SetReadPolicy(kReadExact);
    Must(XfnOpenFile(&file_, path, err), path + ": " + err.AsStdString());
  }
  void Read(HfaWindows windows, HfaBytes* last = nullptr) const {
    tagXArr2* out = nullptr;
    for (const Window& window : windows) {
      Must(file_.GetBandAt(0)->ReadSubset(out, 0, window.x0, window.x1, window.y0, window.y1, nullptr),
           "a window could not be read");
    }
    if (last) last->assign(out->data, out->data + std::ptrdiff_t{out->xSize} * out->ySize);
  }

 private:
  XRSFile file_;
};

void ReadHfaByUs(const std::string& path, HfaWindows windows, HfaBytes* last = nullptr) {
  const KeptBlocks kept;
  OpenHfa(path).Read(windows, last);
}

void ReadHfaByGdal(const std::string& path, HfaWindows windows, HfaBytes& out) {
  const std::unique_ptr<GDALDataset, void (*)(GDALDataset*)> dataset(
      GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly)), [](GDALDataset* open) { GDALClose(open); });
  Must(dataset != nullptr, "GDAL can't open " + path);
  GDALSetCacheMax64(kKeptBytes);
  for (const Window& window : windows) {
    const int width = window.x1 - window.x0 + 1, height = window.y1 - window.y0 + 1;
    out.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    Must(dataset->GetRasterBand(1)->RasterIO(GF_Read, window.x0, window.y0, width, height, out.data(), width, height,
                                             GDT_Byte, 0, 0, nullptr) == CE_None,
         "GDAL failed to read a window");
  }
}

void MustAgreeOnHfa(const std::string& path, HfaWindows windows) {
  HfaBytes ours, theirs;
  for (const Window& window : windows) {
    ReadHfaByUs(path, {&window, 1}, &ours);
    ReadHfaByGdal(path, {&window, 1}, theirs);
    Must(ours == theirs, "this library and GDAL differ in " + path);
  }
}

/// Half of the windows on a second thread.
template <class Read>
void HalveHfa(HfaWindows windows, Read&& read) {
  const std::size_t half = windows.size() / 2;
  std::thread other([&] { read(windows.subspan(half)); });
  read(windows.first(half));
  other.join();
}

/// All of an image, from top to bottom.
std::vector<Window> CutHfaIntoStripes(int side) {
  constexpr int kStripeRows = 256;
  std::vector<Window> stripes;
  for (int y = 0; y < side; y += kStripeRows) {
    stripes.push_back({0, side - 1, y, std::min(y + kStripeRows, side) - 1});
  }
  return stripes;
}

/// What is read of a file, for rows of one key.
struct HfaTask {
  std::string key;
  std::string title;
  std::string path;
  std::shared_ptr<const std::vector<Window>> windows;
};

void AddHfaRow(const HfaTask& task, std::vector<Row>& rows) {
  const auto ours = [task] { ReadHfaByUs(task.path, *task.windows); };
  const auto theirs = [task] {
    HfaBytes out;
    ReadHfaByGdal(task.path, *task.windows, out);
  };
  rows.push_back({task.key, task.title, "GDAL", ours, theirs, 1, 1.0});
}

/// On two threads, beside GDAL, whose files are opened by their threads.
void AddHfaRowOfTwo(const HfaTask& task, std::vector<Row>& rows) {
  const auto theirs = [task] {
    HalveHfa(*task.windows, [&](HfaWindows part) {
      HfaBytes out;
      ReadHfaByGdal(task.path, part, out);
    });
  };
  const auto ours = [task] {
    const KeptBlocks kept;
    const OpenHfa file(task.path);
    HalveHfa(*task.windows, [&](HfaWindows part) { file.Read(part); });
  };
  rows.push_back({task.key + "_two", task.title + ", 2 threads", "GDAL, 2 threads", ours, theirs, 1, 1.0});
}

/// Beside one thread of ours. The file is open already, and what is kept of the call before is given up beforehand, so
/// that only reading is timed. Plain files are read often enough that beginning a thread takes no part of the time.
void AddHfaScaling(const HfaTask& task, int numTimes, std::vector<Row>& rows) {
  const auto open = std::make_shared<const OpenHfa>(task.path);
  const auto read = [open, numTimes](HfaWindows part) {
    for (int i = 0; i < numTimes; ++i) open->Read(part);
  };
  const auto forget = [] {
    XfnSetBlockCacheBytes(0);
    XfnSetBlockCacheBytes(kKeptBytes);
  };
  rows.push_back({task.key + "_threads", task.title + ", 2 threads, open", "itself on 1 thread",
                  [=] { HalveHfa(*task.windows, read); }, [=] { read(*task.windows); }, numTimes, 1 / 1.8, forget});
}

void AddRowsOf(const HfaKind& kind, const char* prefix, const BenchOptions& options, std::vector<Row>& rows) {
  const int side = options.side / 2;
  const std::string name = kind.name, key = prefix + ("_" + name) + "_";
  const std::string path = options.folder + "/" + kind.file + std::to_string(side) + kind.extension;
  const std::string of = std::string(", ") + kind.driver + " in " + name + " blocks";
  const auto share = [](std::vector<Window> windows) {
    return std::make_shared<const std::vector<Window>>(std::move(windows));
  };
  const HfaTask windows = {key + "windows",
                           std::to_string(options.numWindows) + " windows of an image just opened" + of, path,
                           share(PickWindows(side, options.numWindows))};
  MakeHfa(path, side, kind);
  MustAgreeOnHfa(path, HfaWindows(*windows.windows).first(8));
  const auto stripes = share(CutHfaIntoStripes(side));
  MustAgreeOnHfa(path, *stripes);
  AddHfaRow(windows, rows);
  AddHfaRow({key + "whole", "all of it" + of, path, share({{0, side - 1, 0, side - 1}})}, rows);
  const int numTimes = name == "plain" ? 4 : 1;
  for (const HfaTask& task :
       {HfaTask{key + "windows", std::to_string(options.numWindows) + " windows" + of, path, windows.windows},
        HfaTask{key + "stripes", "all of it by stripes" + of, path, stripes}}) {
    AddHfaRowOfTwo(task, rows);
    AddHfaScaling(task, numTimes, rows);
  }
}

}  // namespace

void AddHfaRows(const BenchOptions& options, std::vector<Row>& rows) {
  AddRowsOf({"HFA", ".img", "plain", "plain", 8, {}}, "hfa", options, rows);
  AddRowsOf({"HFA", ".img", "compressed", "runs", 1, {"COMPRESSED=YES"}}, "hfa", options, rows);
}

void AddNitfRows(const BenchOptions& options, std::vector<Row>& rows) {
  AddRowsOf({"NITF", ".ntf", "plain", "plain", 8, {"BLOCKXSIZE=256", "BLOCKYSIZE=256"}}, "nitf", options, rows);
  AddRowsOf({"NITF", ".ntf", "jpeg", "jpeg", 8, {"IC=C3", "BLOCKXSIZE=256", "BLOCKYSIZE=256"}}, "nitf", options, rows);
}
