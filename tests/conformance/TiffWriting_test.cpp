#include "ForeignFiles.h"
#include "LevelDataset.h"
#include "SampleName.h"
#include "Samples.h"
#include "SavedTiff.h"
#include "TempFolder.h"
#include "XMessageBox.h"
#include "XPath.h"
#include "XRSFileIO.h"
#include "ZRMBand2DMem.h"
#include "ZRMBandMosaic.h"
#include "ZRMBandResize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <thread>

// Whatever can be opened can be saved as TIFF, and others read the same from it.

namespace {

namespace fs = std::filesystem;

class SavedSamples : public testing::TestWithParam<Sample> {
 protected:
  SavedSamples() : image_(GetParam()) {}
  void SetUp() override { ASSERT_TRUE(image_.IsOpen()) << image_.GetError().GetText(); }

  TempFolder folder_;
  const std::string path_ = folder_.Path("saved.tif");
  OpenSample image_;
};

TEST_P(SavedSamples, AreReadByGdal) {
  ASSERT_EQ("", SaveAll(image_.File(), path_));
  OpenSample again(GetParam());
  ExpectGdalReads(path_, ReadBands(again.File()), again.File());
}

TEST_P(SavedSamples, LeaveProgramsSilent) {
  ASSERT_EQ("", SaveAll(image_.File(), path_));
  EXPECT_EQ("", AskProgram("tiffinfo", {path_}));
  EXPECT_EQ("", AskProgram("gdalinfo", {path_}));
}

TEST_P(SavedSamples, ComeOutOfTheFileAsTheyWentIn) {
  ASSERT_EQ("", SaveAll(image_.File(), path_));
  XRSFile file;
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileTIF(&file, path_, err, 0, kLevelNone, nullptr)) << err.AsStdString();
  ASSERT_EQ(image_.GetNumBands(), file.GetNumOfBands());
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    const Window whole = WholeWindowOf(image_.Band(i));
    EXPECT_TRUE(ReadPixels(image_.Band(i), 0, whole) == ReadPixels(*file.GetBandAt(i), 0, whole)) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, SavedSamples, testing::ValuesIn(AllSamples()), NameOf);

/// The small ones, and one for each band that keeps a part of its file decoded.
std::vector<Sample> SamplesThatSaveQuickly() {
  std::vector<Sample> samples;
  std::ranges::copy_if(AllSamples(), std::back_inserter(samples), [](const Sample& sample) {
    return sample.isSmall || sample.levels == LevelRule::kMeans ||
           std::string_view(sample.name).ends_with("OverTwoTiles");
  });
  return samples;
}

class SavingThreads : public testing::TestWithParam<Sample> {
 protected:
  void SetUp() override {
    OpenSample alone(GetParam());
    ASSERT_EQ("", SaveAll(alone.File(), folder_.Path("alone.tif")));
    expected_ = ReadBytes(folder_.Path("alone.tif"));
  }
  void ExpectSameFile(XRSFile& file, const std::string& name) {
    EXPECT_EQ("", SaveAll(file, folder_.Path(name)));
    EXPECT_TRUE(expected_ == ReadBytes(folder_.Path(name)));
  }

  TempFolder folder_;
  std::vector<unsigned char> expected_;
};

TEST_P(SavingThreads, WriteTheSameFileWhileOthersRead) {
  OpenSample image(GetParam());
  std::atomic<bool> isDone = false;
  std::thread reader([&] {
    for (int i = 0; !isDone; ++i) {
      ZRMBand& band = image.Band(i % image.GetNumBands());
      const int y = i * 7 % band.GetYSize();
      ReadPixels(band, 0, {0, band.GetXSize() - 1, y, std::min(y + 9, band.GetYSize() - 1)});
    }
  });
  for (const char* name : {"first.tif", "second.tif"}) ExpectSameFile(image.File(), name);
  isDone = true;
  reader.join();
}

TEST_P(SavingThreads, MaySaveTheSameBandsAtOnce) {
  OpenSample image(GetParam());
  std::thread other([&] { ExpectSameFile(image.File(), "first.tif"); });
  ExpectSameFile(image.File(), "second.tif");
  other.join();
}

INSTANTIATE_TEST_SUITE_P(Samples, SavingThreads, testing::ValuesIn(SamplesThatSaveQuickly()), NameOf);

