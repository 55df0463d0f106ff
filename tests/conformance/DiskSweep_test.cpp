// Every call to the disk fails once. For each reader, which is each small sample, and each writer of the list below,
// the first call fails, then the second, and so on until all succeed: with an error of the medium, with a full disk,
// and by coming short. A reader then says why it failed, or gives what the file holds. A writer says why it failed and
// leaves the old file of the name, or has written the right one. Neither keeps a file open.
//
// A reader joins by its sample, a writer by a row of `AllWriters`.

#include "ByteFlips.h"
#include "LevelDataset.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XPath.h"
#include "XRSFile2JP2.h"
#include "XRSFile2Tiff.h"
#include "XRSFile2XLD.h"
#include "XRSFile2ZRM.h"
#include "XRSFileIO.h"
#include "XSpatialReference.h"
#include "XWorldFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr DiskFault kFaults[] = {DiskFault::kError, DiskFault::kFull, DiskFault::kShort};
constexpr int kMaxCalls = 20000;  // of one operation; no sample or writer needs near as many

std::ptrdiff_t CountOpenFiles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

/// Runs an operation on a disk whose N-th call fails, for every N. `operate` is given the disk and says what is wrong,
/// or "".
template <class Operate>
void Sweep(const Operate& operate) {
  for (const DiskFault fault : kFaults) {
    bool wasReached = true;
    for (int nth = 1; wasReached && nth < kMaxCalls; nth += CallStep(nth)) {
      FaultyDisk disk;
      const std::ptrdiff_t numOpen = CountOpenFiles();
      disk.FailCall(nth, fault);
      const std::string wrong = operate(disk);
      wasReached = disk.GetCallCount() >= nth;
      ASSERT_EQ("", wrong) << "call " << nth << " with fault " << static_cast<int>(fault);
      ASSERT_EQ(numOpen, CountOpenFiles()) << "call " << nth << " with fault " << static_cast<int>(fault);
    }
    ASSERT_FALSE(wasReached) << "no end of calls";
  }
}

// Readers

/// What a dataset gave: pixels of all bands at two levels, empty where a read failed, or the reason why there is none.
struct ReadOutcome {
  bool isOpen = false;
  XString err;
  std::vector<Pixels> pixels;
};

ReadOutcome ReadAll(const Sample& sample, const std::string& path) {
  ReadOutcome outcome;
  XRSFile file;
  file.SetReadPolicy(sample.policy);
  outcome.isOpen = XRSFileIO::LoadFileRaster(&file, sample.formatId, path, outcome.err, 1, kLevelNone, nullptr) != 0;
  for (int i = 0; outcome.isOpen && i < file.GetNumOfBands(); ++i) {
    for (const int level : {0, 1})
      outcome.pixels.push_back(ReadPixels(*file.GetBandAt(i), level, WholeWindowOf(*file.GetBandAt(i))));
  }
  return outcome;
}

/// Blocks of a TIFF that can't be read are left out of the pixels, as readers of damaged files are used to.
bool LeavesOutBlocks(const Sample& sample) {
  return sample.formatId == kFormatTIF;
}

/// Columns of heights that can't be read are 0 from there on. A read that comes short may end in the middle of a
/// height.
bool IsZeroForMissing(const Sample& sample, const std::vector<unsigned char>& mine,
                      const std::vector<unsigned char>& right) {
  if (sample.formatId != kFormatDTED) return false;
  int numOthers = 0;
  for (std::size_t i = 0; i + 1 < mine.size(); i += 2) {
    const bool isRight = mine[i] == right[i] && mine[i + 1] == right[i + 1];
    if (!isRight && (mine[i] != 0 || mine[i + 1] != 0)) ++numOthers;
  }
  return numOthers <= 1;
}

/// The loader of these frames sets no message.
bool FailsInSilence(const Sample& sample) {
  return sample.formatId == kFormatCADRG;
}

