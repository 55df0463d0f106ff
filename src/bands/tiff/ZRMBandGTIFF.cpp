// Bands of a TIFF file share one open image, which the last of them closes. Reading goes through decoders that the
// image lends to one read at a time. A band keeps nothing of its own but the calling thread's result. So a follower
// needs nothing of its master but the image, and to its frame each band is a master with one channel.
//
// Blocks of a file are tiles or strips. A window at level n has every 2^n-th pixel, begun anew in each block; level
// data answers first where the band has any. Images behind the first one are listed. Compatible reads use none of them.
// Exact reads have another plan, which the image carries, and take levels from reduced images where there are some.

#include "ZRMBandGTIFF.h"

#include "bands/tiff/TiffBlocks.h"
#include "bands/tiff/TiffExactPlan.h"
#include "bands/tiff/TiffImage.h"
#include "bands/tiff/TiffPlacing.h"
#include "bands/tiff/TiffTexts.h"
#include "bands/tiff/TiffWindow.h"
#include "base/Fence.h"
#include "base/ReadError.h"
#include "core/model/BandFrame.h"
#include "XDataType.h"

#include <algorithm>
#include <cstdint>
#include <typeinfo>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandGTIFF, ZRMBandDRIO);

namespace {

constexpr const char* kChangedFile = "The file is another one than it was when it was opened, or is gone";

/// `TiffTags` begins with the values that missing tags stand for. A file that is not open has not even those.
zrk::TiffTags NoTags() {
  zrk::TiffTags tags;
  tags.samplesPerPixel = tags.bitsPerSample = tags.planarConfiguration = 0;
  tags.photometric = tags.sampleFormat = tags.compression = 0;
  return tags;
}

/// A reduced image has its own pixels for the level. Column x of the image is its column x >> n.
zrk::ReadRequest AtLevel(const zrk::ReadRequest& request, int level) {
  const int x0 = request.x0 >> level, y0 = request.y0 >> level;
  return {request.level - level, x0, x0 + (request.Width() >> level) - 1, y0, y0 + (request.Height() >> level) - 1};
}

}  // namespace

struct ZRMBandGTIFF::Impl final : Frame {
  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  void FreeBuffers() override;
  /// Begins a read of this band's channel; null where the image can't answer it.
  zrk::ChannelReads::Record* Begin(const zrk::ReadRequest& request);
  const zrk::TiffTags& GetTags() const;
  /// Reads a block by `read`, which is given a reader of the image.
  template <class Read>
  int ReadBlock(XString& err, Read&& read) const {
    if (!image) return 0;
    return zrk::Fenced(err, [&] {
      zrk::TiffBlocks imageBlocks(*image);
      return read(imageBlocks);
    });
  }

  ZRMBandGTIFF* opener = nullptr;         // the band that opened the file, for all others of it
  std::shared_ptr<zrk::TiffImage> image;  // shared by all of them
  int shownChannel = 0;
  int numChannels = 1;
  int blocksAcross = 0;
  int blocksDown = 0;
  XThreadSafeArr1 blocks;
};

/// Tags of a file that is not open are all 0.
const zrk::TiffTags& ZRMBandGTIFF::Impl::GetTags() const {
  static const zrk::TiffTags none = NoTags();
  return image ? image->GetLayout().tags : none;
}

ZRMBandGTIFF::ZRMBandGTIFF(ZRMBandGTIFF* master) : ZRMBandFile(std::make_unique<Impl>()) {
  SetBandMin(kNotSet);
  SetBandMax(-kNotSet);
  if (!master) return;
  CopyGeometry(*master);
  SetReadPolicy(master->GetReadPolicy());
  SetDataType(master->GetDataType());
  SetDecodeRows(master->GetDecodeRows());
  SetDecodeColumns(master->GetDecodeColumns());
  Impl& impl = GetImpl();
  impl.opener = master;
  impl.image = master->GetImpl().image;
  if (impl.image && zrk::ShowsNullSample(impl.image->GetLayout())) SetNullValue(master->GetNullValue());
  impl.blocksAcross = master->GetBlocksAcross();
  impl.blocksDown = master->GetBlocksDown();
}

ZRMBandGTIFF::~ZRMBandGTIFF() = default;

