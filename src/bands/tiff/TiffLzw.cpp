#include "bands/tiff/TiffLzw.h"

#include "base/Checked.h"

#include <cstring>

namespace zrk {
namespace {

/// Each sample of a row is the sum of the differences up to it, of `step` samples one by one.
template <class Sample>
void AddAlongRow(unsigned char* row, std::int64_t numSamples, std::int64_t step) {
  constexpr auto kBytes = static_cast<std::int64_t>(sizeof(Sample));
  for (std::int64_t i = step; i < numSamples; ++i) {
    Sample before, sample;
    std::memcpy(&before, row + (i - step) * kBytes, sizeof before);
    std::memcpy(&sample, row + i * kBytes, sizeof sample);
    sample = static_cast<Sample>(sample + before);
    std::memcpy(row + i * kBytes, &sample, sizeof sample);
  }
}

}  // namespace

TiffLzw::TiffLzw(TIFF* handle, const TiffSource& source) : source_(source) {
  const TiffTags& tags = source.layout.tags;
  std::uint16_t predictor = PREDICTOR_NONE;
  if (tags.compression != COMPRESSION_LZW || tags.fillOrder != FILLORDER_MSB2LSB) return;
  TIFFGetFieldDefaulted(handle, TIFFTAG_PREDICTOR, &predictor);
  hasDifferences_ = predictor == PREDICTOR_HORIZONTAL;
  // libtiff turns words around behind its decoder.
  const bool hasBytes = tags.bitsPerSample == 8, hasWords = tags.bitsPerSample == 16 && !tags.isSwapped;
  isUsual_ = hasDifferences_ ? hasBytes || hasWords : predictor == PREDICTOR_NONE && (hasBytes || !tags.isSwapped);
}

TiffLzw::Result TiffLzw::Decode(TIFF* handle, int block, std::span<unsigned char> bytes) {
  const auto number = static_cast<std::uint32_t>(block);
  const std::uint64_t numPacked = isUsual_ ? TIFFGetStrileByteCount(handle, number) : 0;
  // Sound codes take at most 12 bits for a byte, and few more for clearing the table.
  if (numPacked < 2 || numPacked > 2 * bytes.size() + 4096) return Result::kLeftToLibtiff;
  const auto offset = static_cast<std::int64_t>(TIFFGetStrileOffset(handle, number));
  const Result result = Read(offset, static_cast<std::int64_t>(numPacked));
  if (result != Result::kDone) return result;
  const bool isSound = decoder_.Decode(packed_, bytes) && (!hasDifferences_ || AddDifferences(bytes));
  return isSound ? Result::kDone : Result::kLeftToLibtiff;
}

/// An error of the disk may be gone when libtiff reads the same bytes, and would then go unheard.
TiffLzw::Result TiffLzw::Read(std::int64_t offset, std::int64_t count) {
  DiskFile& file = source_.file->File();
  packed_.resize(static_cast<std::size_t>(count));
  if (offset < 0) return Result::kLeftToLibtiff;
  if (file.ReadAt(offset, packed_.data(), count) == count) return Result::kDone;
  return FitsWithin(offset, count, file.Size()) ? Result::kUnread : Result::kLeftToLibtiff;
}

bool TiffLzw::AddDifferences(std::span<unsigned char> bytes) const {
  const std::int64_t rowBytes = source_.rowBytes, step = source_.SamplesTogether();
  if (rowBytes <= 0 || std::ssize(bytes) % rowBytes != 0) return false;
  for (std::int64_t i = 0; i < std::ssize(bytes); i += rowBytes) {
    if (source_.layout.tags.bitsPerSample == 8) {
      AddAlongRow<std::uint8_t>(bytes.data() + i, rowBytes, step);
    } else {
      AddAlongRow<std::uint16_t>(bytes.data() + i, rowBytes / 2, step);
    }
  }
  return true;
}

}  // namespace zrk
