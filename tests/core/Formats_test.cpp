// docs/FORMATS.md shows a file of each kind byte by byte. Here the library makes those files again, and reads the bytes
// of the page.

#include "MemoryBand.h"
#include "TempFolder.h"
#include "Xepot.h"
#include "XRSFile.h"
#include "XRSFile2XLD.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>
#include <zstd.h>

#include <algorithm>
#include <bit>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

const std::vector<std::uint16_t> kWords = {1, 2, 3, 4, 5, 11, 12, 13, 14, 15, 256, 257, 258, 259, 260};
const std::vector<float> kReals = {1, 2, 3, 4, 5, 1, 2, 3, 4, kNotANumber, 1, 2, 3, 4, 6};

/// Bands with levels are what gets level data.
class LevelledBand : public MemoryBandOf<ZRMBandDRIO> {
 public:
  int GetLevel() override { return Xepot::CalcProperLevel(GetXSize(), GetYSize(), GetXTileSize(), GetYTileSize()); }
};

template <class Band, class Sample>
void AddBand(XRSFile& dataset, int width, int height, int tile, const std::vector<Sample>& samples) {
  auto band = std::make_unique<Band>();
  band->SetSamples(width, height, samples);
  band->SetTileSize(tile, tile);
  band->SetBandName("A & B");
  dataset.AddBand(band.release());
}

/// 10 x 6 samples, of which four each are as large as one of `kWords`.
std::vector<std::uint16_t> TwiceAsLarge() {
  std::vector<std::uint16_t> samples;
  for (std::size_t i = 0; i < 60; ++i) samples.push_back(kWords[i / 20 * 5 + i % 10 / 2]);
  return samples;
}

Bytes MakeLevelFile(const std::string& path) {
  XRSFile dataset;
  AddBand<LevelledBand>(dataset, 10, 6, 2, TwiceAsLarge());
  XRSFile2XLD writer;
  writer.SetXRSFile(&dataset);
  XString err;
  EXPECT_TRUE(writer.Save(path, err, kLevelBuild, nullptr)) << err.GetText();
  return ReadBytes(path);
}

Bytes MakeNativeFile(const std::string& path) {
  XRSFile dataset;
  AddBand<MemoryBand>(dataset, 5, 3, 2, kWords);
  XString err;
  EXPECT_TRUE(XRSFileIO::SaveFileZRM(&dataset, path, 2, 0, 4, 0, 2, err, nullptr, 100, 0, 1)) << err.GetText();
  return ReadBytes(path);
}

Bytes MakeCompressedFile(const std::string& path) {
  XRSFile dataset;
  AddBand<MemoryBand>(dataset, 5, 3, 4, kReals);
  XString err;
  EXPECT_TRUE(XRSFileIO::SaveFileZRMComp(&dataset, path, 1, 0, 4, 0, 2, 0.25, err, nullptr, 0)) << err.GetText();
  return ReadBytes(path);
}

/// A line of a dump: the place of its first byte, the bytes, and a remark behind a semicolon.
void AppendDump(const std::string& line, Bytes& bytes) {
  std::istringstream words(line.substr(0, line.find(';')));
  std::string word;
  if (!(words >> word)) return;
  EXPECT_EQ(bytes.size(), std::stoul(word, nullptr, 16)) << line;
  while (words >> word) bytes.push_back(static_cast<unsigned char>(std::stoul(word, nullptr, 16)));
}

/// A line of a text, which goes on in the next one where it ends with a backslash.
void AppendText(std::string line, Bytes& bytes) {
  const bool goesOn = line.ends_with('\\');
  if (goesOn) line.pop_back();
  bytes.insert(bytes.end(), line.begin(), line.end());
  if (!goesOn) bytes.push_back('\n');
}

/// The blocks under a heading of the page, one after the other.
Bytes FromPage(const std::string& heading) {
  std::ifstream page(SourcePath("docs/FORMATS.md"));
  Bytes bytes;
  std::string kind;
  bool isHere = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("#") && kind.empty()) {
      isHere = line == heading;
    } else if (line.starts_with("```")) {
      kind = kind.empty() ? line : "";
    } else if (isHere && kind == "```hex") {
      AppendDump(line, bytes);
    } else if (isHere && kind == "```xml") {
      AppendText(line, bytes);
    }
  }
  return bytes;
}

