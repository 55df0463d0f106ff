#include "XImageHelper.h"

#include "MapScene.h"
#include "XFormatTable.h"
#include "XRSFile.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

class ConvertImage2JPG : public MapScene {
 protected:
  int Convert(double xPixelSize, double yPixelSize, const std::string& name = "a.jpg", XThread* thread = nullptr) {
    return XfnConvertImage2JPG(Out(name), err_, nullptr, &manager_, kLeft, kTop - 640, kLeft + 640, kTop, xPixelSize,
                               yPixelSize, thread);
  }
};

TEST_F(ConvertImage2JPG, RendersARectangleAtItsPixelSizes) {
  Fill<std::uint8_t>(bands_[0], 64, 64, [](int, int y) { return y < 32 ? 200 : 50; });
  Show({&bands_[0]});
  ASSERT_EQ(1, Convert(10, 20)) << err_.GetText();
  XRSFile file;
  ASSERT_EQ(1, XfnOpenFile(&file, Out("a.jpg"), err_, nullptr));
  EXPECT_EQ(64, file.GetBandAt(0)->GetXSize());
  EXPECT_EQ(32, file.GetBandAt(0)->GetYSize());
  tagXArr2* pixels = nullptr;
  ASSERT_EQ(1, file.GetBandAt(0)->ReadSubset(pixels, 0, 0, 63, 0, 31, nullptr));
  EXPECT_NEAR(200, pixels->Row(2)[30], 3);
  EXPECT_NEAR(50, pixels->Row(29)[30], 3);
}

/// Annex K of the standard has 16, 11, 12, 14, 12, 10, 16 and 14 at quality 50, in the order of the file. At 90 there
/// is a fifth of each, with halves rounded up.
TEST_F(ConvertImage2JPG, PacksAtAQualityOf90) {
  ASSERT_EQ(1, Convert(40, 40));
  const std::vector<unsigned char> bytes = ReadBytes(Out("a.jpg"));
  const std::vector<unsigned char> tables = {0xFF, 0xDB, 0, 67, 0, 3, 2, 2, 3, 2, 2, 3, 3};
  EXPECT_NE(bytes.end(), std::search(bytes.begin(), bytes.end(), tables.begin(), tables.end()));
}

TEST_F(ConvertImage2JPG, IsBlackWithoutData) {
  ASSERT_EQ(1, Convert(40, 40));
  XRSFile file;
  ASSERT_EQ(1, XfnOpenFile(&file, Out("a.jpg"), err_, nullptr));
  tagXArr2* pixels = nullptr;
  ASSERT_EQ(1, file.GetBandAt(0)->ReadSubset(pixels, 0, 0, 15, 0, 15, nullptr));
  EXPECT_EQ(0, pixels->data[100]);
}

TEST_F(ConvertImage2JPG, RefusesPicturesThatCannotBe) {
  EXPECT_EQ(0, XfnConvertImage2JPG(Out("a.jpg"), err_, nullptr, nullptr, 0, 0, 1, 1, 1, 1, nullptr));
  EXPECT_EQ(XString("Invalid ZRM composite manager"), err_);
  for (const double pixel : {0.0, -1.0, 1e-9, static_cast<double>(NAN)}) {
    EXPECT_EQ(0, Convert(pixel, 10));
    EXPECT_EQ(XString("Invalid output image size"), err_);
  }
  EXPECT_EQ(0, Convert(10, 10, "none/a.jpg"));
  EXPECT_EQ(XString("Fail to create output JPEG File"), err_);
}

TEST_F(ConvertImage2JPG, LeavesNoFileWhereItIsStopped) {
  ShowColours(64, 64);
  XThread thread;
  thread.SetState(XThread::kStateStop);
  EXPECT_EQ(0, Convert(10, 10, "a.jpg", &thread));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_FALSE(HasFile("a.jpg"));
}

TEST_F(ConvertImage2JPG, TellsWhyABandCannotBeReadInTheExactPolicy) {
  ShowColours(64, 64);
  bands_[1].FailReads();
  EXPECT_EQ(1, Convert(10, 10));
  const DefaultPolicy policy(kReadExact);
  EXPECT_EQ(0, Convert(10, 10, "b.jpg"));
  EXPECT_FALSE(err_.IsEmpty());
  EXPECT_FALSE(HasFile("b.jpg"));
}

}  // namespace
