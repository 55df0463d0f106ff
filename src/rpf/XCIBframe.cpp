#include "XCIBframe.h"

#include "base/Fence.h"
#include "base/PixelStorage.h"
#include "rpf/FramePaint.h"
#include "XFile.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

namespace {

constexpr int kCoverageHead = 4096;  // enough for the coverage of any real frame
constexpr int kImageHead = 524288;   // enough for all of a compressed frame
constexpr std::size_t kClearedOfHistogram = 217;

int TruncateToInt(double value) {
  if (std::isnan(value)) return 0;
  return static_cast<int>(std::clamp(value, static_cast<double>(INT_MIN), static_cast<double>(INT_MAX)));
}

}  // namespace

XCIBframe::XCIBframe() : image_(std::make_unique<zrk::PixelStorage>()) {}
XCIBframe::~XCIBframe() = default;

int XCIBframe::LoadFile(const XString& path, int withColor, int withImage) {
  planes_ = nullptr;
  return zrk::FencedRead([&] { return Load(path, withColor != 0, withImage != 0); });
}

int XCIBframe::LoadPlanes(const XString& path, zrk::PixelStorage& planes) {
  planes_ = &planes;
  const int isLoaded = zrk::FencedRead([&] { return Load(path, true, true); });
  planes_ = nullptr;
  return isLoaded;
}

int XCIBframe::Load(const XString& path, bool withColor, bool withImage) {
  Reset();
  CleanUp();
  const bool needsMore = withColor || withImage;
  const int headBytes = needsMore ? kImageHead : kCoverageHead;
  const auto head = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(headBytes));
  int bytesRead = 0;
  if (!OpenHeaders(path, head.get(), headBytes, bytesRead)) return 0;
  // A head that was not filled is the whole file.
  if (!needsMore || bytesRead < headBytes) return ReadSections(nullptr, head.get(), bytesRead, withColor, withImage);
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return 0;
  return ReadSections(&file, head.get(), bytesRead, withColor, withImage);
}

int XCIBframe::ReadSections(XFile* file, const unsigned char* buffer, int bytes, bool withColor, bool withImage) {
  if (!ReadCoverageSection(file, buffer, bytes)) return 0;
  if (withColor || withImage) {
    ReadCompressionSection(file, buffer, bytes);
    ReadGrayscaleSection(file, buffer, bytes);
  }
  return withImage ? ReadImageSection(file, buffer, bytes) : 1;
}

void XCIBframe::CleanUp() {
  tables_ = {};
  image_->Free();
  rows_ = {};
  coverage_ = {};
  description_ = {};
  display_ = {};
  for (auto& plane : colors_) plane.fill(0);
  // Of the histogram only so many bytes are cleared as a plane has: the counts behind them are of the frame before.
  std::memset(histogram_.data(), 0, kClearedOfHistogram);
  subframeOffsets_.fill(0);
  hasSubframeMask_ = false;
  transparencyOffsets_.fill(0);
  hasTransparencyMask_ = false;
}

int XCIBframe::GetNumChannels() const {
  if (colorTableType_ == 3) return 1;
  return colorTableType_ == 4 ? 4 : 3;
}

void XCIBframe::PixelToWorldCoord(int row, int col, double& lat, double& lon) const {
  lat = coverage_.nwLatitude - (row + 0.5) * coverage_.verticalInterval;
  lon = (col + 0.5) * coverage_.horizontalInterval + coverage_.nwLongitude;
}

void XCIBframe::WorldToPixelCoord(double lat, double lon, int& row, int& col) const {
  row = TruncateToInt((coverage_.nwLatitude - lat) / coverage_.verticalInterval);
  col = TruncateToInt((lon - coverage_.nwLongitude) / coverage_.horizontalInterval);
}

int XCIBframe::SaveToBinaryData(const XString& path) const {
  XFile file;
  if (rows_.empty() || !file.Open(path, XFile::kWrite | XFile::kCreate)) return 0;
  return file.Write(rows_.front(), static_cast<std::int64_t>(zrk::kFramePixels));
}
