#include "ByteFlips.h"
#include "JpegBuilder.h"
#include "Program.h"
#include "Sanitizers.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using Bytes = std::vector<unsigned char>;
using Names = std::set<std::string>;

const int kKillSize = IsSanitized() ? 1200 : 3200;
const int kNumKills = IsSanitized() ? 8 : TrialCount(50, 16);

class ZrkioLevels : public Zrkio {
 protected:
  /// An image that has levels: it is larger than a tile.
  std::string WriteImage() { return Write("a.bmp", BmpBuilder().Size(600, 500).Build()); }
  std::string LevelFile() const { return folder_.Path("a.xld"); }
  std::string Remark(const std::string& text) const { return LevelFile() + ": " + text + "\n"; }
  static std::string Failure(const std::string& path, const std::string& reason) {
    return "zrkio: " + path + ": " + reason + "\n";
  }
};

TEST_F(ZrkioLevels, BuildsALevelFileAndTellsHowFast) {
  const std::string path = WriteImage();
  const ProgramResult result = Run({"levels", path});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ("", result.out);
  EXPECT_THAT(result.err, MatchesRegex(".*/a\\.xld: [0-9.]+ kB in [0-9]+\\.[0-9][0-9] s, [0-9]+ MB/s of samples\n"));
  EXPECT_EQ((Names{"a.bmp", "a.xld"}), ListFiles());
  // Three channels of 300 x 250 and their text.
  EXPECT_GT(ReadBytes(LevelFile()).size(), 225000u);
}

TEST_F(ZrkioLevels, ALevelFileOfUseStaysUnlessForced) {
  const std::string path = WriteImage();
  Run({"levels", path});
  EXPECT_EQ(Remark("there already, levels and statistics; --force builds it anew"), Run({"levels", path}).err);
  EXPECT_EQ(0, Run({"levels", "--stats-only", path}).exitStatus);
  EXPECT_GT(ReadBytes(LevelFile()).size(), 225000u);
  EXPECT_THAT(Run({"levels", "--force", path}).err, HasSubstr("MB/s of samples"));
}

TEST_F(ZrkioLevels, StatisticsAloneDoNotDoWhereLevelsAreWanted) {
  const std::string path = WriteImage();
  EXPECT_EQ(0, Run({"levels", "--stats-only", path}).exitStatus);
  EXPECT_LT(ReadBytes(LevelFile()).size(), 50000u);
  EXPECT_EQ(Remark("whole, statistics only"), Run({"levels", "--check", path}).err);
  EXPECT_EQ(Remark("there already, statistics only; --force builds it anew"),
            Run({"levels", "--stats-only", path}).err);
  EXPECT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ(Remark("whole, levels and statistics"), Run({"levels", "--check", path}).err);
}

TEST_F(ZrkioLevels, AnImageWithoutLevelsGetsStatisticsAndIsContentWithThem) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  EXPECT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ(Remark("there already, statistics only; --force builds it anew"), Run({"levels", path}).err);
}

TEST_F(ZrkioLevels, AnyNumberOfWorkersMakesTheSameFile) {
  const std::string path = WriteImage();
  Run({"levels", "--workers", "1", path});
  const Bytes alone = ReadBytes(LevelFile());
  EXPECT_EQ(0, Run({"levels", "--force", "--workers", "5", path}).exitStatus);
  EXPECT_EQ(alone, ReadBytes(LevelFile()));
}

TEST_F(ZrkioLevels, AForcedBuildTakesNothingFromTheLevelsThatItReplaces) {
  const std::string path = WriteImage();
  Run({"levels", path});
  const Bytes right = ReadBytes(LevelFile());
  Bytes wrong = right;
  std::fill_n(wrong.begin() + 12, 100000, static_cast<unsigned char>(99));
  Write("a.xld", wrong);
  EXPECT_EQ(0, Run({"levels", "--force", path}).exitStatus);
  EXPECT_EQ(right, ReadBytes(LevelFile()));
}

