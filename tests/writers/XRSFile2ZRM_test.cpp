// The writer of native rasters: samples, levels, place and metadata of what it writes, and what is left where it fails
// or is stopped. Samples are compared with those that the test gave to the bands. Levels and places are worked out by
// hand.

#include "XRSFile2ZRM.h"

#include "FaultyDisk.h"
#include "LevelDataset.h"
#include "LoggedBand.h"
#include "ReferencePyramid.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"
#include "ZRMBandEPOT.h"
#include "ZRMBandMosaic.h"
#include "ZRMBandResize.h"

#include <gmock/gmock.h>
#include <unistd.h>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>

using testing::Each;
using testing::ElementsAre;
using testing::Le;

namespace {

class XRSFile2ZRMTest : public testing::Test {
 protected:
  std::string Path() const { return folder_.Path("a.zrm"); }
  void NewDataset() { file_ = std::make_unique<XRSFile>(); }
  template <class Sample>
  DirectMemoryBand& Add(int width, int height, unsigned seed = 1) {
    return AddDirectBand(*file_, width, height, RandomSamples<Sample>(width, height, seed));
  }
  template <class Band>
  Band& AddKind(int width, int height) {
    auto band = std::make_unique<Band>();
    band->SetSamples(width, height, RandomSamples<std::uint8_t>(width, height));
    Band& added = *band;
    file_->AddBand(band.release());
    return added;
  }
  int Save(int level, int x0, int x1, int y0, int y1, int mode = 100, double quality = 0.0, XThread* thread = nullptr) {
    XRSFile2ZRM writer;
    writer.SetXRSFile(file_.get());
    const int isSaved = writer.Save(Path(), level, x0, x1, y0, y1, mode, quality, err_, thread);
    time_ = writer.GetCompressionTime();
    return isSaved;
  }
  int SaveAll(int mode = 100, XThread* thread = nullptr) {
    const ZRMBand& first = *file_->GetBandAt(0);
    return Save(9, 0, first.GetXSize() - 1, 0, first.GetYSize() - 1, mode, 0.0, thread);
  }
  void Open() {
    opened_ = std::make_unique<XRSFile>();
    XString err;
    ASSERT_TRUE(XRSFileIO::LoadFileRaster(opened_.get(), kFormatZRM, Path(), err, 0, 0, nullptr)) << err.GetText();
  }
  template <class Sample>
  std::vector<Sample> Read(int band, int level) {
    ZRMBand& opened = *opened_->GetBandAt(band);
    tagXArr2* out = nullptr;
    if (!opened.ReadSubset(out, level, 0, opened.GetXSize() - 1, 0, opened.GetYSize() - 1, nullptr)) return {};
    return SamplesOf<Sample>(*out);
  }

  TempFolder folder_;
  std::unique_ptr<XRSFile> file_ = std::make_unique<XRSFile>();
  XString err_;
  XString time_;
  std::unique_ptr<XRSFile> opened_;
};

template <class Sample>
std::vector<Sample> Cut(const std::vector<Sample>& samples, int width, int x0, int x1, int y0, int y1) {
  std::vector<Sample> part;
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) part.push_back(samples[static_cast<std::size_t>(y * width + x)]);
  }
  return part;
}

template <class Sample>
class XRSFile2ZRMOf : public XRSFile2ZRMTest {};
using SampleTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(XRSFile2ZRMOf, SampleTypes);

TYPED_TEST(XRSFile2ZRMOf, KeepsSamplesAndLevelsOfOneToFiveBands) {
  for (int numBands = 1; numBands <= 5; ++numBands) {
    for (const int mode : {0, 100, 3}) {
      this->NewDataset();
      for (int i = 0; i < numBands; ++i) this->template Add<TypeParam>(50, 37, static_cast<unsigned>(i));
      ASSERT_EQ(1, this->SaveAll(mode)) << this->err_.GetText();
      this->Open();
      ASSERT_EQ(numBands, this->opened_->GetNumOfBands());
      for (int i = 0; i < numBands; ++i) {
        ReferenceImage<TypeParam> image{50, 37, RandomSamples<TypeParam>(50, 37, static_cast<unsigned>(i))};
        for (int level = 0; level <= 2; ++level) {
          SCOPED_TRACE(testing::Message() << i << ", level " << level);
          ExpectSameSamples(image.samples, this->template Read<TypeParam>(i, level));
          image = MeansOfFour(image);
        }
        ASSERT_EQ(2, this->opened_->GetBandAt(i)->GetLevel());
      }
    }
  }
}

