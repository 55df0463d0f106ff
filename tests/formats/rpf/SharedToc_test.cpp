#include "RpfBuilder.h"
#include "TempFolder.h"
#include "XCIBtoc.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <numeric>

#include <cpl_string.h>
#include <gdal.h>

// A table of contents that another program wrote, beside what GDAL makes of it.

namespace {

constexpr std::size_t kRpfHeaderBytes = 48;
constexpr int kPixelsOfFrame = 1536;

using Bytes = std::vector<unsigned char>;

std::size_t NumberAt(const Bytes& bytes, std::size_t offset, std::size_t width) {
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  return std::accumulate(first, first + static_cast<std::ptrdiff_t>(width), std::size_t{0},
                         [](std::size_t number, unsigned char byte) { return number << 8 | byte; });
}

/// Adds to a number of 4 bytes.
void Shift(Bytes& bytes, std::size_t offset, std::size_t shift) {
  const std::size_t number = NumberAt(bytes, offset, 4) + shift;
  for (std::size_t i = 0; i < 4; ++i) bytes[offset + i] = static_cast<unsigned char>(number >> (24 - 8 * i));
}

/// A big-endian file that begins with its RPF header, put behind a NITF header: all that lies behind the RPF header
/// moves, and so do the places that the file names.
Bytes Wrap(Bytes bare) {
  std::string front = "NITF02.00";
  front.resize(354, ' ');
  front += "000450" + std::string(18, '0') + "00062000RPFHDR00048";
  const std::string back = "00000";
  const std::size_t shift = front.size() + back.size();
  const std::size_t location = NumberAt(bare, 44, 4);
  const std::size_t table = location + NumberAt(bare, location + 2, 4);
  const std::size_t count = NumberAt(bare, location + 6, 2), recordBytes = NumberAt(bare, location + 8, 2);
  for (std::size_t i = 0; i < count; ++i) Shift(bare, table + i * recordBytes + 6, shift);
  Shift(bare, 44, shift);
  const auto behindHeader = bare.begin() + kRpfHeaderBytes;
  return RpfBytes(false)
      .Text(front, front.size())
      .Add({bare.begin(), behindHeader})
      .Text(back, back.size())
      .Add({behindHeader, bare.end()})
      .Get();
}

struct CloseDataset {
  void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};

class SharedToc : public testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(path_)) GTEST_SKIP() << "no shared data";
    GDALAllRegister();
    const char* const drivers[] = {"RPFTOC", nullptr};
    oracle_.reset(GDALOpenEx(path_.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers, nullptr, nullptr));
    ASSERT_TRUE(oracle_);
    folder_.Write("A.TOC", Wrap(ReadBytes(path_)));
    std::filesystem::copy_file(SharedDataDir() + "/rpf/RPFTOC01.ON2", folder_.Path("rpftoc01.on2"));
    ASSERT_EQ(1, toc_.LoadFile(folder_.Path("A.TOC")));
  }

  std::string path_ = SharedDataDir() + "/rpf/A.TOC";
  std::unique_ptr<void, CloseDataset> oracle_;
  TempFolder folder_;
  XCIBtoc toc_;
};

TEST_F(SharedToc, WithoutAWrapperItIsRefused) {
  XCIBtoc bare;
  EXPECT_EQ(0, bare.LoadFile(path_)) << "only files that begin with NITF are read, GDAL reads others too";
}

TEST_F(SharedToc, BoundariesAreThoseOfGdal) {
  ASSERT_EQ(1, toc_.GetBoundaryRecSize());
  const tagBoundaryRectangleRecordRPF& boundary = *toc_.GetBoundaryRecAt(0);
  double transform[6];
  ASSERT_EQ(CE_None, GDALGetGeoTransform(oracle_.get(), transform));
  EXPECT_DOUBLE_EQ(transform[0], boundary.nwLongitude);
  EXPECT_DOUBLE_EQ(transform[3], boundary.nwLatitude);
  // GDAL divides the distance of the corners by the pixels, and stored intervals are rounded.
  EXPECT_NEAR(transform[1], boundary.horizontalInterval, 1e-11);
  EXPECT_NEAR(transform[5], -boundary.verticalInterval, 1e-11);
  EXPECT_EQ(GDALGetRasterXSize(oracle_.get()), kPixelsOfFrame * boundary.numFramesEastWest);
  EXPECT_EQ(GDALGetRasterYSize(oracle_.get()), kPixelsOfFrame * boundary.numFramesNorthSouth);
  EXPECT_NEAR(transform[0] + kPixelsOfFrame * transform[1], boundary.seLongitude, 1e-6);
  EXPECT_NEAR(transform[3] + kPixelsOfFrame * transform[5], boundary.seLatitude, 1e-6);
}

TEST_F(SharedToc, TheProductIsThatOfGdal) {
  char** const names = GDALGetMetadata(oracle_.get(), "SUBDATASETS");
  const std::string name = CSLFetchNameValueDef(names, "SUBDATASET_1_DESC", "");
  EXPECT_EQ("CADRG:ONC:Operational Navigation Chart:1,000,000:2:0", name);
  EXPECT_EQ(XCIBtoc::kProductCADRG, toc_.GetProductDataType());
  EXPECT_STREQ("1:1,000,000 ", toc_.GetBoundaryRecAt(0)->scale);
  EXPECT_STREQ("2", toc_.GetBoundaryRecAt(0)->zone);
}

TEST_F(SharedToc, FramesAreThoseOfGdal) {
  char** const files = GDALGetFileList(oracle_.get());
  ASSERT_EQ(2, CSLCount(files));
  const std::string frame = std::filesystem::path(files[1]).filename();
  CSLDestroy(files);
  ASSERT_EQ(1, toc_.GetFrameRecordSize());
  EXPECT_EQ(frame, toc_.GetFrameRecordAt(0)->fileName);
  EXPECT_EQ(folder_.Path("rpftoc01.on2"), toc_.GetFramePath(0).AsStdString());
}

}  // namespace
