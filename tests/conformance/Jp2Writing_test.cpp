#include "OpjImage.h"
#include "SampleName.h"
#include "Samples.h"
#include "SavedTiff.h"
#include "TempFolder.h"
#include "XRSFile2JP2.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

// Whatever has samples of 8 or 16 bits can be saved as JPEG 2000, and OpenJPEG reads the same from it.

namespace {

/// A component's samples as a band gives them.
std::vector<unsigned char> BytesOf(const OpjImage::Component& component) {
  std::vector<unsigned char> bytes;
  for (const int sample : component.samples) {
    bytes.push_back(static_cast<unsigned char>(sample));
    if (component.precision > 8) bytes.push_back(static_cast<unsigned char>(sample >> 8));
  }
  return bytes;
}

class SavedAsJp2 : public testing::TestWithParam<Sample> {
 protected:
  SavedAsJp2() : image_(GetParam()) {}
  void SetUp() override { ASSERT_TRUE(image_.IsOpen()) << image_.GetError().GetText(); }
  bool HasWideSamples() {
    for (int i = 0; i < image_.GetNumBands(); ++i) {
      if (image_.Band(i).GetDataSize() > 2) return true;
    }
    return false;
  }
  int Save() {
    XRSFile2JP2 writer;
    writer.SetXRSFile(&image_.File());
    writer.SetTileSize(100);
    const Window whole = WholeWindowOf(image_.Band(0));
    return writer.Save(path_, whole.x0, whole.x1, whole.y0, whole.y1, err_, 1, "", 0, 0, nullptr);
  }

  TempFolder folder_;
  const std::string path_ = folder_.Path("saved.jp2");
  OpenSample image_;
  XString err_;
};

TEST_P(SavedAsJp2, IsReadByOpenJpeg) {
  if (HasWideSamples()) {
    EXPECT_EQ(0, Save());
    EXPECT_EQ("The size of datatype must be less than 2 bytes", err_.AsStdString());
    return;
  }
  ASSERT_EQ(1, Save()) << err_;
  const OpjImage decoded = DecodeByOpj(ReadBytes(path_));
  ASSERT_TRUE(decoded.isOpen);
  EXPECT_THAT(decoded.complaints, testing::IsEmpty());
  OpenSample again(GetParam());
  const std::vector<WrittenBand> bands = ReadBands(again.File());
  ASSERT_EQ(bands.size(), decoded.components.size());
  for (std::size_t i = 0; i < bands.size(); ++i) {
    EXPECT_TRUE(bands[i].bytes == BytesOf(decoded.components[i])) << "band " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, SavedAsJp2, testing::ValuesIn(SmallSamples()), NameOf);

}  // namespace