TYPED_TEST(XRSFile2ZRMOf, KeepsAWindow) {
  for (const int mode : {100, 3}) {
    this->template Add<TypeParam>(50, 37);
    ASSERT_EQ(1, this->Save(0, 7, 40, 3, 3, mode));
    this->Open();
    EXPECT_EQ(Cut(RandomSamples<TypeParam>(50, 37), 50, 7, 40, 3, 3), this->template Read<TypeParam>(0, 0));
  }
}

TYPED_TEST(XRSFile2ZRMOf, KeepsTheBoundOnEverySample) {
  this->template Add<TypeParam>(50, 37);
  ASSERT_EQ(1, this->Save(0, 0, 49, 0, 36, 3, 7.5));
  this->Open();
  const auto samples = RandomSamples<TypeParam>(50, 37), given = this->template Read<TypeParam>(0, 0);
  ASSERT_EQ(samples.size(), given.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_LE(std::abs(static_cast<double>(samples[i]) - static_cast<double>(given[i])), 7.5);
  }
}

TYPED_TEST(XRSFile2ZRMOf, MeasuresTheWindowThatIsWritten) {
  for (const int mode : {100, 3}) {
    SCOPED_TRACE(mode);
    this->template Add<TypeParam>(60, 300);
    ASSERT_EQ(1, this->Save(0, 10, 59, 20, 299, mode));
    this->Open();
    const auto samples = Cut(RandomSamples<TypeParam>(60, 300), 60, 10, 59, 20, 299);
    const auto [least, most] = std::ranges::minmax(samples);
    long double sum = 0;
    for (const TypeParam sample : samples) sum += sample;
    ZRMBand& band = *this->opened_->GetBandAt(0);
    EXPECT_EQ(static_cast<double>(least), band.GetBandMin());
    EXPECT_EQ(static_cast<double>(most), band.GetBandMax());
    const auto mean = static_cast<double>(sum / static_cast<long double>(samples.size()));
    EXPECT_NEAR(mean, band.GetBandMean(), std::abs(mean) * 1e-12);
    std::vector<std::int64_t> histogram(256, 0);
    for (const TypeParam sample : samples) {
      const double place =
          (static_cast<double>(sample) - band.GetBandMin()) / (band.GetBandMax() - band.GetBandMin()) * 256;
      ++histogram[static_cast<std::size_t>(std::min(place, 255.0))];
    }
    EXPECT_EQ(histogram, std::vector<std::int64_t>(band.GetHistogram(), band.GetHistogram() + 256));
  }
}

TEST_F(XRSFile2ZRMTest, KeepsFloatsThatAreNoNumbers) {
  auto samples = RandomSamples<float>(40, 30);
  samples[5] = std::numeric_limits<float>::infinity();
  samples[6] = -std::numeric_limits<float>::infinity();
  samples[700] = std::nanf("");
  AddDirectBand(*file_, 40, 30, samples);
  for (const int mode : {100, 3}) {
    ASSERT_EQ(1, Save(0, 0, 39, 0, 29, mode, 5.0));
    Open();
    const auto given = Read<float>(0, 0);
    EXPECT_EQ(samples[5], given[5]);
    EXPECT_EQ(samples[6], given[6]);
    EXPECT_TRUE(std::isnan(given[700]));
  }
}

