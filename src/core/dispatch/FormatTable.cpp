// The one list of formats. Each has a row in its own folder, and its name here.

#include "core/dispatch/FormatTable.h"

namespace zrk {

// The formats, by id. Where first bytes fit two of them the first one has the file: a frame of a raster map product is
// no plain NITF image.
// clang-format off
#define ZRK_FORMATS(ROW) \
  ROW(kZrmFormat)        \
  ROW(kTiffFormat)       \
  ROW(kJpegFormat)       \
  ROW(kBmpFormat)        \
  ROW(kDtedFormat)       \
  ROW(kSidFormat)        \
  ROW(kJp2Format)        \
  ROW(kCibFormat)        \
  ROW(kCadrgFormat)      \
  ROW(kHawkFormat)       \
  ROW(kNitfFormat)       \
  ROW(kHfaFormat)        \
  ROW(kHdf4Format)       \
  ROW(kEcwFormat)        \
  ROW(kPbiFormat)        \
  ROW(kPbeFormat)        \
  ROW(kTxidFormat)       \
  ROW(kXvcFormat)        \
  ROW(kShpFormat)        \
  ROW(kDgnFormat)        \
  ROW(kDlgFormat)        \
  ROW(kDxfFormat)        \
  ROW(kNitfVectorFormat) \
  ROW(kKmlFormat)
// clang-format on

// Each format defines its row as a constant, so that no code runs before the table is asked for.
#define ZRK_DECLARE_ROW(row) extern const FormatRow row;
ZRK_FORMATS(ZRK_DECLARE_ROW)

std::vector<const FormatRow*> ListFormats() {
#define ZRK_NAME_ROW(row) &row,
  return {ZRK_FORMATS(ZRK_NAME_ROW)};
}

}  // namespace zrk
