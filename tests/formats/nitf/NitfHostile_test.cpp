// Headers that ask for too much, damage, and what a window of a large file takes.

#include "ByteFlips.h"
#include "Jp2Builder.h"
#include "JpegBuilder.h"
#include "NitfBuilder.h"
#include "OpenRaster.h"
#include "Sanitizers.h"
#include "Stopwatch.h"
#include "XFormatId.h"
#include "ZRMBandNITF.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using Bytes = NitfBuilder::Bytes;

std::int64_t PeakKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stoll(line.substr(6));
  }
  return 0;
}

/// The peak of memory above what is taken now, while a task runs.
template <class Task>
std::int64_t PeakOf(Task&& task) {
  std::ofstream("/proc/self/clear_refs") << 5;  // the peak is counted from here
  const std::int64_t before = PeakKilobytes();
  task();
  return PeakKilobytes() - before;
}

/// A header that says something else in the field at an offset of the header of the image.
struct HostileHeader {
  const char* name;
  std::size_t offset;
  const char* text;
  const char* reason;
};

// Offsets in the header of an image without place, comments, compression and palette: the rows stand at 333, and the
// bands at 375. A band has 13 bytes; the number of blocks across stands 2 bytes behind it.
constexpr std::size_t kRows = 333, kColumns = 341, kComments = 372, kBands = 375, kTables = 388, kBlocks = 391;
constexpr const char* kTooLarge = "The image is too large for the limits";
constexpr const char* kImageDamaged = "The header of the image is damaged";

const HostileHeader kHostileHeaders[] = {
    {"LargestImage", kRows, "9999999999999999", kTooLarge},
    {"NoRows", kRows, "00000000", kImageDamaged},
    {"NegativeColumns", kColumns, "-0000020", kImageDamaged},
    {"LettersForColumns", kColumns, "twenty  ", kImageDamaged},
    {"MostBlocks", kBlocks, "99999999", kTooLarge},
    {"LargestBlocks", kBlocks + 8, "99999999", "The block at"},
    {"NoBlocks", kBlocks, "00000000", kImageDamaged},
    {"NineComments", kComments, "9", kImageDamaged},
    {"NoBands", kBands, "0", kImageDamaged},
    {"MoreTablesThanBytes", kTables, "999999", kImageDamaged},
};

class NitfHostile : public testing::TestWithParam<HostileHeader> {};

/// Loads a file exactly and reads its corner: the sentence of what fails, or nothing.
std::string WhyNotRead(const Bytes& bytes) {
  OpenRaster<ZRMBandNITF> file(bytes, "a.ntf", kFormatNITFIMG, kReadExact);
  if (!file.IsOpen()) return file.Error().substr(("Can't open file : " + file.FilePath() + " : ").size());
  const Window corner{0, std::min(file.BandAt().GetXSize(), 100) - 1, 0, std::min(file.BandAt().GetYSize(), 100) - 1};
  return file.Failure(0, corner);
}

TEST_P(NitfHostile, EndsInASentenceSoonAndWithLittleMemory) {
  const NitfBuilder builder = NitfBuilder().Size(20, 15);
  Bytes bytes = builder.Build();
  const std::string text = GetParam().text;
  std::copy(text.begin(), text.end(),
            bytes.begin() + static_cast<std::ptrdiff_t>(builder.ImageHeaderOffset() + GetParam().offset));
  const Stopwatch watch;
  std::string reason;
  const std::int64_t peak = PeakOf([&] { reason = WhyNotRead(bytes); });
  EXPECT_EQ(GetParam().reason, reason.substr(0, std::string(GetParam().reason).size()));
  EXPECT_LT(watch.Seconds(), 1.0 * static_cast<double>(TrialStep()));
  if (!IsSanitized()) {
    EXPECT_LT(peak, 64 << 10);
  }
}

INSTANTIATE_TEST_SUITE_P(Headers, NitfHostile, testing::ValuesIn(kHostileHeaders),
                         [](const auto& hostile) { return std::string(hostile.param.name); });

