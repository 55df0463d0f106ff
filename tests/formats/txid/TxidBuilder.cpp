#include "TxidBuilder.h"

#include <bit>
#include <random>

namespace {

void Put(TxidBuilder::Bytes& bytes, std::uint64_t value, int numBytes) {
  for (int i = 0; i < numBytes; ++i) bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

unsigned Widen(unsigned value, int numBits) {
  return (value << (8 - numBits)) + (value >> (2 * numBits - 8));
}

/// The two colours of a block and what lies between them.
TxidBuilder::Pixel ColourOf(unsigned word) {
  return {static_cast<unsigned char>(Widen(word / 2048, 5)), static_cast<unsigned char>(Widen(word / 32 % 64, 6)),
          static_cast<unsigned char>(Widen(word % 32, 5)), 255};
}

TxidBuilder::Pixel Between(const TxidBuilder::Pixel& one, unsigned weight, const TxidBuilder::Pixel& other,
                           unsigned otherWeight) {
  TxidBuilder::Pixel mixed{};
  for (std::size_t k = 0; k < 4; ++k) {
    mixed[k] = static_cast<unsigned char>((one[k] * weight + other[k] * otherWeight) / (weight + otherWeight));
  }
  return mixed;
}

}  // namespace

TxidBuilder& TxidBuilder::Grid(int numXTiles, int numYTiles, int tileSize) {
  numXTiles_ = numXTiles;
  numYTiles_ = numYTiles;
  tileSize_ = tileSize;
  return *this;
}

TxidBuilder& TxidBuilder::PixelSize(std::int64_t x, std::int64_t y) {
  xPixelSize_ = x;
  yPixelSize_ = y;
  return *this;
}

TxidBuilder& TxidBuilder::Corner(double x, double y) {
  x_ = x;
  y_ = y;
  return *this;
}

TxidBuilder& TxidBuilder::Magic(const std::string& magic) {
  magic_ = magic;
  return *this;
}

TxidBuilder::Bytes TxidBuilder::AnyBlocks(std::uint32_t seed, std::size_t numBytes) {
  std::mt19937 random(seed * 7919 + 17);
  Bytes bytes(numBytes);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

std::size_t TxidBuilder::PackedBytes() const {
  const auto blocks = static_cast<std::size_t>((tileSize_ + 3) / 4);
  return blocks * blocks * 8;
}

TxidBuilder& TxidBuilder::Tile(std::int32_t key) {
  return Tile(key, AnyBlocks(static_cast<std::uint32_t>(key), PackedBytes()));
}

TxidBuilder& TxidBuilder::Tile(std::int32_t key, const Bytes& packed) {
  Record(key, data_.size(), toldSize_.value_or(static_cast<std::int32_t>(PackedBytes())));
  data_.insert(data_.end(), packed.begin(), packed.end());
  tiles_[key] = packed;
  return *this;
}

TxidBuilder& TxidBuilder::Record(std::int32_t key, std::uint64_t offset, std::int32_t size) {
  Put(records_, static_cast<std::uint32_t>(key), 4);
  Put(records_, offset, 8);
  Put(records_, static_cast<std::uint32_t>(size), 4);
  return *this;
}

TxidBuilder& TxidBuilder::TellSize(std::int32_t size) {
  toldSize_ = size;
  return *this;
}

TxidBuilder& TxidBuilder::Gap(std::size_t numBytes) {
  data_.resize(data_.size() + numBytes, 0x5A);
  return *this;
}

TxidBuilder::Bytes TxidBuilder::BuildIndex() const {
  Bytes bytes(magic_.begin(), magic_.end());
  for (const int number : {numXTiles_, numYTiles_, tileSize_}) Put(bytes, static_cast<std::uint32_t>(number), 4);
  Put(bytes, static_cast<std::uint64_t>(xPixelSize_), 8);
  Put(bytes, static_cast<std::uint64_t>(yPixelSize_), 8);
  Put(bytes, std::bit_cast<std::uint64_t>(x_), 8);
  Put(bytes, std::bit_cast<std::uint64_t>(y_), 8);
  bytes.insert(bytes.end(), records_.begin(), records_.end());
  return bytes;
}

TxidBuilder::Pixel TxidBuilder::PixelOf(const unsigned char* block, int x, int y) {
  const unsigned first = block[0] + 256U * block[1], second = block[2] + 256U * block[3];
  const Pixel one = ColourOf(first), other = ColourOf(second);
  const int code = block[4 + y] >> (2 * x) & 3;
  if (code == 0) return one;
  if (code == 1) return other;
  if (first > second) return code == 2 ? Between(one, 2, other, 1) : Between(one, 1, other, 2);
  return code == 2 ? Between(one, 1, other, 1) : Pixel{};
}

TxidBuilder::Pixel TxidBuilder::AtTile(std::int32_t key, int x, int y) const {
  const int blocks = (tileSize_ + 3) / 4;
  const std::ptrdiff_t block = std::ptrdiff_t{y / 4} * blocks + x / 4;
  return PixelOf(tiles_.at(key).data() + 8 * block, x % 4, y % 4);
}

TxidBuilder::Pixel TxidBuilder::At(int x, int y) const {
  const std::int32_t key = numXTiles_ * (y / tileSize_) + x / tileSize_;
  return Has(key) ? AtTile(key, x % tileSize_, y % tileSize_) : Pixel{};
}
