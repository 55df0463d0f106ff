// The disk of the operating system behind `zrk::Disk`: reads, writes, mappings, locks, folders and links. What is
// expected is what the system itself and the C++ library say of the same files.

#include "base/Disk.h"

#include "FaultyDisk.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr zrk::DiskOpen kToRead;
constexpr zrk::DiskOpen kToCreate{.read = true, .write = true, .create = true};

class SystemDisk : public testing::Test {
 protected:
  std::shared_ptr<zrk::DiskFile> Open(const zrk::DiskOpen& how) {
    std::shared_ptr<zrk::DiskFile> file;
    EXPECT_EQ(0, zrk::SystemDisk().Open(path_, how, file));
    return file;
  }
  int ErrorOfOpen(const std::string& path, const zrk::DiskOpen& how) {
    std::shared_ptr<zrk::DiskFile> file;
    const int error = zrk::SystemDisk().Open(path, how, file);
    EXPECT_EQ(error == 0, file != nullptr);
    return error;
  }

  TempFolder folder_;
  std::string path_ = folder_.Path("a.bin");
};

}  // namespace

TEST_F(SystemDisk, ReadsUpToTheEnd) {
  folder_.Write("a.bin", "0123456789");
  const auto file = Open(kToRead);
  char bytes[8] = {};
  EXPECT_EQ(4, file->ReadAt(3, bytes, 4));
  EXPECT_EQ("3456", std::string_view(bytes));
  EXPECT_EQ(2, file->ReadAt(8, bytes, 8));
  EXPECT_EQ(0, file->ReadAt(10, bytes, 1));
  EXPECT_EQ(0, file->ReadAt(std::int64_t{1} << 40, bytes, 1));
}

TEST_F(SystemDisk, NegativePlacesAreErrors) {
  const auto file = Open(kToCreate);
  char byte = 'x';
  EXPECT_EQ(-EINVAL, file->ReadAt(-1, &byte, 1));
  EXPECT_EQ(-EINVAL, file->ReadAt(0, &byte, -1));
  EXPECT_EQ(EINVAL, file->WriteAt(-1, &byte, 1));
  EXPECT_EQ(EINVAL, file->WriteAt(0, &byte, -1));
  EXPECT_EQ(EINVAL, file->SetSize(-1));
  EXPECT_EQ(EINVAL, file->Preallocate(-1));
  EXPECT_NE(0, file->WriteAt(INT64_MAX, &byte, 1));
  EXPECT_EQ(0, file->Size());
}

TEST_F(SystemDisk, WritingPastTheEndLeavesZerosBetween) {
  const auto file = Open(kToCreate);
  EXPECT_EQ(0, file->WriteAt(3, "ab", 2));
  EXPECT_EQ(5, file->Size());
  EXPECT_EQ((std::vector<unsigned char>{0, 0, 0, 'a', 'b'}), ReadBytes(path_));
}

TEST_F(SystemDisk, PreallocatedRoomIsTakenOnTheMedium) {
  const auto file = Open(kToCreate);
  EXPECT_EQ(0, file->Preallocate(1 << 20));
  struct stat status;
  ASSERT_EQ(0, stat(path_.c_str(), &status));
  EXPECT_EQ(1 << 20, status.st_size);
  EXPECT_GE(status.st_blocks * 512, 1 << 20);
}

TEST_F(SystemDisk, MapsTheWholeFileAndOutlivesIt) {
  folder_.Write("a.bin", "0123456789");
  auto file = Open(kToRead);
  const auto map = file->Map();
  file.reset();
  unlink(path_.c_str());
  ASSERT_NE(nullptr, map);
  EXPECT_EQ(10, map->Size());
  EXPECT_EQ("0123456789", std::string_view(reinterpret_cast<const char*>(map->Data()), 10));
}

TEST_F(SystemDisk, AnEmptyFileIsNotMapped) {
  EXPECT_EQ(nullptr, Open(kToCreate)->Map());
}

TEST_F(SystemDisk, WhatIsNoRegularFileIsRefusedWithoutWaiting) {
  ASSERT_EQ(0, mkfifo(path_.c_str(), 0600));
  EXPECT_EQ(EINVAL, ErrorOfOpen(path_, kToRead));
  EXPECT_NE(0, ErrorOfOpen(path_, {.read = false, .write = true}));
  EXPECT_EQ(EINVAL, ErrorOfOpen(path_, kToCreate));
  EXPECT_EQ(EINVAL, ErrorOfOpen("/dev/null", kToRead));
  EXPECT_EQ(EISDIR, ErrorOfOpen(folder_.Path(), kToRead));
  EXPECT_EQ(EISDIR, ErrorOfOpen(folder_.Path(), kToCreate));
}

