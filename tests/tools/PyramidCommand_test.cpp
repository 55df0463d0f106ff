// zrkio pyramid, run as a program: what it makes of its inputs, what it refuses, and what is left where it is stopped.
// Stores are read by a reader of the tests' own.

#include "ByteFlips.h"
#include "Program.h"
#include "Sanitizers.h"
#include "StoreBytes.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using Names = std::set<std::string>;

class ZrkioPyramid : public Zrkio {
 protected:
  /// The whole earth in pixels of ten degrees, without a system; a world file names the centre of the first pixel.
  ZrkioPyramid() {
    path_ = Write("earth.bmp", BmpBuilder().Size(36, 18).Build());
    folder_.Write("earth.bmw", "10\n0\n0\n-10\n-175\n85\n");
  }
  std::string Out(const std::string& name) const { return folder_.Path(name); }

  ProgramResult Make(const std::string& name, std::vector<std::string> options, const ProgramOptions& how = {}) const {
    std::vector<std::string> arguments = {"pyramid", path_, "-o", Out(name), "--srs", "EPSG:4326"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments, how);
  }
  StoreReader Store(const std::string& name) const { return StoreReader(ReadBytes(Out(name))); }
  std::string WhyNot(const std::string& name, std::vector<std::string> options) {
    const ProgramResult result = Make(name, std::move(options));
    EXPECT_EQ(2, result.exitStatus) << result.err;
    EXPECT_EQ((Names{"earth.bmp", "earth.bmw"}), ListFiles());
    return result.err;
  }

  std::string path_;
};

StoreRecord Pictures(int level, int llRow, int llCol, int urRow, int urCol, std::uint64_t offset) {
  return {level, llRow, llCol, urRow, urCol, 18.0 / (1 << level), 256, 256, 32768, 1, offset};
}

StoreRecord Heights(int level, int llRow, int llCol, int urRow, int urCol, std::uint64_t offset) {
  return {level, llRow, llCol, urRow, urCol, 18.0 / (1 << level), 31, 31, 3844, 0, offset};
}

}  // namespace

TEST_F(ZrkioPyramid, TellsTheSizeBeforehandAndTheSpeedAtTheEnd) {
  const ProgramResult result = Make("a.pbi", {"--levels", "0-1", "--bounds", "0,0,36,18"});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.err, MatchesRegex(".*/a\\.pbi: levels 0 to 1, 10 tiles, 378\\.9 kB\n"
                                       ".*/a\\.pbi: 10 tiles in [0-9.]+ s, [0-9]+ a second\n"));
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw", "a.pbi"}), ListFiles());
}

// Pixels of ten degrees are coarser than those of level 0.
TEST_F(ZrkioPyramid, GoesToTheFinestResolutionOfItsInputsAndCoversThem) {
  EXPECT_EQ(0, Make("a.pbe", {}).exitStatus);
  const StoreReader store = Store("a.pbe");
  ASSERT_EQ(1, store.Count());
  EXPECT_EQ(Heights(0, 0, 0, 9, 19, 51200), store.Record(0));
}

TEST_F(ZrkioPyramid, CoversTheEarthWithoutARowOrColumnBeyondIt) {
  EXPECT_EQ(0, Make("a.pbi", {"--bounds", "-180,-90,180,90"}).exitStatus);
  EXPECT_EQ(Pictures(0, 0, 0, 9, 19, 51200), Store("a.pbi").Record(0));
  EXPECT_EQ(0, Make("a.pbe", {"--bounds", "-180,-90,180,90"}).exitStatus);
  EXPECT_EQ(Heights(0, 0, 0, 9, 19, 51200), Store("a.pbe").Record(0));
}

