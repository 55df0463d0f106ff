// One handle on a file, and memory for one decoded block. This source meets all kinds of damage: tags that changed
// after the file was planned, packed bytes too few for what they promise, and codecs that leave a block half done. The
// memory is cleared before libtiff writes to it, so that bytes that a codec leaves out are 0.
//
// A block comes out in one of four ways: as packed samples, as colours that libtiff made, as the first row of a tall
// bilevel strip, or as bytes of the file that libtiff never sees.
//
// The memory grows to the largest block that was asked for and is kept, so that reading block after block allocates
// once.

#include "bands/tiff/TiffDecoder.h"

#include "bands/tiff/TiffColours.h"
#include "base/Checked.h"
#include "math/Interleave.h"
#include "XLimits.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zrk {
namespace {

constexpr std::int64_t kColourBytes = 4;

/// The largest piece of memory that libtiff may ask for. It has tables and packed bytes beside blocks, and for colours
/// it holds a block of each.
std::int64_t GetMostHandleBytes(const TiffSource& source) {
  return TiffHandle::kTableBytes + (source.layout.isRgba ? 6 : 2) * source.blockBytes;
}

tmsize_t GetBlockBytes(TIFF* tiff) {
  return TIFFIsTiled(tiff) ? TIFFTileSize(tiff) : TIFFStripSize(tiff);
}

/// The most bytes that one packed byte can stand for, or more, for codes of which that is known.
std::int64_t GetMostExpansion(int compression) {
  switch (compression) {
    case COMPRESSION_NONE:
      return 1;
    case COMPRESSION_PACKBITS:
      return 64;
    case COMPRESSION_LZW:
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_JPEG:
      return 4096;
    case COMPRESSION_ZSTD:
    case COMPRESSION_LZMA:
      return 65536;
    default:
      return INT64_MAX;
  }
}

/// Whether a block can come out of those of its packed bytes that the file has. No memory is taken for a promise that
/// can't be kept.
bool CanHold(std::uint64_t packedBytes, std::int64_t fileBytes, std::int64_t numBytes, int compression) {
  const std::uint64_t available =
      std::min(packedBytes, static_cast<std::uint64_t>(std::max<std::int64_t>(fileBytes, 0)));
  return numBytes / GetMostExpansion(compression) <= static_cast<std::int64_t>(available);
}

bool IsDeflate(int compression) {
  return compression == COMPRESSION_DEFLATE || compression == COMPRESSION_ADOBE_DEFLATE;
}

/// The tags as they were when the file was planned, apart from what the plan changes.
bool HasTagsOf(const TiffLayout& layout, TIFF* tiff) {
  TiffTags tags = ReadTiffTags(tiff);
  tags.photometric = layout.tags.photometric;
  return tags == layout.tags;
}

}  // namespace

TiffDecoder::TiffDecoder(std::shared_ptr<const TiffSource> source, std::shared_ptr<TiffMessages> messages,
                         std::unique_ptr<TiffHandle> handle)
    : source_(std::move(source)),
      messages_(std::move(messages)),
      handle_(std::move(handle)),
      unpacker_(handle_->Get(), *source_) {}

std::unique_ptr<TiffDecoder> TiffDecoder::Open(std::shared_ptr<const TiffSource> source) {
  // Whoever looks out for damage must not hear of other threads' blocks.
  auto messages = std::make_shared<TiffMessages>(source->messages);
  std::unique_ptr<TiffHandle> handle =
      TiffHandle::Open(source->file->Share(), source->name, messages, GetMostHandleBytes(*source));
  if (!handle || (source->directory && !TIFFSetSubDirectory(handle->Get(), source->directory))) return nullptr;
  // The file may have been written to since it was planned. Other tags would make another plan.
  if (!HasTagsOf(source->layout, handle->Get())) return nullptr;
  AskForRgb(handle->Get(), source->layout.tags);
  if (GetBlockBytes(handle->Get()) != source->blockBytes) return nullptr;
  return std::unique_ptr<TiffDecoder>(new TiffDecoder(std::move(source), std::move(messages), std::move(handle)));
}

