#pragma once

#include <algorithm>
#include <bit>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <system_error>

namespace zrk {

enum class ByteOrder { kLittle, kBig };

/// The bounded reader over the bytes of a header. It never leaves them: a request that does not fit gives zeros and
/// sets a flag that stays, so that a parser takes a whole record and asks once whether it was there.
///
/// Numbers whose order of bytes a format fixes are asked for by name. Where the file tells the order, it is given to
/// the cursor, and the names without an order go by it.
class Cursor {
 public:
  explicit Cursor(std::span<const unsigned char> bytes, ByteOrder order = ByteOrder::kLittle)
      : bytes_(bytes), isBig_(order == ByteOrder::kBig) {}

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

  std::uint16_t U16() { return isBig_ ? U16BE() : U16LE(); }
  std::uint32_t U32() { return isBig_ ? U32BE() : U32LE(); }
  std::uint64_t U64() { return isBig_ ? U64BE() : U64LE(); }
  std::int16_t I16() { return static_cast<std::int16_t>(U16()); }
  std::int32_t I32() { return static_cast<std::int32_t>(U32()); }
  std::int64_t I64() { return static_cast<std::int64_t>(U64()); }
  float F32() { return std::bit_cast<float>(U32()); }
  double F64() { return std::bit_cast<double>(U64()); }

  /// The next characters, with what zeros are among them.
  std::string_view Text(std::size_t count) {
    const std::span<const unsigned char> taken = Bytes(count);
    return {reinterpret_cast<const char*>(taken.data()), taken.size()};
  }
  /// A decimal number in a field of so many characters. Blanks may stand in front, and a sign. The number ends at the
  /// first character that is not a digit, and is 0 where there is no digit. One that no integer holds does not fit.
  std::int64_t Number(std::size_t count) {
    std::string_view text = Text(count);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    std::int64_t number = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec == std::errc::result_out_of_range) Fail();
    return number;
  }

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
  bool isBig_;
  bool hasFailed_ = false;
};

}  // namespace zrk
