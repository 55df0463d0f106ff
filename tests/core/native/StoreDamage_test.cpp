// Damaged native raster files and level files are used or refused as a whole, and nothing else happens.

#include "ByteFlips.h"
#include "FaultyDisk.h"
#include "MemoryBand.h"
#include "MemoryDisk.h"
#include "TempFolder.h"
#include "Xepot.h"
#include "XRSFile.h"
#include "XRSFile2XLD.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kNumBands = 2;
constexpr int kWidth = 11;
constexpr int kHeight = 9;

/// A band of 11 x 9 samples; one with levels is what gets level data.
class RampBand : public MemoryBandOf<ZRMBandDRIO> {
 public:
  RampBand() {
    SetRamp<std::uint16_t>(kWidth, kHeight);
    SetTileSize(4, 4);
  }
  int GetLevel() override { return Xepot::CalcProperLevel(GetXSize(), GetYSize(), GetXTileSize(), GetYTileSize()); }
};

void AddBands(XRSFile& dataset) {
  for (int i = 0; i < kNumBands; ++i) dataset.AddBand(std::make_unique<RampBand>().release());
}

/// Every level as a whole; what comes has the shape that was asked for.
int ReadLevels(XRSFile& dataset) {
  int numReads = 0;
  for (int i = 0; i < dataset.GetNumOfBands(); ++i) {
    ZRMBand& band = *dataset.GetBandAt(i);
    const int right = band.GetXSize() - 1, bottom = std::min(band.GetYSize() - 1, 99);
    for (int level = 0; level < 4; ++level) {
      tagXArr2* out = nullptr;
      if (!band.ReadSubset(out, level, 0, std::min(right, 99), 0, bottom, nullptr)) continue;
      EXPECT_EQ((std::min(right, 99) + 1) >> level, out->xSize);
      EXPECT_EQ((bottom + 1) >> level, out->ySize);
      ++numReads;
    }
  }
  return numReads;
}

/// A kind of file: how a sound one is made, and how bytes are tried as one.
struct Kind {
  const char* name;
  Bytes (*make)(const std::string& path);
  /// Whether the bytes were taken; what must hold for any bytes is checked on the way.
  bool (*tryBytes)(const Bytes& bytes);
  std::size_t offsetPlace;  ///< of the text's offset in the header
};

Bytes MakePlain(const std::string& path) {
  XRSFile dataset;
  AddBands(dataset);
  XString err;
  EXPECT_TRUE(XRSFileIO::SaveFileZRM(&dataset, path, 1, 0, kWidth - 1, 0, kHeight - 1, err, nullptr, 100, 0, 1));
  return ReadBytes(path);
}

Bytes MakeCompressed(const std::string& path) {
  XRSFile dataset;
  AddBands(dataset);
  XString err;
  EXPECT_TRUE(XRSFileIO::SaveFileZRMComp(&dataset, path, 1, 0, kWidth - 1, 0, kHeight - 1, 0.0, err, nullptr, 0));
  return ReadBytes(path);
}

Bytes MakeLevelFile(const std::string& path) {
  XRSFile dataset;
  AddBands(dataset);
  XString err;
  XRSFile2XLD writer;
  writer.SetXRSFile(&dataset);
  EXPECT_TRUE(writer.Save(path, err, kLevelBuild, nullptr)) << err.GetText();
  return ReadBytes(path);
}

bool TryNative(const Bytes& bytes) {
  MemoryDisk disk;
  disk.Add("/a.zrm", bytes);
  const zrk::ScopedDisk scoped(disk);
  XRSFile dataset;
  XString err;
  const bool isTaken = XRSFileIO::LoadFileZRM(&dataset, "/a.zrm", err, nullptr) != 0;
  EXPECT_EQ(isTaken, dataset.GetNumOfBands() > 0);
  EXPECT_EQ(isTaken, err.IsEmpty()) << err.GetText();
  ReadLevels(dataset);
  return isTaken;
}

