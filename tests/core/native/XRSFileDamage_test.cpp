// Texts and files that are cut, bent or made to do harm: each is refused with a sentence, and the dataset stays as it
// was.

#include "ByteFlips.h"
#include "FaultyDisk.h"
#include "NativeFields.h"
#include "TempFolder.h"
#include "XEPOT2D.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace {

using Fields = std::map<std::string, std::string>;

std::string Element(const std::string& name, const std::string& inner) {
  return "<" + name + ">" + inner + "</" + name + ">";
}

/// A band of bytes, 20 x 10 in tiles of 16 x 16, whose body begins behind the header, with some fields replaced.
std::string BandElement(const Fields& replaced = {}) {
  Fields fields = {{"LEVELS", "0"},   {"XTILESIZE", "16"},  {"YTILESIZE", "16"},  {"XSIZE", "20"},    {"YSIZE", "10"},
                   {"DATATYPE", "1"}, {"COMPRESSION", "0"}, {"DATAOFFSET", "16"}, {"DATASIZE", "512"}};
  for (const auto& [name, value] : replaced) fields[name] = value;
  std::string inner;
  for (const auto& [name, value] : fields) inner += Element("XRS_TAG_BAND_" + name, value);
  return Element("XRS_TAG_BAND", inner);
}

std::string Document(const std::string& inner) {
  return Element("XRS_TAG_DATASET", inner);
}

/// The sentence against a text, read into a dataset without bands; empty where it is taken.
std::string RefusalOf(const std::string& inner) {
  XRSFile dataset;
  XString err;
  const int result = dataset.LoadStringZRM(XString(Document(inner)), err, nullptr);
  EXPECT_EQ(result, err.IsEmpty() ? 1 : 0);
  EXPECT_EQ(dataset.GetNumOfBands() + dataset.GetNumOfGCPSet() > 0, result == 1);
  return err.AsStdString();
}

std::string HeaderFor(std::int64_t offset, unsigned char version = 1) {
  std::string header("ZRM.\0\0\0\0", 8);
  header[4] = static_cast<char>(version);
  for (int i = 0; i < 8; ++i) header += static_cast<char>(offset >> (8 * i));
  return header;
}

/// The sentence against a file of these bytes; empty where it is taken.
std::string RefusalOfFile(const std::string& bytes) {
  const TempFolder folder;
  folder.Write("a.zrm", bytes);
  XRSFile dataset;
  XString err;
  const int result = dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr);
  EXPECT_EQ(result, err.IsEmpty() ? 1 : 0);
  EXPECT_EQ(dataset.GetNumOfBands() > 0, result == 1);
  EXPECT_EQ(dataset.GetFilePtr() != nullptr, result == 1);
  return err.AsStdString();
}

/// A file with room for `bodies` bodies of 512 bytes.
std::string FileOf(const std::string& inner, int bodies = 1) {
  const std::int64_t offset = 16 + 512 * bodies;
  return HeaderFor(offset) + std::string(static_cast<std::size_t>(offset - 16), '\0') + Document(inner);
}

constexpr char kNotInFile[] = "The data of a band are not in the file";
constexpr char kNotPossible[] = "The layout of a band is not possible";
constexpr char kNotComplete[] = "The native raster file is not complete";

/// Reads all of a dataset that could be opened, whatever comes of it.
void ReadAll(XRSFile& dataset) {
  for (int i = 0; i < dataset.GetNumOfBands(); ++i) {
    tagXArr2* out = nullptr;
    ZRMBand& band = *dataset.GetBandAt(i);
    if (band.GetXSize() > 1000 || band.GetYSize() > 1000) continue;
    band.ReadSubset(out, 0, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, nullptr);
    band.ReadSubset(out, 1, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, nullptr);
  }
}

}  // namespace

TEST(NativeDamage, TheSampleItselfIsTaken) {
  EXPECT_EQ(RefusalOf(BandElement()), "");
  EXPECT_EQ(RefusalOfFile(FileOf(BandElement())), "");
  EXPECT_EQ(RefusalOfFile(FileOf(BandElement() + BandElement({{"DATAOFFSET", "528"}}), 2)), "");
}

TEST(NativeDamage, ALayoutThatCantBeIsRefused) {
  for (const auto& [name, value] : std::multimap<std::string, std::string>{{"XSIZE", "0"},
                                                                           {"XSIZE", "-20"},
                                                                           {"YSIZE", "2147483648"},
                                                                           {"XTILESIZE", "0"},
                                                                           {"YTILESIZE", "-16"},
                                                                           {"LEVELS", "-1"},
                                                                           {"LEVELS", "31"},
                                                                           {"LEVELS", "9223372036854775807"},
                                                                           {"DATATYPE", "999"},
                                                                           {"DATATYPE", "-1"},
                                                                           {"DATATYPE", "4294967297"},
                                                                           {"XTILESIZE", "2147483647"}}) {
    EXPECT_EQ(RefusalOf(BandElement({{name, value}})), kNotPossible) << name << " " << value;
  }
  EXPECT_EQ(RefusalOf(BandElement({{"XSIZE", "2147483647"}, {"YSIZE", "2147483647"}})), kNotPossible);
  EXPECT_EQ(RefusalOf(Element("XRS_TAG_BAND", "")), kNotPossible);
}

