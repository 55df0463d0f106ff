#include "bands/tiff/TiffBounds.h"
#include "bands/tiff/TiffNotes.h"
#include "bands/tiff/TiffTexts.h"
#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "XFormatId.h"
#include "XRSFile2Tiff.h"
#include "ZRMBandGTIFF.h"

namespace zrk {
namespace {

/// World files are looked for by the band itself, because geokeys come first.
struct Tiff {
  using Band = ZRMBandGTIFF;
  static constexpr ChannelNames kNames = ChannelNames::kWithFileName;
  static constexpr const char* kWorldFile = nullptr;
  static void Finish(XRSFile& file) { TellTiffTexts(file); }
};

/// A file begins with its order of bytes and, in that order, with 42. Large files have 43.
bool IsTiff(FileHead head) {
  constexpr std::string_view kStarts[] = {{"II*\0", 4}, {"MM\0*", 4}, {"II+\0", 4}, {"MM\0+", 4}};
  return std::ranges::any_of(kStarts, [head](std::string_view start) { return StartsWith(head, start); });
}

Channels OpenTiffBands(const RasterCall& call) {
  return OpenChannels<ZRMBandGTIFF>(Tiff::kNames, call);
}

/// Levels and a largest error are not for this writer, and its row says so.
int SaveTiff(const SaveCall& call) {
  XRSFile2Tiff writer;
  writer.SetXRSFile(call.file);
  return writer.Save(call.path, call.x0, call.x1, call.y0, call.y1, call.err, call.thread);
}

constexpr tagXFormatWriter kWriter = {.noun = "TIFF file",
                                      .plural = "TIFF files",
                                      .takesLevels = false,
                                      .takesMaxError = false,
                                      .takesAllTypes = false,
                                      .worldFile = "tfw"};

}  // namespace

extern const FormatRow kTiffFormat;
constinit const FormatRow kTiffFormat = {.format = {.id = kFormatTIF,
                                                    .name = "TIFF, GeoTIFF",
                                                    .extensions = "tif tiff",
                                                    .isRaster = true,
                                                    .canRead = true,
                                                    .bandClass = "ZRMBandGTIFF",
                                                    .listsTiePoints = true,
                                                    .writer = &kWriter},
                                         .isContent = &IsTiff,
                                         .loadRaster = &LoadRaster<Tiff>,
                                         .openBands = &OpenTiffBands,
                                         .bound = &BoundTiff,
                                         .save = &SaveTiff,
                                         .describe = &DescribeTiff};

}  // namespace zrk
