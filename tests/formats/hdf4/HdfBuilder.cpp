#include "HdfBuilder.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::uint16_t kReference = 2;
constexpr std::size_t kMagicBytes = 4, kBlockHeaderBytes = 6, kDescriptorBytes = 12;

void Put(std::vector<unsigned char>& bytes, std::uint64_t value, int numBytes) {
  for (int i = numBytes - 1; i >= 0; --i) bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

}  // namespace

HdfBuilder& HdfBuilder::Size(int width, int height) {
  width_ = width;
  height_ = height;
  return *this;
}

HdfBuilder& HdfBuilder::Claim(std::int32_t width, std::int32_t height) {
  claims_ = true;
  claimedWidth_ = width;
  claimedHeight_ = height;
  return *this;
}

HdfBuilder& HdfBuilder::NumberType(std::uint8_t code) {
  numberType_ = code;
  return *this;
}

HdfBuilder& HdfBuilder::Without(std::uint16_t tag) {
  without_.push_back(tag);
  return *this;
}

HdfBuilder& HdfBuilder::Also(std::uint16_t tag, std::uint32_t offset) {
  also_.push_back({tag, offset, 0});
  return *this;
}

HdfBuilder& HdfBuilder::RasterAt(std::uint32_t offset) {
  rasterAt_ = offset;
  return *this;
}

HdfBuilder& HdfBuilder::ClaimRasterAt(std::uint32_t offset) {
  claimedRasterAt_ = offset;
  return *this;
}

HdfBuilder& HdfBuilder::BlockSize(std::size_t blockSize) {
  blockSize_ = blockSize;
  return *this;
}

HdfBuilder& HdfBuilder::LastLeadsTo(std::uint32_t offset) {
  lastLeadsTo_ = offset;
  return *this;
}

bool HdfBuilder::Has(std::uint16_t tag) const {
  return std::ranges::find(without_, tag) == without_.end();
}

/// The records lie from `offset` on.
std::vector<unsigned char> HdfBuilder::BuildRecords(std::uint32_t offset, std::vector<Descriptor>& descriptors) const {
  std::vector<unsigned char> bytes;
  const auto begin = [&](std::uint16_t tag, std::uint32_t length) {
    if (Has(tag)) descriptors.push_back({tag, offset + static_cast<std::uint32_t>(bytes.size()), length});
  };
  begin(kNumberType, 4);
  for (const unsigned char byte : {1, static_cast<int>(numberType_), 8, 0}) bytes.push_back(byte);
  begin(kDimensions, 20);
  Put(bytes, static_cast<std::uint32_t>(claims_ ? claimedWidth_ : width_), 4);
  Put(bytes, static_cast<std::uint32_t>(claims_ ? claimedHeight_ : height_), 4);
  for (const std::uint16_t word : {std::uint16_t{kNumberType}, kReference, std::uint16_t{1}}) Put(bytes, word, 2);
  Put(bytes, 0, 6);  // interlacing and compression
  begin(kGroup, 8);
  for (const std::uint16_t tag : {kDimensions, kRaster}) {
    Put(bytes, tag, 2);
    Put(bytes, kReference, 2);
  }
  const std::uint32_t end = std::max(offset + static_cast<std::uint32_t>(bytes.size()), rasterAt_);
  bytes.resize(end - offset);
  begin(kRaster, static_cast<std::uint32_t>(width_ * height_));
  if (claimedRasterAt_ >= 0) descriptors.back().offset = static_cast<std::uint32_t>(claimedRasterAt_);
  return bytes;
}

void HdfBuilder::WriteBlocks(std::vector<unsigned char>& bytes, const std::vector<Descriptor>& descriptors) const {
  for (std::size_t first = 0; first < descriptors.size(); first += blockSize_) {
    const std::size_t count = std::min(blockSize_, descriptors.size() - first);
    const std::size_t end = bytes.size() + kBlockHeaderBytes + count * kDescriptorBytes;
    Put(bytes, count, 2);
    Put(bytes, first + count < descriptors.size() ? end : lastLeadsTo_, 4);
    for (std::size_t i = first; i < first + count; ++i) {
      Put(bytes, descriptors[i].tag, 2);
      Put(bytes, kReference, 2);
      Put(bytes, descriptors[i].offset, 4);
      Put(bytes, descriptors[i].length, 4);
    }
  }
}

std::vector<unsigned char> HdfBuilder::Build() const {
  std::vector<Descriptor> descriptors = {{1, 0xFFFFFFFF, 0xFFFFFFFF}};  // an empty place
  std::vector<Descriptor> counted = descriptors;
  BuildRecords(0, counted);
  const std::size_t count = counted.size() + also_.size();
  const std::size_t numBlocks = (count + blockSize_ - 1) / blockSize_;
  const std::size_t tableBytes = kMagicBytes + numBlocks * kBlockHeaderBytes + count * kDescriptorBytes;
  const std::vector<unsigned char> records = BuildRecords(static_cast<std::uint32_t>(tableBytes), descriptors);
  std::ranges::copy(also_, std::back_inserter(descriptors));

  std::vector<unsigned char> bytes = {0x0E, 0x03, 0x13, 0x01};
  WriteBlocks(bytes, descriptors);
  bytes.insert(bytes.end(), records.begin(), records.end());
  for (int y = 0; y < height_; ++y) {
    for (int x = 0; x < width_; ++x) bytes.push_back(Pixel(x, y));
  }
  return bytes;
}
