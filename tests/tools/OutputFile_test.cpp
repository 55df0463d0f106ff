#include "Program.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

using ZrkioOutput = Zrkio;

TEST_F(ZrkioOutput, AFolderThatIsNoneIsAPlainError) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  const ProgramResult result = Run({"read", path, "-o", path + "/out.raw"});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": can't write " + path + "/out.raw (Not a directory)\n", result.err);
  EXPECT_EQ(1, Run({"read", path, "-o", folder_.Path()}).exitStatus);
}

TEST_F(ZrkioOutput, AFullDeviceIsAPlainError) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  for (const char* command : {"read", "view"}) {
    const ProgramResult result = Run({command, path, "-o", "/dev/full"});
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ("zrkio: " + path + ": can't write /dev/full (No space left on device)\n", result.err);
  }
}

TEST_F(ZrkioOutput, AFullStandardOutputIsAPlainError) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  ProgramOptions options;
  options.inChild = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
  const ProgramResult result = Run({"read", path, "-o", "-"}, options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": can't write standard output (No space left on device)\n", result.err);
}

TEST_F(ZrkioOutput, AFileSizeLimitLeavesNothingBehind) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(200, 200).Build());
  ProgramOptions options;
  options.inChild = &LimitFileSize;
  const ProgramResult result = Run({"read", path, "-o", folder_.Path("out.raw")}, options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_NE(std::string::npos, result.err.find("can't write " + folder_.Path("out.raw") + " (File too large)"));
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioOutput, AFailureKeepsTheFileThatWasThere) {
  const std::string path = WriteHuge("a.bmp", 4000);
  std::filesystem::resize_file(path, 54);  // no row is there
  folder_.Write("out.raw", "precious");
  const ProgramResult result = Run({"read", path, "-o", folder_.Path("out.raw")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ(0u, result.err.find("zrkio: " + path + ": the file ends before the bitmap's row ")) << result.err;
  EXPECT_EQ(8u, ReadBytes(folder_.Path("out.raw")).size());
  EXPECT_EQ(2, CountFiles());
}

TEST_F(ZrkioOutput, ALinkRemainsOneAndWhatItLeadsToIsReplaced) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  std::filesystem::create_directory(folder_.Path("there"));
  for (const std::string extension : {".raw", ".png", ".tif", ".zrm"}) {
    folder_.Write("there/old" + extension, "old");
    const std::string link = folder_.Path("out" + extension);
    std::filesystem::create_symlink("there/old" + extension, link);
    const bool isConverted = extension == ".tif" || extension == ".zrm";
    const auto arguments = isConverted ? std::vector<std::string>{"convert", path, link}
                                       : std::vector<std::string>{"read", path, "-o", link};
    EXPECT_EQ(0, Run(arguments).exitStatus) << extension;
    EXPECT_TRUE(std::filesystem::is_symlink(link)) << extension;
    EXPECT_LT(3u, ReadBytes(folder_.Path("there/old" + extension)).size()) << extension;
  }
  EXPECT_EQ(4, std::distance(std::filesystem::directory_iterator(folder_.Path("there")), {}));
}

TEST_F(ZrkioOutput, SuccessReplacesTheFileThatWasThere) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  folder_.Write("out.raw", "old");
  EXPECT_EQ(0, Run({"read", path, "-o", folder_.Path("out.raw")}).exitStatus);
  EXPECT_EQ(35u, ReadBytes(folder_.Path("out.raw")).size());
  EXPECT_EQ(2, CountFiles());
}

}  // namespace
