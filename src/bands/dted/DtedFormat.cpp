#include "bands/dted/DtedHeader.h"
#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "XFormatId.h"
#include "ZRMBandDTED.h"

namespace zrk {
namespace {

/// The place of a cell stands in its header.
struct Elevation {
  using Band = ZRMBandDTED;
  static constexpr ChannelNames kNames = ChannelNames::kWithFileName;
  static constexpr const char* kWorldFile = nullptr;
};

/// One of the labels that a cell may begin with, and the series in the record behind them.
bool IsDted(FileHead head) {
  return (StartsWith(head, "UHL") || StartsWith(head, "HDR") || StartsWith(head, "VOL")) && HasDtedMark(head);
}

}  // namespace

extern const FormatRow kDtedFormat;
constinit const FormatRow kDtedFormat = {.format = {.id = kFormatDTED,
                                                    .name = "DTED",
                                                    .extensions = "dt0 dt1 dt2",
                                                    .isRaster = true,
                                                    .canRead = true,
                                                    .bandClass = "ZRMBandDTED",
                                                    .holdsHeights = true},
                                         .isContent = &IsDted,
                                         .loadRaster = &LoadRaster<Elevation>};

}  // namespace zrk
