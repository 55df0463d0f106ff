#include "Samples.h"

#include "BmpBuilder.h"
#include "DtedBuilder.h"
#include "HdfBuilder.h"
#include "JpegBuilder.h"
#include "MemoryBand.h"
#include "RpfFrameBuilder.h"
#include "TempFolder.h"
#include "TiffBuilder.h"
#include "XRSFileIO.h"
#include "ZRMBandBMP.h"
#include "ZRMBandCADRG.h"
#include "ZRMBandJPG.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <iterator>
#include <memory>
#include <set>

namespace {

template <class Band>
tagXArr2* ResultOf(ZRMBand& master, int channel) {
  return static_cast<Band&>(master).GetResult(channel);
}

constexpr auto kFull = LevelRule::kFullResolution;
constexpr auto kPlain = SampleDisk::kPlain;

Sample SmallBmp(const char* name, std::vector<unsigned char> (*build)()) {
  return {name, kFormatBMP, build, kFull, kPlain, true, 0, &ResultOf<ZRMBandBMP>};
}

Sample SmallJpeg(const char* name, std::vector<unsigned char> (*build)(), int tolerance) {
  return {name, kFormatJPG, build, kFull, kPlain, true, tolerance, &ResultOf<ZRMBandJPG>};
}

/// 4000 x 2700 pixels of 3 bytes are 32,400,000 bytes, and so are mapped.
std::vector<unsigned char> BuildLargeBmp() {
  return BmpBuilder().Size(4000, 2700).Build();
}

/// A native raster file of 41 x 30 bytes a band, with all the levels that tiles of 8 x 8 give.
std::vector<unsigned char> BuildNative(int numBands, bool isCompressed) {
  constexpr int kWidth = 41, kHeight = 30, kLevels = 3;
  XRSFile dataset;
  for (int i = 0; i < numBands; ++i) {
    auto band = std::make_unique<MemoryBand>();
    std::vector<unsigned char> samples;
    for (int k = 0; k < kWidth * kHeight; ++k) samples.push_back(static_cast<unsigned char>(k * (7 + 2 * i) + k / 41));
    band->SetSamples(kWidth, kHeight, samples);
    band->SetTileSize(8, 8);
    dataset.AddBand(band.release());
  }
  const TempFolder folder;
  const XString path = folder.Path("native.zrm");
  XString err;
  constexpr int kRight = kWidth - 1, kBottom = kHeight - 1;
  if (isCompressed) {
    XRSFileIO::SaveFileZRMComp(&dataset, path, kLevels, 0, kRight, 0, kBottom, 0.0, err, nullptr, 0);
  } else {
    XRSFileIO::SaveFileZRM(&dataset, path, kLevels, 0, kRight, 0, kBottom, err, nullptr, 100, 0, 1);
  }
  return ReadBytes(path.AsStdString());
}

Sample Native(const char* name, bool isSmall, std::vector<unsigned char> (*build)()) {
  return {name, kFormatZRM, build, LevelRule::kMeans, kPlain, isSmall, kNoOracle, nullptr};
}

/// Tiles are of 16 x 16, strips of 8 rows; images of 41 x 30 have tiles and strips that overhang them.
TiffBuilder Tiles() {
  return TiffBuilder().Size(41, 30).Tiles(16, 16);
}

TiffBuilder Strips() {
  return TiffBuilder().Size(41, 30).Strips(8);
}

std::uint64_t SmoothPixel(int x, int y, int sample) {
  return static_cast<std::uint64_t>(3 * x + 4 * y + 40 * sample) & 255u;
}

std::uint64_t RealPixel(int x, int y, int sample) {
  return std::bit_cast<std::uint32_t>(static_cast<float>(TiffBuilder::AnyPixel(x, y, sample) % 2000) / 8.0f - 100.0f);
}

/// Sixteen of them, red, green and blue rising at different rates.
std::vector<std::uint16_t> FewColours() {
  std::vector<std::uint16_t> components;
  for (int rate = 1; rate <= 3; ++rate) {
    for (int i = 0; i < 16; ++i) components.push_back(static_cast<std::uint16_t>(i * rate * 5 * 257));
  }
  return components;
}

Sample Tiff(const char* name, std::vector<unsigned char> (*build)(), int blockWidth, int blockHeight) {
  return {name, kFormatTIF, build, LevelRule::kDecimatedByBlock, kPlain, true, 0, nullptr, blockWidth, blockHeight};
}

Sample TiledTiff(const char* name, std::vector<unsigned char> (*build)()) {
  return Tiff(name, build, 16, 16);
}

Sample StrippedTiff(const char* name, std::vector<unsigned char> (*build)()) {
  return Tiff(name, build, 41, 8);
}

std::vector<Sample> MakeTiffs() {
  return {
      StrippedTiff("TiffStrips", [] { return Strips().Build(); }),
      TiledTiff("TiffTiles", [] { return Tiles().Build(); }),
      StrippedTiff("TiffBig", [] { return Strips().BigTiff().Samples(2).Build(); }),
      TiledTiff("TiffBigEndian", [] { return Tiles().BigEndian().Bits(16).Format(2).Build(); }),
      TiledTiff("TiffPlanes", [] { return Tiles().Samples(3).Photometric(2).Planar().Build(); }),
      TiledTiff("TiffLzw", [] { return Tiles().Samples(3).Photometric(2).Compression(5).Predictor(2).Encode(); }),
      StrippedTiff("TiffDeflate", [] { return Strips().Bits(16).Compression(8).Predictor(2).Encode(); }),
      StrippedTiff("TiffPackBits", [] { return Strips().Compression(32773).Pixel(SmoothPixel).Encode(); }),
      StrippedTiff("TiffReals",
                   [] { return Strips().Bits(32).Format(3).Compression(8).Predictor(3).Pixel(RealPixel).Encode(); }),
      TiledTiff("Tiff12Bits", [] { return Tiles().Bits(12).Samples(2).Build(); }),
      StrippedTiff("Tiff5Bits", [] { return Strips().Bits(5).Build(); }),
      StrippedTiff("TiffBilevel", [] { return Strips().Bits(1).Build(); }),
      StrippedTiff("TiffFax", [] { return Strips().Bits(1).Compression(4).Encode(); }),
      TiledTiff("TiffPalette", [] { return Tiles().Bits(4).Photometric(3).ColourMap(FewColours()).Build(); }),
      TiledTiff("TiffJpeg",
                [] { return Tiles().Samples(3).Photometric(6).Compression(7).Pixel(SmoothPixel).Encode(); }),
      {"TiffOverTwoTiles", kFormatTIF,
       [] { return TiffBuilder().Size(601, 522).Tiles(64, 48).Samples(3).Photometric(2).Compression(5).Encode(); },
       LevelRule::kDecimatedByBlock, kPlain, false, 0, nullptr, 64, 48},
      {"TiffThroughFile", kFormatTIF, [] { return TiffBuilder().Size(601, 522).Strips(50).Samples(2).Build(); },
       LevelRule::kDecimatedByBlock, SampleDisk::kWithoutMaps, false, 0, nullptr, 601, 50},
  };
}

/// All subframes but the last.
std::set<int> AllButOne() {
  std::set<int> subframes;
  for (int i = 0; i < 35; ++i) subframes.insert(i);
  return subframes;
}

Sample Cadrg(const char* name, bool isSmall, int tolerance, std::vector<unsigned char> (*build)()) {
  return {name, kFormatCADRG, build, kFull, kPlain, isSmall, tolerance, &ResultOf<ZRMBandCADRG>};
}

Sample Cib(const char* name, bool isSmall, std::vector<unsigned char> (*build)()) {
  return {name, kFormatCIB, build, kFull, kPlain, isSmall, kNoOracle, nullptr};
}

/// GDAL has bands other than ours of frames that are not of three colours or not compressed.
std::vector<Sample> MakeFrames() {
  using Frame = RpfFrameBuilder;
  return {
      Cadrg("CadrgWhole", false, 0, [] { return Frame().Build(); }),
      Cadrg("CadrgMasked", true, kNoOracle,
            [] { return Frame().OneLookupTable().Absent(AllButOne()).Transparent(5).Build(); }),
      Cadrg("CadrgPlain", false, kNoOracle, [] { return Frame().Plain().ColorTable(4, 217, 4).Build(); }),
      Cib("CibWhole", false, [] { return Frame().LittleEndian().Grey().Build(); }),
      Cib("CibMasked", true, [] { return Frame().Plain().Grey().Absent(AllButOne()).Build(); }),
  };
}

std::vector<Sample> MakeSamples() {
  std::vector<Sample> samples = {
      SmallBmp("Bmp8", [] { return BmpBuilder().Size(41, 30).Bits(8).Build(); }),
      SmallBmp("Bmp8ShortPalette",
               [] {
                 const auto index = [](int x, int y) { return static_cast<std::uint32_t>((x + y) % 6); };
                 return BmpBuilder().Size(41, 30).Bits(8).Palette(6).ClrUsed(6).Pixel(index).Build();
               }),
      SmallBmp("Bmp24", [] { return BmpBuilder().Size(41, 30).Build(); }),
      SmallBmp("Bmp32", [] { return BmpBuilder().Size(41, 30).Bits(32).Build(); }),
      {"Bmp24OverTwoTiles", kFormatBMP, [] { return BmpBuilder().Size(601, 522).Build(); }, kFull, kPlain, false, 0,
       &ResultOf<ZRMBandBMP>},
      {"Bmp24Mapped", kFormatBMP, &BuildLargeBmp, kFull, kPlain, false, 0, &ResultOf<ZRMBandBMP>},
      {"Bmp24ThroughFile", kFormatBMP, &BuildLargeBmp, LevelRule::kDecimated, SampleDisk::kWithoutMaps, false, 0,
       &ResultOf<ZRMBandBMP>},
      SmallJpeg(
          "JpegGrey", [] { return JpegBuilder().Size(45, 37).Grey().Build(); }, 0),
      SmallJpeg(
          "JpegColour", [] { return JpegBuilder().Size(45, 37).Build(); }, 0),
      SmallJpeg(
          "JpegProgressive", [] { return JpegBuilder().Size(45, 37).Progressive().Build(); }, 0),
      // GDAL cuts the product of an ink and black where we round it.
      SmallJpeg(
          "JpegCmyk", [] { return JpegBuilder().Size(45, 37).Cmyk().Build(); }, 1),
      {"JpegOverTwoTiles", kFormatJPG, [] { return JpegBuilder().Size(601, 522).Build(); }, kFull, kPlain, false, 0,
       &ResultOf<ZRMBandJPG>},
      // GDAL mistakes the two middle rows of a cell of an even number of them.
      {"Dted", kFormatDTED, [] { return DtedBuilder().Size(41, 31).Build(); }, LevelRule::kDecimated, kPlain, true, 0,
       nullptr},
      {"DtedOverTwoTiles", kFormatDTED, [] { return DtedBuilder().Size(601, 523).Build(); }, LevelRule::kDecimated,
       kPlain, false, 0, nullptr},
      {"Hdf4", kFormatHDF4, [] { return HdfBuilder().Size(41, 30).Build(); }, kFull, kPlain, true, 0, nullptr},
      {"Hdf4Blocks", kFormatHDF4, [] { return HdfBuilder().Size(41, 30).BlockSize(2).Build(); }, kFull, kPlain, true, 0,
       nullptr},
      {"Hdf4OverTwoTiles", kFormatHDF4, [] { return HdfBuilder().Size(601, 522).Build(); }, kFull, kPlain, false, 0,
       nullptr},
      Native("NativePlain", true, [] { return BuildNative(1, false); }),
      Native("NativePlain3Bands", false, [] { return BuildNative(3, false); }),
      Native("NativeCompressed", true, [] { return BuildNative(1, true); }),
      Native("NativeCompressed3Bands", false, [] { return BuildNative(3, true); }),
  };
  std::ranges::copy(MakeTiffs(), std::back_inserter(samples));
  std::ranges::copy(MakeFrames(), std::back_inserter(samples));
  return samples;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Sample& sample) {
  return stream << sample.name;
}

std::ostream& operator<<(std::ostream& stream, const Window& window) {
  return stream << window.x0 << ".." << window.x1 << " by " << window.y0 << ".." << window.y1;
}

const std::vector<Sample>& AllSamples() {
  static const std::vector<Sample> samples = MakeSamples();
  return samples;
}

std::vector<Sample> SmallSamples() {
  std::vector<Sample> samples;
  std::ranges::copy_if(AllSamples(), std::back_inserter(samples), &Sample::isSmall);
  return samples;
}

std::string PathOf(const Sample& sample) {
  static const TempFolder folder;
  std::string path = folder.Path(sample.name);
  if (!std::filesystem::exists(path)) folder.Write(sample.name, sample.build());
  return path;
}

Pixels ReadPixels(ZRMBand& band, int level, const Window& window) {
  tagXArr2* out = nullptr;
  if (!band.ReadSubset(out, level, window.x0, window.x1, window.y0, window.y1, nullptr)) return {};
  const std::ptrdiff_t numBytes = std::ptrdiff_t{out->xSize} * out->ySize * out->elementSize;
  return {out->xSize, out->ySize, {out->data, out->data + numBytes}, out->elementSize};
}

Window WholeOf(const ZRMBand& band) {
  return {0, band.GetXSize() - 1, 0, band.GetYSize() - 1};
}

OpenSample::OpenSample(const Sample& sample, int calcStatistics) {
  const std::string path = PathOf(sample);
  if (sample.disk == SampleDisk::kWithoutMaps) disk_.FailMap(1);
  const zrk::ScopedDisk scoped(disk_);
  isOpen_ = XRSFileIO::LoadFileRaster(&file_, sample.formatId, path, err_, calcStatistics, kLevelNone, nullptr);
}
