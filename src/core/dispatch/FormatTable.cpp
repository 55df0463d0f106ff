// The one list of formats. A format that can be read has a row in its own folder, and its name here. A format that this
// build can't read yet has a plain row here, so that its extension and its first bytes are known.

#include "core/dispatch/FormatTable.h"

#include "core/load/FirstBytes.h"

namespace zrk {
namespace {

/// The row of a raster format that can't be read yet: it has a name and marks, and no loader.
constexpr FormatRow Absent(int id, const char* name, const char* extensions,
                           bool (*isContent)(FileHead head) = nullptr) {
  return {.format = {id, name, extensions, true, false, ""}, .isContent = isContent};
}

/// Marks of formats that can't be read yet are known too, so that a file with a wrong extension is named rightly.
bool IsMrSid(FileHead head) {
  return StartsWith(head, "msid");
}

}  // namespace

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

constinit const FormatRow kSidFormat = Absent(kFormatSID, "MrSID", "sid", &IsMrSid);
constinit const FormatRow kHawkFormat = Absent(kFormatHAWK, "Hawk scanning sensor", "");
constinit const FormatRow kEcwFormat = Absent(kFormatECW, "ECW", "ecw");

std::vector<const FormatRow*> ListFormats() {
#define ZRK_NAME_ROW(row) &row,
  return {ZRK_FORMATS(ZRK_NAME_ROW)};
}

}  // namespace zrk
