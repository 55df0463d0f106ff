#include "ForeignFiles.h"
#include "Oracle.h"
#include "Samples.h"
#include "TempFolder.h"
#include "TiffMemory.h"
#include "XDataType.h"
#include "XMessageBox.h"
#include "XRSFileIO.h"
#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <array>
#include <cstring>
#include <filesystem>
#include <optional>
#include <span>

// TIFF files that other programs wrote, pixel for pixel as GDAL reads them or otherwise for the reason that stands
// beside each, and in the place that GDAL gives them or in another one for such a reason.

namespace {

enum class How {
  kAsGdal,           ///< all bands, in the same data type
  kInColours,        ///< values looked up in the colour map of the file: three bands, one where all colours are greys
  kOnFallingRamp,    ///< values on a ramp from 255 down to 0, because 0 is white
  kAsLibtiffShows,   ///< red, green, blue and alpha
  kClosedUp,         ///< blocks move left to where others of their row are missing
  kFirstRowOnly,     ///< the rest is 0
  kZeros,            ///< nothing can be read, and so all pixels are 0
  kRefused,          ///< with a sentence in the error text
  kRefusedByMessage  ///< with a message to the operator
};

struct ForeignTiff {
  const char* name;
  How how;
  const char* reason;
};

constexpr ForeignTiff AsGdal(const char* name) {
  return {name, How::kAsGdal, ""};
}

const ForeignTiff kTiffs[] = {
    AsGdal("BigTIFF.tif"),
    {"GeogToWGS84GeoKey5.tif", How::kInColours, "a palette is looked up"},
    AsGdal("L7_ETMs.tif"),
    AsGdal("RGBA.uint16.tif"),
    AsGdal("SP27GTIF.TIF"),
    AsGdal("bigtiff_two_strip_be_long.tif"),
    AsGdal("byte.tif"),
    AsGdal("byte_JPEG.tif"),
    AsGdal("byte_gcp.tif"),
    AsGdal("byte_nogeoref.tif"),
    AsGdal("byte_point.tif"),
    {"byte_truncated.tif", How::kZeros, "the strip is cut"},
    AsGdal("byte_with_ovr.tif"),
    AsGdal("cea.tif"),
    AsGdal("cfloat32.tif"),
    {"cielab.tif", How::kAsLibtiffShows, "CIE Lab"},
    AsGdal("cint16.tif"),
    AsGdal("classictiff_four_strip_be_short.tif"),
    AsGdal("contig_tiled.tif"),
    {"corrupted_gtiff_tags.tif", How::kZeros, "the strip lies beyond the end"},
    {"cramps.tif", How::kOnFallingRamp, "0 is white"},
    AsGdal("epsg26711_geotiff1_1.tif"),
    AsGdal("extra_bits_gray_8b.tiff"),
    {"fax2d.tif", How::kOnFallingRamp, "0 is white"},
    AsGdal("fax4.tiff"),
    AsGdal("float16.tif"),
    AsGdal("float24.tif"),
    AsGdal("float32_LZW_predictor_3.tif"),
    AsGdal("flower-minisblack-02.tif"),
    AsGdal("flower-minisblack-06.tif"),
    AsGdal("flower-minisblack-12.tif"),
    AsGdal("flower-minisblack-16.tif"),
    AsGdal("flower-minisblack-32.tif"),
    {"flower-palette-04.tif", How::kInColours, "a palette is looked up"},
    {"flower-palette-16.tif", How::kInColours, "a palette is looked up"},
    AsGdal("flower-rgb-contig-04.tif"),
    AsGdal("flower-rgb-contig-10.tif"),
    AsGdal("flower-rgb-contig-16.tif"),
    AsGdal("flower-rgb-planar-02.tif"),
    AsGdal("flower-rgb-planar-08.tif"),
    AsGdal("flower-rgb-planar-12.tif"),
    {"flower-separated-contig-08.tif", How::kAsLibtiffShows, "CMYK"},
    AsGdal("gen_bigtiff.tif"),
    AsGdal("gen_ccittrle.tif"),
    AsGdal("gen_cfloat32.tif"),
    AsGdal("gen_cfloat64.tif"),
    AsGdal("gen_cint16.tif"),
    {"gen_cmyk.tif", How::kAsLibtiffShows, "CMYK"},
    AsGdal("gen_cog.tif"),
    AsGdal("gen_crs_epsg2154.tif"),
    AsGdal("gen_crs_epsg3031.tif"),
    AsGdal("gen_crs_epsg4267.tif"),
    AsGdal("gen_crs_epsg5070.tif"),
    AsGdal("gen_epsg32756.tif"),
    AsGdal("gen_float32_tiled.tif"),
    AsGdal("gen_float64_strip.tif"),
    AsGdal("gen_gcps.tif"),
    AsGdal("gen_half_float.tif"),
    AsGdal("gen_half_float_pred3.tif"),
    AsGdal("gen_int16_bigendian.tif"),
    AsGdal("gen_int32.tif"),
    AsGdal("gen_int8.tif"),
    AsGdal("gen_jpeg_grey.tif"),
    AsGdal("gen_jpeg_rgb.tif"),
    AsGdal("gen_jpeg_rgb_band.tif"),
    AsGdal("gen_jpeg_ycbcr_tiled.tif"),
    AsGdal("gen_mask.tif"),
    {"gen_miniswhite1.tif", How::kOnFallingRamp, "0 is white"},
    {"gen_miniswhite8.tif", How::kOnFallingRamp, "0 is white"},
    AsGdal("gen_multipage.tif"),
    AsGdal("gen_nbits12_tiled_lzw.tif"),
    AsGdal("gen_nbits1_strip_none.tif"),
    AsGdal("gen_nbits2_tiled_lzw.tif"),
    AsGdal("gen_nbits4_strip_packbits.tif"),
    AsGdal("gen_nbits5_tiled_none.tif"),
    AsGdal("gen_nbits7_strip_deflate.tif"),
    AsGdal("gen_one_col.tif"),
    AsGdal("gen_one_row.tif"),
    AsGdal("gen_overviews_internal.tif"),
    {"gen_palette16.tif", How::kInColours, "a palette is looked up"},
    {"gen_palette4.tif", How::kInColours, "a palette is looked up"},
    {"gen_palette8.tif", How::kInColours, "a palette is looked up"},
    AsGdal("gen_pixel_is_point.tif"),
    AsGdal("gen_rgb_nbits12_band.tif"),
    AsGdal("gen_rgb_nbits4_band.tif"),
    AsGdal("gen_rgb_strip_band_lzw.tif"),
    AsGdal("gen_rgb_strip_band_none.tif"),
    AsGdal("gen_rgb_strip_pixel_lzw.tif"),
    AsGdal("gen_rgb_strip_pixel_none.tif"),
    AsGdal("gen_rgb_tiled_band_lzw.tif"),
    AsGdal("gen_rgb_tiled_band_none.tif"),
    AsGdal("gen_rgb_tiled_pixel_lzw.tif"),
    AsGdal("gen_rgb_tiled_pixel_none.tif"),
    AsGdal("gen_rgba_unassoc.tif"),
    AsGdal("gen_rotated_modeltransformation.tif"),
    {"gen_sparse.tif", How::kClosedUp, "blocks are missing"},
    AsGdal("gen_tfw_only.tif"),
    AsGdal("gen_uint16_4band_band_lzw_pred2.tif"),
    AsGdal("gen_userdef_lcc_usft.tif"),
    AsGdal("geo-5b.tif"),
    AsGdal("geokeys_ProjectedCSTypeGeoKey_27200_new_zealand_mapping_grid.tif"),
    AsGdal("geokeys_ProjectedCSTypeGeoKey_3035_lambert_azimuthal_equal_area.tif"),
    AsGdal("geokeys_ProjectedCSTypeGeoKey_3812_lcc2sp.tif"),
    AsGdal("geokeys_albers_equal_area.tif"),
    AsGdal("geokeys_cassini_soldner.tif"),
    AsGdal("geokeys_epsg_27563_allgeokeys.tif"),
    AsGdal("geokeys_hotine_oblique_mercator_variant_a.tif"),
    AsGdal("geokeys_lcc1sp.tif"),
    AsGdal("geokeys_mercator2sp.tif"),
    AsGdal("geokeys_pixel_is_point_wgs84.tif"),
    AsGdal("geokeys_polar_stereographic_variant_a.tif"),
    AsGdal("geokeys_polyconic.tif"),
    AsGdal("geokeys_transverse_mercator.tif"),
    AsGdal("geomatrix.tif"),
    AsGdal("gpm_1d.20240617.tif"),
    AsGdal("int10.tif"),
    AsGdal("int32.tif"),
    AsGdal("int8.tif"),
    AsGdal("ladoga.tif"),
    AsGdal("logluv-3c-16b.tiff"),
    {"mandrilmini_12bitjpeg.tif", How::kRefusedByMessage, "12 bits a sample"},
    AsGdal("minisblack-2c-8b-alpha.tiff"),
    {"miniswhite-1c-1b.tiff", How::kOnFallingRamp, "0 is white"},
    AsGdal("next_literalrow.tif"),
    AsGdal("non_square_pixels.tif"),
    AsGdal("nt_20201024_f18_nrt_s.tif"),
    AsGdal("oddsize1bit.tif"),
    AsGdal("off_luv24.tif"),
    AsGdal("oxford.tif"),
    {"palette-1c-1b.tiff", How::kInColours, "a palette is looked up"},
    AsGdal("predictor-3-gray-f32.tif"),
    AsGdal("quad-jpeg.tif"),
    AsGdal("quad-tile.jpg.tiff"),
    AsGdal("quad-tile.tif"),
    AsGdal("random-fp16-pred2.tiff"),
    AsGdal("random-fp16.tiff"),
    AsGdal("red.tif"),
    AsGdal("rgb-3c-16b.tiff"),
    AsGdal("rgbsmall.tif"),
    AsGdal("rgbsmall_JPEG_tiled_separate.tif"),
    AsGdal("rgbsmall_JPEG_ycbcr.tif"),
    AsGdal("rgbsmall_LZW_tiled_separate.tif"),
    {"rgbsmall_cmyk.tif", How::kAsLibtiffShows, "CMYK"},
    AsGdal("rgbsmall_uint16_LZW_predictor_2.tif"),
    AsGdal("sample_bigtiff.tif"),
    AsGdal("sample_jpeg.tif"),
    AsGdal("seq-1c-10b-6d739fa2.tiff"),
    AsGdal("seq-1c-12b-hpredict-47c39b31.tiff"),
    AsGdal("seq-1c-14b-e883657f.tiff"),
    AsGdal("seq-1c-16b-bigendian-68f373a0.tiff"),
    AsGdal("seq-1c-16b-lzw-68f373a0.tiff"),
    AsGdal("seq-1c-1b-71f6a21a.tiff"),
    {"seq-1c-1b-fax3-71f6a21a.tiff", How::kOnFallingRamp, "0 is white"},
    {"seq-1c-1b-miniswhite-71f6a21a.tiff", How::kOnFallingRamp, "0 is white"},
    AsGdal("seq-1c-24b-072a9dc9.tiff"),
    AsGdal("seq-1c-2b-58b25f76.tiff"),
    AsGdal("seq-1c-32f-390fe673.tiff"),
    AsGdal("seq-1c-3b-ef237c07.tiff"),
    {"seq-1c-4b-palette-85108c5a.tiff", How::kInColours, "a palette is looked up"},
    {"seq-1c-5b-miniswhite-73098d17.tiff", How::kOnFallingRamp, "0 is white"},
    AsGdal("seq-1c-64f-deflate-fpredict-afa8560e.tiff"),
    AsGdal("seq-1c-7b-9c61ba70.tiff"),
    AsGdal("seq-1c-8b-bigtiff-20f3db0c.tiff"),
    AsGdal("seq-1c-8b-multipage-adeefdcc.tiff"),
    AsGdal("seq-1c-8b-packbits-20f3db0c.tiff"),
    {"seq-1c-8b-palette-89b39bc3.tiff", How::kInColours, "a palette is looked up"},
    AsGdal("seq-1c-8b-tiled-lzw-20f3db0c.tiff"),
    AsGdal("seq-1c-i16-63af2488.tiff"),
    AsGdal("seq-1c-i8-f8446bbe.tiff"),
    AsGdal("seq-3c-12b-contig-e6f40b4a.tiff"),
    AsGdal("seq-3c-16b-bigtiff-1b40ca6e.tiff"),
    AsGdal("seq-3c-5b-contig-09f197f4.tiff"),
    AsGdal("seq-3c-8b-tiled-8743c999.tiff"),
    AsGdal("seq-3c-i16-f7fcf423.tiff"),
    {"seq-4c-8b-cmyk-352ac1da.tiff", How::kAsLibtiffShows, "CMYK"},
    AsGdal("seq-4c-8b-rgba-50969cda.tiff"),
    {"slim_g4.tif", How::kFirstRowOnly, "a bilevel image in one strip of more than 2000 rows"},
    AsGdal("south-up.tif"),
    AsGdal("spaf27_correct.tif"),
    {"sparse_tiled_contig.tif", How::kClosedUp, "blocks are missing"},
    AsGdal("stefan_full_greyalpha.tif"),
    AsGdal("storml_evt.tif"),
    AsGdal("strike.tif"),
    AsGdal("test3_with_mask_1bit.tif"),
    {"test_color_table.tif", How::kInColours, "a palette is looked up"},
    AsGdal("thunder.tif"),
    AsGdal("tiled-gray-i1.tif"),
    AsGdal("tiled-jpeg-ycbcr.tif"),
    {"tiled_bad_offset.tif", How::kZeros, "the tile lies beyond the end"},
    AsGdal("twoimages.tif"),
    AsGdal("uint16.tif"),
    AsGdal("uint16_sgilog.tif"),
    AsGdal("utmsmall.tif"),
    AsGdal("world.byte.tif"),
    {"ycbcr-cat.tif", How::kAsLibtiffShows, "YCbCr without JPEG"},
    {"ycbcr_11_lzw.tif", How::kAsLibtiffShows, "YCbCr without JPEG"},
    {"ycbcr_22_lzw.tif", How::kAsLibtiffShows, "YCbCr without JPEG"},
    {"ycbcr_41_lzw.tif", How::kAsLibtiffShows, "YCbCr without JPEG"},
    {"zackthecat.tif", How::kAsLibtiffShows, "JPEG of the old style, in YCbCr"},
};

std::ostream& operator<<(std::ostream& stream, const ForeignTiff& tiff) {
  return stream << tiff.name;
}

std::string NameOf(const testing::TestParamInfo<ForeignTiff>& tiff) {
  return TestNameOf(tiff.param.name);
}

int SampleBytesOf(int dataType) {
  constexpr int kBytes[] = {0, 1, 0, 2, 2, 4, 4, 4, 8, 0, 0, 0, 4, 0, 8, 8, 16};
  return kBytes[dataType];
}

/// GDAL's number of a type is the index.
constexpr int kTypeOfGdal[] = {0, 1, 3, 4, 5, 6, 7, 8, 12, 14, 15, 16};

/// What a band shall be.
struct Expected {
  int dataType = 0;
  std::vector<unsigned char> bytes;
};

/// Bytes of the first component, then of the others; one entry for each sample value.
std::array<std::vector<int>, 3> ReadColourMap(std::vector<unsigned char> file) {
  const TiffPointer tiff = OpenTiffInMemory(file, "r");
  std::array<std::uint16_t*, 3> map{};
  std::uint16_t bits = 0;
  std::array<std::vector<int>, 3> colours;
  if (!tiff || !TIFFGetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits) ||
      !TIFFGetField(tiff.get(), TIFFTAG_COLORMAP, &map[0], &map[1], &map[2])) {
    return colours;
  }
  bool areBytes = true;
  for (const auto* component : map) {
    for (int i = 0; i < 1 << bits; ++i) areBytes = areBytes && component[i] < 256;
  }
  for (std::size_t c = 0; c < 3; ++c) {
    for (int i = 0; i < 1 << bits; ++i) colours[c].push_back(areBytes ? map[c][i] : map[c][i] / 256);
  }
  return colours;
}

