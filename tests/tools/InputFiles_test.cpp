// No output takes the place of a file that is read, by whatever name it goes.

#include "Program.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

class ZrkioInputFiles : public Zrkio {
 protected:
  ZrkioInputFiles() {
    path_ = Write("a.bmp", bytes_);
    std::filesystem::create_directory(folder_.Path("there"));
  }
  /// Every command that writes a file of a name, for outputs of each extension.
  std::vector<std::vector<std::string>> CommandsTo(const std::string& stem) const {
    return {{"view", path_, "-o", stem + ".png"},
            {"read", path_, "-o", stem + ".raw"},
            {"read", path_, "-o", stem + ".png"},
            {"convert", path_, stem + ".zrm"},
            {"convert", path_, stem + ".tif"}};
  }
  void ExpectRefused(const std::vector<std::string>& arguments, const std::string& what) const {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(1, result.exitStatus) << arguments[0];
    EXPECT_EQ("zrkio: " + path_ + ": the output would take the place of " + what + "\n", result.err) << arguments[0];
    EXPECT_EQ(bytes_, ReadBytes(path_)) << arguments[0];
  }
  std::vector<unsigned char> bytes_ = BmpBuilder().Size(600, 500).Build();
  std::string path_;
};

TEST_F(ZrkioInputFiles, SymbolicLinksToTheImageAreRefused) {
  for (const std::vector<std::string>& command : CommandsTo(folder_.Path("link"))) {
    const std::string& output = command.back();
    if (!std::filesystem::is_symlink(output)) std::filesystem::create_symlink("a.bmp", output);
    ExpectRefused(command, "this file");
  }
}

TEST_F(ZrkioInputFiles, HardLinksToTheImageAreRefused) {
  for (const std::vector<std::string>& command : CommandsTo(folder_.Path("link"))) {
    const std::string& output = command.back();
    if (!std::filesystem::exists(output)) std::filesystem::create_hard_link(path_, output);
    ExpectRefused(command, "this file");
  }
}

TEST_F(ZrkioInputFiles, OtherSpellingsOfTheImageAreRefused) {
  const std::string native = folder_.Path("a.zrm");
  ASSERT_EQ(0, Run({"convert", path_, native}).exitStatus);
  const std::vector<unsigned char> before = ReadBytes(native);
  for (const std::string& spelling :
       {folder_.Path("./a.zrm"), folder_.Path("there/../a.zrm"), folder_.Path("/a.zrm")}) {
    const ProgramResult result = Run({"convert", native, spelling});
    EXPECT_EQ(1, result.exitStatus) << spelling;
    EXPECT_EQ("zrkio: " + native + ": the output would take the place of this file\n", result.err);
  }
  EXPECT_EQ(before, ReadBytes(native));
}

TEST_F(ZrkioInputFiles, LinksToTheLevelFileAndTheWorldFileAreRefused) {
  folder_.Write("a.bmw", "1\n0\n0\n-1\n0\n0\n");
  ASSERT_EQ(0, Run({"levels", path_}).exitStatus);
  for (const std::string name : {"a.xld", "a.bmw"}) {
    const std::vector<unsigned char> before = ReadBytes(folder_.Path(name));
    for (const std::vector<std::string>& command : CommandsTo(folder_.Path("to-" + name.substr(2)))) {
      if (!std::filesystem::is_symlink(command.back())) std::filesystem::create_symlink(name, command.back());
      ExpectRefused(command, name + ", which belongs to this file");
    }
    EXPECT_EQ(before, ReadBytes(folder_.Path(name)));
  }
}

TEST_F(ZrkioInputFiles, StandardOutputThatIsTheImageIsRefused) {
  ProgramOptions options;
  options.inChild = [this] { ::dup2(::open(path_.c_str(), O_WRONLY | O_APPEND), STDOUT_FILENO); };
  for (const char* command : {"read", "view"}) {
    const ProgramResult result = Run({command, path_, "-o", "-"}, options);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ("zrkio: " + path_ + ": the output would take the place of this file\n", result.err);
  }
  EXPECT_EQ(bytes_, ReadBytes(path_));
}

TEST_F(ZrkioInputFiles, AnImageIsNeverItsOwnLevelFile) {
  const auto isKept = [this](const std::string& image) {
    const ProgramResult result = Run({"levels", "--force", image});
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ("zrkio: " + image + ": the level file would take the place of this file\n", result.err);
    EXPECT_EQ(bytes_, ReadBytes(image));
  };
  std::filesystem::create_symlink("a.bmp", folder_.Path("a.xld"));
  isKept(path_);
  std::filesystem::remove(folder_.Path("a.xld"));
  std::filesystem::create_hard_link(path_, folder_.Path("a.xld"));
  isKept(path_);
  isKept(folder_.Path("a.xld"));
  std::filesystem::remove(folder_.Path("a.xld"));
  std::filesystem::create_symlink("a.bmp", folder_.Path("a.xld_tmp"));
  isKept(path_);
}

TEST_F(ZrkioInputFiles, AWorldFileDoesNotTakeThePlaceOfTheImage) {
  folder_.Write("a.bmw", "1\n0\n0\n-1\n0\n0\n");
  std::filesystem::create_hard_link(path_, folder_.Path("out.tfw"));
  ExpectRefused({"convert", path_, folder_.Path("out.tif")}, "this file");
}

}  // namespace
