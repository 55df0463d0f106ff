// Rows about TXID stores. A window is held against a copy of the four planes that it gives, which no reader can beat. A
// store of blocks that chance has made is as hard to unpack as any. Windows are read exactly, in an order that never
// repeats one.
//
// What a thread has read already costs no more than finding it: a window again, and a pixel of it. The last row opens
// an index of a million tiles, whose records are in no order.

#include "Inputs.h"
#include "Rows.h"
#include "TxidBuilder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kTileSize = 256;
constexpr int kNumChannels = 4;

void WriteFile(const std::string& path, const TxidBuilder::Bytes& bytes) {
  const std::string unfinished = path + ".part";
  std::ofstream(unfinished, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  fs::rename(unfinished, path);
}

/// A store of so many pixels each way, unless it is there. The index comes last.
std::string MakeStore(const std::string& folder, int side) {
  const int numTiles = side / kTileSize;
  const std::string base = folder + "/tiles" + std::to_string(side);
  if (fs::exists(base + ".txi")) return base + ".txi";
  TxidBuilder builder = TxidBuilder().Grid(numTiles, numTiles, kTileSize);
  for (int key = 0; key < numTiles * numTiles; ++key) builder.Tile(key);
  WriteFile(base + ".txd", builder.BuildData());
  WriteFile(base + ".txi", builder.BuildIndex());
  return base + ".txi";
}

std::string MakeMillion(const std::string& folder) {
  constexpr int kSide = 1000;
  const std::string path = folder + "/million.txi";
  if (fs::exists(path)) return path;
  TxidBuilder builder = TxidBuilder().Grid(kSide, kSide, kTileSize).PixelSize(1, 1);
  for (std::int64_t i = 0; i < std::int64_t{kSide} * kSide; ++i) {
    builder.Record(static_cast<std::int32_t>(i * 617933 % (kSide * kSide)), static_cast<std::uint64_t>(i) * 32768,
                   32768);
  }
  WriteFile(path, builder.BuildIndex());
  return path;
}

class Store {
 public:
  explicit Store(const std::string& path) {
    file_.SetReadPolicy(kReadExact);
    XString err;
    Must(XRSFileIO::LoadFileTXID(&file_, path, err, nullptr), path + ": " + err.AsStdString());
  }
  tagXArr2& Read(int channel, const Window& window) const {
    tagXArr2* out = nullptr;
    Must(file_.GetBandAt(channel)->ReadSubset(out, 0, window.x0, window.x1, window.y0, window.y1, nullptr),
         "a window could not be read");
    return *out;
  }
  /// One read decodes all channels.
  void Read(std::span<const Window> windows) const {
    for (const Window& window : windows) Read(0, window);
  }

 private:
  XRSFile file_;
};

/// One tile is compared with the definition of its blocks.
void MustAgree(const std::string& path, int side) {
  constexpr int kKey = 1;
  const TxidBuilder builder = TxidBuilder().Grid(side / kTileSize, side / kTileSize, kTileSize).Tile(kKey);
  const Store store(path);
  for (int channel = 0; channel < kNumChannels; ++channel) {
    const tagXArr2& pixels = store.Read(channel, {kTileSize, 2 * kTileSize - 1, 0, kTileSize - 1});
    for (int i = 0; i < kTileSize * kTileSize; ++i) {
      const auto expected = builder.AtTile(kKey, i % kTileSize, i / kTileSize);
      Must(pixels.data[i] == expected[static_cast<std::size_t>(channel)], "a tile of " + path + " differs");
    }
  }
}

/// Planes of the size of a window's result, and where they are copied to.
struct Copies {
  explicit Copies(std::size_t planeBytes) : from(kNumChannels * planeBytes, 1), to(kNumChannels * planeBytes, 2) {}
  void Copy(std::size_t count) {
    const std::size_t planeBytes = from.size() / kNumChannels;
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t k = 0; k < kNumChannels; ++k) {
        std::memcpy(to.data() + k * planeBytes, from.data() + k * planeBytes, planeBytes);
      }
      from[i % from.size()] = static_cast<unsigned char>(i);
    }
  }
  std::vector<unsigned char> from, to;
};

std::vector<Window> PickSquares(int side, int size, int count) {
  std::vector<Window> windows;
  for (const Window& at : PickWindows(side - size + kWindowSide, count)) {
    windows.push_back({at.x0, at.x0 + size - 1, at.y0, at.y0 + size - 1});
  }
  return windows;
}

void AddWindowRows(const std::string& path, int side, int size, std::vector<Row>& rows) {
  // So many that starting a thread takes no time beside them.
  const int count = std::max(2048 * kWindowSide / size, 512);
  const auto store = std::make_shared<Store>(path);
  const auto windows = std::make_shared<std::vector<Window>>(PickSquares(side, size, 2 * count));
  const auto copies = std::make_shared<Copies>(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
  const std::string number = std::to_string(size), title = "windows of " + number + " x " + number + " of a tile store";
  const auto all = [=] { store->Read(*windows); };
  rows.push_back(
      {"txid_" + number, title, "a copy of the result", all, [=] { copies->Copy(windows->size()); }, 2 * count, 5.0});
  rows.push_back({"txid_two_" + number, title + ", 2 threads", "1 thread",
                  [=] {
                    const std::span<const Window> both = *windows;
                    const std::size_t half = both.size() / 2;
                    std::thread other([&] { store->Read(both.subspan(half)); });
                    store->Read(both.first(half));
                    other.join();
                  },
                  all, 2 * count, 1 / 1.8});
}

void AddMemoryRows(const std::string& path, std::vector<Row>& rows) {
  constexpr int kTimes = 10000;
  const auto store = std::make_shared<Store>(path);
  const Window window{100, 611, 200, 711};
  rows.push_back({"txid_repeat", "a window of a tile store again", "",
                  [=] {
                    for (int i = 0; i < kTimes; ++i) store->Read(i % kNumChannels, window);
                  },
                  nullptr, kTimes, 1e-6, [=] { store->Read(0, window); }});
  rows.push_back({"txid_pixel", "a pixel of the last window", "",
                  [=] {
                    for (int i = 0; i < kTimes; ++i) {
                      const int x = window.x0 + i % 512, y = window.y0 + i / 20 % 512;
                      store->Read(i % kNumChannels, {x, x, y, y});
                    }
                  },
                  nullptr, kTimes, 1e-7, [=] { store->Read(0, window); }});
}

}  // namespace

void AddTxidRows(const BenchOptions& options, std::vector<Row>& rows) {
  const std::string path = MakeStore(options.folder, options.side);
  MustAgree(path, options.side);
  for (const int size : {256, 512, 1024}) {
    if (size <= options.side / 2) AddWindowRows(path, options.side, size, rows);
  }
  AddMemoryRows(path, rows);
  const std::string million = MakeMillion(options.folder);
  rows.push_back(
      {"txid_open", "an index of a million tiles, opened", "", [=] { Store opened(million); }, nullptr, 1, 0.5});
}
