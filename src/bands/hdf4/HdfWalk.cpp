// An HDF4 file is a magic number and a chain of blocks of descriptors. A descriptor says by a tag what lies where in
// the file. All numbers are big-endian. This is how the compatible policy finds its raster.
//
// Three tags are known: the dimensions of an image, its raster, and the type of its numbers. References, which tell the
// parts of several images apart, are not looked at, so the last descriptor of a tag counts. Dimensions and offset that
// the chain does not tell are those of one family of images of a fixed size. Samples other than unsigned bytes are
// refused, and compressed rasters are not known as such.

#include "bands/hdf4/HdfWalk.h"

#include "bands/hdf4/HdfChain.h"
#include "bands/hdf4/HdfTags.h"
#include "base/Cursor.h"
#include "XFile.h"
#include "XLimits.h"

#include <array>
#include <cstddef>

namespace zrk {
namespace {

constexpr std::uint32_t kMagic = 0x0E031301;
constexpr std::int64_t kMagicBytes = 4;

constexpr int kFallbackWidth = 2592;
constexpr int kFallbackHeight = 2796;
constexpr std::int64_t kFallbackRasterOffset = 308;

constexpr std::uint8_t kUnsignedByte = 3;

template <std::size_t kCount>
bool ReadRecord(const XFile& file, std::int64_t offset, std::array<unsigned char, kCount>& bytes) {
  return file.ReadAt(offset, bytes.data(), kCount) == kCount;
}

/// What a walk along the chain finds of an image.
class HdfWalk {
 public:
  explicit HdfWalk(const XFile& file) : file_(file), fileBytes_(file.GetLength()) {}

  bool ToTheEnd() {
    // The length is -1 where the disk does not tell.
    return fileBytes_ >= 0 &&
           WalkHdfChain(file_, [this](const HdfDescriptor& each) { return Take(each.tag, each.offset); });
  }

  HdfImage GetImage() const {
    HdfImage image = found_;
    // Dimensions of more pixels than the file has bytes count as not told.
    if (image.width < 0 || image.height < 0 || fileBytes_ < image.CountPixels()) {
      image.width = kFallbackWidth;
      image.height = kFallbackHeight;
    }
    if (image.rasterOffset < kMagicBytes || image.rasterOffset > fileBytes_) image.rasterOffset = kFallbackRasterOffset;
    return image;
  }

 private:
  bool Take(std::uint16_t tag, std::int64_t place) {
    switch (tag) {
      case kDimensions:
        return TakeDimensions(place);
      case kPlainRaster:
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
  HdfImage found_ = {-1, -1, 0};  // none of it told yet
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
