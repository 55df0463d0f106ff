// This source says where the image of an elevation store lies and what a request means under either policy. `PbeAxis`
// and `StoreImage` tell which posts a tile gives, and `PbeWindow` takes them. All of a read belongs to its thread.

#include "ZRMBandPBE.h"

#include "base/Fence.h"
#include "base/PerThread.h"
#include "base/ReadError.h"
#include "base/Truncate.h"
#include "core/model/BandFrame.h"
#include "tiles/pbe/PbeWindow.h"
#include "tiles/StoreLevels.h"
#include "tiles/StoreNotes.h"
#include "XDataType.h"

#include <algorithm>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandPBE, ZRMBand);

struct ZRMBandPBE::Impl final : Frame {
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  void FreeBuffers() override;
  bool ReadCompatibly(const zrk::ReadRequest& request, tagXArr2& heights, const int* cancel);
  bool ReadExactly(const zrk::ReadRequest& request, tagXArr2& heights, const int* cancel);

  ZRMBandPBE* band = nullptr;
  zrk::StoreForReading store;
  zrk::PerThread<zrk::PbeScratch> scratch;
};

namespace {

constexpr double kOffTheEdge = 1e-09;

}  // namespace

ZRMBandPBE::ZRMBandPBE() : ZRMBandFile(std::make_unique<Impl>()) {
  GetImpl().band = this;
  SetByteRange();
  SetDataType(kReal32);
  SetPixelAnchor(kPixelCentre);
}

ZRMBandPBE::~ZRMBandPBE() = default;

ZRMBandPBE::Impl& ZRMBandPBE::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

double ZRMBandPBE::CalcResolution(int level) {
  return zrk::PbeResolution(level);
}

int ZRMBandPBE::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  return zrk::Fenced(err, [&] { return TakeOver(path, err); });
}

int ZRMBandPBE::TakeOver(const XString& path, XString& err) {
  Impl& impl = GetImpl();
  impl.reads.Forget();
  impl.store = zrk::OpenForReading(path.AsStdString(), zrk::StoreKind::kElevation, IsExact());
  const zrk::StoreForReading& store = impl.store;
  SetSize(0, 0);
  if (IsExact() && !store.file) {
    err = "Fail to open PBE file: " + path;
  } else if (!store.header) {
    err = "Invalid PBE File Information : NULL";
  } else if (IsExact() && !store.image) {
    err = "Invalid PBE File Information : " + store.fault;
  }
  if (!err.IsEmpty()) return 0;
  SetCoordinateKind(kCoordinateWorld);
  GetSR()->SetWellKnownGeogCS("WGS84");
  if (!IsExact()) return PlaceCompatibly() ? 1 : 0;
  PlaceExactly();
  return 1;
}

/// A store whose tiles leave no post counts as one without levels.
bool ZRMBandPBE::PlaceCompatibly() {
  if (GetStoreLevels().empty()) return false;
  const zrk::StoreExtent extent = zrk::CalcExtent(GetStoreLevels());
  const double resolution = CalcResolution(extent.highestLevel);
  SetDataType(kReal32);
  SetPixelSize(resolution, resolution);
  SetBoundRect(extent.west, extent.east, extent.south, extent.north);
  return GetXSize() > 0 && GetYSize() > 0;
}

void ZRMBandPBE::PlaceExactly() {
  const zrk::StoreImage& image = *GetImpl().store.image;
  SetDataType(zrk::HasShortPosts(*GetImpl().store.header) ? kSint16 : kReal32);
  SetSize(image.GetWidth(), image.GetHeight());
  SetPixelSize(image.GetXStep(), image.GetYStep());
  SetUpperLeft(image.GetWest(), image.GetNorth());
  SetDecodeRows(image.GetFinest().tileHeight);
}

void ZRMBandPBE::GetLevelRange(int& lowest, int& highest) const {
  const zrk::StoreExtent extent = zrk::CalcExtent(GetStoreLevels());
  lowest = extent.lowestLevel;
  highest = extent.highestLevel;
}

const std::vector<tagXTileLevel>& ZRMBandPBE::GetStoreLevels() const {
  static const std::vector<tagXTileLevel> none;
  const zrk::StoreForReading& store = GetImpl().store;
  return store.header ? store.header->levels : none;
}

