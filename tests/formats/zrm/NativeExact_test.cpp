#include "NativeFields.h"
#include "TempFolder.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

// Native rasters and the read policy of their dataset, and why reads of damaged ones fail.

namespace {

TEST(NativeExact, BandsReadByThePolicyOfTheirDataset) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 2, false);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    XRSFile file;
    file.SetReadPolicy(policy);
    XString err;
    ASSERT_EQ(1, XRSFileIO::LoadFileZRM(&file, folder.Path("a.zrm"), err, nullptr)) << err.GetText();
    EXPECT_EQ(policy, file.GetBandAt(0)->GetReadPolicy());
    EXPECT_EQ(policy, file.GetBandAt(1)->GetReadPolicy());
  }
}

/// The bytes of a compressed file with one of a tile changed.
std::vector<unsigned char> Damaged(const std::vector<unsigned char>& sound, std::size_t place) {
  std::vector<unsigned char> bytes = sound;
  bytes[place] ^= 0xFF;
  return bytes;
}

TEST(NativeExact, ReadsThatFailNameTheTile) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 1, false);
  XRSFile plain;
  XString err;
  ASSERT_EQ(1, XRSFileIO::LoadFileZRM(&plain, folder.Path("a.zrm"), err, nullptr));
  ASSERT_EQ(1, XRSFileIO::SaveFileZRMComp(&plain, folder.Path("b.zrm"), 1, 0, 19, 0, 9, 0.0, err, nullptr, 0));
  const std::vector<unsigned char> sound = ReadBytes(folder.Path("b.zrm"));
  int numFailed = 0;
  for (std::size_t place = 16; place < sound.size() && numFailed == 0; ++place) {
    folder.Write("c.zrm", Damaged(sound, place));
    XRSFile file;
    if (!XRSFileIO::LoadFileZRM(&file, folder.Path("c.zrm"), err, nullptr)) continue;
    tagXArr2* out = nullptr;
    if (file.GetBandAt(0)->ReadSubset(out, 0, 0, 19, 0, 9, nullptr)) continue;
    ++numFailed;
    XString reason;
    EXPECT_EQ(1, XfnGetLastReadError(reason));
    EXPECT_EQ(0, reason.Find("The tile in column ")) << reason.GetText();
  }
  EXPECT_EQ(1, numFailed);
}

}  // namespace
