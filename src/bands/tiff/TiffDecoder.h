#pragma once

#include "bands/tiff/TiffSource.h"
#include "bands/tiff/TiffUnpacker.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace zrk {

/// Rows of pixels in memory, the first one at `data`.
struct TiffRows {
  const unsigned char* data = nullptr;
  std::int64_t stride = 0;  ///< bytes to the next row; negative where they lie bottom-up
  int numRows = 0;
  /// From the rows of one sample to those of the next, where each has a plane of its own; 0 where samples lie together
  /// as in the file.
  std::int64_t planeBytes = 0;
};

/// What can be told of a block before it is decoded.
enum class TiffPresence {
  kMissing,  ///< the file leaves it out
  kCut,      ///< the file can't hold all of it
  kThere
};

/// A handle of its own on the file, and room for one decoded block. For one thread at a time.
class TiffDecoder {
 public:
  /// Returns null where the file can't be opened any more, or is another one than it was.
  static std::unique_ptr<TiffDecoder> Open(std::shared_ptr<const TiffSource> source);

  const TiffSource& GetSource() const { return *source_; }

  /// Where a plain block lies; nothing where the file leaves it out, or where not all of it is in a file of
  /// `fileBytes`.
  std::optional<std::int64_t> FindPlainBlock(int block, std::int64_t fileBytes);

  // For exact reads.

  TiffPresence Look(int block, std::int64_t fileBytes);
  /// Begins to look out for what libtiff says of damage.
  void WatchDamage() { messages_->Watch(); }
  /// Whether it has told of damage since. Its words are in `text`.
  bool HasDamage(XString& text) const { return messages_->HasDamage(text); }

  // The following answer nothing where the block can't be read, and otherwise bytes that stay until the next call or
  // until they are let go. Bytes of blocks are those of the cache where it has them or has memory for them, and so
  // nobody may write to them.

  /// A block; rows below the image are 0. Whole samples of interleaved pixels may come in planes.
  std::optional<TiffRows> DecodeBlock(int block);
  /// The same as libtiff packs it, `TiffSource::blockBytes` long. The cache has no part in it.
  const unsigned char* DecodePacked(int block);
  /// A block as bytes of red, green, blue and alpha.
  std::optional<TiffRows> DecodeColours(int blockX, int blockY);
  /// The first row of a bilevel image.
  std::optional<TiffRows> DecodeFirstRow();
  /// Lets a block of the cache go, which may then make room for others.
  void LetGo() { held_.reset(); }
  /// Rows of the file; as `RowReader::Fetch`.
  RowReader::Fetched FetchRows(const RowReader& reader, const FileRows& rows, std::int64_t pitch);

 private:
  TiffDecoder(std::shared_ptr<const TiffSource> source, std::shared_ptr<TiffMessages> messages,
              std::unique_ptr<TiffHandle> handle);

  /// Reads the directory again, so that nothing is left of what was decoded before.
  bool BeginAnew();
  bool GoTo(int block);
  static unsigned char* MakeRoom(std::vector<unsigned char>& room, std::int64_t numBytes);
  /// Whether the file holds a block, as far as can be told without decoding it.
  bool IsThere(int block);
  bool DecodeInto(int block, unsigned char* room);
  bool DecodePlanes(int block, unsigned char* planes);
  /// The bytes of a block by its number in the cache: out of the cache or, where `hasBlock()`, as
  /// `decode(room, isKept)` makes them.
  template <class HasBlock, class Decode>
  const unsigned char* FindOrDecode(std::int64_t number, std::int64_t numBytes, HasBlock&& hasBlock, Decode&& decode);
  bool IsPlainTile() const;
  bool MakeColours(int blockX, int blockY, unsigned char* room);
  bool LetColour(int blockX, int blockY, unsigned char* room);
  bool ColourPlainTile(int blockX, int blockY, unsigned char* room);

  std::shared_ptr<const TiffSource> source_;
  std::shared_ptr<TiffMessages> messages_;  // of the handle
  std::unique_ptr<TiffHandle> handle_;
  TiffUnpacker unpacker_;
  std::vector<unsigned char> room_;
  std::shared_ptr<const BlockRoom> held_;  // of the cache, whose bytes were answered last
  std::vector<unsigned char> planes_;      // of a block whose colours are made
  bool isTableDoubtful_ = false;           // of blocks, by what libtiff said of it
  int nextBlock_ = -1;                     // where old JPEG goes on; -1 before the first
};

}  // namespace zrk
