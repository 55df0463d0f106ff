#pragma once

#include <cstdint>
#include <vector>

/// Builds an HDF4 file of one raster of bytes: the magic, blocks of descriptors, the records that these name, and the
/// raster last. All of it is as other readers want it, until something is claimed that is not so.
class HdfBuilder {
 public:
  static constexpr std::uint16_t kNumberType = 106, kDimensions = 300, kRaster = 302, kGroup = 306;

  static std::uint8_t Pixel(int x, int y) { return static_cast<std::uint8_t>(3 * x + 7 * y + x * y + 1); }

  HdfBuilder& Size(int width, int height);
  /// Writes dimensions that the raster does not have.
  HdfBuilder& Claim(std::int32_t width, std::int32_t height);
  /// The code of the numbers; 3, unsigned characters, unless set.
  HdfBuilder& NumberType(std::uint8_t code);
  /// Leaves a descriptor away.
  HdfBuilder& Without(std::uint16_t tag);
  /// Puts a descriptor behind the others.
  HdfBuilder& Also(std::uint16_t tag, std::uint32_t offset);
  /// Where the raster begins; right behind the records unless set.
  HdfBuilder& RasterAt(std::uint32_t offset);
  /// Writes another place of the raster into its descriptor.
  HdfBuilder& ClaimRasterAt(std::uint32_t offset);
  /// Descriptors of a block; 16 unless set.
  HdfBuilder& BlockSize(std::size_t blockSize);
  /// The place that the last block gives for the next one; 0 unless set.
  HdfBuilder& LastLeadsTo(std::uint32_t offset);

  std::vector<unsigned char> Build() const;

 private:
  struct Descriptor {
    std::uint16_t tag;
    std::uint32_t offset;
    std::uint32_t length;
  };

  bool Has(std::uint16_t tag) const;
  std::vector<unsigned char> BuildRecords(std::uint32_t offset, std::vector<Descriptor>& descriptors) const;
  void WriteBlocks(std::vector<unsigned char>& bytes, const std::vector<Descriptor>& descriptors) const;

  int width_ = 7;
  int height_ = 5;
  bool claims_ = false;
  std::int32_t claimedWidth_ = 0;
  std::int32_t claimedHeight_ = 0;
  std::uint8_t numberType_ = 3;
  std::vector<std::uint16_t> without_;
  std::vector<Descriptor> also_;
  std::uint32_t rasterAt_ = 0;
  std::int64_t claimedRasterAt_ = -1;
  std::size_t blockSize_ = 16;
  std::uint32_t lastLeadsTo_ = 0;
};
