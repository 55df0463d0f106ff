#include "ConvertProgram.h"
#include "JpegBuilder.h"
#include "TiffBuilder.h"

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sys/prctl.h>

namespace {

class ZrkioConvertTiffFailure : public ZrkioConversion {
 protected:
  std::string Out() const { return folder_.Path("out.tif"); }
  /// As `WriteHuge`, and placed, so that there is a world file too.
  std::string WriteHugePlaced() {
    folder_.Write("a.bmw", "0.5\n0\n0\n-0.25\n100\n200\n");
    return WriteHuge("a.bmp", 12000);
  }
  ProgramResult Disturb(const std::string& path, std::function<void(pid_t)> act) {
    ProgramOptions options;
    options.whileRunning = [&](pid_t child) {
      WaitForOutput(2);
      act(child);
    };
    return Run({"convert", path, Out()}, options);
  }
};

TEST_F(ZrkioConvertTiffFailure, RefusesWhatCannotBeWritten) {
  const std::string path = WriteImage(), lost = folder_.Path("none/out.tif");
  EXPECT_EQ(Failure(path, "can't write " + lost + " (No such file or directory)"), Refuse({"convert", path, lost}));
  EXPECT_EQ(Failure(path, "there is no band 4, only 1 to 3"), Refuse({"convert", path, Out(), "--bands", "4"}));
  EXPECT_EQ(Failure(path, "the window is not within columns 0 to 599 and rows 0 to 499"),
            Run({"convert", path, Out(), "--bands", "2", "--window", "0,1,0,500"}).err);
  std::filesystem::create_directory(Out());
  EXPECT_EQ(Failure(path, "can't write " + Out() + " (Is a directory)"), Refuse({"convert", path, Out()}));
  EXPECT_EQ((Names{"a.bmp", "out.tif"}), ListFiles());
}

TEST_F(ZrkioConvertTiffFailure, RefusesComplexSamples) {
  const std::string path = Write("a.tif", TiffBuilder().Bits(64).Format(6).Build());
  EXPECT_EQ(Failure(path, "only integer and real samples can be written to a TIFF file, and band 1 has others"),
            Refuse({"convert", path, Out()}));
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioConvertTiffFailure, NamesABandByItsNumberInTheImage) {
  const std::string path = Write("a.tif", TiffBuilder().Samples(5).Bits(64).Format(6).Build());
  EXPECT_EQ(Failure(path, "only integer and real samples can be written to a TIFF file, and band 5 has others"),
            Refuse({"convert", path, Out(), "--bands", "5,3"}));
}

TEST_F(ZrkioConvertTiffFailure, AFolderThatCannotBeWrittenStaysAsItIs) {
  const std::string path = WriteImage(), out = folder_.Path("closed/out.tif");
  std::filesystem::create_directory(folder_.Path("closed"));
  std::filesystem::permissions(folder_.Path("closed"), std::filesystem::perms(0555));
  ProgramOptions options;
  options.inChild = [] { prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE); };  // by which root may write anywhere
  EXPECT_EQ(Failure(path, "can't write " + out + " (Permission denied)"), Refuse({"convert", path, out}, options));
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path("closed")));
}

TEST_F(ZrkioConvertTiffFailure, AFileThatCannotGrowKeepsTheOneThatWasThere) {
  const std::string path = WriteImage();
  folder_.Write("out.tif", "precious");
  folder_.Write("out.tfw", "place");
  ProgramOptions options;
  options.inChild = &LimitFileSize;
  EXPECT_EQ(Failure(path, "Fail to write data!!!"), Refuse({"convert", path, Out()}, options));
  EXPECT_EQ(8u, ReadBytes(Out()).size());
  EXPECT_EQ((Names{"a.bmp", "out.tif", "out.tfw"}), ListFiles());
}

TEST_F(ZrkioConvertTiffFailure, ADamagedImageLeavesNothingBehind) {
  for (const bool isGrey : {true, false}) {
    JpegBuilder jpeg;
    jpeg.Size(600, 500);
    if (isGrey) jpeg.Grey();
    Bytes bytes = jpeg.Build();
    bytes.resize(bytes.size() / 2);
    const std::string path = Write("a.jpg", bytes);
    EXPECT_EQ(Failure(path, "premature end of file"), Refuse({"convert", path, Out()}));
    EXPECT_EQ(1, CountFiles());
  }
}

TEST_F(ZrkioConvertTiffFailure, StopsCleanlyAndLeavesNothingBehind) {
  const std::string path = WriteHugePlaced();
  for (const int signalNumber : {SIGINT, SIGTERM}) {
    const ProgramResult result = Disturb(path, [&](pid_t child) { kill(child, signalNumber); });
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ(Failure(path, "stopped"), result.err);
    EXPECT_EQ((Names{"a.bmp", "a.bmw"}), ListFiles());
  }
}

TEST_F(ZrkioConvertTiffFailure, ASecondSignalLeavesNothingBehindEither) {
  const std::string path = WriteHugePlaced();
  const ProgramResult result = Disturb(path, [](pid_t child) { SendTogether(child, {SIGINT, SIGTERM}); });
  EXPECT_TRUE(result.signal == SIGINT || result.signal == SIGTERM) << result.signal;
  EXPECT_EQ((Names{"a.bmp", "a.bmw"}), ListFiles());
}

TEST_F(ZrkioConvertTiffFailure, AKilledRunLeavesWholeFilesOrNoneUnderTheNames) {
  const std::string path = WriteLarge("a.bmp", kKillSize, kKillSize);
  folder_.Write("a.bmw", "0.5\n0\n0\n-0.25\n100\n200\n");
  ASSERT_EQ(0, Run({"convert", path, Out()}).exitStatus);
  const Bytes image = ReadBytes(Out()), place = ReadBytes(folder_.Path("out.tfw"));
  ASSERT_FALSE(place.empty());
  const int numKilled = KillAtManyMoments({"convert", path, Out()}, kNumKills, [&] {
    for (const std::string& name : ListFiles()) {
      if (name == "out.tif") {
        ASSERT_EQ(image, ReadBytes(Out()));
      }
      if (name == "out.tfw") {
        ASSERT_EQ(place, ReadBytes(folder_.Path(name)));
      }
      if (!name.starts_with("a.")) std::filesystem::remove(folder_.Path(name));
    }
  });
  EXPECT_EQ(kNumKills, numKilled);
}

}  // namespace
