// What zrkio info tells of JPEG 2000 files, and that the other subcommands take them. The facts expected are those that
// the files were made with.

#include "AnyJson.h"
#include "Jp2Builder.h"
#include "Program.h"

namespace {

using ZrkioJp2 = Zrkio;

Jp2Builder Made() {
  return Jp2Builder().Size(60, 40).Components(3, 12).Tiles(32, 32).Levels(2).Layers({9, 0}).Order("RLCP");
}

TEST_F(ZrkioJp2, InfoTellsHowTheCodestreamIsMade) {
  const ProgramResult result = Run({"info", Write("a.jp2", Made().Build())});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  for (const char* line :
       {"JPEG 2000 (0x6B)", "60 x 40 pixels, 3 channels", "3 components of 12 bits", "2 x 2 of 32 x 32",
        "3 resolutions, 2 quality layers, RLCP, reversible", "PINT16, 2 levels"}) {
    EXPECT_NE(std::string::npos, result.out.find(line)) << line << '\n' << result.out;
  }
}

TEST_F(ZrkioJp2, InfoTellsTheSameToMachines) {
  const AnyJson json = AnyJson::parse(Run({"info", "--json", Write("a.jp2", Made().Build())}).out)[0]["codestream"];
  EXPECT_EQ(3, json["components"].size());
  EXPECT_EQ(12, json["components"][2]["bits"]);
  EXPECT_EQ(32, json["tileWidth"]);
  EXPECT_EQ(2, json["layers"]);
  EXPECT_EQ("RLCP", json["progression"]);
}

TEST_F(ZrkioJp2, InfoWithBoxesListsThemWithTheirTexts) {
  const std::string path = Write("a.jp2", Made().Box("xml ", Jp2Builder::Text("<a>\n <b/>\n</a>")).Build());
  const ProgramResult result = Run({"info", "--boxes", path});
  EXPECT_NE(std::string::npos, result.out.find("jP   at 0, 12 bytes")) << result.out;
  EXPECT_NE(std::string::npos, result.out.find("xml  at 77, 22 bytes, BOX_0")) << result.out;
  EXPECT_NE(std::string::npos, result.out.find("<b/>")) << result.out;
  EXPECT_EQ(std::string::npos, Run({"info", path}).out.find("BOX_0"));
  const AnyJson boxes = AnyJson::parse(Run({"info", "--json", "--boxes", path}).out)[0]["boxes"];
  EXPECT_EQ("<a>\n <b/>\n</a>", boxes[5]["text"]);
  EXPECT_EQ(77, boxes[5]["offset"]);
}

TEST_F(ZrkioJp2, FilesAreKnownByTheirFirstBytes) {
  for (const char* name : {"a.jpx", "a.dat", "b"}) {
    EXPECT_EQ(0, Run({"info", Write(name, Made().Build())}).exitStatus) << name;
  }
  for (const char* name : {"a.j2k", "a.jpc"}) {
    EXPECT_EQ(0, Run({"info", Write(name, Made().BuildCodestream())}).exitStatus) << name;
  }
}

TEST_F(ZrkioJp2, OtherSubcommandsTakeThem) {
  const std::string path = Write("a.jp2", Jp2Builder().Size(60, 40).Components(3).Build());
  EXPECT_EQ(0, Run({"view", path, "-o", folder_.Path("a.png")}).exitStatus);
  EXPECT_EQ(0, Run({"convert", path, folder_.Path("a.tif")}).exitStatus);
  EXPECT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ(0, Run({"bounds", path}).exitStatus);
  EXPECT_EQ(0, Run({"info", "--stats", path}).exitStatus);
}

}  // namespace
