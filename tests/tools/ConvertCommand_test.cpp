// zrkio convert, run as a program: what it writes, what it refuses, and what is left where it fails, is stopped or is
// killed. Samples of the new file are compared with those of the old one.

#include "ConvertProgram.h"
#include "JpegBuilder.h"

#include <gmock/gmock.h>

namespace {

using testing::MatchesRegex;

class ZrkioConvert : public ZrkioConversion {
 protected:
  std::string Out() const { return folder_.Path("out.zrm"); }
};

TEST_F(ZrkioConvert, KeepsEverySampleAndTellsHowFast) {
  const std::string path = WriteImage();
  const ProgramResult result = Run({"convert", path, Out()});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.err,
              MatchesRegex(".*/out\\.zrm: 1\\.[0-9] MB in [0-9]+\\.[0-9][0-9] s, [0-9]+ MB/s of samples\n"));
  EXPECT_EQ((Names{"a.bmp", "out.zrm"}), ListFiles());
  for (const char* band : {"1", "2", "3"}) EXPECT_EQ(Samples(path, band), Samples(Out(), band));
  EXPECT_EQ(2, Channel(Out())["levels"]);
  EXPECT_EQ(false, Channel(Out())["compressed"]);
}

TEST_F(ZrkioConvert, CompressesWithinTheErrorAllowed) {
  const std::string path = Write("a.jpg", JpegBuilder().Size(300, 280).Build());
  EXPECT_EQ(0, Run({"convert", path, Out(), "--max-error", "0"}).exitStatus);
  EXPECT_EQ(true, Channel(Out())["compressed"]);
  const Bytes samples = Samples(path, "2");
  EXPECT_EQ(samples, Samples(Out(), "2"));
  EXPECT_EQ(0, Run({"convert", path, Out(), "--max-error", "3"}).exitStatus);
  const Bytes near = Samples(Out(), "2");
  ASSERT_EQ(samples.size(), near.size());
  EXPECT_NE(samples, near);
  for (std::size_t i = 0; i < samples.size(); ++i) ASSERT_NEAR(samples[i], near[i], 3);
}

TEST_F(ZrkioConvert, WritesAWindowWithAsManyLevelsAsAskedFor) {
  const std::string path = WriteImage();
  EXPECT_EQ(0, Run({"convert", path, Out(), "--window", "10,589,20,489", "--levels", "1"}).exitStatus);
  const AnyJson channel = Channel(Out());
  EXPECT_EQ(580, channel["width"]);
  EXPECT_EQ(470, channel["height"]);
  EXPECT_EQ(1, channel["levels"]);
  EXPECT_EQ(BmpBuilder::Red(10, 20), Samples(Out(), "1")[0]);
  EXPECT_EQ(290u * 235u, Samples(Out(), "1", "1").size());
}

TEST_F(ZrkioConvert, WritesTheBandsAskedForInTheirOrder) {
  const std::string path = WriteImage();
  EXPECT_EQ(0, Run({"convert", "--bands", "3,1,3", path, Out(), "--window", "10,589,20,489"}).exitStatus);
  EXPECT_EQ(3u, Describe(Out())["channels"].size());
  EXPECT_EQ(580, Channel(Out())["width"]);
  EXPECT_EQ(BmpBuilder::Blue(10, 20), Samples(Out(), "1")[0]);
  EXPECT_EQ(BmpBuilder::Red(10, 20), Samples(Out(), "2")[0]);
  EXPECT_EQ(Samples(Out(), "1"), Samples(Out(), "3"));
  EXPECT_EQ(Failure(path, "there is no band 4, only 1 to 3"), Refuse({"convert", path, Out(), "--bands", "1,4"}));
}

TEST_F(ZrkioConvert, ReplacesTheFileThatWasThereAndReadsItsOwn) {
  const std::string path = WriteImage();
  folder_.Write("out.zrm", "old");
  EXPECT_EQ(0, Run({"convert", path, Out()}).exitStatus);
  EXPECT_EQ(0, Run({"convert", Out(), folder_.Path("again.ZRM")}).exitStatus);
  EXPECT_EQ(Samples(path, "3"), Samples(folder_.Path("again.ZRM"), "3"));
}