/// Replaces each sample of 1 or 2 bytes by what `map` makes of it.
template <class Map>
Expected MapSamples(const StoredImage::Plane& plane, Map map) {
  Expected expected{kTypeOfGdal[plane.dataType], plane.bytes};
  const auto size = static_cast<std::size_t>(plane.sampleBytes);
  for (std::size_t i = 0; i + size <= expected.bytes.size(); i += size) {
    std::uint16_t value = 0;
    std::memcpy(&value, &expected.bytes[i], size);
    value = static_cast<std::uint16_t>(map(int{value}));
    std::memcpy(&expected.bytes[i], &value, size);
  }
  return expected;
}

std::vector<Expected> InColours(const StoredImage& image, const std::string& path) {
  const auto colours = ReadColourMap(ReadBytes(path));
  const bool isGrey = colours[0] == colours[1] && colours[0] == colours[2];
  std::vector<Expected> bands;
  for (const auto& component : std::span(colours).first(isGrey ? 1 : 3)) {
    const auto look = [&](int value) { return component.at(static_cast<std::size_t>(value)); };
    bands.push_back(MapSamples(image.planes.at(0), look));
  }
  return bands;
}

Expected OnFallingRamp(const StoredImage::Plane& plane) {
  const int last = (1 << plane.numBits) - 1;
  return MapSamples(plane, [last](int value) { return (last - value) * 255 / last; });
}

