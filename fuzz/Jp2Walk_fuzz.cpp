// The input is the boxes of a JPEG 2000 file, without a codestream.

#include "bands/jp2/Jp2Gml.h"
#include "bands/jp2/Jp2Place.h"
#include "bands/jp2/Jp2Walk.h"
#include "base/BytesFile.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zrk::BytesFile file({data, size});
  std::vector<zrk::Jp2Box> boxes;
  XString err;
  if (!zrk::WalkBoxes(file, boxes, err)) return 0;
  zrk::ReadPlaceBoxes(file, boxes);
  constexpr std::int64_t kMostText = 1 << 16;
  for (const zrk::Jp2Text& text : zrk::ListTexts(file, boxes)) {
    zrk::ParseGmlGrid(zrk::ReadBoxText(file, *text.box, kMostText));
  }
  return 0;
}