TEST_F(XRSFile2ZRMTest, SaysNothingOfAnEmptyPathOrNoDataset) {
  XRSFile2ZRM writer;
  EXPECT_EQ(0, writer.Save(Path(), 0, 0, 1, 0, 1, 0, 0.0, err_, nullptr));
  writer.SetXRSFile(file_.get());
  EXPECT_EQ(0, writer.Save("", 0, 0, 1, 0, 1, 0, 0.0, err_, nullptr));
  EXPECT_TRUE(err_.IsEmpty());
}

TEST_F(XRSFile2ZRMTest, WantsABandAndAFile) {
  EXPECT_EQ(0, Save(0, 0, 1, 0, 1));
  EXPECT_EQ(XString("No Band found"), err_);
  Add<std::uint8_t>(20, 20);
  for (const int mode : {0, 3}) {
    XRSFile2ZRM writer;
    writer.SetXRSFile(file_.get());
    EXPECT_EQ(0, writer.Save(folder_.Path("missing/a.zrm"), 0, 0, 1, 0, 1, mode, 0.0, err_, nullptr));
    EXPECT_EQ(XString("Cannot open file to write"), err_);
  }
}

TEST_F(XRSFile2ZRMTest, DoesNotWriteOverTheFileThatItReads) {
  Add<std::uint8_t>(20, 20);
  ASSERT_EQ(1, SaveAll());
  Open();
  const auto before = ReadBytes(Path());
  XRSFile2ZRM writer;
  writer.SetXRSFile(opened_.get());
  EXPECT_EQ(0, writer.Save(Path(), 0, 0, 19, 0, 19, 0, 0.0, err_, nullptr));
  EXPECT_EQ(before, ReadBytes(Path()));
}

TEST_F(XRSFile2ZRMTest, KnowsTheFileThatItReadsByAnyOfItsNames) {
  Add<std::uint8_t>(20, 20);
  ASSERT_EQ(1, SaveAll());
  Open();
  const auto before = ReadBytes(Path());
  std::filesystem::create_symlink(Path(), folder_.Path("soft.zrm"));
  std::filesystem::create_hard_link(Path(), folder_.Path("hard.zrm"));
  for (const char* name : {"./a.zrm", "soft.zrm", "hard.zrm"}) {
    XRSFile2ZRM writer;
    writer.SetXRSFile(opened_.get());
    EXPECT_EQ(0, writer.Save(folder_.Path(name), 0, 0, 19, 0, 19, 0, 0.0, err_, nullptr)) << name;
    EXPECT_EQ(before, ReadBytes(Path())) << name;
  }
}

TEST_F(XRSFile2ZRMTest, ReadsAFileOnThatItTakesTheNameOf) {
  Add<std::uint8_t>(200, 100);
  ASSERT_EQ(1, SaveAll());
  Open();
  ZRMBandMosaic mosaic;
  mosaic.AddBand(opened_->GetBandAt(0));
  ASSERT_TRUE(mosaic.SetBandInfo(0.0, 0.0, 1.0, 1.0, 200, 100, kPint08));
  ASSERT_TRUE(mosaic.CalcWarpCoeff());
  NewDataset();
  auto band = std::make_unique<ZRMBandResize>();
  band->SetSourceBand(&mosaic);
  ASSERT_TRUE(band->SetResizeInfo(0, 199, 0, 99, 200, 100));
  file_->AddBand(band.release());
  ASSERT_EQ(1, SaveAll()) << err_.GetText();
  file_->GetBandAt(0);
  NewDataset();
  Open();
  EXPECT_EQ(RandomSamples<std::uint8_t>(200, 100), Read<std::uint8_t>(0, 0));
}

TEST_F(XRSFile2ZRMTest, LeavesAProtectedFileAlone) {
  if (::geteuid() == 0) GTEST_SKIP() << "nothing is protected from this user";
  Add<std::uint8_t>(20, 20);
  folder_.Write("a.zrm", "protected");
  std::filesystem::permissions(Path(), std::filesystem::perms::owner_read);
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ(XString("Cannot open file to write"), err_);
  EXPECT_EQ(9u, ReadBytes(Path()).size());
}

