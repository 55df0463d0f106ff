// zrkio value: the pixel of a place by hand, its samples by the builder of the image.

#include "AnyJson.h"
#include "PlacedImage.h"
#include "TiffBuilder.h"

#include <bit>
#include <limits>

namespace {

using ZrkioValue = ZrkioPlaced;

TEST_F(ZrkioValue, TellsTheSamplesOfAllBands) {
  // Column 7 reaches from 500700 to 500800, row 12 from -200 to -300.
  const ProgramResult result = Run({"value", path_, "500799.9", "-200.1"});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  EXPECT_NE(std::string::npos, result.out.find("  pixel       column 7, row 12\n")) << result.out;
  const std::string values = "  Channel 1   " + std::to_string(BmpBuilder::Red(7, 12)) + "\n  Channel 2   " +
                             std::to_string(BmpBuilder::Green(7, 12)) + "\n  Channel 3   " +
                             std::to_string(BmpBuilder::Blue(7, 12)) + "\n";
  EXPECT_NE(std::string::npos, result.out.find(values)) << result.out;
}

TEST_F(ZrkioValue, TellsOneBandToMachines) {
  const AnyJson json = AnyJson::parse(Run({"value", path_, "500750", "-250", "--band", "3", "--json"}).out);
  EXPECT_EQ((std::vector<double>{500750, -250}), json["place"]);
  ASSERT_EQ(1u, json["channels"].size());
  EXPECT_EQ(7, json["channels"][0]["column"]);
  EXPECT_EQ(12, json["channels"][0]["row"]);
  EXPECT_EQ(BmpBuilder::Blue(7, 12), json["channels"][0]["value"]);
  EXPECT_EQ(false, json["channels"][0]["isNull"]);
}

TEST_F(ZrkioValue, FindsAPlaceInDegrees) {
  GiveSystem();
  // A hundredth of a degree is about 1,113 metres there, so that half of one is in column 5 and row 4.
  const AnyJson json = AnyJson::parse(Run({"value", path_, "9.005", "0.005", "--lonlat", "--json"}).out);
  EXPECT_EQ(5, json["channels"][0]["column"]);
  EXPECT_EQ(4, json["channels"][0]["row"]);
}

TEST_F(ZrkioValue, APlaceAHairOutsideIsOutside) {
  for (const auto& [x, y] : {std::pair("499999.9", "500"), std::pair("500500", "1000.1"), std::pair("501000", "500"),
                             std::pair("500500", "-1000")}) {
    const ProgramResult result = Run({"value", path_, x, y});
    EXPECT_EQ(1, result.exitStatus) << x;
    EXPECT_EQ(0u, result.err.find("zrkio: " + path_ + ": the place is outside the image: it would be column "));
    EXPECT_EQ("", result.out);
  }
}

TEST_F(ZrkioValue, PlacesWestOfGreenwichAndSouthOfTheEquatorAreNoOptions) {
  folder_.Write("a.bmw", "1\n0\n0\n-1\n-9.5\n-0.5\n");
  const AnyJson json = AnyJson::parse(Run({"value", path_, "-8.2", "-3.7", "--json"}).out);
  EXPECT_EQ(1, json["channels"][0]["column"]);
  EXPECT_EQ(3, json["channels"][0]["row"]);
}

TEST_F(ZrkioValue, ImagesWithoutAPlaceHaveNoValues) {
  const std::string path = Write("b.bmp", BmpBuilder().Build());
  const ProgramResult result = Run({"value", path, "1", "1"});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": the image has no place in the world\n", result.err);
  EXPECT_EQ("zrkio: " + path_ + ": no way leads from degrees to the system of the image\n",
            Run({"value", path_, "9", "0", "--lonlat"}).err);
}

TEST_F(ZrkioValue, ASampleThatIsNotANumberIsMarkedAsNull) {
  const auto pixel = [](int x, int, int) {
    return std::bit_cast<std::uint32_t>(x == 2 ? std::numeric_limits<float>::quiet_NaN() : 0.1f);
  };
  const std::string path = Write("b.tif", TiffBuilder().Size(4, 3).Bits(32).Format(3).Pixel(pixel).Build());
  folder_.Write("b.tfw", "1\n0\n0\n-1\n0.5\n-0.5\n");
  EXPECT_NE(std::string::npos, Run({"value", path, "2.5", "-1.5"}).out.find(" nan (null)\n"));
  const AnyJson null = AnyJson::parse(Run({"value", path, "2.5", "-1.5", "--json"}).out)["channels"][0];
  EXPECT_TRUE(null["value"].is_null());
  EXPECT_EQ(true, null["isNull"]);
  // The shortest text of the sample, and not of the number that is nearest to it among doubles.
  const AnyJson other = AnyJson::parse(Run({"value", path, "1.5", "-1.5", "--json"}).out)["channels"][0];
  EXPECT_EQ("0.1", other["text"]);
  EXPECT_EQ(false, other["isNull"]);
}

/// The null value of real samples is mostly the double that is nearest to the sample, which has more digits.
TEST_F(ZrkioValue, ANullValueIsMarkedThatHasMoreDigitsThanASample) {
  const auto pixel = [](int x, int, int) {
    return std::bit_cast<std::uint32_t>(x == 2 ? -3.4028234663852886e+38f : 1.5f);
  };
  const std::string path = Write(
      "b.tif", TiffBuilder().Size(4, 3).Bits(32).Format(3).Pixel(pixel).Text(42113, "-3.4028234663852886e+38").Build());
  folder_.Write("b.tfw", "1\n0\n0\n-1\n0.5\n-0.5\n");
  EXPECT_NE(std::string::npos, Run({"value", path, "2.5", "-1.5"}).out.find("e+38 (null)\n"));
  EXPECT_EQ(std::string::npos, Run({"value", path, "1.5", "-1.5"}).out.find("(null)"));
}

TEST_F(ZrkioValue, WhatIsNoNumberIsBadUsage) {
  EXPECT_EQ(2, Run({"value", path_, "here", "0"}).exitStatus);
  EXPECT_EQ(2, Run({"value", path_, "nan", "0"}).exitStatus);
  EXPECT_EQ(2, Run({"value", path_, "1"}).exitStatus);
}

}  // namespace
