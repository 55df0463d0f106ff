// Level files and the bytes of their images, in both policies. Images are bitmaps on disk, whose times are set by the
// test where they matter.

#include "BmpBuilder.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XFormatTable.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "ZRMBandDRIO.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <filesystem>
#include <memory>
#include <string>

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;
using testing::Not;

class StaleLevels : public testing::Test {
 protected:
  StaleLevels() { WriteImage(0); }

  std::string Image() const { return folder_.Path("a.bmp"); }
  std::string Levels() const { return folder_.Path("a.xld"); }
  /// A bitmap that has levels; `shade` changes its pixels and not its size.
  void WriteImage(int shade) {
    folder_.Write("a.bmp", BmpBuilder()
                               .Size(600, 500)
                               .Pixel([shade](int x, int y) {
                                 return static_cast<std::uint32_t>(0x010101 * ((x / 8 + y / 8 + shade) & 0xFF));
                               })
                               .Build());
  }
  int Open(XRSFile& file, XReadPolicy policy, int levelMode = kLevelNone) {
    file.SetReadPolicy(policy);
    const int isLoaded = XRSFileIO::LoadFileBMP(&file, Image(), err_, 0, levelMode, nullptr);
    EXPECT_EQ(1, isLoaded) << err_.GetText();
    return isLoaded;
  }
  /// Whether a load attaches the level file.
  bool IsUsed(XReadPolicy policy, int levelMode = kLevelNone) {
    XRSFile file;
    return Open(file, policy, levelMode) && file.GetBandAt(0)->GetLevelSource()->GetBandXLD();
  }
  void Build(XReadPolicy policy = kReadCompatible) {
    XRSFile file;
    Open(file, policy);
    ASSERT_EQ(1, XRSFileIO::CreateFileXLD(&file, Image(), err_, kLevelBuild, nullptr)) << err_.GetText();
  }
  /// Seconds since 1970.
  static void SetTime(const std::string& path, std::int64_t seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, 0));
  }
  static struct stat StatusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(0, ::stat(path.c_str(), &status));
    return status;
  }
  std::string LevelBytes() const {
    const auto bytes = ReadBytes(Levels());
    return std::string(bytes.begin(), bytes.end());
  }
  /// The image's element, as the page about the files tells it.
  static std::string ElementOf(const struct stat& status, const std::string& fingerprint) {
    const auto time = [](const timespec& t) {
      std::string nanoseconds = std::to_string(t.tv_nsec);
      return std::to_string(t.tv_sec) + std::string(9 - nanoseconds.size(), '0') + nanoseconds;
    };
    return "<XRS_TAG_IMAGE length=\"" + std::to_string(status.st_size) + "\" modified=\"" + time(status.st_mtim) +
           "\" changed=\"" + time(status.st_ctim) + "\" fingerprint=\"" + fingerprint + "\" />";
  }
  std::string Fingerprint() const {
    const std::string bytes = LevelBytes();
    const std::size_t first = bytes.find("fingerprint=\"") + 13;
    return bytes.substr(first, bytes.find('"', first) - first);
  }
  /// Blanks in place of the image's element, as an older writer left a level file.
  void ForgetImage() {
    std::string bytes = LevelBytes();
    const std::size_t first = bytes.find("<XRS_TAG_IMAGE"), count = bytes.find('>', first) + 1 - first;
    bytes.replace(first, count, count, ' ');
    folder_.Write("a.xld", bytes);
  }

  TempFolder folder_;
  XString err_;
};

TEST_F(StaleLevels, TellLengthTimesAndFingerprintOfTheImage) {
  Build();
  EXPECT_THAT(LevelBytes(), HasSubstr(ElementOf(StatusOf(Image()), Fingerprint())));
}

TEST_F(StaleLevels, OfTheSameImageAreUsedInBothPolicies) {
  Build();
  EXPECT_TRUE(IsUsed(kReadCompatible));
  EXPECT_TRUE(IsUsed(kReadExact));
  EXPECT_NE(XString(kLevelFileIsStale), err_);
}

