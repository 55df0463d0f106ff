// A format is one place: here is a whole one, a row and a band class, put into the table for the time of a test. All
// that the library does for formats it does for this one, and no source but this knows of it.

#include "core/dispatch/FormatTable.h"
#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "MemoryBand.h"
#include "TempFolder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>

class ToyBand : public MemoryBandOf<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  explicit ToyBand(ToyBand* master) : master_(master) {}
  int ReadFile(XString, XString& err, XThread*) {
    SetRamp<std::uint8_t>(6, 4);
    err = "a remark";
    return 1;
  }
  int GetNumChannels() const { return 2; }
  void SetChannel(int channel) {
    if (master_) SetRamp<std::uint8_t>(6, 4);
    SetBandMax(channel);
  }

 private:
  ToyBand* master_;
};

X_IMPLEMENT_RUNTIME_CLASS(ToyBand, ZRMBandDRIO);

namespace {

constexpr int kToyId = 0x1F0;
const char* absentCodec = nullptr;

struct Toy {
  using Band = ToyBand;
  static constexpr zrk::ChannelNames kNames = zrk::ChannelNames::kPlain;
  static constexpr const char* kWorldFile = nullptr;
};

int BoundToy(const XString&, const zrk::Corners& corners, bool& isLonLat) {
  corners.Set(2, 3.0, 4.0);
  isLonLat = true;
  return 1;
}

int SaveToy(const zrk::SaveCall& call) {
  call.err.Format("%d..%d, %d levels, %g", call.x0, call.x1, call.level, call.quality);
  return 1;
}

void DescribeToy(ZRMBand& first, bool isVerbose, tagXFormatNotes& notes) {
  notes.lines.push_back(isVerbose ? first.GetBandName() : XString("brief"));
}

constexpr tagXFormatWriter kWriter = {"toy", "toys", true, true, true, nullptr};

zrk::FormatRow MakeRow() {
  return {.format = {.id = kToyId,
                     .name = "Toy image",
                     .extensions = "toy",
                     .isRaster = true,
                     .canRead = true,
                     .bandClass = "ToyBand",
                     .holdsHeights = true,
                     .writer = &kWriter},
          .isContent = [](zrk::FileHead head) { return zrk::StartsWith(head, "TOY!"); },
          .loadRaster = &zrk::LoadRaster<Toy>,
          .findCodec =
              [](tagXCodecState& state) {
                state.isNeeded = absentCodec != nullptr;
                state.remark = absentCodec;
              },
          .bound = &BoundToy,
          .save = &SaveToy,
          .isDecodedWhole = [](ZRMBand& band) { return band.GetBandMax() == 0.0; },
          .decodeWhole = [](ZRMBand&, XThread*) { return 7; },
          .describe = &DescribeToy};
}

class FormatFrame : public testing::Test {
 protected:
  FormatFrame() {
    absentCodec = nullptr;
    folder_.Write("a.toy", {'T', 'O', 'Y', '!'});
    folder_.Write("plain", {'T', 'O', 'Y', '!'});
  }
  int Open(const char* name) { return XfnOpenFile(&file_, folder_.Path(name), err_); }
  ZRMBand* Band(int index) { return file_.GetBandAt(index); }