// One degree lies in one tile of level 1, all of whose parts level 2 has.
TEST_F(ZrkioPyramid, TakesBoundsOutwardToWholeTilesOfTheFirstLevel) {
  EXPECT_EQ(0, Make("a.pbe", {"--levels", "1-2", "--bounds", "1,1,2,2"}).exitStatus);
  const StoreReader heights = Store("a.pbe");
  EXPECT_EQ(Heights(1, 10, 20, 10, 20, 51200), heights.Record(0));
  EXPECT_EQ(Heights(2, 20, 40, 21, 41, 51200 + 3844), heights.Record(1));
  for (std::size_t tile = 0; tile < 5; ++tile) {
    EXPECT_NE(std::vector<unsigned char>(3844), heights.Bytes(51200 + tile * 3844, 3844)) << tile;
  }
  EXPECT_EQ(0, Make("a.pbi", {"--levels", "1-2", "--bounds", "9,9,18,18"}).exitStatus);
  EXPECT_EQ(Pictures(1, 11, 21, 11, 21, 51200), Store("a.pbi").Record(0));
}

TEST_F(ZrkioPyramid, StoresNormalsWhereTheyAreWanted) {
  EXPECT_EQ(0, Make("a.pbe", {"--normals", "--bounds", "0,0,18,18"}).exitStatus);
  EXPECT_EQ(2.0, Store("a.pbe").Version());
  EXPECT_EQ(51200u + 15376u, Store("a.pbe").Size());
}

TEST_F(ZrkioPyramid, FillsWhatNoInputCoversWithTheBackground) {
  folder_.Write("earth.bmw", "1\n0\n0\n-1\n100\n50\n");
  EXPECT_EQ(0, Make("a.pbi", {"--bounds", "0,0,18,18", "--background", "FF0000"}).exitStatus);
  // A block of one colour: pure red as 5, 6 and 5 bits.
  EXPECT_EQ((std::vector<unsigned char>{0x00, 0xF8, 0xFF, 0xFF, 0, 0, 0, 0}), Store("a.pbi").Bytes(51200, 8));
}

TEST_F(ZrkioPyramid, WarpsInputsOfProjectedSystems) {
  folder_.Write("earth.bmw", "50000\n0\n0\n-50000\n0\n900000\n");
  EXPECT_EQ(
      0, Run({"pyramid", path_, "-o", Out("a.pbe"), "--srs", "EPSG:32632", "--levels", "0-0", "--bounds", "0,0,18,18"})
             .exitStatus);
  EXPECT_NE(std::vector<unsigned char>(3844), Store("a.pbe").Bytes(51200, 3844));
}

TEST_F(ZrkioPyramid, NeedsInputsWithAPlaceOnTheGlobe) {
  ProgramResult result = Run({"pyramid", path_, "-o", Out("a.pbi")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("it names no system; --srs EPSG:n does"));
  std::filesystem::remove(Out("earth.bmw"));
  result = Make("a.pbi", {});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("it has no place in the world"));
  EXPECT_EQ((Names{"earth.bmp"}), ListFiles());
}

TEST_F(ZrkioPyramid, NamesTheInputThatFailsAmongSeveral) {
  const std::string second = Write("b.bmp", BmpBuilder().Size(3, 3).Build());
  const ProgramResult result = Make("a.pbi", {second});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("b.bmp: it has no place in the world"));
}

TEST_F(ZrkioPyramid, RefusesOptionsThatMakeNoSense) {
  EXPECT_THAT(WhyNot("a.tif", {}), HasSubstr("takes a name in .pbi for pictures or in .pbe for heights"));
  EXPECT_THAT(WhyNot("a.pbi", {"--normals"}), HasSubstr("belongs to heights"));
  for (const char* levels : {"3-1", "0-31", "2", "0-2x"}) {
    EXPECT_THAT(WhyNot("a.pbi", {"--levels", levels}), HasSubstr("--levels")) << levels;
  }
  EXPECT_THAT(WhyNot("a.pbi", {"--levels", "0-9"}), HasSubstr("nine levels at most"));
  for (const char* bounds : {"10,0,5,5", "0,0,5,91", "0,0,nan,5"}) {
    EXPECT_THAT(WhyNot("a.pbi", {"--bounds", bounds}), HasSubstr("--bounds")) << bounds;
  }
  for (const char* colour : {"12345", "-12345"}) {
    EXPECT_THAT(WhyNot("a.pbi", {"--background", colour}), HasSubstr("--background")) << colour;
  }
  for (const char* shard : {"0/2", "3/2", "1"}) {
    EXPECT_THAT(WhyNot("a.pbi", {"--shard", shard}), HasSubstr("--shard")) << shard;
  }
  EXPECT_THAT(WhyNot("a.pbi", {"--shard", "1/2", "--resume"}), HasSubstr("--shard"));
}

