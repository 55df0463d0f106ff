// The vector formats have one row each, and all are read by the same vector set.
//
// DXF, DGN and DLG files know no system. The caller's system is copied over whatever the load left. NITF vector data
// may have a system, so it gets the caller's before the load. Shapefiles and native vectors bring their own, and KML
// has one by definition.
//
// Three of the rows name formats that the vector set refuses with a sentence of its own.

#include "codec/NitfHeader.h"
#include "core/load/FirstBytes.h"
#include "core/load/VectorLoad.h"
#include "XFormatId.h"
#include "XRSFile.h"
#include "XSpatialReference.h"

namespace zrk {
namespace {

auto LoadAs(ZRMVand::Kind kind, const VectorCall& call) {
  return [kind, call](ZRMVand& vand) { return vand.LoadFile(call.path, kind, call.err, call.thread); };
}

/// Without a system of the caller's nothing is changed.
auto CopySystem(const XSpatialReference* sr) {
  return [sr](ZRMVand& vand) {
    if (sr) vand.SetSR(*sr);
  };
}

template <ZRMVand::Kind kKind>
int LoadWithSystem(const VectorCall& call) {
  return LoadVector(call, {.load = LoadAs(kKind, call)});
}

template <ZRMVand::Kind kKind>
int LoadWithoutSystem(const VectorCall& call) {
  return LoadVector(call, {.load = LoadAs(kKind, call), .afterLoad = CopySystem(call.sr)});
}

int LoadNitf(const VectorCall& call) {
  const auto load = [call](ZRMVand& vand) {
    if (!call.objects) return vand.LoadFile(call.path, ZRMVand::kKindNITF, call.err, call.thread);
    return vand.LoadFileEx(call.path, ZRMVand::kKindNITF, *call.objects, call.numObjects, call.err, call.thread);
  };
  return LoadVector(call, {.beforeLoad = CopySystem(call.sr), .load = load});
}

int LoadKml(const VectorCall& call) {
  // KML is in WGS 84 by definition. The dataset's system is that of its first band, and is set along.
  const auto setWgs84 = [file = call.file](ZRMVand& vand) {
    XSpatialReference* const sr = file->GetSR();
    if (!sr) return;
    sr->SetWellKnownGeogCS("WGS84");
    vand.SetSR(*sr);
  };
  return LoadVector(call, {.load = LoadAs(ZRMVand::kKindKML, call), .afterLoad = setWgs84});
}

/// The file code 9994, high byte first.
bool IsShapefile(FileHead head) {
  return StartsWith(head, std::string_view("\x00\x00\x27\x0A", 4));
}

/// The type element of a design file of two or three dimensions, and its length in words.
bool IsDesign(FileHead head) {
  return StartsWith(head, "\x08\x09\xFE\x02") || StartsWith(head, "\xC8\x09\xFE\x02");
}

/// A drawing is a text of groups, the first of which opens a section, or begins with the mark of the binary form.
bool IsDrawing(FileHead head) {
  if (StartsWith(head, "AutoCAD Binary DXF\r\n")) return true;
  constexpr const char* kBlank = " \t\r\n";
  const std::string_view text = TextOf(head);
  const std::size_t code = text.find_first_not_of(kBlank);
  if (code == std::string_view::npos || text[code] != '0') return false;
  const std::size_t value = text.find_first_not_of(kBlank, code + 1);
  return value != std::string_view::npos && text.substr(value).starts_with("SECTION");
}

/// KML is a text with any prologue, so the element is looked for and not expected at the start.
bool IsKml(FileHead head) {
  return TextOf(head).find("<kml") != std::string_view::npos;
}

/// A file with an image is left to the format of that.
bool IsNitfWithoutImage(FileHead head) {
  return BeginsAsNitf(head) && CountNitfImages(head).value_or(0) == 0;
}

}  // namespace

extern const FormatRow kXvcFormat, kShpFormat, kDgnFormat, kDlgFormat, kDxfFormat, kNitfVectorFormat, kKmlFormat;

constinit const FormatRow kXvcFormat = {.format = {kFormatXVC, "Native vector", "xvc", false, false, ""},
                                        .loadVector = &LoadWithSystem<ZRMVand::kKindXVC>};
constinit const FormatRow kShpFormat = {.format = {kFormatSHP, "Shapefile", "shp", false, true, ""},
                                        .isContent = &IsShapefile,
                                        .loadVector = &LoadWithSystem<ZRMVand::kKindSHP>};
constinit const FormatRow kDgnFormat = {.format = {kFormatDGN, "DGN", "dgn", false, true, ""},
                                        .isContent = &IsDesign,
                                        .loadVector = &LoadWithoutSystem<ZRMVand::kKindDGN>};
constinit const FormatRow kDlgFormat = {.format = {kFormatDLG, "DLG", "dlg", false, false, ""},
                                        .loadVector = &LoadWithoutSystem<ZRMVand::kKindDLG>};
constinit const FormatRow kDxfFormat = {.format = {kFormatDXF, "DXF", "dxf", false, true, ""},
                                        .isContent = &IsDrawing,
                                        .loadVector = &LoadWithoutSystem<ZRMVand::kKindDXF>};
// The router takes neither of these two: their callers go to the loaders by name.
constinit const FormatRow kNitfVectorFormat = {.format = {kFormatNITF, "NITF vector data", "ntf", false, false, ""},
                                               .isContent = &IsNitfWithoutImage,
                                               .loadVector = &LoadNitf,
                                               .isRouted = false};
constinit const FormatRow kKmlFormat = {.format = {kFormatKML, "KML", "kml", false, true, ""},
                                        .isContent = &IsKml,
                                        .loadVector = &LoadKml,
                                        .isRouted = false};

}  // namespace zrk
