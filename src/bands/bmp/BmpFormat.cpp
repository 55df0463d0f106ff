#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "XFormatId.h"
#include "ZRMBandBMP.h"

namespace zrk {
namespace {

struct Bitmap {
  using Band = ZRMBandBMP;
  static constexpr ChannelNames kNames = ChannelNames::kPlain;
  static constexpr const char* kWorldFile = ".bmw";

  /// The fourth channel is opacity where a field of the header says so, and a byte without a meaning elsewhere.
  static XColourRole GetRole(const ZRMBandBMP& master, int channel) {
    return channel == 3 && master.IsExact() ? kRoleAlpha : GetPlainRole(master.GetNumChannels(), channel);
  }
};

/// "BM" begins other texts too. The length of the info header tells a bitmap from these: only its lowest byte is not 0.
bool IsBmp(FileHead head) {
  constexpr std::size_t kInfoLength = 14;
  return StartsWith(head, "BM") && HasBytesAt(head, kInfoLength + 1, std::string_view("\0\0\0", 3)) &&
         head[kInfoLength] >= 12;
}

}  // namespace

extern const FormatRow kBmpFormat;
constinit const FormatRow kBmpFormat = {.format = {kFormatBMP, "Windows bitmap", "bmp", true, true, "ZRMBandBMP"},
                                        .isContent = &IsBmp,
                                        .loadRaster = &LoadRaster<Bitmap>};

}  // namespace zrk
