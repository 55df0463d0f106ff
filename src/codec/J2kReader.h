#pragma once

#include "codec/J2kHeaderReader.h"
#include "codec/J2kIndexReader.h"
#include "codec/J2kPackedHeads.h"
#include "codec/J2kStream.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace zrk {

/// An open codestream: a range of a file, its main header, and where its tile-parts lie, which is found out at the
/// first read. Any number of threads may use it at once.
class J2kReader {
 public:
  /// Reads the main header of the codestream from `offset` of the file up to `end`. Null, with the reason in `err`,
  /// where that can't be.
  static std::shared_ptr<J2kReader> Open(std::shared_ptr<DiskFile> file, std::int64_t offset, std::int64_t end,
                                         XString& err);

  const J2kHeader& GetHeader() const { return header_; }
  std::int64_t GetOffset() const { return offset_; }
  std::int64_t GetEnd() const { return end_; }
  /// The index, made at the first call; null where the disk fails.
  std::shared_ptr<const J2kIndex> GetIndex();

  /// The bytes that may hold the heads of a tile's packets.
  struct HeadBytes {
    std::int64_t inData = 0;               ///< with the packets themselves
    std::int64_t numInHeaders = 0;         ///< of the codestream and of the tile-parts
    std::vector<unsigned char> inHeaders;  ///< these bytes; none where there are too many to keep
    bool areInHeaders = false;

    std::int64_t Count() const { return areInHeaders ? numInHeaders : inData; }
    bool AreKept() const { return std::ssize(inHeaders) == numInHeaders; }
  };
  /// A tile of the codestream as a codestream of its own.
  struct Tile {
    std::unique_ptr<J2kStream> stream;  ///< null for a tile that is missing
    J2kTileCoding coding;               ///< of this tile
    std::int64_t numBytes = 0;          ///< of its tile-parts
    HeadBytes heads;                    ///< looked for by strict reads alone
  };
  /// What is asked for.
  struct TileWish {
    int tile = 0;
    int level = 0;
    bool isStrict = true;
    const int* cancel = nullptr;
  };
  /// Makes the codestream of a tile, to be decoded at a level. Packets that the level does not need are left out where
  /// the header lists their lengths. Where the wish is strict, a tile that is missing or not whole fails, and so does a
  /// list of lengths that is wrong. Returns 1, or 0 with the reason in `err`. The word behind `cancel` makes it end
  /// sooner, with a codestream that may hold more packets than are needed.
  int OpenTile(const TileWish& wish, Tile& result, XString& err);

 private:
  /// What becomes of reading the header of a tile-part.
  enum class HeaderFound { kRead, kDamaged, kDiskFailed };
  /// The outcome of a search for the packets that a level needs. `kNotListed`: no list of lengths applies.
  enum class PacketsFound { kAdded, kNotListed, kListedWrongly };
  /// The packets of a tile-part that a level needs.
  struct NeededPackets {
    std::int64_t offset = 0;             // of the first one in the file
    std::int64_t numBytes = 0;           // from the beginning of the part to the end of the last one
    std::vector<std::uint32_t> lengths;  // of each
  };

  J2kReader() = default;

  std::optional<std::vector<J2kTilePart>> FindParts(int tile);
  std::shared_ptr<const J2kIndex> MakeIndex(bool mayTakeList);
  bool Holds(std::vector<J2kTilePart>& parts);
  std::vector<unsigned char> MakeTileHeader(int tile) const;
  void AddPackedHeads(const std::vector<J2kTilePart>& parts, std::vector<unsigned char>& header) const;
  bool ArePackedHeadsWhole(const J2kIndex& index) const;
  int AddParts(const std::vector<J2kTilePart>& parts, Tile& result, XString& err);
  HeaderFound ReadPartHeader(const J2kTilePart& part, std::vector<unsigned char>& header);
  HeaderFound ReadTileCoding(const J2kTilePart& first, bool isStrict, Tile& result);
  HeaderFound CheckLaterParts(const std::vector<J2kTilePart>& parts, bool isStrict, Tile& result);
  void CountHeads(const J2kTilePart& part, std::span<const unsigned char> header, std::span<const J2kSegment> segments,
                  HeadBytes& heads) const;
  int MakeStream(const std::vector<J2kTilePart>& parts, const TileWish& wish, Tile& result, XString& err);
  PacketsFound ListPackets(const J2kTilePart& part, NeededPackets& packets);
  PacketsFound FindNeededPackets(const std::vector<J2kTilePart>& parts, std::int64_t numNeeded,
                                 std::vector<NeededPackets>& found);
  PacketsFound CheckLengths(const std::vector<NeededPackets>& found, const TileWish& wish, const Tile& result);
  PacketsFound AddNeededPackets(const std::vector<J2kTilePart>& parts, const TileWish& wish, Tile& result);

  std::shared_ptr<DiskFile> file_;
  std::int64_t offset_ = 0;
  std::int64_t end_ = 0;
  J2kHeader header_;
  J2kPackedHeads packedHeads_;
  std::mutex mutex_;
  std::shared_ptr<const J2kIndex> index_;  // guarded by the mutex; what it points to never changes
};

}  // namespace zrk