bool TryLevelFile(const Bytes& bytes) {
  MemoryDisk disk;
  disk.Add("/a.xld", bytes);
  const zrk::ScopedDisk scoped(disk);
  XRSFile dataset;
  dataset.SetFilePath("/a.bmp");
  AddBands(dataset);
  XString err;
  const bool isTaken = XRSFileIO::LoadFileXLD(&dataset, "/a.bmp", err, kLevelNone, nullptr) != 0;
  EXPECT_EQ(isTaken, XfnIsValidZRMLevelData(&dataset));
  for (int i = 0; i < kNumBands; ++i) {
    EXPECT_EQ(isTaken, static_cast<RampBand*>(dataset.GetBandAt(i))->GetBandXLD() != nullptr);
    EXPECT_EQ(kWidth, dataset.GetBandAt(i)->GetXSize());
  }
  EXPECT_EQ(kNumBands * 4, ReadLevels(dataset)) << "the bands serve what the level data don't";
  return isTaken;
}

const Kind kKinds[] = {{"Plain", &MakePlain, &TryNative, 8},
                       {"Compressed", &MakeCompressed, &TryNative, 8},
                       {"Level", &MakeLevelFile, &TryLevelFile, 4}};

std::ostream& operator<<(std::ostream& stream, const Kind& kind) {
  return stream << kind.name;
}

class StoreDamage : public testing::TestWithParam<Kind> {
 protected:
  static Bytes Sound() { return GetParam().make(TempFolder().Path("sound")); }
  static bool Try(const Bytes& bytes) { return GetParam().tryBytes(bytes); }

  /// The file with the text put in another's place.
  static bool TryText(const std::string& text) {
    Bytes bytes = Sound();
    bytes.resize(TextOffset(bytes));
    bytes.insert(bytes.end(), text.begin(), text.end());
    return Try(bytes);
  }
  static std::string Text() {
    const Bytes bytes = Sound();
    return std::string(bytes.begin() + static_cast<std::ptrdiff_t>(TextOffset(bytes)), bytes.end());
  }
  static std::size_t TextOffset(const Bytes& bytes) {
    std::int64_t offset = 0;
    std::memcpy(&offset, bytes.data() + GetParam().offsetPlace, sizeof offset);
    return static_cast<std::size_t>(offset);
  }
  static bool TryOffset(std::int64_t offset) {
    Bytes bytes = Sound();
    std::memcpy(bytes.data() + GetParam().offsetPlace, &offset, sizeof offset);
    return Try(bytes);
  }
};

TEST_P(StoreDamage, IsNotSeenInASoundFile) {
  EXPECT_TRUE(Try(Sound()));
  EXPECT_TRUE(TryText(Text()));
}

TEST_P(StoreDamage, ByTruncationRefusesTheFile) {
  const Bytes sound = Sound();
  // The very last byte is a line break, which the text does not need.
  for (std::size_t size = 0; size + 1 < sound.size(); size += TrialStep()) {
    ASSERT_FALSE(Try({sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size)})) << size;
  }
}

TEST_P(StoreDamage, ToOneByteEndsInARefusalOrAReadableFile) {
  Bytes bytes = Sound();
  const std::size_t textOffset = TextOffset(bytes);
  std::mt19937 random(20240229);
  for (int i = 0; i < TrialCount(2000) && !HasFailure(); ++i) {
    // Every other flip hits the header and the stores, which are smaller than the text.
    const std::size_t place = random() % (i % 2 ? bytes.size() : textOffset);
    const auto flip = static_cast<unsigned char>(1 << random() % 8);
    SCOPED_TRACE(testing::Message() << "byte " << place << " xor " << int{flip});
    bytes[place] ^= flip;
    Try(bytes);
    bytes[place] ^= flip;
  }
}

TEST_P(StoreDamage, ToTheTextsOffsetRefusesTheFile) {
  const auto size = static_cast<std::int64_t>(Sound().size());
  for (const std::int64_t offset :
       {std::int64_t{-1}, std::int64_t{0}, std::int64_t{3}, size - 2, size, size + 1, INT64_MAX, INT64_MIN}) {
    EXPECT_FALSE(TryOffset(offset)) << offset;
  }
}

TEST_P(StoreDamage, RefusesADocumentType) {
  EXPECT_FALSE(TryText("<!DOCTYPE a [<!ENTITY b \"bbbbbbbb\">]>\n" + Text()));
}

TEST_P(StoreDamage, RefusesDeepNesting) {
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  EXPECT_FALSE(TryText(deep));
  for (int i = 0; i < 100000; ++i) deep += "</a>";
  EXPECT_FALSE(TryText(deep));
}

