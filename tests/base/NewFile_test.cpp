// A new file beside an old one, from its beginning to its name: published, given up, led to by links, and with a disk
// that fails. What is expected is what lies in the folder afterwards.

#include "base/NewFile.h"

#include "FaultyDisk.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class NewFileTest : public testing::Test {
 protected:
  static constexpr const char* kOld = "the old one";
  static constexpr const char* kNew = "new";

  std::string Path(const std::string& name = "a") const { return folder_.Path(name); }
  std::string TextOf(const std::string& name) const {
    const auto bytes = ReadBytes(Path(name));
    return {bytes.begin(), bytes.end()};
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_.Path())) names.push_back(entry.path().filename().string());
    return names;
  }
  static bool Write(zrk::NewFile& file) { return file.File().Write(kNew, 3); }
  /// Begins a file, writes it and publishes it.
  bool WriteTo(const std::string& name) {
    zrk::NewFile file;
    return file.BeginOrFill(Path(name)) && Write(file) && file.Publish();
  }

  TempFolder folder_;
};

TEST_F(NewFileTest, HasItsNameOnceItIsPublished) {
  folder_.Write("a", kOld);
  zrk::NewFile file;
  ASSERT_TRUE(file.Begin(Path()));
  ASSERT_TRUE(Write(file));
  EXPECT_EQ(kOld, TextOf("a"));
  EXPECT_EQ(kNew, TextOf("a_tmp"));
  EXPECT_TRUE(file.Publish());
  EXPECT_EQ(kNew, TextOf("a"));
  EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(NewFileTest, LeavesTheOldOneAsItIsWhenThatIsDropped) {
  zrk::NewFile file;
  ASSERT_TRUE(file.Begin(Path()));
  file.DropOld();
  EXPECT_THAT(Names(), ElementsAre("a_tmp"));
  folder_.Write("a", kOld);
  file.DropOld();
  EXPECT_EQ(kOld, TextOf("a"));
}

TEST_F(NewFileTest, GoesAwayWhereItIsNotPublished) {
  folder_.Write("a", kOld);
  {
    zrk::NewFile file;
    ASSERT_TRUE(file.Begin(Path()));
    ASSERT_TRUE(Write(file));
  }
  EXPECT_EQ(kOld, TextOf("a"));
  EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(NewFileTest, IsLeftBesideAnOldOneAndOtherwiseUnderTheName) {
  for (const bool isOldThere : {true, false}) {
    if (isOldThere) folder_.Write("a", kOld);
    zrk::NewFile file;
    ASSERT_TRUE(file.Begin(Path()));
    ASSERT_TRUE(Write(file));
    file.Leave();
    EXPECT_EQ(kNew, TextOf(isOldThere ? "a_tmp" : "a"));
    EXPECT_EQ(isOldThere ? kOld : kNew, TextOf("a"));
    fs::remove(Path("a"));
    fs::remove(Path("a_tmp"));
  }
}

TEST_F(NewFileTest, ReplacesWhatALinkLeadsTo) {
  fs::create_directory(Path("there"));
  folder_.Write("there/b", kOld);
  fs::create_symlink("there/b", Path("second"));
  fs::create_symlink(Path("second"), Path("a"));
  ASSERT_TRUE(WriteTo("a"));
  EXPECT_TRUE(fs::is_symlink(Path("a")));
  EXPECT_TRUE(fs::is_symlink(Path("second")));
  EXPECT_EQ(kNew, TextOf("there/b"));
  EXPECT_THAT(Names(), UnorderedElementsAre("a", "second", "there"));
}

TEST_F(NewFileTest, IsMadeWhereALinkLeadsToNothing) {
  fs::create_symlink("b", Path("a"));
  ASSERT_TRUE(WriteTo("a"));
  EXPECT_TRUE(fs::is_symlink(Path("a")));
  EXPECT_EQ(kNew, TextOf("b"));
}

TEST_F(NewFileTest, IsNotBegunWhereALinkLeadsToItself) {
  fs::create_symlink("a", Path("a"));
  EXPECT_FALSE(WriteTo("a"));
  EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(NewFileTest, FillsAnEmptyOneWhereItLies) {
  folder_.Write("a", "");
  fs::create_hard_link(Path("a"), Path("held"));
  ASSERT_TRUE(WriteTo("a"));
  EXPECT_EQ(kNew, TextOf("held"));
}

TEST_F(NewFileTest, IsOneAtATime) {
  zrk::NewFile first, second;
  ASSERT_TRUE(first.Begin(Path()));
  EXPECT_FALSE(second.Begin(Path()));
  EXPECT_TRUE(first.Publish());
  EXPECT_TRUE(second.Begin(Path()));
}

TEST_F(NewFileTest, IsNotPublishedWhereThatFailsAndTheOldOneStays) {
  folder_.Write("a", kOld);
  const std::vector<std::function<void(FaultyDisk&)>> faults = {[](FaultyDisk& disk) { disk.FailSync(1); },
                                                                [](FaultyDisk& disk) { disk.FailClose(1); },
                                                                [](FaultyDisk& disk) { disk.FailRename(1); }};
  for (const auto& fail : faults) {
    FaultyDisk disk;
    fail(disk);
    const zrk::ScopedDisk scoped(disk);
    EXPECT_FALSE(WriteTo("a"));
    EXPECT_EQ(kOld, TextOf("a"));
    EXPECT_THAT(Names(), ElementsAre("a"));
  }
}

TEST_F(NewFileTest, IsNothingBeforeItIsBegun) {
  zrk::NewFile file;
  EXPECT_FALSE(file.IsBegun());
  EXPECT_FALSE(file.Publish());
  file.Leave();
  EXPECT_FALSE(file.Begin(Path("missing/a")));
  EXPECT_THAT(Names(), IsEmpty());
}

}  // namespace
