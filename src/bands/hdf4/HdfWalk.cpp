// An HDF4 file is a magic number and a chain of blocks of descriptors. A descriptor says by a tag what lies where in
// the file. A block begins with the number of its descriptors and the offset of the next block, which is 0 in the last
// one. All numbers are big-endian.
//
// Three tags are known: the dimensions of an image, its raster, and the type of its numbers. References, which tell the
// parts of several images apart, are not looked at, so the last descriptor of a tag counts. Dimensions and offset that
// the chain does not tell are those of one family of images of a fixed size. Samples other than unsigned bytes are
// refused, and compressed rasters are not known as such.

#include "bands/hdf4/HdfWalk.h"

#include "base/Checked.h"
#include "base/Cursor.h"
#include "XFile.h"
#include "XLimits.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <set>
#include <vector>

namespace zrk {
namespace {

constexpr std::uint32_t kMagic = 0x0E031301;
constexpr std::int64_t kFirstBlock = 4;
constexpr std::size_t kBlockHeaderBytes = 6;
constexpr std::size_t kDescriptorBytes = 12;

// References have 16 bits, so that no real file has nearly as many descriptors. A block holds 16 of them unless its
// maker asks for another number.
constexpr std::size_t kMaxDescriptors = std::size_t{1} << 20;
constexpr std::size_t kMaxBlocks = kMaxDescriptors / 16;

constexpr int kFallbackWidth = 2592;
constexpr int kFallbackHeight = 2796;
constexpr std::int64_t kFallbackRasterOffset = 308;

constexpr std::uint8_t kUnsignedByte = 3;

enum Tag : std::uint16_t { kNumberType = 106, kDimensions = 300, kRaster = 302 };

template <std::size_t kCount>
bool ReadRecord(const XFile& file, std::int64_t offset, std::array<unsigned char, kCount>& bytes) {
  return file.ReadAt(offset, bytes.data(), kCount) == kCount;
}

/// One walk along the chain of a file.
class HdfWalk {
 public:
  explicit HdfWalk(const XFile& file) : file_(file), fileBytes_(file.GetLength()) {}

  bool ToTheEnd() {
    if (fileBytes_ < 0) return false;  // the disk does not tell
    std::int64_t block = kFirstBlock;
    do {
      // A chain that comes back to a block would have no end.
      if (blocks_.size() == kMaxBlocks || !blocks_.insert(block).second || !TakeBlock(block)) return false;
    } while (block != 0);
    return true;
  }

  HdfImage GetImage() const {
    HdfImage image = found_;
    // Dimensions of more pixels than the file has bytes count as not told.
    if (image.width < 0 || image.height < 0 || fileBytes_ < image.CountPixels()) {
      image.width = kFallbackWidth;
      image.height = kFallbackHeight;
    }
    if (image.rasterOffset < kFirstBlock || image.rasterOffset > fileBytes_) image.rasterOffset = kFallbackRasterOffset;
    return image;
  }

 private:
  /// Leaves the offset of the next block in `block`.
  bool TakeBlock(std::int64_t& block) {
    std::array<unsigned char, kBlockHeaderBytes> bytes;
    if (!ReadRecord(file_, block, bytes)) return false;
    Cursor header(bytes);
    const std::size_t count = header.U16BE();
    const std::int64_t descriptors = block + static_cast<std::int64_t>(kBlockHeaderBytes);
    block = header.U32BE();
    numDescriptors_ += count;
    return numDescriptors_ <= kMaxDescriptors && TakeDescriptors(descriptors, count);
  }

  /// The length is checked before memory is taken, so that a count alone can't make it large.
  bool TakeDescriptors(std::int64_t offset, std::size_t count) {
    const auto numBytes = static_cast<std::int64_t>(count * kDescriptorBytes);
    if (!FitsWithin(offset, numBytes, fileBytes_)) return false;
    bytes_.resize(count * kDescriptorBytes);
    if (file_.ReadAt(offset, bytes_.data(), numBytes) != numBytes) return false;
    Cursor cursor(bytes_);
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint16_t tag = cursor.U16BE();
      cursor.Skip(2);
      const std::int64_t place = cursor.U32BE();
      cursor.Skip(4);
      if (!Take(tag, place)) return false;
    }
    return true;
  }

  bool Take(std::uint16_t tag, std::int64_t place) {
    switch (tag) {
      case kDimensions:
        return TakeDimensions(place);
      case kRaster:
        found_.rasterOffset = place;
        return true;
      case kNumberType:
        return HasUnsignedBytes(place);
      default:
        return true;
    }
  }

  bool TakeDimensions(std::int64_t place) {
    std::array<unsigned char, 8> bytes;
    if (!ReadRecord(file_, place, bytes)) return false;
    Cursor cursor(bytes);
    found_.width = cursor.I32BE();
    found_.height = cursor.I32BE();
    return true;
  }

  /// Another type of numbers refuses the file.
  bool HasUnsignedBytes(std::int64_t place) const {
    std::array<unsigned char, 2> bytes;
    return ReadRecord(file_, place, bytes) && bytes[1] == kUnsignedByte;
  }

  const XFile& file_;
  const std::int64_t fileBytes_;
  std::set<std::int64_t> blocks_;
  std::size_t numDescriptors_ = 0;
  std::vector<unsigned char> bytes_;  // of the block at hand
  HdfImage found_ = {-1, -1, 0};      // none of it told yet
};

}  // namespace

bool HasHdfMagic(const XFile& file) {
  std::array<unsigned char, 4> bytes;
  return ReadRecord(file, 0, bytes) && Cursor(bytes).U32BE() == kMagic;
}

bool FindHdfImage(const XFile& file, HdfImage& image) {
  HdfWalk walk(file);
  if (!walk.ToTheEnd()) return false;
  const HdfImage found = walk.GetImage();
  if (found.CountPixels() > XfnGetLimits().imagePixels) return false;
  image = found;
  return true;
}

}  // namespace zrk
