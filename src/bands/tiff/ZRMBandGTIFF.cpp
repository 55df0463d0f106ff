// Bands of a TIFF file share one open image, which the last of them closes. Reading goes through decoders that the
// image lends to one read at a time; what a band keeps of its own is the calling thread's result.

#include "ZRMBandGTIFF.h"

#include "bands/tiff/TiffImage.h"
#include "bands/tiff/TiffWindow.h"
#include "base/Fence.h"
#include "XDataType.h"
#include "Xepot.h"

#include <algorithm>
#include <cstdint>
#include <typeinfo>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandGTIFF, ZRMBandDRIO);

ZRMBandGTIFF::ZRMBandGTIFF(ZRMBandGTIFF* master) : master_(master) {
  SetBandMin(kNotSet);
  SetBandMax(-kNotSet);
  if (!master) return;
  CopyGeometry(*master);
  SetDataType(master->GetDataType());
  SetDecodeRows(master->GetDecodeRows());
  image_ = master->image_;
  blocksAcross_ = master->blocksAcross_;
  blocksDown_ = master->blocksDown_;
}

ZRMBandGTIFF::~ZRMBandGTIFF() = default;

int ZRMBandGTIFF::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  image_.reset();
  numChannels_ = 1;
  InitBlockInfo();
  return zrk::Fenced(err, [&] {
    std::shared_ptr<zrk::TiffImage> image = zrk::TiffImage::Open(path, err);
    if (!image) return 0;
    image_ = std::move(image);
    const zrk::TiffSource& source = image_->GetSource();
    const zrk::TiffTags& tags = source.layout.tags;
    SetSize(static_cast<int>(tags.width), static_cast<int>(tags.height));
    SetDataType(source.layout.dataType);
    numChannels_ = source.layout.numChannels;
    // Rows of plain strips cost the same however they are read.
    SetDecodeRows(source.isPlain && !tags.isTiled ? 1 : zrk::ToSide(tags.blockHeight));
    InitBlockInfo();
    ReadCoordinateInfo(err);
    return 1;
  });
}

int ZRMBandGTIFF::InitBlockInfo() {
  const zrk::TiffGrid grid = image_ ? zrk::CountTiffBlocks(image_->GetLayout().tags, GetDataType()) : zrk::TiffGrid{};
  blocksAcross_ = grid.across;
  blocksDown_ = grid.down;
  return grid.across > 0;
}

tiff* ZRMBandGTIFF::GetFileTIFF() const {
  return image_ ? image_->GetHandle() : nullptr;
}

int ZRMBandGTIFF::GetNumOfPalette() const {
  return image_ ? image_->GetPalette().GetSize() : 0;
}

void ZRMBandGTIFF::GetPalette(short*& red, short*& green, short*& blue) const {
  red = green = blue = nullptr;
  if (GetNumOfPalette() == 0) return;
  zrk::TiffPalette& palette = image_->GetPalette();
  red = palette.red.data();
  green = palette.green.data();
  blue = palette.blue.data();
}

int ZRMBandGTIFF::GetCompreType() const {
  return image_ ? image_->GetLayout().tags.compression : 0;
}

int ZRMBandGTIFF::GetSamplesPerPixel() const {
  return image_ ? image_->GetLayout().tags.samplesPerPixel : 0;
}

int ZRMBandGTIFF::GetBitsPerSample() const {
  return image_ ? image_->GetLayout().tags.bitsPerSample : 0;
}

int ZRMBandGTIFF::GetPlanarConfiguration() const {
  return image_ ? image_->GetLayout().tags.planarConfiguration : 0;
}

int ZRMBandGTIFF::GetPhotometric() const {
  return image_ ? image_->GetLayout().tags.photometric : 0;
}

int ZRMBandGTIFF::GetSampleFormat() const {
  return image_ ? image_->GetLayout().tags.sampleFormat : 0;
}

bool ZRMBandGTIFF::IsTiled() const {
  return image_ && image_->GetLayout().tags.isTiled;
}

int ZRMBandGTIFF::GetBlockWidth() const {
  return image_ ? zrk::ToSide(image_->GetLayout().tags.blockWidth) : 0;
}

