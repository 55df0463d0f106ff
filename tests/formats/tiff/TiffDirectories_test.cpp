#include "ExactTiffs.h"

#include "XRSFile.h"
#include "XRSFileIO.h"

namespace {

constexpr int kOwnTag = 65000, kDouble = 12;

/// Files with a tag of a further program, whose two values do not fit into its entry.
class TiffDirectories : public ExactTiffs {
 protected:
  static TiffBuilder WithTag() { return TiffBuilder().Size(20, 10).Tag(kOwnTag, kDouble, {1, 2}); }
  /// The file with the values of that tag moved to another offset, of which the lowest 32 bits are given.
  static std::vector<unsigned char> Move(std::vector<unsigned char> bytes, bool isBigTiff, std::uint32_t offset) {
    const std::vector<unsigned char> entry = {kOwnTag & 0xFF, kOwnTag >> 8, kDouble, 0, 2, 0, 0, 0};
    const auto found = std::search(bytes.begin(), bytes.end(), entry.begin(), entry.end());
    EXPECT_NE(bytes.end(), found);
    const auto place = found + (isBigTiff ? 12 : 8);
    for (int i = 0; i < 4; ++i) place[i] = static_cast<unsigned char>(offset >> (8 * i));
    return bytes;
  }
  int Load(const std::vector<unsigned char>& bytes, XReadPolicy policy) {
    TempFolder folder;
    folder.Write("a.tif", bytes);
    XRSFile file;
    file.SetReadPolicy(policy);
    err_.Empty();
    return XRSFileIO::LoadFileTIF(&file, folder.Path("a.tif"), err_, 0, 0, nullptr);
  }
  XString err_;
};

TEST_F(TiffDirectories, ThatAreWholeAreRead) {
  for (const bool isBigTiff : {false, true}) {
    TiffBuilder file = WithTag();
    if (isBigTiff) file.BigTiff();
    EXPECT_EQ(1, Load(file.Build(), kReadExact)) << err_.GetText();
  }
  EXPECT_EQ(1, Load(WithTag().BigEndian().Build(), kReadExact)) << err_.GetText();
}

TEST_F(TiffDirectories, ThatAreCutAreRefusedInTheExactPolicy) {
  for (const bool isBigTiff : {false, true}) {
    TiffBuilder file = WithTag();
    if (isBigTiff) file.BigTiff();
    const std::vector<unsigned char> bytes = file.Build();
    const auto last = static_cast<std::uint32_t>(bytes.size()) - 16;
    EXPECT_EQ(1, Load(Move(bytes, isBigTiff, last), kReadExact)) << err_.GetText();
    for (const std::uint32_t offset : {last + 1, 0x7FFFFFF0u, 0xFFFFFFFFu}) {
      EXPECT_EQ(0, Load(Move(bytes, isBigTiff, offset), kReadExact)) << offset;
      EXPECT_EQ(XString("The file ends before the values of its tags do"), err_);
    }
  }
}

TEST_F(TiffDirectories, ThatAreCutAreTakenAsTheyAreInTheCompatiblePolicy) {
  EXPECT_EQ(1, Load(Move(WithTag().Build(), false, 0x7FFFFFF0u), kReadCompatible)) << err_.GetText();
}

}  // namespace