TEST_F(ZrkioLevels, CheckNamesWhatIsWrongAndBuildsNothing) {
  const std::string path = WriteImage();
  const ProgramResult none = Run({"levels", "--check", path});
  EXPECT_EQ(1, none.exitStatus);
  EXPECT_EQ(Failure(path, "There is not a corresponding XLD file"), none.err);
  EXPECT_EQ(1, CountFiles());
  const auto check = [&](const Bytes& bytes) {
    Write("a.xld", bytes);
    const ProgramResult result = Run({"levels", "--check", path});
    EXPECT_EQ(1, result.exitStatus);
    return result.err;
  };
  EXPECT_EQ(Failure(path, "the level file is cut short"), check({'X', 'L', 'D', '.'}));
  EXPECT_EQ(Failure(path, "Invalid XLD Magic string"), check(Bytes(100, 'x')));
}

TEST_F(ZrkioLevels, CheckSeesThatLevelsDoNotFitTheirText) {
  const std::string path = WriteImage();
  Run({"levels", path});
  Bytes bytes = ReadBytes(LevelFile());
  // Ten bytes more between the levels and the text, whose offset stands behind the first four bytes.
  const std::int64_t offset = bytes[4] + 256 * bytes[5] + 65536 * bytes[6];
  bytes.insert(bytes.begin() + offset, 10, 0);
  for (std::size_t i = 0; i < 3; ++i) bytes[4 + i] = static_cast<unsigned char>((offset + 10) >> (8 * i));
  Write("a.xld", bytes);
  EXPECT_EQ(Failure(path, "the levels in the level file are not the image's"), Run({"levels", "--check", path}).err);
}

TEST_F(ZrkioLevels, ALevelFileOfAnotherImageOrCutShortIsBuiltAnew) {
  const std::string path = WriteImage();
  const std::string other = Write("b.bmp", BmpBuilder().Size(500, 400).Build());
  Run({"levels", other});
  std::filesystem::copy(folder_.Path("b.xld"), LevelFile());
  const ProgramResult result = Run({"levels", "--check", path});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_NE(std::string::npos, result.err.find("is older than its image and isn't used")) << result.err;
  EXPECT_EQ(0, Run({"levels", path}).exitStatus);
  std::filesystem::resize_file(LevelFile(), ReadBytes(LevelFile()).size() - 200);
  EXPECT_EQ(1, Run({"levels", "--check", path}).exitStatus);
  EXPECT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ(0, Run({"levels", "--check", path}).exitStatus);
}

TEST_F(ZrkioLevels, UpdatesTheSystemAndLeavesTheLevelsAlone) {
  const std::string path = WriteImage();
  folder_.Write("a.bmw", "0.5\n0\n0\n-0.25\n10\n20\n");
  EXPECT_EQ(Failure(path, "There is not a corresponding XLD file"),
            Run({"levels", "--update-srs", "EPSG:4326", path}).err);
  Run({"levels", path});
  Bytes before = ReadBytes(LevelFile());
  const ProgramResult result = Run({"levels", "--update-srs", "EPSG:32633", path});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ(Remark("the system is now WGS 84 / UTM zone 33N"), result.err);
  EXPECT_THAT(Run({"info", path}).out, HasSubstr("(EPSG:32633)"));
  Bytes after = ReadBytes(LevelFile());
  before.resize(225000);
  after.resize(225000);
  EXPECT_EQ(before, after);
}

TEST_F(ZrkioLevels, ASystemWhoseUnitsDoNotFitTheCoordinatesIsRefused) {
  const std::string path = WriteImage();
  folder_.Write("a.bmw", "30\n0\n0\n-30\n300000\n4000000\n");
  Run({"levels", path});
  const Bytes before = ReadBytes(LevelFile());
  const ProgramResult result = Run({"levels", "--update-srs", "EPSG:4326", path});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the coordinates of the image, 300000 to "));
  EXPECT_THAT(result.err, HasSubstr(" can't be degrees"));
  EXPECT_EQ(before, ReadBytes(LevelFile()));
  EXPECT_EQ(0, Run({"levels", "--update-srs", "EPSG:32633", path}).exitStatus);
}

