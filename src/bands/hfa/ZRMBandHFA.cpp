// The bands of an HFA file share it, and each reads its own layer. To its frame each band is a master with one channel.
//
// Size and place belong to the file; type, blocks, name, classes and overviews to the layer. The file is read block by
// block through GDAL (HfaFile). A plan tells which overview answers a read and which of its pixels (HfaWindow), and
// that is where the two policies part.

#include "ZRMBandHFA.h"

#include "bands/hfa/HfaFile.h"
#include "bands/hfa/HfaLayout.h"
#include "bands/hfa/HfaWindow.h"
#include "base/Fence.h"
#include "base/ReadError.h"
#include "core/model/BandFrame.h"
#include "XCoordinateTransformation.h"
#include "XDataType.h"
#include "XSpatialReference.h"

#include <algorithm>
#include <cmath>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandHFA, ZRMBandDRIO);

struct ZRMBandHFA::Impl final : Frame {
  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  void FreeBuffers() override;
  /// The layer that is shown, or null.
  const zrk::HfaLayer* GetLayer() const {
    const bool isThere = file && layer >= 0 && layer < static_cast<int>(file->GetLayout().layers.size());
    return isThere ? &file->GetLayout().layers[static_cast<std::size_t>(layer)] : nullptr;
  }

  ZRMBandHFA* opener = nullptr;        // the band that opened the file, for all others of it
  std::shared_ptr<zrk::HfaFile> file;  // shared by all of them
  int layer = 0;
  bool isExact = false;
};

ZRMBandHFA::ZRMBandHFA(ZRMBandHFA* master, int band) : ZRMBandFile(std::make_unique<Impl>()) {
  Impl& impl = GetImpl();
  impl.layer = band;
  if (!master) return;
  CopyGeometry(*master);
  SetReadPolicy(master->GetReadPolicy());
  impl.opener = master;
  impl.file = master->GetImpl().file;
  TakeLayer();
}

ZRMBandHFA::~ZRMBandHFA() = default;

ZRMBandHFA::Impl& ZRMBandHFA::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandHFA::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  CloseFileHFA();
  Impl& impl = GetImpl();
  impl.layer = 0;
  return zrk::Fenced(err, [&] {
    XString reason;
    impl.file = zrk::HfaFile::Open(path, IsExact(), reason);
    if (!impl.file) {
      if (IsExact()) err = "Can't open file : " + path + " : " + reason;
      if (!IsExact() && reason == zrk::kHfaIsEmpty) err = reason;
      return 0;
    }
    SetSize(impl.file->GetLayout().Width(), impl.file->GetLayout().Height());
    TakePlace();
    TakeLayer();
    return 1;
  });
}

void ZRMBandHFA::CloseFileHFA() {
  GetImpl().file.reset();
  GetImpl().reads.Forget();
}

void ZRMBandHFA::TakeLayer() {
  const zrk::HfaLayer* const layer = GetImpl().GetLayer();
  if (!layer) return;
  GetImpl().isExact = IsExact();
  SetDataType(IsExact() ? layer->exactDataType : layer->dataType);
  SetTileSize(layer->grid.blockWidth, layer->grid.blockHeight);
  SetDecodeRows(layer->grid.blockHeight);
  if (!layer->name.IsEmpty()) SetBandName(layer->name);
  if (IsExact() && layer->nullValue) SetNullValue(*layer->nullValue);
  LoadHFAThematicInfo();
}

/// The corner that callers know is the centre of the first pixel. The transform counts from its outer corner.
void ZRMBandHFA::TakePlace() {
  const zrk::HfaLayout& layout = GetImpl().file->GetLayout();
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, layout.Height());
  SetCoordinateKind(kCoordinatePixel);
  GetSR()->Clear();
  if (layout.transform) {
    const std::array<double, 6>& t = *layout.transform;
    SetPixelSize(std::abs(t[1]), std::abs(t[5]));
    SetUpperLeft(t[0] + t[1] / 2.0, t[3] + t[5] / 2.0);
    SetCoordinateKind(kCoordinateWorld);
    SetPixelAnchor(kPixelCentre);
    SetGeoTransform(t.data());
  }
  if (!layout.wkt.IsEmpty()) TakeSystem(layout.wkt);
}

