// zrkio geoid, run as a program.

#include "AnyJson.h"
#include "Program.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>

namespace {

using testing::HasSubstr;

/// Grids of heights in .gtx.
class GtxBuilder {
 public:
  GtxBuilder(double west, double step, int columns, int rows)
      : west_(west), step_(step), columns_(columns), rows_(rows) {}

  double HeightAt(int column, int row) const { return 30.0 * std::sin(column * 0.7) + 0.01 * row; }

  std::vector<unsigned char> Build() const {
    std::vector<unsigned char> bytes;
    const auto add = [&](std::uint64_t word, int count) {
      for (int i = count - 1; i >= 0; --i) bytes.push_back(static_cast<unsigned char>(word >> 8 * i));
    };
    for (const double value : {-90.0, west_, step_, step_}) add(std::bit_cast<std::uint64_t>(value), 8);
    add(static_cast<std::uint32_t>(rows_), 4);
    add(static_cast<std::uint32_t>(columns_), 4);
    for (int y = 0; y < rows_; ++y) {
      for (int x = 0; x < columns_; ++x) add(std::bit_cast<std::uint32_t>(static_cast<float>(HeightAt(x, y))), 4);
    }
    return bytes;
  }

 private:
  double west_, step_;
  int columns_, rows_;
};

class ZrkioGeoid : public Zrkio {
 protected:
  ProgramResult Make(const std::vector<unsigned char>& bytes, const std::string& name = "g.zrm") {
    return Run({"geoid", "make", Write("a.gtx", bytes), "-o", folder_.Path(name)});
  }
  int ValueAt(double lon, double lat) {
    const ProgramResult result =
        Run({"value", "--json", folder_.Path("g.zrm"), std::to_string(lon), std::to_string(lat)});
    EXPECT_EQ(0, result.exitStatus) << result.err;
    return AnyJson::parse(result.out)["channels"][0]["value"].get<int>();
  }
};

TEST_F(ZrkioGeoid, HasAPostInTheCentreOfAPixelInCentimetres) {
  const GtxBuilder grid(-180.0, 10.0, 36, 19);
  ASSERT_EQ(0, Make(grid.Build()).exitStatus);
  for (const auto& [column, row] : {std::pair(0, 0), std::pair(35, 13)}) {
    const int centimetres = static_cast<int>(std::lround(100.0F * static_cast<float>(grid.HeightAt(column, row))));
    EXPECT_EQ(centimetres, ValueAt(-180.0 + 10.0 * column, -90.0 + 10.0 * row));
    EXPECT_EQ(centimetres, ValueAt(-180.0 + 10.0 * column + 4.9, -90.0 + 10.0 * row - 4.9));
  }
  const AnyJson info = AnyJson::parse(Run({"info", "--json", folder_.Path("g.zrm")}).out)[0];
  EXPECT_EQ("SINT16", info["channels"][0]["dataType"]);
  EXPECT_EQ(19, info["height"]);
}

TEST_F(ZrkioGeoid, ReachesTheDateLineFromBothSides) {
  const GtxBuilder grid(-180.0, 10.0, 36, 19);
  ASSERT_EQ(0, Make(grid.Build()).exitStatus);
  EXPECT_EQ(ValueAt(-180.0, 20.0), ValueAt(180.0, 20.0));
}

TEST_F(ZrkioGeoid, BeginsAtTheDateLineWhereverItsGridDoes) {
  const GtxBuilder grid(0.0, 10.0, 36, 19);
  ASSERT_EQ(0, Make(grid.Build()).exitStatus);
  EXPECT_EQ(std::lround(100.0 * grid.HeightAt(19, 4)), ValueAt(-170.0, -50.0));
  EXPECT_EQ(std::lround(100.0 * grid.HeightAt(3, 4)), ValueAt(30.0, -50.0));
  EXPECT_EQ(ValueAt(-180.0, 0.0), ValueAt(180.0, 0.0));
}

TEST_F(ZrkioGeoid, RefusesWhatIsNoGrid) {
  std::vector<unsigned char> bytes = GtxBuilder(-180.0, 10.0, 36, 19).Build();
  bytes.pop_back();
  const ProgramResult cut = Make(bytes);
  EXPECT_EQ(1, cut.exitStatus);
  EXPECT_THAT(cut.err, HasSubstr("not a grid of heights in .gtx, or damaged"));
  bytes[32] = 0x7F;  // two milliards of rows
  EXPECT_EQ(1, Make(bytes).exitStatus);
  EXPECT_EQ(1, Make({}).exitStatus);
  bytes = GtxBuilder(-180.0, 10.0, 36, 19).Build();
  bytes[16] = 0xFF;  // a step below 0, or none
  EXPECT_EQ(1, Make(bytes).exitStatus);
  EXPECT_EQ((std::set<std::string>{"a.gtx"}), ListFiles());
}

TEST_F(ZrkioGeoid, IsANativeRasterMadeOfAGrid) {
  const std::vector<unsigned char> bytes = GtxBuilder(-180.0, 10.0, 36, 19).Build();
  EXPECT_EQ(2, Make(bytes, "g.tif").exitStatus);
  EXPECT_EQ(2, Run({"geoid", "look", folder_.Path("a.gtx"), "-o", folder_.Path("g.zrm")}).exitStatus);
}

}  // namespace
