// Eight threads that read one store, without a lock of their own.

#include "StoreBytes.h"
#include "TempFolder.h"
#include "XPBEFile.h"
#include "XPBIFile.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>

namespace {

constexpr int kSide = 16;
constexpr int kTileBytes = 3844;
constexpr int kThreads = 8;

/// Tiles of 31 x 31 floats, or of as many bytes of blocks, numbered row by row.
void WriteStore(const TempFolder& folder, const char* mark) {
  std::vector<unsigned char> body;
  for (unsigned i = 0; i < kSide * kSide; ++i) {
    const std::vector<unsigned char> tile = TileOf(kTileBytes, i);
    body.insert(body.end(), tile.begin(), tile.end());
  }
  const StoreRecord level{3, 0, 0, kSide - 1, kSide - 1, 0.0, 31, 31, kTileBytes, 1, 51200};
  folder.Write("store", StoreBuilder(mark).Version(1.2).Level(level).Body(body).Build());
}

/// Runs on eight threads, each with another order of tiles: `check(row, col, number)`.
void OnAllTiles(const std::function<bool(int row, int col, unsigned number)>& check) {
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (unsigned i = 0; i < 2 * kSide * kSide; ++i) {
        const unsigned number = (i * (2 * t + 1) + 37 * t) % (kSide * kSide);
        if (!check(static_cast<int>(number / kSide), static_cast<int>(number % kSide), number)) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}

}  // namespace

TEST(StoreThreads, ReadTheTilesOfOneImageStore) {
  const TempFolder folder;
  WriteStore(folder, "PBI");
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(folder.Path("store"), 0));
  OnAllTiles([&](int row, int col, unsigned number) {
    int size = 0;
    const std::unique_ptr<unsigned char[]> tile(store.GetDXTdata(3, row, col, size));
    XPBIReadBuffer buffer;
    const bool isRead = store.GetDXTdata(3, row, col, &buffer);
    const std::unique_ptr<unsigned char[]> owner(buffer.data);
    const std::vector<unsigned char> expected = TileOf(kTileBytes, number);
    return tile && isRead && size == kTileBytes && std::memcmp(tile.get(), expected.data(), kTileBytes) == 0 &&
           std::memcmp(buffer.data, expected.data(), kTileBytes) == 0;
  });
}

TEST(StoreThreads, ReadTheTilesAndPostsOfOneElevationStore) {
  const TempFolder folder;
  WriteStore(folder, "PBE");
  const XPBEFile store(folder.Path("store"), 0);
  OnAllTiles([&](int row, int col, unsigned number) {
    int size = 0;
    const std::unique_ptr<float[]> tile(store.GetElevationData(3, row, col, size));
    const std::vector<unsigned char> expected = TileOf(kTileBytes, number);
    const float post = store.GetValue(3, col * 2.25 - 180.0, row * 2.25 - 90.0);
    return tile && size == kTileBytes && std::memcmp(tile.get(), expected.data(), kTileBytes) == 0 &&
           std::memcmp(&post, expected.data(), sizeof post) == 0;
  });
}
