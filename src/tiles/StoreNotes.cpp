#include "tiles/StoreNotes.h"

#include "tiles/StoreCalls.h"

#include <algorithm>
#include <string>

namespace zrk {

namespace {

constexpr std::int64_t kMaxBytesLookedAt = std::int64_t{256} << 20;

tagXNote Integer(const char* name, std::int64_t number) {
  return {.name = name, .kind = tagXNote::kInteger, .number = number};
}

std::string Text(std::int64_t number) {
  return std::to_string(number);
}

std::string FromTo(int first, int last) {
  return Text(first) + " to " + Text(last);
}

/// "12 of 40 tiles empty", or the same of those that were looked at.
std::string TellEmpty(const TileShare& share) {
  const std::string tiles = share.looked < share.total ? Text(share.looked) + " tiles looked at of " + Text(share.total)
                                                       : Text(share.total) + (share.total == 1 ? " tile" : " tiles");
  return Text(share.empty) + " of " + tiles + " empty";
}

std::string TellTiles(const tagXTileLevel& level, const char* samples) {
  return " rows " + FromTo(level.llRow, level.urRow) + ", columns " + FromTo(level.llCol, level.urCol) + ", tiles of " +
         Text(level.tileWidth) + " x " + Text(level.tileHeight) + " " + samples + ", " + Text(level.storageSize) +
         WordFor(level.storageSize, " byte each", " bytes each");
}

tagXNote NoteOf(const tagXTileLevel& level, const TileShare& share) {
  return {
      .kind = tagXNote::kRecord,
      .parts = {Integer("level", level.level), Integer("lowestRow", level.llRow), Integer("highestRow", level.urRow),
                Integer("lowestColumn", level.llCol), Integer("highestColumn", level.urCol),
                Integer("tileWidth", level.tileWidth), Integer("tileHeight", level.tileHeight),
                Integer("tileBytes", level.storageSize), Integer("tiles", share.total),
                Integer("tilesLookedAt", share.looked), Integer("tilesEmpty", share.empty)}};
}

}  // namespace

void DescribeStore(const StoreForReading& store, const char* samples, tagXFormatNotes& notes) {
  if (!store.file || !store.header) return;
  const auto numLevels = std::max<std::int64_t>(std::ssize(store.header->levels), 1);
  tagXNote list{.name = "storeLevels", .kind = tagXNote::kList};
  for (const tagXTileLevel& level : store.header->levels) {
    const TileShare share = CountEmptyTiles(*store.file, level, kMaxBytesLookedAt / numLevels);
    list.parts.push_back(NoteOf(level, share));
    std::string line = "level " + Text(level.level);
    line.resize(std::max<std::size_t>(line.size(), 11), ' ');
    line += share.total > 0 ? TellTiles(level, samples) + ", " + TellEmpty(share) : " no tiles";
    notes.lines.emplace_back(line.c_str());
  }
  notes.values.push_back(std::move(list));
}

}  // namespace zrk
