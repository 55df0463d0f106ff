// The bands of an ECW file. Each band opens the file for itself (WaveletFile) and reads its own channel. So its frame
// treats each band as a master with one channel. Level files are not asked, since the decoder gives any size at the
// cost of that size.
//
// The two policies differ in which window the decoder scales, and in how the coordinate system is put together
// (EcwSystem).

#include "ZRMBandECW.h"

#include "bands/ecw/EcwSystem.h"
#include "base/ReadError.h"
#include "core/load/WaveletLoad.h"
#include "core/model/BandFrame.h"
#include "XDataType.h"
#include "XSpatialReference.h"

#include <array>
#include <cmath>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandECW, ZRMBandDRIO);

struct ZRMBandECW::Impl final : Frame {
  Impl() { asksLevelData = false; }
  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;

  std::shared_ptr<zrk::WaveletFile> file;
  int bandId = 0;
  bool isExact = false;
};

ZRMBandECW::ZRMBandECW() : ZRMBandFile(std::make_unique<Impl>()) {
  SetByteRange();
}

ZRMBandECW::~ZRMBandECW() = default;

ZRMBandECW::Impl& ZRMBandECW::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandECW::ReadFile(XString path, XString& err, XThread*) {
  Impl& impl = GetImpl();
  impl.file.reset();
  impl.reads.Forget();
  impl.isExact = IsExact();
  return zrk::LoadWaveletFile(zrk::kEcwCodec, path, *this, err, [&](std::shared_ptr<zrk::WaveletFile> file) {
    impl.file = std::move(file);
    TakePlace();
    TakeSystem();
  });
}

/// The origin is the outer corner of the first pixel.
void ZRMBandECW::TakePlace() {
  const zrk::WaveletInfo& info = GetImpl().file->GetInfo();
  SetPixelSize(std::hypot(info.xByColumn, info.yByColumn), std::hypot(info.xByRow, info.yByRow));
  SetUpperLeft(info.x, info.y);
  SetCoordinateKind(kCoordinateWorld);
  const bool isTurned = info.yByColumn != 0.0 || info.xByRow != 0.0;
  if (!isTurned && info.xByColumn >= 0.0 && info.yByRow <= 0.0) return;
  const std::array<double, 6> t = {info.x, info.xByColumn, info.xByRow, info.y, info.yByColumn, info.yByRow};
  SetGeoTransform(t.data());
}

/// GDAL's driver may know systems that the words do not name.
void ZRMBandECW::TakeSystem() {
  const zrk::WaveletInfo& info = GetImpl().file->GetInfo();
  XSpatialReference& system = *GetSR();
  system.Clear();
  if (IsExact() && !info.wkt.IsEmpty() && system.importFromWkt(info.wkt)) return;
  SetProjection(info.datum, info.projection, &system);
}

void ZRMBandECW::SetProjection(XString datum, XString projection, XSpatialReference* sr) {
  if (!sr) return;
  if (IsExact()) {
    zrk::NameEcwSystemExactly(std::move(datum), std::move(projection), *sr);
  } else {
    zrk::NameEcwSystem(std::move(datum), std::move(projection), *sr);
  }
}

int ZRMBandECW::GetBandID() const {
  return GetImpl().bandId;
}

void ZRMBandECW::SetBandID(int bandId) {
  GetImpl().bandId = bandId;
}

int ZRMBandECW::GetNumOfBand() const {
  return GetImpl().file ? GetImpl().file->GetInfo().numChannels : 0;
}

XString ZRMBandECW::GetDecoder() const {
  return GetImpl().file ? GetImpl().file->GetPlace() : XString();
}

/// The file itself knows which windows it has.
bool ZRMBandECW::Impl::Accepts(const zrk::ReadRequest& request, bool, const int*) const {
  if (!file) return false;
  const zrk::Window window{request.x0, request.x1, request.y0, request.y1};
  const zrk::WaveletInfo& info = file->GetInfo();
  if (window.IsInside(static_cast<int>(info.width), static_cast<int>(info.height))) return true;
  zrk::NoteReadError(zrk::kWindowOutside);
  return false;
}

zrk::ChannelReads::Record* ZRMBandECW::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  const bool isLevel = IsLevel(request.level);
  const int width = isLevel ? request.Width() >> request.level : 0;
  const int height = isLevel ? request.Height() >> request.level : 0;
  if (width == 0 || height == 0) {
    zrk::NoteReadError(zrk::kNoSuchLevel);
    return nullptr;
  }
  zrk::WaveletView view{.channel = bandId,
                        .window = {request.x0, request.x1, request.y0, request.y1},
                        .level = request.level,
                        .width = width,
                        .height = height};
  if (isExact) {
    view.window.x1 = request.x0 + (width << request.level) - 1;
    view.window.y1 = request.y0 + (height << request.level) - 1;
  }
  const int sampleBytes = XfnGetDataSize(file->GetInfo().dataType);
  zrk::ChannelReads::Record* const record = reads.Begin(request, {1, width, height, sampleBytes});
  if (!record) return nullptr;
  void* const planes[] = {record->At(0).data};
  return file->Read(view, planes, cancel) ? record : nullptr;
}
