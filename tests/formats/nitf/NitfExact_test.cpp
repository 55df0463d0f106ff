// Exact reads of NITF files, how files are known, and what is told of them.

#include "FaultyDisk.h"
#include "JpegBuilder.h"
#include "NitfBuilder.h"
#include "OpenRaster.h"
#include "RpfFrameBuilder.h"
#include "XFormatId.h"
#include "XFormatTable.h"
#include "ZRMBandNITF.h"

#include <gmock/gmock.h>

#include <cpl_conv.h>
#include <algorithm>
#include <cstring>

namespace {

using Bytes = NitfBuilder::Bytes;

class NitfOf : public OpenRaster<ZRMBandNITF> {
 public:
  explicit NitfOf(const NitfBuilder& builder, XReadPolicy policy = kReadExact)
      : OpenRaster(builder.Build(), "a.ntf", kFormatNITFIMG, policy) {}
};

NitfBuilder InBlocks() {
  return NitfBuilder().Size(90, 70).Blocks(32, 32);
}

/// An image of one block of JPEG, which ends in the middle where it is damaged. What follows is passed over.
NitfBuilder AsJpeg(bool isDamaged) {
  Bytes jpeg = JpegBuilder().Size(64, 48).Grey().Build();
  const Bytes end = {0xFF, 0xD9};
  if (isDamaged) std::copy(end.begin(), end.end(), jpeg.end() - 100);
  return NitfBuilder().Size(64, 48).Coded("C3", jpeg);
}

/// The id of a file's format by its name and bytes; 0 where it has none.
int IdOfFile(const std::string& name, const Bytes& bytes) {
  const TempFolder folder;
  folder.Write(name, bytes);
  const tagXFormat* const format = XfnFindFormatOfFile(folder.Path(name));
  return format ? format->id : 0;
}

/// Whether a level file is asked for the pixels of level 1: they are means then, and differ from the pixels themselves.
bool AsksLevelFile(XReadPolicy policy) {
  const TempFolder folder;
  folder.Write("a.ntf", NitfBuilder().Size(300, 290).Blocks(64, 64).Build());
  XRSFile file;
  XString err;
  file.SetReadPolicy(policy);
  XRSFileIO::LoadFileNITFIMG(&file, folder.Path("a.ntf"), err, 0, kLevelBuild, nullptr);
  auto& band = static_cast<ZRMBandNITF&>(*file.GetBandAt(0));
  EXPECT_NE(nullptr, band.GetBandXLD());
  const Pixels half = ReadPixels(band, 1, {0, 299, 0, 289});
  return half.bytes.at(5) != NitfBuilder::Value(10, 0, 0);
}

}  // namespace

TEST(NitfExact, SaysWhyAFileIsRefused) {
  const TempFolder folder;
  const NitfBuilder builder = InBlocks();
  Bytes bytes = builder.Build();
  const auto refusal = [&] {
    folder.Write("a.ntf", bytes);
    XRSFile file;
    XString err;
    file.SetReadPolicy(kReadExact);
    EXPECT_EQ(0, XRSFileIO::LoadFileNITFIMG(&file, folder.Path("a.ntf"), err, 0, kLevelNone, nullptr));
    EXPECT_EQ(0, file.GetNumOfBands());
    return err.Mid(static_cast<int>(("Can't open file : " + folder.Path("a.ntf") + " : ").size())).AsStdString();
  };
  bytes.resize(builder.DataOffset() - 60);
  EXPECT_EQ("The header of the image is damaged", refusal());
  bytes.resize(380);
  EXPECT_EQ("The header of the file is damaged", refusal());
  bytes.resize(300);
  EXPECT_EQ("The file is no NITF file", refusal());
}

TEST(NitfExact, ReadsComplexSamplesAtLevels) {
  NitfOf file(NitfBuilder().Size(40, 30).Type("C", 64));
  const Pixels pixels = file.Read(1, {2, 39, 1, 28});
  ASSERT_EQ(19, pixels.width);
  std::array<float, 2> sample{};
  std::memcpy(sample.data(), &pixels.bytes.at((5 * 19 + 3) * sizeof sample), sizeof sample);
  const auto value = static_cast<float>(NitfBuilder::Value(8, 11, 0));
  EXPECT_THAT(sample, testing::ElementsAre(value, -value));
}

TEST(NitfExact, TellsTheValueOfSamplesWithoutData) {
  NitfOf file(InBlocks().WithoutBlock(4, 77));
  ASSERT_TRUE(file.IsOpen()) << file.Error();
  EXPECT_EQ(77.0, file.BandAt().GetNullValue());
  EXPECT_EQ(Bytes(100, 77), file.Read(0, {40, 49, 40, 49}).bytes);
  EXPECT_EQ(NitfBuilder::Value(70, 5, 0), file.Read(0, {70, 70, 5, 5}).bytes.at(0));
}

TEST(NitfCompatible, HasNoNullValue) {
  NitfOf file(InBlocks().WithoutBlock(4, 77), kReadCompatible);
  EXPECT_EQ(kNotSet, file.BandAt().GetNullValue());
}

TEST(NitfExact, ADamagedBlockOfJpegFailsEachTime) {
  NitfOf whole(AsJpeg(false));
  EXPECT_EQ("", whole.Failure(0, whole.Whole()));
  NitfOf damaged(AsJpeg(true));
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(
        damaged.Failure(0, damaged.Whole()),
        testing::AllOf(testing::StartsWith("The block at column 0 and row "), testing::HasSubstr("is damaged: ")));
  }
}

TEST(NitfCompatible, TakesADamagedBlockOfJpegAsItComes) {
  NitfOf damaged(AsJpeg(true), kReadCompatible);
  EXPECT_EQ("", damaged.Failure(0, damaged.Whole()));
}

