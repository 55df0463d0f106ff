// Rows about frames of the Raster Product Format. Every frame is opened anew, because charts are made of thousands of
// frames and each is read once. GDAL decodes a frame to the codes of one band. So its palette is applied to them, to
// have the three planes that this library gives.
//
// All files are copies of one frame, which the builder of the tests makes. Many names keep either library from knowing
// a file that it has just closed. The last row reads no pixels: a coverage needs only where frames lie.

#include "Inputs.h"
#include "Rows.h"
#include "RpfFrameBuilder.h"
#include "XCIBframe.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gdal_priv.h>
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <span>
#include <thread>

namespace {

constexpr int kSide = XCIBframe::kSide;
constexpr std::size_t kPixels = std::size_t{kSide} * kSide;
constexpr int kNumFrames = 100;

using Paths = std::vector<std::string>;
using Planes = std::vector<unsigned char>;

/// Copies of one frame, made unless they are there.
Paths MakeFrames(const std::string& folder) {
  const std::string stem = folder + "/rpf_frames/";
  std::filesystem::create_directories(stem);
  const std::vector<unsigned char> bytes = RpfFrameBuilder().Build();
  Paths paths;
  for (int i = 0; i < kNumFrames; ++i) {
    paths.push_back(stem + std::to_string(i) + ".on1");
    if (std::filesystem::exists(paths.back())) continue;
    std::ofstream(paths.back(), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  return paths;
}

/// Calls `take` with the whole of each channel.
void ReadByUs(const std::string& path, const std::function<void(int, const tagXArr2&)>& take) {
  XRSFile file;
  XString err;
  Must(XRSFileIO::LoadFileCADRG(&file, path, err, 0, nullptr), path + " could not be opened");
  Must(file.GetNumOfBands() == 3, path + " has other than three channels");
  for (int channel = 0; channel < 3; ++channel) {
    // The first channel that is read decodes all three.
    tagXArr2* out = nullptr;
    Must(file.GetBandAt(channel)->ReadSubset(out, 0, 0, kSide - 1, 0, kSide - 1, nullptr), path + " could not be read");
    take(channel, *out);
  }
}

void ReadByUs(const std::string& path) {
  ReadByUs(path, [](int, const tagXArr2&) {});
}

using Dataset = std::unique_ptr<GDALDataset, void (*)(GDALDataset*)>;

Dataset OpenByGdal(const std::string& path) {
  Dataset dataset(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY),
                  [](GDALDataset* open) { GDALClose(open); });
  Must(dataset != nullptr, "GDAL could not open " + path);
  return dataset;
}

Planes ReadByGdal(const std::string& path) {
  const Dataset dataset = OpenByGdal(path);
  GDALRasterBand* band = dataset->GetRasterBand(1);
  std::vector<unsigned char> codes(kPixels);
  Must(band->RasterIO(GF_Read, 0, 0, kSide, kSide, codes.data(), kSide, kSide, GDT_Byte, 0, 0, nullptr) == CE_None,
       "GDAL could not read " + path);
  // A palette with fewer than 256 colours leaves black for the rest.
  std::array<std::array<unsigned char, 256>, 3> colors{};
  const GDALColorTable* table = band->GetColorTable();
  for (int i = 0; i < std::min(table->GetColorEntryCount(), 256); ++i) {
    const GDALColorEntry* entry = table->GetColorEntry(i);
    const auto index = static_cast<std::size_t>(i);
    colors[0][index] = static_cast<unsigned char>(entry->c1);
    colors[1][index] = static_cast<unsigned char>(entry->c2);
    colors[2][index] = static_cast<unsigned char>(entry->c3);
  }
  Planes planes(3 * kPixels);
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const auto& map = colors[plane];
    std::ranges::transform(codes, planes.begin() + static_cast<std::ptrdiff_t>(plane * kPixels),
                           [&map](unsigned char code) { return map[code]; });
  }
  return planes;
}

void MustAgree(const std::string& path) {
  const Planes expected = ReadByGdal(path);
  ReadByUs(path, [&](int channel, const tagXArr2& result) {
    const auto plane = std::span(expected).subspan(static_cast<std::size_t>(channel) * kPixels, kPixels);
    Must(std::ranges::equal(plane, std::span(result.data, kPixels)), "this library and GDAL differ in " + path);
  });
}

/// Half of the files on a second thread. Threads share no file, as when a chart is put together from its frames.
void OnTwoThreads(std::span<const std::string> paths, const std::function<void(const std::string&)>& read) {
  const std::size_t half = paths.size() / 2;
  std::thread other([&] { std::ranges::for_each(paths.subspan(half), read); });
  std::ranges::for_each(paths.first(half), read);
  other.join();
}

}  // namespace

void AddRpfRows(const BenchOptions& options, std::vector<Row>& rows) {
  const auto paths = std::make_shared<Paths>(MakeFrames(options.folder));
  const std::string first = paths->front();
  MustAgree(first);
  rows.push_back({"rpf_frame", "a CADRG frame opened, all of it in colour", "GDAL and its palette",
                  [=] { ReadByUs(first); }, [=] { ReadByGdal(first); }, 1, 1 / 2.5});
  rows.push_back({"rpf_threads", std::to_string(kNumFrames) + " such frames, 2 threads", "GDAL and its palette",
                  [=] { OnTwoThreads(*paths, [](const std::string& path) { ReadByUs(path); }); },
                  [=] { OnTwoThreads(*paths, [](const std::string& path) { ReadByGdal(path); }); }, 1, 1 / 2.5});
  // Opening a frame takes little time, and so a thousand of them make one measurement.
  constexpr int kRepeats = 10;
  rows.push_back({"rpf_coverage", "the place of a frame, 1000 frames opened", "GDAL",
                  [=] {
                    for (int i = 0; i < kRepeats; ++i) {
                      for (const std::string& path : *paths) Must(XCIBframe().LoadFile(path, 0, 0), path);
                    }
                  },
                  [=] {
                    for (int i = 0; i < kRepeats; ++i) {
                      for (const std::string& path : *paths) OpenByGdal(path);
                    }
                  },
                  kRepeats * kNumFrames, 0.25});
}
