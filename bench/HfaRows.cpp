// Rows about HFA and NITF files of one band of bytes, plain and compressed: windows of an image just opened, and all of
// it, beside GDAL, whose drivers read for both. Both keep as many bytes of blocks from window to window. GDAL writes
// the files, once.

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
#include <vector>

namespace {

using HfaWindows = std::span<const Window>;
using HfaBytes = std::vector<unsigned char>;

constexpr std::int64_t kKeptBytes = std::int64_t{256} << 20;

/// Slopes with some noise on them, so that blocks can be compressed a little.
unsigned char HfaSample(int x, int y) {
  return static_cast<unsigned char>((x / 8 + y / 16) % 200 + (x * 7 ^ y * 13) % 8);
}

/// A kind of file, and how GDAL writes it.
struct HfaKind {
  const char* driver;
  const char* extension;
  const char* name;  // of the kind, as "plain"
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
    for (int x = 0; x < side; ++x) row[static_cast<std::size_t>(x)] = HfaSample(x, y);
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

void ReadHfaByUs(const std::string& path, HfaWindows windows, HfaBytes* last = nullptr) {
  XRSFile file;
  XString err;
  file.SetReadPolicy(kReadExact);
  XfnSetBlockCacheBytes(kKeptBytes);
  Must(XfnOpenFile(&file, path, err), path + ": " + err.AsStdString());
  tagXArr2* out = nullptr;
  for (const Window& window : windows) {
    Must(file.GetBandAt(0)->ReadSubset(out, 0, window.x0, window.x1, window.y0, window.y1, nullptr),
         "a window could not be read");
  }
  XfnSetBlockCacheBytes(0);
  if (last) last->assign(out->data, out->data + std::ptrdiff_t{out->xSize} * out->ySize);
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

void AddRowsOf(const HfaKind& kind, const char* prefix, const BenchOptions& options, std::vector<Row>& rows) {
  const int side = options.side / 2;
  const auto windows = std::make_shared<std::vector<Window>>(PickWindows(side, options.numWindows));
  const auto whole = std::make_shared<std::vector<Window>>(1, Window{0, side - 1, 0, side - 1});
  const std::string name = kind.name;
  const std::string path = options.folder + "/" + name + std::to_string(side) + kind.extension;
  MakeHfa(path, side, kind);
  MustAgreeOnHfa(path, HfaWindows(*windows).first(8));
  const auto add = [&](const std::string& key, const std::string& title, const auto& wanted) {
    rows.push_back({prefix + ("_" + name) + "_" + key, title + ", " + kind.driver + " in " + name + " blocks", "GDAL",
                    [=] { ReadHfaByUs(path, *wanted); },
                    [=] {
                      HfaBytes out;
                      ReadHfaByGdal(path, *wanted, out);
                    },
                    1, 1.0});
  };
  add("windows", std::to_string(windows->size()) + " windows of an image just opened", windows);
  add("whole", "all of it", whole);
}

}  // namespace

void AddHfaRows(const BenchOptions& options, std::vector<Row>& rows) {
  AddRowsOf({"HFA", ".img", "plain", {}}, "hfa", options, rows);
  AddRowsOf({"HFA", ".img", "compressed", {"COMPRESSED=YES"}}, "hfa", options, rows);
}

void AddNitfRows(const BenchOptions& options, std::vector<Row>& rows) {
  AddRowsOf({"NITF", ".ntf", "plain", {"BLOCKXSIZE=256", "BLOCKYSIZE=256"}}, "nitf", options, rows);
  AddRowsOf({"NITF", ".ntf", "jpeg", {"IC=C3", "BLOCKXSIZE=256", "BLOCKYSIZE=256"}}, "nitf", options, rows);
}