TEST(NitfExact, AsksALevelFileAboveLevelZero) {
  EXPECT_TRUE(AsksLevelFile(kReadExact));
}

TEST(NitfCompatible, AsksNoLevelFile) {
  EXPECT_FALSE(AsksLevelFile(kReadCompatible));
}

TEST(NitfFiles, FailTheReadOfABlockThatTheFileLacks) {
  Bytes bytes = InBlocks().Build();
  bytes.resize(bytes.size() - 1);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    OpenRaster<ZRMBandNITF> file(bytes, "a.ntf", kFormatNITFIMG, policy);
    EXPECT_EQ("", file.Failure(0, {0, 9, 0, 9}));
    EXPECT_THAT(file.Failure(0, {80, 89, 60, 69}),
                testing::StartsWith("The block at column 2 and row 2 of blocks can't be read"));
  }
}

TEST(NitfFiles, AreReadAgainAfterTheDiskHasFailed) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  NitfOf file(InBlocks().WithoutBlock(8, 0));
  EXPECT_EQ("", file.Failure(0, {0, 9, 0, 9}));
  disk.FailRead(disk.GetReadCount() + 1);
  EXPECT_NE("", file.Failure(0, {40, 49, 40, 49}));
  EXPECT_EQ(NitfBuilder::Value(40, 40, 0), file.Read(0, {40, 49, 40, 49}).bytes.at(0));
}

TEST(NitfFiles, LeaveTheSwitchesOfTheProgramAsTheyWere) {
  CPLSetThreadLocalConfigOption("GDAL_NUM_THREADS", "7");
  NitfOf file(InBlocks());
  EXPECT_EQ("", file.Failure(0, file.Whole()));
  EXPECT_STREQ("7", CPLGetThreadLocalConfigOption("GDAL_NUM_THREADS", ""));
  CPLSetThreadLocalConfigOption("GDAL_NUM_THREADS", nullptr);
}

TEST(NitfFiles, WithImagesAreKnownByTheirBytes) {
  const Bytes image = NitfBuilder().Build();
  for (const char* name : {"a", "a.ntf", "a.nitf", "a.nsf", "a.tif"}) EXPECT_EQ(kFormatNITFIMG, IdOfFile(name, image));
  EXPECT_EQ(kFormatNITFIMG, IdOfFile("a", NitfBuilder().Version("NSIF01.00").Build()));
  EXPECT_EQ(kFormatNITFIMG, IdOfFile("a.ntf", NitfBuilder().Version("NITF02.00").Downgraded().Build()));
  EXPECT_EQ(kFormatNITF, XRSFileIO::GetIDFromExt("ntf"));
}

TEST(NitfFiles, WithoutImagesAreVectorData) {
  Bytes bytes = NitfBuilder().Build();
  constexpr std::size_t kNumImages = 360;
  for (std::size_t i = 0; i < 3; ++i) bytes[kNumImages + i] = '0';
  for (const char* name : {"a", "a.ntf", "a.tif"}) EXPECT_EQ(kFormatNITF, IdOfFile(name, bytes)) << name;
}

TEST(NitfFiles, OfRasterMapsAreLeftToTheirOwnFormats) {
  EXPECT_EQ(kFormatCADRG, IdOfFile("a", RpfFrameBuilder().Build()));
  EXPECT_EQ(kFormatCADRG, IdOfFile("a.ntf", RpfFrameBuilder().Build()));
}

TEST(NitfFiles, AreOpenedUnderAnyName) {
  for (const char* name : {"a.ntf", "a", "a.tif"}) {
    const TempFolder folder;
    folder.Write(name, NitfBuilder().Bands(2).Build());
    XRSFile file;
    XString err;
    EXPECT_EQ(1, XfnOpenFile(&file, folder.Path(name), err)) << err.AsStdString();
    EXPECT_EQ(2, file.GetNumOfBands()) << name;
  }
}

TEST(NitfNotes, TellHeadersSegmentsAndCorners) {
  NitfOf file(
      NitfBuilder().Size(41, 31).Blocks(16, 8).Title("Harbour").Classification('S', 'U').FurtherSegments(1, 2).Corners(
          'D', "+12.000+010.000+12.000+012.000+09.000+012.000+09.000+010.000"));
  const tagXFormatNotes notes = XfnDescribeFormat(&file.BandAt(), false);
  EXPECT_THAT(notes.lines,
              testing::ElementsAre("version     NITF02.10", "title       Harbour", "image       Image1, MONO, VIS",
                                   "blocks      16 x 8, compression NC (none)", "segments    images 2 texts 2",
                                   "security    file secret, image unclassified",
                                   "corners     10.000000 12.000000, 12.000000 12.000000, 12.000000 9.000000, "
                                   "10.000000 9.000000"));
  std::vector<std::string> names;
  for (const tagXNote& note : notes.values) names.push_back(note.name.AsStdString());
  EXPECT_THAT(names, testing::ElementsAre("version", "title", "image", "blocks", "compression", "segments",
                                          "classification", "cornerCoordinates"));
  EXPECT_EQ(8, notes.values[3].parts[1].number);
  EXPECT_EQ("none", notes.values[4].parts[1].text);
  EXPECT_EQ(2, notes.values[5].parts[3].number);
  EXPECT_EQ("S", notes.values[6].parts[0].text);
  EXPECT_EQ("12.000000 9.000000", notes.values[7].parts[2].text);
}

TEST(NitfNotes, NameTheCompression) {
  NitfOf file(AsJpeg(false));
  EXPECT_EQ("blocks      64 x 48, compression C3 (JPEG)", XfnDescribeFormat(&file.BandAt(), false).lines.at(3));
}