TEST_F(SystemDisk, WhatIsNotThereIsNotOpened) {
  EXPECT_EQ(ENOENT, ErrorOfOpen(path_, kToRead));
  EXPECT_EQ(ENOENT, ErrorOfOpen("", kToRead));
  EXPECT_EQ(ENOENT, ErrorOfOpen(folder_.Path("none/a.bin"), kToCreate));
  EXPECT_FALSE(zrk::SystemDisk().Exists(path_));
}

TEST_F(SystemDisk, AFileThatMustBeThereIsMadeOrKept) {
  constexpr zrk::DiskOpen kToEnsure{.read = true, .ensure = true};
  EXPECT_EQ(0, Open(kToEnsure)->Size());
  folder_.Write("a.bin", "0123456789");
  EXPECT_EQ(10, Open(kToEnsure)->Size());
  EXPECT_EQ(ENOENT, ErrorOfOpen(folder_.Path("no/a.bin"), kToEnsure));
}

TEST_F(SystemDisk, TellsWhatMayBeWrittenTo) {
  EXPECT_FALSE(zrk::SystemDisk().IsWritable(path_));
  folder_.Write("a.bin", "0123456789");
  EXPECT_TRUE(zrk::SystemDisk().IsWritable(path_));
  chmod(path_.c_str(), 0444);
  EXPECT_EQ(geteuid() == 0, zrk::SystemDisk().IsWritable(path_));  // root may write to all
}

TEST_F(SystemDisk, AFileLockedByAnotherIsBusy) {
  folder_.Write("a.bin", "x");
  const auto first = Open({.exclusive = true});
  EXPECT_EQ(EWOULDBLOCK, ErrorOfOpen(path_, {.exclusive = true}));
  EXPECT_EQ(EWOULDBLOCK, ErrorOfOpen(path_, {.write = true, .denyWrite = true}));
  EXPECT_EQ(0, ErrorOfOpen(path_, {.denyWrite = true})) << "a reader does no harm";
  EXPECT_EQ(0, ErrorOfOpen(path_, kToRead));
}

TEST_F(SystemDisk, AFileIsHadTogetherOrAlone) {
  folder_.Write("a.bin", "x");
  {
    const auto first = Open({.write = true, .together = true});
    const auto second = Open({.together = true});
    EXPECT_EQ(EWOULDBLOCK, ErrorOfOpen(path_, {.write = true, .exclusive = true}));
  }
  const auto alone = Open({.write = true, .exclusive = true});
  EXPECT_EQ(EWOULDBLOCK, ErrorOfOpen(path_, {.write = true, .together = true}));
  EXPECT_EQ(EWOULDBLOCK, ErrorOfOpen(path_, {.together = true}));
}

TEST_F(SystemDisk, DescriptorsAreNotPassedOnToOtherPrograms) {
  folder_.Write("a.bin", "x");
  const auto file = Open(kToRead);
  const std::string command = "ls -l /proc/self/fd | grep -q " + path_;
  EXPECT_NE(0, std::system(command.c_str()));
}

TEST_F(SystemDisk, SyncsFilesAndFolders) {
  EXPECT_EQ(0, Open(kToCreate)->Sync());
  EXPECT_EQ(0, zrk::SystemDisk().SyncFolder(folder_.Path()));
  EXPECT_EQ(0, zrk::SystemDisk().SyncFolder(""));  // the folder one is in
  EXPECT_EQ(ENOENT, zrk::SystemDisk().SyncFolder(folder_.Path("none")));
  EXPECT_EQ(ENOTDIR, zrk::SystemDisk().SyncFolder(path_));
}

/// Whether a figure is that of the C++ library for a folder, up to what others write meanwhile.
void ExpectFreeBytes(const std::string& path, const std::filesystem::path& folder) {
  std::int64_t bytes = -1;
  EXPECT_EQ(0, zrk::SystemDisk().CountFreeBytes(path, bytes));
  const auto expected = static_cast<double>(std::filesystem::space(folder).available);
  EXPECT_NEAR(expected, static_cast<double>(bytes), 0.05 * expected + (1 << 26)) << path;
}

TEST_F(SystemDisk, TellsTheRoomThatTheFolderOfAFileHas) {
  ExpectFreeBytes(path_, folder_.Path());  // whether the file is there or not
  ExpectFreeBytes(folder_.Path() + "/", folder_.Path());
  ExpectFreeBytes("a.bin", ".");
  ExpectFreeBytes("/a.bin", "/");
  ExpectFreeBytes("/proc/a.bin", "/proc");
}

