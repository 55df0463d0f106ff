// Where the boxes of a file say that its image lies. A GeoJP2 box is a `uuid` box whose data is a small TIFF file with
// the tags and keys of GeoTIFF: a scale and a tie point, or a matrix, or tie points alone. An MSIG box is a `uuid` box
// with six numbers and no system. GML stands in an `asoc` box with the label "gml.data", which holds further `asoc`
// boxes, each with a label and a text.

#include "bands/jp2/Jp2Place.h"

#include "base/BytesFile.h"
#include "base/Cursor.h"
#include "codec/TiffGeoTags.h"
#include "codec/TiffHandle.h"
#include "XGeoKeys.h"
#include "XLimits.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string_view>

namespace zrk {
namespace {

constexpr std::int64_t kMostPlaceBytes = 8 << 20;
constexpr std::int64_t kMostTiffBytes = 8 << 20;  // of one table
constexpr std::int64_t kMostLabelBytes = 4096;
constexpr std::size_t kLeastMsigBytes = 70;

bool AreFinite(const Jp2Transform& transform) {
  return std::ranges::all_of(transform, [](double number) { return std::isfinite(number); });
}

/// One point for each six values of the tag. The third is the depth of a pixel, which images don't have.
std::vector<tagGCP> MakeTiePoints(const std::vector<double>& values) {
  std::vector<tagGCP> points;
  for (std::size_t i = 0; i + 6 <= values.size(); i += 6) {
    tagGCP point;
    point.name.Format("%d", static_cast<int>(i / 6));
    point.pixelX = values[i];
    point.pixelY = values[i + 1];
    point.mapX = values[i + 3];
    point.mapY = values[i + 4];
    point.mapZ = values[i + 5];
    points.push_back(std::move(point));
  }
  return points;
}

void TakeTags(const TiffGeoTags& tags, GeoJp2& place) {
  Jp2Transform& t = place.transform;
  const std::vector<double>& tie = tags.tiePoints;
  const std::vector<double>& m = tags.toWorld;
  if (tags.pixelScale.size() >= 2) {
    t[1] = tags.pixelScale[0];
    t[5] = -std::abs(tags.pixelScale[1]);
    if (tie.size() >= 6) {
      t[0] = tie[3] - t[1] * tie[0];
      t[3] = tie[4] - tie[1] * t[5];
    }
  } else if (tie.size() >= 6) {
    place.tiePoints = MakeTiePoints(tie);
  } else if (m.size() == 16) {
    t = {m[3], m[0], m[1], m[7], m[4], m[5]};
  }
  place.exact = TransformByTags(tags);
}

/// The data behind the head, where it is as MSIG data should be.
bool IsMsig(const std::vector<unsigned char>& data) {
  constexpr std::string_view kStart = "MSIG/";
  return data.size() >= kLeastMsigBytes &&
         std::equal(kStart.begin(), kStart.end(), data.begin(),
                    [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
}

/// The texts of `asoc` boxes that have a label, within one that has the label "gml.data".
void ListGml(DiskFile& file, std::span<const Jp2Box> boxes, const Jp2Box& outer, std::vector<Jp2Text>& texts) {
  const std::size_t first = static_cast<std::size_t>(&outer - boxes.data());
  for (std::size_t i = first + 1; i < EndOfBox(boxes, first); ++i) {
    if (!IsSameType(boxes[i].type, kBoxAssociation)) continue;
    const Jp2Box* const label = FindBox(boxes, kBoxLabel, &boxes[i]);
    const Jp2Box* const text = FindBox(boxes, kBoxXml, &boxes[i]);
    if (label && text) texts.push_back({XString(ReadBoxText(file, *label, kMostLabelBytes)), text});
  }
}

bool HoldsGml(DiskFile& file, std::span<const Jp2Box> boxes, std::size_t box) {
  const bool hasInner = EndOfBox(boxes, box) > box + 1;
  return hasInner && IsSameType(boxes[box].type, kBoxAssociation) && IsSameType(boxes[box + 1].type, kBoxLabel) &&
         ReadBoxText(file, boxes[box + 1], kMostLabelBytes) == "gml.data";
}

}  // namespace

std::optional<GeoJp2> ParseGeoJp2(std::span<const unsigned char> tiff) {
  if (tiff.empty()) return std::nullopt;
  const auto messages = std::make_shared<TiffMessages>();
  const std::unique_ptr<TiffHandle> handle =
      TiffHandle::Open(std::make_shared<BytesFile>(tiff), "GeoJP2", messages, kMostTiffBytes);
  if (!handle) return std::nullopt;
  const GeoKeys keys = OpenGeoKeys(handle->Get());
  GeoJp2 place;
  place.wkt = XfnGTIFGetOGISDefn(keys.get());
  TakeTags(ReadTiffGeoTags(handle->Get(), keys.get()), place);
  return AreFinite(place.transform) ? std::optional(place) : std::nullopt;
}

/// The numbers are those of the centre of the first pixel.
std::optional<Jp2Transform> ParseMsig(std::span<const unsigned char> data) {
  if (data.size() < kLeastMsigBytes) return std::nullopt;
  Cursor cursor(data);
  cursor.Seek(22);
  Jp2Transform t;
  for (const std::size_t element : {1U, 4U, 2U, 5U, 0U, 3U}) t[element] = cursor.F64LE();
  t[0] -= t[1] / 2 + t[2] / 2;
  t[3] -= t[4] / 2 + t[5] / 2;
  return AreFinite(t) ? std::optional(t) : std::nullopt;
}

std::optional<Jp2PlaceBoxes> ReadPlaceBoxes(DiskFile& file, std::span<const Jp2Box> boxes) {
  constexpr std::ptrdiff_t kMostGeoJp2 = 4;
  Jp2PlaceBoxes found;
  for (std::size_t i = boxes.size(); i-- > 0;) {
    const Jp2Box& box = boxes[i];
    const bool isWanted = box.depth == 0 && IsSameType(box.type, kBoxUuid) &&
                          ((box.uuid == kGeoJp2Uuid && std::ssize(found.geoJp2) < kMostGeoJp2) ||
                           (box.uuid == kMsigUuid && found.msig.empty()));
    if (!isWanted) continue;
    std::optional<std::vector<unsigned char>> data = ReadBoxData(file, box, kMostPlaceBytes);
    if (!data) return std::nullopt;
    if (box.uuid == kGeoJp2Uuid) {
      found.geoJp2.push_back(*std::move(data));
    } else if (IsMsig(*data)) {
      found.msig = *std::move(data);
    }
  }
  return found;
}

std::vector<Jp2Text> ListTexts(DiskFile& file, std::span<const Jp2Box> boxes) {
  std::vector<Jp2Text> texts;
  int number = 0;
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    if (boxes[i].depth != 0) continue;
    if (HoldsGml(file, boxes, i)) ListGml(file, boxes, boxes[i], texts);
    if (!IsSameType(boxes[i].type, kBoxXml)) continue;
    XString name;
    name.Format("BOX_%d", number++);
    texts.push_back({name, &boxes[i]});
  }
  return texts;
}

}  // namespace zrk
