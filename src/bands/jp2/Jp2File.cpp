// A file is known as one of boxes by its first box, the signature. Anything else is taken for a codestream.
//
// Under the compatible policy the place is that of the last GeoJP2 box, or else that of the last MSIG box, and it
// counts only with a system that is known. The place of an image is then the centre of its first pixel. Under the exact
// policy a transform counts without a system as well. A GeoJP2 box says whether its place is that of a corner or of a
// centre. The grid of a GML text comes before an MSIG box. The load fails if a box or a text could tell the place and
// can't be read.

#include "bands/jp2/Jp2File.h"

#include "bands/jp2/Jp2Gml.h"
#include "base/Cursor.h"
#include "base/Disk.h"
#include "base/Failure.h"
#include "XFile.h"
#include "XLimits.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>

namespace zrk {
namespace {

constexpr std::int64_t kMostHeaderBytes = 1 << 20;  // of a box that says something of the components
constexpr const char* kDiskFailsInBoxes = "The disk fails within the boxes of the file";

/// Nothing where the disk fails. A file that is too short for a signature has none.
std::optional<bool> BeginsWithSignature(DiskFile& file) {
  unsigned char bytes[12] = {};
  const std::int64_t count = std::min<std::int64_t>(file.Size(), sizeof bytes);
  if (count < 0 || file.ReadAt(0, bytes, count) != count) return std::nullopt;
  const std::optional<Jp2Box> first = ParseBoxHead(bytes, 0, sizeof bytes);
  return count == sizeof bytes && first && first->type == kBoxSignature;
}

/// The range of the file that holds the codestream.
int FindCodestream(Jp2File& opened, std::int64_t& offset, std::int64_t& end, XString& err) {
  const std::optional<bool> hasBoxes = BeginsWithSignature(*opened.file);
  if (!hasBoxes) return FailWith(err, "The disk fails at the beginning of the file");
  if (!*hasBoxes) {
    offset = 0;
    end = opened.file->Size();
    return 1;
  }
  if (!WalkBoxes(*opened.file, opened.boxes, err)) return 0;
  if (opened.boxes.size() < 2) return FailWith(err, "This file does not have any boxes.");
  const Jp2Box* const box = FindBox(opened.boxes, kBoxCodestream);
  if (!box) return FailWith(err, "This file does not have a codestream.");
  offset = box->dataOffset;
  end = box->GetEnd();
  return 1;
}

void PlaceAsPixels(ZRMBand& band) {
  band.SetCoordinateKind(kCoordinatePixel);
  band.SetPixelAnchor(kPixelCorner);
  band.SetUpperLeft(0.0, band.GetYSize());
  band.SetPixelSize(1.0, 1.0);
}

tagGCPSets NameTiePoints(std::vector<tagGCP> points, const XString& wkt) {
  tagGCPSets set;
  set.name = "JP2 TiePoints";
  set.projectionWkt = wkt;
  set.points = std::move(points);
  return set;
}

tagGCPSets PlaceCompatibly(ZRMBand& band, const Jp2PlaceBoxes& boxes) {
  const std::optional<Jp2Bounds> bounds = FindBounds(boxes, band.GetXSize(), band.GetYSize(), *band.GetSR());
  if (!bounds) return {};
  band.SetUpperLeft(bounds->left, bounds->upper);
  band.SetPixelSize(bounds->xSize, bounds->ySize);
  if (bounds->transform) {
    band.SetCoordinateKind(kCoordinateWorld);
    band.SetPixelAnchor(kPixelCentre);
    band.SetGeoTransform(bounds->transform->data());
  }
  return NameTiePoints(bounds->tiePoints, bounds->wkt);
}

/// The grid of the first text that has one. A text that may have one and can't be read fails.
int FindGrid(const Jp2File& opened, std::optional<Jp2Grid>& grid, XString& err) {
  const std::int64_t most = XfnGetLimits().xmlBytes;
  const std::optional<std::vector<Jp2Text>> texts = ListTexts(*opened.file, opened.boxes);
  if (!texts) return FailWith(err, kDiskFailsInBoxes);
  for (const Jp2Text& text : *texts) {
    if (text.box->CountDataBytes() > most)
      return FailWith(err, "A text of the file is too long to look for a place in");
    const std::optional<std::string> xml = ReadBoxText(*opened.file, *text.box, most);
    if (!xml) return FailWith(err, kDiskFailsInBoxes);
    grid = ParseGmlGrid(*xml);
    if (grid) return 1;
    if (MayHoldGrid(*xml, text.isGml)) return FailWith(err, "The place in a GML text of the file can't be read");
  }
  return 1;
}

/// The corner is the centre of the first pixel. The sizes are the lengths of a pixel's sides.
void PlaceByTransform(ZRMBand& band, const Jp2Transform& t) {
  band.SetUpperLeft(t[0] + t[1] / 2 + t[2] / 2, t[3] + t[4] / 2 + t[5] / 2);
  band.SetPixelSize(std::hypot(t[1], t[4]), std::hypot(t[2], t[5]));
  band.SetCoordinateKind(kCoordinateWorld);
  band.SetPixelAnchor(kPixelCentre);
  band.SetGeoTransform(t.data());
}

/// What the exact policy finds out about a place.
struct ExactPlace {
  std::optional<GeoJp2> geo;  ///< a file may have several, of which one serves programs that know no others
  std::optional<Jp2Grid> grid;
  std::optional<Jp2Transform> transform;
};

/// A box or a text that could tell a place and can't be read fails, unless one that is asked before it places the
/// image.
int FindExactPlace(const Jp2File& opened, const Jp2PlaceBoxes& boxes, ExactPlace& place, XString& err) {
  if (!FindBestGeoJp2(boxes, place.geo, err)) return 0;
  if (place.geo) place.transform = place.geo->exact;
  if (place.transform) return 1;
  if (!FindGrid(opened, place.grid, err)) return 0;
  if (place.grid) place.transform = place.grid->transform;
  if (place.transform || boxes.msig.empty()) return 1;
  place.transform = ParseMsig(boxes.msig);
  return place.transform || FailWith(err, "The MSIG box of the file is damaged");
}

tagGCPSets PlaceExactly(ZRMBand& band, const ExactPlace& place) {
  const auto& [geo, grid, transform] = place;
  if (transform) PlaceByTransform(band, *transform);
  XSpatialReference system;
  if (geo && !geo->wkt.IsEmpty()) {
    system.importFromWkt(geo->wkt);
  } else if (grid && grid->epsg > 0) {
    system.importFromEPSG(grid->epsg);
  }
  if (transform && system.IsEmpty()) system.SetCoordinateKind(kReferenceUnknown);
  const bool hasTiePoints = geo && !transform && !geo->tiePoints.empty();
  if (!hasTiePoints) band.SetSR(system);
  return hasTiePoints ? NameTiePoints(geo->tiePoints, geo->wkt) : tagGCPSets();
}

/// Entries of a definition of channels: a channel, what it is (1 and 2 for opacity), and the colour that it belongs to.
void TakeDefinitions(std::span<const unsigned char> data, Jp2Colours& colours) {
  Cursor cursor(data);
  for (int numLeft = cursor.U16BE(); numLeft > 0 && !cursor.HasFailed(); --numLeft) {
    const std::size_t channel = cursor.U16BE();
    const int kind = cursor.U16BE(), colour = cursor.U16BE();
    if (cursor.HasFailed() || channel >= colours.associations.size()) continue;
    const bool isColour = kind == 0 && colour >= 1 && colour <= 3;
    colours.associations[channel] = isColour ? colour : kind == 1 || kind == 2 ? 0 : -1;
  }
}

}  // namespace

int OpenJp2(const XString& path, Jp2File& opened, XString& err) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return FailWith(err, "Unable to open input file");
  opened = {};
  opened.file = file.GetDiskFile();
  std::int64_t offset = 0, end = 0;
  if (!FindCodestream(opened, offset, end, err)) return 0;
  opened.codestream = J2kReader::Open(opened.file, offset, end, err);
  return opened.codestream ? 1 : 0;
}

