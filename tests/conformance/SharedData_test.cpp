// Every raster of the shared files equals GDAL's reading, or is refused with a sentence, or is on the list below with
// its reason. Counts are printed, so that a change of them is seen.

#include "ExactComparison.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <map>

namespace {

/// Differences by choice: the file, and why it differs.
const std::map<std::string, std::string> kDifferences = {
    {"bmp/pal8rletrns.bmp", "GDAL leaves pixels undefined that no code names; they have colour 0 here"},
    {"bmp/rgb32bf.bmp", "GDAL takes bit fields of 32 bits in the usual order, whatever their masks"},
    {"hdf4/byte_2.hdf", "GDAL places the image by an attribute of its own"},
    {"hdf4/float32_2.hdf", "GDAL places the image by an attribute of its own"},
    {"hdf4/gen_s16_rank2.hdf", "GDAL places the image by an attribute of its own"},
    {"hdf4/gen_u8_rank2.hdf", "GDAL places the image by an attribute of its own"},
    {"hdf4/utmsmall_2.hdf", "GDAL places the image by an attribute of its own"},
    {"jp2/gen_420.jp2", "luminance and chrominance are given as they are, and GDAL makes colours of them"},
    {"jp2/ll.jp2", "the first number of a place without a system is its x, and GDAL turns this grid around"},
    {"jp2/p0_03.j2k", "signed bytes keep their sign, and GDAL takes them for unsigned ones"},
    {"jpeg/jpg-cmyk-1.jpg", "the product of an ink and black is rounded here, and GDAL cuts it"},
    {"tiff/flower-palette-04.tif", "colours of 16 bits are rounded here, and GDAL cuts them"},
    {"tiff/flower-palette-16.tif", "values are looked up in their palette, and GDAL gives them as they are"},
    {"tiff/gen_palette16.tif", "values are looked up in their palette, and GDAL gives them as they are"},
    {"tiff/palette-1c-1b.tiff", "values are looked up in their palette, and GDAL gives them as they are"},
    {"tiff/slim_g4.tif", "values are looked up in their palette, and GDAL gives them as they are"},
    {"tiff/ycbcr-cat.tif", "the colours come with an opacity, which is full"},
    {"tiff/ycbcr_11_lzw.tif", "the colours come with an opacity, which is full"},
    {"tiff/ycbcr_22_lzw.tif", "the colours come with an opacity, which is full"},
    {"tiff/ycbcr_41_lzw.tif", "the colours come with an opacity, which is full"},
    {"tiff/zackthecat.tif", "the colours come with an opacity, which is full"},
};

TEST(SharedData, EqualsGdalOrIsRefusedOrListed) {
  const std::filesystem::path root = SharedDataDir();
  if (!std::filesystem::exists(root)) GTEST_SKIP() << "no files at " << root;
  std::map<Comparison::Outcome, int> counts;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file()) continue;
    const std::string name = std::filesystem::relative(entry.path(), root).generic_string();
    const Comparison comparison = CompareWithGdal(entry.path());
    ++counts[comparison.outcome];
    if (comparison.outcome == Comparison::kRefused) {
      EXPECT_NE("", comparison.reason) << name;
      std::cout << "refused: " << name << ": " << comparison.reason << "\n";
    }
    if (comparison.outcome == Comparison::kDifferent) {
      EXPECT_TRUE(kDifferences.contains(name)) << name << ": " << comparison.reason;
    } else {
      EXPECT_FALSE(kDifferences.contains(name)) << name << " is listed and does not differ";
    }
  }
  std::cout << counts[Comparison::kEqual] << " equal, " << counts[Comparison::kDifferent] << " different by choice, "
            << counts[Comparison::kRefused] << " refused, " << counts[Comparison::kNotForUs] << " not for us\n";
  EXPECT_GT(counts[Comparison::kEqual], 100);
}

}  // namespace