/// Vector code of libjpeg writes past the processor's caches where a row begins at a multiple of 32 bytes, as if nobody
/// read it soon. What is decoded here is sampled at once, and so it begins at none.
unsigned char* TiffDecoder::MakeRoom(std::vector<unsigned char>& room, std::int64_t numBytes) {
  constexpr std::size_t kLine = 64, kBehindLine = 16;
  const std::size_t size = static_cast<std::size_t>(numBytes) + kLine;
  if (room.size() < size) room.resize(size);
  return room.data() + ((kBehindLine - reinterpret_cast<std::uintptr_t>(room.data())) & (kLine - 1));
}

bool TiffDecoder::BeginAnew() {
  TIFF* const tiff = handle_->Get();
  const std::uint64_t directory = source_->directory;
  const bool isOpen = directory ? TIFFSetSubDirectory(tiff, directory) : TIFFSetDirectory(tiff, 0);
  if (!isOpen || !HasTagsOf(source_->layout, tiff)) return false;
  AskForRgb(tiff, source_->layout.tags);
  return true;
}

std::optional<std::int64_t> TiffDecoder::FindPlainBlock(int block, std::int64_t fileBytes) {
  const auto number = static_cast<std::uint32_t>(block);
  // A file leaves a block out by giving it no bytes.
  if (TIFFGetStrileByteCount(handle_->Get(), number) == 0) return std::nullopt;
  const auto offset = static_cast<std::int64_t>(TIFFGetStrileOffset(handle_->Get(), number));
  if (!FitsWithin(offset, source_->BytesInFile(block), fileBytes)) return std::nullopt;
  return offset;
}

bool TiffDecoder::IsThere(int block) {
  const std::uint64_t packedBytes = TIFFGetStrileByteCount(handle_->Get(), static_cast<std::uint32_t>(block));
  if (packedBytes == 0) return false;
  return CanHold(packedBytes, source_->file->File().Size(), source_->BytesInFile(block),
                 source_->layout.tags.compression);
}

/// A decoder that meets damage may leave bytes as they are, and so all of them begin as 0. libtiff has its word on what
/// is damaged, whether it is needed or not: exact reads tell it.
bool TiffDecoder::DecodeInto(int block, unsigned char* room) {
  const auto number = static_cast<std::uint32_t>(block);
  const std::int64_t numBytes = source_->BytesInFile(block);
  const auto size = static_cast<std::size_t>(numBytes), blockSize = static_cast<std::size_t>(source_->blockBytes);
  using Result = TiffUnpacker::Result;
  const Result result = unpacker_.Decode(handle_->Get(), block, {room, blockSize}, numBytes);
  std::memset(room + size, 0, blockSize - size);
  if (result == Result::kDone || result == Result::kUnread) return result == Result::kDone;
  std::memset(room, 0, size);
  // Only where a whole tile is asked for is the sum behind a Deflate stream compared.
  const bool isWhole = source_->layout.isExact && IsDeflate(source_->layout.tags.compression);
  const std::int64_t tileBytes = isWhole ? source_->blockBytes : numBytes;
  const tmsize_t got = source_->layout.tags.isTiled ? TIFFReadEncodedTile(handle_->Get(), number, room, tileBytes)
                                                    : TIFFReadEncodedStrip(handle_->Get(), number, room, numBytes);
  return source_->layout.isExact ? got >= numBytes && result != Result::kDamaged : got >= 0;
}

/// libtiff's decoder of old JPEG finds its bytes by other tags. A block never lies where the file's head is. A table
/// that has too few entries is filled up with zeros, of which libtiff warns when it first looks into it.
TiffPresence TiffDecoder::Look(int block, std::int64_t fileBytes) {
  constexpr std::uint64_t kHeadBytes = 8;
  if (source_->layout.tags.compression == COMPRESSION_OJPEG) return TiffPresence::kThere;
  const auto number = static_cast<std::uint32_t>(block);
  int isLost = 0, isOffsetLost = 0;
  messages_->Watch();
  const std::uint64_t packedBytes = TIFFGetStrileByteCountWithErr(handle_->Get(), number, &isLost);
  const std::uint64_t offset = TIFFGetStrileOffsetWithErr(handle_->Get(), number, &isOffsetLost);
  if (isLost || isOffsetLost) return TiffPresence::kCut;
  XString warning;
  isTableDoubtful_ |= messages_->HasDamage(warning);
  if (packedBytes == 0) return isTableDoubtful_ ? TiffPresence::kCut : TiffPresence::kMissing;
  const std::int64_t numBytes = source_->BytesInFile(block);
  const bool isWhole = source_->isPlain
                           ? packedBytes >= static_cast<std::uint64_t>(numBytes) && FindPlainBlock(block, fileBytes)
                           : CanHold(packedBytes, fileBytes, numBytes, source_->layout.tags.compression);
  return isWhole && offset >= kHeadBytes ? TiffPresence::kThere : TiffPresence::kCut;
}

