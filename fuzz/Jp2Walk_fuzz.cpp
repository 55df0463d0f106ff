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
  if (const auto places = zrk::ReadPlaceBoxes(file, boxes)) {
    std::optional<zrk::GeoJp2> best;
    zrk::FindBestGeoJp2(*places, best, err);
  }
  constexpr std::int64_t kMostText = 1 << 16;
  const auto texts = zrk::ListTexts(file, boxes);
  for (const zrk::Jp2Text& text : texts.value_or(std::vector<zrk::Jp2Text>())) {
    const std::string xml = zrk::ReadBoxText(file, *text.box, kMostText).value_or("");
    zrk::ParseGmlGrid(xml);
    zrk::MayHoldGrid(xml, text.isGml);
  }
  return 0;
}
