#include "XCIBframe.h"

#include "base/PixelStorage.h"
#include "FaultyDisk.h"
#include "RpfFrameBuilder.h"
#include "TempFolder.h"
#include "XFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>

namespace {

using Frame = RpfFrameBuilder;

/// A frame whose kept mask offsets can be seen.
class SeenFrame : public XCIBframe {
 public:
  using XCIBframe::DecompressData;
  using XCIBframe::GetSperatedValue;
  using XCIBframe::GetSubframeOffset;
  using XCIBframe::GetTransparencyOffset;
  using XCIBframe::LoadCompressedImageData;
  using XCIBframe::LoadUncompressedImageData;
};

class XCIBframeTest : public testing::Test {
 protected:
  int Load(const std::vector<unsigned char>& bytes, int withColor = 1, int withImage = 1) {
    folder_.Write("frame", bytes);
    return frame_.LoadFile(Path(), withColor, withImage);
  }
  int Load(const Frame& builder, int withColor = 1, int withImage = 1) {
    return Load(builder.Build(), withColor, withImage);
  }
  /// The first pixel that is not the builder's, with the transparent code taken out, in words; empty if none.
  std::string FindDifference(const Frame& builder, int transparent = -1) {
    for (int y = 0; y < XCIBframe::kSide; ++y) {
      for (int x = 0; x < XCIBframe::kSide; ++x) {
        const int code = builder.PixelAt(x, y);
        if (frame_.GetLine(y)[x] != (code == transparent ? 0 : code)) {
          return std::to_string(x) + ", " + std::to_string(y);
        }
      }
    }
    return "";
  }
  XString Path() const { return folder_.Path("frame").c_str(); }

