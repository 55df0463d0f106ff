#include "XDataType.h"

#include <array>

namespace {

/// Bytes of a sample, by the code of its type. The order is that of the codes, which are stored in files and never
/// change.
constexpr std::array<int, kNumDataTypes> kSizes = {0, 1,  1, 2, 2, 4, 4, 4, 8, 2, 2, 4, 4, 8, 8,
                                                   8, 16, 1, 3, 3, 4, 4, 4, 4, 2, 2, 2, 2, 2, 2};

/// Only the scalar types have names.
constexpr std::array<const char*, 9> kNames = {"",       "PINT08", "SINT08", "PINT16", "SINT16",
                                               "PINT32", "SINT32", "REAL32", "REAL64"};

}  // namespace

int XfnGetDataSize(int type) {
  return type >= 0 && type < kNumDataTypes ? kSizes[static_cast<std::size_t>(type)] : 0;
}

const char* XfnGetDataTypeString(int type) {
  return type > 0 && type < static_cast<int>(kNames.size()) ? kNames[static_cast<std::size_t>(type)] : "";
}
