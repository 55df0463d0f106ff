// The native raster: bands over pyramid stores, which the dataset itself makes from the text at the end of the file. A
// file is bounded by loading it, which leaves its pixels alone.

#include "base/Fence.h"
#include "core/load/FirstBytes.h"
#include "core/load/Outcome.h"
#include "tagXFormatNotes.h"
#include "XDataType.h"
#include "XFormatId.h"
#include "XRSFile.h"
#include "XRSFile2ZRM.h"
#include "XSystem.h"
#include "ZRMBandEPOT.h"

#include <algorithm>
#include <stdexcept>

namespace zrk {
namespace {

bool IsNative(FileHead head) {
  return StartsWith(head, "ZRM.");
}

/// The dataset makes its own bands, so the shared shape of loaders does not fit.
int LoadNative(const RasterCall& call) {
  if (call.file) return Fenced(call.err, [&] { return call.file->LoadFileZRM(call.path, call.err, call.thread); });
  call.err = kNotValidFile;
  return 0;
}

/// Every corner becomes the point whose number is the set's own in the list, so all corners are the same place. Callers
/// count on an exception where the set has no such point.
void TakeCornersOfSet(const tagGCPSets& set, int index, const Corners& corners) {
  const int numPoints = static_cast<int>(set.points.size());
  for (int corner = 0; corner < std::min(numPoints, Corners::kCount); ++corner) {
    if (index >= numPoints) throw std::invalid_argument("GetGeoBounding: no such point");
    const tagGCP& point = set.points[static_cast<std::size_t>(index)];
    corners.Set(corner, point.mapX, point.mapY);
  }
}

void TakeCornersOfSets(const XRSFile& file, const Corners& corners) {
  for (int i = 0; i < file.GetNumOfGCPSet(); ++i) {
    const tagGCPSets& set = *file.GetGCPSetAt(i);
    if (set.name == "BOUNDING_GCP") TakeCornersOfSet(set, i, corners);
  }
}

/// From the south-west on, against the clock.
void TakeCornersOfRectangle(const XRSFile& file, const Corners& corners) {
  double west = kNotSet, east = kNotSet, south = kNotSet, north = kNotSet;
  file.GetBoundRect(west, east, south, north);
  corners.Set(0, west, south);
  corners.Set(1, east, south);
  corners.Set(2, east, north);
  corners.Set(3, west, north);
}

int BoundNative(const XString& path, const Corners& corners, bool&) {
  XRSFile file;
  XString err;
  if (!LoadNative({&file, path, err, 0, 0, nullptr})) return 0;
  const XSpatialReference* const system = file.GetSR();
  // Without a system the rectangle is in pixels and bounds nothing on the ground; control points may still do.
  if (!system || system->GetCoordinateKind() == kReferenceNone) {
    TakeCornersOfSets(file, corners);
  } else {
    TakeCornersOfRectangle(file, corners);
  }
  return 1;
}

/// What ties a file to the machine that wrote it, where that is asked for.
XString MakeValidationInfo() {
  constexpr int kByNetworkAddress = 2;
  if (XfnGetCryptoMethod() != kByNetworkAddress) return "";
  XStringList addresses(10);
  return XfnGetMacAddress(addresses) > 0 ? addresses.GetHead() : XString();
}

int SaveNative(const SaveCall& call) {
  XRSFile2ZRM writer;
  writer.SetXRSFile(call.file);
  writer.SetCryptoVaildationInfo(MakeValidationInfo());
  writer.SetWriterFlags(call.writerFlag1, call.writerFlag2);
  return writer.Save(call.path, call.level, call.x0, call.x1, call.y0, call.y1, call.compressionMode, call.quality,
                     call.err, call.thread);
}

void DescribeNativeBand(ZRMBand& band, tagXFormatNotes& notes) {
  const bool isCompressed = band.GetCompressionInfo() == kCompressionTiles;
  notes.values.push_back({.name = "compressed", .kind = tagXNote::kBool, .number = isCompressed});
  notes.lines.emplace_back(isCompressed ? "compressed" : "not compressed");
}

constexpr tagXFormatWriter kWriter = {.noun = "native raster",
                                      .plural = "native rasters",
                                      .takesLevels = true,
                                      .takesMaxError = true,
                                      .takesAllTypes = true,
                                      .worldFile = nullptr};

}  // namespace

extern const FormatRow kZrmFormat;
constinit const FormatRow kZrmFormat = {.format = {.id = kFormatZRM,
                                                   .name = "Native raster",
                                                   .extensions = "zrm",
                                                   .isRaster = true,
                                                   .canRead = true,
                                                   .bandClass = "ZRMBandEPOT",
                                                   .hasOwnLevels = true,
                                                   .writer = &kWriter},
                                        .isContent = &IsNative,
                                        .loadRaster = &LoadNative,
                                        .bound = &BoundNative,
                                        .save = &SaveNative,
                                        .describeBand = &DescribeNativeBand};

}  // namespace zrk