int ZRMBandGTIFF::GetBlockHeight() const {
  return image_ ? zrk::ToSide(image_->GetLayout().tags.blockHeight) : 0;
}

XString ZRMBandGTIFF::GetLastMessage() const {
  return image_ ? image_->GetSource().messages->GetLast() : XString();
}

std::vector<tagXTiffDirectory> ZRMBandGTIFF::GetDirectories(int most) const {
  return image_ ? image_->ListDirectories(most) : std::vector<tagXTiffDirectory>();
}

int ZRMBandGTIFF::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), GetXTileSize(), GetYTileSize(), x0, x1, y0,
                                         y1, width, height);
}

int ZRMBandGTIFF::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  if (!image_ || !IsInside(x0, x1, y0, y1)) return 0;
  if (ReadFromLevelData(out, level, x0, x1, y0, y1, cancel)) return 1;
  return zrk::FencedRead([&] { return ReadFromImage(out, {level, x0, x1, y0, y1}, cancel); });
}

/// The calling thread's buffer for the result of a request; null where the image can't answer it.
tagXArr2* ZRMBandGTIFF::GetResult(const zrk::ReadRequest& request) {
  const zrk::TiffLayout& layout = image_->GetLayout();
  const bool hasBlocks = image_->GetSource().grid.across > 0;
  // The band's size and channel can be set to others than the image's, which are those that bound the samples.
  const bool isInImage =
      std::uint32_t(request.x1) < layout.tags.width && std::uint32_t(request.y1) < layout.tags.height;
  const bool isChannel = channel_ >= 0 && channel_ < layout.numChannels;
  if (!hasBlocks || !isInImage || !isChannel || !IsLevel(request.level)) return nullptr;
  return results_.GetBuffer(request.Width() >> request.level, request.Height() >> request.level,
                            XfnGetDataSize(layout.dataType));
}

int ZRMBandGTIFF::ReadFromImage(tagXArr2*& out, const zrk::ReadRequest& request, const int* cancel) {
  tagXArr2* const result = GetResult(request);
  if (!result) return 0;
  const zrk::TiffImage::Loan decoder(*image_);
  const zrk::TiffTarget target = {channel_, result};
  if (!decoder || !zrk::SampleTiff(*decoder, request, {&target, 1}, cancel)) return 0;
  out = result;
  CleanupMemory(0, 0);
  return 1;
}

/// A class above this one may make something else of the samples, in its own `ReadSubset`.
const void* ZRMBandGTIFF::GetJointSource() const {
  if (typeid(*this) != typeid(ZRMBandGTIFF)) return nullptr;
  return image_ && !image_->GetLayout().tags.IsPlanar() && image_->GetLayout().numChannels > 1 ? image_.get() : nullptr;
}

int ZRMBandGTIFF::ReadJointly(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                              std::span<tagXArr2*> out) {
  if (!image_ || out.size() < bands.size() || !XfnHaveJointSource(bands)) return 0;
  const zrk::ReadRequest request = {0, x0, x1, y0, y1};
  return zrk::FencedRead([&] {
    std::vector<zrk::TiffTarget> targets;
    for (ZRMBand* each : bands) {
      auto* const band = dynamic_cast<ZRMBandGTIFF*>(each);
      tagXArr2* const result = band && band->IsInside(x0, x1, y0, y1) ? band->GetResult(request) : nullptr;
      if (!result) return 0;
      targets.push_back({band->channel_, result});
    }
    const zrk::TiffImage::Loan decoder(*image_);
    if (!decoder || !zrk::SampleTiff(*decoder, request, targets, cancel)) return 0;
    std::ranges::transform(targets, out.begin(), [](const zrk::TiffTarget& target) { return target.out; });
    return 1;
  });
}

int ZRMBandGTIFF::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandGTIFF::CleanupMemory(int freeBuffers, int force) {
  if (!freeBuffers || !IsMemoryWanted(force)) return 1;
  results_.FreeCurrentThreadsBuffer();
  if (image_) image_->FreeDecoders();
  return master_ ? master_->CleanupMemory(1, 1) : 1;
}

int ZRMBandGTIFF::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}