ZRMBandGTIFF::Impl& ZRMBandGTIFF::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandGTIFF::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  Impl& impl = GetImpl();
  impl.image.reset();
  impl.numChannels = 1;
  InitBlockInfo();
  return zrk::Fenced(err, [&] {
    std::shared_ptr<zrk::TiffImage> image = zrk::TiffImage::Open(path, GetReadPolicy(), err);
    if (!image) return 0;
    impl.image = std::move(image);
    const zrk::TiffSource& source = impl.image->GetSource();
    const zrk::TiffTags& tags = source.layout.tags;
    SetSize(static_cast<int>(tags.width), static_cast<int>(tags.height));
    SetDataType(source.layout.dataType);
    if (zrk::ShowsNullSample(source.layout)) SetNullValue(*source.layout.nullSample);
    impl.numChannels = source.layout.numChannels;
    // Rows of plain strips cost the same however they are read.
    SetDecodeRows(source.isPlain && !tags.isTiled ? 1 : zrk::ToSide(tags.blockHeight));
    SetDecodeColumns(IsExact() && source.isPlain && tags.isTiled ? zrk::ToSide(tags.blockWidth) : 0);
    InitBlockInfo();
    SetChannel(GetChannel());
    XString reason;
    ReadCoordinateInfo(reason);
    if (reason.IsEmpty()) return 1;
    impl.image.reset();
    err = reason;
    return 0;
  });
}

/// The grid is counted for the band's own data type, which callers can set.
int ZRMBandGTIFF::InitBlockInfo() {
  Impl& impl = GetImpl();
  const zrk::TiffGrid grid = impl.image ? zrk::CountTiffBlocks(impl.GetTags(), GetDataType()) : zrk::TiffGrid{};
  impl.blocksAcross = grid.across;
  impl.blocksDown = grid.down;
  return grid.across > 0;
}

tiff* ZRMBandGTIFF::GetFileTIFF() const {
  return GetImpl().image ? GetImpl().image->GetHandle() : nullptr;
}

int ZRMBandGTIFF::GetChannel() const {
  return GetImpl().shownChannel;
}

void ZRMBandGTIFF::SetChannel(int channel) {
  Impl& impl = GetImpl();
  impl.shownChannel = channel;
  if (!impl.image) return;
  SetColourRole(zrk::FindColourRole(impl.image->GetLayout(), impl.image->GetSource().extraSamples, channel));
}

int ZRMBandGTIFF::GetNumChannels() const {
  return GetImpl().numChannels;
}

int ZRMBandGTIFF::GetSample() const {
  const Impl& impl = GetImpl();
  if (!impl.image) return impl.shownChannel;
  const zrk::TiffLayout& layout = impl.image->GetLayout();
  const bool isColour = layout.palette.GetSize() > 0 && impl.shownChannel < layout.CountColours();
  return layout.isRgba || isColour ? -1 : layout.SampleOf(impl.shownChannel);
}

int ZRMBandGTIFF::GetBlocksAcross() const {
  return GetImpl().blocksAcross;
}

int ZRMBandGTIFF::GetBlocksDown() const {
  return GetImpl().blocksDown;
}

int ZRMBandGTIFF::GetNumOfPalette() const {
  return GetImpl().image ? GetImpl().image->GetPalette().GetSize() : 0;
}

void ZRMBandGTIFF::GetPalette(short*& red, short*& green, short*& blue) const {
  red = green = blue = nullptr;
  if (GetNumOfPalette() == 0) return;
  zrk::TiffPalette& palette = GetImpl().image->GetPalette();
  red = palette.red.data();
  green = palette.green.data();
  blue = palette.blue.data();
}

int ZRMBandGTIFF::GetCompreType() const {
  return GetImpl().GetTags().compression;
}

int ZRMBandGTIFF::GetSamplesPerPixel() const {
  return GetImpl().GetTags().samplesPerPixel;
}

int ZRMBandGTIFF::GetBitsPerSample() const {
  return GetImpl().GetTags().bitsPerSample;
}

int ZRMBandGTIFF::GetPlanarConfiguration() const {
  return GetImpl().GetTags().planarConfiguration;
}

int ZRMBandGTIFF::GetPhotometric() const {
  return GetImpl().GetTags().photometric;
}

int ZRMBandGTIFF::GetSampleFormat() const {
  return GetImpl().GetTags().sampleFormat;
}

bool ZRMBandGTIFF::IsTiled() const {
  return GetImpl().GetTags().isTiled;
}

int ZRMBandGTIFF::GetBlockWidth() const {
  return zrk::ToSide(GetImpl().GetTags().blockWidth);
}

int ZRMBandGTIFF::GetBlockHeight() const {
  return zrk::ToSide(GetImpl().GetTags().blockHeight);
}

XString ZRMBandGTIFF::GetLastMessage() const {
  return GetImpl().image ? GetImpl().image->GetSource().messages->GetLast() : XString();
}

std::vector<tagXTiffDirectory> ZRMBandGTIFF::GetDirectories(int most) const {
  return GetImpl().image ? GetImpl().image->ListDirectories(most) : std::vector<tagXTiffDirectory>();
}

