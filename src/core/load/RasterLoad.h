#pragma once

#include "base/Fence.h"
#include "base/WorldLines.h"
#include "core/load/FormatRow.h"
#include "core/load/Outcome.h"
#include "XRSFile.h"
#include "XString.h"
#include "ZRMBand.h"

#include <concepts>
#include <memory>
#include <optional>
#include <vector>

// The shape that raster loaders share. A loader is this shape over a small record about its format:
//
//   struct Bitmap {
//     using Band = ZRMBandBMP;                                        // made as Band(master), null for the master
//     static constexpr ChannelNames kNames = ChannelNames::kPlain;
//     static constexpr const char* kWorldFile = ".bmw";               // null where the file places itself
//     static void Finish(XRSFile& file);                              // may be left out; tells the dataset what else
//                                                                     // the file knows
//   };
//   LoadRaster<Bitmap>(call);
//
// A format that places itself may have world files too, which the exact policy reads where the file tells no place:
//
//     static constexpr const char* kSpareWorldFile = ".j2w";
//
// The record of a format whose channels are colours may have a function that tells them:
//
//     static XColourRole GetRole(const ZRMBandBMP& master, int channel);
//
// A band that is made without a master is the only one of its file.

namespace zrk {

/// "Channel 1", or the same behind the file's name: "a.tif : Channel 1".
enum class ChannelNames { kPlain, kWithFileName };

XString MakeChannelName(ChannelNames names, const XString& path, int number);

/// The lines of the world file beside the image; nothing where it has none. Under the compatible policy the file's name
/// is the path with its last four characters replaced by `extension`, however long the path's own extension is, and the
/// result is 1. Under the exact one it has any of the usual names (`ListWorldFiles`), and one that can't place the image
/// gives 0 with a sentence.
int FindWorldFile(const RasterCall& call, const char* extension, std::optional<WorldLines>& found);

/// Places every band of the dataset by the lines of a world file, or as plain pixels without any.
void PlaceByWorldFile(XRSFile& file, const std::optional<WorldLines>& lines);

/// What follows once the bands are in the dataset: names, level data, and statistics where no level data brought them.
/// Neither fails the load.
void FinishRaster(const RasterCall& call);

using Channels = std::vector<std::unique_ptr<ZRMBand>>;

/// Opens a file as a master with its followers; empty, with the reader's reason in `err`, where it can't be.
template <class Band>
Channels OpenChannels(ChannelNames names, const RasterCall& call) {
  Channels channels;
  auto master = std::make_unique<Band>(nullptr);
  Band* const shared = master.get();
  shared->SetBandName(MakeChannelName(names, call.path, 1));
  shared->SetChannel(0);
  shared->SetReadPolicy(call.file->GetReadPolicy());
  if (!shared->ReadFile(call.path, call.err, call.thread)) return channels;
  channels.push_back(std::move(master));
  for (int channel = 1; channel < shared->GetNumChannels(); ++channel) {
    auto follower = std::make_unique<Band>(shared);
    follower->SetBandName(MakeChannelName(names, call.path, channel + 1));
    follower->SetChannel(channel);
    channels.push_back(std::move(follower));
  }
  return channels;
}

/// The same for a format of one channel, whose band knows neither master nor channel.
template <std::default_initializable Band>
Channels OpenChannels(ChannelNames names, const RasterCall& call) {
  Channels channels;
  auto band = std::make_unique<Band>();
  band->SetBandName(MakeChannelName(names, call.path, 1));
  band->SetReadPolicy(call.file->GetReadPolicy());
  if (band->ReadFile(call.path, call.err, call.thread)) channels.push_back(std::move(band));
  return channels;
}

/// Grey for one channel, and red, green and blue for three or more.
XColourRole GetPlainRole(int numChannels, int channel);

/// Moves the channels into the dataset, in order.
void AddChannels(XRSFile& file, Channels channels);

/// The shape of the loaders whose bands never have level data: statistics come before the bands are in the dataset.
int LoadFrame(const RasterCall& call, Channels (*open)(const RasterCall& call));

/// Whether the first channel lies in the world by what its own file tells.
bool IsPlaced(const Channels& channels);

/// The extension of the world file that places the channels; null where none is looked for.
template <class Format>
const char* GetWorldFile(const RasterCall& call, const Channels& channels) {
  if constexpr (requires { Format::kSpareWorldFile; }) {
    const bool isWanted = call.file->GetReadPolicy() == kReadExact && !IsPlaced(channels);
    return isWanted ? Format::kSpareWorldFile : nullptr;
  } else {
    return Format::kWorldFile;
  }
}

/// What each channel shows, where the format tells it.
template <class Format>
void TakeRoles(const Channels& channels) {
  if constexpr (requires(const typename Format::Band& master) { Format::GetRole(master, 0); }) {
    const auto& master = static_cast<const typename Format::Band&>(*channels.front());
    int channel = 0;
    for (const std::unique_ptr<ZRMBand>& each : channels) each->SetColourRole(Format::GetRole(master, channel++));
  }
}

template <class Format>
int LoadRaster(const RasterCall& call) {
  if (!call.file) {
    call.err = kNotValidFile;
    return 0;
  }
  return Fenced(call.err, [&call] {
    Channels channels = OpenChannels<typename Format::Band>(Format::kNames, call);
    if (channels.empty()) return 0;
    std::optional<WorldLines> place;
    const char* const worldFile = GetWorldFile<Format>(call, channels);
    if (worldFile && !FindWorldFile(call, worldFile, place)) return 0;
    TakeRoles<Format>(channels);
    AddChannels(*call.file, std::move(channels));
    if (worldFile) PlaceByWorldFile(*call.file, place);
    if constexpr (requires { Format::Finish(*call.file); }) Format::Finish(*call.file);
    FinishRaster(call);
    return 1;
  });
}

}  // namespace zrk
