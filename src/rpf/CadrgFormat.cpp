#include "core/load/RasterLoad.h"
#include "rpf/FrameName.h"
#include "XFormatId.h"
#include "ZRMBandCADRG.h"

#include <algorithm>

// The extension of a frame spells series, zone and scale.

namespace zrk {
namespace {

/// Whether one of the two letters of a map product stands anywhere in the extension. One that does is a map or nothing:
/// ION is no controlled image base.
bool HoldsMapProduct(const XString& upperExt) {
  constexpr const char* kProducts[] = {"GN", "JN", "ON", "TP", "JA", "TC", "TL"};
  return std::ranges::any_of(kProducts, [&upperExt](const char* product) { return upperExt.Find(product) >= 0; });
}

/// Whether the zone of a map product is one. It is always taken from the third place, wherever the product stood.
bool HoldsMapZone(const XString& upperExt) {
  const char zone = upperExt.GetAt(2);
  return ('1' <= zone && zone <= '8') || ('A' <= zone && zone <= 'H');
}

bool IsMapExtension(const XString& upperExt) {
  return HoldsMapProduct(upperExt) && HoldsMapZone(upperExt);
}

constexpr ExtensionRule kMapRule = {&IsMapExtension, &HoldsMapProduct};

bool IsMapFrame(FileHead head) {
  return IsMapExtension(FindProductExtension(head));
}

struct MapFrame {
  using Band = ZRMBandCADRG;

  static XColourRole GetRole(const ZRMBandCADRG& master, int channel) {
    const int numColours = master.GetNumChannels() - (master.HasOpacity() ? 1 : 0);
    return channel == numColours ? kRoleAlpha : GetPlainRole(numColours, channel);
  }
};

Channels OpenFrame(const RasterCall& call) {
  Channels channels = OpenChannels<ZRMBandCADRG>(ChannelNames::kPlain, call);
  if (!channels.empty()) TakeRoles<MapFrame>(channels);
  return channels;
}

int LoadCadrg(const RasterCall& call) {
  return LoadFrame(call, &OpenFrame);
}

}  // namespace

extern const FormatRow kCadrgFormat;
constinit const FormatRow kCadrgFormat = {
    .format = {kFormatCADRG, "CADRG", "one of gn jn on tp ja tc tl in it, and 1 to 8 or a to h in third place", true,
               true, "ZRMBandCADRG"},
    .extensionRule = &kMapRule,
    .isContent = &IsMapFrame,
    .mayBeContent = &MayBeFrame,
    .loadRaster = &LoadCadrg};

}  // namespace zrk
