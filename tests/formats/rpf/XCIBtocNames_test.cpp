#include "FaultyDisk.h"
#include "TempFolder.h"
#include "TocBuilder.h"
#include "XCIBtoc.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

/// The system's disk, which keeps what was looked up and listed.
class WatchedDisk : public FaultyDisk {
 public:
  bool Exists(const std::string& path) override {
    asked.push_back(path);
    return FaultyDisk::Exists(path);
  }
  int ListFolder(const std::string& folder, std::vector<std::string>& names) override {
    listed.push_back(folder);
    return FaultyDisk::ListFolder(folder, names);
  }

  std::vector<std::string> asked;
  std::vector<std::string> listed;
};

/// Works in a folder of its own, so that relative paths can be tried.
class TocNames : public testing::Test {
 protected:
  TocNames() : before_(fs::current_path()) { fs::current_path(folder_.Path()); }
  ~TocNames() override { fs::current_path(before_); }

  /// One frame with that path and name, in a table of contents at `path`.
  static void Load(XCIBtoc& toc, const std::string& path, const std::string& stored, const std::string& name) {
    WriteFile(path, TocBuilder().Boundary().Frame(0, 0, 0, stored, name).Build());
    ASSERT_EQ(1, toc.LoadFile(path));
  }
  static void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes = {1}) {
    if (fs::path(path).has_parent_path()) fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  static std::string NameOf(const std::string& path, const std::string& stored, const std::string& name) {
    XCIBtoc toc;
    Load(toc, path, stored, name);
    return toc.GetFrameFilename(0).AsStdString();
  }
  static std::string PathOf(const std::string& path, const std::string& stored, const std::string& name,
                            bool mayLeave = false) {
    XCIBtoc toc;
    Load(toc, path, stored, name);
    return toc.GetFramePath(0, mayLeave).AsStdString();
  }

  TempFolder folder_;
  fs::path before_;
};

TEST_F(TocNames, ANameIsDirectoryPathAndFile) {
  EXPECT_EQ("maps\\ONC\\ZONE2\\RPFTOC01.ON2", NameOf("maps\\A.TOC", "./ONC/ZONE2/", "RPFTOC01.ON2"));
  EXPECT_EQ("a\\b\\X.ON2       ", NameOf("a\\b\\A.TOC", "./", "X.ON2"));
}

TEST_F(TocNames, APathWithoutABackslashHasItsFirstCharacterAsDirectory) {
  EXPECT_EQ("AONC\\RPFTOC01.ON2", NameOf("A.TOC", "./ONC/", "RPFTOC01.ON2"));
  const std::string whole = folder_.Path("A.TOC");
  EXPECT_EQ("/ONC\\RPFTOC01.ON2", NameOf(whole, "./ONC/", "RPFTOC01.ON2"));
  EXPECT_EQ("\\ONC\\RPFTOC01.ON2", NameOf("\\A.TOC", "./ONC/", "RPFTOC01.ON2"));
}

TEST_F(TocNames, AStoredPathLosesTwoCharactersWhateverTheyAre) {
  EXPECT_EQ("AC\\RPFTOC01.ON2", NameOf("A.TOC", "ONC/", "RPFTOC01.ON2"));
  EXPECT_EQ("ARPFTOC01.ON2", NameOf("A.TOC", "./", "RPFTOC01.ON2"));
  EXPECT_EQ("ARPFTOC01.ON2", NameOf("A.TOC", "x", "RPFTOC01.ON2"));
  EXPECT_EQ("ARPFTOC01.ON2", NameOf("A.TOC", "", "RPFTOC01.ON2"));
}

TEST_F(TocNames, ADroppedPathLeavesDirectoryAndFile) {
  WriteFile("A.TOC", TocBuilder().Boundary().Frame(0, 0, 0, "./A/", "RPFTOC01.ON2").ClaimPaths(0).Build());
  XCIBtoc toc;
  ASSERT_EQ(1, toc.LoadFile("A.TOC"));
  EXPECT_EQ("ARPFTOC01.ON2", toc.GetFrameFilename(0).AsStdString());
}

TEST_F(TocNames, AFrameWithoutANameHasNone) {
  EXPECT_EQ("", NameOf("A.TOC", "./ONC/", std::string(12, '\0')));
}

