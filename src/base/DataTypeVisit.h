#pragma once

#include "XDataType.h"

#include <cstdint>

namespace zrk {

/// The data type code of a C++ type; 0 for a type that has none.
template <class Sample>
inline constexpr int kDataTypeOf = kDataTypeNone;
template <>
inline constexpr int kDataTypeOf<std::uint8_t> = kPint08;
template <>
inline constexpr int kDataTypeOf<std::int8_t> = kSint08;
template <>
inline constexpr int kDataTypeOf<std::uint16_t> = kPint16;
template <>
inline constexpr int kDataTypeOf<std::int16_t> = kSint16;
template <>
inline constexpr int kDataTypeOf<std::uint32_t> = kPint32;
template <>
inline constexpr int kDataTypeOf<std::int32_t> = kSint32;
template <>
inline constexpr int kDataTypeOf<float> = kReal32;
template <>
inline constexpr int kDataTypeOf<double> = kReal64;

/// Calls the visitor with a zero of the C++ type that a scalar data type code stands for. So a pixel loop is written
/// once as a template, and the type is looked up once, outside of the loop:
///
///     zrk::VisitDataType(dataType, [&](auto zero) { Fill<decltype(zero)>(buffer); });
///
/// False, with no call, for every code other than 1 to 8.
template <class Visitor>
bool VisitDataType(int dataType, Visitor&& visitor) {
  switch (dataType) {
    case kPint08:
      visitor(std::uint8_t{});
      return true;
    case kSint08:
      visitor(std::int8_t{});
      return true;
    case kPint16:
      visitor(std::uint16_t{});
      return true;
    case kSint16:
      visitor(std::int16_t{});
      return true;
    case kPint32:
      visitor(std::uint32_t{});
      return true;
    case kSint32:
      visitor(std::int32_t{});
      return true;
    case kReal32:
      visitor(float{});
      return true;
    case kReal64:
      visitor(double{});
      return true;
    default:
      return false;
  }
}

/// Whether the code is one of 1 to 8, so that a sample is one number.
inline bool IsScalar(int dataType) {
  return VisitDataType(dataType, [](auto) {});
}

}  // namespace zrk