TEST(NativeDamage, AnUnknownCompressionIsRefused) {
  EXPECT_EQ(RefusalOf(BandElement({{"COMPRESSION", "7"}})), "The compression of a band is not known");
}

TEST(NativeDamage, ANumberThatDoesNotParseIsRefusedByName) {
  for (const char* value : {"", "abc", "1x", "99999999999999999999"}) {
    EXPECT_EQ(RefusalOf(BandElement({{"XSIZE", value}})),
              "The raster metadata holds no valid value in XRS_TAG_BAND_XSIZE");
  }
  EXPECT_EQ(RefusalOf(BandElement({{"ID", "2147483648"}})),
            "The raster metadata holds no valid value in XRS_TAG_BAND_ID");
  EXPECT_EQ(RefusalOf(BandElement({{"HISTOGRAM", "1 2 3"}})),
            "The raster metadata holds no valid value in XRS_TAG_BAND_HISTOGRAM");
  EXPECT_EQ(RefusalOf(BandElement() + Element("XRS_TAG_THRESHOLD", "1e3")),
            "The raster metadata holds no valid value in XRS_TAG_THRESHOLD");
  EXPECT_EQ(RefusalOf(BandElement() + "<XRS_TAG_GCPSET name=\"a\"><XRS_TAG_GCP pixelx=\"?\"/></XRS_TAG_GCPSET>"),
            "The raster metadata holds no valid value in pixelx");
}

TEST(NativeDamage, AMatrixThatIsNotOfTheBandsIsRefused) {
  EXPECT_EQ(RefusalOf(BandElement() + Element("XRS_TAG_CORRELATIONMATRIX", "1")), "");
  EXPECT_EQ(RefusalOf(BandElement() + Element("XRS_TAG_CORRELATIONMATRIX", "1 2 3 4")),
            "The raster metadata holds no valid value in a matrix of the bands");
}

TEST(NativeDamage, AProjectionThatCantBeUnderstoodIsNoFault) {
  EXPECT_EQ(RefusalOf(BandElement({{"PROJECTIONWKT", "PROJCS[nonsense"}})), "");
}

TEST(NativeDamage, NoBandsAreRefusedAndSoAreFarTooMany) {
  EXPECT_EQ(RefusalOf(""), "No Band found");
  std::string many;
  for (int i = 0; i < 16385; ++i) many += BandElement();
  EXPECT_EQ(RefusalOf(many), "The raster has too many bands");
}

TEST(NativeDamage, BodiesOutsideTheFileAreRefused) {
  for (const char* offset : {"15", "0", "-1", "17", "9223372036854775807", "-9223372036854775808"}) {
    EXPECT_EQ(RefusalOfFile(FileOf(BandElement({{"DATAOFFSET", offset}}))), kNotInFile) << offset;
  }
  for (const char* size : {"511", "513", "0", "-512", "9223372036854775807"}) {
    EXPECT_EQ(RefusalOfFile(FileOf(BandElement({{"DATASIZE", size}}))), kNotInFile) << size;
    EXPECT_NE(RefusalOfFile(FileOf(BandElement({{"DATASIZE", size}, {"COMPRESSION", "3"}}))), "") << size;
  }
}

TEST(NativeDamage, BodiesThatOverlapAreRefused) {
  for (const char* offset : {"16", "527"}) {
    EXPECT_EQ(RefusalOfFile(FileOf(BandElement({{"DATAOFFSET", offset}}) + BandElement(), 2)),
              "The data of two bands overlap");
  }
}

TEST(NativeDamage, AHeaderThatIsNotOneIsRefused) {
  EXPECT_EQ(RefusalOfFile(""), "Invalid ZRM Magic string");
  EXPECT_EQ(RefusalOfFile("ZRM"), "Invalid ZRM Magic string");
  EXPECT_EQ(RefusalOfFile("ZRX." + std::string(100, ' ')), "Invalid ZRM Magic string");
  EXPECT_EQ(RefusalOfFile("ZRM."), kNotComplete);
  EXPECT_EQ(RefusalOfFile(HeaderFor(16, 2) + Document(BandElement())),
            "Native raster files of version 2 can't be read");
  for (const std::int64_t offset : {-1, -2, 0, 15, 2000, 1 << 30}) {
    EXPECT_EQ(RefusalOfFile(HeaderFor(offset) + std::string(1984, ' ')), kNotComplete) << offset;
  }
}

