#include "Sanitizers.h"
#include "SavedTiff.h"
#include "SparseDisk.h"
#include "TempFolder.h"
#include "XThreadSafeArr.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>

#include <gdal.h>
#include <tiffio.h>

// Files around the size at which a plain TIFF has no numbers any more for its places. They are written whole, to a disk
// that leaves out zeros.

namespace {

/// Zero but in its four corners, which hold 10 * channel + 1 to 10 * channel + 4. Serves one thread.
class CornerBand : public ZRMBand {
 public:
  CornerBand(int width, int height, int dataType, int channel) : channel_(channel) {
    SetSize(width, height);
    SetDataType(dataType);
  }

  static int CornerAt(int index, int channel) { return 10 * channel + index + 1; }

  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int*) override {
    if (level != 0 || !IsInside(x0, x1, y0, y1)) return 0;
    Clear(x1 - x0 + 1, y1 - y0 + 1);
    for (int i = 0; i < 4; ++i) {
      const int x = i % 2 ? GetXSize() - 1 : 0, y = i / 2 ? GetYSize() - 1 : 0;
      if (x < x0 || x > x1 || y < y0 || y > y1) continue;
      last_[static_cast<std::size_t>(i)] = rows_.Row(y - y0) + static_cast<std::ptrdiff_t>(x - x0) * GetDataSize();
      *last_[static_cast<std::size_t>(i)] = static_cast<unsigned char>(CornerAt(i, channel_));
    }
    out = &rows_;
    return 1;
  }

 private:
  /// Only what the last read set, where the shape is the same.
  void Clear(int width, int height) {
    if (rows_.xSize != width || rows_.ySize != height) {
      rows_.Alloc(width, height, GetDataSize());
      std::memset(rows_.data, 0, static_cast<std::size_t>(width) * static_cast<std::size_t>(height * GetDataSize()));
    } else {
      for (unsigned char* sample : last_) {
        if (sample) *sample = 0;
      }
    }
    last_ = {};
  }

  int channel_;
  tagXArr2 rows_;
  std::array<unsigned char*, 4> last_{};
};

class LargeTiffs : public testing::Test {
 protected:
  void SetUp() override {
    if (IsSanitized()) GTEST_SKIP() << "gigabytes take long under a sanitizer";
  }

  void Save(int width, int height, int dataType, int numBands, int bandType = 0) {
    for (int i = 0; i < numBands; ++i) {
      file_.AddBand(std::make_unique<CornerBand>(width, height, dataType, i).release());
      file_.GetBandAt(i)->SetBandType(bandType);
    }
    const zrk::ScopedDisk scoped(disk_);
    ASSERT_EQ("", SaveAll(file_, path_));
  }

  /// 42 for a plain TIFF, 43 for a BigTIFF.
  int ReadVersion() const {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path_.c_str(), "rb"), &std::fclose);
    unsigned char head[4] = {};
    if (!file || std::fread(head, 1, sizeof head, file.get()) != sizeof head) return 0;
    return head[0] == 'I' ? head[2] + 256 * head[3] : 256 * head[2] + head[3];
  }

  void ExpectCorners() {
    const int right = file_.GetBandAt(0)->GetXSize() - 1, bottom = file_.GetBandAt(0)->GetYSize() - 1;
    for (int channel = 0; channel < file_.GetNumOfBands(); ++channel) {
      for (int i = 0; i < 4; ++i) {
        const int x = i % 2 ? right : 0, y = i / 2 ? bottom : 0;
        EXPECT_EQ(CornerBand::CornerAt(i, channel), ReadByGdal(channel, x, y)) << channel << ": " << i;
        EXPECT_EQ(CornerBand::CornerAt(i, channel), ReadByLibtiff(channel, x, y)) << channel << ": " << i;
      }
      EXPECT_EQ(0, ReadByGdal(channel, right / 2, bottom / 2));
      EXPECT_EQ(0, ReadByLibtiff(channel, right / 2, bottom / 2));
    }
  }

 private:
  int ReadByGdal(int channel, int x, int y) const {
    GDALAllRegister();
    const std::unique_ptr<void, void (*)(GDALDatasetH)> dataset(GDALOpen(path_.c_str(), GA_ReadOnly),
                                                                [](GDALDatasetH open) { GDALClose(open); });
    int sample = -1;
    if (!dataset || GDALRasterIO(GDALGetRasterBand(dataset.get(), channel + 1), GF_Read, x, y, 1, 1, &sample, 1, 1,
                                 GDT_Int32, 0, 0) != CE_None) {
      return -1;
    }
    return sample;
  }
  int ReadByLibtiff(int channel, int x, int y) const {
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(path_.c_str(), "r"), &TIFFClose);
    if (!tiff) return -1;
    std::vector<unsigned char> row(static_cast<std::size_t>(TIFFScanlineSize(tiff.get())));
    const int isRead =
        TIFFReadScanline(tiff.get(), row.data(), static_cast<std::uint32_t>(y), static_cast<std::uint16_t>(channel));
    // The bytes of a pixel of the row, which are all channels' where they are interleaved.
    const std::size_t pixelBytes = row.size() / static_cast<std::size_t>(file_.GetBandAt(0)->GetXSize());
    std::uint16_t planes = 0;
    TIFFGetField(tiff.get(), TIFFTAG_PLANARCONFIG, &planes);
    const auto place = static_cast<std::size_t>(planes == PLANARCONFIG_CONTIG ? channel : 0);
    return isRead == 1 ? row.at(static_cast<std::size_t>(x) * pixelBytes + place) : -1;
  }

  TempFolder folder_;
  SparseDisk disk_;

 protected:
  const std::string path_ = folder_.Path("large.tif");
  XRSFile file_;
};

constexpr int kPlain = 42, kBig = 43;

TEST_F(LargeTiffs, ArePlainBelow4GiB) {
  Save(65536, 65500, kPint08, 1);
  EXPECT_EQ(kPlain, ReadVersion());
  ExpectCorners();
}

TEST_F(LargeTiffs, AreBigWhereOnlyTheSamplesWouldFit) {
  // 4 GiB - 1 bytes of samples; there is no place for a directory behind them.
  Save(65537, 65535, kPint08, 1);
  EXPECT_EQ(kBig, ReadVersion());
  ExpectCorners();
}

TEST_F(LargeTiffs, AreBigAbove4GiB) {
  Save(23200, 23200, kPint16, 4);
  EXPECT_EQ(kBig, ReadVersion());
  ExpectCorners();
}

TEST_F(LargeTiffs, OfClassesHaveAByteForEachWhateverTheBandHas) {
  Save(17000, 17000, kCreal64, 1, kBandTypeThematic);
  EXPECT_EQ(kPlain, ReadVersion());
}

TEST_F(LargeTiffs, MayHaveTheirPixelsInterleaved) {
  Save(38000, 38000, kPint08, 3);
  EXPECT_EQ(kBig, ReadVersion());
  ExpectCorners();
}

}  // namespace
