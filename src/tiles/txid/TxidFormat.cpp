// A store has neither level data nor stored statistics, and none are made while it is loaded, whatever the caller asks.

#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "tagXFormatNotes.h"
#include "tiles/txid/TxidStore.h"
#include "tiles/txid/TxiIndex.h"
#include "XFormatId.h"
#include "ZRMBandTXID.h"

#include <string>

namespace zrk {
namespace {

struct TileStore {
  using Band = ZRMBandTXID;

  static XColourRole GetRole(const ZRMBandTXID& master, int channel) {
    return channel == master.GetNumChannels() - 1 ? kRoleAlpha : GetPlainRole(master.GetNumChannels(), channel);
  }
};

bool IsTxid(FileHead head) {
  return StartsWith(head, "TXID");
}

Channels OpenStore(const RasterCall& call) {
  Channels channels = OpenChannels<ZRMBandTXID>(ChannelNames::kWithFileName, call);
  if (!channels.empty()) TakeRoles<TileStore>(channels);
  return channels;
}

int LoadTxid(const RasterCall& call) {
  RasterCall plain = call;
  plain.calcStatistics = 0;
  return LoadFrame(plain, &OpenStore);
}

tagXNote Integer(const char* name, std::int64_t number) {
  return {.name = name, .kind = tagXNote::kInteger, .number = number};
}

void DescribeTxid(ZRMBand& band, bool, tagXFormatNotes& notes) {
  const auto& store = static_cast<const ZRMBandTXID&>(band);
  const tagTxiInfo& info = store.GetTxiInfo();
  const std::int64_t numTiles = std::int64_t{info.numXTiles} * info.numYTiles, numPresent = CountTilesInGrid(info);
  notes.values.push_back({.name = "tiles",
                          .kind = tagXNote::kRecord,
                          .parts = {Integer("present", numPresent), Integer("total", numTiles),
                                    Integer("size", info.tileSize), Integer("bytes", info.tileDataSize)}});
  notes.values.push_back(
      {.name = "dataFiles",
       .kind = tagXNote::kRecord,
       .parts = {Integer("count", store.GetNumDataFiles()), Integer("bytes", store.GetDataBytes())}});
  const auto text = [](std::int64_t number) { return std::to_string(number); };
  notes.lines.emplace_back("tiles       " + text(numPresent) + " of " + text(numTiles) + ", " + text(info.tileSize) +
                           " x " + text(info.tileSize) + " pixels, " + text(info.tileDataSize) + " bytes each");
  notes.lines.emplace_back("data files  " + text(store.GetNumDataFiles()) + ", " + text(store.GetDataBytes()) +
                           " bytes");
}

}  // namespace

extern const FormatRow kTxidFormat;
constinit const FormatRow kTxidFormat = {.format = {.id = kFormatTXID,
                                                    .name = "TXID tile store",
                                                    .extensions = "txi",
                                                    .isRaster = true,
                                                    .canRead = true,
                                                    .bandClass = "ZRMBandTXID"},
                                         .isContent = &IsTxid,
                                         .loadRaster = &LoadTxid,
                                         .describe = &DescribeTxid,
                                         .readTile = &ReadTxidTile,
                                         .checkStore = &CheckTxidStore};

}  // namespace zrk
