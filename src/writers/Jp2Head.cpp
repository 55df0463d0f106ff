// A JP2 file is a row of boxes: a length, a type of four characters, and what the type says (ISO/IEC 15444-1, annex I).
// Numbers have their most significant byte first. The boxes here are, in order:
//
//   jP      a fixed signature
//   ftyp    the brand, its version, and the brands of readers that can read the file
//   rreq    which features a reader has to know: all of them for everything, or some for the image; only with GML
//   jp2h    ihdr: height, width, components, depth, and the codec, which is always 7; bpcc: the depth of each
//           component, where they differ; colr: what the colours are; cdef: what each channel is, where some are no
//           colours
//   uuid    GeoJP2: a TIFF file of one pixel whose tags place the image
//   asoc    a label and what it belongs to; GML is a text with a label, within another one
//   jp2c    the codestream
//
// A depth is written as one less, with the highest bit set where samples have a sign.

#include "writers/Jp2Head.h"

#include "base/BigEndian.h"
#include "base/Failure.h"
#include "codec/Jp2Boxes.h"
#include "geo/SystemKeys.h"
#include "writers/Jp2Job.h"
#include "ZRMBand.h"

#include <algorithm>

namespace zrk {
namespace {

using HeadBytes = std::vector<unsigned char>;

/// Appends boxes, which may lie within each other.
class BoxList {
 public:
  template <class Fill>
  void Add(std::uint32_t type, Fill fill) {
    const std::size_t begin = bytes_.size();
    AppendBig(bytes_, std::uint32_t{0});
    AppendBig(bytes_, type);
    fill();
    PutBig(static_cast<std::uint32_t>(bytes_.size() - begin), bytes_.data() + begin);
  }
  template <class... Values>
  void Put(Values... values) {
    (AppendBig(bytes_, values), ...);
  }
  void Put(std::span<const unsigned char> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
  HeadBytes Take() { return std::move(bytes_); }

 private:
  HeadBytes bytes_;
};

std::uint8_t DepthOf(const J2kDepth& component) {
  return static_cast<std::uint8_t>((component.precision - 1) | (component.isSigned ? 0x80 : 0));
}

bool AreAlike(const std::vector<J2kDepth>& components) {
  return std::ranges::all_of(components, [&](const J2kDepth& each) { return each == components.front(); });
}

void AddImageHeader(const J2kPlan& plan, BoxList& boxes) {
  constexpr std::uint8_t kDepthsDiffer = 255, kCodec = 7, kColoursAreKnown = 0, kNoRights = 0;
  const auto height = static_cast<std::uint32_t>(plan.height), width = static_cast<std::uint32_t>(plan.width);
  const auto count = static_cast<std::uint16_t>(plan.components.size());
  const bool areAlike = AreAlike(plan.components);
  const std::uint8_t depth = areAlike ? DepthOf(plan.components.front()) : kDepthsDiffer;
  boxes.Add(kBoxImageHeader, [&] { boxes.Put(height, width, count, depth, kCodec, kColoursAreKnown, kNoRights); });
  if (areAlike) return;
  boxes.Add(kBoxBitsPerComponent, [&] {
    for (const J2kDepth& component : plan.components) boxes.Put(DepthOf(component));
  });
}

int CountColours(const Jp2Job& job) {
  return job.bands.size() < 3 ? 1 : 3;
}

void AddColours(const Jp2Job& job, BoxList& boxes) {
  constexpr std::uint8_t kEnumerated = 1, kPrecedence = 0, kApproximation = 0;
  constexpr std::uint32_t kColoursOfScreens = 16, kGreyscale = 17;
  const std::uint32_t space = CountColours(job) == 3 ? kColoursOfScreens : kGreyscale;
  boxes.Add(kBoxColour, [&] { boxes.Put(kEnumerated, kPrecedence, kApproximation, space); });
}

/// A channel has its number, its kind, and the colour that it belongs to, counted from 1. Opacity belongs to the image,
/// and a channel without a meaning to nothing.
void AddChannels(const Jp2Job& job, BoxList& boxes) {
  constexpr std::uint16_t kIsColour = 0, kIsOpacity = 1, kIsUnknown = 0xFFFF, kImage = 0, kNothing = 0xFFFF;
  const int numColours = CountColours(job), numBands = static_cast<int>(job.bands.size());
  if (numBands == numColours) return;
  boxes.Add(kBoxChannels, [&] {
    boxes.Put(static_cast<std::uint16_t>(numBands));
    for (int i = 0; i < numBands; ++i) {
      const ZRMBand* const band = job.bands[static_cast<std::size_t>(i)];
      const auto channel = static_cast<std::uint16_t>(i);
      if (i < numColours) {
        boxes.Put(channel, kIsColour, static_cast<std::uint16_t>(i + 1));
      } else if (band && band->GetColourRole() == kRoleAlpha) {
        boxes.Put(channel, kIsOpacity, kImage);
      } else {
        boxes.Put(channel, kIsUnknown, kNothing);
      }
    }
  });
}

/// GML belongs to the larger format JPX, whose files list the features that they use. These files use two: a codestream
/// that any reader can decode, which is enough for the image, and GML.
void AddRequirements(BoxList& boxes) {
  constexpr std::uint8_t kMaskBytes = 1, kForEverything = 0xC0, kForTheImage = 0x80;
  constexpr std::uint16_t kNumFeatures = 2, kCodestream = 5, kGml = 67, kNumOfVendors = 0;
  constexpr std::uint8_t kCodestreamBit = 0x80, kGmlBit = 0x40;
  boxes.Add(kBoxRequirements, [&] {
    boxes.Put(kMaskBytes, kForEverything, kForTheImage, kNumFeatures, kCodestream, kCodestreamBit, kGml, kGmlBit,
              kNumOfVendors);
  });
}

void AddGml(std::string_view text, BoxList& boxes) {
  const auto put = [&boxes](std::string_view characters) {
    boxes.Put(std::span(reinterpret_cast<const unsigned char*>(characters.data()), characters.size()));
  };
  boxes.Add(kBoxAssociation, [&] {
    boxes.Add(kBoxLabel, [&] { put("gml.data"); });
    boxes.Add(kBoxAssociation, [&] {
      boxes.Add(kBoxLabel, [&] { put("gml.root-instance"); });
      boxes.Add(kBoxXml, [&] { put(text); });
    });
  });
}

/// The key says that the place is that of the outer corner of a pixel. Keys stand in ascending order.
void AddRasterType(GeoKeySet& set) {
  const auto behind = std::ranges::find_if(set.keys, [](const GeoKey& key) { return key.id > kRasterTypeKey; });
  set.keys.insert(behind, {kRasterTypeKey, kRasterPixelIsArea});
}

}  // namespace

HeadBytes MakeJp2Boxes(const Jp2Job& job, std::span<const unsigned char> place, std::string_view gml) {
  constexpr std::uint32_t kVersion = 0;
  BoxList boxes;
  boxes.Add(kBoxSignature, [&] { boxes.Put(kBoxSignatureData); });
  boxes.Add(kBoxFileType, [&] {
    boxes.Put(kBrandJp2, kVersion, kBrandJp2);
    if (!gml.empty()) boxes.Put(kBrandJpx);
  });
  if (!gml.empty()) AddRequirements(boxes);
  boxes.Add(kBoxHeader, [&] {
    AddImageHeader(job.plan, boxes);
    AddColours(job, boxes);
    AddChannels(job, boxes);
  });
  if (!place.empty()) {
    boxes.Add(kBoxUuid, [&] {
      boxes.Put(std::span<const unsigned char>(kGeoJp2Uuid));
      boxes.Put(place);
    });
  }
  if (!gml.empty()) AddGml(gml, boxes);
  return boxes.Take();
}

int MakeGeoJp2(const Jp2Job& job, bool isExact, HeadBytes& file, XString& err) {
  file = {};
  const ZRMBand& first = *job.bands.front();
  XString wkt;
  const bool hasSystem = !first.GetSR()->IsEmpty();
  std::optional<GeoKeySet> keys = hasSystem && first.GetSR()->exportToWkt(wkt) ? KeysOfSystem(wkt) : std::nullopt;
  if (isExact && hasSystem && !keys) return FailWith(err, kSystemHasNoKeys);
  const bool hasPlace = first.GetCoordinateKind() == kCoordinateWorld;
  if (!keys && !hasPlace) return 1;
  if (!keys) keys.emplace();
  AddRasterType(*keys);
  double t[6];
  job.GetTransform(t);
  file = MakeGeoKeyFile(*keys, hasPlace ? PlaceByTransform(t) : GeoPlaceTags{});
  return 1;
}

HeadBytes MakeCodestreamBox(std::int64_t codestreamBytes, bool isLong) {
  const auto bytes = static_cast<std::uint64_t>(codestreamBytes + CountCodestreamBoxBytes(isLong));
  HeadBytes box;
  AppendBig(box, isLong ? std::uint32_t{1} : static_cast<std::uint32_t>(bytes));
  AppendBig(box, kBoxCodestream);
  if (isLong) AppendBig(box, bytes);
  return box;
}

}  // namespace zrk
