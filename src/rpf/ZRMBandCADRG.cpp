#include "ZRMBandCADRG.h"

#include "base/Fence.h"
#include "rpf/FrameBand.h"
#include "rpf/FramePaint.h"
#include "Xepot.h"

#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandCADRG, ZRMBand);

ZRMBandCADRG::ZRMBandCADRG(ZRMBandCADRG* parent) : parent_(parent) {
  SetDataType(kPint08);
  SetBandMin(0.0);
  SetBandMax(255.0);
  if (parent) CopyGeometry(*parent);
}

ZRMBandCADRG::~ZRMBandCADRG() = default;

int ZRMBandCADRG::CheckToRead(const XString& path) {
  return XCIBframe().LoadFile(path, 1, 0);
}

int ZRMBandCADRG::ReadFile(XString path, XString&, XThread*) {
  XCIBframe frame;
  zrk::PixelStorage pixels;
  if (!frame.LoadPlanes(path, pixels)) return 0;
  pixels_ = std::move(pixels);
  numChannels_ = frame.GetNumChannels();
  reads_.Forget();
  const tagCoverageSectionSubheaderRPF& coverage = frame.GetCoverageSec();
  zrk::PlaceAsFrame(*this, coverage.nwLongitude, coverage.nwLatitude, coverage.horizontalInterval,
                    coverage.verticalInterval);
  return 1;
}

tagXArr2* ZRMBandCADRG::GetResult(int channel) const {
  return reads_.GetResult(channel, numChannels_);
}

void ZRMBandCADRG::GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const {
  reads_.GetLastRequest().Get(level, x0, x1, y0, y1);
}

int ZRMBandCADRG::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), GetXTileSize(), GetYTileSize(), x0, x1, y0,
                                         y1, width, height);
}

int ZRMBandCADRG::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int*) {
  if (!IsInside(x0, x1, y0, y1)) return 0;
  const zrk::ReadRequest request{level, x0, x1, y0, y1};
  return zrk::FencedRead([&] { return parent_ ? ReadThroughParent(out, request) : ReadAsOwner(out, request); });
}

/// A channel of this owner's last read on this thread, if that was of this request; otherwise null.
tagXArr2* ZRMBandCADRG::FindResult(int channel, const zrk::ReadRequest& request) const {
  return reads_.GetLastRequest() == request ? GetResult(channel) : nullptr;
}

int ZRMBandCADRG::ReadThroughParent(tagXArr2*& out, const zrk::ReadRequest& request) {
  tagXArr2* result = parent_->FindResult(channel_, request);
  if (!result) {
    tagXArr2* ofParent = nullptr;
    if (!parent_->ReadSubset(ofParent, request.level, request.x0, request.x1, request.y0, request.y1, nullptr)) {
      return 0;
    }
    result = parent_->FindResult(channel_, request);
    if (!result) return 0;
  }
  out = result;
  return 1;
}

int ZRMBandCADRG::ReadAsOwner(tagXArr2*& out, const zrk::ReadRequest& request) {
  if (numChannels_ == 0 || !zrk::IsOnFrame(request.x0, request.x1, request.y0, request.y1)) return 0;
  zrk::ChannelReads::Record& record = reads_.Begin(request);
  const auto numChannels = static_cast<std::size_t>(numChannels_);
  for (std::size_t c = 0; c < numChannels; ++c) {
    tagXArr2& channel = record.channels[c];
    if (!channel.Alloc(request.Width(), request.Height(), 1)) return 0;
    zrk::CopyFromPlane(pixels_.Get() + c * zrk::kFramePixels, request.x0, request.x1, request.y0, request.y1,
                       channel.data);
  }
  record.isFilled = true;
  tagXArr2* result = GetResult(channel_);
  if (!result) return 0;
  out = result;
  CleanupMemory(0, 0);
  return 1;
}

int ZRMBandCADRG::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandCADRG::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) reads_.Release();
  return 1;
}

int ZRMBandCADRG::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}
