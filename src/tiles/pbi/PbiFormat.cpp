// A store has neither level data nor stored statistics, and none are made while it is loaded, whatever the caller asks.

#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "tagXFormatNotes.h"
#include "tiles/StoreCheck.h"
#include "XFormatId.h"
#include "ZRMBandPBI.h"

namespace zrk {
namespace {

struct ImagePyramid {
  using Band = ZRMBandPBI;

  static XColourRole GetRole(const ZRMBandPBI& master, int channel) {
    return channel == master.GetNumChannels() - 1 ? kRoleAlpha : GetPlainRole(master.GetNumChannels(), channel);
  }
};

bool IsPbi(FileHead head) {
  return StartsWith(head, "PBI") || StartsWith(head, "PEI");
}

Channels OpenPbi(const RasterCall& call) {
  Channels channels = OpenChannels<ZRMBandPBI>(ChannelNames::kWithFileName, call);
  if (!channels.empty()) TakeRoles<ImagePyramid>(channels);
  return channels;
}

int LoadPbi(const RasterCall& call) {
  RasterCall plain = call;
  plain.calcStatistics = 0;
  return LoadFrame(plain, &OpenPbi);
}

void DescribePbi(ZRMBand& band, bool, tagXFormatNotes& notes) {
  static_cast<const ZRMBandPBI&>(band).DescribeLevels(notes);
}

}  // namespace

extern const FormatRow kPbiFormat;
constinit const FormatRow kPbiFormat = {.format = {.id = kFormatPBI,
                                                   .name = "PBI tile pyramid",
                                                   .extensions = "pbi pei",
                                                   .isRaster = true,
                                                   .canRead = true,
                                                   .bandClass = "ZRMBandPBI",
                                                   .hasOwnLevels = true},
                                        .isContent = &IsPbi,
                                        .loadRaster = &LoadPbi,
                                        .describe = &DescribePbi,
                                        .readTile = &ReadImageTile,
                                        .checkStore = &CheckImageStore};

}  // namespace zrk
