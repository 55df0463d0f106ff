#include "codec/WaveletCodec.h"
#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "tagXFormatNotes.h"
#include "XFormatId.h"
#include "ZRMBandMrSID.h"

namespace zrk {
namespace {

struct MrSid {
  using Band = ZRMBandMrSID;
  static constexpr ChannelNames kNames = ChannelNames::kWithFileName;
  static constexpr const char* kWorldFile = nullptr;
  static XColourRole GetRole(const ZRMBandMrSID& master, int channel) {
    return GetPlainRole(master.GetNumChannels(), channel);
  }
};

bool IsMrSid(FileHead head) {
  return StartsWith(head, "msid");
}

void DescribeMrSid(ZRMBand& first, bool, tagXFormatNotes& notes) {
  const XString decoder = static_cast<const ZRMBandMrSID&>(first).GetDecoder();
  notes.lines.push_back("decoder     " + decoder);
  notes.values.push_back({.name = "decoder", .kind = tagXNote::kText, .text = decoder});
}

void FindMrSidCodec(tagXCodecState& state) {
  TellCodec(kMrSidCodec, state);
}

}  // namespace

extern const FormatRow kSidFormat;
constinit const FormatRow kSidFormat = {.format = {.id = kFormatSID,
                                                   .name = "MrSID",
                                                   .extensions = "sid",
                                                   .isRaster = true,
                                                   .canRead = true,
                                                   .bandClass = "ZRMBandMrSID",
                                                   .hasOwnLevels = true},
                                        .isContent = &IsMrSid,
                                        .loadRaster = &LoadRaster<MrSid>,
                                        .findCodec = &FindMrSidCodec,
                                        .describe = &DescribeMrSid};

}  // namespace zrk
