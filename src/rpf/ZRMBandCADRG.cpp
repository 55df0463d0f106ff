// A frame of a colour map. Its blocks are painted through the frame's colour table when it is opened, into one plane
// for each channel. Every read copies from these planes, at full size whatever level is asked for.

#include "ZRMBandCADRG.h"

#include "base/PixelStorage.h"
#include "core/model/BandFrame.h"
#include "rpf/FrameBand.h"
#include "rpf/FramePaint.h"

#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandCADRG, ZRMBand);

struct ZRMBandCADRG::Impl final : Frame {
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;

  zrk::PixelStorage pixels;  // one plane a channel
  int numChannels = 0;
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

int ZRMBandCADRG::ReadFile(XString path, XString&, XThread*) {
  XCIBframe frame;
  zrk::PixelStorage pixels;
  if (!frame.LoadPlanes(path, pixels)) return 0;
  Impl& impl = GetImpl();
  impl.pixels = std::move(pixels);
  impl.numChannels = frame.GetNumChannels();
  impl.reads.Forget();
  const tagCoverageSectionSubheaderRPF& coverage = frame.GetCoverageSec();
  zrk::PlaceAsFrame(*this, coverage.nwLongitude, coverage.nwLatitude, coverage.horizontalInterval,
                    coverage.verticalInterval);
  return 1;
}

int ZRMBandCADRG::GetNumChannels() const {
  return GetImpl().numChannels;
}

/// The band's size can be set to another than the frame's, which is the one that bounds the pixels.
zrk::ChannelReads::Record* ZRMBandCADRG::Impl::Decode(const zrk::ReadRequest& request, const int*) {
  if (numChannels == 0 || !zrk::IsOnFrame(request.x0, request.x1, request.y0, request.y1)) return nullptr;
  zrk::ChannelReads::Record* const record = reads.Begin(request, {numChannels, request.Width(), request.Height()});
  if (!record) return nullptr;
  for (int c = 0; c < numChannels; ++c) {
    const unsigned char* const plane = pixels.Get() + static_cast<std::size_t>(c) * zrk::kFramePixels;
    zrk::CopyFromPlane(plane, request.x0, request.x1, request.y0, request.y1, record->At(c).data);
  }
  return record;
}
