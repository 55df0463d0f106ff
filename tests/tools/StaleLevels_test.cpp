// The program never shows yesterday's levels. The image is changed in many ways; after each the program has to answer
// as it does where there is no level file, and to say why.

#include "Program.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;
using testing::Not;

class ZrkioStaleLevels : public Zrkio {
 protected:
  ZrkioStaleLevels() { Run({"levels", WriteShade("a.bmp", 0)}); }

  /// A picture that has levels; `shade` changes its pixels and not its size.
  std::string WriteShade(const std::string& name, int shade, int width = 600) {
    return Write(name, BmpBuilder()
                           .Size(width, 500)
                           .Pixel([shade](int x, int y) {
                             return static_cast<std::uint32_t>(0x010101 * (((x * 7) ^ (y * 5) ^ shade) & 0xFF));
                           })
                           .Build());
  }
  std::string Image() const { return folder_.Path("a.bmp"); }
  std::string Remark() const {
    return "zrkio: the level file " + folder_.Path("a.xld") +
           " is older than its image and isn't used; zrkio levels rebuilds it\n";
  }
  /// What the program tells of an image: a level, a small picture, and its description.
  struct Answers {
    std::string level, picture, levelFile;
    friend bool operator==(const Answers&, const Answers&) = default;
  };
  Answers Ask(const std::string& path) {
    Answers answers;
    const ProgramResult read = Run({"read", path, "--level", "2", "-o", "-"});
    const ProgramResult view = Run({"view", path, "--max-size", "100", "-o", folder_.Path("v.png")});
    const ProgramResult info = Run({"info", "--json", path});
    for (const ProgramResult* result : {&read, &view, &info}) {
      EXPECT_EQ(0, result->exitStatus);
      remarks_ += result->err;
    }
    const auto picture = ReadBytes(folder_.Path("v.png"));
    const bool hasNone = info.out.find("\"levelFile\": null") != std::string::npos;
    return {read.out, std::string(picture.begin(), picture.end()), hasNone ? "none" : "some"};
  }
  /// What it tells of the same bytes beside no level file.
  Answers AskAlone() {
    fs::create_directory(folder_.Path("alone"));
    const std::string alone = folder_.Path("alone/a.bmp");
    fs::copy_file(Image(), alone, fs::copy_options::overwrite_existing);
    return Ask(alone);
  }
  void ExpectNotUsed() {
    remarks_.clear();
    const Answers expected = AskAlone();
    EXPECT_EQ("none", expected.levelFile);
    EXPECT_THAT(remarks_, Not(HasSubstr("older than its image")));
    remarks_.clear();
    EXPECT_TRUE(Ask(Image()) == expected);
    // Reading, viewing and describing each say so.
    std::size_t count = 0;
    for (std::size_t at = remarks_.find(Remark()); at != std::string::npos; at = remarks_.find(Remark(), at + 1))
      ++count;
    EXPECT_EQ(3U, count) << remarks_;
  }
  void ExpectUsed() {
    remarks_.clear();
    const Answers expected = AskAlone(), found = Ask(Image());
    EXPECT_EQ("some", found.levelFile);
    EXPECT_NE(expected.level, found.level);  // means, and not every fourth pixel
    EXPECT_THAT(remarks_, Not(HasSubstr("older than its image")));
  }
  static void SetTime(const std::string& path, const timespec& modified) {
    const timespec times[2] = {modified, modified};
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, 0));
  }
  timespec TimeOfImage() const {
    struct stat status {};
    ::stat(Image().c_str(), &status);
    return status.st_mtim;
  }

  std::string remarks_;
};

TEST_F(ZrkioStaleLevels, AreUsedAsLongAsTheImageIsTheSame) {
  ExpectUsed();
}

TEST_F(ZrkioStaleLevels, AreNotUsedAfterPixelsHaveChanged) {
  WriteShade("a.bmp", 91);
  ExpectNotUsed();
}

