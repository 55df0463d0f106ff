// What the program says of files that it can't open or read. A sentence has to tell which kind of trouble it is.

#include "Program.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

class ZrkioReasons : public Zrkio {
 protected:
  static std::string ReasonOf(const std::string& path, const ProgramOptions& options = {}) {
    const ProgramResult result = Run({"info", path}, options);
    EXPECT_EQ(1, result.exitStatus);
    const std::string head = "zrkio: " + path + ": ";
    return result.err.starts_with(head) ? result.err.substr(head.size()) : result.err;
  }
  std::string WriteText(const std::string& name) { return Write(name, {'h', 'e', 'l', 'l', 'o', '\n'}); }
};

TEST_F(ZrkioReasons, AnEmptyFileIsSaidToBeEmpty) {
  for (const char* name : {"a.tif", "a.bmp", "a.jpg", "a.dt1", "a.hdf", "a.zrm", "a.shp", "a"}) {
    EXPECT_EQ("the file is empty\n", ReasonOf(Write(name, {}))) << name;
  }
}

TEST_F(ZrkioReasons, AFolderIsSaidToBeOne) {
  std::filesystem::create_directory(folder_.Path("a.tif"));
  EXPECT_EQ("this is a folder and not a file\n", ReasonOf(folder_.Path("a.tif")));
  EXPECT_EQ("this is a folder and not a file\n", ReasonOf(folder_.Path()));
}

TEST_F(ZrkioReasons, APipeIsNoFileToReadFrom) {
  ASSERT_EQ(0, ::mkfifo(folder_.Path("a.tif").c_str(), 0666));
  EXPECT_EQ("this is not a regular file\n", ReasonOf(folder_.Path("a.tif")));
}

TEST_F(ZrkioReasons, AFileThatMayNotBeReadIsSaidToBeOne) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  ASSERT_EQ(0, ::chmod(folder_.Path().c_str(), 0755));
  ASSERT_EQ(0, ::chmod(path.c_str(), 0));
  ProgramOptions options;
  // The rights of files do not bind the superuser.
  options.inChild = [] {
    if (::geteuid() == 0 && ::setuid(65534) != 0) ::_exit(126);
  };
  EXPECT_EQ("the file can't be opened (Permission denied)\n", ReasonOf(path, options));
}

TEST_F(ZrkioReasons, ContentThatIsNotOfTheNameIsSaidToBeThat) {
  EXPECT_EQ("The file is named as a TIFF, GeoTIFF file and does not begin as one\n", ReasonOf(WriteText("a.tif")));
  EXPECT_NE(std::string::npos, ReasonOf(WriteText("a.jpg")).find("Not a JPEG file"));
}

TEST_F(ZrkioReasons, AKindThatCannotBeReadIsToldApartFromOtherContent) {
  const std::string path = Write("a.tif", {'I', 'I', '*', 0, 0xFF, 0xFF, 0xFF, 0x7F});
  EXPECT_EQ("The file is damaged, or is a kind of TIFF, GeoTIFF file that can't be read\n", ReasonOf(path));
}

}  // namespace