std::vector<Expected> AsLibtiffShows(const std::string& path) {
  const TiffRgba shown = DecodeTiffRgba(ReadBytes(path));
  std::vector<Expected> bands(4, {kPint08, {}});
  for (const std::uint32_t pixel : shown.pixels) {
    for (std::size_t c = 0; c < 4; ++c) bands[c].bytes.push_back(static_cast<unsigned char>(pixel >> (8 * c)));
  }
  return bands;
}

/// Each row without the pixels of blocks that are missing, filled up with 0.
Expected ClosedUp(const StoredImage& image, const StoredImage::Plane& plane) {
  Expected expected{kTypeOfGdal[plane.dataType], {}};
  const auto size = static_cast<std::size_t>(plane.sampleBytes);
  const int blocksAcross = (image.width + image.blockWidth - 1) / image.blockWidth;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      if (image.missingBlocks.contains(y / image.blockHeight * blocksAcross + x / image.blockWidth)) continue;
      const auto* const sample = plane.bytes.data() + static_cast<std::size_t>(y * image.width + x) * size;
      expected.bytes.insert(expected.bytes.end(), sample, sample + size);
    }
    expected.bytes.resize(static_cast<std::size_t>(y + 1) * static_cast<std::size_t>(image.width) * size);
  }
  return expected;
}

