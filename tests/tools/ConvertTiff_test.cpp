#include "ConvertProgram.h"
#include "GeoTiffFile.h"
#include "JpegBuilder.h"
#include "TiffBuilder.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class ZrkioConvertTiff : public ZrkioConversion {
 protected:
  std::string Out() const { return folder_.Path("out.tif"); }
  std::string Text(const std::string& name) const {
    const Bytes bytes = ReadBytes(folder_.Path(name));
    return std::string(bytes.begin(), bytes.end());
  }
  /// UTM zone 32 north, 20 by 10 pixels of 100 metres.
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
  /// Pixels of half a unit by a quarter, and no system.
  std::string WritePlacedByWorldFile() {
    folder_.Write("a.bmw", "0.5\n0\n0\n-0.25\n100\n200\n");
    return WriteImage();
  }
  void ExpectSameSamples(const std::string& path) {
    ASSERT_EQ(0, Run({"convert", path, Out()}).exitStatus) << path;
    const std::size_t numBands = Describe(path)["channels"].size();
    ASSERT_EQ(numBands, Describe(Out())["channels"].size()) << path;
    for (std::size_t i = 1; i <= numBands; ++i) {
      const std::string band = std::to_string(i);
      EXPECT_EQ(Samples(path, band), Samples(Out(), band)) << path << " band " << band;
    }
  }
};

TEST_F(ZrkioConvertTiff, KeepsEverySampleAndTellsHowFast) {
  const std::string path = WriteImage();
  const ProgramResult result = Run({"convert", path, Out()});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.err,
              MatchesRegex(".*/out\\.tif: 900\\.[0-9] kB in [0-9]+\\.[0-9][0-9] s, [0-9]+ MB/s of samples\n"));
  EXPECT_EQ((Names{"a.bmp", "out.tif"}), ListFiles());
  const Bytes green = Samples(Out(), "2");
  ASSERT_EQ(600u * 500u, green.size());
  for (std::size_t i = 0; i < green.size(); ++i) {
    ASSERT_EQ(BmpBuilder::Green(static_cast<int>(i % 600), static_cast<int>(i / 600)), green[i]) << i;
  }
}

TEST_F(ZrkioConvertTiff, TakesWhateverCanBeRead) {
  const std::string image = WriteImage(), native = folder_.Path("a.zrm");
  ASSERT_EQ(0, Run({"convert", image, native, "--max-error", "0"}).exitStatus);
  ExpectSameSamples(image);
  ExpectSameSamples(native);
  ExpectSameSamples(Write("a.jpg", JpegBuilder().Size(300, 280).Build()));
  ExpectSameSamples(Write("grey.jpg", JpegBuilder().Size(300, 280).Grey().Build()));
  const auto tiled = TiffBuilder().Size(300, 280).Tiles(64, 48);
  ExpectSameSamples(Write("lzw.tif", TiffBuilder(tiled).Samples(2).Bits(16).Compression(5).Encode()));
  ExpectSameSamples(Write("real.tif", TiffBuilder(tiled).Bits(32).Format(3).Build()));
}

TEST_F(ZrkioConvertTiff, WritesFullResolutionAlsoWhereThereIsALevelFile) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Run({"levels", path}).exitStatus);
  ExpectSameSamples(path);
}

TEST_F(ZrkioConvertTiff, KeepsAPaletteWhereAllItsColoursAreWrittenInOrder) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(40, 30).Bits(8).Build());
  const auto photometric = [&](const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {"convert", path, Out()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(0, Run(arguments).exitStatus);
    return Describe(Out())["blocks"]["photometric"].get<int>();
  };
  EXPECT_EQ(3, photometric({}));
  ExpectSameSamples(path);
  EXPECT_EQ(3, photometric({"--bands", "1,2,3"}));
  EXPECT_EQ(2, photometric({"--bands", "3,2,1"}));
  EXPECT_EQ(1, photometric({"--bands", "1"}));
}

TEST_F(ZrkioConvertTiff, WritesTheBandsAskedForInTheirOrder) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Run({"convert", "--bands", "3,2,1", path, Out()}).exitStatus);
  const AnyJson blocks = Describe(Out())["blocks"];
  EXPECT_EQ("pixel", blocks["planar"]);
  EXPECT_EQ(2, blocks["photometric"]);
  for (const auto& [to, from] : {std::pair{"1", "3"}, {"2", "2"}, {"3", "1"}}) {
    EXPECT_EQ(Samples(path, from), Samples(Out(), to)) << from;
  }
}

TEST_F(ZrkioConvertTiff, WritesABandAsOftenAsItIsAskedFor) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Run({"convert", path, Out(), "--bands", "1,3,1"}).exitStatus);
  for (const auto& [to, from] : {std::pair{"1", "1"}, {"2", "3"}, {"3", "1"}}) {
    EXPECT_EQ(Samples(path, from), Samples(Out(), to)) << to;
  }
}

TEST_F(ZrkioConvertTiff, OneBandMakesAGreyImage) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Run({"convert", path, Out(), "--bands", "2"}).exitStatus);
  const AnyJson image = Describe(Out());
  EXPECT_EQ(1u, image["channels"].size());
  EXPECT_EQ(1, image["blocks"]["photometric"]);
  EXPECT_EQ(Samples(path, "2"), Samples(Out(), "1"));
}