  const zrk::FormatRow row_ = MakeRow();
  const zrk::ScopedFormat scope_{row_};
  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

TEST(FormatFrameAround, HasTheFormatForAScopeOnly) {
  const zrk::FormatRow toy = MakeRow();
  const std::size_t before = XfnGetFormats().size();
  {
    const zrk::ScopedFormat scope(toy);
    EXPECT_EQ(before + 1, XfnGetFormats().size());
    EXPECT_STREQ("Toy image", XfnFindFormat(kToyId)->name);
  }
  EXPECT_EQ(before, XfnGetFormats().size());
  EXPECT_EQ(nullptr, XfnFindFormat(kToyId));
}

TEST_F(FormatFrame, FindsItByExtensionAndByFirstBytes) {
  EXPECT_EQ(kToyId, XRSFileIO::GetIDFromExt("TOY"));
  for (const char* name : {"a.toy", "plain"}) {
    const tagXFormat* const format = XfnFindFormatOfFile(folder_.Path(name));
    ASSERT_NE(nullptr, format);
    EXPECT_EQ(kToyId, format->id);
    EXPECT_TRUE(format->isKnownByContent);
  }
}

TEST_F(FormatFrame, OpensItWithItsChannels) {
  ASSERT_EQ(1, Open("plain"));
  EXPECT_EQ(XString(""), err_);
  ASSERT_EQ(2, file_.GetNumOfBands());
  EXPECT_EQ(XString("Channel 2"), Band(1)->GetBandName());
  EXPECT_EQ(kToyId, XfnFindFormatOfBand(Band(1))->id);
  EXPECT_TRUE(XfnFindFormatOfBand(Band(1))->holdsHeights);
}

TEST_F(FormatFrame, RoutesItsId) {
  ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file_, kToyId, folder_.Path("a.toy"), err_, 0, kLevelNone, nullptr));
  EXPECT_EQ(2, file_.GetNumOfBands());
  EXPECT_EQ(0, XRSFileIO::LoadFileVector(&file_, kToyId, "a.toy", nullptr, err_, nullptr));
  EXPECT_EQ(XString("Not Supported Type"), err_);
}

TEST_F(FormatFrame, TellsOfAnAbsentCodecBeforeItLoads) {
  absentCodec = "Toys need a key, and none was found.";
  EXPECT_EQ(0, Open("a.toy"));
  EXPECT_EQ(XString(absentCodec), err_);
  EXPECT_EQ(0, file_.GetNumOfBands());
}

TEST_F(FormatFrame, BoundsIt) {
  double x[4], y[4];
  bool isLonLat = false;
  ASSERT_EQ(1, XRSFileIO::GetGeoBounding(folder_.Path("a.toy"), x, y, isLonLat));
  EXPECT_TRUE(isLonLat);
  EXPECT_EQ(3.0, x[2]);
  EXPECT_EQ(4.0, y[2]);
  EXPECT_EQ(kNotSet, x[0]);
}

TEST_F(FormatFrame, DescribesItByItsBand) {
  ASSERT_EQ(1, Open("a.toy"));
  EXPECT_EQ(XString("brief"), XfnDescribeFormat(Band(0), false).lines.at(0));
  EXPECT_EQ(XString("Channel 1"), XfnDescribeFormat(Band(0), true).lines.at(0));
  EXPECT_TRUE(XfnDescribeFormatOfBand(Band(0)).lines.empty());
  EXPECT_TRUE(XfnDescribeFormat(nullptr, true).lines.empty());
}

TEST_F(FormatFrame, DecodesItWholeWhereItIs) {
  ASSERT_EQ(1, Open("a.toy"));
  EXPECT_TRUE(XfnIsDecodedWhole(Band(0)));
  EXPECT_EQ(7, XfnDecodeWhole(Band(0), nullptr));
  EXPECT_FALSE(XfnIsDecodedWhole(Band(1)));
  EXPECT_EQ(1, XfnDecodeWhole(Band(1), nullptr));
}

TEST_F(FormatFrame, SavesIt) {
  EXPECT_EQ(1, XfnSaveFile(&file_, "b.toy", kToyId, {1, 5, 0, 3, 2, 0.5}, err_));
  EXPECT_EQ(XString("1..5, 2 levels, 0.5"), err_);
}

TEST(SaveFileOfAFormat, RefusesOneWithoutAWriter) {
  XRSFile file;
  XString err;
  EXPECT_EQ(0, XfnSaveFile(&file, "a.jpg", kFormatJPG, {0, 1, 0, 1}, err));
  EXPECT_EQ(XString("Not Supported Type"), err);
}

TEST(FormatOfABand, IsNoneWhereNoFormatMadeTheBand) {
  MemoryBand band;
  EXPECT_EQ(nullptr, XfnFindFormatOfBand(&band));
  EXPECT_EQ(nullptr, XfnFindFormatOfBand(nullptr));
  EXPECT_FALSE(XfnIsDecodedWhole(&band));
  EXPECT_EQ(1, XfnDecodeWhole(nullptr, nullptr));
}

}  // namespace
