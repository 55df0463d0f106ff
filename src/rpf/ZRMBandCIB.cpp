#include "ZRMBandCIB.h"

#include "base/Fence.h"
#include "rpf/FrameBand.h"
#include "Xepot.h"

#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandCIB, ZRMBand);

ZRMBandCIB::ZRMBandCIB() {
  SetDataType(kPint08);
  SetBandMin(0.0);
  SetBandMax(255.0);
}

ZRMBandCIB::~ZRMBandCIB() = default;

int ZRMBandCIB::ReadFile(XString path, XString& err, XThread*) {
  if (Open(path)) return 1;
  err = "Can't open file : " + path;
  return 0;
}

int ZRMBandCIB::Open(XString path) {
  constexpr int kGrey = 3;
  XCIBframe frame;
  zrk::PixelStorage pixels;
  if (!frame.LoadPlanes(path, pixels)) return 0;
  isOpen_ = frame.GetColorTableType() == kGrey;
  if (!isOpen_) {
    pixels_.Free();
    return 0;
  }
  pixels_ = std::move(pixels);
  // The place is held in single precision.
  const tagCoverageSectionSubheaderRPF& coverage = frame.GetCoverageSec();
  const auto nwLongitude = static_cast<float>(coverage.nwLongitude);
  const auto nwLatitude = static_cast<float>(coverage.nwLatitude);
  const auto horizontalInterval = static_cast<float>(coverage.horizontalInterval);
  const auto verticalInterval = static_cast<float>(coverage.verticalInterval);
  zrk::PlaceAsFrame(*this, nwLongitude, nwLatitude, horizontalInterval, verticalInterval);
  return 1;
}

int ZRMBandCIB::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), GetXTileSize(), GetYTileSize(), x0, x1, y0,
                                         y1, width, height);
}

/// The size that was set for the band does not bound the window here; the pixels do.
int ZRMBandCIB::ReadSubset(tagXArr2*& out, int, int x0, int x1, int y0, int y1, int*) {
  if (!isOpen_ || !zrk::IsOnFrame(x0, x1, y0, y1)) return 0;
  return zrk::FencedRead([&] {
    tagXArr2* result = results_.GetBuffer(x1 - x0 + 1, y1 - y0 + 1, 1);
    if (!result) return 0;
    zrk::CopyFromPlane(pixels_.Get(), x0, x1, y0, y1, result->data);
    out = result;
    CleanupMemory(0, 0);
    return 1;
  });
}

int ZRMBandCIB::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandCIB::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) results_.FreeCurrentThreadsBuffer();
  return 1;
}

int ZRMBandCIB::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}
