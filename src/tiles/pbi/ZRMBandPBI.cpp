// The owner of a store opens it and unpacks windows of all four channels at once. This source says where the image lies
// and what a request means under either policy. `PbiAxis` and `StoreImage` tell which samples a tile gives, and
// `PbiWindow` takes them.

#include "ZRMBandPBI.h"

#include "base/Fence.h"
#include "base/PerThread.h"
#include "base/ReadError.h"
#include "core/model/BandFrame.h"
#include "tiles/pbi/NullBackground.h"
#include "tiles/pbi/PbiAxis.h"
#include "tiles/pbi/PbiWindow.h"
#include "tiles/StoreInfo.h"
#include "tiles/StoreLevels.h"
#include "tiles/StoreNotes.h"
#include "XPBIFileInfo.h"

#include <algorithm>
#include <cmath>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandPBI, ZRMBandDRIO);

struct ZRMBandPBI::Impl final : Frame {
  Impl() { asksLevelData = false; }

  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  void FreeBuffers() override;
  bool ReadCompatibly(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record, const int* cancel);
  bool ReadExactly(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record, const int* cancel);
  const tagXTileLevel* FindLevel(int level) const;

  ZRMBandPBI* band = nullptr;
  zrk::StoreForReading store;
  zrk::PerThread<zrk::PbiScratch> scratch;
};

ZRMBandPBI::ZRMBandPBI(ZRMBandPBI* parent) : ZRMBandChannels(std::make_unique<Impl>(), parent) {
  GetImpl().band = this;
  SetByteRange();
  if (!parent) return;
  SetTileSize(parent->GetXTileSize(), parent->GetYTileSize());
  SetDecodeRows(parent->GetDecodeRows());
  SetDecodeColumns(parent->GetDecodeColumns());
}

ZRMBandPBI::~ZRMBandPBI() = default;

std::vector<unsigned char> ZRMBandPBI::LoadNullBackground() {
  return zrk::LoadNullBackground();
}

ZRMBandPBI::Impl& ZRMBandPBI::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

ZRMBandPBI::Impl& ZRMBandPBI::GetOwner() const {
  return GetMaster() ? static_cast<ZRMBandPBI*>(GetMaster())->GetImpl() : GetImpl();
}

double ZRMBandPBI::CalcResolution(int level) {
  return zrk::PbiResolution(level);
}

int ZRMBandPBI::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  return zrk::Fenced(err, [&] { return TakeOver(path, err); });
}

int ZRMBandPBI::TakeOver(const XString& path, XString& err) {
  Impl& impl = GetImpl();
  impl.reads.Forget();
  impl.store = zrk::OpenForReading(path.AsStdString(), zrk::StoreKind::kImage, IsExact());
  SetSize(0, 0);
  if (!impl.store.file || (IsExact() && !impl.store.image)) err = "Fail to read PBI file";
  if (IsExact() && !impl.store.image) err += " : " + impl.store.fault;
  if (!err.IsEmpty() || !impl.store.header) return 0;
  SetCoordinateKind(kCoordinateWorld);
  GetSR()->SetWellKnownGeogCS("WGS84");
  SetChannel(0);
  if (!IsExact()) return PlaceCompatibly() ? 1 : 0;
  PlaceExactly();
  return 1;
}

/// A store whose tiles leave no pixel counts as one without levels.
bool ZRMBandPBI::PlaceCompatibly() {
  const zrk::StoreExtent extent = zrk::CalcExtent(GetStoreLevels());
  if (extent.highestLevel < 0) return false;
  const double resolution = CalcResolution(extent.highestLevel);
  SetPixelSize(resolution, resolution);
  SetBoundRect(extent.west, extent.east, extent.south, extent.north);
  return GetXSize() > 0 && GetYSize() > 0;
}

void ZRMBandPBI::PlaceExactly() {
  const zrk::StoreImage& image = *GetImpl().store.image;
  SetSize(image.GetWidth(), image.GetHeight());
  SetPixelSize(image.GetXStep(), image.GetYStep());
  SetUpperLeft(image.GetWest(), image.GetNorth());
  SetTileSize(image.GetFinest().tileWidth, image.GetFinest().tileHeight);
  SetDecodeRows(image.GetFinest().tileHeight);
  SetDecodeColumns(image.GetFinest().tileWidth);
}

void ZRMBandPBI::GetLevelRange(int& lowest, int& highest) const {
  const zrk::StoreExtent extent = zrk::CalcExtent(GetStoreLevels());
  lowest = extent.lowestLevel;
  highest = extent.highestLevel;
}

const std::vector<tagXTileLevel>& ZRMBandPBI::GetStoreLevels() const {
  static const std::vector<tagXTileLevel> none;
  const zrk::StoreForReading& store = GetOwner().store;
  return store.header ? store.header->levels : none;
}

int ZRMBandPBI::GetNumChannels() const {
  return zrk::kPbiChannels;
}

tagXArr2* ZRMBandPBI::GetResult(int channel) const {
  return GetOwner().reads.GetResult(channel);
}

void ZRMBandPBI::DescribeLevels(tagXFormatNotes& notes) const {
  zrk::DescribeStore(GetOwner().store, "pixels", notes);
}

void ZRMBandPBI::Impl::FreeBuffers() {
  Frame::FreeBuffers();
  scratch.Release();
}

