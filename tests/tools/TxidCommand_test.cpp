// zrkio txid, and the other subcommands on a tile store, run as a program.

#include "PngReader.h"
#include "Program.h"
#include "TxidBuilder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace {

using testing::HasSubstr;
using Json = nlohmann::json;

class ZrkioTxid : public Zrkio {
 protected:
  /// A bitmap with a place: 0.25 degrees a pixel, the centre of the first one at 10 east and 50 north.
  std::string WritePlacedPicture() {
    Write("a.bpw", {});
    std::ofstream(folder_.Path("a.bpw")) << "0.25\n0\n0\n-0.25\n10\n50\n";
    return Write("a.bmp", BmpBuilder().Size(40, 20).Bits(24).Build());
  }
  std::string WriteStore(const TxidBuilder& builder) {
    Write("a.txd", builder.BuildData());
    return Write("a.txi", builder.BuildIndex());
  }
};

TEST_F(ZrkioTxid, MakesAStoreOfAPlacedImage) {
  const ProgramResult made = Run({"txid", "make", WritePlacedPicture(), "-o", folder_.Path("s"), "--tile", "16"});
  ASSERT_EQ(0, made.exitStatus) << made.err;
  EXPECT_THAT(made.err, HasSubstr("s.txi: 6 of 6 tiles"));
  const Json info = Json::parse(Run({"info", "--json", folder_.Path("s.txi")}).out)[0];
  EXPECT_EQ(48, info["width"]);
  EXPECT_EQ(32, info["height"]);
  EXPECT_EQ((std::vector<double>{9.875, 50.125}), info["georeference"]["upperLeft"].get<std::vector<double>>());
  EXPECT_EQ((std::vector<double>{0.25, 0.25}), info["georeference"]["pixelSize"].get<std::vector<double>>());
}

TEST_F(ZrkioTxid, TakesANameWithItsExtension) {
  ASSERT_EQ(0, Run({"txid", "make", WritePlacedPicture(), "-o", folder_.Path("s.txi"), "--quiet"}).exitStatus);
  EXPECT_TRUE(std::filesystem::exists(folder_.Path("s.txi")));
  EXPECT_TRUE(std::filesystem::exists(folder_.Path("s.txd")));
}

TEST_F(ZrkioTxid, TellsWhyAnImageDoesNotFit) {
  const ProgramResult result =
      Run({"txid", "make", WriteStore(TxidBuilder().Grid(2, 2, 8).Tile(0)), "-o", folder_.Path("a")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("The tile store can't take the place of that file"));
}

TEST_F(ZrkioTxid, KnowsNoOtherAction) {
  const ProgramResult result = Run({"txid", "verify", "x", "-o", "y"});
  EXPECT_EQ(2, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("ACTION: must be \"make\""));
  EXPECT_EQ(2, Run({"txid", "make", "x", "-o", "y", "--tile", "6"}).exitStatus);
}

TEST_F(ZrkioTxid, IsToldOfByInfo) {
  const std::string path = WriteStore(TxidBuilder().Grid(3, 2, 8).Tile(0).Tile(4).Record(17, 0, 0));
  const ProgramResult text = Run({"info", path});
  EXPECT_THAT(text.out, HasSubstr("  tiles       2 of 6, 8 x 8 pixels, 32 bytes each\n"));
  EXPECT_THAT(text.out, HasSubstr("  data files  1, 64 bytes\n"));
  const Json info = Json::parse(Run({"info", "--json", path}).out)[0];
  EXPECT_EQ((Json{{"present", 2}, {"total", 6}, {"size", 8}, {"bytes", 32}}), info["tiles"]);
  EXPECT_EQ((Json{{"count", 1}, {"bytes", 64}}), info["dataFiles"]);
}

TEST_F(ZrkioTxid, IsReadViewedConvertedAndAskedForValues) {
  const TxidBuilder builder = TxidBuilder().Grid(3, 2, 8).Tile(0).Tile(4);
  const std::string path = WriteStore(builder);
  ASSERT_EQ(0, Run({"read", path, "--band", "2", "--window", "0,7,0,7", "-o", folder_.Path("g.raw")}).exitStatus);
  const std::vector<unsigned char> bytes = ReadBytes(folder_.Path("g.raw"));
  ASSERT_EQ(64u, bytes.size());
  for (int i = 0; i < 64; ++i) EXPECT_EQ(builder.At(i % 8, i / 8)[1], bytes[static_cast<std::size_t>(i)]);
  ASSERT_EQ(0, Run({"view", path, "-o", folder_.Path("v.png")}).exitStatus);
  EXPECT_EQ(24, DecodePng(folder_.Path("v.png")).width);
  EXPECT_EQ(0, Run({"convert", path, folder_.Path("c.tif")}).exitStatus);
  EXPECT_EQ(0, Run({"bounds", path}).exitStatus);
  const Json value = Json::parse(Run({"value", "--json", path, "10.035", "49.975"}).out);
  EXPECT_THAT(value.dump(), HasSubstr(std::to_string(builder.At(3, 2)[0])));
}

TEST_F(ZrkioTxid, WithoutItsDataIsToldOfAndFailsToBeRead) {
  const std::string path = Write("a.txi", TxidBuilder().Grid(1, 1, 8).Record(0, 0, 32).BuildIndex());
  EXPECT_EQ(0, Run({"info", path}).exitStatus);
  const ProgramResult result = Run({"convert", path, folder_.Path("c.tif")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the data file is missing, which has tile 0 of row 0"));
}

}  // namespace
