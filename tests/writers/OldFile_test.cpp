// What becomes of a file of the name, and what is told of the save, where one is done, fails or is stopped. All writers
// are held to the same.

#include "FaultyDisk.h"
#include "LevelDataset.h"
#include "LoggedBand.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XRSFile2JP2.h"
#include "XRSFile2Tiff.h"
#include "XRSFile2XLD.h"
#include "XRSFile2ZRM.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

/// A writer with its own way to be called.
struct Writer {
  std::string name;
  std::function<int(XRSFile&, const std::string& path, XString& err, XThread* thread)> save;
  bool keepsUnfinished = false;  ///< beside the old file
  friend std::ostream& operator<<(std::ostream& stream, const Writer& writer) { return stream << writer.name; }
};

const ZRMBand& First(const XRSFile& file) {
  return *file.GetBandAt(0);
}

Writer Native(const std::string& name, int mode) {
  return {name,
          [mode](XRSFile& file, const std::string& path, XString& err, XThread* thread) {
            XRSFile2ZRM writer;
            writer.SetXRSFile(&file);
            const int x1 = First(file).GetXSize() - 1, y1 = First(file).GetYSize() - 1;
            return writer.Save(path, 9, 0, x1, 0, y1, mode, 0.0, err, thread);
          },
          true};
}

const std::vector<Writer>& Writers() {
  static const std::vector<Writer> writers = {
      {"Tiff",
       [](XRSFile& file, const std::string& path, XString& err, XThread* thread) {
         XRSFile2Tiff writer;
         writer.SetXRSFile(&file);
         return writer.Save(path, 0, First(file).GetXSize() - 1, 0, First(file).GetYSize() - 1, err, thread);
       }},
      {"Jp2",
       [](XRSFile& file, const std::string& path, XString& err, XThread* thread) {
         XRSFile2JP2 writer;
         writer.SetXRSFile(&file);
         writer.SetTileSize(200);
         const int x1 = First(file).GetXSize() - 1, y1 = First(file).GetYSize() - 1;
         return writer.Save(path, 0, x1, 0, y1, err, 1, "", 0, 0, thread);
       }},
      Native("NativePlain", 0),
      Native("NativeCompressed", 3),
      {"Levels",
       [](XRSFile& file, const std::string& path, XString& err, XThread* thread) {
         XRSFile2XLD writer;
         writer.SetXRSFile(&file);
         return writer.Save(path, err, 3, thread);
       }},
      {"Statistics", [](XRSFile& file, const std::string& path, XString& err, XThread* thread) {
         XRSFile2XLD writer;
         writer.SetXRSFile(&file);
         return writer.Save(path, err, 1, thread);
       }}};
  return writers;
}

class OldFile : public testing::TestWithParam<Writer> {
 protected:
  static constexpr const char* kOld = "a good old file";

  OldFile() { AddDirectBand(file_, 64, 420, RandomSamples<std::uint8_t>(64, 420)); }

  std::string Path(const std::string& name = "a") const { return folder_.Path(name); }
  int Save(XThread* thread = nullptr, const std::string& name = "a") {
    err_.Empty();
    return GetParam().save(file_, Path(name), err_, thread);
  }
  std::string TextOf(const std::string& name) const {
    const auto bytes = ReadBytes(Path(name));
    return {bytes.begin(), bytes.end()};
  }
  /// What stands beside the file of the name.
  std::size_t CountOthers() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder_.Path()), {})) - 1;
  }
  /// The old file is as it was, and what was begun is beside it or gone.
  void ExpectOldFile() {
    EXPECT_EQ(kOld, TextOf("a"));
    EXPECT_EQ(GetParam().keepsUnfinished ? fs::exists(Path("a_tmp")) : 0u, CountOthers());
    fs::remove(Path("a_tmp"));
  }

  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

