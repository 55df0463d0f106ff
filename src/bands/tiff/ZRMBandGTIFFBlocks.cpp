// Single blocks of a TIFF file, for callers that deal in them. Windows are read without these, since a window seldom
// wants all of a block.

#include "bands/tiff/TiffImage.h"
#include "bands/tiff/TiffSampler.h"
#include "base/Fence.h"
#include "XDataType.h"
#include "XLimits.h"
#include "ZRMBandGTIFF.h"

#include <cstring>
#include <optional>

namespace {

/// The layout as if the given reader were the one of the file, and without a palette: blocks come as they are stored.
zrk::TiffLayout ReadBy(const zrk::TiffLayout& layout, zrk::TiffReader reader, int dataType) {
  zrk::TiffLayout other;
  other.tags = layout.tags;
  other.isRgba = reader == zrk::TiffReader::kRgba;
  other.isSplitBitmap = reader == zrk::TiffReader::kSplitBitmap;
  other.isOddBits = reader == zrk::TiffReader::kOddBits;
  other.dataType = dataType;
  return other;
}

/// The type that packed samples come in. Some widths have a type of their own whatever is asked for; 0 where the
/// samples of the file don't come in that one.
int TypeOfPackedSamples(const zrk::TiffTags& tags, int dataType) {
  const int bits = tags.bitsPerSample;
  if (bits == 1 && (tags.samplesPerPixel == 1 || tags.IsPlanar())) return kPint08;
  if (dataType == kReal32 && bits < 32) return bits == 16 || bits == 24 ? kReal32 : kDataTypeNone;
  if (bits == 12) return kPint16;
  if (bits == 24) return kPint32;
  return dataType == kPint08 || dataType == kPint16 || dataType == kPint32 ? dataType : kDataTypeNone;
}

/// Takes all samples of a block, where its bytes are there.
int TakeBlock(const zrk::TiffLayout& layout, int channel, std::int64_t rowBytes,
              const std::optional<zrk::TiffRows>& rows, void* out) {
  if (!rows) return 0;
  const zrk::TiffSampler sampler(layout, channel, false);
  const auto width = static_cast<int>(layout.tags.blockWidth), height = static_cast<int>(layout.tags.blockHeight);
  sampler.Take(*rows, 0, rowBytes, {0, width, height, 1}, static_cast<unsigned char*>(out),
               std::int64_t{width} * sampler.SampleBytes());
  return 1;
}

}  // namespace

bool ZRMBandGTIFF::IsBlock(int blockX, int blockY, int channel, const void* out) const {
  if (!image_ || !out) return false;
  const zrk::TiffGrid& grid = image_->GetSource().grid;
  return blockX >= 0 && blockX < grid.across && blockY >= 0 && blockY < grid.down && channel >= 0 &&
         channel < image_->GetLayout().numChannels;
}

void* ZRMBandGTIFF::LoadBlockBuf(int block, int& reserved, int& size) {
  reserved = size = -1;
  const std::int64_t planes = GetPlanarConfiguration() == 2 ? GetSamplesPerPixel() : 1;
  if (!image_ || block < 0 || block >= planes * image_->GetSource().BlocksPerPlane()) return nullptr;
  void* bytes = nullptr;
  zrk::FencedRead([&] {
    const zrk::TiffImage::Loan decoder(*image_);
    const std::int64_t numBytes = image_->GetSource().blockBytes;
    const auto rows =
        decoder && numBytes <= zrk::GetLimits().decodedTileBytes ? decoder->DecodeBlock(block) : std::nullopt;
    tagXArr1* const buffer = rows && numBytes <= INT32_MAX ? blocks_.GetBuffer(static_cast<int>(numBytes), 1) : nullptr;
    if (!buffer) return 0;
    std::memcpy(buffer->data, rows->data, static_cast<std::size_t>(numBytes));
    bytes = buffer->data;
    size = static_cast<int>(numBytes);
    return 1;
  });
  return bytes;
}

int ZRMBandGTIFF::ReadStoredBlock(int blockX, int blockY, int channel, const zrk::TiffLayout& layout, void* out) {
  const zrk::TiffSource& source = image_->GetSource();
  const zrk::TiffTags& tags = source.layout.tags;
  const int sample = source.layout.SampleOf(channel);
  // Blocks that libtiff makes colours of may be packed in ways of their own, and have less samples than colours.
  const bool isPacked = source.blockBytes == source.rowBytes * tags.blockHeight && sample < tags.samplesPerPixel;
  if (!isPacked || source.blockBytes > zrk::GetLimits().decodedTileBytes) return 0;
  const zrk::TiffImage::Loan decoder(*image_);
  if (!decoder) return 0;
  return TakeBlock(layout, sample, source.rowBytes, decoder->DecodeBlock(source.BlockAt(blockX, blockY, sample)), out);
}

int ZRMBandGTIFF::ReadBlockRaster(int blockX, int blockY, int channel, void* out, XString& err) {
  if (!IsBlock(blockX, blockY, channel, out)) return 0;
  return zrk::Fenced(err, [&] {
    const zrk::TiffLayout& layout = image_->GetLayout();
    return ReadStoredBlock(blockX, blockY, channel, ReadBy(layout, zrk::TiffReader::kRaster, layout.dataType), out);
  });
}

int ZRMBandGTIFF::ReadBlockOddBits(int blockX, int blockY, int channel, int dataType, void* out, XString& err) {
  if (!IsBlock(blockX, blockY, channel, out)) return 0;
  return zrk::Fenced(err, [&] {
    const zrk::TiffLayout& layout = image_->GetLayout();
    const int type = TypeOfPackedSamples(layout.tags, dataType);
    if (type == kDataTypeNone) return 1;
    return ReadStoredBlock(blockX, blockY, channel, ReadBy(layout, zrk::TiffReader::kOddBits, type), out);
  });
}

int ZRMBandGTIFF::ReadBlockRGBA(int blockX, int blockY, int channel, void* out, XString& err) {
  const zrk::TiffLayout layout =
      image_ ? ReadBy(image_->GetLayout(), zrk::TiffReader::kRgba, kPint08) : zrk::TiffLayout();
  if (!IsBlock(blockX, blockY, 0, out) || channel < 0 || channel > 3) return 0;
  const std::int64_t numBytes = std::int64_t{GetBlockWidth()} * GetBlockHeight();
  if (numBytes > zrk::GetLimits().decodedTileBytes / 4) return 0;
  return zrk::Fenced(err, [&] {
    const zrk::TiffImage::Loan decoder(*image_);
    return decoder ? TakeBlock(layout, channel, 0, decoder->DecodeColours(blockX, blockY), out) : 0;
  });
}

int ZRMBandGTIFF::ReadBlockSplitBitmap(int blockX, int blockY, void* out, XString& err) {
  if (!IsBlock(blockX, blockY, 0, out)) return 0;
  return zrk::Fenced(err, [&] {
    const zrk::TiffImage::Loan decoder(*image_);
    const auto row = decoder ? decoder->DecodeFirstRow() : std::nullopt;
    const zrk::TiffLayout layout = ReadBy(image_->GetLayout(), zrk::TiffReader::kSplitBitmap, kPint08);
    if (TakeBlock(layout, 0, image_->GetSource().rowBytes, row, out)) return 1;
    err = "Fail to Read scanline TIFF";
    return 0;
  });
}