TEST_F(TocNames, TheIndexBehindTheLastFrameHasNoName) {
  XCIBtoc toc;
  Load(toc, "A.TOC", "./ONC/", "RPFTOC01.ON2");
  for (const int index : {1, 2, -1, 1 << 30}) {
    EXPECT_TRUE(toc.GetFrameFilename(index).IsEmpty()) << index;
    EXPECT_TRUE(toc.GetFramePath(index).IsEmpty()) << index;
  }
}

TEST_F(TocNames, TheFirstFrameOfAPlaceIsFound) {
  TocBuilder builder = TocBuilder().Boundary().Frame(0, 1, 2, "./A/", "FIRST000.ON2");
  builder.Frame(1, 1, 2, "./B/", "SECOND00.ON2").Frame(0, 1, 2, "./C/", "THIRD000.ON2");
  WriteFile("A.TOC", builder.Build());
  XCIBtoc toc;
  ASSERT_EQ(1, toc.LoadFile("A.TOC"));
  EXPECT_EQ("AA\\FIRST000.ON2", toc.GetFrameFilename(1, 2, 0).AsStdString());
  EXPECT_EQ("AB\\SECOND00.ON2", toc.GetFrameFilename(1, 2, 1).AsStdString());
  EXPECT_TRUE(toc.GetFrameFilename(2, 1, 0).IsEmpty());
  EXPECT_TRUE(toc.GetFrameFilename(1, 2, 2).IsEmpty());
}

TEST_F(TocNames, APathLeadsFromTheFolderOfTheTable) {
  WriteFile("maps/ONC/ZONE2/A.ON2");
  EXPECT_EQ("maps/ONC/ZONE2/A.ON2", PathOf("maps/A.TOC", "./ONC/ZONE2/", "A.ON2"));
  EXPECT_EQ("maps/ONC/ZONE2/A.ON2", PathOf("maps/A.TOC", ".\\ONC\\ZONE2", "A.ON2"));
  EXPECT_EQ("maps/ONC/ZONE2/A.ON2", PathOf("maps/A.TOC", ".//ONC/./ZONE2//", "A.ON2"));
  EXPECT_EQ("maps/ONC/ZONE2/A.ON2", PathOf("maps/A.TOC", "ONC/ZONE2", "A.ON2"));
  const std::string whole = folder_.Path("maps/");
  EXPECT_EQ(whole + "ONC/ZONE2/A.ON2", PathOf(whole + "A.TOC", "./ONC/ZONE2/", "A.ON2"));
  WriteFile("A.ON2");
  EXPECT_EQ("A.ON2", PathOf("A.TOC", "./", "A.ON2"));
}

TEST_F(TocNames, LetterCaseIsThatOfTheDisk) {
  WriteFile("maps/Onc/zone2/a.on2");
  EXPECT_EQ("maps/Onc/zone2/a.on2", PathOf("maps/A.TOC", "./ONC/ZONE2/", "A.ON2"));
  WriteFile("b.on2");
  EXPECT_EQ("b.on2", PathOf("A.TOC", "./", "B.ON2"));
}

TEST_F(TocNames, TheExactNameComesBeforeOthers) {
  for (const char* name : {"a.ON2", "A.on2", "A.ON2"}) WriteFile(name);
  EXPECT_EQ("A.ON2", PathOf("A.TOC", "./", "A.ON2"));
  fs::remove("A.ON2");
  EXPECT_EQ("A.on2", PathOf("A.TOC", "./", "A.ON2"));
}

TEST_F(TocNames, AMissingFileHasThePathWhereItShouldBe) {
  fs::create_directories("maps/onc");
  EXPECT_EQ("maps/onc/A.ON2", PathOf("maps/A.TOC", "./ONC/", "A.ON2"));
  EXPECT_EQ("maps/TPC/sub/A.ON2", PathOf("maps/A.TOC", "./TPC/sub/", "A.ON2"));
}

TEST_F(TocNames, PathsThatLeadOutAreFollowedOnlyWhenAsked) {
  WriteFile("other/A.ON2");
  EXPECT_EQ("", PathOf("maps/A.TOC", "./../other/", "A.ON2"));
  EXPECT_EQ("maps/../other/A.ON2", PathOf("maps/A.TOC", "./../OTHER/", "A.ON2", true));
  EXPECT_EQ("", PathOf("maps/A.TOC", "..\\other\\", "A.ON2"));
  EXPECT_EQ("", PathOf("maps/A.TOC", "./", "../A.ON2"));
  const std::string root = folder_.Path("other/");
  EXPECT_EQ("", PathOf("maps/A.TOC", root, "A.ON2"));
  EXPECT_EQ(root + "A.ON2", PathOf("maps/A.TOC", root, "A.ON2", true));
  EXPECT_EQ("", PathOf("maps/A.TOC", "\\other\\", "A.ON2"));
  EXPECT_EQ("", PathOf("maps/A.TOC", "C:\\other\\", "A.ON2"));
  EXPECT_EQ("", PathOf("maps/A.TOC", "", "/A.ON2"));
}

