// Windows that are given by coordinates. Pixels are those of PlacedImage.h.

#include "PlacedImage.h"
#include "PngReader.h"

#include <nlohmann/json.hpp>

namespace {

class ZrkioBox : public ZrkioPlaced {
 protected:
  ProgramResult ReadBox(const std::string& box, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"read", path_, "--band", "3", "--bbox", box};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  ProgramResult ReadWindow(const std::string& window) const {
    return Run({"read", path_, "--band", "3", "--window", window});
  }
};

TEST_F(ZrkioBox, TakesAllPixelsThatItMeets) {
  // 500250 lies in column 2, 500301 in column 3; 899 in row 1 and 700 on the upper edge of row 3.
  const ProgramResult result = ReadBox("500250,700,500301,899");
  EXPECT_EQ(0, result.exitStatus) << result.err;
  EXPECT_EQ(ReadWindow("2,3,1,2").out, result.out);
  EXPECT_EQ("", result.err);
}

TEST_F(ZrkioBox, WithinAPixelIsThatPixel) {
  EXPECT_EQ(ReadWindow("4,4,9,9").out, ReadBox("500410,20,500420,30").out);
}

TEST_F(ZrkioBox, BeyondTheImageIsCutWithARemark) {
  const ProgramResult result = ReadBox("500850,-5000,600000,-850");
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ(ReadWindow("8,9,18,19").out, result.out);
  EXPECT_EQ(path_ + ": the box reaches beyond the image; columns 8 to 9 and rows 18 to 19 are taken\n", result.err);
}

TEST_F(ZrkioBox, InDegreesGoesThroughTheSystem) {
  GiveSystem();
  // A thousandth of a degree is about 111 metres of the ground, 556 to 1,000 and 0 to 111.
  const ProgramResult result = ReadBox("9.005,-0.0001,9.0085,0.001", {"--lonlat"});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  EXPECT_EQ(ReadWindow("5,9,8,10").out, result.out);
}

TEST_F(ZrkioBox, IsTakenByConvertAndView) {
  const std::string native = folder_.Path("out.zrm"), picture = folder_.Path("out.png");
  EXPECT_EQ(0, Run({"convert", path_, native, "--bbox", "500200,600,500500,900"}).exitStatus);
  const auto json = nlohmann::json::parse(Run({"info", "--json", native}).out)[0];
  EXPECT_EQ(3, json["width"]);
  EXPECT_EQ(3, json["height"]);
  EXPECT_EQ(0, Run({"view", path_, "-o", picture, "--bbox", "500200,600,500500,900"}).exitStatus);
  const DecodedPng image = DecodePng(picture);
  ASSERT_EQ(3, image.width);
  EXPECT_EQ(BmpBuilder::Red(3, 2), image.At(1, 1, 0));
  EXPECT_EQ(0, Run({"view", path_, "-o", picture, "--window", "2,4,1,3"}).exitStatus);
  EXPECT_EQ(image.samples, DecodePng(picture).samples);
}

TEST_F(ZrkioBox, ThatMakesNoSenseIsBadUsage) {
  for (const char* box : {"500301,700,500250,899", "500250,700,500301,700", "0,0,1,1", "nan,0,1,1", "1,2,3", "a,b,c,d",
                          "500250,700,inf,899"}) {
    const ProgramResult result = ReadBox(box);
    EXPECT_EQ(2, result.exitStatus) << box;
    EXPECT_EQ("", result.out) << box;
  }
  EXPECT_EQ(2, ReadBox("500250,700,500301,899", {"--window", "0,1,0,1"}).exitStatus);
  EXPECT_EQ(2, Run({"read", path_, "--lonlat"}).exitStatus);
  EXPECT_EQ(2, ReadBox("9,0,9.1,0.1", {"--lonlat"}).exitStatus);  // there is no system
}

TEST_F(ZrkioBox, WindowsThatAreNotWithinTheImageAreBadUsage) {
  for (const char* window : {"0,10,0,1", "5,4,0,1", "-1,2,0,1", "0,1,0,20", "0,1,2", "0,99999999999,0,1", "a,b,c,d"}) {
    EXPECT_EQ(2, ReadWindow(window).exitStatus) << window;
    EXPECT_EQ(2, Run({"view", path_, "-o", folder_.Path("o.png"), "--window", window}).exitStatus) << window;
    EXPECT_EQ(2, Run({"convert", path_, folder_.Path("o.zrm"), "--window", window}).exitStatus) << window;
  }
  EXPECT_EQ(2, CountFiles());
}

}  // namespace
