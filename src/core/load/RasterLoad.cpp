#include "core/load/RasterLoad.h"

#include "base/WorldLines.h"
#include "core/xld/LevelData.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XWorldFile.h"

namespace zrk {
namespace {

void PlaceAsPixels(ZRMBand& band) {
  band.SetPixelSize(1.0, 1.0);
  band.SetUpperLeft(0.0, band.GetYSize());
  band.SetCoordinateKind(kCoordinatePixel);
  if (band.GetSR()->IsEmpty()) band.GetSR()->SetCoordinateKind(kReferenceNone);
}

void PlaceInWorld(ZRMBand& band, const XWorldFile& worldFile) {
  band.SetPixelSize(worldFile.XPixelSize(), worldFile.YPixelSize());
  band.SetUpperLeft(worldFile.Left(band.GetXSize()), worldFile.Top(band.GetYSize()));
  band.SetCoordinateKind(kCoordinateWorld);
  if (band.GetSR()->IsEmpty()) band.GetSR()->SetCoordinateKind(kReferenceUnknown);
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

void PlaceByWorldFile(XRSFile& file, const XString& path, const char* extension) {
  XWorldFile worldFile;
  const bool isPlaced = worldFile.Read(GetWorldFileName(path, extension));
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    if (isPlaced) {
      PlaceInWorld(band, worldFile);
    } else {
      PlaceAsPixels(band);
    }
  }
}

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
    if (call.calcStatistics) {
      for (const std::unique_ptr<ZRMBand>& channel : channels) channel->CalcStatistics(1);
    }
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
    if (LoadLevelData(file, call.path, call.err, call.levelMode, call.thread)) return 1;
    if (!call.calcStatistics) return 1;
    for (int i = 0; i < file.GetNumOfBands(); ++i) file.GetBandAt(i)->CalcStatistics(1);
    return 1;
  });
}

}  // namespace zrk
