#include "ForeignImages.h"

#include "ForeignFiles.h"
#include "Oracle.h"
#include "TempFolder.h"
#include "XRSFileIO.h"

#include <filesystem>

std::ostream& operator<<(std::ostream& stream, const Foreign& foreign) {
  return stream << foreign.name;
}

std::string NameOfForeign(const testing::TestParamInfo<Foreign>& foreign) {
  return TestNameOf(foreign.param.name);
}

void ForeignImage::Check(const std::string& folder, int id) {
  const std::string path = PathOfForeign(folder, GetParam().name);
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no shared data";
  const int isOpen = XRSFileIO::LoadFileRaster(&file_, id, path, err_, 0, kLevelNone, nullptr);
  ASSERT_EQ(GetParam().outcome != Outcome::kRefused, isOpen) << err_.GetText() << "; " << GetParam().reason;
  switch (GetParam().outcome) {
    case Outcome::kAsGdal:
      return ExpectAsGdal(path, 0);
    case Outcome::kNearlyAsGdal:
      return ExpectAsGdal(path, 1);
    case Outcome::kOwnWay:
      return ExpectOwnWay(ReadBytes(path));
    case Outcome::kRefused:
      EXPECT_EQ(0, err_.Find(GetParam().sentence)) << err_.GetText();
  }
}

void ForeignImage::ExpectOwnWay(const std::vector<unsigned char>&) {
  ADD_FAILURE() << "the format says of no way of its own";
}

Pixels ForeignImage::Read(int channel) {
  ZRMBand& band = *file_.GetBandAt(channel);
  return ReadPixels(band, 0, WholeWindowOf(band));
}

void ForeignImage::ExpectAsGdal(const std::string& path, int tolerance) {
  const OracleImage oracle = ReadWithGdal(path);
  ASSERT_TRUE(oracle.isOpen);
  ASSERT_GE(file_.GetNumOfBands(), static_cast<int>(oracle.channels.size()));
  for (std::size_t c = 0; c < oracle.channels.size(); ++c) {
    const Pixels pixels = Read(static_cast<int>(c));
    ASSERT_EQ(oracle.width, pixels.width);
    ASSERT_EQ(oracle.height, pixels.height);
    EXPECT_LE(LargestDifference(oracle.channels[c], pixels.bytes), tolerance) << "channel " << c;
  }
}
