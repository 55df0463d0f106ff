// zrkio convert to JPEG 2000, run as a program. OpenJPEG reads what it writes.

#include "ConvertProgram.h"
#include "GeoTiffFile.h"
#include "Jp2Builder.h"
#include "OpjImage.h"
#include "Oracle.h"
#include "TiffBuilder.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

class ZrkioConvertJp2 : public ZrkioConversion {
 protected:
  std::string Out() const { return folder_.Path("out.jp2"); }
  ProgramResult Convert(const std::string& path, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"convert", path, Out()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  /// Pixels of 100 metres in a system with a code.
  std::string WritePlaced() {
    return Write("a.tif", GeoTiffFile()
                              .Size(20, 10)
                              .Scale({100, 100, 0})
                              .TiePoints({0, 0, 0, 500000, 1000, 0})
                              .Key(1024, 1)
                              .Key(1025, 1)
                              .Key(3072, 32632)
                              .Build());
  }
  OpjImage Decode() const {
    OpjImage image = DecodeByOpj(ReadBytes(Out()));
    EXPECT_TRUE(image.isOpen);
    EXPECT_THAT(image.complaints, IsEmpty());
    return image;
  }
  static Bytes BytesOf(const OpjImage::Component& component) {
    return {component.samples.begin(), component.samples.end()};
  }
};

TEST_F(ZrkioConvertJp2, KeepsEverySampleAndTellsHowFast) {
  const std::string path = WriteImage();
  const ProgramResult result = Convert(path);
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.err, MatchesRegex(".*/out\\.jp2: [0-9.]+ kB in [0-9]+\\.[0-9][0-9] s, [0-9]+ MB/s of samples\n"));
  EXPECT_EQ((Names{"a.bmp", "out.jp2"}), ListFiles());
  const OpjImage image = Decode();
  ASSERT_EQ(3u, image.components.size());
  EXPECT_TRUE(image.isReversible);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(Samples(path, std::to_string(i + 1)), BytesOf(image.components[i]));
}

TEST_F(ZrkioConvertJp2, WritesAWindowOfSomeBands) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Convert(path, {"--lossless", "--window", "10,589,20,489", "--bands", "3,1"}).exitStatus);
  const OpjImage image = Decode();
  ASSERT_EQ(2u, image.components.size());
  EXPECT_EQ(580, image.width);
  EXPECT_EQ(470, image.height);
  EXPECT_EQ(BmpBuilder::Blue(10, 20), image.components[0].samples[0]);
  EXPECT_EQ(BmpBuilder::Red(10, 20), image.components[1].samples[0]);
}

TEST_F(ZrkioConvertJp2, WritesLayersByTheirRates) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Convert(path, {"--rates", "0.25,0.5,1"}).exitStatus);
  const OpjImage image = Decode();
  EXPECT_EQ(3, image.numLayers);
  EXPECT_FALSE(image.isReversible);
  EXPECT_LT(ReadBytes(Out()).size(), 600u * 500u / 8u * 11u / 10u);
  ASSERT_EQ(0, Convert(path, {"--rates", "1", "--layers", "5"}).exitStatus);
  EXPECT_EQ(5, Decode().numLayers);
}

TEST_F(ZrkioConvertJp2, WritesByQuality) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Convert(path, {"--psnr", "30", "--layers", "2"}).exitStatus);
  const std::size_t coarse = ReadBytes(Out()).size();
  EXPECT_EQ(2, Decode().numLayers);
  ASSERT_EQ(0, Convert(path, {"--psnr", "40"}).exitStatus);
  EXPECT_GT(ReadBytes(Out()).size(), coarse);
}

TEST_F(ZrkioConvertJp2, WritesTilesAndLevelsAsAskedFor) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Convert(path, {"--tile", "128", "--levels", "2"}).exitStatus);
  const OpjImage image = Decode();
  EXPECT_EQ(128, image.tileWidth);
  EXPECT_EQ(20, image.numTiles);
  EXPECT_EQ(2, image.numLevels);
}