// Thirteen levels of heights of the earth are 17 terabytes.
TEST_F(ZrkioPyramid, RefusesAFileThatTheDiskHasNoRoomFor) {
  const ProgramResult result = Make("a.pbe", {"--levels", "0-12"});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the file needs 17.2 TB, and the disk has room for "));
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw"}), ListFiles());
}

TEST_F(ZrkioPyramid, RefusesToTakeThePlaceOfAnInput) {
  std::filesystem::create_symlink(path_, Out("a.pbi"));
  const ProgramResult result = Make("a.pbi", {});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw", "a.pbi"}), ListFiles());
}

TEST_F(ZrkioPyramid, LeavesNothingWhereTheFileCannotGrow) {
  ProgramOptions options;
  options.inChild = LimitFileSize;
  const ProgramResult result = Make("a.pbi", {"--bounds", "0,0,18,18"}, options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("fail to crate PBI file"));
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw"}), ListFiles());
}

TEST_F(ZrkioPyramid, LeavesNothingUnderTheFinalNameWhenStoppedAndGoesOnFromThere) {
  const std::vector<std::string> options = {"--levels", "0-3", "--bounds", "0,0,36,36", "--workers", "1"};
  ASSERT_EQ(0, Make("whole.pbi", options).exitStatus);
  ProgramOptions how;
  how.whileRunning = [&](pid_t child) {
    WaitForOutput(3);
    kill(child, SIGINT);
  };
  const ProgramResult stopped = Make("a.pbi", options, how);
  if (stopped.exitStatus == 1) {
    EXPECT_THAT(stopped.err, HasSubstr("stopped"));
    EXPECT_FALSE(std::filesystem::exists(Out("a.pbi")));
  }
  std::vector<std::string> resumed = options;
  resumed.emplace_back("--resume");
  EXPECT_EQ(0, Make("a.pbi", resumed).exitStatus);
  EXPECT_TRUE(ReadBytes(Out("whole.pbi")) == ReadBytes(Out("a.pbi")));
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw", "whole.pbi", "a.pbi"}), ListFiles());
}

// 8 tiles of level 0 are one unit of work, which is the first shard's; 32 of level 1 are two for each.
TEST_F(ZrkioPyramid, IsMadeByShardsWhosePartsComeInAnyOrder) {
  const std::vector<std::string> options = {"--levels", "0-1", "--bounds", "0,0,72,36"};
  ASSERT_EQ(0, Make("whole.pbi", options).exitStatus);
  const auto shard = [&](const char* part) {
    std::vector<std::string> arguments = options;
    arguments.insert(arguments.end(), {"--shard", part});
    return Make("a.pbi", arguments);
  };
  const ProgramResult first = shard("1/2");
  EXPECT_EQ(0, first.exitStatus);
  EXPECT_THAT(first.err, HasSubstr("; 16 of 40 are done, and level 0 waits for other shards\n"));
  const ProgramResult early = shard("1/2");
  EXPECT_EQ(1, early.exitStatus);
  EXPECT_THAT(early.err, HasSubstr("level 0 is made of level 1, which other shards have not completed"));
  EXPECT_THAT(shard("2/2").err, HasSubstr("; 32 of 40 are done\n"));
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw", "whole.pbi", "a.pbi.part", "a.pbi.part.done"}), ListFiles());
  EXPECT_EQ(0, shard("1/2").exitStatus);
  EXPECT_TRUE(ReadBytes(Out("whole.pbi")) == ReadBytes(Out("a.pbi")));
  EXPECT_THAT(shard("2/2").err, HasSubstr("a.pbi: there already, with all its tiles\n"));
  // The record tells a late shard what the file was made of.
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw", "whole.pbi", "a.pbi", "a.pbi.part.done"}), ListFiles());
}