TEST_F(XRSFile2ZRMTest, WantsADatasetAndABandOnEveryWay) {
  XRSFile2ZRM writer;
  const auto ways = [&] {
    return writer.SaveZRMBandGeneral(Path(), 0, 0, 1, 0, 1, 0, err_, nullptr) +
           writer.SaveZRMBandGeneralComp(Path(), 0, 0, 1, 0, 1, 0.0, err_, nullptr) +
           writer.SaveZRMBandImageSharpen(Path(), 0, 0, 1, 0, 1, 0, err_, nullptr);
  };
  EXPECT_EQ(0, ways());
  writer.SetXRSFile(file_.get());
  EXPECT_EQ(0, ways());
  EXPECT_FALSE(XFile::Exists(Path()));
}

TEST_F(XRSFile2ZRMTest, TakesAnyBound) {
  Add<float>(40, 30);
  for (const double bound : {1e308, std::numeric_limits<double>::infinity(), -1.0, std::nan("")}) {
    ASSERT_EQ(1, Save(0, 0, 39, 0, 29, 3, bound)) << err_.GetText();
    Open();
    const auto given = Read<float>(0, 0), samples = RandomSamples<float>(40, 30);
    ASSERT_EQ(samples.size(), given.size());
    const double allowed = bound > 0.0 ? bound : 0.0;
    for (std::size_t i = 0; i < given.size(); ++i) {
      ASSERT_LE(std::abs(static_cast<double>(samples[i]) - static_cast<double>(given[i])), allowed) << bound;
    }
  }
}

TEST_F(XRSFile2ZRMTest, ReadsOnAfterItsMemoryWasFreed) {
  Add<float>(40, 30);
  ASSERT_EQ(1, SaveAll(3));
  Open();
  EXPECT_FALSE(Read<float>(0, 0).empty());
  opened_->GetBandAt(0)->CleanupMemory(1, 1);
  EXPECT_EQ(RandomSamples<float>(40, 30), Read<float>(0, 0));
}

TEST_F(XRSFile2ZRMTest, LeavesWhatThereIsWhereABandCannotBeRead) {
  Add<std::uint8_t>(20, 20);
  Add<std::uint8_t>(20, 20).FailReads();
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ(XString("Fail to read data"), err_);
  EXPECT_TRUE(XFile::Exists(Path()));
  XRSFile opened;
  EXPECT_EQ(0, opened.LoadFileZRM(Path(), err_, nullptr));  // known as unfinished
  EXPECT_EQ(0, opened.GetNumOfBands());
}

TEST_F(XRSFile2ZRMTest, RefusesAWindowBeyondABand) {
  Add<std::uint8_t>(20, 20);
  for (const int mode : {100, 3}) {
    EXPECT_EQ(0, Save(0, 0, 20, 0, 19, mode));
    EXPECT_EQ(XString("Fail to read data"), err_);
    EXPECT_EQ(0, Save(0, 5, 4, 0, 19, mode));
  }
}

TEST_F(XRSFile2ZRMTest, TellsAReadFromAWriteThatFailsWhereItCompresses) {
  Add<std::uint8_t>(20, 20).FailReads();
  EXPECT_EQ(0, SaveAll(3));
  EXPECT_EQ(XString("Fail to read data"), err_);
}

TEST_F(XRSFile2ZRMTest, SaysThatTheDiskIsFull) {
  Add<std::uint8_t>(60, 60);
  for (const int mode : {100, 3}) {
    for (int nth = 2; nth < 50; ++nth) {
      FaultyDisk disk;
      disk.FailWrite(nth);
      const zrk::ScopedDisk scoped(disk);
      if (SaveAll(mode)) break;
      ASSERT_EQ(XString("Fail to write Data"), err_) << nth;
    }
  }
}

TEST_F(XRSFile2ZRMTest, ClampsTheLevel) {
  Add<std::uint8_t>(60, 60);
  for (const int mode : {100, 3}) {
    ASSERT_EQ(1, Save(-1, 0, 59, 0, 59, mode));
    Open();
    EXPECT_EQ(0, opened_->GetBandAt(0)->GetLevel());
    ASSERT_EQ(1, Save(99, 0, 59, 0, 30, mode));
    Open();
    EXPECT_EQ(2, opened_->GetBandAt(0)->GetLevel());
  }
}