std::vector<int> ZRMBandGTIFF::GetOverviewLevels() const {
  std::vector<int> levels;
  if (!GetImpl().image) return levels;
  for (const zrk::TiffReduced& each : GetImpl().image->GetReducedImages()) levels.push_back(each.level);
  return levels;
}

XString ZRMBandGTIFF::GetOverviewRefusal() const {
  return GetImpl().image ? GetImpl().image->WhyNotBeside() : XString();
}

bool ZRMBandGTIFF::Impl::Accepts(const zrk::ReadRequest&, bool isInside, const int*) const {
  return image && isInside;
}

zrk::ChannelReads::Record* ZRMBandGTIFF::Impl::Begin(const zrk::ReadRequest& request) {
  const zrk::TiffLayout& layout = image->GetLayout();
  const bool hasBlocks = image->GetSource().grid.across > 0;
  // The band's size and channel can be set to others than the image's, which are those that bound the samples.
  const bool isInImage =
      std::uint32_t(request.x1) < layout.tags.width && std::uint32_t(request.y1) < layout.tags.height;
  const bool isChannel = shownChannel >= 0 && shownChannel < layout.numChannels;
  if (!hasBlocks || !isChannel) zrk::NoteReadError("The file has no such image");
  if (!isInImage) zrk::NoteReadError(zrk::kWindowOutside);
  if (!hasBlocks || !isInImage || !isChannel || !IsLevel(request.level)) return nullptr;
  const int width = request.Width() >> request.level, height = request.Height() >> request.level;
  if (width == 0 || height == 0) zrk::NoteReadError(zrk::kNoSuchLevel);
  return reads.Begin(request, {1, width, height, XfnGetDataSize(layout.dataType)});
}

zrk::ChannelReads::Record* ZRMBandGTIFF::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  zrk::ChannelReads::Record* const record = Begin(request);
  if (!record) return nullptr;
  const zrk::TiffReduced* const reduced = request.level > 0 ? image->FindReduced(request.level) : nullptr;
  const zrk::TiffImage::Loan decoder(reduced ? *reduced->image : *image);
  const zrk::TiffTarget target = {shownChannel, &record->At(0)};
  if (!decoder) zrk::NoteReadError(kChangedFile);
  const zrk::ReadRequest onImage = reduced ? AtLevel(request, reduced->level) : request;
  return decoder && zrk::SampleTiff(*decoder, onImage, {&target, 1}, cancel) ? record : nullptr;
}

/// The open image is shared, so its decoders are freed for all bands. A follower has the opener free its own results
/// too.
void ZRMBandGTIFF::Impl::FreeBuffers() {
  reads.Release();
  if (image) image->FreeDecoders();
  if (opener) opener->CleanupMemory(1, 1);
}

/// A derived class may make something else of the samples in its own `ReadSubset`, and so is not read jointly.
const void* ZRMBandGTIFF::GetJointSource() const {
  if (typeid(*this) != typeid(ZRMBandGTIFF)) return nullptr;
  const zrk::TiffImage* const image = GetImpl().image.get();
  return image && !image->GetLayout().tags.IsPlanar() && image->GetLayout().numChannels > 1 ? image : nullptr;
}

const void* ZRMBandGTIFF::GetPaletteSource() const {
  if (!IsExact() || typeid(*this) != typeid(ZRMBandGTIFF)) return nullptr;
  const zrk::TiffImage* const image = GetImpl().image.get();
  const int channel = GetImpl().shownChannel;
  return image && channel >= 0 && channel < image->GetLayout().CountColours() ? image : nullptr;
}

tagXColourMap ZRMBandGTIFF::GetColourMap() const {
  if (!GetPaletteSource()) return {};
  zrk::TiffColourMap map = zrk::ReadTiffColourMap(GetFileTIFF(), GetBitsPerSample());
  return {std::move(map.red), std::move(map.green), std::move(map.blue)};
}

/// The band has an image of its own, with another plan for the same samples.
std::unique_ptr<ZRMBand> ZRMBandGTIFF::MakeIndexBand() {
  std::shared_ptr<zrk::TiffImage> indices = GetPaletteSource() ? GetImpl().image->OpenIndices() : nullptr;
  if (!indices) return nullptr;
  auto band = std::make_unique<ZRMBandGTIFF>(this);
  Impl& impl = band->GetImpl();
  impl.opener = nullptr;
  impl.image = std::move(indices);
  impl.numChannels = impl.image->GetLayout().numChannels;
  if (zrk::ShowsNullSample(impl.image->GetLayout())) band->SetNullValue(*impl.image->GetLayout().nullSample);
  band->SetChannel(0);
  zrk::TellTiffNumbers(*band, GetFileTIFF());
  return band;
}