zrk::ChannelReads::Record* ZRMBandPBI::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  const bool isLevel = IsLevel(request.level);
  const int width = isLevel ? request.Width() >> request.level : 0;
  const int height = isLevel ? request.Height() >> request.level : 0;
  zrk::ChannelReads::Record* const record = reads.Begin(request, {zrk::kPbiChannels, width, height});
  if (width == 0 || height == 0) zrk::NoteReadError(zrk::kNoSuchLevel);
  if (!record || !store.file || !store.header) return nullptr;
  const bool isRead =
      store.IsExact() ? ReadExactly(request, *record, cancel) : ReadCompatibly(request, *record, cancel);
  return isRead ? record : nullptr;
}

/// A single column has no width to take the step from, and so the step is that of the level.
bool ZRMBandPBI::Impl::ReadCompatibly(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record,
                                      const int* cancel) {
  const tagXArr2& result = record.At(0);
  double west = request.x0, south = request.y1, east = request.x1, north = request.y0;
  band->ConvPixelToWorldCoord(west, south);
  band->ConvPixelToWorldCoord(east, north);
  const int bandStep = 1 << request.level;
  const double step = request.x0 == request.x1 ? band->GetXPixelSize() * bandStep : (east - west) / result.xSize;
  const tagXTileLevel* const level = zrk::FindClosest(store.header->levels, step, &zrk::PbiResolution);
  if (!level) return false;
  zrk::PbiScratch& memory = scratch.Get();
  const zrk::PbiRequest window{*band, west, east, south, north, step, bandStep, result.xSize, result.ySize};
  zrk::PlanPbiColumns(window, *level, memory.columns);
  zrk::PlanPbiRows(window, *level, memory.rows);
  return zrk::PbiWindow(store, memory, record).ReadCompatibly(*level, cancel);
}

/// The size of the band can be set to another than the image's, which is the one that bounds the pixels.
bool ZRMBandPBI::Impl::ReadExactly(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record,
                                   const int* cancel) {
  const zrk::StoreImage& image = *store.image;
  if (request.x1 >= image.GetWidth() || request.y1 >= image.GetHeight()) {
    return zrk::FailRead(zrk::kWindowOutside) != 0;
  }
  const zrk::StoreImage::Level& level = image.GetLevelFor(request.level);
  zrk::PbiScratch& memory = scratch.Get();
  const tagXArr2& result = record.At(0);
  image.PlanColumns(level, {request.level, request.x0, result.xSize}, memory.columns);
  image.PlanRows(level, {request.level, request.y0, result.ySize}, memory.rows);
  return zrk::PbiWindow(store, memory, record).ReadExactly(level, cancel);
}

const tagXTileLevel* ZRMBandPBI::Impl::FindLevel(int level) const {
  if (!store.header) return nullptr;
  const auto found = std::ranges::find(store.header->levels, level, &tagXTileLevel::level);
  return found == store.header->levels.end() ? nullptr : &*found;
}

std::shared_ptr<XPBIFileInfo> ZRMBandPBI::ReadFileInfo() const {
  std::shared_ptr<XPBIFileInfo> info;
  zrk::FencedStore([&] {
    const std::shared_ptr<zrk::TileFile>& file = GetOwner().store.file;
    const std::optional<zrk::StoreHeader> header = file ? file->ReadHeader(zrk::StoreKind::kImage) : std::nullopt;
    if (header) info = zrk::MakeInfo<XPBIFileInfo>(*header, std::trunc(header->version));
    return true;
  });
  return info;
}

int ZRMBandPBI::AllocBuffer(unsigned size) {
  return zrk::FencedRead([&] {
    std::vector<std::uint8_t>& rgba = GetOwner().scratch.Get().rgba;
    if (rgba.size() < size) rgba.resize(size);
    return 1;
  });
}

void ZRMBandPBI::FreeBuffer() {
  GetOwner().scratch.Release();
}

const unsigned char* ZRMBandPBI::GetDXTdata(int level, int row, int col, int& size) {
  Impl& impl = GetOwner();
  const tagXTileLevel* const found = impl.FindLevel(level);
  const auto tile = found && impl.store.file ? impl.store.file->Find(*found, row, col) : std::nullopt;
  if (!tile) return nullptr;
  const int isRead = zrk::FencedRead([&] {
    std::vector<std::uint8_t>& blocks = impl.scratch.Get().blocks;
    blocks.resize(static_cast<std::size_t>(tile->count));
    return impl.store.file->Read(*tile, blocks.data()) == tile->count ? 1 : 0;
  });
  if (!isRead) return nullptr;
  size = static_cast<int>(tile->count);
  return impl.scratch.Get().blocks.data();
}

const unsigned char* ZRMBandPBI::GetRGBAdata(int level, int row, int col, int& width, int& height) {
  const tagXTileLevel* const found = GetOwner().FindLevel(level);
  if (!found) return nullptr;
  const zrk::BlockShape shape = zrk::ShapeOf(*found);
  const std::size_t numPixels = zrk::CountPixels(shape);
  if (numPixels == 0) return nullptr;
  width = shape.width;
  height = shape.height;
  const int isMade = zrk::FencedRead([&] {
    std::vector<std::uint8_t>& rgba = GetOwner().scratch.Get().rgba;
    rgba.assign(numPixels * 4, 0);
    int size = 0;
    const unsigned char* const blocks = GetDXTdata(level, row, col, size);
    if (blocks) zrk::DecodeBlocks({blocks, static_cast<std::size_t>(size)}, shape, rgba);
    return 1;
  });
  return isMade ? GetOwner().scratch.Get().rgba.data() : nullptr;
}