TEST_F(XRSFile2ZRMTest, TakesMode100AsMode0) {
  Add<std::uint8_t>(60, 60);
  ASSERT_EQ(1, SaveAll(0));
  Open();
  const auto plain = Read<std::uint8_t>(0, 1);
  ASSERT_EQ(1, SaveAll(100));
  Open();
  EXPECT_EQ(plain, Read<std::uint8_t>(0, 1));
  EXPECT_TRUE(time_.IsEmpty());
}

TEST_F(XRSFile2ZRMTest, TellsWhatCompressingTook) {
  Add<std::uint8_t>(60, 60);
  ASSERT_EQ(1, SaveAll(3));
  EXPECT_THAT(time_.AsStdString(), testing::MatchesRegex("[0-9]+\\.[0-9]{8} sec"));
}

TEST_F(XRSFile2ZRMTest, LeavesRoomForTheMetadataInTheLastBandsShare) {
  Add<std::uint8_t>(60, 60);
  PercentKeeper keeper;
  XThread thread(&keeper);
  ASSERT_EQ(1, SaveAll(3, &thread));
  EXPECT_EQ(95, keeper.percents.back());
  thread.CallbackPercent(100.0);
  EXPECT_EQ(100, keeper.percents.back());
}

TEST_F(XRSFile2ZRMTest, SharesTheProgressBetweenItsBands) {
  Add<std::uint8_t>(20, 20);
  Add<std::uint8_t>(20, 20);
  PercentKeeper keeper;
  XThread thread(&keeper);
  ASSERT_EQ(1, SaveAll(100, &thread));
  EXPECT_THAT(keeper.percents, ElementsAre(0, 50));
}

TEST_F(XRSFile2ZRMTest, SaysNothingWhereItIsStopped) {
  Add<std::uint8_t>(60, 900);
  for (const int mode : {100, 3}) {
    PercentKeeper keeper(2);
    XThread thread(&keeper);
    EXPECT_EQ(0, SaveAll(mode, &thread));
    EXPECT_TRUE(err_.IsEmpty()) << err_.GetText();
  }
}

TEST_F(XRSFile2ZRMTest, HearsAnyStateButRunWhileItMeasures) {
  Add<std::uint8_t>(60, 60);
  XThread thread;
  thread.SetState(2);
  EXPECT_EQ(0, SaveAll(3, &thread));
  EXPECT_EQ(1, SaveAll(100, &thread));
}

TEST_F(XRSFile2ZRMTest, MovesTheSensorModelWithTheWindow) {
  DirectMemoryBand& band = Add<std::uint8_t>(60, 60);
  band.SetUseSensorModel(1);
  band.SetOffset(100.5, 200.5);
  band.SetScale(2.0, 3.0);
  for (const int mode : {100, 3}) {
    double x = 0.0, y = 0.0;
    ASSERT_EQ(1, Save(0, 0, 59, 0, 59, mode));
    Open();
    opened_->GetBandAt(0)->GetOffset(x, y);
    EXPECT_EQ(100.5, x);
    EXPECT_EQ(200.5, y);
    ASSERT_EQ(1, Save(0, 10, 59, 20, 59, mode));
    Open();
    opened_->GetBandAt(0)->GetOffset(x, y);
    EXPECT_EQ(110.5, x);
    EXPECT_EQ(220.5, y);
    opened_->GetBandAt(0)->GetScale(x, y);
    EXPECT_EQ(3.0, y);
  }
}