/// In colours where it is there.
std::vector<Expected> FirstRowOnly(const StoredImage& image, const std::string& path) {
  std::vector<Expected> bands = InColours(image, path);
  for (Expected& band : bands) std::fill(band.bytes.begin() + image.width, band.bytes.end(), std::uint8_t{0});
  return bands;
}

Expected ExpectedOf(How how, const StoredImage& image, const StoredImage::Plane& plane) {
  switch (how) {
    case How::kOnFallingRamp:
      return OnFallingRamp(plane);
    case How::kClosedUp:
      return ClosedUp(image, plane);
    default:
      return {kTypeOfGdal[plane.dataType], plane.bytes};
  }
}

std::vector<Expected> ExpectedOf(How how, const std::string& path) {
  if (how == How::kAsLibtiffShows) return AsLibtiffShows(path);
  const StoredImage image = ReadStoredWithGdal(path);
  EXPECT_TRUE(image.isOpen);
  if (how == How::kInColours) return InColours(image, path);
  if (how == How::kFirstRowOnly) return FirstRowOnly(image, path);
  std::vector<Expected> bands;
  for (const StoredImage::Plane& plane : image.planes) bands.push_back(ExpectedOf(how, image, plane));
  return bands;
}

class ForeignTiffs : public testing::TestWithParam<ForeignTiff> {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(path_)) GTEST_SKIP() << "no shared data";
    const XMessageBoxHandler before = XfnSetMessageBoxHandler([this](const XString&, const XString&, unsigned) {
      ++numMessages_;
      return static_cast<int>(kAnswerOk);
    });
    isOpen_ = XRSFileIO::LoadFileRaster(&file_, kFormatTIF, path_, err_, 0, kLevelNone, nullptr);
    XfnSetMessageBoxHandler(before);
  }

  Pixels Read(int i) {
    ZRMBand& band = *file_.GetBandAt(i);
    return ReadPixels(band, 0, WholeWindowOf(band));
  }

  void ExpectBands(const std::vector<Expected>& wanted) {
    ASSERT_EQ(static_cast<int>(wanted.size()), file_.GetNumOfBands());
    for (int i = 0; i < file_.GetNumOfBands(); ++i) {
      const Expected& band = wanted[static_cast<std::size_t>(i)];
      const int dataType = file_.GetBandAt(i)->GetDataType();
      EXPECT_EQ(band.dataType, dataType) << "band " << i;
      const std::vector<unsigned char> got = Read(i).bytes;
      const auto differs = std::mismatch(got.begin(), got.end(), band.bytes.begin(), band.bytes.end()).first;
      EXPECT_TRUE(got == band.bytes) << "band " << i << ", first at sample "
                                     << (differs - got.begin()) / SampleBytesOf(dataType);
    }
  }

  void ExpectZeros() {
    for (int i = 0; i < file_.GetNumOfBands(); ++i) {
      const Pixels pixels = Read(i);
      EXPECT_FALSE(pixels.bytes.empty());
      EXPECT_TRUE(std::ranges::all_of(pixels.bytes, [](int byte) { return byte == 0; }));
    }
  }

  const std::string path_ = PathOfForeign("tiff", GetParam().name);
  XRSFile file_;
  XString err_;
  int isOpen_ = 0;
  int numMessages_ = 0;
};