TEST_F(ZrkioConvert, RefusesWhatCannotBeWritten) {
  const std::string path = WriteImage();
  const std::string lost = folder_.Path("none/out.zrm");
  for (const char* name : {"out.png", "out.zrm2", "out"}) {
    const std::string other = folder_.Path(name);
    EXPECT_EQ(Failure(path, "can't write " + other +
                                ": only native rasters (.zrm), TIFF files (.tif, .tiff) and "
                                "JPEG 2000 files (.jp2) can be written"),
              Refuse({"convert", path, other}));
  }
  EXPECT_EQ(Failure(path, "can't write " + lost + " (No such file or directory)"), Refuse({"convert", path, lost}));
  EXPECT_EQ(Failure(path, "the window is not within columns 0 to 599 and rows 0 to 499"),
            Run({"convert", path, Out(), "--window", "0,600,0,1"}).err);
  EXPECT_EQ(Failure(lost, "no such file"), Refuse({"convert", lost, Out()}));
  std::filesystem::create_directory(Out());
  EXPECT_EQ(Failure(path, "can't write " + Out() + " (Is a directory)"), Refuse({"convert", path, Out()}));
  EXPECT_EQ((Names{"a.bmp", "out.zrm"}), ListFiles());
}

TEST_F(ZrkioConvert, IsNeverPutInPlaceOfTheImage) {
  Run({"convert", WriteImage(), Out()});
  const Bytes bytes = ReadBytes(Out());
  std::filesystem::create_symlink(Out(), folder_.Path("link.zrm"));
  const ProgramResult result = Run({"convert", Out(), folder_.Path("link.zrm")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ(Failure(Out(), "the output would take the place of this file"), result.err);
  EXPECT_EQ(bytes, ReadBytes(Out()));
}

TEST_F(ZrkioConvert, BadNumbersAreBadUsage) {
  const std::string path = WriteImage();
  EXPECT_EQ(2, Run({"convert", path}).exitStatus);
  EXPECT_EQ(2, Run({"convert", path, Out(), "--max-error", "-1"}).exitStatus);
  EXPECT_EQ(2, Run({"convert", path, Out(), "--max-error", "nan"}).exitStatus);
  EXPECT_EQ(2, Run({"convert", path, Out(), "--levels", "-1"}).exitStatus);
  EXPECT_EQ(2, Run({"convert", path, Out(), "--window", "0,1,2"}).exitStatus);
  EXPECT_EQ(2, Run({"convert", path, Out(), "--bands", "0"}).exitStatus);
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioConvert, AFailureKeepsTheFileThatWasThere) {
  const std::string path = WriteImage();
  folder_.Write("out.zrm", "precious");
  ProgramOptions options;
  options.inChild = &LimitFileSize;
  for (const bool isCompressed : {false, true}) {
    std::vector<std::string> arguments = {"convert", path, Out()};
    if (isCompressed) arguments.insert(arguments.end(), {"--max-error", "0"});
    const ProgramResult result = Run(arguments, options);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ(Failure(path, "Fail to write Data"), result.err);
    EXPECT_EQ(8u, ReadBytes(Out()).size());
    EXPECT_EQ(2, CountFiles());
  }
}

TEST_F(ZrkioConvert, ADamagedImageLeavesNothingBehind) {
  Bytes bytes = JpegBuilder().Size(600, 500).Build();
  bytes.resize(bytes.size() / 2);
  const std::string path = Write("a.jpg", bytes);
  EXPECT_EQ(Failure(path, "premature end of file"), Run({"convert", path, Out()}).err);
  EXPECT_EQ(1, Run({"convert", path, Out(), "--max-error", "1"}).exitStatus);
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioConvert, StopsCleanlyAndLeavesNothingBehind) {
  const std::string path = WriteHuge("a.bmp", 12000);
  for (const bool isCompressed : {false, true}) {
    ProgramOptions options;
    options.whileRunning = [&](pid_t child) {
      WaitForOutput(1);
      kill(child, SIGTERM);
    };
    std::vector<std::string> arguments = {"convert", path, Out()};
    if (isCompressed) arguments.insert(arguments.end(), {"--max-error", "0"});
    const ProgramResult result = Run(arguments, options);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ(Failure(path, "stopped"), result.err);
    EXPECT_EQ(1, CountFiles());
  }
}

TEST_F(ZrkioConvert, AKilledRunLeavesAWholeFileOrNoneUnderTheName) {
  const std::string path = WriteLarge("a.bmp", kKillSize, kKillSize);
  ASSERT_EQ(0, Run({"convert", path, Out()}).exitStatus);
  const Bytes whole = ReadBytes(Out());
  int numInspected = 0;
  const int numKilled = KillAtManyMoments({"convert", path, Out()}, kNumKills, [&] {
    if (std::filesystem::exists(Out())) {
      ASSERT_EQ(whole, ReadBytes(Out()));
    }
    if (++numInspected % 10 == 0) {
      EXPECT_EQ(0, Run({"convert", path, Out()}).exitStatus);
      EXPECT_EQ(whole, ReadBytes(Out()));
    }
    for (const std::string& name : ListFiles()) {
      if (name != "a.bmp") std::filesystem::remove(folder_.Path(name));
    }
  });
  EXPECT_EQ(kNumKills, numKilled);
}

}  // namespace