TEST_F(XRSFile2ZRMTest, PlacesTheWindowInTheWorld) {
  DirectMemoryBand& band = Add<std::uint8_t>(60, 60);
  band.SetUpperLeft(1000.0, 5000.0);
  band.SetPixelSize(2.0, 4.0);
  band.SetCoordinateKind(kCoordinateWorld);
  ASSERT_EQ(1, Save(0, 10, 59, 20, 59));
  Open();
  EXPECT_EQ(1020.0, opened_->GetBandAt(0)->GetULX());
  EXPECT_EQ(4920.0, opened_->GetBandAt(0)->GetULY());
  EXPECT_EQ(4.0, opened_->GetYPixelSize());
  EXPECT_EQ(kCoordinateWorld, opened_->GetBandAt(0)->GetCoordinateKind());
}

TEST_F(XRSFile2ZRMTest, KeepsNullSamplesOutOfLevelsAndStatistics) {
  std::vector<std::int16_t> samples(32 * 32, -99);
  samples[0] = 10;
  samples[33] = 21;
  AddDirectBand(*file_, 32, 32, samples).SetNullValue(-99.0);
  for (const int mode : {100, 3}) {
    ASSERT_EQ(1, SaveAll(mode));
    Open();
    EXPECT_EQ(16, Read<std::int16_t>(0, 1)[0]);  // 15.5 goes away from zero
    EXPECT_EQ(-99, Read<std::int16_t>(0, 1)[1]);
    EXPECT_EQ(10.0, opened_->GetBandAt(0)->GetBandMin());
    EXPECT_EQ(15.5, opened_->GetBandAt(0)->GetBandMean());
  }
}

TEST_F(XRSFile2ZRMTest, IsTheSameForAnyNumberOfThreads) {
  for (unsigned i = 0; i < 3; ++i) Add<float>(97, 1001, i);
  for (const int mode : {100, 3}) {
    std::vector<std::vector<unsigned char>> files;
    for (const int workers : {1, 2, 8}) {
      XfnSetWorkerCount(workers);
      ASSERT_EQ(1, SaveAll(mode));
      files.push_back(ReadBytes(Path()));
    }
    XfnSetWorkerCount(1);
    EXPECT_TRUE(files[0] == files[1]);
    EXPECT_TRUE(files[0] == files[2]);
  }
}

TEST_F(XRSFile2ZRMTest, WritesAllOutputsOfASharpening) {
  for (int i = 0; i < 3; ++i) AddKind<ZRMBandImageSharpen>(40, 30);
  ASSERT_EQ(1, Save(0, 0, 39, 0, 29)) << err_.GetText();
  Open();
  ASSERT_EQ(3, opened_->GetNumOfBands());
  EXPECT_EQ(RandomSamples<std::uint8_t>(40, 30), Read<std::uint8_t>(2, 0));
}

TEST_F(XRSFile2ZRMTest, ComputesASharpeningInOnePass) {
  LoggedBand::Log log;
  std::vector<const ZRMBand*> bands;
  for (int i = 0; i < 3; ++i) {
    auto& band = AddKind<ZRMBandImageSharpen>(40, 3000);
    band.SetLog(&log);
    bands.push_back(&band);
  }
  ASSERT_EQ(1, Save(0, 0, 39, 0, 2999));
  ASSERT_GT(log.size(), bands.size());  // block by block, and each block of all bands
  for (std::size_t i = 0; i < log.size(); ++i) EXPECT_EQ(bands[i % 3], log[i].first) << i;
}

TEST_F(XRSFile2ZRMTest, WantsThreeBandsOfASharpening) {
  AddKind<ZRMBandImageSharpen>(40, 30);
  AddKind<ZRMBandImageSharpen>(40, 30);
  EXPECT_EQ(0, Save(0, 0, 39, 0, 29));
  EXPECT_EQ(XString("Number of selected bands must be more than 3"), err_);
  AddKind<MemoryBand>(40, 30);
  EXPECT_EQ(0, Save(0, 0, 39, 0, 29));
  EXPECT_EQ(XString("All bands must be ZRMBandImageSharpen"), err_);
  EXPECT_FALSE(XFile::Exists(Path()));
}

TEST_F(XRSFile2ZRMTest, CompressesASharpeningLikeAllElse) {
  AddKind<ZRMBandImageSharpen>(40, 30);
  EXPECT_EQ(1, SaveAll(3));
}

