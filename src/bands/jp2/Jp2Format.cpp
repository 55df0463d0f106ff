#include "bands/jp2/Jp2Save.h"
#include "core/load/FirstBytes.h"
#include "XFormatId.h"

namespace zrk {
namespace {

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
                                                   .canRead = false,
                                                   .bandClass = "",
                                                   .writer = &kJp2Writer},
                                        .isContent = &IsJpeg2000,
                                        .save = &SaveJp2};

}  // namespace zrk
