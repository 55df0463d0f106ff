// Commands that make no sense, and options that all commands have.

#include "Program.h"

namespace {

class ZrkioCommandLine : public Zrkio {
 protected:
  std::string path_ = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
};

TEST_F(ZrkioCommandLine, AMistypedSubcommandIsToldTheNearestAndAllOthers) {
  const ProgramResult result = Run({"infos", path_});
  EXPECT_EQ(2, result.exitStatus);
  EXPECT_EQ(0u, result.err.find("zrkio: there is no subcommand infos; did you mean info? There are info, bounds, "))
      << result.err;
  for (const char* name : {"read", "value", "view", "levels", "convert", "toc", "formats"}) {
    EXPECT_NE(std::string::npos, result.err.find(name)) << name;
  }
  EXPECT_EQ(0u, Run({"nonsense"}).err.find("zrkio: there is no subcommand nonsense. There are info, bounds, "));
  EXPECT_EQ(0u, Run({"Veiw"}).err.find("zrkio: there is no subcommand Veiw. There are "));
}

TEST_F(ZrkioCommandLine, AFactorForHeightsIsANumberAboveZero) {
  for (const char* factor : {"nan", "-nan", "NAN", "inf", "-inf", "0", "-1", "1e9", "x", ""}) {
    const ProgramResult result = Run({"view", path_, "-o", folder_.Path("o.png"), "--hillshade", "--z-factor", factor});
    EXPECT_EQ(2, result.exitStatus) << factor;
  }
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioCommandLine, AnOutputIsWhatItsNameSays) {
  for (const char* name : {"o.jpg", "o.JPEG", "o.tif", "o.bmp", "o.raw", "o.png.txt"}) {
    const ProgramResult result = Run({"view", path_, "-o", folder_.Path(name)});
    EXPECT_EQ(2, result.exitStatus) << name;
    EXPECT_EQ(0u, result.err.find("zrkio: -o: a name in .")) << result.err;
  }
  for (const char* name : {"o.jpg", "o.tif", "o.csv", "o.zrm", "o.xld"}) {
    EXPECT_EQ(2, Run({"read", path_, "-o", folder_.Path(name)}).exitStatus) << name;
  }
  EXPECT_EQ(1, CountFiles());
  for (const char* name : {"o", "o.raw", "o.BIN", "o.dat", "o.png"}) {
    EXPECT_EQ(0, Run({"read", path_, "-o", folder_.Path(name)}).exitStatus) << name;
  }
  EXPECT_EQ(0, Run({"view", path_, "-o", folder_.Path("picture")}).exitStatus);
}

TEST_F(ZrkioCommandLine, QuietCommandsTellFailuresOnly) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"view", path_, "-o", folder_.Path("o.png")},
        {"read", path_, "-o", folder_.Path("o.raw")},
        {"levels", path_},
        {"convert", path_, folder_.Path("o.tif")},
        {"info", "--stats", path_},
        {"bounds", path_}}) {
    std::vector<std::string> quietly = arguments;
    quietly.emplace_back("--quiet");
    const ProgramResult result = Run(quietly);
    EXPECT_EQ(0, result.exitStatus) << arguments[0];
    EXPECT_EQ("", result.err) << arguments[0];
  }
  EXPECT_EQ("zrkio: " + folder_.Path("none") + ": no such file\n", Run({"info", "--quiet", folder_.Path("none")}).err);
}

TEST_F(ZrkioCommandLine, AFileThatOutgrowsItsLimitIsAFailureThatLeavesNothingBehind) {
  const std::string path = WriteLarge("b.bmp", 600, 500);
  ProgramOptions options;
  options.inChild = &LimitFileSize;
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"read", path, "-o", folder_.Path("o.raw")},
                                                    {"view", path, "-o", folder_.Path("o.png")},
                                                    {"convert", path, folder_.Path("o.tif")},
                                                    {"convert", path, folder_.Path("o.zrm")},
                                                    {"levels", path}}) {
    const ProgramResult result = Run(arguments, options);
    EXPECT_EQ(1, result.exitStatus) << arguments[0];
    EXPECT_EQ(0, result.signal) << arguments[0];
    EXPECT_EQ(0u, result.err.find("zrkio: " + path + ": ")) << result.err;
    EXPECT_EQ((std::set<std::string>{"a.bmp", "b.bmp"}), ListFiles()) << arguments[0];
  }
}

}  // namespace
