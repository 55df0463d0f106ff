// libtiff picks a routine of its own for the colours of a file when its conversion begins. Here that routine is called
// with samples that are in memory already, and libtiff reads nothing.

#include "bands/tiff/TiffColours.h"

namespace zrk {

TiffColours::TiffColours(TIFF* tiff) {
  char reason[1024] = "";
  isReady_ = TIFFRGBAImageBegin(&image_, tiff, 0, reason) == 1 && image_.put.any;
}

TiffColours::~TiffColours() {
  if (isReady_) TIFFRGBAImageEnd(&image_);
}

/// Alpha is the plane behind those of the colours.
std::vector<int> TiffColours::GetPlanes() const {
  if (image_.isContig) return {0};
  const bool isGrey = image_.photometric == PHOTOMETRIC_MINISBLACK || image_.photometric == PHOTOMETRIC_MINISWHITE ||
                      image_.photometric == PHOTOMETRIC_PALETTE;
  std::vector<int> planes = isGrey ? std::vector<int>{0} : std::vector<int>{0, 1, 2};
  if (image_.alpha) planes.push_back(static_cast<int>(planes.size()));
  return planes;
}

void TiffColours::Convert(unsigned char* planes, std::int64_t planeBytes, std::uint32_t width, std::uint32_t height,
                          std::uint32_t* colours) {
  if (image_.isContig) {
    image_.put.contig(&image_, colours, 0, 0, width, height, 0, 0, planes);
    return;
  }
  const auto numPlanes = static_cast<std::int64_t>(GetPlanes().size());
  // A grey image has one plane, which stands for all three colours.
  const bool isGrey = numPlanes < 3;
  unsigned char* const green = planes + (isGrey ? 0 : planeBytes);
  unsigned char* const blue = planes + (isGrey ? 0 : 2 * planeBytes);
  unsigned char* const alpha = image_.alpha ? planes + (numPlanes - 1) * planeBytes : nullptr;
  image_.put.separate(&image_, colours, 0, 0, width, height, 0, 0, planes, green, blue, alpha);
}

}  // namespace zrk
