#pragma once

#include "bands/jp2/Jp2Walk.h"
#include "tagGCPSets.h"

#include <array>
#include <optional>
#include <span>
#include <vector>

class ZRMBand;

namespace zrk {

/// As `ZRMBand::GetGeoTransform`: x, its steps by column and row, then y and its steps.
using Jp2Transform = std::array<double, 6>;

/// What a GeoJP2 box says.
struct GeoJp2 {
  XString wkt;                               ///< empty where it names no system
  Jp2Transform transform{0, 1, 0, 0, 0, 1};  ///< by its tags, whatever a pixel is; this one where no tag tells it
  std::optional<Jp2Transform> exact;         ///< of outer corners; empty where no tag tells it
  std::vector<tagGCP> tiePoints;             ///< in place of a transform
};

/// Parses the TIFF file in a GeoJP2 box. Empty where the bytes are no TIFF file.
std::optional<GeoJp2> ParseGeoJp2(std::span<const unsigned char> tiff);
/// Parses the data of an `MSIG` box, whose transform is of outer corners. Empty where there are fewer than 70 bytes.
std::optional<Jp2Transform> ParseMsig(std::span<const unsigned char> data);

/// The boxes of a file that can place an image, each as the bytes behind its head.
struct Jp2PlaceBoxes {
  /// The last ones first, and not more than a few. Nothing stands for one that is too long.
  std::vector<std::optional<std::vector<unsigned char>>> geoJp2;
  bool hasMoreGeoJp2 = false;       ///< in front of these
  std::vector<unsigned char> msig;  ///< the last one whose data begins as it should
};
/// Nothing where the disk fails.
std::optional<Jp2PlaceBoxes> ReadPlaceBoxes(DiskFile& file, std::span<const Jp2Box> boxes);
/// The place by the last GeoJP2 box; empty where that tells none.
std::optional<GeoJp2> ParseLastGeoJp2(const Jp2PlaceBoxes& boxes);
/// The place by the best of the GeoJP2 boxes. That is the last box with both a place and a system, or else the last box
/// with a place, or else the last box. Returns 1, also where there is no such box. Returns 0 with the reason in `err`
/// where it cannot be told which is the best, because a box is too long or damaged, or there are too many of them.
int FindBestGeoJp2(const Jp2PlaceBoxes& boxes, std::optional<GeoJp2>& best, XString& err);

/// A text of a file with its name: that of a label in front of it, or `BOX_0`, `BOX_1` and so on.
struct Jp2Text {
  XString name;
  const Jp2Box* box;   ///< of the list that it was made of
  bool isGml = false;  ///< whether it stands beneath the label "gml.data"
};
/// The texts of a file: those beneath the label "gml.data", and those of the file itself. Nothing where the disk fails.
std::optional<std::vector<Jp2Text>> ListTexts(DiskFile& file, std::span<const Jp2Box> boxes);

}  // namespace zrk
