// The row of NITF images. A file is known by its first bytes, which also tell whether it has an image. Frames of raster
// maps are NITF files too; their formats stand in front of this one in the table.

#include "bands/nitf/NitfNotes.h"
#include "codec/NitfHeader.h"
#include "core/load/RasterLoad.h"
#include "XFormatId.h"
#include "ZRMBandNITF.h"

namespace zrk {
namespace {

/// Where the first bytes don't tell the number of images the file is taken for one, and its loader will say what is
/// wrong.
bool HasNitfImage(FileHead head) {
  return BeginsAsNitf(head) && CountNitfImages(head).value_or(1) > 0;
}

Channels OpenImage(const RasterCall& call) {
  Channels channels;
  auto first = std::make_unique<ZRMBandNITF>();
  const ZRMBandNITF& opened = *first;
  first->SetReadPolicy(call.file->GetReadPolicy());
  if (!first->ReadFile(call.path, call.err, call.thread)) return channels;
  channels.push_back(std::move(first));
  for (int i = 1; i < opened.GetNumOfBand(); ++i) channels.push_back(std::make_unique<ZRMBandNITF>(opened, i));
  int number = 0;
  for (const std::unique_ptr<ZRMBand>& channel : channels) {
    channel->SetBandName(MakeChannelName(ChannelNames::kPlain, call.path, ++number));
  }
  return channels;
}

/// An image without pixels, as the compatible policy has it for a file that can't be opened, has nothing to make levels
/// or statistics of.
int LoadNitfImage(const RasterCall& call) {
  if (!call.file) {
    call.err = kNotValidFile;
    return 0;
  }
  return Fenced(call.err, [&] {
    Channels channels = OpenImage(call);
    if (channels.empty()) return 0;
    const bool hasPixels = channels.front()->GetXSize() > 0;
    AddChannels(*call.file, std::move(channels));
    call.file->SetName(call.path);
    call.file->SetFilePath(call.path);
    if (hasPixels) FinishRaster(call);
    return 1;
  });
}

}  // namespace

extern const FormatRow kNitfFormat;
constinit const FormatRow kNitfFormat = {.format = {.id = kFormatNITFIMG,
                                                    .name = "NITF image",
                                                    .extensions = "",
                                                    .isRaster = true,
                                                    .canRead = true,
                                                    .bandClass = "ZRMBandNITF"},
                                         .isContent = &HasNitfImage,
                                         .loadRaster = &LoadNitfImage,
                                         .describe = &DescribeNitfFile};

}  // namespace zrk