TEST_P(OldFile, SurvivesEveryStop) {
  folder_.Write("a", kOld);
  int numStops = 0;
  for (int report = 1; report < 50; ++report, ++numStops) {
    PercentKeeper keeper(report);
    XThread thread(&keeper);
    const int isSaved = Save(&thread);
    if (static_cast<int>(keeper.percents.size()) < report) break;
    if (isSaved) break;  // the last report comes when all is written
    EXPECT_TRUE(err_.IsEmpty()) << err_;
    EXPECT_EQ(XThread::kResultCancel, thread.GetResultCode());
    ExpectOldFile();
  }
  EXPECT_GT(numStops, 1);
}

struct OldFileFault {
  const char* name;
  void (*fail)(FaultyDisk& disk, int nth);
  bool isOfSome = false;  ///< of the writers, not of all
};
constexpr OldFileFault kOldFileFaults[] = {
    {"open", [](FaultyDisk& disk, int nth) { disk.FailOpen(nth); }},
    {"write", [](FaultyDisk& disk, int nth) { disk.FailWrite(nth); }},
    {"sync", [](FaultyDisk& disk, int nth) { disk.FailSync(nth); }},
    {"close", [](FaultyDisk& disk, int nth) { disk.FailClose(nth); }},
    {"rename", [](FaultyDisk& disk, int nth) { disk.FailRename(nth); }},
    {"set size", [](FaultyDisk& disk, int nth) { disk.FailSetSize(nth); }, true}};

TEST_P(OldFile, SurvivesEveryFaultOfTheDisk) {
  for (const OldFileFault& fault : kOldFileFaults) {
    folder_.Write("a", kOld);
    int nth = 1;
    for (; nth < 1000; ++nth) {
      SCOPED_TRACE(testing::Message() << fault.name << " " << nth);
      XThread thread;
      FaultyDisk disk;
      fault.fail(disk, nth);
      const zrk::ScopedDisk scoped(disk);
      if (Save(&thread)) break;
      EXPECT_EQ(XThread::kResultFailure, thread.GetResultCode());
      ExpectOldFile();
    }
    EXPECT_LT(nth, 1000);
    // A call that never comes can't fail.
    EXPECT_TRUE(nth > 1 || fault.isOfSome) << fault.name;
    EXPECT_NE(kOld, TextOf("a"));
    EXPECT_EQ(0u, CountOthers());
  }
}

TEST_P(OldFile, SurvivesABandThatCannotBeRead) {
  if (GetParam().name == "Statistics") GTEST_SKIP() << "such a band has none";
  folder_.Write("a", kOld);
  static_cast<DirectMemoryBand&>(*file_.GetBandAt(0)).FailReads();
  XThread thread;
  EXPECT_EQ(0, Save(&thread));
  EXPECT_FALSE(err_.IsEmpty());
  EXPECT_EQ(XThread::kResultFailure, thread.GetResultCode());
  EXPECT_EQ(err_, thread.GetMessageText());
  ExpectOldFile();
}

TEST_P(OldFile, IsReplacedBehindALink) {
  folder_.Write("b", kOld);
  fs::create_symlink("b", Path("a"));
  ASSERT_EQ(1, Save()) << err_;
  EXPECT_TRUE(fs::is_symlink(Path("a")));
  EXPECT_NE(kOld, TextOf("b"));
  EXPECT_EQ(1u, CountOthers());
}

TEST_P(OldFile, SurvivesBehindALinkWhereASaveIsStopped) {
  folder_.Write("b", kOld);
  fs::create_symlink("b", Path("a"));
  PercentKeeper keeper(1);
  XThread thread(&keeper);
  ASSERT_EQ(0, Save(&thread));
  EXPECT_TRUE(fs::is_symlink(Path("a")));
  EXPECT_EQ(kOld, TextOf("b"));
}

/// Throws at one of the messages.
class ThrowingTarget : public XMessageTarget {
 public:
  explicit ThrowingTarget(int throwAt) : throwAt_(throwAt) {}
  void PostMessage(unsigned, XThread*, long) override {
    if (++numMessages_ == throwAt_) throw std::runtime_error("the target has gone");
  }