TEST_F(ZrkioConvertJp2, HasTheSameBytesForAnyNumberOfWorkers) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Convert(path, {"--tile", "128", "--workers", "1"}).exitStatus);
  const Bytes alone = ReadBytes(Out());
  ASSERT_EQ(0, Convert(path, {"--tile", "128", "--workers", "4"}).exitStatus);
  EXPECT_TRUE(alone == ReadBytes(Out()));
}

TEST_F(ZrkioConvertJp2, KeepsThePlaceOfTheWindowUnlessToldNotTo) {
  const std::string path = WritePlaced();
  ASSERT_EQ(0, Convert(path, {"--window", "5,9,2,3"}).exitStatus);
  StoredImage image = ReadStoredWithGdal(Out());
  EXPECT_EQ(32632, image.epsg);
  EXPECT_EQ((std::array<double, 6>{500500, 100, 0, 800, 0, -100}), image.transform);
  EXPECT_EQ((Names{"a.tif", "out.jp2"}), ListFiles());
  ASSERT_EQ(0, Convert(path, {"--no-georef"}).exitStatus);
  EXPECT_FALSE(ReadStoredWithGdal(Out()).isPlaced);
}

TEST_F(ZrkioConvertJp2, SaysThePlaceInGmlTooWhereAskedFor) {
  const std::string path = WritePlaced();
  ASSERT_EQ(0, Convert(path, {"--gml", "--window", "5,9,2,3"}).exitStatus);
  const ProgramResult told = Run({"info", "--boxes", Out()});
  EXPECT_THAT(told.out, HasSubstr("gml.root-instance"));
  EXPECT_THAT(told.out, HasSubstr("<gml:pos>500550 750</gml:pos>"));
  EXPECT_THAT(told.out,
              HasSubstr("<gml:offsetVector srsName=\"urn:ogc:def:crs:EPSG::32632\">0 -100</gml:offsetVector>"));
  EXPECT_EQ(32632, ReadStoredWithGdal(Out()).epsg);
  EXPECT_EQ(2, Convert(path, {"--gml", "--no-georef"}).exitStatus);
}

TEST_F(ZrkioConvertJp2, KeepsTheCornerOfAWorldFile) {
  folder_.Write("a.bmw", "0.5\n0\n0\n-0.25\n100\n200\n");
  ASSERT_EQ(0, Convert(WriteImage()).exitStatus);
  EXPECT_EQ((std::array<double, 6>{99.75, 0.5, 0, 200.125, 0, -0.25}), ReadStoredWithGdal(Out()).transform);
}

TEST_F(ZrkioConvertJp2, IsReadBackByTheProgram) {
  folder_.Write("a.bmw", "0.5\n0\n0\n-0.25\n100\n200\n");
  const std::string path = WriteImage();
  ASSERT_EQ(0, Convert(path, {"--tile", "200"}).exitStatus);
  for (const char* band : {"1", "2", "3"}) EXPECT_EQ(Samples(path, band), Samples(Out(), band));
  const AnyJson place = Describe(Out())["georeference"];
  EXPECT_EQ((std::vector<double>{99.75, 200.125}), place["upperLeft"].get<std::vector<double>>());
  const Bytes first = ReadBytes(Out());
  std::filesystem::rename(Out(), folder_.Path("first.jp2"));
  ASSERT_EQ(0, Convert(folder_.Path("first.jp2"), {"--tile", "200"}).exitStatus);
  EXPECT_TRUE(first == ReadBytes(Out()));
}

TEST_F(ZrkioConvertJp2, TellsOfANullValueThatIsNotKept) {
  const std::string path = Write("a.tif", TiffBuilder().Size(20, 10).Bits(16).Text(42113, "777").Build());
  const ProgramResult result = Convert(path);
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the null value, 777, is not kept in a JPEG 2000 file"));
  EXPECT_THAT(Convert(path, {"--quiet"}).err, IsEmpty());
  EXPECT_THAT(Convert(WriteImage()).err, testing::Not(HasSubstr("null value")));
  EXPECT_THAT(Run({"convert", path, folder_.Path("b.tif")}).err, testing::Not(HasSubstr("null value")));
}

