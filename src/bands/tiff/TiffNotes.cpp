// What `zrkio info` tells of a TIFF file beyond its pixels: blocks, compression, samples and reduced images, and with
// `--verbose` the further images of the file. Values for machines and lines for people are made side by side from the
// same fields, so that both say the same.

#include "bands/tiff/TiffNotes.h"

#include "bands/tiff/TiffReduced.h"
#include "tagXFormatNotes.h"
#include "tagXTiffDirectory.h"
#include "XDataType.h"
#include "ZRMBandGTIFF.h"

#include <algorithm>
#include <iterator>

namespace zrk {
namespace {

/// A damaged file may have no end of directories.

constexpr int kWhiteIsZero = 0;
constexpr int kRealFormat = 3;
constexpr int kPlaneByPlane = 2;
constexpr int kNotCompressed = 1;

struct Compression {
  int number;
  const char* name;
};

/// Numbers of the tag Compression that are met in files. The list is ours and not libtiff's, so that a compression has
/// its name also where this build has no codec for it.
constexpr Compression kCompressions[] = {
    {kNotCompressed, "none"},
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

/// The name of a compression, or null where the list has none.
const char* NameCompression(int number) {
  const auto* const found = std::ranges::find(kCompressions, number, &Compression::number);
  return found == std::end(kCompressions) ? nullptr : found->name;
}

tagXNote Text(const char* name, const XString& text) {
  return {.name = name, .kind = tagXNote::kText, .text = text};
}

tagXNote Integer(const char* name, std::int64_t number) {
  return {.name = name, .kind = tagXNote::kInteger, .number = number};
}

tagXNote Record(const char* name, std::vector<tagXNote> parts) {
  return {.name = name, .kind = tagXNote::kRecord, .parts = std::move(parts)};
}

tagXNote List(const char* name, std::vector<tagXNote> parts) {
  return {.name = name, .kind = tagXNote::kList, .parts = std::move(parts)};
}

tagXNote DescribeCompression(int number) {
  const char* const name = NameCompression(number);
  return Record("compression", {Integer("number", number), name ? Text("name", name) : tagXNote{.name = "name"}});
}

const char* NameBlocks(bool isTiled) {
  return isTiled ? "tile" : "strip";
}

/// The tag NewSubfileType is a sum of flags, one for each thing that an image can be.
tagXNote DescribeSubfile(unsigned subfile) {
  std::vector<tagXNote> kinds;
  if (subfile & 1u) kinds.push_back(Text("", "reduced"));
  if (subfile & 2u) kinds.push_back(Text("", "page"));
  if (subfile & 4u) kinds.push_back(Text("", "mask"));
  return List("kinds", std::move(kinds));
}

tagXNote DescribeDirectory(const tagXTiffDirectory& directory) {
  return Record(
      "", {Integer("width", directory.width), Integer("height", directory.height), DescribeSubfile(directory.subfile),
           Integer("samplesPerPixel", directory.samplesPerPixel), Integer("bitsPerSample", directory.bitsPerSample),
           Record("blocks", {Text("kind", NameBlocks(directory.isTiled)), Integer("width", directory.blockWidth),
                             Integer("height", directory.blockHeight), DescribeCompression(directory.compression)})});
}

tagXNote DescribeBlocks(const ZRMBandGTIFF& band) {
  return Record("blocks",
                {Text("kind", NameBlocks(band.IsTiled())), Integer("width", band.GetBlockWidth()),
                 Integer("height", band.GetBlockHeight()),
                 Text("planar", band.GetPlanarConfiguration() == kPlaneByPlane ? "plane" : "pixel"),
                 DescribeCompression(band.GetCompreType()), Integer("bitsPerSample", band.GetBitsPerSample()),
                 Integer("samplesPerPixel", band.GetSamplesPerPixel()), Integer("photometric", band.GetPhotometric())});
}

XString Plural(int count, const char* noun) {
  XString text;
  text.Format("%d %s%s", count, noun, count == 1 ? "" : "s");
  return text;
}

/// As "tiles of 256 x 256", or "strips of 16 rows".
XString FormatBlockSize(bool isTiled, int width, int height) {
  if (!isTiled) return "strips of " + Plural(height, "row");
  XString text;
  text.Format("tiles of %d x %d", width, height);
  return text;
}

XString FormatCompression(int number) {
  if (number == kNotCompressed) return "not compressed";
  if (const char* const name = NameCompression(number)) return name;
  XString text;
  text.Format("compression %d", number);
  return text;
}

XString FormatBlocks(const ZRMBandGTIFF& band) {
  XString text = "blocks      " + FormatBlockSize(band.IsTiled(), band.GetBlockWidth(), band.GetBlockHeight());
  // One sample has no arrangement to tell of.
  if (band.GetSamplesPerPixel() != 1) {
    text += band.GetPlanarConfiguration() == kPlaneByPlane ? ", plane by plane" : ", pixel by pixel";
  }
  text += ", " + FormatCompression(band.GetCompreType());
  // The width is told only where the data type of the band does not tell it.
  const int bits = band.GetBitsPerSample();
  if (bits != 8 * band.GetDataSize()) text += ", " + Plural(bits, "bit") + " a sample";
  if (band.IsExact() && bits == 64 && band.GetDataType() == kReal64 && band.GetSampleFormat() != kRealFormat) {
    text += ", 64-bit integers";
  }
  if (band.GetPhotometric() == kWhiteIsZero) text += ", 0 is white";
  return text;
}

XString FormatKinds(unsigned subfile) {
  XString text;
  if (subfile & 1u) text += ", reduced image";
  if (subfile & 2u) text += ", page";
  if (subfile & 4u) text += ", mask";
  return text;
}

/// A line with the number of the directory, and two lines about it.
void AddDirectoryLines(const tagXTiffDirectory& directory, int number, std::vector<XString>& lines) {
  XString title, size;
  title.Format("directory %d", number);
  size.Format("  %d x %d pixels, ", directory.width, directory.height);
  lines.push_back(title);
  lines.push_back(size + Plural(directory.samplesPerPixel, "sample") + " of " + Plural(directory.bitsPerSample, "bit") +
                  FormatKinds(directory.subfile));
  lines.push_back("  " + FormatBlockSize(directory.isTiled, directory.blockWidth, directory.blockHeight) + ", " +
                  FormatCompression(directory.compression));
}

void DescribeFurtherImages(const ZRMBandGTIFF& band, tagXFormatNotes& notes) {
  std::vector<tagXNote> directories;
  int number = 1;  // of the image itself
  for (const tagXTiffDirectory& each : band.GetDirectories(kMaxTiffDirectories)) {
    directories.push_back(DescribeDirectory(each));
    AddDirectoryLines(each, ++number, notes.furtherLines);
  }
  notes.values.push_back(List("directories", std::move(directories)));
}

/// As "level 2" or "levels 1, 2 and 4".
XString FormatLevels(const std::vector<int>& levels) {
  XString text = levels.size() == 1 ? "level " : "levels ";
  for (std::size_t i = 0; i < levels.size(); ++i) {
    XString number;
    number.Format("%s%d", i == 0 ? "" : i + 1 == levels.size() ? " and " : ", ", levels[i]);
    text += number;
  }
  return text;
}

/// Compatible reads have no use for overviews, and so none are told of.
void DescribeOverviews(const ZRMBandGTIFF& band, tagXFormatNotes& notes) {
  if (!band.IsExact()) return;
  const std::vector<int> levels = band.GetOverviewLevels();
  std::vector<tagXNote> numbers;
  for (const int level : levels) numbers.push_back(Integer("", level));
  notes.values.push_back(List("overviews", std::move(numbers)));
  if (!levels.empty()) notes.lines.push_back("overviews   " + FormatLevels(levels));
  const XString refusal = band.GetOverviewRefusal();
  notes.values.push_back(refusal.IsEmpty() ? tagXNote{.name = "overviewRefusal"} : Text("overviewRefusal", refusal));
  if (!refusal.IsEmpty()) notes.lines.push_back("overviews   " + refusal);
}

/// Without a message machines get null, and people get no line.
void DescribeMessage(const XString& message, tagXFormatNotes& notes) {
  notes.values.push_back(message.IsEmpty() ? tagXNote{.name = "message"} : Text("message", message));
  if (!message.IsEmpty()) notes.furtherLines.push_back("message     " + message);
}

}  // namespace

void DescribeTiff(ZRMBand& band, bool isVerbose, tagXFormatNotes& notes) {
  const auto& tiff = static_cast<const ZRMBandGTIFF&>(band);
  notes.values.push_back(DescribeBlocks(tiff));
  notes.lines.push_back(FormatBlocks(tiff));
  DescribeOverviews(tiff, notes);
  if (!isVerbose) return;
  DescribeFurtherImages(tiff, notes);
  DescribeMessage(tiff.GetLastMessage(), notes);
}

}  // namespace zrk
