#include "bands/jp2/Jp2Notes.h"
#include "bands/jp2/Jp2Save.h"
#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "XFormatId.h"
#include "ZRMBandJ2K.h"

namespace zrk {
namespace {

/// Boxes in the file place it. Points that stand in place of a transform belong to the dataset.
struct Jp2 {
  using Band = ZRMBandJ2K;
  static constexpr ChannelNames kNames = ChannelNames::kWithFileName;
  static constexpr const char* kSpareWorldFile = ".j2w";
  static XColourRole GetRole(const ZRMBandJ2K& master, int channel) { return master.GetRoleOf(channel); }
  static void Finish(XRSFile& file) {
    const auto& master = static_cast<const ZRMBandJ2K&>(*file.GetBandAt(0));
    if (const tagGCPSets* const points = master.GetTiePoints()) {
      file.AddGCPSet(std::make_unique<tagGCPSets>(*points).release());
    }
  }
};

/// The signature box, or the start of a codestream without boxes.
bool IsJpeg2000(FileHead head) {
  return StartsWith(head, std::string_view("\0\0\0\x0CjP  \r\n\x87\n", 12)) || StartsWith(head, "\xFF\x4F\xFF\x51");
}

}  // namespace

extern const FormatRow kJp2Format;
constinit const FormatRow kJp2Format = {.format = {.id = kFormatJP2,
                                                   .name = "JPEG 2000",
                                                   .extensions = "jp2",
                                                   .isRaster = true,
                                                   .canRead = true,
                                                   .bandClass = "ZRMBandJ2K",
                                                   .writer = &kJp2Writer},
                                        .isContent = &IsJpeg2000,
                                        .loadRaster = &LoadRaster<Jp2>,
                                        .save = &SaveJp2,
                                        .describe = &DescribeJp2};

}  // namespace zrk
