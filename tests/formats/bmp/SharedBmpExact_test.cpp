#include "ForeignFiles.h"
#include "Samples.h"
#include "XFormatId.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <filesystem>

// Pictures of a suite of test images that come in several kinds. Each kind has the same pixels, so that one that other
// readers know tells what another must be.

namespace {

std::vector<Pixels> ReadExactly(const std::string& name) {
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  XString err;
  const std::string path = PathOfForeign("bmp", name);
  EXPECT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatBMP, path, err, 0, kLevelNone, nullptr)) << err.GetText();
  std::vector<Pixels> channels;
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    channels.push_back(ReadPixels(*file.GetBandAt(i), 0, WholeWindowOf(*file.GetBandAt(i))));
  }
  return channels;
}

void ExpectSamePicture(const std::string& known, const std::vector<std::string>& others) {
  if (!std::filesystem::exists(PathOfForeign("bmp", known))) GTEST_SKIP() << "no shared data";
  const std::vector<Pixels> wanted = ReadExactly(known);
  ASSERT_EQ(3u, wanted.size());
  ASSERT_FALSE(wanted[0].bytes.empty());
  for (const std::string& other : others) EXPECT_EQ(wanted, ReadExactly(other)) << other;
}

TEST(SharedBmpExact, IndexedPicturesAreTheSameInAllTheirKinds) {
  ExpectSamePicture("pal8.bmp", {"pal8v5.bmp", "pal8topdown.bmp", "pal8rle.bmp", "pal8os2.bmp"});
}

TEST(SharedBmpExact, PicturesOfFourBitsAreTheSameInAllTheirKinds) {
  ExpectSamePicture("pal4.bmp", {"pal4rle.bmp"});
}

TEST(SharedBmpExact, DirectPicturesAreTheSameInAllTheirKinds) {
  ExpectSamePicture("rgb24.bmp", {"rgb32.bmp", "rgb32bf.bmp"});
}

}  // namespace
