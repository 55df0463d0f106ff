// JPEG 2000 files that several threads write, and saves that are stopped or fail on the way.

#include "FaultyDisk.h"
#include "Jp2Writing.h"
#include "ThreadRuns.h"
#include "XSystem.h"

namespace {

/// Gives back the number of workers.
class Jp2Workers {
 public:
  explicit Jp2Workers(int count) : before_(XfnGetWorkerCount()) { XfnSetWorkerCount(count); }
  ~Jp2Workers() { XfnSetWorkerCount(before_); }
  Jp2Workers(const Jp2Workers&) = delete;
  Jp2Workers& operator=(const Jp2Workers&) = delete;

 private:
  int before_;
};

class XRSFile2JP2Threads : public Jp2Writing {
 protected:
  XRSFile2JP2Threads() {
    for (unsigned i = 0; i < 3; ++i) AddSamples(200, 170, PictureSamples<std::uint8_t>(200, 170, i));
  }
  std::vector<unsigned char> SaveBy(int numWorkers, int tileSide, const Jp2Choice& how) {
    const Jp2Workers workers(numWorkers);
    writer_.SetTileSize(tileSide);
    EXPECT_EQ(1, SaveImage(how)) << Error();
    return ReadBytes(Out());
  }
};

TEST_F(XRSFile2JP2Threads, WriteTheSameBytesWhateverTheirNumber) {
  for (const int tileSide : {32, 90, 1024}) {
    for (const char* rates : {"", "0.5,2"}) {
      const auto alone = SaveBy(1, tileSide, {.rates = rates});
      for (const int numWorkers : {2, 3, 8}) {
        const auto together = SaveBy(numWorkers, tileSide, {.rates = rates, .useThreads = 1});
        EXPECT_TRUE(alone == together) << tileSide << " " << rates << " " << numWorkers;
      }
    }
  }
}

TEST_F(XRSFile2JP2Threads, MaySaveOneDatasetAtOnce) {
  const auto alone = SaveBy(1, 64, {});
  RunOnThreads(4, [&](int t) {
    XRSFile2JP2 writer;
    writer.SetXRSFile(file_.get());
    writer.SetTileSize(64);
    XString err;
    const std::string path = Out("b" + std::to_string(t));
    EXPECT_EQ(1, writer.Save(path, 0, 199, 0, 169, err, 1, "", 0, 0, nullptr)) << err;
    EXPECT_TRUE(alone == ReadBytes(path));
  });
}

TEST_F(XRSFile2JP2Threads, HearAStopAtEachReport) {
  const Jp2Workers workers(3);
  writer_.SetTileSize(32);
  int numStops = 0;
  for (int report = 1; report < 100; ++report) {
    PercentKeeper keeper(report);
    XThread thread(&keeper);
    if (SaveImage({.useThreads = 1}, &thread)) break;
    EXPECT_EQ(kUntouched, Error());
    EXPECT_EQ(XThread::kResultCancel, thread.GetResultCode());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
    ++numStops;
  }
  // One at least, before anything is read.
  EXPECT_GE(numStops, 1);
}

TEST_F(XRSFile2JP2Threads, ReportPercentagesThatGrow) {
  const Jp2Workers workers(2);
  writer_.SetTileSize(32);
  PercentKeeper keeper;
  XThread thread(&keeper);
  ASSERT_EQ(1, SaveImage({.useThreads = 1}, &thread));
  EXPECT_TRUE(std::is_sorted(keeper.percents.begin(), keeper.percents.end()));
  EXPECT_EQ(0, keeper.percents.front());
  EXPECT_GE(keeper.percents.back(), 50);
  EXPECT_LE(keeper.percents.back(), 100);
}

TEST_F(XRSFile2JP2Threads, LeaveNothingWhereTheDiskFails) {
  const Jp2Workers workers(3);
  writer_.SetTileSize(64);
  int nth = 1;
  for (; nth < 100; ++nth) {
    FaultyDisk disk;
    disk.FailWrite(nth);
    const zrk::ScopedDisk scoped(disk);
    if (SaveImage({.useThreads = 1})) break;
    EXPECT_EQ("The file can't be written", Error());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
  }
  // Twelve tiles, the end, and the head.
  EXPECT_EQ(15, nth);
}

}  // namespace