int ZRMBandPBE::GetNumChannels() const {
  return 1;
}

tagXArr2* ZRMBandPBE::GetResult(int channel) const {
  return GetImpl().reads.GetResult(channel);
}

void ZRMBandPBE::GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const {
  const zrk::ReadRequest last = GetImpl().reads.GetLastRequest();
  level = last.level;
  x0 = last.x0;
  x1 = last.x1;
  y0 = last.y0;
  y1 = last.y1;
}

void ZRMBandPBE::DescribeLevels(tagXFormatNotes& notes) const {
  zrk::DescribeStore(GetImpl().store, "posts", notes);
}

void ZRMBandPBE::Impl::FreeBuffers() {
  Frame::FreeBuffers();
  scratch.Release();
}

zrk::ChannelReads::Record* ZRMBandPBE::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  const bool isLevel = IsLevel(request.level);
  const int width = isLevel ? request.Width() >> request.level : 0;
  const int height = isLevel ? request.Height() >> request.level : 0;
  const int postBytes = store.IsExact() && zrk::HasShortPosts(*store.header) ? 2 : 4;
  zrk::ChannelReads::Record* const record = reads.Begin(request, {1, width, height, postBytes});
  if (width == 0 || height == 0) zrk::NoteReadError(zrk::kNoSuchLevel);
  if (!record || !store.file || !store.header) return nullptr;
  tagXArr2& heights = record->At(0);
  const bool isRead =
      store.IsExact() ? ReadExactly(request, heights, cancel) : ReadCompatibly(request, heights, cancel);
  return isRead ? record : nullptr;
}

bool ZRMBandPBE::Impl::ReadCompatibly(const zrk::ReadRequest& request, tagXArr2& heights, const int* cancel) {
  double west = request.x0, south = request.y1, east = request.x1, north = request.y0;
  band->ConvPixelToWorldCoord(west, south);
  band->ConvPixelToWorldCoord(east, north);
  const double xStep = (east - west) / heights.xSize, yStep = (north - south) / heights.ySize;
  const double step = xStep != 0.0 ? xStep : yStep != 0.0 ? yStep : band->GetXPixelSize();
  const tagXTileLevel* const level = zrk::FindClosest(store.header->levels, step, &zrk::PbeResolution);
  if (!level) return false;
  const double t = zrk::GlobalTileSize(level->level);
  const auto tileAt = [t](double shifted) { return zrk::TruncateToInt(shifted / t); };
  zrk::PbeScratch& memory = scratch.Get();
  zrk::WalkPlaces(north, -yStep, heights.ySize, memory.places);
  zrk::PlanPbeRows(memory.places, t, std::max(tileAt((south + 90.0) - kOffTheEdge), level->llRow),
                   std::min(tileAt((north + 90.0) - kOffTheEdge), level->urRow), memory.rows);
  zrk::WalkPlaces(west, xStep, heights.xSize, memory.places);
  zrk::PlanPbeColumns(memory.places, t, std::max(tileAt(west + 180.0), level->llCol),
                      std::min(tileAt(east + 180.0), level->urCol), memory.columns);
  return zrk::PbeWindow(store, memory, heights).ReadCompatibly(*level, cancel);
}

/// The size of the band can be set to another than the image's, which is the one that bounds the posts.
bool ZRMBandPBE::Impl::ReadExactly(const zrk::ReadRequest& request, tagXArr2& heights, const int* cancel) {
  const zrk::StoreImage& image = *store.image;
  if (request.x1 >= image.GetWidth() || request.y1 >= image.GetHeight()) {
    return zrk::FailRead(zrk::kWindowOutside) != 0;
  }
  const zrk::StoreImage::Level& level = image.GetLevelFor(request.level);
  zrk::PbeScratch& memory = scratch.Get();
  image.PlanColumns(level, {request.level, request.x0, heights.xSize}, memory.columns);
  image.PlanRows(level, {request.level, request.y0, heights.ySize}, memory.rows);
  return zrk::PbeWindow(store, memory, heights).ReadExactly(level, cancel);
}