bool MayBe(const Sample& sample, const Pixels& mine, const Pixels& right) {
  if (mine.bytes.empty() || mine == right) return true;
  if (mine.bytes.size() != right.bytes.size()) return false;
  return LeavesOutBlocks(sample) || IsZeroForMissing(sample, mine.bytes, right.bytes);
}

std::string FindWrong(const Sample& sample, const ReadOutcome& outcome, const ReadOutcome& right) {
  if (!outcome.isOpen) return outcome.err.IsEmpty() && !FailsInSilence(sample) ? "failed without a sentence" : "";
  if (outcome.pixels.size() != right.pixels.size()) return "lacks bands";
  for (std::size_t i = 0; i < right.pixels.size(); ++i) {
    if (!MayBe(sample, outcome.pixels[i], right.pixels[i])) return "gave wrong pixels";
  }
  return "";
}

class ReaderSweep : public testing::TestWithParam<Sample> {};

TEST_P(ReaderSweep, FailsWithASentenceOrIsRight) {
  const Sample& sample = GetParam();
  const std::string path = PathOf(sample);
  const ReadOutcome right = ReadAll(sample, path);
  ASSERT_TRUE(right.isOpen) << right.err;
  Sweep([&](FaultyDisk& disk) {
    const zrk::ScopedDisk scoped(disk);
    return FindWrong(sample, ReadAll(sample, path), right);
  });
}

INSTANTIATE_TEST_SUITE_P(Formats, ReaderSweep, testing::ValuesIn(SmallSamples()),
                         [](const auto& one) { return std::string(one.param.name); });

// Writers

/// A way to write a file. It answers 1, or 0 with the reason in `err`.
struct Writer {
  const char* name;
  const char* fileName;
  int (*write)(XRSFile& source, const std::string& path, XString& err);
  bool changesInPlace = false;     ///< a file that has to be there, and stays whole
  bool givesNoReason = false;      ///< at least where the file can't be created
  bool leavesWhatItBegan = false;  ///< under a name that was free, marked so that no reader takes it
  friend std::ostream& operator<<(std::ostream& stream, const Writer& writer) { return stream << writer.name; }
};

int WriteNative(XRSFile& source, const std::string& path, int mode, XString& err) {
  XRSFile2ZRM writer;
  writer.SetXRSFile(&source);
  return writer.Save(path, 2, 0, 39, 0, 36, mode, 0.0, err, nullptr);
}

int WriteTiff(XRSFile& source, const std::string& path, XString& err) {
  XRSFile2Tiff writer;
  writer.SetXRSFile(&source);
  return writer.Save(path, 0, 39, 0, 36, err, nullptr);
}

int WriteJp2(XRSFile& source, const std::string& path, XString& err) {
  XRSFile2JP2 writer;
  writer.SetXRSFile(&source);
  writer.SetTileSize(16);
  return writer.Save(path, 0, 39, 0, 36, err, 1, "", 0, 0, nullptr);
}

int WriteLevels(XRSFile& source, const std::string& path, int mode, XString& err) {
  XRSFile2XLD writer;
  writer.SetXRSFile(&source);
  return writer.Save(path, err, mode, nullptr);
}

int ChangeReference(XRSFile& source, const std::string& path, XString& err) {
  source.SetFilePath(path.substr(0, path.rfind('.')));
  XSpatialReference reference;
  reference.importFromEPSG(4326);
  return XRSFileIO::UpdateFileXLD_SR(&source, &reference, err);
}

int WriteWorldFile(XRSFile& source, const std::string& path, XString&) {
  double x = 0.0, y = 0.0;
  source.GetBandAt(0)->ConvPixelToWorldCoord(x, y);
  return XWorldFile::Write(path, 2.0, 3.0, x, y);
}