TEST_P(ForeignTiffs, ComeOutAsListed) {
  const How how = GetParam().how;
  SCOPED_TRACE(GetParam().reason);
  ASSERT_EQ(how != How::kRefused && how != How::kRefusedByMessage, isOpen_ != 0) << err_.GetText();
  EXPECT_EQ(how == How::kRefusedByMessage ? 1 : 0, numMessages_);
  if (!isOpen_) {
    EXPECT_EQ(how == How::kRefusedByMessage, bool{err_.IsEmpty()});
  } else if (how == How::kZeros) {
    ExpectZeros();
  } else {
    ExpectBands(ExpectedOf(how, path_));
  }
}

/// Where our rules place an image otherwise than GDAL's.
struct ForeignPlace {
  const char* name;
  double ulx, uly, xPixelSize, yPixelSize;
  int coordinateKind;
  const char* reason;
};

const ForeignPlace kForeignPlaces[] = {
    {"byte_nogeoref.tif", 100.0, 200.0, 1.0, 1.0, kCoordinateWorld,
     "lines 5 and 6 of the world file are the corner, and not the centre of a pixel"},
    {"gen_tfw_only.tif", 573015.0, 4757985.0, 30.0, 30.0, kCoordinateWorld,
     "lines 5 and 6 of the world file are the corner, and not the centre of a pixel"},
    {"non_square_pixels.tif", 0.0, 2.0, 1.0, 1.0, kCoordinatePixel, "a pixel scale counts only beside geokeys"},
    {"corrupted_gtiff_tags.tif", 0.0, 1.0, 1.0, 1.0, kCoordinatePixel,
     "its geokeys, one of which is missing, don't count, nor does the pixel scale then"},
};

