// Single blocks of a TIFF file, for callers that work with blocks: decoded bytes, samples, and bytes of colours.
// Windows do not use these functions, because a window seldom needs a whole block.

#include "bands/tiff/TiffBlocks.h"

#include "bands/tiff/TiffSampler.h"
#include "XDataType.h"
#include "XLimits.h"

#include <cstring>
#include <optional>

namespace zrk {
namespace {

/// The layout as if the given reader were the file's own. It has no palette, because blocks come as they are stored.
TiffLayout ReadBy(const TiffLayout& layout, TiffReader reader, int dataType) {
  TiffLayout other;
  other.tags = layout.tags;
  other.isRgba = reader == TiffReader::kRgba;
  other.isSplitBitmap = reader == TiffReader::kSplitBitmap;
  other.isOddBits = reader == TiffReader::kOddBits;
  other.dataType = dataType;
  if (reader == TiffReader::kRaster) other.finish = layout.finish;
  return other;
}

/// The type that packed samples come in. Some widths have a type of their own, whatever is asked for. 0 tells that the
/// samples of the file do not come in the type asked for.
int TypeOfPackedSamples(const TiffTags& tags, int dataType) {
  const int bits = tags.bitsPerSample;
  if (bits == 1 && (tags.samplesPerPixel == 1 || tags.IsPlanar())) return kPint08;
  if (dataType == kReal32 && bits < 32) return bits == 16 || bits == 24 ? kReal32 : kDataTypeNone;
  if (bits == 12) return kPint16;
  if (bits == 24) return kPint32;
  return dataType == kPint08 || dataType == kPint16 || dataType == kPint32 ? dataType : kDataTypeNone;
}

/// Takes all samples of a block, where its bytes are there. 64-bit integers are finished as bands have them.
int TakeBlock(const TiffLayout& layout, int channel, std::int64_t rowBytes, const std::optional<TiffRows>& rows,
              void* out) {
  if (!rows) return 0;
  const TiffSampler sampler(layout, channel, false);
  const auto width = static_cast<int>(layout.tags.blockWidth), height = static_cast<int>(layout.tags.blockHeight);
  sampler.Take(*rows, 0, rowBytes, {0, width, height, 1}, static_cast<unsigned char*>(out),
               std::int64_t{width} * sampler.SampleBytes());
  return FinishTiffSamples(layout, static_cast<unsigned char*>(out), std::int64_t{width} * height);
}

}  // namespace

bool TiffBlocks::Has(const TiffBlock& block) const {
  const TiffGrid& grid = image_.GetSource().grid;
  return block.x >= 0 && block.x < grid.across && block.y >= 0 && block.y < grid.down && block.channel >= 0 &&
         block.channel < image_.GetLayout().numChannels;
}

tagXArr1* TiffBlocks::Load(int block, XThreadSafeArr1& buffers) {
  const TiffSource& source = image_.GetSource();
  const std::int64_t planes = source.layout.tags.planarConfiguration == 2 ? source.layout.tags.samplesPerPixel : 1;
  if (block < 0 || block >= planes * source.BlocksPerPlane()) return nullptr;
  const TiffImage::Loan decoder(image_);
  const std::int64_t numBytes = source.blockBytes;
  const bool isAllowed = decoder && numBytes <= XfnGetLimits().decodedTileBytes;
  const unsigned char* const bytes = isAllowed ? decoder->DecodePacked(block) : nullptr;
  // The decoder goes back to its pool, so the caller gets a copy.
  tagXArr1* const buffer = bytes && numBytes <= INT32_MAX ? buffers.GetBuffer(static_cast<int>(numBytes), 1) : nullptr;
  if (buffer) std::memcpy(buffer->data, bytes, static_cast<std::size_t>(numBytes));
  return buffer;
}

int TiffBlocks::ReadStored(const TiffBlock& block, const TiffLayout& layout, void* out) {
  const TiffSource& source = image_.GetSource();
  const TiffTags& tags = source.layout.tags;
  const int sample = source.layout.SampleOf(block.channel);
  // Blocks that libtiff makes colours of may be packed in ways of their own, and have fewer samples than colours.
  const bool isPacked = source.blockBytes == source.rowBytes * tags.blockHeight && sample < tags.samplesPerPixel;
  if (!isPacked || source.blockBytes > XfnGetLimits().decodedTileBytes) return 0;
  const TiffImage::Loan decoder(image_);
  if (!decoder) return 0;
  return TakeBlock(layout, sample, source.rowBytes, decoder->DecodeBlock(source.BlockAt(block.x, block.y, sample)),
                   out);
}

int TiffBlocks::ReadRaster(const TiffBlock& block, void* out) {
  if (!Has(block) || !out) return 0;
  const TiffLayout& layout = image_.GetLayout();
  return ReadStored(block, ReadBy(layout, TiffReader::kRaster, layout.dataType), out);
}

int TiffBlocks::ReadOddBits(const TiffBlock& block, int dataType, void* out) {
  if (!Has(block) || !out) return 0;
  const TiffLayout& layout = image_.GetLayout();
  const int type = TypeOfPackedSamples(layout.tags, dataType);
  // A type in which these samples do not come is no failure; `out` stays as it was.
  return type == kDataTypeNone ? 1 : ReadStored(block, ReadBy(layout, TiffReader::kOddBits, type), out);
}

int TiffBlocks::ReadRgba(const TiffBlock& block, void* out) {
  const TiffTags& tags = image_.GetLayout().tags;
  if (!Has({block.x, block.y, 0}) || !out || block.channel < 0 || block.channel > 3) return 0;
  const std::int64_t numPixels = std::int64_t{ToSide(tags.blockWidth)} * ToSide(tags.blockHeight);
  if (numPixels > XfnGetLimits().decodedTileBytes / 4) return 0;
  const TiffLayout layout = ReadBy(image_.GetLayout(), TiffReader::kRgba, kPint08);
  const TiffImage::Loan decoder(image_);
  return decoder ? TakeBlock(layout, block.channel, 0, decoder->DecodeColours(block.x, block.y), out) : 0;
}

int TiffBlocks::ReadFirstRow(const TiffBlock& block, void* out) {
  if (!Has(block) || !out) return 0;
  const TiffImage::Loan decoder(image_);
  const auto row = decoder ? decoder->DecodeFirstRow() : std::nullopt;
  const TiffLayout layout = ReadBy(image_.GetLayout(), TiffReader::kSplitBitmap, kPint08);
  return TakeBlock(layout, 0, image_.GetSource().rowBytes, row, out);
}

}  // namespace zrk
