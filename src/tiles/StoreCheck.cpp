// What can be wrong with a store of the globe before its tiles are understood: the header, the levels, and where the
// tiles lie in the file.
//
// A check trusts nothing. Tiles are looked at where their level has a possible place and size, and only as far as they
// lie inside the file. Altogether no more is read than the file has bytes, whatever ranges and levels it claims.

#include "tiles/StoreCheck.h"

#include "tiles/TileFile.h"
#include "tiles/TilePlace.h"
#include "XLimits.h"
#include "XThread.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace zrk {
namespace {

constexpr int kMaxLevel = 30;  // rows and columns of higher ones need more than 31 bits

class GlobeStoreCheck {
 public:
  GlobeStoreCheck(const TileFile& file, const StoreHeader& header, const StoreCheckPlan& plan, StoreFindings& findings)
      : file_(file), header_(header), plan_(plan), findings_(findings) {}

  void CheckHeader() {
    const auto room = static_cast<int>(CountLevelRecords(plan_.kind, kStoreHeaderBytes));
    if (!std::isfinite(header_.version) || header_.version <= 0.0) findings_.Add("The version is %g", header_.version);
    if (!std::isfinite(header_.tileSize) || header_.tileSize <= 0.0) {
      findings_.Add("The tile size of level 0 is %g degrees", header_.tileSize);
    }
    if (header_.headerSize != kStoreHeaderBytes) {
      findings_.Add("The header says that it has %d %s; it has %d", header_.headerSize,
                    WordFor(header_.headerSize, "byte", "bytes"), kStoreHeaderBytes);
    }
    if (header_.numStated < 0 || header_.numStated > room) {
      findings_.Add("The header says that there are %d levels; it has room for %d", header_.numStated, room);
    }
    if (header_.fileSize != file_.GetFileBytes()) {
      findings_.Add("The header says that the file has %lld bytes; it has %lld",
                    static_cast<long long>(header_.fileSize), static_cast<long long>(file_.GetFileBytes()));
    }
  }

  void CheckLevels() {
    std::set<int> numbers;
    for (const tagXTileLevel& level : header_.levels) {
      if (!numbers.insert(level.level).second)
        findings_.Add("Level %d is there twice; the first one counts", level.level);
      if (CheckLevel(level)) sound_.push_back(&level);
    }
    CheckGaps(numbers);
    CheckOverlaps();
  }

  /// False after a stop.
  bool CheckTiles(XThread* thread) {
    bytesLeft_ = file_.GetFileBytes();
    for (const tagXTileLevel* level : sound_) {
      if (!CheckTilesOf(*level, thread)) return false;
    }
    if (bytesLeft_ < 0) findings_.Add("Levels share their tiles, and not all of them were looked at");
    return true;
  }

 private:
  /// Whether the tiles of the level can be looked at.
  bool CheckLevel(const tagXTileLevel& level) {
    if (level.level < 0 || level.level > kMaxLevel) {
      findings_.Add("Level %d: levels go from 0 to %d", level.level, kMaxLevel);
    }
    if (level.urRow < level.llRow || level.urCol < level.llCol) {
      findings_.Add("Level %d: the range is inverted: rows %d to %d, columns %d to %d", level.level, level.llRow,
                    level.urRow, level.llCol, level.urCol);
    } else if (!LiesOnTheGlobe(level)) {
      findings_.Add("Level %d: rows %d to %d and columns %d to %d reach beyond the globe", level.level, level.llRow,
                    level.urRow, level.llCol, level.urCol);
    }
    const std::int64_t needed = plan_.tileBytes(header_, level);
    if (needed != level.storageSize || needed <= 0) {
      findings_.Add("Level %d: a tile of %d by %d has %d %s; it needs %lld", level.level, level.tileWidth,
                    level.tileHeight, level.storageSize, WordFor(level.storageSize, "byte", "bytes"),
                    static_cast<long long>(needed));
    }
    CheckPlace(level);
    const bool isTooLarge = level.storageSize > XfnGetLimits().decodedTileBytes;
    if (isTooLarge) findings_.Add("Level %d: tiles are larger than the limits allow", level.level);
    return needed == level.storageSize && needed > 0 && !isTooLarge &&
           level.startPos >= static_cast<std::uint64_t>(kStoreHeaderBytes);
  }

  /// The exporter of images adds a row and a column beyond the last where a range reaches the rim of the globe.
  bool LiesOnTheGlobe(const tagXTileLevel& level) const {
    constexpr double kSlack = 1e-9;
    const double size = level.tileSize, beyond = plan_.kind == StoreKind::kImage ? 0.0 : 1.0;
    return level.llRow >= 0 && level.llCol >= 0 && (level.urRow + beyond) * size <= 180.0 + kSlack &&
           (level.urCol + beyond) * size <= 360.0 + kSlack;
  }