TEST_P(StoreDamage, RefusesAnotherNumberOfBytesThanTheLayoutNeeds) {
  for (const char* tag : {"XRS_TAG_BAND_XSIZE", "XRS_TAG_BAND_YSIZE", "XRS_TAG_BAND_DATATYPE"}) {
    for (const char* value : {"0", "-1", "31", "2147483647", "2147483648", "9223372036854775807"}) {
      std::string text = Text();
      const std::size_t place = text.find('>', text.find(tag)) + 1;
      text.replace(place, text.find('<', place) - place, value);
      EXPECT_FALSE(TryText(text)) << tag << " " << value;
    }
  }
}

TEST_P(StoreDamage, DoesNotReadATextOf100Megabytes) {
  const TempFolder folder;
  folder.Write("a.zrm", Sound());
  folder.Write("a.xld", Sound());
  for (const char* name : {"a.zrm", "a.xld"}) std::filesystem::resize_file(folder.Path(name), 100 << 20);
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  XRSFile dataset, withBands;
  AddBands(withBands);
  XString err;
  EXPECT_EQ(0, XRSFileIO::LoadFileZRM(&dataset, folder.Path("a.zrm"), err, nullptr));
  EXPECT_EQ(0, XRSFileIO::LoadFileXLD(&withBands, folder.Path("a.bmp"), err, kLevelNone, nullptr));
  EXPECT_LE(disk.GetReadCount(), 3) << "the headers and nothing else";
}

INSTANTIATE_TEST_SUITE_P(Kinds, StoreDamage, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

/// A file with a field of its second band set otherwise.
bool TryPlace(const std::string& tag, const std::string& value, Bytes (*make)(const std::string& path) = &MakePlain) {
  const Bytes bytes = make(TempFolder().Path("sound"));
  std::string text(bytes.begin(), bytes.end());
  const std::size_t place = text.find('>', text.rfind("<" + tag)) + 1;
  text.replace(place, text.find('<', place) - place, value);
  return TryNative({text.begin(), text.end()});
}

TEST(NativeBodies, MustLieWithinTheFileAndApart) {
  const std::string size = std::to_string(11 * 32);  // nine tiles of level 0 and two of level 1
  EXPECT_TRUE(TryPlace("XRS_TAG_BAND_DATASIZE", size));
  const char* const offsets[] = {"-1", "0", "15", "16", "17", "367", "369", "100000", "9223372036854775807"};
  for (const char* offset : offsets) EXPECT_FALSE(TryPlace("XRS_TAG_BAND_DATAOFFSET", offset)) << offset;
  for (const char* other : {"-352", "0", "351", "353", "9223372036854775807", "9223372036854775808"}) {
    EXPECT_FALSE(TryPlace("XRS_TAG_BAND_DATASIZE", other)) << other;
  }
}

TEST(NativeBodies, OfTilesAreAsLargeAsTheirTablesSay) {
  for (const char* size : {"1", "16", "100", "-1", "0"}) {
    EXPECT_FALSE(TryPlace("XRS_TAG_BAND_DATASIZE", size, &MakeCompressed)) << size;
  }
}

/// A text of bands of one sample, each of which names a system of its own.
std::string TextOfSystems(int numBands) {
  std::string text = "<XRS_TAG_DATASET>";
  for (int i = 0; i < numBands; ++i) {
    text += "<XRS_TAG_BAND>";
    for (const char* name : {"XTILESIZE", "YTILESIZE", "XSIZE", "YSIZE", "DATATYPE"}) {
      text += std::string("<XRS_TAG_BAND_") + name + ">1</XRS_TAG_BAND_" + name + ">";
    }
    text += "<XRS_TAG_BAND_LEVELS>0</XRS_TAG_BAND_LEVELS><XRS_TAG_BAND_COMPRESSION>0</XRS_TAG_BAND_COMPRESSION>";
    text += "<XRS_TAG_BAND_PROJECTIONWKT>" + std::to_string(i) + "</XRS_TAG_BAND_PROJECTIONWKT></XRS_TAG_BAND>";
  }
  return text + "</XRS_TAG_DATASET>";
}

TEST(NativeText, HasNoMoreSystemsThanADatasetMayNeed) {
  XString err;
  XRSFile few, many;
  EXPECT_EQ(1, few.LoadStringZRM(TextOfSystems(256), err, nullptr)) << err.GetText();
  EXPECT_EQ(0, many.LoadStringZRM(TextOfSystems(257), err, nullptr));
  EXPECT_EQ("The raster metadata holds no valid value in XRS_TAG_BAND_PROJECTIONWKT", err);
  EXPECT_EQ(0, many.GetNumOfBands());
}

}  // namespace
