// Memory that runs out, at each request for it in turn. Nothing is thrown, what fails says so, and neither the file nor
// a buffer of the caller's is spoilt.

#include "FailingNew.h"
#include "StoreBytes.h"
#include "TempFolder.h"
#include "XMMFile.h"
#include "XPBEFile.h"
#include "XPBIFile.h"
#include "ZRMBandPBI.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>

namespace fs = std::filesystem;

namespace {

using StoreFileBytes = std::vector<unsigned char>;

class StoreMemory : public testing::Test {
 protected:
  /// One tile of 32 bytes at level 0.
  void WriteImages() const {
    folder_.Write("a.pbi", StoreBuilder("PBI").Level({0, 0, 0, 0, 0, 0.0, 8, 8, 32, 1, 51200}).Body(tile_).Build());
  }
  /// One tile of 31 x 31 posts at level 0.
  void WriteHeights(double version, int storage) const {
    folder_.Write("a.pbe", StoreBuilder("PBE")
                               .Version(version)
                               .Level({0, 0, 0, 0, 0, 0.0, 31, 31, storage, 0, 51200})
                               .Body(TileOf(static_cast<std::size_t>(storage), 3))
                               .Build());
  }
  XString Images() const { return folder_.Path("a.pbi"); }
  XString Heights() const { return folder_.Path("a.pbe"); }

  TempFolder folder_;
  StoreFileBytes tile_ = TileOf(32, 5);
};

}  // namespace

TEST_F(StoreMemory, ThatRunsOutLeavesNoImageStoreInTheMaking) {
  const int numRequests = FailEachRequest([&](const auto& once) {
    XPBIFile store(1.0, 18.0);
    store.AddLevel(0, 0, 0, 0, 0, 8, 8, kDxt1);
    XString path = Images();
    const bool isMade = once([&] { return store.Create(std::move(path)); });
    EXPECT_EQ(isMade, fs::exists(Images().AsStdString()));
    fs::remove(Images().AsStdString());
  });
  EXPECT_GT(numRequests, 3);
}

TEST_F(StoreMemory, ThatRunsOutLeavesNoElevationStoreInTheMaking) {
  FailEachRequest([&](const auto& once) {
    XPBEFile store(2.0, 18.0);
    store.AddLevel(0, 0, 0, 0, 0, 31, 31);
    XString path = Heights();
    EXPECT_TRUE(once([&] { return store.Create(std::move(path)); }));
    EXPECT_EQ(store.IsUsable(), fs::exists(Heights().AsStdString()));
    fs::remove(Heights().AsStdString());
  });
}

TEST_F(StoreMemory, ThatRunsOutMakesStoresUnusable) {
  FailEachRequest([&](const auto& once) {
    const auto images = once([&] { return XPBIFile(1.0, 18.0); });
    EXPECT_EQ(images.IsUsable(), images.GetFileInfo() != nullptr);
  });
  FailEachRequest([&](const auto& once) {
    const auto heights = once([&] { return XPBEFile(1.0, 18.0); });
    EXPECT_EQ(heights.IsUsable(), heights.GetFileInfo() != nullptr);
  });
}

TEST_F(StoreMemory, ThatRunsOutAddsALevelWholeOrNotAtAll) {
  XPBIFile images(1.0, 18.0);
  XPBEFile heights(1.2, 18.0);
  int numAdded = 0;
  const auto add = [&](auto& store, const auto& once, auto&&... type) {
    const bool isAdded = once([&] { return store.AddLevel(numAdded, 0, 0, 0, 0, 8, 8, type...); });
    numAdded += isAdded ? 1 : 0;
    const auto& info = *store.GetFileInfo();
    EXPECT_EQ(numAdded, info.GetNumberOfLevel());
    EXPECT_EQ(info.GetLevelList().size(), static_cast<std::size_t>(numAdded));
  };
  for (int i = 0; i < 5; ++i) FailEachRequest([&](const auto& once) { add(images, once, kDxt1); });
  EXPECT_EQ(51200 + 5 * 32, images.GetFileInfo()->GetFileSize());
  numAdded = 0;
  FailEachRequest([&](const auto& once) { add(heights, once); });
}

TEST_F(StoreMemory, ThatRunsOutFailsTheOpening) {
  WriteImages();
  FailEachRequest([&](const auto& once) {
    XPBIFile store;
    XString path = Images();
    const bool isOpen = once([&] { return store.OpenFile(std::move(path), 0); });
    EXPECT_TRUE(isOpen || !store.IsUsable());
    EXPECT_EQ(store.IsUsable(), store.GetFileInfo() && store.GetFileInfo()->GetNumberOfLevel() == 1);
  });
  WriteHeights(1.2, 3844);
  FailEachRequest([&](const auto& once) {
    XString path = Heights();
    std::optional<XPBEFile> store;
    once([&] { return &store.emplace(std::move(path), 0); });
    EXPECT_TRUE(!store->GetFileInfo() || store->GetFileInfo()->GetNumberOfLevel() == 1);
  });
}

