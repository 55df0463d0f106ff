// A store has neither level data nor stored statistics, and none are made while it is loaded, whatever the caller asks.

#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "tagXFormatNotes.h"
#include "tiles/StoreCheck.h"
#include "XFormatId.h"
#include "ZRMBandPBE.h"

namespace zrk {
namespace {

bool IsPbe(FileHead head) {
  return StartsWith(head, "PBE") || StartsWith(head, "PEE");
}

int LoadPbe(const RasterCall& call) {
  RasterCall plain = call;
  plain.calcStatistics = 0;
  return LoadFrame(plain,
                   [](const RasterCall& each) { return OpenChannels<ZRMBandPBE>(ChannelNames::kWithFileName, each); });
}

void DescribePbe(ZRMBand& band, bool, tagXFormatNotes& notes) {
  static_cast<const ZRMBandPBE&>(band).DescribeLevels(notes);
}

}  // namespace

extern const FormatRow kPbeFormat;
constinit const FormatRow kPbeFormat = {.format = {.id = kFormatPBE,
                                                   .name = "PBE tile pyramid",
                                                   .extensions = "pbe",
                                                   .isRaster = true,
                                                   .canRead = true,
                                                   .bandClass = "ZRMBandPBE",
                                                   .holdsHeights = true,
                                                   .hasOwnLevels = true},
                                        .isContent = &IsPbe,
                                        .loadRaster = &LoadPbe,
                                        .describe = &DescribePbe,
                                        .readTile = &ReadElevationTile,
                                        .checkStore = &CheckElevationStore};

}  // namespace zrk
