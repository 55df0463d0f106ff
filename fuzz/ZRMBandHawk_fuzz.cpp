// The input is the document of a data set. Places are asked of whatever sensor it tells, over the plain ellipsoid. The
// last byte, which is seldom part of an element, chooses the policy. Images of a set are files of another format, which
// has a target of its own.

#include "MemoryDisk.h"
#include "XLimits.h"
#include "XMessageBox.h"
#include "ZRMBandHawk.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  tagXLimits limits;
  limits.xmlElements = 5000;
  XfnSetLimits(limits);
  XfnSetMessageBoxHandler([](const XString&, const XString&, unsigned) { return kAnswerOk; });
  MemoryDisk disk;
  disk.Add("/x.XML", {data, size});
  const zrk::ScopedDisk scope(disk);

  ZRMBandHawk band;
  band.SetReadPolicy(data[size - 1] & 1 ? kReadExact : kReadCompatible);
  if (!band.LoadHawkXML("/x.XML")) return 0;
  band.CalcSplineCoeffs();
  double x[] = {0.0, 15.0, 29.0, -1.0, 1e9}, y[] = {0.0, 4.4, 39.0, 40.0, -1e300}, heights[5];
  band.FindGroundOfPixels(5, x, y, heights);
  band.FindPixelsOfGround(5, x, y);
  double lon = 3.0, lat = 4.0;
  band.ConvWarpPixelToWorldCoord(lon, lat);
  band.FindPixelOfPoint(0.0, 0.0, 100.0, lon, lat);
  band.CalcScanSensorParams(1, data[0] % 8);
  return 0;
}