TEST_F(StoreMemory, ThatRunsOutPacksNoTile) {
  WriteImages();
  const StoreFileBytes before = ReadBytes(Images().AsStdString());
  StoreFileBytes pixels(8 * 8 * 4, 200);
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Images(), 2));
  const int numRequests = FailEachRequest([&](const auto& once) {
    const bool isWritten = once([&] { return store.Update(0, 0, 0, pixels.data(), kPixelRgba); });
    EXPECT_EQ(isWritten, ReadBytes(Images().AsStdString()) != before);
  });
  EXPECT_GT(numRequests, 0);
}

TEST_F(StoreMemory, ThatRunsOutLeavesTheArrayOfABufferThatIsTooSmall) {
  WriteImages();
  WriteHeights(1.2, 3844);
  XPBIFile images;
  ASSERT_TRUE(images.OpenFile(Images(), 0));
  const XPBEFile heights(Heights(), 0);
  const auto read = [](const auto& once, auto buffer, const auto& fill) {
    buffer.data = new unsigned char[2]{1, 2};
    buffer.capacity = buffer.usedLength = 2;
    const unsigned char* const array = buffer.data;
    const bool isRead = once([&] { return fill(&buffer); });
    EXPECT_EQ(isRead ? buffer.usedLength : 2, buffer.capacity);
    EXPECT_TRUE(isRead || (buffer.data == array && buffer.usedLength == 2 && array[1] == 2));
    delete[] buffer.data;
  };
  EXPECT_EQ(1, FailEachRequest([&](const auto& once) {
              read(once, XPBIReadBuffer{}, [&](XPBIReadBuffer* buffer) { return images.GetDXTdata(0, 0, 0, buffer); });
            }));
  EXPECT_EQ(1, FailEachRequest([&](const auto& once) {
              read(once, XPBEReadBuffer{},
                   [&](XPBEReadBuffer* buffer) { return heights.GetElevationData(0, 0, 0, buffer); });
            }));
}

TEST_F(StoreMemory, ThatRunsOutGivesNullForANewArrayAndLeavesItsSize) {
  WriteImages();
  XPBIFile images;
  ASSERT_TRUE(images.OpenFile(Images(), 0));
  FailEachRequest([&](const auto& once) {
    int size = -7;
    const std::unique_ptr<unsigned char[]> tile(once([&] { return images.GetDXTdata(0, 0, 0, size); }));
    EXPECT_EQ(tile ? 32 : -7, size);
  });
  for (const auto& [version, storage] : {std::pair{1.0, 1922}, {1.2, 3844}, {2.0, 15376}}) {
    WriteHeights(version, storage);
    const XPBEFile heights(Heights(), 0);
    FailEachRequest([&](const auto& once) {
      int size = -7;
      const std::unique_ptr<float[]> posts(once([&] { return heights.GetElevationData(0, 0, 0, size); }));
      EXPECT_EQ(!posts, size == -7);
    });
  }
}

TEST_F(StoreMemory, ThatRunsOutFailsTheOtherOperations) {
  WriteHeights(1.2, 3844);
  const XPBEFile heights(Heights(), 0);
  FailEachRequest([&](const auto& once) {
    const std::unique_ptr<unsigned char[]> header(once([&] { return heights.GetFileInfo()->GetBindInfo(); }));
  });
  FailEachRequest([&](const auto& once) {
    XString data = folder_.Path("data"), text = folder_.Path("text");
    once([&] { return heights.SerilizeToBIP(0, std::move(data), std::move(text)); });
  });
  EXPECT_EQ(3600u, fs::file_size(folder_.Path("data")));
  const StoreFileBytes header = ReadBytes(Heights().AsStdString());
  FailEachRequest([&](const auto& once) {
    XPBEFileInfo info;
    const bool isParsed = once([&] { return XPBEFile::ParseHeaderInfo(header.data(), &info); });
    EXPECT_EQ(isParsed, info.GetNumberOfLevel() == 1);
  });
}

TEST_F(StoreMemory, ThatRunsOutLeavesTheRoomThatABandHas) {
  ZRMBandPBI band(nullptr);
  ASSERT_EQ(1, band.AllocBuffer(100));
  const FailingNew failing(1);
  EXPECT_EQ(0, band.AllocBuffer(131072));
  EXPECT_TRUE(failing.HasFailed());
  const FailingNew again(1);
  EXPECT_EQ(1, band.AllocBuffer(100));
  EXPECT_FALSE(again.HasFailed());
}

TEST_F(StoreMemory, ThatRunsOutFailsTheFileBehindTheStores) {
  using Vexorine::ZRL::IO::XMMFile;
  const std::string path = folder_.Path("file");
  const auto expectOpen = [&](const auto& open) {
    FailEachRequest([&](const auto& once) {
      XMMFile file;
      const bool isDone = once([&] { return open(file); });
      EXPECT_EQ(isDone, file.IsOpen());
    });
  };
  expectOpen([&](XMMFile& file) { return file.Create(path.c_str(), 100); });
  expectOpen([&](XMMFile& file) { return file.Open(path.c_str(), 2); });
  expectOpen([&](XMMFile& file) { return file.CreateTemp(100); });
  FailEachRequest([&](const auto& once) {
    XMMFile file;
    ASSERT_TRUE(file.Open(path.c_str(), 2));
    const StoreFileBytes bytes(1000, 1);
    const bool isDone = once([&] { return file.Write(bytes.data(), 1000, false); });
    EXPECT_EQ(isDone, file.GetLength() == 1000);
    file.Close();
    fs::resize_file(path, 100);
  });
}
