// The master of a MrSID file has it open (WaveletFile) and decodes all channels of a window together. The file holds
// the image reduced by powers of two, so that a window at a level is a window of a reduced image: its scene. The
// policies part in how large the scene is.

#include "ZRMBandMrSID.h"

#include "base/ReadError.h"
#include "core/load/WaveletLoad.h"
#include "core/model/BandFrame.h"
#include "XDataType.h"
#include "XSpatialReference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandMrSID, ZRMBandDRIO);

struct ZRMBandMrSID::Impl final : Frame {
  Impl() { asksLevelData = false; }
  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  zrk::WaveletView PlanScene(const zrk::ReadRequest& request) const;

  std::shared_ptr<zrk::WaveletFile> file;  // of a master
  bool isExact = false;
};

ZRMBandMrSID::ZRMBandMrSID(ZRMBandMrSID* master) : ZRMBandChannels(std::make_unique<Impl>(), master) {
  if (master) SetDataType(master->GetDataType());
}

ZRMBandMrSID::~ZRMBandMrSID() = default;

ZRMBandMrSID::Impl& ZRMBandMrSID::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandMrSID::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  Impl& impl = GetImpl();
  impl.file.reset();
  impl.reads.Forget();
  impl.isExact = IsExact();
  return zrk::LoadWaveletFile(zrk::kMrSidCodec, path, *this, err, [&](std::shared_ptr<zrk::WaveletFile> file) {
    impl.file = std::move(file);
    TakePlace();
    GetSR()->Clear();
    const XString& wkt = impl.file->GetInfo().wkt;
    if (IsExact() && !wkt.IsEmpty()) GetSR()->importFromWkt(wkt);
  });
}

/// The corner that callers know is the centre of the first pixel. The transform counts from its outer corner.
void ZRMBandMrSID::TakePlace() {
  const zrk::WaveletInfo& info = GetImpl().file->GetInfo();
  SetCoordinateKind(kCoordinateWorld);
  SetPixelSize(std::abs(info.xByColumn), std::abs(info.yByRow));
  SetUpperLeft(info.x, info.y);
  SetPixelAnchor(kPixelCentre);
  const std::array<double, 6> t = {info.x - (info.xByColumn + info.xByRow) / 2.0, info.xByColumn, info.xByRow,
                                   info.y - (info.yByColumn + info.yByRow) / 2.0, info.yByColumn, info.yByRow};
  SetGeoTransform(t.data());
}

int ZRMBandMrSID::GetNumChannels() const {
  const auto* const master = static_cast<const ZRMBandMrSID*>(GetMaster());
  if (master) return master->GetNumChannels();
  return GetImpl().file ? GetImpl().file->GetInfo().numChannels : 0;
}

XString ZRMBandMrSID::GetDecoder() const {
  const auto* const master = static_cast<const ZRMBandMrSID*>(GetMaster());
  if (master) return master->GetDecoder();
  return GetImpl().file ? GetImpl().file->GetPlace() : XString();
}

bool ZRMBandMrSID::Impl::Accepts(const zrk::ReadRequest&, bool isInside, const int*) const {
  return isInside && (file || IsFollower());
}

/// The window that a scaling decoder gets reaches to the end of the scene's last pixel, as far as the image does.
zrk::WaveletView ZRMBandMrSID::Impl::PlanScene(const zrk::ReadRequest& request) const {
  const zrk::WaveletInfo& info = file->GetInfo();
  zrk::WaveletView view{.numChannels = info.numChannels, .level = request.level};
  view.left = request.x0 >> request.level;
  view.top = request.y0 >> request.level;
  view.width = isExact ? request.Width() >> request.level : (request.x1 >> request.level) - view.left + 1;
  view.height = isExact ? request.Height() >> request.level : (request.y1 >> request.level) - view.top + 1;
  const auto endOf = [&](int first, int count, std::int64_t size) {
    return static_cast<int>(std::min((std::int64_t{first} + count) << request.level, size)) - 1;
  };
  view.window = {view.left << request.level, endOf(view.left, view.width, info.width), view.top << request.level,
                 endOf(view.top, view.height, info.height)};
  return view;
}

/// The band's size can be set to another than the file's, which is the one that bounds scenes.
zrk::ChannelReads::Record* ZRMBandMrSID::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  const zrk::WaveletInfo& info = file->GetInfo();
  if (request.x1 >= info.width || request.y1 >= info.height) {
    zrk::NoteReadError(zrk::kWindowOutside);
    return nullptr;
  }
  const zrk::WaveletView view = IsLevel(request.level) ? PlanScene(request) : zrk::WaveletView{};
  if (view.width == 0 || view.height == 0) {
    zrk::NoteReadError(zrk::kNoSuchLevel);
    return nullptr;
  }
  zrk::ChannelReads::Record* const record =
      reads.Begin(request, {info.numChannels, view.width, view.height, XfnGetDataSize(info.dataType)});
  if (!record) return nullptr;
  std::vector<void*> planes;
  for (int i = 0; i < info.numChannels; ++i) planes.push_back(record->At(i).data);
  return file->Read(view, planes.data(), cancel) ? record : nullptr;
}
