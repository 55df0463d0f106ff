#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// Tile stores byte by byte: a builder of files to be read, and a reader of files that were written. Neither uses the
// library.

/// A level record as the file has it. Elevation stores have no `type`.
struct StoreRecord {
  std::int32_t level = 0;
  std::int32_t llRow = 0, llCol = 0, urRow = 0, urCol = 0;
  double tileSize = 0.0;
  std::int32_t tileWidth = 0, tileHeight = 0;
  std::int32_t storage = 0;
  std::int32_t type = 0;
  std::uint64_t offset = 0;
  friend bool operator==(const StoreRecord&, const StoreRecord&) = default;
};

class StoreBuilder {
 public:
  explicit StoreBuilder(std::string mark) : mark_(std::move(mark)), hasType_(mark_.back() == 'I') {}

  StoreBuilder& Version(double version) { return version_ = version, *this; }
  StoreBuilder& TileSize(double size) { return tileSize_ = size, *this; }
  StoreBuilder& HeaderSize(std::int32_t size) { return headerSize_ = size, *this; }
  StoreBuilder& Level(const StoreRecord& record) { return records_.push_back(record), *this; }
  /// The number of records that the header claims to have.
  StoreBuilder& Count(std::int32_t count) { return count_ = count, hasCount_ = true, *this; }
  /// Bytes behind the header.
  StoreBuilder& Body(std::vector<unsigned char> body) { return body_ = std::move(body), *this; }

  std::vector<unsigned char> Build() const {
    std::vector<unsigned char> bytes(mark_.begin(), mark_.end());
    PutReal(bytes, version_);
    Put(bytes, static_cast<std::uint32_t>(hasCount_ ? count_ : static_cast<std::int32_t>(records_.size())), 4);
    PutReal(bytes, tileSize_);
    Put(bytes, 51200 + body_.size(), 8);
    Put(bytes, static_cast<std::uint32_t>(headerSize_), 4);
    for (const StoreRecord& record : records_) PutRecord(bytes, record);
    bytes.resize(51200);
    bytes.insert(bytes.end(), body_.begin(), body_.end());
    return bytes;
  }

 private:
  static void Put(std::vector<unsigned char>& bytes, std::uint64_t number, int count) {
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<unsigned char>(number >> (8 * i)));
  }
  static void PutReal(std::vector<unsigned char>& bytes, double number) {
    Put(bytes, std::bit_cast<std::uint64_t>(number), 8);
  }
  void PutRecord(std::vector<unsigned char>& bytes, const StoreRecord& record) const {
    for (const std::int32_t each : {record.level, record.llRow, record.llCol, record.urRow, record.urCol}) {
      Put(bytes, static_cast<std::uint32_t>(each), 4);
    }
    PutReal(bytes, record.tileSize);
    for (const std::int32_t each : {record.tileWidth, record.tileHeight, record.storage}) {
      Put(bytes, static_cast<std::uint32_t>(each), 4);
    }
    if (hasType_) Put(bytes, static_cast<std::uint32_t>(record.type), 4);
    Put(bytes, record.offset, 8);
  }

  std::string mark_;
  bool hasType_;
  double version_ = 1.0;
  double tileSize_ = 18.0;
  std::int32_t headerSize_ = 51200;
  std::vector<StoreRecord> records_;
  std::int32_t count_ = 0;
  bool hasCount_ = false;
  std::vector<unsigned char> body_;
};

/// The fields of a header at their offsets.
class StoreReader {
 public:
  explicit StoreReader(std::vector<unsigned char> bytes) : bytes_(std::move(bytes)) {}

  std::string Mark() const { return std::string(bytes_.begin(), bytes_.begin() + 3); }
  double Version() const { return At<double>(3); }
  std::int32_t Count() const { return At<std::int32_t>(11); }
  double TileSize() const { return At<double>(15); }
  std::int64_t FileSize() const { return At<std::int64_t>(23); }
  std::int32_t HeaderSize() const { return At<std::int32_t>(31); }
  StoreRecord Record(std::size_t index) const {
    const bool hasType = Mark().back() == 'I';
    const std::size_t at = 35 + index * (hasType ? 52 : 48);
    const std::size_t offsetAt = at + (hasType ? 44 : 40);
    const auto field = [&](std::size_t place) { return At<std::int32_t>(at + place); };
    return {field(0),
            field(4),
            field(8),
            field(12),
            field(16),
            At<double>(at + 20),
            field(28),
            field(32),
            field(36),
            hasType ? field(40) : 0,
            At<std::uint64_t>(offsetAt)};
  }
  /// Whether all bytes from here to the end of the header are zero.
  bool IsZeroFrom(std::size_t begin) const {
    for (std::size_t i = begin; i < 51200; ++i) {
      if (bytes_.at(i) != 0) return false;
    }
    return true;
  }
  std::vector<unsigned char> Bytes(std::size_t offset, std::size_t count) const {
    return {bytes_.begin() + static_cast<long>(offset), bytes_.begin() + static_cast<long>(offset + count)};
  }
  std::size_t Size() const { return bytes_.size(); }

 private:
  template <class Number>
  Number At(std::size_t offset) const {
    Number number;
    std::memcpy(&number, &bytes_.at(offset), sizeof number);
    return number;
  }
  std::vector<unsigned char> bytes_;
};

/// Bytes that tell a tile from others.
inline std::vector<unsigned char> TileOf(std::size_t count, unsigned seed) {
  std::vector<unsigned char> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(seed * 31 + i * 7 + i / 256);
  return bytes;
}