class SavedBands : public testing::Test {
 protected:
  /// Adds a band to the dataset, whose it becomes.
  template <class Band>
  Band& Add() {
    auto band = std::make_unique<Band>();
    Band& added = *band;
    file_.AddBand(band.release());
    return added;
  }
  template <class Value>
  MemoryBand& AddMemory() {
    auto& band = Add<MemoryBand>();
    band.SetSamples(70, 50, RandomSamples<Value>(70, 50));
    return band;
  }

  void ExpectSaved() {
    ASSERT_EQ("", SaveAll(file_, path_));
    ExpectGdalReads(path_, ReadBands(file_), file_);
    EXPECT_EQ("", AskProgram("tiffinfo", {path_}));
    EXPECT_EQ("", AskProgram("gdalinfo", {path_}));
  }

  TempFolder folder_;
  const std::string path_ = folder_.Path("saved.tif");
  XRSFile file_;
};

TEST_F(SavedBands, MayBeOfBytes) {
  AddMemory<std::uint8_t>();
  ExpectSaved();
}

TEST_F(SavedBands, MayBeOfSignedBytes) {
  AddMemory<std::int8_t>();
  ExpectSaved();
}

TEST_F(SavedBands, MayBeOf16Bits) {
  for (int i = 0; i < 4; ++i) AddMemory<std::uint16_t>();
  ExpectSaved();
}

TEST_F(SavedBands, MayBeOfSigned16Bits) {
  for (int i = 0; i < 2; ++i) AddMemory<std::int16_t>();
  ExpectSaved();
}

TEST_F(SavedBands, MayBeOf32Bits) {
  for (int i = 0; i < 3; ++i) AddMemory<std::uint32_t>();
  ExpectSaved();
}

TEST_F(SavedBands, MayBeOfSigned32Bits) {
  AddMemory<std::int32_t>();
  ExpectSaved();
}

TEST_F(SavedBands, MayBeOfSingles) {
  for (int i = 0; i < 5; ++i) AddMemory<float>();
  ExpectSaved();
}

TEST_F(SavedBands, MayBeOfDoubles) {
  for (int i = 0; i < 2; ++i) AddMemory<double>();
  ExpectSaved();
}

TEST_F(SavedBands, MayBeThreeOfBytes) {
  for (int i = 0; i < 3; ++i) AddMemory<std::uint8_t>();
  ExpectSaved();
}

TEST_F(SavedBands, MayLieInTheWorld) {
  for (int i = 0; i < 3; ++i) {
    ZRMBand& band = AddMemory<std::uint8_t>();
    ASSERT_TRUE(band.GetSR()->importFromEPSG(32652));
    band.SetCoordinateKind(kCoordinateWorld);
    band.SetUpperLeft(312345.5, 4123456.25);
    band.SetPixelSize(2.5, 5.0);
  }
  ASSERT_FALSE(file_.GetSR()->IsEmpty());
  ExpectSaved();
}

TEST_F(SavedBands, MayShowTheCallersMemory) {
  tagXArr2 memory(33, 21, 2);
  for (int i = 0; i < 33 * 21; ++i)
    reinterpret_cast<std::uint16_t*>(memory.data)[i] = static_cast<std::uint16_t>(i * 91);
  ASSERT_TRUE(Add<ZRMBand2DMem>().SetSourceMemory(&memory, kPint16));
  ExpectSaved();
}

TEST_F(SavedBands, MayBeMosaics) {
  MemoryBand left, right;
  left.SetRamp<std::uint16_t>(40, 30);
  right.SetRamp<std::uint16_t>(40, 30);
  right.SetULX(35.0);
  auto& mosaic = Add<ZRMBandMosaic>();
  ASSERT_TRUE(mosaic.AddBand(&left) && mosaic.AddBand(&right));
  ASSERT_TRUE(mosaic.SetBandInfo(0.0, 0.0, 1.0, 1.0, 75, 30, kPint16));
  ASSERT_TRUE(mosaic.CalcWarpCoeff());
  ExpectSaved();
}

