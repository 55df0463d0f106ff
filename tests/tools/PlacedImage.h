#pragma once

#include "Program.h"

/// A bitmap of 10 by 20 pixels with a place: pixels of 100 metres from (500000, 1000) on, which in zone 32 is where the
/// ninth meridian is about to meet the equator. Red is x, green y, blue 3 x + y of the builder.
class ZrkioPlaced : public Zrkio {
 protected:
  ZrkioPlaced() {
    path_ = Write("a.bmp", BmpBuilder().Size(10, 20).Build());
    // A world file names the centre of the first pixel.
    folder_.Write("a.bmw", "100\n0\n0\n-100\n500050\n950\n");
  }
  /// Gives it the system of zone 32 by a level file, which a bitmap itself has no room for.
  void GiveSystem() const {
    EXPECT_EQ(0, Run({"levels", path_}).exitStatus);
    EXPECT_EQ(0, Run({"levels", "--update-srs", "EPSG:32632", path_}).exitStatus);
  }
  std::string path_;
};
