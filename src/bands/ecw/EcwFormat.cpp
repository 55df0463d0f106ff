#include "codec/WaveletCodec.h"
#include "core/load/RasterLoad.h"
#include "tagXFormatNotes.h"
#include "XFormatId.h"
#include "ZRMBandECW.h"

namespace zrk {
namespace {

/// Each channel opens the file for itself. Under the compatible policy one that fails is left out, and the numbers of
/// those behind it stay.
Channels OpenEcwChannels(const RasterCall& call) {
  Channels channels;
  const bool isExact = call.file->GetReadPolicy() == kReadExact;
  int numChannels = 1;
  for (int i = 0; i < numChannels; ++i) {
    auto band = std::make_unique<ZRMBandECW>();
    band->SetBandName(MakeChannelName(ChannelNames::kPlain, call.path, i + 1));
    band->SetReadPolicy(call.file->GetReadPolicy());
    band->SetBandID(i);
    if (!band->ReadFile(call.path, call.err, call.thread)) {
      if (i == 0 || isExact) return {};
      continue;
    }
    if (i == 0) numChannels = band->GetNumOfBand();
    band->SetColourRole(GetPlainRole(numChannels, i));
    channels.push_back(std::move(band));
  }
  return channels;
}

int LoadEcw(const RasterCall& call) {
  if (!call.file) {
    call.err = kNotValidFile;
    return 0;
  }
  return Fenced(call.err, [&call] {
    Channels channels = OpenEcwChannels(call);
    if (channels.empty()) return 0;
    AddChannels(*call.file, std::move(channels));
    FinishRaster(call);
    return 1;
  });
}

void DescribeEcw(ZRMBand& first, bool, tagXFormatNotes& notes) {
  const XString decoder = static_cast<const ZRMBandECW&>(first).GetDecoder();
  notes.values.push_back({.name = "decoder", .kind = tagXNote::kText, .text = decoder});
  notes.lines.push_back("decoder     " + decoder);
}

void FindEcwCodec(tagXCodecState& state) {
  TellCodec(kEcwCodec, state);
}

}  // namespace

extern const FormatRow kEcwFormat;
constinit const FormatRow kEcwFormat = {.format = {.id = kFormatECW,
                                                   .name = "ECW",
                                                   .extensions = "ecw",
                                                   .isRaster = true,
                                                   .canRead = true,
                                                   .bandClass = "ZRMBandECW",
                                                   .hasOwnLevels = true},
                                        .loadRaster = &LoadEcw,
                                        .findCodec = &FindEcwCodec,
                                        .describe = &DescribeEcw};

}  // namespace zrk
