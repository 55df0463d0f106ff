// A frame of grey imagery. Its blocks are decoded when it is opened, into one plane, and every read copies from that
// plane, at full size whatever level is asked for. Frames whose colour table is not the grey one are refused.

#include "ZRMBandCIB.h"

#include "base/PixelStorage.h"
#include "core/model/BandFrame.h"
#include "rpf/FrameBand.h"
#include "rpf/FramePlanes.h"

#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandCIB, ZRMBand);

namespace {

/// Kept out of line: where g++ 12 sees neighbouring values narrowed and widened again, it leaves the narrowing out.
[[gnu::noinline]] float ToSingle(double value) {
  return static_cast<float>(value);
}

}  // namespace

struct ZRMBandCIB::Impl final : Frame {
  Impl() { decodesNoLevels = true; }

  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;

  zrk::FramePlanes planes;  // one; under the compatible policy all subframes count as there
  bool isOpen = false;
};

ZRMBandCIB::ZRMBandCIB() : ZRMBandFile(std::make_unique<Impl>()) {
  SetByteRange();
}

ZRMBandCIB::~ZRMBandCIB() = default;

ZRMBandCIB::Impl& ZRMBandCIB::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandCIB::ReadFile(XString path, XString& err, XThread*) {
  if (IsExact()) return OpenExactly(path, err);
  if (Open(path)) return 1;
  err = "Can't open file : " + path;
  return 0;
}

int ZRMBandCIB::Open(XString path) {
  constexpr int kGrey = 3;
  XCIBframe frame;
  zrk::FramePlanes fresh;
  if (!frame.LoadPlanes(path, fresh.pixels)) return 0;
  Impl& impl = GetImpl();
  impl.isOpen = frame.GetColorTableType() == kGrey;
  if (!impl.isOpen) {
    impl.planes.pixels.Free();
    return 0;
  }
  impl.planes = std::move(fresh);
  // The place is held in single precision.
  const tagCoverageSectionSubheaderRPF& coverage = frame.GetCoverageSec();
  zrk::PlaceAsFrame(*this, ToSingle(coverage.nwLongitude), ToSingle(coverage.nwLatitude),
                    ToSingle(coverage.horizontalInterval), ToSingle(coverage.verticalInterval));
  zrk::PlaceByCorners(*this, coverage);
  return 1;
}

/// The place has the precision of the file.
int ZRMBandCIB::OpenExactly(const XString& path, XString& err) {
  Impl& impl = GetImpl();
  XCIBframe frame;
  impl.isOpen = false;
  if (!zrk::LoadExactly(frame, path, impl.planes, err)) return 0;
  if (impl.planes.numPlanes != 1) {
    err = "The frame has no grey colour table";
    return 0;
  }
  impl.isOpen = true;
  if (impl.planes.transparentGrey >= 0) SetNullValue(impl.planes.transparentGrey);
  const tagCoverageSectionSubheaderRPF& coverage = frame.GetCoverageSec();
  zrk::PlaceAsFrame(*this, coverage.nwLongitude, coverage.nwLatitude, coverage.horizontalInterval,
                    coverage.verticalInterval);
  zrk::PlaceByCorners(*this, coverage);
  return 1;
}

/// The size that was set for the band does not bound the window here; the pixels do.
bool ZRMBandCIB::Impl::Accepts(const zrk::ReadRequest& request, bool, const int*) const {
  return isOpen && zrk::IsOnFrame(request.x0, request.x1, request.y0, request.y1);
}

zrk::ChannelReads::Record* ZRMBandCIB::Impl::Decode(const zrk::ReadRequest& request, const int*) {
  if (!zrk::HoldsWindow(planes, request.x0, request.x1, request.y0, request.y1)) return nullptr;
  zrk::ChannelReads::Record* const record = reads.Begin(request, {1, request.Width(), request.Height()});
  if (!record) return nullptr;
  zrk::CopyFromPlane(planes.pixels.Get(), request.x0, request.x1, request.y0, request.y1, record->At(0).data);
  return record;
}
