// Bands that can be read together, in composites. Pictures are those of bands that can't.

#include "DrawnPicture.h"
#include "XJointReader.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace {

/// Bands with one source, which count the reads that serve all of them.
class JointlyPlaced : public PlacedBand, public XJointReader {
 public:
  const void* GetJointSource() const override { return numJointReads; }
  int ReadJointly(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                  std::span<tagXArr2*> out) override {
    ++*numJointReads;
    for (std::size_t i = 0; i < bands.size(); ++i) {
      if (isFailing || !bands[i]->ReadSubset(out[i], 0, x0, x1, y0, y1, cancel)) return 0;
    }
    return 1;
  }

  int* numJointReads = nullptr;
  bool isFailing = false;
};

/// Three bands of 40 by 20 pixels in red, green and blue.
template <class Band>
struct Colours {
  Colours() {
    for (int i = 0; i < 3; ++i) {
      std::vector<std::uint8_t> samples;
      for (int k = 0; k < 800; ++k) samples.push_back(static_cast<std::uint8_t>(k * (7 + 4 * i) + k / 40 * 31 * i));
      Band& band = bands[static_cast<std::size_t>(i)];
      band.Set(40, 20, samples);
      composite.SetBand(i, &band);
    }
  }
  std::array<Band, 3> bands;
  ZRMComposite composite;
};

struct JointColours : Colours<JointlyPlaced> {
  JointColours() {
    for (JointlyPlaced& band : bands) band.numJointReads = &numJointReads;
  }
  int numJointReads = 0;
};

using Settings = std::function<void(std::array<ZRMBand*, 3>, ZRMComposite&)>;

/// Where a picture lies.
struct Frame {
  int width = 40, height = 20;
  double west = 0, north = 20, pixelSize = 1;
  int epsg = 0;
};

/// All pixels that bands of a kind give after some settings, in the picture given.
template <class Some>
std::vector<XColour> Draw(Some& some, const Frame& frame, int method, const Settings& settings) {
  settings({&some.bands[0], &some.bands[1], &some.bands[2]}, some.composite);
  Picture picture(frame.width, frame.height, frame.west, frame.north, frame.pixelSize);
  if (frame.epsg != 0) picture.In(frame.epsg);
  EXPECT_EQ(kDrawDone, picture.Draw(some.composite, method));
  std::vector<XColour> pixels;
  for (int y = 0; y < picture.buffer.GetHeight(); ++y) {
    for (int x = 0; x < picture.buffer.GetWidth(); ++x) pixels.push_back(picture.At(x, y));
  }
  return pixels;
}

/// Answers how often the bands were read together.
int ExpectSame(const Frame& frame, int method, const Settings& settings) {
  Colours<PlacedBand> alone;
  JointColours together;
  EXPECT_EQ(Draw(alone, frame, method, settings), Draw(together, frame, method, settings));
  return together.numJointReads;
}

void Nothing(std::array<ZRMBand*, 3>, ZRMComposite&) {}

}  // namespace

TEST(JointDraw, ReadsBandsOfOneFileOnceForAll) {
  JointColours colours;
  Draw(colours, {}, kResampleNearest, Nothing);
  EXPECT_EQ(1, colours.numJointReads);
  for (const JointlyPlaced& band : colours.bands) EXPECT_EQ(1, band.GetNumReads());
  EXPECT_EQ(1, ExpectSame({}, kResampleNearest, Nothing));
  EXPECT_EQ(1, ExpectSame({13, 9, 3, 17, 1.7}, kResampleMean, Nothing));
}

TEST(JointDraw, ReadsABandAloneThatLiesElsewhereOrIsCoarser) {
  ExpectSame({}, kResampleNearest, [](std::array<ZRMBand*, 3> bands, ZRMComposite&) {
    bands[1]->SetUpperLeft(3, 20);
    bands[2]->SetPixelSize(0.5, 0.5);
  });
  ExpectSame({}, kResampleNearest,
             [](std::array<ZRMBand*, 3> bands, ZRMComposite&) { bands[0]->SetUpperLeft(-7, 25); });
}

TEST(JointDraw, LeavesOutBandsThatAreHiddenOrShownTwice) {
  ExpectSame({}, kResampleNearest,
             [](std::array<ZRMBand*, 3>, ZRMComposite& composite) { composite.SetHideFlag(1, 1); });
  EXPECT_EQ(0, ExpectSame({}, kResampleNearest, [](std::array<ZRMBand*, 3> bands, ZRMComposite& composite) {
              composite.SetBand(2, bands[0]);
            }));
}

/// Longitudes from 0 to 400, under a picture of those from -180 to 180: each band is read more than once.
TEST(JointDraw, FollowsBandsThatGoAroundTheEarth) {
  ExpectSame({36, 10, -180, 50, 10, 4326}, kResampleNearest, [](std::array<ZRMBand*, 3> bands, ZRMComposite&) {
    for (ZRMBand* const band : bands) {
      band->SetUpperLeft(0, 100);
      band->SetPixelSize(10, 10);
      band->GetSR()->importFromEPSG(4326);
    }
  });
}

TEST(JointDraw, ReadsEachAloneWhereTheReadOfAllFails) {
  Colours<PlacedBand> alone;
  JointColours together;
  for (JointlyPlaced& band : together.bands) band.isFailing = true;
  EXPECT_EQ(Draw(alone, {}, kResampleNearest, Nothing), Draw(together, {}, kResampleNearest, Nothing));
}

TEST(JointDraw, FailsWhereABandCannotBeRead) {
  JointColours colours;
  colours.bands[1].FailReads();
  Picture picture(40, 20, 0, 20, 1);
  EXPECT_EQ(kDrawFailed, picture.Draw(colours.composite));
}
