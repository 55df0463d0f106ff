#include "DescribeTiff.h"

#include "ZRKio.h"

#include <algorithm>
#include <iterator>

namespace {

/// A damaged file may have no end of directories.
constexpr int kMostDirectories = 1000;

constexpr int kPlaneByPlane = 2;

struct Compression {
  int number;
  const char* name;
};

/// Numbers of the tag Compression that are met in files.
constexpr Compression kCompressions[] = {
    {1, "none"},
    {2, "CCITT RLE"},
    {3, "CCITT Group 3"},
    {4, "CCITT Group 4"},
    {5, "LZW"},
    {6, "JPEG, old"},
    {7, "JPEG"},
    {8, "Deflate"},
    {32766, "NeXT"},
    {32771, "CCITT RLE, words"},
    {32773, "PackBits"},
    {32809, "ThunderScan"},
    {32909, "PixarLog"},
    {32946, "Deflate"},
    {34661, "JBIG"},
    {34676, "SGI LogLuv"},
    {34677, "SGI LogLuv 24"},
    {34712, "JPEG 2000"},
    {34887, "LERC"},
    {34925, "LZMA"},
    {50000, "Zstandard"},
    {50001, "WebP"},
    {50002, "JPEG XL"},
};

Json DescribeCompression(int number) {
  const auto* const found = std::find_if(std::begin(kCompressions), std::end(kCompressions),
                                         [number](const Compression& each) { return each.number == number; });
  return {{"number", number}, {"name", found == std::end(kCompressions) ? Json() : Json(found->name)}};
}

const char* NameBlocks(bool isTiled) {
  return isTiled ? "tile" : "strip";
}

/// The tag NewSubfileType is a sum of what an image is.
Json DescribeSubfile(unsigned subfile) {
  Json kinds = Json::array();
  if (subfile & 1u) kinds.push_back("reduced");
  if (subfile & 2u) kinds.push_back("page");
  if (subfile & 4u) kinds.push_back("mask");
  return kinds;
}

Json DescribeDirectory(const tagXTiffDirectory& directory) {
  return {{"width", directory.width},
          {"height", directory.height},
          {"kinds", DescribeSubfile(directory.subfile)},
          {"samplesPerPixel", directory.samplesPerPixel},
          {"bitsPerSample", directory.bitsPerSample},
          {"blocks",
           {{"kind", NameBlocks(directory.isTiled)},
            {"width", directory.blockWidth},
            {"height", directory.blockHeight},
            {"compression", DescribeCompression(directory.compression)}}}};
}

Json DescribeBlocks(const ZRMBandGTIFF& band) {
  return {{"kind", NameBlocks(band.IsTiled())},
          {"width", band.GetBlockWidth()},
          {"height", band.GetBlockHeight()},
          {"planar", band.GetPlanarConfiguration() == kPlaneByPlane ? "plane" : "pixel"},
          {"compression", DescribeCompression(band.GetCompreType())},
          {"bitsPerSample", band.GetBitsPerSample()},
          {"samplesPerPixel", band.GetSamplesPerPixel()},
          {"photometric", band.GetPhotometric()}};
}

Json DescribeDirectories(const ZRMBandGTIFF& band) {
  Json json = Json::array();
  for (const tagXTiffDirectory& each : band.GetDirectories(kMostDirectories)) json.push_back(DescribeDirectory(each));
  return json;
}

Json DescribeMessage(const ZRMBandGTIFF& band) {
  const XString message = band.GetLastMessage();
  return message.IsEmpty() ? Json() : Json(message.AsStdString());
}

}  // namespace

void AddTiffFields(Json& json, const ZRMBand& band, bool isVerbose) {
  const auto* tiff = dynamic_cast<const ZRMBandGTIFF*>(&band);
  if (!tiff) return;
  json["blocks"] = DescribeBlocks(*tiff);
  if (!isVerbose) return;
  json["directories"] = DescribeDirectories(*tiff);
  json["message"] = DescribeMessage(*tiff);
}
