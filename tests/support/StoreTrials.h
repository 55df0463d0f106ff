#pragma once

#include "MemoryDisk.h"
#include "Samples.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

/// Opens bytes as a tile store under both policies and reads corners and overviews of its first and last band. What
/// must hold for any bytes is checked on the way. Answers under how many policies it could be opened.
inline int TryStore(const std::vector<unsigned char>& bytes, const char* name, int formatId, int numBands) {
  int numOpen = 0;
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    MemoryDisk disk;
    disk.Add(name, bytes);
    const zrk::ScopedDisk scoped(disk);
    XRSFile file;
    file.SetReadPolicy(policy);
    XString err;
    const int isOpen = XRSFileIO::LoadFileRaster(&file, formatId, name, err, 0, kLevelNone, nullptr);
    EXPECT_EQ(isOpen ? numBands : 0, file.GetNumOfBands());
    EXPECT_FALSE(policy == kReadExact && !isOpen && err.IsEmpty());
    if (!isOpen) continue;
    ++numOpen;
    for (ZRMBand* const band : {file.GetBandAt(0), file.GetBandAt(numBands - 1)}) {
      const Window whole = WholeWindowOf(*band);
      const Window corner{0, std::min(whole.x1, 20), 0, std::min(whole.y1, 20)};
      const Window opposite{std::max(whole.x1 - 20, 0), whole.x1, std::max(whole.y1 - 20, 0), whole.y1};
      for (const Window& window : {corner, opposite}) {
        const Pixels pixels = ReadPixels(*band, 0, window);
        EXPECT_EQ(pixels.bytes.empty() ? 0 : window.Width(), pixels.width);
        ReadPixels(*band, 2, window);
      }
      for (const int level : {1, 3, 22, 30}) {
        const std::int64_t numPixels =
            ((std::int64_t{whole.x1} >> level) + 1) * ((std::int64_t{whole.y1} >> level) + 1);
        if (numPixels < 1 << 12) ReadPixels(*band, level, whole);
      }
    }
  }
  return numOpen;
}