TEST_F(StaleLevels, OfOtherPixelsAreUsedInTheCompatiblePolicy) {
  Build();
  WriteImage(50);
  EXPECT_TRUE(IsUsed(kReadCompatible));
}

TEST_F(StaleLevels, OfOtherPixelsAreNotUsedInTheExactPolicy) {
  Build();
  WriteImage(50);
  EXPECT_FALSE(IsUsed(kReadExact));
  EXPECT_EQ(XString(kLevelFileIsStale), err_);
}

TEST_F(StaleLevels, OfOtherPixelsUnderTheOldTimeAreNotUsedInTheExactPolicy) {
  SetTime(Image(), 1'500'000'000);
  Build();
  WriteImage(50);
  SetTime(Image(), 1'500'000'000);
  EXPECT_FALSE(IsUsed(kReadExact));
}

TEST_F(StaleLevels, OfAnotherLengthAreNotUsedInTheExactPolicy) {
  Build();
  fs::resize_file(Image(), fs::file_size(Image()) + 1);
  EXPECT_FALSE(IsUsed(kReadExact));
}

TEST_F(StaleLevels, LeaveStatisticsOfTheImageAsTheyAreInTheExactPolicy) {
  Build();
  WriteImage(50);
  XRSFile file;
  Open(file, kReadExact);
  EXPECT_EQ(kNotSet, file.GetBandAt(0)->GetBandMean());
}

TEST_F(StaleLevels, OfTheSameBytesUnderOtherTimesAreUsedAndGetTheTimes) {
  Build();
  const std::string before = LevelBytes();
  SetTime(Image(), 1'500'000'000);
  EXPECT_TRUE(IsUsed(kReadExact));
  const std::string element = ElementOf(StatusOf(Image()), Fingerprint());
  EXPECT_THAT(before, Not(HasSubstr(element)));
  EXPECT_THAT(LevelBytes(), HasSubstr(element));
  EXPECT_EQ(before.size(), LevelBytes().size());
}

TEST_F(StaleLevels, OfACopyAreUsed) {
  Build();
  fs::copy_file(Image(), folder_.Path("b.bmp"));
  fs::rename(folder_.Path("b.bmp"), Image());
  EXPECT_TRUE(IsUsed(kReadExact));
}

TEST_F(StaleLevels, ThatCannotBeWrittenAreStillUsed) {
  Build();
  fs::permissions(Levels(), fs::perms::owner_read);
  SetTime(Image(), 1'500'000'000);
  EXPECT_TRUE(IsUsed(kReadExact));
}

TEST_F(StaleLevels, WithoutAnImageAreUsedWhereTheyAreNotOlder) {
  Build();
  ForgetImage();
  SetTime(Image(), 1'500'000'000);
  SetTime(Levels(), 1'500'000'000);
  EXPECT_TRUE(IsUsed(kReadExact));
  SetTime(Levels(), 1'499'999'999);
  EXPECT_FALSE(IsUsed(kReadExact));
  EXPECT_TRUE(IsUsed(kReadCompatible));
}

TEST_F(StaleLevels, OfAMalformedImageAreNotUsedInTheExactPolicy) {
  Build();
  std::string bytes = LevelBytes();
  bytes.replace(bytes.find("length=\"") + 8, 1, "x");
  folder_.Write("a.xld", bytes);
  EXPECT_FALSE(IsUsed(kReadExact));
  EXPECT_TRUE(IsUsed(kReadCompatible));
}

TEST_F(StaleLevels, AreBuiltAnewWhereTheLoadMay) {
  Build();
  WriteImage(50);
  EXPECT_TRUE(IsUsed(kReadExact, kLevelBuild));
  EXPECT_TRUE(IsUsed(kReadExact));
}

TEST_F(StaleLevels, AreNotUsedWhereTheyCannotBeBuiltAnew) {
  Build();
  WriteImage(50);
  fs::create_directory(Levels() + "_tmp");
  EXPECT_FALSE(IsUsed(kReadExact, kLevelStatistics));
}

TEST_F(StaleLevels, AreNotMadeOfAnImageThatWasReplacedSinceItWasOpened) {
  XRSFile file;
  Open(file, kReadExact);
  WriteImage(50);
  EXPECT_EQ(0, XRSFileIO::CreateFileXLD(&file, Image(), err_, kLevelBuild, nullptr));
  EXPECT_EQ(XString("The image was changed while its levels were made"), err_);
  EXPECT_FALSE(XFile::Exists(Levels()));
}

TEST_F(StaleLevels, OfAnImageThatWasReplacedSinceItWasOpenedFitNoneInTheCompatiblePolicy) {
  XRSFile file;
  Open(file, kReadCompatible);
  WriteImage(50);
  ASSERT_EQ(1, XRSFileIO::CreateFileXLD(&file, Image(), err_, kLevelBuild, nullptr));
  EXPECT_TRUE(IsUsed(kReadCompatible));
  EXPECT_FALSE(IsUsed(kReadExact));
}

TEST_F(StaleLevels, AreToldByTheCheck) {
  Build();
  WriteImage(50);
  XRSFile file;
  Open(file, kReadExact);
  EXPECT_EQ(0, XRSFileIO::CheckFileXLD(&file, Image(), err_, nullptr));
  EXPECT_EQ(XString(kLevelFileIsStale), err_);
}

TEST_F(StaleLevels, AreRemarkedByAnOpeningThatSucceeds) {
  Build();
  WriteImage(50);
  XRSFile exact, compatible;
  exact.SetReadPolicy(kReadExact);
  ASSERT_EQ(1, XfnOpenFile(&exact, Image(), err_, nullptr));
  EXPECT_EQ(XString(kLevelFileIsStale), err_);
  ASSERT_EQ(1, XfnOpenFile(&compatible, Image(), err_, nullptr));
  EXPECT_EQ(XString(), err_);
}

TEST_F(StaleLevels, OfAReplacedImageAreRemoved) {
  Build();
  const auto length = static_cast<std::int64_t>(fs::file_size(Image()));
  EXPECT_EQ(1, XRSFileIO::RemoveFileXLD(Image(), 0));
  EXPECT_EQ(1, XRSFileIO::RemoveFileXLD(Image(), length + 1));
  EXPECT_TRUE(XFile::Exists(Levels()));
  EXPECT_EQ(1, XRSFileIO::RemoveFileXLD(Image(), length));
  EXPECT_FALSE(XFile::Exists(Levels()));
  EXPECT_EQ(1, XRSFileIO::RemoveFileXLD(Image(), length));
}

TEST_F(StaleLevels, OfAReplacedImageThatALinkLeadsToAreRemoved) {
  Build();
  fs::create_symlink("a.bmp", folder_.Path("b.bmp"));
  EXPECT_EQ(1, XRSFileIO::RemoveFileXLD(folder_.Path("b.bmp"), static_cast<std::int64_t>(fs::file_size(Image()))));
  EXPECT_FALSE(XFile::Exists(Levels()));
}

TEST_F(StaleLevels, GoWithTheImageThatASaveReplaces) {
  for (const std::string name : {"b.tif", "b.zrm"}) {
    SCOPED_TRACE(name);
    XRSFile source;
    Open(source, kReadCompatible);
    const auto save = [&] {
      return name == "b.tif"
                 ? XRSFileIO::SaveFileTiff(&source, folder_.Path(name), 0, 599, 0, 499, err_, nullptr)
                 : XRSFileIO::SaveFileZRM(&source, folder_.Path(name), 0, 0, 599, 0, 499, err_, nullptr, 100, 0, 1);
    };
    const std::string levels = folder_.Path("b.xld");
    Build();
    fs::copy_file(Levels(), levels, fs::copy_options::overwrite_existing);
    ASSERT_EQ(1, save()) << err_.GetText();
    EXPECT_TRUE(XFile::Exists(levels)) << "nothing was replaced";
    // As an older writer left it, so that any image may be meant.
    ForgetImage();
    fs::copy_file(Levels(), levels, fs::copy_options::overwrite_existing);
    ASSERT_EQ(1, save()) << err_.GetText();
    EXPECT_FALSE(XFile::Exists(levels));
  }
}

}  // namespace
