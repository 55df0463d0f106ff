#include "core/load/RasterLoad.h"
#include "rpf/FrameName.h"
#include "XFormatId.h"
#include "ZRMBandCIB.h"

namespace zrk {
namespace {

/// The resolution follows the letter of the series.
bool IsImageBaseExtension(const XString& upperExt) {
  const char resolution = upperExt.GetAt(1);
  return upperExt.GetAt(0) == 'I' && (('1' <= resolution && resolution <= '5') || resolution == 'V');
}

constexpr ExtensionRule kImageBaseRule = {&IsImageBaseExtension};

bool IsImageBaseFrame(FileHead head) {
  return IsImageBaseExtension(FindProductExtension(head));
}

int LoadCib(const RasterCall& call) {
  return LoadFrame(
      call, [](const RasterCall& frame) { return OpenChannels<ZRMBandCIB>(ChannelNames::kWithFileName, frame); });
}

}  // namespace

extern const FormatRow kCibFormat;
constinit const FormatRow kCibFormat = {
    .format = {kFormatCIB, "CIB", "i and one of 1 2 3 4 5 v, whatever follows", true, true, "ZRMBandCIB"},
    .extensionRule = &kImageBaseRule,
    .isContent = &IsImageBaseFrame,
    .mayBeContent = &MayBeFrame,
    .loadRaster = &LoadCib};

}  // namespace zrk