std::vector<Writer> AllWriters() {
  return {
      {"NativePlain", "a.zrm", [](XRSFile& s, const std::string& p, XString& e) { return WriteNative(s, p, 100, e); },
       false, false, true},
      {"NativeCompressed", "a.zrm",
       [](XRSFile& s, const std::string& p, XString& e) { return WriteNative(s, p, 1, e); }, false, false, true},
      {"Tiff", "a.tif", &WriteTiff, false, true},
      {"Jp2", "a.jp2", &WriteJp2},
      {"LevelsShort", "a.xld",
       [](XRSFile& s, const std::string& p, XString& e) { return WriteLevels(s, p, kLevelStatistics, e); }},
      {"LevelsFull", "a.xld",
       [](XRSFile& s, const std::string& p, XString& e) { return WriteLevels(s, p, kLevelBuild, e); }},
      {"LevelsReference", "a.xld", &ChangeReference, true},
      {"WorldFile", "a.tfw", &WriteWorldFile, false, true},
  };
}

void FillSource(XRSFile& source, unsigned seed) {
  for (unsigned i = 0; i < 2; ++i) {
    AddDirectBand(source, 40, 37, RandomSamples<std::uint8_t>(40, 37, seed + i)).SetUpperLeft(seed, 500.0);
  }
}

using Bytes = std::vector<unsigned char>;

class WriterSweep : public testing::TestWithParam<Writer> {
 protected:
  using Present = std::optional<Bytes>;  // nothing where there is no file

  WriterSweep() : path_(folder_.Path(GetParam().fileName)) {}

  int Write(unsigned seed, XString& err) const {
    XRSFile source;
    FillSource(source, seed);
    return GetParam().write(source, path_, err);
  }
  /// The folder with one file in it, or none.
  void Restore(const Present& file) const {
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) std::filesystem::remove(entry);
    if (file) folder_.Write(GetParam().fileName, *file);
  }
  Present Look() const { return std::filesystem::exists(path_) ? Present(ReadBytes(path_)) : std::nullopt; }

  /// What a writer makes of `old` on a disk without faults.
  Bytes WriteOver(const Present& old, unsigned seed) const {
    Restore(old);
    XString err;
    EXPECT_TRUE(Write(seed, err)) << err;
    return ReadBytes(path_);
  }
  /// What there is before: for one that changes files a level file, otherwise nothing or another file of the name.
  std::vector<Present> MakeOldFiles() const {
    if (!GetParam().changesInPlace) return {std::nullopt, WriteOver(std::nullopt, 1)};
    XRSFile source;
    FillSource(source, 7);
    XString err;
    EXPECT_TRUE(WriteLevels(source, path_, kLevelBuild, err)) << err;
    return {ReadBytes(path_)};
  }

  /// Whether an unfinished file of a raster is known as such.
  bool IsRefused() const {
    XRSFile file;
    XString err;
    const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path_));
    return !XRSFileIO::LoadFileRaster(&file, id, path_, err, 0, kLevelNone, nullptr);
  }

  std::string WriteAndCheck(FaultyDisk& disk, const Present& old, const Bytes& right) const {
    Restore(old);
    XString err;
    int isWritten = 0;
    {
      const zrk::ScopedDisk scoped(disk);
      isWritten = Write(7, err);
    }
    const Present present = Look();
    if (isWritten) return present == right ? "" : "says that it wrote, and did not";
    if (err.IsEmpty() && !GetParam().givesNoReason) return "failed without a sentence";
    if (present == old || present == right) return "";
    if (!old && GetParam().leavesWhatItBegan && IsRefused()) return "";
    return old ? "lost the old file" : "left an unfinished file";
  }

  TempFolder folder_;
  std::string path_;
};

TEST_P(WriterSweep, LeavesTheOldFileOrTheRightOne) {
  for (const Present& old : MakeOldFiles()) {
    const Bytes right = WriteOver(old, 7);
    ASSERT_NE(right, old.value_or(Bytes()));
    Sweep([&](FaultyDisk& disk) { return WriteAndCheck(disk, old, right); });
  }
}

INSTANTIATE_TEST_SUITE_P(All, WriterSweep, testing::ValuesIn(AllWriters()),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