/// Reads a window in the middle of an image of 48 megapixels whose samples are all 0; answers the peak of memory.
std::int64_t PeakOfWindow(const NitfBuilder& builder) {
  const TempFolder folder;
  const std::string path = folder.Path("large.ntf");
  Bytes head = NitfBuilder(builder).Coded("NC", Bytes(1)).Build();
  folder.Write("large.ntf", head);
  std::filesystem::resize_file(path, builder.DataOffset() + std::size_t{60} * 1000 * 1000);
  XRSFile file;
  XString err;
  file.SetReadPolicy(kReadExact);
  return PeakOf([&] {
    ASSERT_EQ(1, XRSFileIO::LoadFileNITFIMG(&file, path, err, 0, kLevelNone, nullptr)) << err.AsStdString();
    EXPECT_EQ(1024u * 1024u, ReadPixels(*file.GetBandAt(0), 0, {3000, 4023, 2000, 3023}).bytes.size());
  });
}

}  // namespace

TEST(NitfLarge, AWindowOf48MegapixelsTakesLittleMemory) {
  const NitfBuilder image = NitfBuilder().Size(8000, 6000);
  EXPECT_LT(PeakOfWindow(image), 20 << 10) << "in one block";
  EXPECT_LT(PeakOfWindow(NitfBuilder(image).Blocks(1024, 1024)), 20 << 10) << "in many blocks";
}

TEST(NitfCodestreams, ThatPromiseTooMuchAreRefused) {
  const auto refusal = [](const Bytes& data) {
    return WhyNotRead(NitfBuilder().Size(64, 48).Coded("C8", data).Build());
  };
  const Bytes sound = Jp2Builder().BuildCodestream();
  EXPECT_EQ("", refusal(sound));
  Bytes manyTiles = sound;
  // The width and the height of tiles stand behind two markers, a length, a capability and four numbers.
  constexpr std::size_t kTileSize = 2 + 2 + 2 + 2 + 4 * 4;
  for (std::size_t i = 0; i < 8; ++i) manyTiles[kTileSize + i] = i % 4 == 3 ? 1 : 0;
  EXPECT_EQ("The codestream has too many tiles", refusal(manyTiles));
  EXPECT_EQ("The image has no JPEG 2000 codestream", refusal(Bytes(200, 0)));
  EXPECT_EQ("The image has no JPEG 2000 codestream", refusal({'j', 'P'}));
  EXPECT_NE("", refusal(Bytes(sound.begin(), sound.begin() + 40)));
}

TEST(NitfDamage, OfAnyKindIsSurvived) {
  const NitfBuilder builders[] = {
      NitfBuilder().Size(30, 20).Blocks(16, 16).Representation("RGB/LUT").Palette(16),
      NitfBuilder().Size(64, 48).Coded("C3", JpegBuilder().Size(64, 48).Grey().Build()),
      NitfBuilder().Size(64, 48).Coded("C8", Jp2Builder().Tiles(32, 32).Build()),
  };
  for (const NitfBuilder& builder : builders) {
    const Bytes whole = builder.Build();
    const HeaderRange fromImage{builder.ImageHeaderOffset(), whole.size() - builder.ImageHeaderOffset()};
    FlipBytes(whole, TrialCount(2000, 60), fromImage, [](const Bytes& bytes) {
      for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
        OpenRaster<ZRMBandNITF> file(bytes, "a.ntf", kFormatNITFIMG, policy);
        if (file.IsOpen() && file.BandAt().GetXSize() > 9 && file.BandAt().GetYSize() > 9) file.Read(0, {0, 9, 0, 9});
      }
    });
  }
}

TEST(NitfDamage, CutFilesAreRefusedOrFailWhatTheyLack) {
  const NitfBuilder builder = NitfBuilder().Size(30, 20).Blocks(16, 16);
  const Bytes whole = builder.Build();
  for (std::size_t length = 0; length < whole.size(); length += 29 * TrialStep()) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    OpenRaster<ZRMBandNITF> file(cut, "a.ntf", kFormatNITFIMG, kReadExact);
    EXPECT_TRUE(length >= builder.DataOffset() - 30 || !file.IsOpen()) << length;
    if (!file.IsOpen()) continue;
    EXPECT_NE("", file.Failure(0, file.Whole())) << length;
    // The first block has 256 bytes.
    EXPECT_EQ(length < builder.DataOffset() + 256, !file.Failure(0, {0, 15, 0, 15}).empty()) << length;
  }
}