TEST(NativeDamage, AMissingFileIsRefused) {
  XRSFile dataset;
  XString err;
  EXPECT_EQ(dataset.LoadFileZRM("/nowhere/a.zrm", err, nullptr), 0);
  EXPECT_EQ(err, "Fail to open ZRM file");
}

TEST(NativeDamage, ADatasetThatHasBandsTakesNoNativeFile) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 1, false);
  XRSFile dataset;
  AddPlainBand(dataset, 20, 10, kPint08);
  XString err;
  EXPECT_EQ(dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr), 0);
  EXPECT_EQ(err, "The dataset has bands already");
  EXPECT_EQ(dataset.GetNumOfBands(), 1);
}

TEST(NativeDamage, ALevelTextWithOneBadValueChangesNothing) {
  XRSFile source, target;
  FillBand(AddPlainBand(source, 7, 5, kPint08), 1);
  AddPlainBand(target, 7, 5, kPint08);
  FillDataset(source, 5);
  XString text = LevelText(source);
  ASSERT_EQ(text.Replace("<XRS_TAG_SIG_MEAN>", "<XRS_TAG_SIG_MEAN>? "), 2);
  const Description band = DescribeAcquisition(*target.GetBandAt(0));
  const Description dataset = DescribeDataset(target);
  XString err;
  EXPECT_EQ(target.LoadStringZRM(text, err, nullptr), 0);
  EXPECT_EQ(err, "The raster metadata holds no valid value in XRS_TAG_SIG_MEAN");
  EXPECT_EQ(DescribeAcquisition(*target.GetBandAt(0)), band);
  EXPECT_EQ(DescribeDataset(target), dataset);
}

TEST(NativeDamage, AFileCutAnywhereIsRefused) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 2, false);
  XFile file;
  ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kReadWrite | XFile::kShareDenyNone));
  // The last byte is the line's end.
  for (std::int64_t length = file.GetLength() - 2; length >= 0; length -= static_cast<std::int64_t>(TrialStep())) {
    ASSERT_TRUE(file.SetLength(length));
    XRSFile dataset;
    XString err;
    ASSERT_EQ(dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr), 0) << length;
    ASSERT_FALSE(err.IsEmpty());
  }
}

TEST(NativeDamage, FlippedBitsNeverDoHarm) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 2, false);
  XFile file;
  ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kReadWrite | XFile::kShareDenyNone));
  std::vector<unsigned char> bytes = ReadBytes(folder.Path("a.zrm"));
  // In the header and the text, since pixels can't be wrong.
  const std::size_t numPixelBytes = static_cast<std::size_t>(2 * XEPOT2D::CalcSize(20, 10, kPint08, 16, 16, 1));
  std::mt19937 random(20240817);
  for (int round = 0; round < TrialCount(2000); ++round) {
    std::size_t place = random() % (bytes.size() - numPixelBytes);
    if (place >= 16) place += numPixelBytes;
    const auto flipped = static_cast<unsigned char>(bytes[place] ^ 1u << random() % 8);
    ASSERT_TRUE(file.WriteAt(static_cast<std::int64_t>(place), &flipped, 1));
    XRSFile dataset;
    XString err;
    const int result = dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr);
    ASSERT_EQ(result, err.IsEmpty() ? 1 : 0);
    ReadAll(dataset);
    ASSERT_TRUE(file.WriteAt(static_cast<std::int64_t>(place), &bytes[place], 1));
  }
}

TEST(NativeDamage, AReadThatFailsOnTheDiskIsTold) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 1, false);
  for (int nth = 1; nth <= 2; ++nth) {
    FaultyDisk disk;
    disk.FailRead(nth);
    const zrk::ScopedDisk scope(disk);
    XRSFile dataset;
    XString err;
    EXPECT_EQ(dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr), 0);
    EXPECT_EQ(err, nth == 1 ? "Invalid ZRM Magic string" : kNotComplete);
  }
}

TEST(NativeDamage, ASaveThatFailsOnTheDiskLeavesAFileThatIsNotComplete) {
  for (int fault = 1; fault <= 3; ++fault) {
    const TempFolder folder;
    FaultyDisk disk;
    const zrk::ScopedDisk scope(disk);
    XFile file;
    ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kReadWrite | XFile::kCreate));
    XRSFileSaver saver;
    saver.SetFileOutputData(&file);
    saver.WriteInitTags();
    if (fault == 1) disk.FailSync(1);
    if (fault > 1) disk.FailWrite(fault);
    EXPECT_EQ(saver.Save(), 0);
    file.Close();
    XRSFile dataset;
    XString err;
    EXPECT_EQ(dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr), 0);
    EXPECT_EQ(err, kNotComplete);
  }
}
