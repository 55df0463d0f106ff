#pragma once

#include "XExport.h"

/// Data type codes of a sample, little-endian in every buffer.
enum XDataType {
  kDataTypeNone = 0,
  kPint08 = 1,         ///< unsigned 8-bit integer
  kSint08 = 2,         ///< signed 8-bit integer
  kPint16 = 3,         ///< unsigned 16-bit integer
  kSint16 = 4,         ///< signed 16-bit integer
  kPint32 = 5,         ///< unsigned 32-bit integer
  kSint32 = 6,         ///< signed 32-bit integer
  kReal32 = 7,         ///< IEEE 754 single
  kReal64 = 8,         ///< IEEE 754 double
  kCint16 = 12,        ///< complex, of two signed 16-bit integers
  kCint32 = 14,        ///< complex, of two signed 32-bit integers
  kCreal32 = 15,       ///< complex, of two singles
  kCreal64 = 16,       ///< complex, of two doubles
  kNumDataTypes = 30,  ///< codes 9 to 29 are carried for sizing only
};

/// Means not set, or no null value. Its negative starts a running maximum.
inline constexpr double kNotSet = 1.7e+308;

/// Bytes of one sample, 0 for code 0 and for codes outside 0 to 29.
ZRKIO_API int XfnGetDataSize(int type);

/// The name of a scalar code, as "PINT08" for 1; the empty text for every other code.
ZRKIO_API const char* XfnGetDataTypeString(int type);