TEST_F(ZrkioLevels, BadChoicesAreBadUsage) {
  const std::string path = WriteImage();
  EXPECT_EQ(2, Run({"levels"}).exitStatus);
  EXPECT_EQ(2, Run({"levels", "--workers", "0", path}).exitStatus);
  EXPECT_EQ(2, Run({"levels", "--check", "--force", path}).exitStatus);
  for (const char* system : {"EPSG:", "EPSG:12x", "EPSG:99999999", "nonsense", ""}) {
    EXPECT_EQ(2, Run({"levels", "--update-srs", system, path}).exitStatus) << system;
  }
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioLevels, GoesOnAfterFilesThatCanHaveNone) {
  const std::string image = WriteImage(), native = folder_.Path("n.zrm"), vector = folder_.Path("v.kml");
  Run({"convert", image, native});
  folder_.Write("v.kml",
                "<kml xmlns=\"http://www.opengis.net/kml/2.2\"><Placemark><Point><coordinates>1,2</coordinates></Point>"
                "</Placemark></kml>");
  const ProgramResult result = Run({"levels", native, vector, folder_.Path("none.bmp"), image});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr(Failure(native, "a native raster has levels of its own") +
                                    Failure(vector, "the file holds no raster") +
                                    Failure(folder_.Path("none.bmp"), "no such file")));
  EXPECT_EQ((Names{"a.bmp", "a.xld", "n.zrm", "v.kml"}), ListFiles());
}

TEST_F(ZrkioLevels, AFullDiskIsAPlainErrorAndLeavesNothingBehind) {
  const std::string path = WriteImage();
  ProgramOptions options;
  options.inChild = &LimitFileSize;
  const ProgramResult result = Run({"levels", path}, options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ(Failure(path, "Fail to write Data"), result.err);
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioLevels, WhatCannotBeOpenedToWriteIsAPlainError) {
  const std::string path = WriteImage();
  std::filesystem::create_directory(folder_.Path("a.xld_tmp"));
  const ProgramResult result = Run({"levels", path});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ(Failure(path, "Cannot open file to write"), result.err);
}

TEST_F(ZrkioLevels, ADamagedImageLeavesNothingBehind) {
  Bytes bytes = JpegBuilder().Size(600, 500).Build();
  bytes.resize(bytes.size() / 2);
  const std::string path = Write("a.jpg", bytes);
  EXPECT_EQ(Failure(path, "premature end of file"), Run({"levels", path}).err);
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioLevels, StopsCleanlyAndLeavesNothingBehind) {
  const std::string path = WriteHuge("a.bmp", 12000);
  ProgramOptions options;
  options.whileRunning = [&](pid_t child) {
    WaitForOutput(1);
    kill(child, SIGINT);
  };
  const ProgramResult once = Run({"levels", path, path}, options);
  EXPECT_EQ(1, once.exitStatus);
  EXPECT_EQ(Failure(path, "stopped"), once.err);
  EXPECT_EQ(1, CountFiles());
  options.whileRunning = [&](pid_t child) {
    WaitForOutput(1);
    SendTogether(child, {SIGINT, SIGTERM});
  };
  const int signalNumber = Run({"levels", path}, options).signal;
  EXPECT_TRUE(signalNumber == SIGINT || signalNumber == SIGTERM) << signalNumber;
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioLevels, AKilledBuildLeavesAWholeLevelFileOrNone) {
  const std::string path = WriteLarge("a.bmp", kKillSize, kKillSize);
  ASSERT_EQ(0, Run({"levels", path}).exitStatus);
  const Bytes whole = ReadBytes(LevelFile());
  int numInspected = 0;
  const int numKilled = KillAtManyMoments({"levels", path, "--force"}, kNumKills, [&] {
    if (std::filesystem::exists(LevelFile())) {
      ASSERT_EQ(whole, ReadBytes(LevelFile()));
    }
    // Whatever was left behind, the next build succeeds.
    if (++numInspected % 10 == 0) {
      EXPECT_EQ(0, Run({"levels", path, "--force"}).exitStatus);
      EXPECT_EQ((Names{"a.bmp", "a.xld"}), ListFiles());
      EXPECT_EQ(whole, ReadBytes(LevelFile()));
    }
    std::filesystem::remove(LevelFile());
  });
  EXPECT_EQ(kNumKills, numKilled);
}

}  // namespace
