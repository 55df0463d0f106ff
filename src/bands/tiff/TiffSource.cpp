// The sizes of a file are checked once, when it is opened, so that no read has to: the image and its channels against
// the limits, and the blocks against what libtiff says of them. Where a packed block has another size for libtiff than
// for us, the tags contradict each other, and the file is refused.
//
// A block is plain where the file holds it as it would be decoded. Plain blocks are read without libtiff, in parts.

#include "bands/tiff/TiffSource.h"

#include "base/Checked.h"
#include "XDataType.h"
#include "XLimits.h"

#include <algorithm>

namespace zrk {
namespace {

/// Whether the samples of a block are whole and of the band's own type. Their bytes may be in the other order.
bool HasSamplesAsTheyAre(const TiffLayout& layout) {
  const int bits = layout.tags.bitsPerSample;
  return bits % 8 == 0 && bits / 8 == XfnGetDataSize(layout.dataType);
}

/// libtiff turns words, and only words, around where the file has the other order of bytes.
bool LiesPlain(const TiffLayout& layout) {
  const TiffTags& tags = layout.tags;
  if (tags.compression != COMPRESSION_NONE || tags.fillOrder != FILLORDER_MSB2LSB ||
      tags.photometric == PHOTOMETRIC_YCBCR)
    return false;
  if (layout.GetReader() == TiffReader::kRaster) return HasSamplesAsTheyAre(layout);
  return layout.GetReader() == TiffReader::kOddBits && (!tags.isSwapped || tags.bitsPerSample % 8 != 0);
}

/// The bytes of a row of a block whose samples are packed without gaps, or nothing where no number holds them.
std::optional<std::int64_t> CountRowBytes(const TiffSource& source) {
  const auto pixelBits = std::int64_t{source.SamplesTogether()} * source.layout.tags.bitsPerSample;
  const auto bits = CheckedMultiply(pixelBits, source.layout.tags.blockWidth);
  const auto rounded = bits ? CheckedAdd(*bits, 7) : std::nullopt;
  if (!rounded) return std::nullopt;
  return *rounded / 8;
}

bool IsImageWithinLimits(const TiffSource& source, const tagXLimits& limits, XString& err) {
  const TiffTags& tags = source.layout.tags;
  const auto pixels = CheckedMultiply(tags.width, tags.height);
  if (!pixels || *pixels > limits.imagePixels || tags.width > INT32_MAX || tags.height > INT32_MAX) {
    err = "The image is too large";
    return false;
  }
  if (source.layout.numChannels <= limits.channels) return true;
  err = "The image has too many channels";
  return false;
}

}  // namespace

/// The last row of blocks may reach below the image, and a file may end where its image does.
std::int64_t TiffSource::BytesInFile(int block) const {
  const std::int64_t height = layout.tags.height, blockHeight = layout.tags.blockHeight;
  const std::int64_t end = (block % BlocksPerPlane() / grid.across + 1) * blockHeight;
  if (end <= height) return blockBytes;
  return (blockHeight - end % height) * (blockBytes / blockHeight);
}

bool TiffSource::HasWholeSamples() const {
  const int bits = layout.tags.bitsPerSample;
  const bool isWhole = bits == 8 || bits == 16 || bits == 32 || bits == 64 || bits == 128;
  return SamplesTogether() > 1 && isWhole && blockBytes == rowBytes * layout.tags.blockHeight;
}

void AskForRgb(TIFF* tiff, const TiffTags& tags) {
  if (tags.compression != COMPRESSION_JPEG || tags.photometric != PHOTOMETRIC_YCBCR) return;
  int mode = 0;
  if (TIFFGetField(tiff, TIFFTAG_JPEGCOLORMODE, &mode) && mode == JPEGCOLORMODE_RGB) return;
  TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
}

bool MeasureTiffBlocks(TIFF* tiff, TiffSource& source, XString& err) {
  const TiffTags& tags = source.layout.tags;
  const tagXLimits limits = XfnGetLimits();
  if (!IsImageWithinLimits(source, limits, err)) return false;
  source.grid = CountTiffBlocks(tags, source.layout.dataType);
  // A file without a grid opens all the same; reads of its bands fail.
  if (source.grid.across == 0) return true;
  const auto numBlocks = CheckedMultiply(source.grid.across, source.grid.down);
  const auto allBlocks = CheckedMultiply(*numBlocks, tags.IsPlanar() ? tags.samplesPerPixel : 1);
  const auto rowBytes = CountRowBytes(source);
  source.blockBytes = tags.isTiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff);
  const auto packedBytes = rowBytes ? CheckedMultiply(*rowBytes, tags.blockHeight) : std::nullopt;
  // What libtiff makes colours of may be packed in ways that are its own.
  const bool fits = packedBytes && (source.layout.isRgba || *packedBytes == source.blockBytes);
  if (!allBlocks || *allBlocks > INT32_MAX || !fits || source.blockBytes <= 0) {
    err = "The sizes of image and blocks don't fit";
    return false;
  }
  source.rowBytes = *rowBytes;
  source.isPlain = LiesPlain(source.layout);
  // Plain blocks are read in parts, so that only those that are decoded need memory as a whole.
  const auto colourBytes = CheckedMultiply(std::int64_t{tags.blockWidth} * 4, tags.blockHeight);
  const auto largest = source.layout.isRgba ? colourBytes : source.blockBytes;
  if (!source.isPlain && (!largest || *largest > limits.decodedTileBytes)) {
    err = "A block of the image is too large";
    return false;
  }
  return true;
}

}  // namespace zrk