  void CheckPlace(const tagXTileLevel& level) {
    if (level.startPos < static_cast<std::uint64_t>(kStoreHeaderBytes)) {
      findings_.Add("Level %d: its tiles begin in the header, at byte %llu", level.level,
                    static_cast<unsigned long long>(level.startPos));
    }
    const std::int64_t bytes = CountTileBytes(level);
    const std::int64_t fileBytes = file_.GetFileBytes();
    const bool isInside = level.startPos <= static_cast<std::uint64_t>(fileBytes) &&
                          bytes <= fileBytes - static_cast<std::int64_t>(level.startPos);
    if (!isInside) {
      findings_.Add("Level %d: tiles lie behind the end of the file: %lld %s from byte %llu on", level.level,
                    static_cast<long long>(bytes), WordFor(bytes, "byte", "bytes"),
                    static_cast<unsigned long long>(level.startPos));
    }
  }

  void CheckGaps(const std::set<int>& numbers) {
    for (auto one = numbers.begin(); one != numbers.end() && std::next(one) != numbers.end(); ++one) {
      const std::int64_t missing = std::int64_t{*std::next(one)} - *one - 1;
      if (missing > 0)
        findings_.Add("%lld %s missing between level %d and level %d", static_cast<long long>(missing),
                      WordFor(missing, "level is", "levels are"), *one, *std::next(one));
    }
  }

  void CheckOverlaps() {
    std::vector<const tagXTileLevel*> byPlace;
    for (const tagXTileLevel& level : header_.levels) {
      if (CountTileBytes(level) > 0) byPlace.push_back(&level);
    }
    std::ranges::stable_sort(byPlace, {}, &tagXTileLevel::startPos);
    for (std::size_t i = 1; i < byPlace.size(); ++i) {
      const tagXTileLevel& before = *byPlace[i - 1];
      const auto bytes = static_cast<std::uint64_t>(CountTileBytes(before));
      if (bytes > byPlace[i]->startPos - before.startPos) {
        findings_.Add("The tiles of the levels %d and %d overlap in the file", before.level, byPlace[i]->level);
      }
    }
  }

  bool CheckTilesOf(const tagXTileLevel& level, XThread* thread) {
    if (CountTiles(level) == 0) return true;  // rows without columns would be walked for nothing
    for (std::int64_t row = level.llRow; row <= level.urRow; ++row) {
      if (thread) {
        if (XfnIsStopRequested(thread->GetStatePtr())) return false;
        const auto begin = OffsetOfTile(level, static_cast<int>(row), level.llCol);
        thread->CallbackPercent(100.0 * static_cast<double>(begin.value_or(0)) /
                                static_cast<double>(std::max<std::int64_t>(file_.GetFileBytes(), 1)));
      }
      for (std::int64_t col = level.llCol; col <= level.urCol; ++col) {
        const StoreTilePlace place{level.level, static_cast<int>(row), static_cast<int>(col)};
        const auto tile = file_.Find(level, place.row, place.col);
        if (!tile || bytesLeft_ < 0) return true;  // what follows lies behind the end as well
        CheckTile(level, place, *tile);
      }
    }
    return true;
  }

  void CheckTile(const tagXTileLevel& level, const StoreTilePlace& place, const TileBytes& tile) {
    bytesLeft_ -= tile.count;
    bytes_.resize(static_cast<std::size_t>(tile.count));
    if (file_.Read(tile, bytes_.data()) != tile.count) {
      findings_.Add("Level %d, row %d, column %d: the tile can't be read", place.level, place.row, place.col);
      return;
    }
    const bool isEmpty = std::ranges::all_of(bytes_, [](unsigned char byte) { return byte == 0; });
    findings_.CountTile(isEmpty);
    if (!isEmpty) plan_.checkTile(level, place, bytes_);
  }

  const TileFile& file_;
  const StoreHeader& header_;
  const StoreCheckPlan& plan_;
  StoreFindings& findings_;
  std::vector<const tagXTileLevel*> sound_;  // their tiles can be looked at
  std::int64_t bytesLeft_ = 0;               // below 0 where more was read than the file has
  std::vector<unsigned char> bytes_;
};

}  // namespace

int CheckGlobeStore(const XString& path, const StoreCheckPlan& plan, StoreFindings& findings, XString& err,
                    XThread* thread) {
  const auto file = TileFile::Open(path, 0);
  if (!file) {
    err = "The store can't be opened";
    return 0;
  }
  const auto header = file->ReadHeader(plan.kind);
  if (!header) {
    err = "The file has no header of a tile store";
    return 0;
  }
  GlobeStoreCheck check(*file, *header, plan, findings);
  check.CheckHeader();
  check.CheckLevels();
  if (plan.begin) plan.begin(*header);
  return check.CheckTiles(thread) ? 1 : 0;
}

}  // namespace zrk