std::optional<Jp2Bounds> FindBounds(const Jp2PlaceBoxes& boxes, int width, int height, XSpatialReference& sr) {
  Jp2Bounds bounds;
  std::optional<GeoJp2> geo = ParseLastGeoJp2(boxes);
  std::optional<Jp2Transform> t = geo ? std::optional(geo->transform) : ParseMsig(boxes.msig);
  if (!t) return std::nullopt;
  if (geo) {
    bounds.wkt = geo->wkt;
    bounds.tiePoints = std::move(geo->tiePoints);
  }
  const bool isPlaced = bounds.tiePoints.empty() && sr.importFromWkt(bounds.wkt) && !bounds.wkt.IsEmpty();
  if (isPlaced) {
    bounds.xSize = std::abs((*t)[1]);
    bounds.ySize = std::abs((*t)[5]);
    bounds.left = (*t)[0] + (*t)[1] / 2;
    bounds.upper = (*t)[3] + (*t)[5] / 2;
    bounds.right = (*t)[0] + (width - 0.5) * (*t)[1];
    bounds.lower = (*t)[3] + (height - 0.5) * (*t)[5];
    bounds.transform = t;
    return bounds;
  }
  sr.Clear();
  bounds.right = width;
  bounds.upper = height;
  return bounds;
}

