// Where the boxes of a file say that its image lies. A GeoJP2 box is a `uuid` box whose data is a small TIFF file with
// the tags and keys of GeoTIFF: a scale and a tie point, or a matrix, or tie points alone. An MSIG box is a `uuid` box
// with six numbers and no system. GML stands in an `asoc` box with the label "gml.data", which holds further `asoc`
// boxes, each with a label and a text.

#include "bands/jp2/Jp2Place.h"

#include "base/BytesFile.h"
#include "base/Cursor.h"
#include "base/Failure.h"
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

/// The first bytes of a box behind its head. Nothing where the disk fails.
std::optional<std::vector<unsigned char>> ReadBoxStart(DiskFile& file, const Jp2Box& box, std::size_t most) {
  const auto count = static_cast<std::int64_t>(most);
  Jp2Box start = box;
  start.numBytes = std::min(box.CountDataBytes(), count) + box.dataOffset - box.offset;
  return ReadBoxData(file, start, count);
}

/// The first label and the first text directly within a box.
struct LabelledText {
  const Jp2Box* label = nullptr;
  const Jp2Box* text = nullptr;
};

/// The texts of `asoc` boxes that have a label, within one that has the label "gml.data". There may be thousands, so
/// that one pass finds the labels and the texts of all. False where the disk fails.
bool ListGml(DiskFile& file, std::span<const Jp2Box> boxes, std::size_t outer, std::vector<Jp2Text>& texts) {
  const std::size_t end = EndOfBox(boxes, outer);
  std::vector<LabelledText> found(end - outer);
  std::vector<std::size_t> way;  // the boxes around the one that is looked at, by their depth
  for (std::size_t i = outer; i < end; ++i) {
    const Jp2Box& box = boxes[i];
    way.resize(static_cast<std::size_t>(box.depth));
    if (i > outer) {
      LabelledText& ofParent = found[way.back() - outer];
      if (!ofParent.label && IsSameType(box.type, kBoxLabel)) ofParent.label = &box;
      if (!ofParent.text && IsSameType(box.type, kBoxXml)) ofParent.text = &box;
    }
    way.push_back(i);
  }
  for (std::size_t i = outer + 1; i < end; ++i) {
    const LabelledText& each = found[i - outer];
    if (!IsSameType(boxes[i].type, kBoxAssociation) || !each.label || !each.text) continue;
    const std::optional<std::string> name = ReadBoxText(file, *each.label, kMostLabelBytes);
    if (!name) return false;
    texts.push_back({XString(*name), each.text, true});
  }
  return true;
}

/// Nothing where the disk fails.
std::optional<bool> HoldsGml(DiskFile& file, std::span<const Jp2Box> boxes, std::size_t box) {
  const bool hasLabel = box + 1 < boxes.size() && boxes[box + 1].depth > boxes[box].depth &&
                        IsSameType(boxes[box].type, kBoxAssociation) && IsSameType(boxes[box + 1].type, kBoxLabel);
  if (!hasLabel) return false;
  const std::optional<std::string> label = ReadBoxText(file, boxes[box + 1], kMostLabelBytes);
  if (!label) return std::nullopt;
  return *label == "gml.data";
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
    if (box.depth != 0 || !IsSameType(box.type, kBoxUuid)) continue;
    const bool isGeoJp2 = box.uuid == kGeoJp2Uuid, isMsig = box.uuid == kMsigUuid && found.msig.empty();
    if (isGeoJp2 && std::ssize(found.geoJp2) == kMostGeoJp2) found.hasMoreGeoJp2 = true;
    if (!isMsig && (!isGeoJp2 || found.hasMoreGeoJp2)) continue;
    std::optional<std::vector<unsigned char>> data =
        isMsig ? ReadBoxStart(file, box, kLeastMsigBytes) : ReadBoxData(file, box, kMostPlaceBytes);
    if (!data) return std::nullopt;
    if (isMsig && IsMsig(*data)) found.msig = *std::move(data);
    if (!isGeoJp2) continue;
    const bool isTooLong = box.CountDataBytes() > kMostPlaceBytes;
    found.geoJp2.push_back(isTooLong ? std::nullopt : std::move(data));
  }
  return found;
}

std::optional<GeoJp2> ParseLastGeoJp2(const Jp2PlaceBoxes& boxes) {
  const bool isThere = !boxes.geoJp2.empty() && boxes.geoJp2.front();
  return isThere ? ParseGeoJp2(*boxes.geoJp2.front()) : std::nullopt;
}

/// An empty box tells nothing, and so nothing of it is lost.
int FindBestGeoJp2(const Jp2PlaceBoxes& boxes, std::optional<GeoJp2>& best, XString& err) {
  constexpr int kHasBoth = 3;
  const auto rank = [](const GeoJp2& place) { return (place.exact ? 2 : 0) + (place.wkt.IsEmpty() ? 0 : 1); };
  for (const std::optional<std::vector<unsigned char>>& bytes : boxes.geoJp2) {
    if (!bytes) return FailWith(err, "A GeoJP2 box of the file is too long");
    std::optional<GeoJp2> place = ParseGeoJp2(*bytes);
    if (!place && !bytes->empty()) return FailWith(err, "A GeoJP2 box of the file is damaged");
    if (place && (!best || rank(*place) > rank(*best))) best = std::move(place);
    if (best && rank(*best) == kHasBoth) return 1;
  }
  return !boxes.hasMoreGeoJp2 || FailWith(err, "The file has too many GeoJP2 boxes");
}

std::optional<std::vector<Jp2Text>> ListTexts(DiskFile& file, std::span<const Jp2Box> boxes) {
  std::vector<Jp2Text> texts;
  int number = 0;
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    if (boxes[i].depth != 0) continue;
    const std::optional<bool> holdsGml = HoldsGml(file, boxes, i);
    if (!holdsGml || (*holdsGml && !ListGml(file, boxes, i, texts))) return std::nullopt;
    if (!IsSameType(boxes[i].type, kBoxXml)) continue;
    XString name;
    name.Format("BOX_%d", number++);
    texts.push_back({name, &boxes[i], false});
  }
  return texts;
}

}  // namespace zrk