int ZRMBandGTIFF::ReadJointly(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                              std::span<tagXArr2*> out) {
  if (!GetImpl().image || out.size() < bands.size() || !XfnHaveJointSource(bands)) return 0;
  const zrk::ReadRequest request = {0, x0, x1, y0, y1};
  return zrk::ReadPixels([&] {
    std::vector<zrk::TiffTarget> targets;
    // Each band's own record takes its samples, so that every result lives as long as after a read of its own.
    for (ZRMBand* each : bands) {
      auto* const band = dynamic_cast<ZRMBandGTIFF*>(each);
      if (!band || !band->IsInside(x0, x1, y0, y1)) return 0;
      zrk::ChannelReads::Record* const record = band->GetImpl().Begin(request);
      if (!record) return 0;
      targets.push_back({band->GetChannel(), &record->At(0)});
    }
    const zrk::TiffImage::Loan decoder(*GetImpl().image);
    if (!decoder) return zrk::FailRead(kChangedFile);
    if (!zrk::SampleTiff(*decoder, request, targets, cancel)) return 0;
    std::ranges::transform(targets, out.begin(), [](const zrk::TiffTarget& target) { return target.out; });
    return 1;
  });
}

void* ZRMBandGTIFF::LoadBlockBuf(int block, int& reserved, int& size) {
  reserved = size = -1;
  Impl& impl = GetImpl();
  tagXArr1* buffer = nullptr;
  if (!impl.image) return nullptr;
  zrk::FencedRead([&] {
    buffer = zrk::TiffBlocks(*impl.image).Load(block, impl.blocks);
    return 1;
  });
  if (!buffer) return nullptr;
  size = buffer->size;
  return buffer->data;
}

int ZRMBandGTIFF::ReadBlockRaster(int blockX, int blockY, int channel, void* out, XString& err) {
  return GetImpl().ReadBlock(err, [&](zrk::TiffBlocks& blocks) {
    return blocks.ReadRaster({blockX, blockY, channel}, out);
  });
}

int ZRMBandGTIFF::ReadBlockOddBits(int blockX, int blockY, int channel, int dataType, void* out, XString& err) {
  return GetImpl().ReadBlock(err, [&](zrk::TiffBlocks& blocks) {
    return blocks.ReadOddBits({blockX, blockY, channel}, dataType, out);
  });
}

int ZRMBandGTIFF::ReadBlockRGBA(int blockX, int blockY, int channel, void* out, XString& err) {
  return GetImpl().ReadBlock(err, [&](zrk::TiffBlocks& blocks) {
    return blocks.ReadRgba({blockX, blockY, channel}, out);
  });
}

int ZRMBandGTIFF::ReadBlockSplitBitmap(int blockX, int blockY, void* out, XString& err) {
  return GetImpl().ReadBlock(err, [&](zrk::TiffBlocks& blocks) {
    const zrk::TiffBlock block = {blockX, blockY, 0};
    if (!out || !blocks.Has(block)) return 0;
    if (blocks.ReadFirstRow(block, out)) return 1;
    err = "Fail to Read scanline TIFF";
    return 0;
  });
}

/// Whatever a former file has left is cleared first, so that a file without a place has none.
void ZRMBandGTIFF::ReadCoordinateInfo(XString& err) {
  SetCoordinateKind(kCoordinatePixel);
  GetSR()->Clear();
  tiff* const handle = GetFileTIFF();
  if (!handle) return;
  XString reason;
  const int isDone = zrk::Fenced(reason, [&] { return zrk::PlaceTiff(*this, handle, reason); });
  if (!isDone && IsExact()) err = reason;
}

int ZRMBandGTIFF::ExtractProjection(gtiff* gtif, XSpatialReference* sr) {
  if (!gtif || !sr) return -1;
  sr->SetCoordinateKind(kReferenceUnknown);
  zrk::FencedRead([&] {
    zrk::ReadTiffSystem(gtif, *sr);
    return 1;
  });
  return 1;
}

int ZRMBandGTIFF::ReadWorldFile(double& ulx, double& uly, double& xSize, double& ySize) {
  tiff* const handle = GetFileTIFF();
  if (!handle) return 0;
  return zrk::FencedRead([&] {
    const auto place = zrk::FindWorldPlace(TIFFFileName(handle), GetXSize(), GetYSize());
    if (!place) return 0;
    ulx = place->ulx;
    uly = place->uly;
    xSize = place->xPixelSize;
    ySize = place->yPixelSize;
    return 1;
  });
}