/// A grid of GML in a system of heights alone, which has no geokeys.
TEST_F(ZrkioConvertJp2, RefusesASystemThatIsNotKept) {
  const std::string grid =
      "<RectifiedGrid dimension='2' srsName='urn:ogc:def:crs:EPSG::5773'><origin><pos>10 20</pos></origin>"
      "<offsetVector>1 0</offsetVector><offsetVector>0 -1</offsetVector></RectifiedGrid>";
  const std::string path = Write("a.jp2", Jp2Builder().Box("xml ", Jp2Builder::Text(grid)).Build());
  const std::string reason = "The coordinate system can't be written, because there are no geokeys for it";
  EXPECT_EQ(Failure(path, reason), Refuse({"convert", path, Out()}));
  EXPECT_EQ(Failure(path, reason), Refuse({"convert", path, folder_.Path("b.tif")}));
  EXPECT_EQ((Names{"a.jp2"}), ListFiles());
  EXPECT_EQ(0, Convert(path, {"--no-georef"}).exitStatus);
}

TEST_F(ZrkioConvertJp2, RefusesSamplesOfFourBytes) {
  const std::string path = Write("a.tif", TiffBuilder().Size(20, 10).Bits(32).Format(3).Build());
  folder_.Write("out.jp2", "precious");
  EXPECT_EQ(Failure(path, "The size of datatype must be less than 2 bytes"), Refuse({"convert", path, Out()}));
  EXPECT_EQ(8u, ReadBytes(Out()).size());
  EXPECT_EQ((Names{"a.tif", "out.jp2"}), ListFiles());
}

TEST_F(ZrkioConvertJp2, OptionsThatMakeNoSenseAreBadUsage) {
  const std::string path = WriteImage();
  const std::vector<std::vector<std::string>> bad = {{"--rates", "2,1"},
                                                     {"--rates", "0"},
                                                     {"--rates", "x"},
                                                     {"--rates", "nan"},
                                                     {"--psnr", "0"},
                                                     {"--psnr", "inf"},
                                                     {"--psnr", "30", "--rates", "1"},
                                                     {"--lossless", "--rates", "1"},
                                                     {"--lossless", "--psnr", "30"},
                                                     {"--layers", "0"},
                                                     {"--layers", "101"},
                                                     {"--rates", "1,2,3", "--layers", "2"},
                                                     {"--tile", "16"},
                                                     {"--tile", "100000"},
                                                     {"--levels", "31"},
                                                     {"--max-error", "1"}};
  for (const std::vector<std::string>& options : bad) {
    EXPECT_EQ(2, Convert(path, options).exitStatus) << options[0] << " " << options.back();
  }
  EXPECT_EQ((Names{"a.bmp"}), ListFiles());
}

TEST_F(ZrkioConvertJp2, ItsOptionsAreRefusedByOtherFormats) {
  const std::string path = WriteImage();
  for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{{"--lossless"},
                                                                                       {"--rates", "1"},
                                                                                       {"--psnr", "30"},
                                                                                       {"--layers", "2"},
                                                                                       {"--tile", "64"},
                                                                                       {"--no-georef"},
                                                                                       {"--gml"}}) {
    std::vector<std::string> arguments = {"convert", path, folder_.Path("out.tif")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(2, result.exitStatus);
    EXPECT_THAT(result.err, HasSubstr(options[0] + ": belongs to JPEG 2000 files (.jp2), not to TIFF files"));
  }
}

TEST_F(ZrkioConvertJp2, AStopLeavesNothing) {
  const std::string path = WriteLarge("large.bmp", 3000, 2000);
  folder_.Write("out.jp2", "precious");
  ProgramOptions options;
  options.whileRunning = [this](pid_t child) {
    WaitForOutput(2);
    kill(child, SIGINT);
  };
  const ProgramResult result = Run({"convert", path, Out(), "--tile", "128"}, options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("stopped"));
  EXPECT_EQ(8u, ReadBytes(Out()).size());
  EXPECT_EQ((Names{"large.bmp", "out.jp2"}), ListFiles());
}

}  // namespace