int PlaceJp2(ZRMBand& band, const Jp2File& opened, tagGCPSets& tiePoints, XString& err) {
  PlaceAsPixels(band);
  band.SetSR(XSpatialReference());
  tiePoints = {};
  if (opened.boxes.empty()) return 1;
  const std::optional<Jp2PlaceBoxes> boxes = ReadPlaceBoxes(*opened.file, opened.boxes);
  if (!boxes) return FailWith(err, kDiskFailsInBoxes);
  if (!band.IsExact()) {
    tiePoints = PlaceCompatibly(band, *boxes);
    return 1;
  }
  ExactPlace place;
  if (!FindExactPlace(opened, *boxes, place, err)) return 0;
  tiePoints = PlaceExactly(band, place);
  return 1;
}

Jp2Colours ReadColours(const Jp2File& opened) {
  Jp2Colours colours;
  colours.associations.assign(opened.codestream->GetHeader().components.size(), -1);
  const Jp2Box* const header = FindBox(opened.boxes, kBoxHeader);
  if (!header) return colours;
  colours.hasPalette = FindBox(opened.boxes, kBoxPalette, header) != nullptr;
  if (const Jp2Box* const colour = FindBox(opened.boxes, kBoxColour, header)) {
    const std::vector<unsigned char> data =
        ReadBoxData(*opened.file, *colour, kMostHeaderBytes).value_or(std::vector<unsigned char>());
    Cursor cursor(data);
    const bool isEnumerated = cursor.U8() == 1;
    cursor.Skip(2);
    const std::uint32_t space = cursor.U32BE();
    if (isEnumerated && !cursor.HasFailed()) colours.space = static_cast<int>(space);
  }
  if (const Jp2Box* const channels = FindBox(opened.boxes, kBoxChannels, header)) {
    const auto data = ReadBoxData(*opened.file, *channels, kMostHeaderBytes);
    if (data) TakeDefinitions(*data, colours);
  }
  return colours;
}

/// Luminance and chrominance are left as they are, and so they are no colours that programs know.
XColourRole GetRole(const Jp2Colours& colours, int numComponents, int component) {
  constexpr int kGreySpace = 17, kLuminanceSpace = 18;
  if (component < 0 || component >= numComponents) return kRoleUnknown;
  const int association = colours.associations[static_cast<std::size_t>(component)];
  if (association == 0) return kRoleAlpha;
  if (colours.hasPalette || colours.space == kLuminanceSpace) return kRoleUnknown;
  const auto numColours = numComponents - static_cast<int>(std::ranges::count(colours.associations, 0));
  if (colours.space == kGreySpace || numColours == 1) return component == 0 ? kRoleGrey : kRoleUnknown;
  const int colour = association > 0 ? association : component + 1;
  constexpr XColourRole kRoles[] = {kRoleRed, kRoleGreen, kRoleBlue};
  return numColours >= 3 && colour <= 3 ? kRoles[colour - 1] : kRoleUnknown;
}

}  // namespace zrk