TEST_F(TocNames, LinksThatLeadOutAreFollowedOnlyWhenAsked) {
  WriteFile("other/A.ON2");
  WriteFile("maps/in/A.ON2");
  fs::create_symlink("../other", "maps/ONC");
  fs::create_symlink("in", "maps/LINK");
  fs::create_symlink("../other/A.ON2", "maps/FILE.ON2");
  EXPECT_EQ("", PathOf("maps/A.TOC", "./ONC/", "A.ON2"));
  EXPECT_EQ("", PathOf("maps/A.TOC", "./onc/", "MISSING.ON2"));
  EXPECT_EQ("", PathOf("maps/A.TOC", "./", "FILE.ON2"));
  EXPECT_EQ("maps/ONC/A.ON2", PathOf("maps/A.TOC", "./onc/", "A.ON2", true));
  EXPECT_EQ("maps/LINK/A.ON2", PathOf("maps/A.TOC", "./LINK/", "A.ON2"));
}

TEST_F(TocNames, NothingIsLookedUpBehindALinkThatLeadsOut) {
  WriteFile("other/sub/A.ON2");
  fs::create_directories("maps");
  fs::create_symlink("../other", "maps/ONC");
  XCIBtoc toc;
  Load(toc, "maps/A.TOC", "./ONC/SUB/", "A.ON2");
  WatchedDisk disk;
  const zrk::ScopedDisk scope(disk);
  EXPECT_TRUE(toc.GetFramePath(0).IsEmpty());
  EXPECT_EQ(std::vector<std::string>{"maps/ONC"}, disk.asked);
  EXPECT_TRUE(disk.listed.empty());
}

TEST_F(TocNames, ALinkToTheFolderItselfLeadsNowhereElse) {
  fs::create_directories("maps");
  fs::create_symlink(".", "maps/SELF");
  EXPECT_EQ("maps/SELF/A.ON2", PathOf("maps/A.TOC", "./SELF/", "A.ON2"));
}

TEST_F(TocNames, AFolderIsListedOnceHoweverItIsSpelled) {
  WriteFile("maps/a.on2");
  fs::create_symlink(".", "maps/l");
  TocBuilder builder = TocBuilder().Boundary().Frame(0, 0, 0, "./", "A.ON2");
  builder.Frame(0, 0, 1, "./l/", "A.ON2").Frame(0, 0, 2, "./l/l/", "A.ON2");
  WriteFile("maps/A.TOC", builder.Build());
  XCIBtoc toc;
  ASSERT_EQ(1, toc.LoadFile("maps/A.TOC"));
  WatchedDisk disk;
  const zrk::ScopedDisk scope(disk);
  EXPECT_EQ("maps/l/l/a.on2", toc.GetFramePath(2).AsStdString());
  EXPECT_EQ("maps/l/a.on2", toc.GetFramePath(1, true).AsStdString());
  EXPECT_EQ("maps/a.on2", toc.GetFramePath(0).AsStdString());
  EXPECT_EQ(1u, disk.listed.size());
}

TEST_F(TocNames, AFolderThatIsALinkIsStillTheFolder) {
  WriteFile("maps/ONC/A.ON2");
  fs::create_symlink("maps", "link");
  EXPECT_EQ("link/ONC/A.ON2", PathOf("link/A.TOC", "./ONC/", "A.ON2"));
}

TEST_F(TocNames, ANeighbourWithTheSameBeginningIsOutside) {
  WriteFile("maps2/A.ON2");
  fs::create_directories("maps");
  fs::create_symlink("../maps2", "maps/X");
  EXPECT_EQ("", PathOf("maps/A.TOC", "./X/", "A.ON2"));
}

TEST_F(TocNames, NamesWithoutAPartLeadNowhere) {
  EXPECT_EQ("", PathOf("A.TOC", "./ONC/", std::string(12, ' ')));
  EXPECT_EQ("", PathOf("A.TOC", "./ONC/", "./././."));
}

}  // namespace