/// No memory is taken for a block that is not there. A block of which libtiff has told damage is not kept, so that
/// every read of it hears of the damage.
template <class HasBlock, class Decode>
const unsigned char* TiffDecoder::FindOrDecode(std::int64_t number, std::int64_t numBytes, HasBlock&& hasBlock,
                                               Decode&& decode) {
  LetGo();
  BlockClaim claim(source_->isPlain ? nullptr : &source_->blocks, number);
  if (!claim.IsDecoded()) {
    if (!hasBlock()) return nullptr;
    const std::shared_ptr<BlockRoom> kept = claim.MakeRoom(numBytes);
    unsigned char* const room = kept ? kept->Get() : MakeRoom(room_, numBytes);
    const std::int64_t numDamages = messages_->CountDamage();
    if (!decode(room, kept != nullptr)) return nullptr;
    if (!kept) return room;
    if (messages_->CountDamage() == numDamages) claim.Keep();
  }
  held_ = claim.GetRoom();
  return held_->Get();
}

/// Blocks that are kept are read more often than they are decoded, mostly a band at a time. In planes a band's samples
/// are rows to copy.
bool TiffDecoder::DecodePlanes(int block, unsigned char* planes) {
  unsigned char* const packed = MakeRoom(room_, source_->blockBytes);
  if (!DecodeInto(block, packed)) return false;
  const TiffTags& tags = source_->layout.tags;
  const std::int64_t planeBytes = source_->blockBytes / tags.samplesPerPixel;
  std::vector<unsigned char*> starts(static_cast<std::size_t>(tags.samplesPerPixel));
  for (std::size_t i = 0; i < starts.size(); ++i) starts[i] = planes + static_cast<std::int64_t>(i) * planeBytes;
  const std::size_t numPixels = std::size_t{tags.blockWidth} * tags.blockHeight;
  SplitSamples(packed, numPixels, tags.samplesPerPixel, tags.bitsPerSample / 8, starts.data());
  return true;
}

const unsigned char* TiffDecoder::DecodePacked(int block) {
  LetGo();
  if (!IsThere(block)) return nullptr;
  unsigned char* const room = MakeRoom(room_, source_->blockBytes);
  return DecodeInto(block, room) ? room : nullptr;
}

std::optional<TiffRows> TiffDecoder::DecodeBlock(int block) {
  const bool canPart = source_->HasWholeSamples();
  const unsigned char* const bytes = FindOrDecode(
      2 * std::int64_t{block}, source_->blockBytes, [=, this] { return IsThere(block); },
      [=, this](unsigned char* room, bool isKept) {
        return isKept && canPart ? DecodePlanes(block, room) : DecodeInto(block, room);
      });
  if (!bytes) return std::nullopt;
  const int numRows = static_cast<int>(source_->layout.tags.blockHeight), numPlanes = source_->SamplesTogether();
  if (!held_ || !canPart) return TiffRows{bytes, source_->rowBytes, numRows};
  return TiffRows{bytes, source_->rowBytes / numPlanes, numRows, source_->blockBytes / numPlanes};
}

/// Colours of a block have a number of their own in the cache, because its samples can be asked for as well.
std::optional<TiffRows> TiffDecoder::DecodeColours(int blockX, int blockY) {
  const TiffTags& tags = source_->layout.tags;
  const int block = source_->BlockAt(blockX, blockY, 0);
  const std::int64_t stride = tags.blockWidth * kColourBytes;
  const unsigned char* const bytes = FindOrDecode(
      2 * std::int64_t{block} + 1, stride * tags.blockHeight,
      [=, this, &tags] { return tags.compression == COMPRESSION_OJPEG || IsThere(block); },
      [=, this](unsigned char* room, bool) { return MakeColours(blockX, blockY, room); });
  if (!bytes) return std::nullopt;
  if (IsPlainTile()) return TiffRows{bytes, stride, static_cast<int>(tags.blockHeight)};
  // libtiff gives the rows of a block bottom-up.
  const std::uint32_t below = tags.height - static_cast<std::uint32_t>(blockY) * tags.blockHeight;
  const std::uint32_t numRows = tags.isTiled ? tags.blockHeight : std::min(tags.blockHeight, below);
  return TiffRows{bytes + (numRows - 1) * stride, -stride, static_cast<int>(numRows)};
}

