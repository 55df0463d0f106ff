// Blocks that are unpacked without libtiff. Their packed bytes come straight from the file. A block is tried here
// first. If it is damaged or unusual, libtiff gets it, so that such blocks come out as libtiff has them.
//
// libtiff's decoder of Deflate compares the checksum of most blocks, with two exceptions. It stops behind the image's
// last row in a block that reaches below the image, and it ignores data beyond the size of the block. Here all data are
// unpacked and compared, so that exact reads notice any damage.
//
// Deflate data are strings to repeat, and literal bytes between them. This code repeats strings faster, and libtiff
// takes literals faster. Photographs have many literals. If a block has many, compatible reads give the next blocks of
// that file to libtiff.

#include "bands/tiff/TiffUnpacker.h"

#include "base/Checked.h"

#include <array>
#include <cstring>

namespace zrk {
namespace {

/// Each sample of a row is the sum of the differences up to it, of those that belong to the same sample of a pixel.
template <class Sample, std::size_t kSamples>
void AddPixels(unsigned char* row, std::int64_t numBytes) {
  std::array<Sample, kSamples> sums{};
  for (std::int64_t i = 0; i < numBytes; i += std::ssize(sums) * std::int64_t{sizeof(Sample)}) {
    std::array<Sample, kSamples> pixel;
    std::memcpy(pixel.data(), row + i, sizeof pixel);
    for (std::size_t k = 0; k < kSamples; ++k) sums[k] = static_cast<Sample>(sums[k] + pixel[k]);
    std::memcpy(row + i, sums.data(), sizeof sums);
  }
}

/// The same for pixels of any number of samples.
template <class Sample>
void AddAlongRow(unsigned char* row, std::int64_t numBytes, std::int64_t numSamples) {
  for (std::int64_t i = numSamples * std::int64_t{sizeof(Sample)}; i < numBytes; i += std::int64_t{sizeof(Sample)}) {
    Sample before, sample;
    std::memcpy(&before, row + i - numSamples * std::int64_t{sizeof(Sample)}, sizeof before);
    std::memcpy(&sample, row + i, sizeof sample);
    sample = static_cast<Sample>(sample + before);
    std::memcpy(row + i, &sample, sizeof sample);
  }
}

template <class Sample>
void AddInRow(unsigned char* row, std::int64_t numBytes, std::int64_t numSamples) {
  switch (numSamples) {
    case 1:
      return AddPixels<Sample, 1>(row, numBytes);
    case 3:
      return AddPixels<Sample, 3>(row, numBytes);
    case 4:
      return AddPixels<Sample, 4>(row, numBytes);
    default:
      return AddAlongRow<Sample>(row, numBytes, numSamples);
  }
}

}  // namespace

/// libtiff turns words around behind its decoder.
TiffUnpacker::TiffUnpacker(TIFF* handle, const TiffSource& source) : source_(source) {
  const TiffTags& tags = source.layout.tags;
  const bool isLzw = tags.compression == COMPRESSION_LZW;
  const bool isDeflate = tags.compression == COMPRESSION_ADOBE_DEFLATE || tags.compression == COMPRESSION_DEFLATE;
  if ((!isLzw && !isDeflate) || tags.fillOrder != FILLORDER_MSB2LSB) return;
  std::uint16_t predictor = PREDICTOR_NONE;
  TIFFGetFieldDefaulted(handle, TIFFTAG_PREDICTOR, &predictor);
  hasDifferences_ = predictor == PREDICTOR_HORIZONTAL;
  const bool hasBytes = tags.bitsPerSample == 8, hasWords = tags.bitsPerSample == 16 || tags.bitsPerSample == 32;
  const bool isUsual = hasDifferences_ ? hasBytes || (hasWords && !tags.isSwapped)
                                       : predictor == PREDICTOR_NONE && (hasBytes || !tags.isSwapped);
  if (isUsual) packing_ = isLzw ? Packing::kLzw : Packing::kDeflate;
}

TiffUnpacker::Result TiffUnpacker::Decode(TIFF* handle, int block, std::span<unsigned char> room,
                                          std::int64_t numBytes) {
  if (IsTurnOfLibtiff()) return Result::kLeftToLibtiff;
  const auto number = static_cast<std::uint32_t>(block);
  const std::uint64_t numPacked = TIFFGetStrileByteCount(handle, number);
  // Sound data take at most 12 bits for a byte, and some more for clearing tables and for heads.
  if (numPacked < 2 || numPacked > 2 * room.size() + 4096) return Result::kLeftToLibtiff;
  const auto offset = static_cast<std::int64_t>(TIFFGetStrileOffset(handle, number));
  Result result = Read(offset, static_cast<std::int64_t>(numPacked));
  if (result != Result::kDone) return result;
  const std::span<unsigned char> bytes = room.first(static_cast<std::size_t>(numBytes));
  if (packing_ == Packing::kLzw) {
    if (!lzw_.Decode(packed_, bytes)) return Result::kLeftToLibtiff;
  } else {
    result = Inflate(room, numBytes);
    if (result != Result::kDone) return result;
  }
  return !hasDifferences_ || AddDifferences(bytes) ? Result::kDone : Result::kLeftToLibtiff;
}

/// Exact reads never leave a block to a decoder that doesn't look at all of it.
bool TiffUnpacker::IsTurnOfLibtiff() {
  if (packing_ == Packing::kOther) return true;
  if (numForLibtiff_ == 0 || source_.layout.isExact) return false;
  --numForLibtiff_;
  return true;
}

/// An error of the disk may be gone when libtiff reads the same bytes, and would then go unheard.
TiffUnpacker::Result TiffUnpacker::Read(std::int64_t offset, std::int64_t count) {
  DiskFile& file = source_.file->File();
  packed_.resize(static_cast<std::size_t>(count));
  if (offset < 0) return Result::kLeftToLibtiff;
  if (file.ReadAt(offset, packed_.data(), count) == count) return Result::kDone;
  return FitsWithin(offset, count, file.Size()) ? Result::kUnread : Result::kLeftToLibtiff;
}

/// A block that reaches below the image may hold the rows of the image alone, or all of its rows.
TiffUnpacker::Result TiffUnpacker::Inflate(std::span<unsigned char> room, std::int64_t numBytes) {
  constexpr std::size_t kManyLiterals = 40;  // one in so many bytes
  constexpr int kBlocksForLibtiff = 31;
  Inflater::Counts counts;
  const Inflater::Result result = inflater_.Decode(packed_, room, counts);
  if (result == Inflater::Result::kTooLong) return source_.layout.isExact ? InflateLong(room) : Result::kLeftToLibtiff;
  if (result == Inflater::Result::kDamaged || static_cast<std::int64_t>(counts.bytes) < numBytes)
    return Result::kDamaged;
  if (counts.literals > counts.bytes / kManyLiterals) numForLibtiff_ = kBlocksForLibtiff;
  return Result::kDone;
}

/// Some writers put more into a block than belongs there. That is sound where the checksum of all of it is right; what
/// is very much more is taken for damage.
TiffUnpacker::Result TiffUnpacker::InflateLong(std::span<unsigned char> room) {
  std::vector<unsigned char> bytes(2 * room.size());
  Inflater::Counts counts;
  if (inflater_.Decode(packed_, bytes, counts) != Inflater::Result::kDone) return Result::kDamaged;
  std::memcpy(room.data(), bytes.data(), room.size());
  return Result::kDone;
}

bool TiffUnpacker::AddDifferences(std::span<unsigned char> bytes) const {
  const std::int64_t rowBytes = source_.rowBytes, numSamples = source_.SamplesTogether();
  if (rowBytes <= 0 || std::ssize(bytes) % rowBytes != 0) return false;
  for (std::int64_t i = 0; i < std::ssize(bytes); i += rowBytes) {
    unsigned char* const row = bytes.data() + i;
    if (source_.layout.tags.bitsPerSample == 8) {
      AddInRow<std::uint8_t>(row, rowBytes, numSamples);
    } else if (source_.layout.tags.bitsPerSample == 16) {
      AddInRow<std::uint16_t>(row, rowBytes, numSamples);
    } else {
      AddInRow<std::uint32_t>(row, rowBytes, numSamples);
    }
  }
  return true;
}

}  // namespace zrk
