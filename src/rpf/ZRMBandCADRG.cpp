// A frame of a colour map. Its blocks are painted through the frame's colour table when it is opened, into one plane
// for each channel. Every read copies from these planes. Under the exact policy a further plane tells which pixels are
// transparent.

#include "ZRMBandCADRG.h"

#include "base/PixelStorage.h"
#include "core/model/BandFrame.h"
#include "rpf/FrameBand.h"
#include "rpf/FramePaint.h"
#include "rpf/FramePlanes.h"

#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandCADRG, ZRMBand);

struct ZRMBandCADRG::Impl final : Frame {
  Impl() { decodesNoLevels = true; }

  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;

  void Adopt(zrk::FramePlanes fresh);

  zrk::FramePlanes planes;  // one a channel; under the compatible policy all subframes count as there
};

ZRMBandCADRG::ZRMBandCADRG(ZRMBandCADRG* parent) : ZRMBandChannels(std::make_unique<Impl>(), parent) {
  SetByteRange();
}

ZRMBandCADRG::~ZRMBandCADRG() = default;

ZRMBandCADRG::Impl& ZRMBandCADRG::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandCADRG::CheckToRead(const XString& path) {
  return XCIBframe().LoadFile(path, 1, 0);
}

void ZRMBandCADRG::Impl::Adopt(zrk::FramePlanes fresh) {
  planes = std::move(fresh);
  reads.Forget();
}

int ZRMBandCADRG::ReadFile(XString path, XString& err, XThread*) {
  XCIBframe frame;
  zrk::FramePlanes fresh;
  if (IsExact()) {
    if (!zrk::LoadExactly(frame, path, fresh, err)) return 0;
  } else {
    if (!frame.LoadPlanes(path, fresh.pixels)) return 0;
    fresh.numPlanes = frame.GetNumChannels();
  }
  GetImpl().Adopt(std::move(fresh));
  if (IsExact() && GetImpl().planes.transparentGrey >= 0) SetNullValue(GetImpl().planes.transparentGrey);
  const tagCoverageSectionSubheaderRPF& coverage = frame.GetCoverageSec();
  zrk::PlaceAsFrame(*this, coverage.nwLongitude, coverage.nwLatitude, coverage.horizontalInterval,
                    coverage.verticalInterval);
  zrk::PlaceByCorners(*this, coverage);
  return 1;
}

bool ZRMBandCADRG::HasOpacity() const {
  return GetImpl().planes.hasOpacity;
}

int ZRMBandCADRG::GetNumChannels() const {
  return GetImpl().planes.numPlanes;
}

/// The band's size can be set to another than the frame's, which is the one that bounds the pixels.
zrk::ChannelReads::Record* ZRMBandCADRG::Impl::Decode(const zrk::ReadRequest& request, const int*) {
  const int numChannels = planes.numPlanes;
  if (numChannels == 0 || !zrk::IsOnFrame(request.x0, request.x1, request.y0, request.y1)) return nullptr;
  if (!zrk::HoldsWindow(planes, request.x0, request.x1, request.y0, request.y1)) return nullptr;
  zrk::ChannelReads::Record* const record = reads.Begin(request, {numChannels, request.Width(), request.Height()});
  if (!record) return nullptr;
  for (int c = 0; c < numChannels; ++c) {
    const unsigned char* const plane = planes.pixels.Get() + static_cast<std::size_t>(c) * zrk::kFramePixels;
    zrk::CopyFromPlane(plane, request.x0, request.x1, request.y0, request.y1, record->At(c).data);
  }
  return record;
}