/// A projected system from which no way leads to WGS 84 is of no use to callers, and counts as unknown.
void ZRMBandHFA::TakeSystem(const XString& wkt) {
  XSpatialReference& system = *GetSR();
  if (!system.importFromWkt(wkt) || system.GetCoordinateKind() != kReferenceKnown || system.IsGeographic()) return;
  XSpatialReference wgs84;
  if (!wgs84.SetWellKnownGeogCS("WGS84") || !XfnCreateCoordTrans(system, wgs84)) {
    system.SetCoordinateKind(kReferenceUnknown);
  }
}

void ZRMBandHFA::LoadHFAThematicInfo() {
  const zrk::HfaLayer* const layer = GetImpl().GetLayer();
  if (!layer || !layer->isThematic || (layer->colours.empty() && !IsExact())) return;
  int index = 0;
  for (const std::array<unsigned char, 3>& colour : layer->colours) {
    auto gis = std::make_unique<tagXRSGIS>();
    gis->index = index;
    gis->red = colour[0];
    gis->green = colour[1];
    gis->blue = colour[2];
    gis->name.Format("GIS %d", index++);
    AddGIS(gis.release());
  }
  SetBandType(kBandTypeThematic);
}

int ZRMBandHFA::GetNumChannels() const {
  return GetImpl().file ? static_cast<int>(GetImpl().file->GetLayout().layers.size()) : 0;
}

int ZRMBandHFA::GetChannel() const {
  return GetImpl().layer;
}

int ZRMBandHFA::GetBlockWidth() const {
  const zrk::HfaLayer* const layer = GetImpl().GetLayer();
  return layer ? layer->grid.blockWidth : 0;
}

int ZRMBandHFA::GetBlockHeight() const {
  const zrk::HfaLayer* const layer = GetImpl().GetLayer();
  return layer ? layer->grid.blockHeight : 0;
}

int ZRMBandHFA::GetNumOverviews() const {
  const zrk::HfaLayer* const layer = GetImpl().GetLayer();
  return layer ? static_cast<int>(layer->overviews.size()) : 0;
}

std::vector<int> ZRMBandHFA::GetOverviewLevels() const {
  std::vector<int> levels;
  const zrk::HfaLayer* const layer = GetImpl().GetLayer();
  constexpr int kMaxLevel = 30;
  for (int level = 1; layer && level <= kMaxLevel; ++level) {
    if (zrk::PlanExactHfa(*layer, {level, 0, GetXSize() - 1, 0, GetYSize() - 1}).overview >= 0) levels.push_back(level);
  }
  return levels;
}

bool ZRMBandHFA::IsThematic() const {
  const zrk::HfaLayer* const layer = GetImpl().GetLayer();
  return layer && layer->isThematic;
}

bool ZRMBandHFA::IsCompressed() const {
  const zrk::HfaLayer* const layer = GetImpl().GetLayer();
  return layer && layer->isCompressed;
}

bool ZRMBandHFA::Impl::Accepts(const zrk::ReadRequest&, bool isInside, const int*) const {
  return file && isInside;
}

/// The band's size can be set to another than the layer's, which is the one that bounds the blocks.
zrk::ChannelReads::Record* ZRMBandHFA::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  const zrk::HfaLayer* const shown = GetLayer();
  const bool isInLayer = shown && request.x1 < shown->grid.width && request.y1 < shown->grid.height;
  if (!isInLayer) zrk::NoteReadError(zrk::kWindowOutside);
  if (!isInLayer || !IsLevel(request.level)) return nullptr;
  const zrk::HfaPlan plan = isExact ? zrk::PlanExactHfa(*shown, request) : zrk::PlanCompatibleHfa(*shown, request);
  const zrk::BlockPlan& window = plan.window;
  if (window.Width() == 0 || window.Height() == 0) {
    zrk::NoteReadError(zrk::kNoSuchLevel);
    return nullptr;
  }
  zrk::ChannelReads::Record* const record =
      reads.Begin(request, {1, window.Width(), window.Height(), window.sampleBytes});
  return record && zrk::ReadHfaWindow(*file, layer, plan, record->At(0), cancel) ? record : nullptr;
}

/// A follower has the opener free its results too.
void ZRMBandHFA::Impl::FreeBuffers() {
  reads.Release();
  if (opener) opener->CleanupMemory(1, 1);
}