TEST_F(ZrkioStaleLevels, AreNotUsedAfterOnePixelHasChangedUnderTheOldTime) {
  const timespec time = TimeOfImage();
  auto bytes = ReadBytes(Image());
  bytes[bytes.size() / 2] ^= 1;
  folder_.Write("a.bmp", bytes);
  SetTime(Image(), time);
  ExpectNotUsed();
}

TEST_F(ZrkioStaleLevels, AreNotUsedAfterTheSizeHasChanged) {
  WriteShade("a.bmp", 0, 604);
  ExpectNotUsed();
}

TEST_F(ZrkioStaleLevels, AreNotUsedForAnotherImageThatTookTheName) {
  const timespec time = TimeOfImage();
  WriteShade("b.bmp", 91);
  SetTime(folder_.Path("b.bmp"), time);
  fs::rename(folder_.Path("b.bmp"), Image());
  ExpectNotUsed();
}

TEST_F(ZrkioStaleLevels, AreNotUsedForAnImageOfAnotherExtension) {
  WriteShade("b.bmp", 91);
  fs::rename(Image(), folder_.Path("c.bmp"));
  fs::rename(folder_.Path("b.bmp"), folder_.Path("a.dib"));
  const ProgramResult result = Run({"read", folder_.Path("a.dib"), "--level", "2", "-o", "-"});
  EXPECT_THAT(result.err, HasSubstr(Remark()));
}

TEST_F(ZrkioStaleLevels, AreUsedUnderNewTimesAndNames) {
  SetTime(Image(), {1'500'000'000, 0});
  ExpectUsed();
  fs::rename(Image(), folder_.Path("b.bmp"));
  fs::rename(folder_.Path("a.xld"), folder_.Path("b.xld"));
  EXPECT_EQ("some", Ask(folder_.Path("b.bmp")).levelFile);
  fs::rename(folder_.Path("b.bmp"), Image());
  fs::rename(folder_.Path("b.xld"), folder_.Path("a.xld"));
  ExpectUsed();
}

TEST_F(ZrkioStaleLevels, AreAFailureOfTheCheck) {
  EXPECT_EQ(0, Run({"levels", "--check", Image()}).exitStatus);
  WriteShade("a.bmp", 91);
  const ProgramResult result = Run({"levels", "--check", Image()});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("he level file is older than its image and isn't used\n"));
}

TEST_F(ZrkioStaleLevels, AreBuiltAnewWithoutForce) {
  WriteShade("a.bmp", 91);
  const ProgramResult result = Run({"levels", Image()});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("MB/s of samples"));
  ExpectUsed();
}

TEST_F(ZrkioStaleLevels, GetNoNewSystem) {
  WriteShade("a.bmp", 91);
  const auto before = ReadBytes(folder_.Path("a.xld"));
  EXPECT_EQ(1, Run({"levels", "--update-srs", "EPSG:3857", Image()}).exitStatus);
  EXPECT_EQ(before, ReadBytes(folder_.Path("a.xld")));
}

TEST_F(ZrkioStaleLevels, GoWithTheImageThatAConversionReplaces) {
  const std::string output = folder_.Path("b.tif"), levels = folder_.Path("b.xld");
  EXPECT_EQ(0, Run({"convert", Image(), output}).exitStatus);
  EXPECT_EQ(0, Run({"levels", output}).exitStatus);
  ASSERT_TRUE(fs::exists(levels));
  EXPECT_EQ(0, Run({"convert", Image(), output}).exitStatus);
  EXPECT_FALSE(fs::exists(levels));
}

TEST_F(ZrkioStaleLevels, OfAnImageOfThisTitleStayWhereAConversionReplacesNothing) {
  EXPECT_EQ(0, Run({"convert", Image(), folder_.Path("a.tif")}).exitStatus);
  ExpectUsed();
}

}  // namespace
