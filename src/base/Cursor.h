#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zrk {

/// The bounded reader over the bytes of a header. It never leaves them: a request that does not fit gives zeros and
/// sets a flag that stays, so that a parser takes a whole record and asks once whether it was there.
class Cursor {
 public:
  explicit Cursor(std::span<const unsigned char> bytes) : bytes_(bytes) {}

  std::uint8_t U8() { return Little<std::uint8_t>(); }
  std::uint16_t U16LE() { return Little<std::uint16_t>(); }
  std::uint32_t U32LE() { return Little<std::uint32_t>(); }
  std::uint64_t U64LE() { return Little<std::uint64_t>(); }
  std::int16_t I16LE() { return static_cast<std::int16_t>(U16LE()); }
  std::int32_t I32LE() { return static_cast<std::int32_t>(U32LE()); }
  std::int64_t I64LE() { return static_cast<std::int64_t>(U64LE()); }
  float F32LE() { return std::bit_cast<float>(U32LE()); }
  double F64LE() { return std::bit_cast<double>(U64LE()); }

  std::uint16_t U16BE() { return Big<std::uint16_t>(); }
  std::uint32_t U32BE() { return Big<std::uint32_t>(); }
  std::uint64_t U64BE() { return Big<std::uint64_t>(); }
  std::int16_t I16BE() { return static_cast<std::int16_t>(U16BE()); }
  std::int32_t I32BE() { return static_cast<std::int32_t>(U32BE()); }
  std::int64_t I64BE() { return static_cast<std::int64_t>(U64BE()); }
  float F32BE() { return std::bit_cast<float>(U32BE()); }
  double F64BE() { return std::bit_cast<double>(U64BE()); }

  /// The next bytes, or none of them where they are not all there.
  std::span<const unsigned char> Bytes(std::size_t count) {
    if (count > Remaining()) {
      Fail();
      return {};
    }
    const std::span<const unsigned char> taken = bytes_.subspan(position_, count);
    position_ += count;
    return taken;
  }
  void Skip(std::size_t count) { Bytes(count); }
  /// To a place counted from the beginning; the end is allowed.
  void Seek(std::size_t position) {
    if (position > bytes_.size()) {
      Fail();
    } else {
      position_ = position;
    }
  }

  std::size_t Position() const { return position_; }
  std::size_t Remaining() const { return bytes_.size() - position_; }
  /// Whether any request so far did not fit.
  bool HasFailed() const { return hasFailed_; }

 private:
  template <std::unsigned_integral Value>
  Value Little() {
    Value value = 0;
    int shift = 0;
    for (const unsigned char byte : Bytes(sizeof(Value))) {
      value = static_cast<Value>(value | static_cast<Value>(Value{byte} << shift));
      shift += 8;
    }
    return value;
  }
  template <std::unsigned_integral Value>
  Value Big() {
    std::uint64_t value = 0;
    for (const unsigned char byte : Bytes(sizeof(Value))) value = value << 8 | byte;
    return static_cast<Value>(value);
  }
  void Fail() {
    hasFailed_ = true;
    position_ = bytes_.size();
  }

  std::span<const unsigned char> bytes_;
  std::size_t position_ = 0;
  bool hasFailed_ = false;
};

}  // namespace zrk
