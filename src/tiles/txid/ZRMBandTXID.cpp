// The owner of a store opens it and hands each read, its own or a follower's, to `TxidReads`, which reads four channels
// at once. Here stand what a request must be, and where the image lies: its place is in the index, in units of 1e-08
// degree.

#include "ZRMBandTXID.h"

#include "base/Fence.h"
#include "base/ReadError.h"
#include "tiles/txid/TxidReads.h"
#include "tiles/txid/TxiIndex.h"
#include "XBits.h"
#include "Xepot.h"

#include <algorithm>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandTXID, ZRMBand);

struct ZRMBandTXID::Store {
  zrk::TxidStore txid;
  zrk::TxidReads reads;
};

namespace {

constexpr int kNumColours = 3;
constexpr int kNumChannels = 4;
constexpr double kDegreesPerUnit = 1e-08;

/// The path without its last four characters.
XString BaseOf(const XString& path) {
  return path.Left(std::max(path.GetLength() - 4, 0));
}

/// All stores share one, since making it takes longer than reading an index.
const XSpatialReference& Wgs84() {
  static const XSpatialReference system = [] {
    XSpatialReference made;
    made.SetWellKnownGeogCS("WGS84");
    return made;
  }();
  return system;
}

}  // namespace

ZRMBandTXID::ZRMBandTXID(ZRMBandTXID* master) : master_(master), store_(master ? nullptr : std::make_unique<Store>()) {
  SetDataType(kPint08);
  SetBandMin(0.0);
  SetBandMax(255.0);
  SetDecodeRows(zrk::kBlockSide);
  if (!master) return;
  CopyGeometry(*master);
  SetTileSize(master->GetXTileSize(), master->GetYTileSize());
  SetDecodeColumns(master->GetDecodeColumns());
  SetReadPolicy(master->GetReadPolicy());
}

ZRMBandTXID::~ZRMBandTXID() = default;

ZRMBandTXID::Store& ZRMBandTXID::GetStore() const {
  return master_ ? master_->GetStore() : *store_;
}

int ZRMBandTXID::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  if (master_) {
    err = "It is not allowed to reset the band that has a master band.";
    return 0;
  }
  return zrk::Fenced(err, [&] {
    std::optional<tagTxiInfo> info = zrk::ReadTxiFile(path, err);
    if (!info) return 0;
    zrk::TxidStore& txid = store_->txid;
    txid.info = std::move(*info);
    txid.isExact = IsExact();
    txid.files.Open(BaseOf(path), zrk::FindGreatestOffset(txid.info), txid.isExact);
    store_->reads.Forget();
    TakeOver();
    return 1;
  });
}

void ZRMBandTXID::TakeOver() {
  const tagTxiInfo& info = store_->txid.info;
  SetSize(info.numXTiles * info.tileSize, info.numYTiles * info.tileSize);
  SetTileSize(info.tileSize, info.tileSize);
  SetDecodeColumns(info.tileSize);
  SetPixelSize(static_cast<double>(info.xPixelSize) * kDegreesPerUnit,
               static_cast<double>(info.yPixelSize) * kDegreesPerUnit);
  SetUpperLeft(info.x, info.y);
  SetCoordinateKind(kCoordinateWorld);
  SetSR(Wgs84());
  SetChannel(0);
}

int ZRMBandTXID::ReadTXI(XString path, tagTxiInfo* info, XString& err) {
  if (!info) return 0;
  return zrk::Fenced(err, [&] {
    std::optional<tagTxiInfo> read = zrk::ReadTxiFile(path, err);
    if (read) *info = std::move(*read);
    return read ? 1 : 0;
  });
}

const tagTxiInfo& ZRMBandTXID::GetTxiInfo() const {
  return GetStore().txid.info;
}

int ZRMBandTXID::GetNumDataFiles() const {
  return GetStore().txid.files.CountFiles();
}

std::int64_t ZRMBandTXID::GetDataBytes() const {
  return GetStore().txid.files.CountBytes();
}

int ZRMBandTXID::GetNumChannels() const {
  return kNumChannels;
}

int ZRMBandTXID::GetChannel() const {
  return channel_;
}

void ZRMBandTXID::SetChannel(int channel) {
  channel_ = channel;
}

int ZRMBandTXID::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return ReadSubset(out, channel_, level, x0, x1, y0, y1, cancel);
}

/// A follower's read is one of the owner, which has to hold the window too.
int ZRMBandTXID::ReadSubset(tagXArr2*& out, int channel, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return zrk::ReadPixels([&] {
    if (!IsInside(x0, x1, y0, y1)) return zrk::FailRead(zrk::kWindowOutside);
    ZRMBandTXID* owner = this;
    while (owner->master_) owner = owner->master_;
    Store& store = *owner->store_;
    const int numChannels = store.txid.isExact ? kNumChannels : kNumColours;
    if (channel < 0 || channel >= numChannels) return zrk::FailRead("The channel can't be read");
    if (owner != this && !owner->IsInside(x0, x1, y0, y1)) return zrk::FailRead(zrk::kWindowOutside);
    int left = 0, top = 0, width = 0, height = 0;
    if (!owner->GetSubsetInfo(level, x0, x1, y0, y1, left, top, width, height)) {
      return zrk::FailRead(zrk::kNoSuchLevel);
    }
    const bool isWhole = x0 == 0 && y0 == 0 && x1 == owner->GetXSize() - 1 && y1 == owner->GetYSize() - 1;
    tagXArr2* const result =
        store.reads.Read(store.txid, {{level, x0, x1, y0, y1}, width, height, isWhole, channel, cancel});
    if (!result) return 0;
    out = result;
    owner->CleanupMemory(0, 0);
    return 1;
  });
}

tagXArr2* ZRMBandTXID::GetResult(int channel) const {
  return GetStore().reads.GetSubset(channel);
}

tagXArr2* ZRMBandTXID::GetResultMinimap(int channel) const {
  return GetStore().reads.GetMinimap(channel);
}

void ZRMBandTXID::GetPrevReadSubsetParam(int& level, int& minimapLevel, int& x0, int& x1, int& y0, int& y1) const {
  const zrk::TxidLast last = GetStore().reads.GetLast();
  level = last.subset.level;
  minimapLevel = last.minimapLevel;
  x0 = last.subset.x0;
  x1 = last.subset.x1;
  y0 = last.subset.y0;
  y1 = last.subset.y1;
}

void ZRMBandTXID::SetPrevReadSubsetParam(int level, int minimapLevel, int x0, int x1, int y0, int y1) {
  zrk::FencedRead([&] {
    GetStore().reads.SetLast({{level, x0, x1, y0, y1}, minimapLevel});
    return 1;
  });
}

int ZRMBandTXID::IsBlankSubset() const {
  const Store& store = GetStore();
  return store.reads.IsBlank(store.txid.isExact);
}

void ZRMBandTXID::SetKey(void* key) {
  key_ = key;
}

void* ZRMBandTXID::GetKey() const {
  return key_;
}

int ZRMBandTXID::GetLevel() {
  return std::max(XfnGetPowerOf2nValue(GetXTileSize()), 0);
}

int ZRMBandTXID::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), GetXTileSize(), GetXTileSize(), x0, x1, y0,
                                         y1, width, height);
}

int ZRMBandTXID::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandTXID::CleanupMemory(int, int) {
  return 1;
}

int ZRMBandTXID::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}