std::string Printable(const Bytes& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

template <class Sample>
std::vector<Sample> ReadAt(ZRMBand& band, int level) {
  tagXArr2* out = nullptr;
  if (!band.ReadSubset(out, level, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, nullptr)) return {};
  return SamplesOf<Sample>(*out);
}

constexpr const char* kLevelHeading = "## A level file, byte by byte";
constexpr const char* kNativeHeading = "## A native raster file, byte by byte";
constexpr const char* kCompressedHeading = "## A compressed native raster file, byte by byte";

}  // namespace

TEST(Formats, LevelFileIsAsOnThePage) {
  const TempFolder folder;
  const Bytes made = MakeLevelFile(folder.Path("a.xld"));
  EXPECT_EQ(FromPage(kLevelHeading), made) << Printable(made);
}

TEST(Formats, NativeFileIsAsOnThePage) {
  const TempFolder folder;
  const Bytes made = MakeNativeFile(folder.Path("a.zrm"));
  EXPECT_EQ(FromPage(kNativeHeading), made) << Printable(made);
}

TEST(Formats, CompressedFileIsAsOnThePage) {
  if (ZSTD_versionNumber() != 10504) GTEST_SKIP() << "the bytes of tiles are those of another zstd";
  const TempFolder folder;
  const Bytes made = MakeCompressedFile(folder.Path("a.zrm"));
  EXPECT_EQ(FromPage(kCompressedHeading), made) << Printable(made);
}

TEST(Formats, LevelFileOfThePageServesItsLevels) {
  const TempFolder folder;
  folder.Write("a.xld", FromPage(kLevelHeading));
  XRSFile dataset;
  dataset.SetFilePath(folder.Path("a.bmp"));
  AddBand<LevelledBand>(dataset, 10, 6, 2, TwiceAsLarge());
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileXLD(&dataset, folder.Path("a.bmp"), err, kLevelNone, nullptr)) << err.GetText();
  EXPECT_EQ(kWords, ReadAt<std::uint16_t>(*dataset.GetBandAt(0), 1));
  // (1 + 2 + 11 + 12) / 4 = 6.5 and (3 + 4 + 13 + 14) / 4 = 8.5, both rounded away from zero
  EXPECT_EQ((std::vector<std::uint16_t>{7, 9}), ReadAt<std::uint16_t>(*dataset.GetBandAt(0), 2));
}

TEST(Formats, NativeFileOfThePageIsRead) {
  const TempFolder folder;
  folder.Write("a.zrm", FromPage(kNativeHeading));
  XRSFile dataset;
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileZRM(&dataset, folder.Path("a.zrm"), err, nullptr)) << err.GetText();
  EXPECT_EQ("A & B", dataset.GetBandAt(0)->GetBandName());
  EXPECT_EQ(kWords, ReadAt<std::uint16_t>(*dataset.GetBandAt(0), 0));
  EXPECT_EQ((std::vector<std::uint16_t>{7, 9}), ReadAt<std::uint16_t>(*dataset.GetBandAt(0), 1));
}

TEST(Formats, CompressedFileOfThePageIsRead) {
  const TempFolder folder;
  folder.Write("a.zrm", FromPage(kCompressedHeading));
  XRSFile dataset;
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileZRM(&dataset, folder.Path("a.zrm"), err, nullptr)) << err.GetText();
  const std::vector<float> samples = ReadAt<float>(*dataset.GetBandAt(0), 0);
  EXPECT_TRUE(std::ranges::equal(kReals, samples, {}, std::bit_cast<std::uint32_t, float>,
                                 std::bit_cast<std::uint32_t, float>));
  EXPECT_EQ((std::vector<float>{1.5, 3.5}), ReadAt<float>(*dataset.GetBandAt(0), 1));
}