  TempFolder folder_;
  SeenFrame frame_;
};

TEST_F(XCIBframeTest, IsEmptyBeforeALoad) {
  EXPECT_EQ(frame_.GetData(), nullptr);
  EXPECT_EQ(frame_.DetacheData(), nullptr);
  EXPECT_EQ(frame_.GetColorTableType(), 3);
  EXPECT_EQ(frame_.GetNumChannels(), 1);
  EXPECT_EQ(frame_.SaveToBinaryData(folder_.Path("out").c_str()), 0);
}

TEST_F(XCIBframeTest, AFileThatIsNoFrameFails) {
  EXPECT_EQ(frame_.LoadFile(folder_.Path("none").c_str(), 1, 1), 0);
  EXPECT_EQ(Load(std::vector<unsigned char>(9000, 'x'), 0, 0), 0);
  EXPECT_EQ(Load(Frame().Without(0x82), 0, 0), 0);
}

TEST_F(XCIBframeTest, CoverageIsReadInBothByteOrders) {
  for (const bool littleEndian : {false, true}) {
    Frame builder = Frame().Coverage({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    if (littleEndian) builder.LittleEndian();
    ASSERT_EQ(Load(builder, 0, 0), 1);
    const tagCoverageSectionSubheaderRPF& coverage = frame_.GetCoverageSec();
    EXPECT_THAT((std::vector{coverage.nwLatitude, coverage.nwLongitude, coverage.swLatitude, coverage.swLongitude,
                             coverage.neLatitude, coverage.neLongitude, coverage.seLatitude, coverage.seLongitude,
                             coverage.verticalResolution, coverage.horizontalResolution, coverage.verticalInterval,
                             coverage.horizontalInterval}),
                testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12));
    EXPECT_EQ(frame_.GetData(), nullptr);
  }
}

TEST_F(XCIBframeTest, CoverageBehindTheFirst4096BytesIsOnlyFoundWithAFlag) {
  const Frame builder = Frame().Gap(4000);
  EXPECT_EQ(Load(builder, 0, 0), 0);
  EXPECT_EQ(Load(builder, 1, 0), 1);
  EXPECT_EQ(Load(builder, 0, 1), 1);
}

TEST_F(XCIBframeTest, CompressedPixelsAreThoseOfTheLookupTables) {
  for (const bool littleEndian : {false, true}) {
    Frame builder;
    if (littleEndian) builder.LittleEndian();
    ASSERT_EQ(Load(builder), 1);
    EXPECT_EQ(FindDifference(builder), "");
  }
}

TEST_F(XCIBframeTest, TheImageNeedsNoColorFlag) {
  ASSERT_EQ(Load(Frame(), 0, 1), 1);
  EXPECT_EQ(FindDifference(Frame()), "");
}

TEST_F(XCIBframeTest, LookupTablesGoByTheirIds) {
  const Frame builder = Frame().LookupIds({3, 1, 4, 2});
  ASSERT_EQ(Load(builder), 1);
  EXPECT_EQ(FindDifference(builder), "");
}

TEST_F(XCIBframeTest, PlainPixelsAreTakenAsTheyAre) {
  const Frame builder = Frame().Plain();
  ASSERT_EQ(Load(builder), 1);
  EXPECT_EQ(FindDifference(builder), "");
}

TEST_F(XCIBframeTest, PixelsBehindTheHeadAreReadFromTheFile) {
  // The head of 524288 bytes ends within the lookup tables, and then within the spatial data.
  for (const std::size_t gap : {480000, 400000}) {
    const Frame builder = Frame().Gap(gap);
    ASSERT_EQ(Load(builder), 1);
    EXPECT_EQ(FindDifference(builder), "");
  }
}

TEST_F(XCIBframeTest, AnAbsentSubframeIsBlack) {
  for (const std::size_t gap : {0, 400000}) {
    const Frame builder = Frame().Absent({0, 7, 35}).Gap(gap);
    ASSERT_EQ(Load(builder), 1);
    EXPECT_EQ(FindDifference(builder), "");
    EXPECT_EQ(frame_.GetSubframeOffset(0), -1);
    EXPECT_EQ(frame_.GetSubframeOffset(8), 6 * 6144);
  }
  const Frame plain = Frame().Plain().Absent({1, 2, 30}, 9);
  ASSERT_EQ(Load(plain), 1);
  EXPECT_EQ(FindDifference(plain), "");
}

TEST_F(XCIBframeTest, ATransparentCodeIsNoPixelAfterwards) {
  const Frame compressed = Frame().Transparent(5);
  ASSERT_EQ(Load(compressed), 1);
  EXPECT_EQ(FindDifference(compressed, 5), "");
  const Frame plain = Frame().Plain().Absent({3}).Transparent(200);
  ASSERT_EQ(Load(plain), 1);
  EXPECT_EQ(FindDifference(plain, 200), "");
}

TEST_F(XCIBframeTest, ASubframeMaskAloneGivesATransparentCodeToo) {
  const Frame builder = Frame().Plain().AllPixels(0x17).Absent({});
  std::vector<unsigned char> bytes = builder.Build();
  bytes[builder.MakeFile().ComponentOffset(5) + 6] = 0x17;
  ASSERT_EQ(Load(bytes), 1);
  EXPECT_EQ(FindDifference(builder, 0x17), "");
}

TEST_F(XCIBframeTest, AFrameWithoutMasksKeepsEveryPixel) {
  for (const int value : {0, 1, 216, 231, 255}) {  // 231 is 999 in its lowest byte
    ASSERT_EQ(Load(Frame().Plain().AllPixels(static_cast<unsigned char>(value))), 1);
    EXPECT_EQ(frame_.GetLine(1535)[1535], value);
  }
}

TEST_F(XCIBframeTest, AMaskOffsetWithoutItsSubsectionFails) {
  EXPECT_EQ(Load(Frame().Absent({1}).Without(0x8A)), 0);
  EXPECT_EQ(Load(Frame().Transparent(1).Without(0x8A)), 0);
  EXPECT_EQ(Load(Frame().Transparent(1).Without(0x8A), 1, 0), 1);
}

TEST_F(XCIBframeTest, InTheHeadTransparencyOffsetsAreTakenBehind36RecordsWhateverTheirOffset) {
  const Frame builder = Frame().Absent({}).Transparent(5);
  ASSERT_EQ(Load(builder), 1);
  // The table stands 7 bytes further on, so that each entry is taken from there with the bytes of two.
  std::vector<unsigned char> bytes = builder.Build();
  const std::size_t taken = builder.MakeFile().ComponentOffset(7) + 36 * 4;
  EXPECT_EQ(frame_.GetTransparencyOffset(20), XCIBbase::ReadUnsigned(bytes.data() + taken + 20 * 4, 4, false));
  EXPECT_NE(frame_.GetTransparencyOffset(20), 5 * 20);
}

TEST_F(XCIBframeTest, BehindTheHeadTransparencyOffsetsAreTakenWhereTheirOffsetSays) {
  ASSERT_EQ(Load(Frame().Plain().Absent({}).Transparent(5).Gap(524288)), 1);
  EXPECT_EQ(frame_.GetTransparencyOffset(0), 0);
  EXPECT_EQ(frame_.GetTransparencyOffset(20), 5 * 20);
}

TEST_F(XCIBframeTest, TheImageNeedsItsSections) {
  for (const int id : {0x88, 0x89, 0x8C}) {
    EXPECT_EQ(Load(Frame().Without(id)), 0) << id;
    EXPECT_EQ(Load(Frame().Without(id), 1, 0), 1) << id;
  }
  EXPECT_EQ(Load(Frame().Plain().Without(0x8C)), 0);
}

TEST_F(XCIBframeTest, ACompressedImageWithoutItsTablesFails) {
  for (const Frame& builder :
       {Frame().Without(0x83), Frame().Without(0x84), Frame().LookupRecords(3), Frame().LookupIds({1, 2, 3, 5}),
        Frame().LookupIds({0, 1, 2, 3}), Frame().LookupIds({1, 2, 3, 3}), Frame().Replace(0x84, {0, 0})}) {
    EXPECT_EQ(Load(builder), 0);
    EXPECT_EQ(frame_.GetData(), nullptr);
    EXPECT_EQ(Load(builder, 1, 0), 1);
  }
}

TEST_F(XCIBframeTest, APlainImageNeedsNoTables) {
  ASSERT_EQ(Load(Frame().Plain().Without(0x86)), 1);
  EXPECT_EQ(FindDifference(Frame().Plain()), "");
}

TEST_F(XCIBframeTest, AnImageOfCodesIsPaintedAsSuchWithoutItsSections) {
  for (const bool hasFile : {false, true}) {
    const std::vector<unsigned char> bytes = Frame().Build();
    ASSERT_EQ(Load(bytes, 1, 0), 1);
    XFile file;
    ASSERT_EQ(file.Open(Path(), XFile::kRead), 1);
    const int numBytes = hasFile ? 0 : static_cast<int>(bytes.size());
    ASSERT_EQ(frame_.LoadCompressedImageData(hasFile ? &file : nullptr, 999, bytes.data(), numBytes), 1);
    EXPECT_EQ(FindDifference(Frame()), "");
  }
}

TEST_F(XCIBframeTest, AnImageOfPixelsIsPaintedAsSuchWhereTheSectionsTellOfCodes) {
  const std::vector<unsigned char> bytes = Frame().Without(0x83).Build();
  ASSERT_EQ(Load(bytes), 0);
  ASSERT_EQ(frame_.LoadUncompressedImageData(nullptr, 999, bytes.data(), static_cast<int>(bytes.size())), 1);
  const unsigned char* const pixels = bytes.data() + frame_.FindComponent(0x8C)->offset;
  EXPECT_EQ(frame_.GetLine(0)[1], pixels[1]);
  EXPECT_EQ(frame_.GetLine(255)[256], pixels[65536 + 255 * 256]);
  EXPECT_EQ(frame_.GetLine(0)[3 * 256], 0);  // three subframes of pixels are all that the codes make up
}

TEST_F(XCIBframeTest, ACompressedImageThatIsCutShortHasCodesOfZeroBehindItsEnd) {
  for (const std::size_t gap : {0, 480000}) {
    std::vector<unsigned char> bytes = Frame().Gap(gap).Build();
    bytes.resize(bytes.size() - 30 * 6144);
    ASSERT_EQ(Load(bytes), 1) << gap;
    EXPECT_EQ(frame_.GetLine(255)[1535], Frame().PixelAt(1535, 255));
    for (int i = 0; i < 16; ++i) EXPECT_EQ(frame_.GetLine(256 + i / 4)[i % 4], Frame::TablePixel(i / 4, 0, i % 4));
  }
}

TEST_F(XCIBframeTest, ACompressedImageInTheHeadNeedsOneSubframe) {
  std::vector<unsigned char> bytes = Frame().Build();
  bytes.resize(bytes.size() - 35 * 6144);
  EXPECT_EQ(Load(bytes), 1);
  bytes.pop_back();
  EXPECT_EQ(Load(bytes), 0);
}

TEST_F(XCIBframeTest, APlainSubframeThatIsCutShortIsBlack) {
  std::vector<unsigned char> bytes = Frame().Plain().Build();
  bytes.pop_back();
  ASSERT_EQ(Load(bytes), 1);
  EXPECT_EQ(frame_.GetLine(1279)[1535], Frame::PlainPixel(1535, 1279));
  EXPECT_EQ(frame_.GetLine(1535)[1279], Frame::PlainPixel(1279, 1535));
  EXPECT_EQ(frame_.GetLine(1280)[1280], 0);
}

TEST_F(XCIBframeTest, AMaskedSubframeThatTheHeadOfAWholeFileHasNotFails) {
  std::set<int> absent;
  for (int i = 0; i < 31; ++i) absent.insert(i);
  for (Frame builder : {Frame(), Frame().Plain()}) {
    std::vector<unsigned char> bytes = builder.Absent(absent).Build();
    EXPECT_EQ(Load(bytes), 1);
    bytes.pop_back();
    EXPECT_EQ(Load(bytes), 0);
  }
}

TEST_F(XCIBframeTest, ACoverageAloneTakesOneReadOfOneOpening) {
  folder_.Write("frame", Frame().Build());
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  ASSERT_EQ(frame_.LoadFile(Path(), 0, 0), 1);
  EXPECT_EQ(disk.GetReadCount(), 1);
  EXPECT_EQ(disk.GetOpenCount(), 1);
}

TEST_F(XCIBframeTest, AFrameThatFitsTheHeadIsReadAtOnce) {
  folder_.Write("frame", Frame().Build());
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  ASSERT_EQ(frame_.LoadFile(Path(), 1, 1), 1);
  EXPECT_EQ(disk.GetReadCount(), 1);
  EXPECT_EQ(disk.GetOpenCount(), 1);
}

TEST_F(XCIBframeTest, AFrameThatDoesNotFitTheHeadIsOpenedAgain) {
  folder_.Write("frame", Frame().Gap(400000).Build());
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  ASSERT_EQ(frame_.LoadFile(Path(), 1, 1), 1);
  EXPECT_EQ(disk.GetReadCount(), 2);
  EXPECT_EQ(disk.GetOpenCount(), 2);
  disk.FailOpen(4);
  EXPECT_EQ(frame_.LoadFile(Path(), 1, 1), 0);
}

TEST_F(XCIBframeTest, AnAbsentSubframeTakesNoRead) {
  const auto countReads = [&](const Frame& builder) {
    folder_.Write("frame", builder.Build());
    FaultyDisk disk;
    const zrk::ScopedDisk scoped(disk);
    EXPECT_EQ(frame_.LoadFile(Path(), 1, 1), 1);
    return disk.GetReadCount();
  };
  EXPECT_EQ(countReads(Frame().Gap(524288).Absent({})), countReads(Frame().Gap(524288).Absent({1, 20})) + 2);
}

struct Colors {
  int id, numEntries, entryBytes;
  int numPlanes;    ///< that are filled
  int numChannels;  ///< that are shown
};

class XCIBframeColors : public XCIBframeTest, public testing::WithParamInterface<Colors> {};

TEST_P(XCIBframeColors, FillAsManyPlanesAsTheirTableHas) {
  const auto [id, numEntries, entryBytes, numPlanes, numChannels] = GetParam();
  ASSERT_EQ(Load(Frame().ColorTable(id, numEntries, entryBytes), 1, 0), 1);
  EXPECT_EQ(frame_.GetColorTableType(), id);
  EXPECT_EQ(frame_.GetNumChannels(), numChannels);
  for (int plane = 0; plane < 4; ++plane) {
    for (int i = 0; i < 217; ++i) {
      const bool isFilled = plane < numPlanes && i < numEntries;
      ASSERT_EQ(frame_.GetColorTableAt(plane)[i], isFilled ? Frame::Color(plane, i) : 0) << plane << ", " << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, XCIBframeColors,
                         testing::Values(Colors{1, 217, 3, 3, 3}, Colors{2, 216, 4, 4, 3}, Colors{3, 217, 1, 1, 1},
                                         Colors{4, 100, 4, 4, 4}, Colors{2, 1000, 4, 4, 3}, Colors{3, 300, 1, 1, 1}),
                         [](const auto& colors) {
                           return "Table" + std::to_string(colors.param.id) + "Of" +
                                  std::to_string(colors.param.numEntries);
                         });

TEST_F(XCIBframeTest, EntriesStandAsTheKindOfTableHasThemWhateverLengthIsGiven) {
  ASSERT_EQ(Load(Frame().ColorTable(1, 12, 4), 1, 0), 1);
  // Three bytes an entry are taken from entries of four.
  EXPECT_EQ(frame_.GetColorTableAt(0)[1], Frame::Color(3, 0));
  EXPECT_EQ(frame_.GetColorTableAt(1)[1], Frame::Color(0, 1));
  EXPECT_EQ(frame_.GetColorTableAt(2)[11], Frame::Color(35 % 4, 35 / 4));
  EXPECT_EQ(frame_.GetColorTableAt(0)[12], 0);
}

TEST_F(XCIBframeTest, EntriesBeyondTheBytesOfTheTableAreLeftOut) {
  ASSERT_EQ(Load(Frame().ColorTable(4, 12, 3), 1, 0), 1);
  EXPECT_EQ(frame_.GetColorTableAt(0)[8], Frame::Color(32 % 3, 32 / 3));
  EXPECT_EQ(frame_.GetColorTableAt(0)[9], 0);
}

TEST_F(XCIBframeTest, AColorTableOfNoKnownKindLoadsNothing) {
  for (const int id : {0, 5, 0x101}) {
    ASSERT_EQ(Load(Frame().ColorTable(id, 217, 4)), 1);
    EXPECT_EQ(frame_.GetColorTableType(), 3);
    EXPECT_EQ(frame_.GetColorTableAt(0)[1], 0);
    EXPECT_EQ(frame_.GetHistogramAt(1), Frame::Count(1));
  }
}

TEST_F(XCIBframeTest, AColorTableBeyondTheFileLeavesTheFrameWithoutColors) {
  for (const unsigned numEntries : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 60000u}) {
    RpfBytes section(false);
    section.U32(6).U16(17).U16(2).U32(numEntries).U8(255).U16(4).U32(23).U32(23).Zeros(100);
    ASSERT_EQ(Load(Frame().Replace(0x87, section.Get())), 1);
    EXPECT_EQ(frame_.GetColorTableType(), 3);
  }
}

TEST_F(XCIBframeTest, OfAVastColorTableOnlyWhatIsKeptIsRead) {
  RpfBytes section(false);
  section.U32(6).U16(17).U16(2).U32(700'000'000).U8(4).U16(4).U32(23).U32(23);
  for (unsigned i = 0; i < 217; ++i) section.U32(0x01020300u + i);
  folder_.Write("frame", Frame().Replace(0x87, section.Get()).Build());
  std::filesystem::resize_file(folder_.Path("frame"), 3'000'000'000);
  ASSERT_EQ(frame_.LoadFile(Path(), 1, 0), 1);
  EXPECT_EQ(frame_.GetColorTableType(), 2);
  EXPECT_EQ(frame_.GetColorTableAt(2)[216], 3);
  EXPECT_EQ(frame_.GetColorTableAt(3)[216], 216);
  EXPECT_EQ(frame_.GetHistogramAt(216), 0x010203D8);
}

TEST_F(XCIBframeTest, AColorTableWithoutBytesIsOneOfItsKind) {
  for (const unsigned id : {1u, 2u, 4u}) {
    for (const auto& [numEntries, entryBytes] : {std::pair{0u, 4u}, std::pair{10u, 0u}}) {
      RpfBytes section(false);
      section.U32(6).U16(17).U16(id).U32(numEntries).U8(entryBytes).U16(4).U32(23).U32(0xFFFFFFFF).Text("colours", 60);
      folder_.Write("frame", Frame().Replace(0x87, section.Get()).Build());
      XCIBframe frame;
      ASSERT_EQ(frame.LoadFile(Path(), 1, 0), 1);
      EXPECT_EQ(frame.GetColorTableType(), static_cast<int>(id)) << numEntries;
      EXPECT_EQ(frame.GetColorTableAt(0)[0], 0);
    }
  }
}

TEST_F(XCIBframeTest, TheTypeOfTheColorTableOutlivesACleanUp) {
  ASSERT_EQ(Load(Frame(), 1, 0), 1);
  frame_.CleanUp();
  EXPECT_EQ(frame_.GetColorTableType(), 2);
  ASSERT_EQ(Load(Frame().Without(0x87), 1, 0), 1);
  EXPECT_EQ(frame_.GetColorTableType(), 2);
  EXPECT_EQ(frame_.GetColorTableAt(2)[100], 0);
}

TEST_F(XCIBframeTest, CountsStandAsFarApartAsTheirRecordsAreLong) {
  ASSERT_EQ(Load(Frame(), 1, 0), 1);
  EXPECT_EQ(frame_.GetHistogramAt(215), Frame::Count(215));
  ASSERT_EQ(Load(Frame().Histogram(8), 1, 0), 1);
  EXPECT_EQ(frame_.GetHistogramAt(40), Frame::Count(80));
}

TEST_F(XCIBframeTest, ACleanUpClearsTheFirst217BytesOfTheHistogram) {
  ASSERT_EQ(Load(Frame(), 1, 0), 1);
  frame_.CleanUp();
  EXPECT_EQ(frame_.GetHistogramAt(0), 0);
  EXPECT_EQ(frame_.GetHistogramAt(53), 0);
  EXPECT_EQ(frame_.GetHistogramAt(54), Frame::Count(54) & ~0xFF);
  EXPECT_EQ(frame_.GetHistogramAt(55), Frame::Count(55));
  ASSERT_EQ(Load(Frame().Histogram(0), 1, 0), 1);
  EXPECT_EQ(frame_.GetHistogramAt(55), Frame::Count(55));
}

TEST_F(XCIBframeTest, ACleanUpClearsAllElse) {
  ASSERT_EQ(Load(Frame()), 1);
  frame_.CleanUp();
  EXPECT_EQ(frame_.GetData(), nullptr);
  EXPECT_EQ(frame_.GetCoverageSec().nwLatitude, 0.0);
  for (int plane = 0; plane < 4; ++plane) EXPECT_EQ(frame_.GetColorTableAt(plane)[77], 0);
}

TEST_F(XCIBframeTest, LoadsAgainWithNothingLeftOfTheFrameBefore) {
  ASSERT_EQ(Load(Frame().Absent({4}).Transparent(9)), 1);
  const Frame plain = Frame().Plain();
  ASSERT_EQ(Load(plain), 1);
  EXPECT_EQ(FindDifference(plain), "");
  ASSERT_EQ(Load(Frame()), 1);
  EXPECT_EQ(FindDifference(Frame()), "");
}

TEST_F(XCIBframeTest, PlanesAreTheImageInTheColorsOfTheTable) {
  for (const Frame& builder : {Frame().Transparent(5).Absent({9}), Frame().Plain().Absent({8}).Transparent(7)}) {
    folder_.Write("frame", builder.Build());
    zrk::PixelStorage planes;
    ASSERT_EQ(frame_.LoadPlanes(Path(), planes), 1);
    EXPECT_EQ(frame_.GetData(), nullptr);
    ASSERT_EQ(frame_.LoadFile(Path(), 1, 1), 1);
    int numWrong = 0;
    for (int i = 0; i < 3 * 1536 * 1536; ++i) {
      const int plane = i / (1536 * 1536), pixel = i % (1536 * 1536);
      numWrong += planes.Get()[i] != Frame::Color(plane, frame_.DetacheData()[pixel]);
    }
    EXPECT_EQ(numWrong, 0);
  }
}

TEST_F(XCIBframeTest, CodesThatNoTableHasAreBlack) {
  for (const int code : {216, 217, 255}) {
    folder_.Write("frame", Frame().Plain().Grey().AllPixels(static_cast<unsigned char>(code)).Build());
    zrk::PixelStorage planes;
    ASSERT_EQ(frame_.LoadPlanes(Path(), planes), 1);
    EXPECT_EQ(planes.Get()[999], code == 216 ? Frame::Color(0, 216) : 0);
  }
}

TEST_F(XCIBframeTest, PlacesAreThoseOfPixelCentres) {
  ASSERT_EQ(Load(Frame(), 0, 0), 1);
  double lat = 0.0, lon = 0.0;
  frame_.PixelToWorldCoord(10, 100, lat, lon);
  EXPECT_DOUBLE_EQ(lat, 31.25 - 10.5 * 0.0015);
  EXPECT_DOUBLE_EQ(lon, 100.5 * 0.0017 - 99.5);
}

TEST_F(XCIBframeTest, PixelsOfPlacesAreCutTowardZero) {
  ASSERT_EQ(Load(Frame(), 0, 0), 1);
  int row = 0, col = 0;
  frame_.WorldToPixelCoord(31.25 - 10.9 * 0.0015, -99.5 + 100.9 * 0.0017, row, col);
  EXPECT_EQ(row, 10);
  EXPECT_EQ(col, 100);
  frame_.WorldToPixelCoord(31.25 + 0.9 * 0.0015, -99.5 - 1.9 * 0.0017, row, col);
  EXPECT_EQ(row, 0);
  EXPECT_EQ(col, -1);
  frame_.WorldToPixelCoord(-1e300, std::numeric_limits<double>::quiet_NaN(), row, col);
  EXPECT_EQ(row, std::numeric_limits<int>::max());
  EXPECT_EQ(col, 0);
}

TEST_F(XCIBframeTest, ThreeBytesAreTwoCodes) {
  const unsigned char bytes[] = {0xAB, 0xCD, 0xEF};
  int first = 0, second = 0;
  frame_.GetSperatedValue(bytes, first, second);
  EXPECT_EQ(first, 0xABC);
  EXPECT_EQ(second, 0xDEF);
}

TEST_F(XCIBframeTest, ARowOfCodesIsARowOfPixels) {
  std::vector<unsigned char> codes(96, 0), table(16384, 0), row(300, 99);
  codes[93] = 0x12, codes[94] = 0x34, codes[95] = 0x56;
  for (int i = 0; i < 4; ++i) table[static_cast<std::size_t>(4 * 0x456 + i)] = static_cast<unsigned char>(11 + i);
  frame_.DecompressData(row.data(), codes.data(), table.data(), 20);
  EXPECT_EQ(row[19], 99);
  EXPECT_EQ(row[20], 0);
  EXPECT_THAT(std::vector(row.begin() + 271, row.begin() + 277), testing::ElementsAre(0, 11, 12, 13, 14, 99));
}

TEST_F(XCIBframeTest, TheImageIsSavedRowByRowWithoutAHeader) {
  ASSERT_EQ(Load(Frame()), 1);
  const std::string path = folder_.Path("out");
  ASSERT_EQ(frame_.SaveToBinaryData(path.c_str()), 1);
  const std::vector<unsigned char> saved = ReadBytes(path);
  ASSERT_EQ(saved.size(), 1536u * 1536u);
  EXPECT_EQ(saved[1536 * 700 + 33], Frame().PixelAt(33, 700));
  EXPECT_EQ(frame_.SaveToBinaryData(folder_.Path("none/out").c_str()), 0);
}

}  // namespace
