#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "XFormatId.h"
#include "ZRMBandJPG.h"

namespace zrk {
namespace {

struct Jpeg {
  using Band = ZRMBandJPG;
  static constexpr ChannelNames kNames = ChannelNames::kPlain;
  static constexpr const char* kWorldFile = ".jpw";
  static XColourRole GetRole(const ZRMBandJPG& master, int channel) {
    return GetPlainRole(master.GetNumChannels(), channel);
  }
};

/// The start of an image, and of the marker that follows it.
bool IsJpeg(FileHead head) {
  return StartsWith(head, "\xFF\xD8\xFF");
}

// A colour image is decoded once and kept. A grey one is decoded again by every read.

bool IsDecodedWhole(ZRMBand& band) {
  return static_cast<ZRMBandJPG&>(band).GetDecodeRows() <= 1;
}

int DecodeWhole(ZRMBand& band, XThread* thread) {
  return static_cast<ZRMBandJPG&>(band).ExtractDataFromFile(thread);
}

}  // namespace

extern const FormatRow kJpegFormat;
constinit const FormatRow kJpegFormat = {.format = {kFormatJPG, "JPEG", "jpg", true, true, "ZRMBandJPG"},
                                         .isContent = &IsJpeg,
                                         .loadRaster = &LoadRaster<Jpeg>,
                                         .isDecodedWhole = &IsDecodedWhole,
                                         .decodeWhole = &DecodeWhole};

}  // namespace zrk