/// Where GDAL has a place it is ours, and where it has none the pixels are the world, with the height as upper edge.
ForeignPlace PlaceOf(const char* name, const StoredImage& image) {
  for (const ForeignPlace& place : kForeignPlaces) {
    if (std::strcmp(place.name, name) == 0) return place;
  }
  if (!image.isPlaced) return {name, 0.0, static_cast<double>(image.height), 1.0, 1.0, kCoordinatePixel, "no place"};
  const auto& t = image.transform;
  return {name, t[0], t[3], t[1], std::abs(t[5]), kCoordinateWorld, "as GDAL"};
}

TEST_P(ForeignTiffs, LieWhereListed) {
  if (!isOpen_) GTEST_SKIP() << "refused";
  const ForeignPlace wanted = PlaceOf(GetParam().name, ReadStoredWithGdal(path_));
  SCOPED_TRACE(wanted.reason);
  for (int i = 0; i < file_.GetNumOfBands(); ++i) {
    const ZRMBand& band = *file_.GetBandAt(i);
    EXPECT_EQ(wanted.coordinateKind, band.GetCoordinateKind());
    EXPECT_DOUBLE_EQ(wanted.ulx, band.GetULX());
    EXPECT_DOUBLE_EQ(wanted.uly, band.GetULY());
    EXPECT_DOUBLE_EQ(wanted.xPixelSize, band.GetXPixelSize());
    EXPECT_DOUBLE_EQ(wanted.yPixelSize, band.GetYPixelSize());
  }
}

TEST_P(ForeignTiffs, HaveTheSystemThatGdalFinds) {
  if (!isOpen_) GTEST_SKIP() << "refused";
  const int wanted = ReadStoredWithGdal(path_).epsg;
  for (int i = 0; i < file_.GetNumOfBands(); ++i) EXPECT_EQ(wanted, file_.GetBandAt(i)->GetSR()->GetEPSG());
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignTiffs, testing::ValuesIn(kTiffs), NameOf);

TEST(ForeignTiffFolder, HoldsNoFileThatIsNotListed) {
  ExpectAllListed("tiff", {".tif", ".tiff", ".TIF"}, NamesOf(kTiffs));
}

}  // namespace