TEST_F(SavedBands, MayBeOfAnotherSizeThanTheirSources) {
  MemoryBand source;
  source.SetSamples(70, 50, RandomSamples<float>(70, 50));
  for (const int method : {kResampleNearest, kResampleMean, kResampleCubic}) {
    auto& resized = Add<ZRMBandResize>();
    resized.SetSourceBand(&source);
    ASSERT_TRUE(resized.SetResampleMethod(method));
    ASSERT_TRUE(resized.SetResizeInfo(3, 62, 5, 44, 91, 33));
  }
  ExpectSaved();
}

TEST_F(SavedBands, AreWrittenAtFullResolutionDespiteALevelFile) {
  fs::copy_file(PathOf(AllSamples().front()), folder_.Path("image.bmp"));
  XRSFile plain;
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileBMP(&plain, folder_.Path("image.bmp"), err, 0, kLevelNone, nullptr));
  ASSERT_TRUE(XRSFileIO::LoadFileBMP(&file_, folder_.Path("image.bmp"), err, 1, kLevelBuild, nullptr));
  ASSERT_TRUE(XfnIsValidZRMLevelData(&file_));
  ASSERT_EQ("", SaveAll(file_, path_));
  ExpectGdalReads(path_, ReadBands(plain), plain);
}

/// Whether the writer has to take them: the same size and the same type. Bands of a file lie in the same place.
bool DoBandsAgree(const XRSFile& file) {
  const ZRMBand& first = *file.GetBandAt(0);
  for (int i = 1; i < file.GetNumOfBands(); ++i) {
    const ZRMBand& band = *file.GetBandAt(i);
    if (band.GetXSize() != first.GetXSize() || band.GetYSize() != first.GetYSize()) return false;
    if (band.GetDataType() != first.GetDataType()) return false;
  }
  return true;
}

/// Its keys place the origin of the projection at 49 degrees, while by its code it is at 49 grads.
constexpr const char* kAgainstItsCode = "geokeys_epsg_27563_allgeokeys.tif";

/// Files of other programs, in one folder of them.
class SavedForeignFiles : public testing::TestWithParam<const char*> {
 protected:
  static constexpr std::int64_t kMaxBytes = 4 << 20;

  SavedForeignFiles() {
    before_ = XfnSetMessageBoxHandler([](const XString&, const XString&, unsigned) { return int{kAnswerOk}; });
  }
  ~SavedForeignFiles() override { XfnSetMessageBoxHandler(before_); }

  static bool IsOpened(XRSFile& file, const fs::path& path) {
    XString err;
    const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path.string()));
    if (!XRSFileIO::LoadFileRaster(&file, id, path.string(), err, 0, kLevelNone, nullptr)) return false;
    const ZRMBand& band = *file.GetBandAt(0);
    return std::int64_t{band.GetXSize()} * band.GetYSize() * file.GetNumOfBands() <= kMaxBytes;
  }

  void ExpectSaved(const fs::path& path) {
    XRSFile file;
    if (!IsOpened(file, path)) return;
    SCOPED_TRACE(path.filename().string());
    const std::string saved = folder_.Path(TestNameOf(path.filename().c_str()) + ".tif");
    const std::string refusal = SaveAll(file, saved);
    ASSERT_EQ(DoBandsAgree(file), refusal.empty()) << refusal;
    if (!refusal.empty()) return;
    saved_.push_back(saved);
    const std::vector<WrittenBand> bands = ReadBands(file);
    if (bands[0].gdalType == 0) return;
    ExpectGdalReads(saved, bands, file, path.filename() == kAgainstItsCode ? SystemCheck::kCode : SystemCheck::kWhole);
  }

  TempFolder folder_;
  std::vector<std::string> saved_;
  XMessageBoxHandler before_;
};

TEST_P(SavedForeignFiles, AreReadByGdalAndTiffinfo) {
  const fs::path folder = PathOfForeign(GetParam(), "");
  if (!fs::is_directory(folder)) GTEST_SKIP() << "no shared data";
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) ExpectSaved(entry.path());
  }
  EXPECT_FALSE(saved_.empty());
  EXPECT_EQ("", AskProgram("tiffinfo", saved_));
}

INSTANTIATE_TEST_SUITE_P(Folders, SavedForeignFiles, testing::Values("bmp", "jpeg", "tiff"),
                         [](const auto& folder) { return std::string(folder.param); });

}  // namespace