TEST_F(ZrkioConvertTiff, WritesAWindowOfSomeBands) {
  const std::string path = WriteImage();
  ASSERT_EQ(0, Run({"convert", path, Out(), "--window", "10,589,20,489", "--bands", "3,1"}).exitStatus);
  EXPECT_EQ(580, Channel(Out())["width"]);
  EXPECT_EQ(470, Channel(Out())["height"]);
  EXPECT_EQ("plane", Describe(Out())["blocks"]["planar"]);
  const Bytes first = Samples(Out(), "1"), second = Samples(Out(), "2");
  ASSERT_EQ(580u * 470u, second.size());
  EXPECT_EQ(BmpBuilder::Blue(10, 20), first[0]);
  EXPECT_EQ(BmpBuilder::Blue(13, 22), first[2 * 580 + 3]);
  EXPECT_EQ(BmpBuilder::Red(589, 489), second.back());
}

TEST_F(ZrkioConvertTiff, AWindowHasItsOwnPlace) {
  const std::string path = WritePlaced();
  for (const bool hasBands : {false, true}) {
    std::vector<std::string> arguments = {"convert", path, Out(), "--window", "5,9,2,3"};
    if (hasBands) arguments.insert(arguments.end(), {"--bands", "1,1"});
    ASSERT_EQ(0, Run(arguments).exitStatus);
    const AnyJson place = Describe(Out())["georeference"];
    EXPECT_EQ(AnyJson::parse("[[500500, 800], [501000, 800], [501000, 600], [500500, 600]]"), place["corners"]);
    EXPECT_EQ(32632, place["system"]["epsg"]);
    EXPECT_EQ(
        "                100.0000000000\n"
        "                  0.0000000000\n"
        "                  0.0000000000\n"
        "               -100.0000000000\n"
        "             500550.0000000000\n"
        "                750.0000000000\n",
        Text("out.tfw"));
    EXPECT_EQ((Names{"a.tif", "out.tif", "out.tfw"}), ListFiles());
  }
}

TEST_F(ZrkioConvertTiff, APlaceInNoKnownSystemStandsInAWorldFile) {
  const std::string path = WritePlacedByWorldFile();
  for (const char* name : {"out.tiff", "out.TIF"}) {
    const std::string out = folder_.Path(name);
    ASSERT_EQ(0, Run({"convert", path, out, "--window", "10,19,20,27"}).exitStatus);
    EXPECT_EQ((Names{"a.bmp", "a.bmw", name, "out.tfw"}), ListFiles());
    const AnyJson place = Describe(out)["georeference"];
    EXPECT_EQ(AnyJson::parse("[[104.75, 195.125], [109.75, 195.125], [109.75, 193.125], [104.75, 193.125]]"),
              place["corners"])
        << name;
    EXPECT_TRUE(place["system"].is_null());
    std::filesystem::remove(out);
  }
}

TEST_F(ZrkioConvertTiff, ReplacesTheFileThatWasThereAndItsPlace) {
  const std::string path = WritePlacedByWorldFile();
  folder_.Write("out.tif", "old");
  folder_.Write("out.tfw", "old");
  ASSERT_EQ(0, Run({"convert", path, Out()}).exitStatus);
  EXPECT_EQ(99.75, Describe(Out())["georeference"]["west"]);
  std::filesystem::remove(folder_.Path("a.bmw"));
  ASSERT_EQ(0, Run({"convert", path, Out()}).exitStatus);
  EXPECT_TRUE(Describe(Out())["georeference"].is_null());
  EXPECT_EQ((Names{"a.bmp", "out.tif"}), ListFiles());
}

TEST_F(ZrkioConvertTiff, IsNeverPutInPlaceOfTheImage) {
  const std::string path = WritePlaced();
  const Bytes bytes = ReadBytes(path);
  std::filesystem::create_symlink(path, folder_.Path("link.tiff"));
  for (const std::string& out : {path, folder_.Path("link.tiff")}) {
    EXPECT_EQ(Failure(path, "the output would take the place of this file"), Refuse({"convert", path, out}));
    EXPECT_EQ(Failure(path, "the output would take the place of this file"),
              Refuse({"convert", path, out, "--bands", "1"}));
  }
  EXPECT_EQ(bytes, ReadBytes(path));
  EXPECT_EQ(2, CountFiles());
}

TEST_F(ZrkioConvertTiff, OptionsOfOtherFormatsAreBadUsage) {
  const std::string path = WriteImage();
  for (const auto& [option, owners] :
       {std::pair<std::string, std::string>{"--levels", "native rasters (.zrm) and JPEG 2000 files (.jp2)"},
        {"--max-error", "native rasters (.zrm)"}}) {
    const ProgramResult result = Run({"convert", path, folder_.Path("out.TIFF"), option, "1"});
    EXPECT_EQ(2, result.exitStatus);
    EXPECT_THAT(result.err, HasSubstr(option + ": belongs to " + owners + ", not to TIFF files\n"));
  }
  EXPECT_EQ(1, CountFiles());
}

}  // namespace
