// World files of TIFF files that are written: which are replaced, removed and left alone.

#include "ConvertProgram.h"
#include "GeoTiffFile.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* const kClash = "the world file of the output would be taken for that of this file";
const char* const kWorldText = "0.5\n0\n0\n-0.25\n100\n200\n";

class ZrkioConvertTiffPlace : public ZrkioConversion {
 protected:
  std::string Out() const { return folder_.Path("out.tif"); }
  std::string Text(const std::string& name) const {
    const Bytes bytes = ReadBytes(folder_.Path(name));
    return std::string(bytes.begin(), bytes.end());
  }
  std::string WriteTiff(const std::string& name) { return Write(name, GeoTiffFile().Build()); }
  /// What the program of a process would call its unfinished files.
  std::string Unfinished(const char* extension) const {
    return folder_.Path("out.part" + std::to_string(::getpid()) + extension);
  }
};

TEST_F(ZrkioConvertTiffPlace, TheWorldFileOfTheImageIsNotReplaced) {
  const std::string folder = std::filesystem::path(folder_.Path()).filename();
  for (const char* worldFile : {"x.tfw", "x.TFW", "x..tfw"}) {
    const std::string path = WriteTiff("x.tiff");
    folder_.Write(worldFile, kWorldText);
    for (const std::string& out : {folder_.Path("x.tif"), folder_.Path("../" + folder + "/x.TIF")}) {
      EXPECT_EQ(Failure(path, kClash), Refuse({"convert", path, out})) << worldFile;
    }
    EXPECT_EQ(kWorldText, Text(worldFile));
    EXPECT_EQ((Names{"x.tiff", worldFile}), ListFiles());
    std::filesystem::remove(folder_.Path(worldFile));
  }
}

TEST_F(ZrkioConvertTiffPlace, TheWorldFileOfTheImageIsNotReplacedByWayOfALink) {
  const std::string path = WriteTiff("x.tif");
  folder_.Write("x.tfw", kWorldText);
  std::filesystem::create_symlink("x.tfw", folder_.Path("out.tfw"));
  EXPECT_EQ(Failure(path, kClash), Refuse({"convert", path, Out()}));
  EXPECT_TRUE(std::filesystem::is_symlink(folder_.Path("out.tfw")));
}

TEST_F(ZrkioConvertTiffPlace, AWorldFileThatPlacesNothingFailsTheConversionAndStays) {
  const std::string path = WriteTiff("x.tiff");
  folder_.Write("x.tfw", "nan\n");
  EXPECT_EQ(Failure(path, "The world file x.tfw has fewer than six lines"),
            Refuse({"convert", path, folder_.Path("x.tif")}));
  EXPECT_EQ((Names{"x.tfw", "x.tiff"}), ListFiles());
}

TEST_F(ZrkioConvertTiffPlace, ASystemWithoutAPlaceIsToldAndKept) {
  const std::string path = Write("x.tif", GeoTiffFile().Key(1024, 1).Key(3072, 32632).Build());
  EXPECT_THAT(Run({"info", path}).out, testing::HasSubstr("  system      WGS 84 / UTM zone 32N"));
  ASSERT_EQ(0, Run({"convert", path, Out()}).exitStatus);
  EXPECT_EQ((Names{"out.tif", "x.tif"}), ListFiles());
  EXPECT_TRUE(Describe(Out())["georeference"].is_null());
  EXPECT_EQ(32632, Describe(Out())["system"]["epsg"]);
}

TEST_F(ZrkioConvertTiffPlace, AWorldFileOfAnotherFormatIsNoHindrance) {
  const std::string path = Write("out.bmp", BmpBuilder().Build());
  folder_.Write("out.bmw", kWorldText);
  EXPECT_EQ(0, Run({"convert", path, Out()}).exitStatus);
  EXPECT_EQ((Names{"out.bmp", "out.bmw", "out.tfw", "out.tif"}), ListFiles());
}

TEST_F(ZrkioConvertTiffPlace, AnImageWithoutAPlaceDoesNotGetThatOfAnother) {
  const std::string path = WriteImage();
  for (const char* worldFile : {"out.tfw", "out.TFW", "out..tfw", "out.t.tfw"}) {
    folder_.Write(worldFile, kWorldText);
    const std::string out = folder_.Path("out.tiff");
    EXPECT_EQ(0, Run({"convert", path, out}).exitStatus);
    EXPECT_TRUE(Describe(out)["georeference"].is_null()) << worldFile;
    EXPECT_EQ((Names{"a.bmp", "out.tiff"}), ListFiles());
    std::filesystem::remove(out);
  }
}

TEST_F(ZrkioConvertTiffPlace, ANewPlaceIsTheOneThatIsRead) {
  const std::string path = WriteImage(), out = folder_.Path("out.tiff");
  folder_.Write("a.bmw", kWorldText);
  folder_.Write("out..tfw", "1\n0\n0\n-1\n0\n0\n");
  EXPECT_EQ(0, Run({"convert", path, out}).exitStatus);
  EXPECT_EQ(99.75, Describe(out)["georeference"]["west"]);
  EXPECT_EQ((Names{"a.bmp", "a.bmw", "out.tfw", "out.tiff"}), ListFiles());
}

TEST_F(ZrkioConvertTiffPlace, WhatIsBehindTheNameOfAnUnfinishedWorldFileStays) {
  const std::string path = WriteImage();
  folder_.Write("precious", "precious");
  ProgramOptions options;
  options.inChild = [this] { std::filesystem::create_symlink("precious", Unfinished(".tfw")); };
  for (const bool isPlaced : {false, true}) {
    if (isPlaced) folder_.Write("a.bmw", kWorldText);
    EXPECT_EQ(0, Run({"convert", path, Out()}, options).exitStatus);
    EXPECT_EQ(isPlaced, std::filesystem::exists(folder_.Path("out.tfw")));
    EXPECT_EQ("precious", Text("precious"));
    EXPECT_EQ(isPlaced ? 7 : 4, CountFiles());
  }
}

TEST_F(ZrkioConvertTiffPlace, ANameThatIsTakenIsFoundOutBeforeAnythingIsReplaced) {
  const std::string path = WriteImage(), worldFile = folder_.Path("out.tfw");
  folder_.Write("a.bmw", kWorldText);
  folder_.Write("out.tif", "precious");
  std::filesystem::create_directory(worldFile);
  EXPECT_EQ(Failure(path, "can't write " + worldFile + " (Is a directory)"), Refuse({"convert", path, Out()}));
  std::filesystem::remove(worldFile);
  ASSERT_EQ(0, ::mkfifo(worldFile.c_str(), 0666));
  EXPECT_EQ(Failure(path, "can't write " + worldFile + " (Invalid argument)"), Refuse({"convert", path, Out()}));
  EXPECT_EQ("precious", Text("out.tif"));
  EXPECT_EQ((Names{"a.bmp", "a.bmw", "out.tfw", "out.tif"}), ListFiles());
}

}  // namespace