TEST_F(SystemDisk, CannotTellTheRoomOfAFolderThatIsNotThere) {
  std::int64_t bytes = 7;
  EXPECT_EQ(ENOENT, zrk::SystemDisk().CountFreeBytes(folder_.Path("none/a.bin"), bytes));
  folder_.Write("a.bin", "x");
  EXPECT_EQ(ENOTDIR, zrk::SystemDisk().CountFreeBytes(path_ + "/b.bin", bytes));
  EXPECT_EQ(7, bytes);
}

TEST_F(SystemDisk, FoldersAreNotRemoved) {
  EXPECT_NE(0, zrk::SystemDisk().Remove(folder_.Path()));
  EXPECT_TRUE(zrk::SystemDisk().Exists(folder_.Path()));
}

TEST_F(SystemDisk, MakesAFolderUnlessItIsThere) {
  EXPECT_EQ(0, zrk::SystemDisk().MakeFolder(folder_.Path("new")));
  EXPECT_EQ(0, zrk::SystemDisk().MakeFolder(folder_.Path("new")));
  EXPECT_TRUE(zrk::SystemDisk().Exists(folder_.Path("new")));
  EXPECT_NE(0, zrk::SystemDisk().MakeFolder(folder_.Path("none/new")));
}

TEST_F(SystemDisk, ListsTheNamesInAFolder) {
  folder_.Write("b.bin", "x");
  std::filesystem::create_directory(folder_.Path("a"));
  folder_.Write("a/deeper.bin", "x");
  std::vector<std::string> names;
  EXPECT_EQ(0, zrk::SystemDisk().ListFolder(folder_.Path(), names));
  EXPECT_THAT(names, testing::UnorderedElementsAre("a", "b.bin"));
  EXPECT_EQ(ENOENT, zrk::SystemDisk().ListFolder(folder_.Path("none"), names));
  EXPECT_EQ(ENOTDIR, zrk::SystemDisk().ListFolder(folder_.Path("b.bin"), names));
}

TEST_F(SystemDisk, ResolvesLinksOfWhatExists) {
  folder_.Write("b.bin", "x");
  std::filesystem::create_symlink("b.bin", folder_.Path("link"));
  std::string file, link;
  EXPECT_EQ(0, zrk::SystemDisk().ResolveLinks(folder_.Path("b.bin"), file));
  EXPECT_EQ(0, zrk::SystemDisk().ResolveLinks(folder_.Path("./link"), link));
  EXPECT_EQ(file, link);
  EXPECT_TRUE(file.ends_with("/b.bin"));
  EXPECT_EQ(ENOENT, zrk::SystemDisk().ResolveLinks(folder_.Path("none"), link));
}

TEST_F(SystemDisk, ADiskMayKnowOfNoFolders) {
  class Plain : public FaultyDisk {
   public:
    int ListFolder(const std::string& folder, std::vector<std::string>& names) override {
      return zrk::Disk::ListFolder(folder, names);
    }
    int ResolveLinks(const std::string& path, std::string& resolved) override {
      return zrk::Disk::ResolveLinks(path, resolved);
    }
  };
  Plain plain;
  std::vector<std::string> names;
  std::string resolved;
  EXPECT_EQ(ENOTSUP, plain.ListFolder(folder_.Path(), names));
  EXPECT_EQ(ENOTSUP, plain.ResolveLinks(folder_.Path(), resolved));
}

TEST_F(SystemDisk, FilesGoByAllTheirNamesUntilOthersTakeThem) {
  folder_.Write("a.bin", "0123");
  const auto file = Open(kToRead);
  std::filesystem::create_hard_link(path_, folder_.Path("b.bin"));
  std::filesystem::create_symlink("a.bin", folder_.Path("c.bin"));
  for (const std::string name : {"a.bin", "b.bin", "c.bin"}) EXPECT_TRUE(file->GoesBy(folder_.Path(name))) << name;
  folder_.Write("d.bin", "0123");
  std::filesystem::rename(folder_.Path("d.bin"), path_);
  EXPECT_FALSE(file->GoesBy(path_));
  EXPECT_FALSE(file->GoesBy(folder_.Path("c.bin")));
  EXPECT_FALSE(file->GoesBy(folder_.Path("none.bin")));
  EXPECT_TRUE(file->GoesBy(folder_.Path("b.bin")));
}

TEST(ScopedDisk, StandsInTheDisksPlaceForItsLifetime) {
  EXPECT_EQ(&zrk::SystemDisk(), &zrk::CurrentDisk());
  FaultyDisk outer, inner;
  {
    const zrk::ScopedDisk outerScope(outer);
    {
      const zrk::ScopedDisk innerScope(inner);
      EXPECT_EQ(&inner, &zrk::CurrentDisk());
    }
    EXPECT_EQ(&outer, &zrk::CurrentDisk());
  }
  EXPECT_EQ(&zrk::SystemDisk(), &zrk::CurrentDisk());
}