 private:
  int throwAt_;
  int numMessages_ = 0;
};

TEST_P(OldFile, SurvivesAMessageThatThrows) {
  folder_.Write("a", kOld);
  for (int throwAt = 1; throwAt <= 2; ++throwAt) {
    ThrowingTarget target(throwAt);
    XThread thread(&target);
    EXPECT_EQ(0, Save(&thread));
    EXPECT_EQ(XThread::kResultCancel, thread.GetResultCode());
    ExpectOldFile();
  }
}

TEST_P(OldFile, IsReplacedByASaveThatTellsSo) {
  folder_.Write("a", kOld);
  PercentKeeper keeper;
  XThread thread(&keeper);
  thread.SetPercentRange(20, 60);
  ASSERT_EQ(1, Save(&thread)) << err_;
  EXPECT_EQ(XThread::kResultSuccess, thread.GetResultCode());
  EXPECT_NE(kOld, TextOf("a"));
  EXPECT_EQ(0u, CountOthers());
  int first = 0, last = 0;
  thread.GetPercentRange(first, last);
  EXPECT_EQ(20, first);
  EXPECT_EQ(60, last);
}

TEST_P(OldFile, TellsASaveOfNothingFromAStop) {
  XThread thread;
  EXPECT_EQ(0, GetParam().save(file_, "", err_, &thread));
  EXPECT_EQ(XThread::kResultFailure, thread.GetResultCode());
  EXPECT_TRUE(err_.IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Of, OldFile, testing::ValuesIn(Writers()),
                         [](const auto& writer) { return writer.param.name; });

/// Windows that a band does not have.
TEST(OldNativeRaster, SurvivesAWindowThatIsNone) {
  TempFolder folder;
  XRSFile file;
  AddDirectBand(file, 20, 20, RandomSamples<std::uint8_t>(20, 20));
  folder.Write("a.zrm", "good");
  for (const int mode : {0, 3}) {
    for (const int x1 : {-1, 20}) {
      XRSFile2ZRM writer;
      XString err;
      writer.SetXRSFile(&file);
      EXPECT_EQ(0, writer.Save(folder.Path("a.zrm"), 0, 0, x1, 0, 19, mode, 0.0, err, nullptr));
      EXPECT_EQ("Fail to read data", err.AsStdString());
      EXPECT_EQ(4u, ReadBytes(folder.Path("a.zrm")).size());
      EXPECT_FALSE(XFile::Exists(folder.Path("a.zrm_tmp")));
    }
  }
}

/// A dataset without bands, and bands that are no outputs of a sharpening.
TEST(OldNativeRaster, SurvivesBandsThatCannotBeSaved) {
  TempFolder folder;
  const std::string path = folder.Path("a.zrm");
  folder.Write("a.zrm", "good");
  XRSFile none, plain;
  for (int i = 0; i < 3; ++i) AddDirectBand(plain, 20, 20, RandomSamples<std::uint8_t>(20, 20));
  XRSFile2ZRM writer;
  for (XRSFile* file : {&none, &plain}) {
    XString err;
    writer.SetXRSFile(file);
    EXPECT_EQ(0, writer.SaveZRMBandImageSharpen(path, 0, 0, 19, 0, 19, 0, err, nullptr));
    EXPECT_FALSE(err.IsEmpty());
    EXPECT_EQ(4u, ReadBytes(path).size());
  }
  for (const int mode : {0, 3}) {
    XString err;
    writer.SetXRSFile(&none);
    EXPECT_EQ(0, writer.Save(path, 0, 0, 19, 0, 19, mode, 0.0, err, nullptr));
    EXPECT_EQ("No Band found", err);
    EXPECT_EQ(4u, ReadBytes(path).size());
  }
  EXPECT_FALSE(XFile::Exists(path + "_tmp"));
}

}  // namespace