TEST_F(ZrkioPyramid, RefusesToGoOnWithOtherOptions) {
  std::vector<std::string> options = {"--levels", "0-1", "--bounds", "0,0,72,36", "--shard", "1/2"};
  EXPECT_EQ(0, Make("a.pbi", options).exitStatus);
  options.insert(options.end(), {"--background", "FFFFFF"});
  const ProgramResult result = Make("a.pbi", options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the unfinished file was begun with other sources or options"));
}

namespace {

/// Makes the same pyramid by shards and by one process.
class ZrkioPyramidShards : public ZrkioPyramid {
 protected:
  std::vector<std::string> OptionsOf(const std::string& shard) const {
    std::vector<std::string> options = options_;
    if (!shard.empty()) options.insert(options.end(), {"--shard", shard});
    return options;
  }
  ProgramResult Shard(const std::string& shard) const { return Make("a.pbi", OptionsOf(shard)); }
  bool IsLikeOneProcess() const {
    EXPECT_EQ(0, Make("whole.pbi", options_).exitStatus);
    return ReadBytes(Out("whole.pbi")) == ReadBytes(Out("a.pbi"));
  }
  void MakeAll() const {
    for (const char* shard : {"1/2", "2/2", "1/2"}) EXPECT_EQ(0, Shard(shard).exitStatus);
  }

  std::vector<std::string> options_ = {"--levels", "0-1", "--bounds", "0,0,72,36", "--workers", "1"};
};

}  // namespace

TEST_F(ZrkioPyramidShards, MakeAnotherFileWhereTheInputIsAnother) {
  MakeAll();
  const std::vector<unsigned char> before = ReadBytes(Out("a.pbi"));
  Write("earth.bmp", BmpBuilder().Size(36, 18).Pixel([](int x, int) { return 7U * static_cast<unsigned>(x); }).Build());
  MakeAll();
  EXPECT_FALSE(before == ReadBytes(Out("a.pbi")));
  EXPECT_TRUE(IsLikeOneProcess());
}

TEST_F(ZrkioPyramidShards, MakeAnotherFileWhereTheBackgroundIsAnother) {
  folder_.Write("earth.bmw", "1\n0\n0\n-1\n10\n20\n");
  MakeAll();
  options_.insert(options_.end(), {"--background", "FF0000"});
  MakeAll();
  EXPECT_TRUE(IsLikeOneProcess());
}

TEST_F(ZrkioPyramidShards, DoNotGoOnWhereAWorldFileHasChanged) {
  EXPECT_EQ(0, Shard("1/2").exitStatus);
  folder_.Write("earth.bmw", "10\n0\n0\n-10\n-165\n85\n");
  const ProgramResult result = Shard("2/2");
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the unfinished file was begun with other sources or options"));
}

// Level data changes what coarse pixels show.
TEST_F(ZrkioPyramidShards, DoNotGoOnWhereALevelFileHasCome) {
  EXPECT_EQ(0, Shard("1/2").exitStatus);
  ASSERT_EQ(0, Run({"levels", path_}).exitStatus);
  const ProgramResult result = Shard("2/2");
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the unfinished file was begun with other sources or options"));
}

TEST_F(ZrkioPyramidShards, MayBeOne) {
  EXPECT_EQ(0, Shard("1/1").exitStatus);
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw", "a.pbi"}), ListFiles());
  EXPECT_TRUE(IsLikeOneProcess());
}

TEST_F(ZrkioPyramidShards, GoOnWhereTheOnlyOneWasKilled) {
  ProgramOptions how;
  how.whileRunning = [&](pid_t child) {
    WaitForOutput(2);
    kill(child, SIGKILL);
  };
  options_[1] = "0-3";
  const ProgramResult killed = Make("a.pbi", OptionsOf("1/1"), how);
  EXPECT_EQ(killed.signal == SIGKILL, !std::filesystem::exists(Out("a.pbi")));
  EXPECT_EQ(0, Shard("1/1").exitStatus);
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw", "a.pbi"}), ListFiles());
  EXPECT_TRUE(IsLikeOneProcess());
}

// All four are killed at moments of their own, several times over. Then whoever is left finishes it.
TEST_F(ZrkioPyramidShards, GiveTheBytesOfOneProcessWhereFourWereKilled) {
  options_[1] = "0-3";
  std::minstd_rand random(8);
  for (int round = 0; round < TrialCount(12, 3); ++round) {
    std::vector<std::thread> processes;
    for (int shard = 1; shard <= 4; ++shard) {
      const auto delay = std::chrono::milliseconds(20 + random() % 300);
      processes.emplace_back([this, shard, delay] {
        ProgramOptions how;
        how.whileRunning = [delay](pid_t child) {
          std::this_thread::sleep_for(delay);
          kill(child, SIGKILL);
        };
        Make("a.pbi", OptionsOf(std::to_string(shard) + "/4"), how);
      });
    }
    for (std::thread& each : processes) each.join();
  }
  for (int pass = 0; pass < 4; ++pass) {
    for (const char* shard : {"4/4", "2/4", "1/4", "3/4"}) Shard(shard);
  }
  EXPECT_EQ((Names{"earth.bmp", "earth.bmw", "a.pbi", "a.pbi.part.done"}), ListFiles());
  EXPECT_TRUE(IsLikeOneProcess());
}

namespace {

/// The most memory that a program has had, in megabytes, as the system tells it while the program runs.
class PeakOfProgram {
 public:
  void Watch(pid_t child) {
    for (double now = 1.0; now > 0.0; now = Read(child)) {
      peak_ = std::max(peak_, now);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
  double Get() const { return peak_; }

 private:
  /// 0 when the program has ended.
  static double Read(pid_t child) {
    std::ifstream status("/proc/" + std::to_string(child) + "/status");
    std::string word;
    double kilobytes = 0.0;
    while (status >> word) {
      if (word == "VmHWM:") status >> kilobytes;
    }
    return kilobytes / 1024.0;
  }
  double peak_ = 0.0;
};

}  // namespace

// Heights of 17,000 tiles, and a picture of 108 megabytes.
TEST_F(ZrkioPyramid, TakesLessThan200MegabytesHoweverLargeItIs) {
  if (IsSanitized()) GTEST_SKIP() << "sanitizers take memory of their own";
  PeakOfProgram peak;
  ProgramOptions how;
  how.whileRunning = [&](pid_t child) { peak.Watch(child); };
  EXPECT_EQ(0, Make("a.pbe", {"--levels", "0-3", "--bounds", "-180,-90,180,90", "--normals"}, how).exitStatus);
  path_ = WriteHuge("earth.bmp", 6000);
  folder_.Write("earth.bmw", "0.03\n0\n0\n-0.03\n-89.985\n89.985\n");
  EXPECT_EQ(0, Make("a.pbi", {"--levels", "0-1"}, how).exitStatus);
  EXPECT_GT(peak.Get(), 5.0);
  EXPECT_LT(peak.Get(), 200.0);
}

TEST_F(ZrkioPyramid, CoversInputsAcrossLongitude180) {
  folder_.Write("earth.bmw", "10000\n0\n0\n-10000\n760000\n200000\n");
  const ProgramResult result =
      Run({"pyramid", path_, "-o", Out("a.pbi"), "--srs", "EPSG:32660", "--levels", "0-0", "--background", "FF0000"});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  const StoreReader store = Store("a.pbi");
  ASSERT_EQ(Pictures(0, 5, 0, 5, 19, 51200), store.Record(0));
  const std::vector<unsigned char> background = store.Bytes(51200 + 10 * 32768, 32768);
  EXPECT_NE(background, store.Bytes(51200, 32768));
  EXPECT_NE(background, store.Bytes(51200 + 19 * 32768, 32768));
}

// Pixels of 10 km around the pole, which has no longitude: the resolution is that of the latitudes.
TEST_F(ZrkioPyramid, CoversInputsOverAPoleAtTheirResolution) {
  folder_.Write("earth.bmw", "10000\n0\n0\n-10000\n-175000\n85000\n");
  const ProgramResult result = Run({"pyramid", path_, "-o", Out("a.pbe"), "--srs", "EPSG:3413"});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  const StoreReader store = Store("a.pbe");
  const StoreRecord finest = store.Record(static_cast<std::size_t>(store.Count()) - 1);
  // 10 km on the map are some 0.092 degrees. Posts of level 3 stand 0.075 degrees apart, and those of level 2 0.15.
  EXPECT_EQ(3, finest.level);
  EXPECT_EQ(79, finest.urRow);
  EXPECT_EQ(0, finest.llCol);
  EXPECT_EQ(159, finest.urCol);
}

// 4,200 tiles by one worker take longer than it takes the bar to come.
TEST_F(ZrkioPyramid, ShowsTilesASecondOnATerminal) {
  std::string shown;
  const ProgramResult result = RunAtTerminal({"pyramid", path_, "-o", Out("a.pbi"), "--srs", "EPSG:4326", "--levels",
                                              "0-3", "--bounds", "-180,-90,0,90", "--workers", "1"},
                                             [&](const std::string& soFar) {
                                               if (!shown.empty() || soFar.find(" tiles/s") == std::string::npos) {
                                                 return std::string();
                                               }
                                               shown = soFar;
                                               return std::string("\x03");
                                             });
  EXPECT_THAT(shown, HasSubstr(" left, "));
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.out, HasSubstr("tiles are kept beside it; --resume goes on with them"));
  EXPECT_FALSE(std::filesystem::exists(Out("a.pbi")));
}

// A cluster takes seconds to come up, so that this is for full runs. Debian's interpreter has the packages; another one
// that comes first on the path need not.
TEST_F(ZrkioPyramid, IsMadeByAGraphOfDask) {
  if (TrialCount(2, 1) < 2) GTEST_SKIP() << "only with ZRK_TRIALS=all";
  if (RunProgram({"/usr/bin/python3", "-c", "import distributed"}).exitStatus != 0) {
    GTEST_SKIP() << "python3-distributed is not installed";
  }
  const std::vector<std::string> options = {"--levels", "0-1", "--bounds", "0,0,72,36", "--srs", "EPSG:4326"};
  ASSERT_EQ(0, Make("whole.pbi", {options.begin(), options.end() - 2}).exitStatus);
  std::vector<std::string> command = {"/usr/bin/python3",
                                      SourcePath("contrib/dask_pyramid.py"),
                                      "--zrkio",
                                      ZRK_PROGRAM,
                                      "--shards",
                                      "3",
                                      "--local",
                                      "2",
                                      "--passes",
                                      "2",
                                      "-o",
                                      Out("a.pbi"),
                                      path_};
  command.insert(command.end(), options.begin(), options.end());
  const ProgramResult result = RunProgram(command);
  EXPECT_EQ(0, result.exitStatus) << result.err;
  EXPECT_TRUE(ReadBytes(Out("whole.pbi")) == ReadBytes(Out("a.pbi")));
}