bool TiffDecoder::IsPlainTile() const {
  return source_->layout.tags.isTiled && source_->layout.tags.compression == COMPRESSION_NONE;
}

/// libtiff reads the tile or strip itself, but for plain tiles, whose size it rounds up and then refuses.
bool TiffDecoder::MakeColours(int blockX, int blockY, unsigned char* room) {
  if (IsPlainTile()) return ColourPlainTile(blockX, blockY, room);
  const bool isOldJpeg = source_->layout.tags.compression == COMPRESSION_OJPEG;
  return (!isOldJpeg || GoTo(source_->BlockAt(blockX, blockY, 0))) && LetColour(blockX, blockY, room);
}

/// libtiff's decoder of old JPEG goes on where it stopped, whatever block is asked for. Going back needs a fresh start.
bool TiffDecoder::GoTo(int block) {
  const bool goesOn = block == nextBlock_ || nextBlock_ < 0;
  nextBlock_ = block + 1;
  return goesOn || BeginAnew();
}

bool TiffDecoder::LetColour(int blockX, int blockY, unsigned char* room) {
  const TiffTags& tags = source_->layout.tags;
  const auto row = static_cast<std::uint32_t>(blockY) * tags.blockHeight;
  const auto column = static_cast<std::uint32_t>(blockX) * tags.blockWidth;
  const std::size_t numPixels = std::size_t{tags.blockWidth} * tags.blockHeight;
  auto* const raster = reinterpret_cast<std::uint32_t*>(room);
  std::memset(raster, 0, numPixels * sizeof *raster);
  const int stopsOnError = source_->layout.isExact;
  return (tags.isTiled ? TIFFReadRGBATileExt(handle_->Get(), column, row, raster, stopsOnError)
                       : TIFFReadRGBAStripExt(handle_->Get(), row, raster, stopsOnError)) != 0;
}

bool TiffDecoder::ColourPlainTile(int blockX, int blockY, unsigned char* room) {
  const TiffTags& tags = source_->layout.tags;
  TiffColours colours(handle_->Get());
  if (!colours) return false;
  const std::vector<int> planes = colours.GetPlanes();
  unsigned char* const samples = MakeRoom(planes_, source_->blockBytes * std::ssize(planes));
  for (std::size_t i = 0; i < planes.size(); ++i) {
    const int block = source_->BlockAt(blockX, blockY, planes[i]);
    unsigned char* const plane = samples + static_cast<std::int64_t>(i) * source_->blockBytes;
    // A plane that is missing would leave wrong colours, so the block fails with it.
    if (!IsThere(block) || !DecodeInto(block, plane)) return false;
  }
  colours.Convert(samples, source_->blockBytes, tags.blockWidth, tags.blockHeight,
                  reinterpret_cast<std::uint32_t*>(room));
  return true;
}

std::optional<TiffRows> TiffDecoder::DecodeFirstRow() {
  // libtiff reads rows in order and goes on from the last one, so the first row needs a fresh start.
  if (!source_->layout.isBilevel || !BeginAnew()) return std::nullopt;
  TIFF* const tiff = handle_->Get();
  const tmsize_t rowBytes = TIFFScanlineSize(tiff);
  if (rowBytes < source_->rowBytes || rowBytes > XfnGetLimits().decodedTileBytes) return std::nullopt;
  unsigned char* const room = MakeRoom(room_, rowBytes);
  std::memset(room, 0, static_cast<std::size_t>(rowBytes));
  if (TIFFReadScanline(tiff, room, 0, 0) == -1) return std::nullopt;
  return TiffRows{room, source_->rowBytes, 1};
}

RowReader::Fetched TiffDecoder::FetchRows(const RowReader& reader, const FileRows& rows, std::int64_t pitch) {
  return reader.Fetch(rows, pitch, MakeRoom(room_, RowReader::CountRoomBytes(rows, pitch)));
}

}  // namespace zrk
