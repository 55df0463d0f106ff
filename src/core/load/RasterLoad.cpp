// What the loaders of rasters share: how channels are named, where bands lie, and what follows once the bands are in
// the dataset.
//
// Loaders come in two shapes. Most bands go into the dataset first, because level data is attached to a dataset and may
// bring the statistics. Frames of raster maps never have level data, so their statistics come before.
//
// Bands belong to the dataset from the moment they are added. Until then the loader owns them, so that a load that
// fails leaves the dataset as it was.

#include "core/load/RasterLoad.h"

#include "core/xld/LevelData.h"
#include "XExactStatistics.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XWorldFile.h"

#include <array>

namespace zrk {
namespace {

/// The upper edge is the height, so that rows count upwards from 0 as they do in the world. A system that the band has
/// already is kept.
void PlaceAsPixels(ZRMBand& band) {
  band.SetPixelSize(1.0, 1.0);
  band.SetUpperLeft(0.0, band.GetYSize());
  band.SetCoordinateKind(kCoordinatePixel);
  if (band.GetSR()->IsEmpty()) band.GetSR()->SetCoordinateKind(kReferenceNone);
}

/// A world file tells places but no system, so the system is unknown unless the band brought one.
void PlaceInWorld(ZRMBand& band, const WorldLines& lines) {
  const XWorldFile worldFile(lines.numbers.data(), lines.count);
  band.SetPixelSize(worldFile.XPixelSize(), worldFile.YPixelSize());
  band.SetUpperLeft(worldFile.Left(band.GetXSize()), worldFile.Top(band.GetYSize()));
  band.SetCoordinateKind(kCoordinateWorld);
  band.SetPixelAnchor(kPixelCentre);
  if (const auto transform = TransformOf(lines)) band.SetGeoTransform(transform->data());
  if (band.GetSR()->IsEmpty()) band.GetSR()->SetCoordinateKind(kReferenceUnknown);
}

/// The statistics that a load was asked for. They may fail without failing the load. In the exact policy one pass over
/// the file serves all bands.
void CalcStatistics(std::span<ZRMBand* const> bands, XReadPolicy policy) {
  if (policy == kReadExact) {
    XfnCalcExactStatistics(bands, 1);
    return;
  }
  for (ZRMBand* const band : bands) band->CalcStatistics(1);
}

std::vector<ZRMBand*> BandsOf(const Channels& channels) {
  std::vector<ZRMBand*> bands;
  for (const std::unique_ptr<ZRMBand>& channel : channels) bands.push_back(channel.get());
  return bands;
}

std::vector<ZRMBand*> BandsOf(const XRSFile& file) {
  std::vector<ZRMBand*> bands;
  for (int i = 0; i < file.GetNumOfBands(); ++i) bands.push_back(file.GetBandAt(i));
  return bands;
}

}  // namespace

XString MakeChannelName(ChannelNames names, const XString& path, int number) {
  XString name;
  if (names == ChannelNames::kWithFileName) {
    name.Format("%s : Channel %d", XfnGetFileName(path).GetText(), number);
  } else {
    name.Format("Channel %d", number);
  }
  return name;
}

int FindWorldFile(const RasterCall& call, const char* extension, std::optional<WorldLines>& found) {
  if (call.file->GetReadPolicy() == kReadExact) {
    return FindWorldFile(ListWorldFiles(call.path, extension), found, call.err);
  }
  found = ReadWorldLines(GetWorldFileName(call.path, extension));
  return 1;
}

void PlaceByWorldFile(XRSFile& file, const std::optional<WorldLines>& lines) {
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    if (lines) {
      PlaceInWorld(band, *lines);
    } else {
      PlaceAsPixels(band);
    }
  }
}

bool IsPlaced(const Channels& channels) {
  return channels.front()->GetCoordinateKind() != kCoordinatePixel;
}

XColourRole GetPlainRole(int numChannels, int channel) {
  if (numChannels == 1) return kRoleGrey;
  constexpr std::array<XColourRole, 3> kRoles = {kRoleRed, kRoleGreen, kRoleBlue};
  const auto place = static_cast<std::size_t>(channel);
  return numChannels >= 3 && place < kRoles.size() ? kRoles[place] : kRoleUnknown;
}

/// The dataset takes over each band and frees it.
void AddChannels(XRSFile& file, Channels channels) {
  for (std::unique_ptr<ZRMBand>& channel : channels) file.AddBand(channel.release());
}

int LoadFrame(const RasterCall& call, Channels (*open)(const RasterCall& call)) {
  if (!call.file) {
    call.err = kNotValidFile;
    return 0;
  }
  return Fenced(call.err, [&] {
    Channels channels = open(call);
    if (channels.empty()) return 0;
    if (call.calcStatistics) CalcStatistics(BandsOf(channels), call.file->GetReadPolicy());
    AddChannels(*call.file, std::move(channels));
    call.file->SetName(call.path);
    call.file->SetFilePath(call.path);
    return 1;
  });
}

void FinishRaster(const RasterCall& call) {
  XRSFile& file = *call.file;
  file.SetName(call.path);
  file.SetFilePath(call.path);
  // Memory that runs out here is a failure of level data or statistics, and not of the load.
  Fenced(call.err, [&] {
    const XReadPolicy policy = file.GetReadPolicy();
    // Level data brings statistics, but those of an image of half the size, which are not exact.
    const int hasLevels = LoadLevelData(file, call.path, call.err, call.levelMode, call.thread);
    if (call.calcStatistics && (!hasLevels || policy == kReadExact)) CalcStatistics(BandsOf(file), policy);
    return 1;
  });
}

}  // namespace zrk
