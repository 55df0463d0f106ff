#include "HdfBuilder.h"
#include "JpegBuilder.h"
#include "Program.h"

namespace {

using ZrkioFileFormat = Zrkio;

std::vector<unsigned char> BuildHdf() {
  return HdfBuilder().Size(7, 5).Build();
}

TEST_F(ZrkioFileFormat, GoesByTheFirstBytesWhereTheExtensionSaysNothingOrOtherwise) {
  for (const char* name : {"a.hdf", "a.dat", "a.h4", "a", "a.tif"}) {
    const ProgramResult result = Run({"info", Write(name, BuildHdf())});
    EXPECT_EQ(0, result.exitStatus) << result.err;
    EXPECT_NE(std::string::npos, result.out.find("HDF4 (0x71)")) << name;
  }
}

TEST_F(ZrkioFileFormat, LetsAJpegGoByAnyName) {
  for (const char* name : {"a.jpeg", "a", "a.tif"}) {
    const std::string path = Write(name, JpegBuilder().Size(9, 7).Build());
    const ProgramResult result = Run({"info", "--stats", path});
    EXPECT_EQ(0, result.exitStatus) << result.err;
    EXPECT_NE(std::string::npos, result.out.find("JPEG (0x67)")) << name;
    EXPECT_EQ(0, Run({"convert", path, folder_.Path("b.zrm")}).exitStatus) << name;
  }
}

TEST_F(ZrkioFileFormat, IsNoneWhereNothingTellsIt) {
  for (const char* name : {"b.dat", "c"}) {
    const ProgramResult result = Run({"info", Write(name, {0x0E, 0x03, 0x13})});
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_NE(std::string::npos, result.err.find("the format can't be told from the file's extension")) << name;
  }
}

TEST_F(ZrkioFileFormat, IsToldOfAnHdf4File) {
  const ProgramResult result = Run({"info", Write("a.hdf", BuildHdf())});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  EXPECT_NE(std::string::npos, result.out.find("HDF4 (0x71)"));
  EXPECT_NE(std::string::npos, result.out.find("7 x 5 pixels, 1 channel"));
}

TEST_F(ZrkioFileFormat, LetsAnHdf4FileBeReadAndConverted) {
  const std::string path = Write("a.dat", BuildHdf());
  const std::string raw = folder_.Path("a.raw");
  ASSERT_EQ(0, Run({"convert", path, folder_.Path("a.tif")}).exitStatus);
  for (const std::string& from : {path, folder_.Path("a.tif")}) {
    const ProgramResult result = Run({"read", from, "--window", "0,6,0,4", "-o", raw});
    ASSERT_EQ(0, result.exitStatus) << result.err;
    std::vector<unsigned char> pixels;
    for (int i = 0; i < 35; ++i) pixels.push_back(HdfBuilder::Pixel(i % 7, i / 7));
    EXPECT_EQ(pixels, ReadBytes(raw));
    std::filesystem::remove(raw);
  }
}

TEST_F(ZrkioFileFormat, OfADamagedHdf4FileIsStillHdf4) {
  const std::string path = Write("a.dat", {0x0E, 0x03, 0x13, 0x01});
  const ProgramResult result = Run({"info", path});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_NE(std::string::npos, result.err.find("chain of descriptors is damaged")) << result.err;
}

TEST_F(ZrkioFileFormat, IsListedAsKnownByItsFirstBytes) {
  const std::string table = Run({"formats"}).out;
  const std::size_t row = table.find("HDF4");
  ASSERT_NE(std::string::npos, row);
  EXPECT_NE(std::string::npos, table.substr(row, table.find('\n', row) - row).find("(by its first bytes)"));
}

}  // namespace