TEST_F(XRSFile2ZRMTest, CompressesInEveryModeButTwoOnEveryWay) {
  for (unsigned i = 0; i < 3; ++i) {
    auto& band = AddKind<ZRMBandImageSharpen>(40, 30);
    band.SetTileSize(16, 16);
  }
  for (const int mode : {1, 3, 7, 99, 101, -1}) {
    for (const auto way : {&XRSFile2ZRM::SaveZRMBandGeneral, &XRSFile2ZRM::SaveZRMBandImageSharpen}) {
      SCOPED_TRACE(mode);
      XRSFile2ZRM writer;
      writer.SetXRSFile(file_.get());
      ASSERT_EQ(1, (writer.*way)(Path(), 9, 0, 39, 0, 29, mode, err_, nullptr)) << err_;
      Open();
      ASSERT_EQ(3, opened_->GetNumOfBands());
      for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(kCompressionTiles, opened_->GetBandAt(i)->GetCompressionInfo());
        EXPECT_EQ(RandomSamples<std::uint8_t>(40, 30), Read<std::uint8_t>(i, 0));
        EXPECT_FALSE(Read<std::uint8_t>(i, 1).empty());
      }
    }
  }
}

TEST_F(XRSFile2ZRMTest, GivesABandThatIsCompressedItsShareOfTheProgress) {
  Add<std::uint8_t>(20, 900);
  Add<std::uint8_t>(20, 900);
  PercentKeeper keeper;
  XThread thread(&keeper);
  thread.SetPercentRange(0, 50);
  XRSFile2ZRM writer;
  writer.SetXRSFile(file_.get());
  ASSERT_EQ(1, writer.SaveZRMBandGeneral(Path(), 0, 0, 19, 0, 899, 3, err_, &thread));
  EXPECT_EQ(0, keeper.percents.front());
  EXPECT_TRUE(std::ranges::is_sorted(keeper.percents));
  EXPECT_THAT(keeper.percents, testing::Contains(25));
  EXPECT_THAT(keeper.percents, Each(testing::Lt(50)));
}

TEST(SaveFileZRM, WritesWhatTheWriterIsTold) {
  TempFolder folder;
  XRSFile file, opened;
  AddDirectBand(file, 40, 30, RandomSamples<std::uint8_t>(40, 30));
  XString err;
  ASSERT_EQ(1, XRSFileIO::SaveFileZRM(&file, folder.Path("a.zrm"), 1, 0, 19, 0, 9, err, nullptr, 0, 4, 5));
  ASSERT_EQ(1, XRSFileIO::LoadFileZRM(&opened, folder.Path("a.zrm"), err, nullptr)) << err.GetText();
  EXPECT_EQ(20, opened.GetBandAt(0)->GetXSize());
  EXPECT_EQ(10, opened.GetBandAt(0)->GetYSize());
  EXPECT_EQ(0, opened.GetBandAt(0)->GetCompressionInfo());
  EXPECT_TRUE(opened.GetCryptoVaildationInfo().IsEmpty());
}

TEST(SaveFileZRM, TiesAFileToTheMachineWhereThatIsAsked) {
  TempFolder folder;
  XRSFile file, opened;
  AddDirectBand(file, 40, 30, RandomSamples<std::uint8_t>(40, 30));
  XString err;
  XfnSetCryptoMethod(2);
  ASSERT_EQ(1, XRSFileIO::SaveFileZRMComp(&file, folder.Path("a.zrm"), 1, 0, 19, 0, 9, 0.0, err, nullptr, 4));
  XfnSetCryptoMethod(0);
  XStringList addresses(10);
  const XString expected = XfnGetMacAddress(addresses) > 0 ? addresses.GetHead() : XString();
  ASSERT_EQ(1, XRSFileIO::LoadFileZRM(&opened, folder.Path("a.zrm"), err, nullptr));
  EXPECT_EQ(expected, opened.GetCryptoVaildationInfo());
  EXPECT_EQ(3, opened.GetBandAt(0)->GetCompressionInfo());
}

}  // namespace
