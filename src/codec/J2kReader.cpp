// A tile of a codestream is made a codestream of its own, so that a window of an image costs what its tiles cost,
// however many others there are. A decoder that is given the whole file would pass over all tiles in front of the one
// that it wants, and keep a record of each.
//
// All coordinates of a codestream are those of one reference grid, and nothing of a tile depends on other tiles. So the
// new codestream has the main header with the image cut to the tile, and the parts of the tile, which get the number 0.
// Lists of lengths and comments are left out. Heads of packets that the main header holds for all tile-parts (PPM) are
// replaced by those of the tile's own parts; `J2kPackedHeads` has taken them apart.
//
// A part that the file cuts short is filled up with zeros where it is to be decoded as far as it goes. The decoder has
// a mode for such parts, but reads outside of its memory in it.
//
// The list of tile-parts in a main header is believed until a part turns out not to lie where it says. The codestream
// is walked through then, once.

#include "codec/J2kReader.h"

#include "base/Cursor.h"
#include "base/Disk.h"
#include "codec/J2kCost.h"
#include "codec/J2kPacketReader.h"
#include "codec/J2kPacketWalk.h"
#include "codec/Jp2Boxes.h"

#include <algorithm>
#include <initializer_list>
#include <map>
#include <numeric>
#include <utility>

namespace zrk {
namespace {

constexpr std::uint16_t kMarkerComponentSteps = 0xFF5D;   // QCC
constexpr std::uint16_t kMarkerPackedPartHeads = 0xFF61;  // PPT
constexpr std::size_t kMostParts = 255;                   // of one tile
constexpr std::size_t kMaxPartHeaderBytes = 4 << 20;
constexpr std::int64_t kMostKeptHeadBytes = 16 << 20;  // heads of some million code blocks

/// The segments of a main header that a tile's own codestream needs: those that say how samples are coded. In the order
/// of their markers: CAP, SIZ, COD, COC, RGN, QCD, QCC, POC, MCT, MCC, MCO and CBD.
constexpr std::uint16_t kKeptMarkers[] = {0xFF50, 0xFF51, 0xFF52, 0xFF53, 0xFF5E, 0xFF5C,
                                          0xFF5D, 0xFF5F, 0xFF74, 0xFF75, 0xFF77, 0xFF78};

using CodeBytes = std::vector<unsigned char>;

void PutBig(CodeBytes& bytes, std::size_t offset, std::uint32_t value, int count) {
  for (int i = 0; i < count; ++i) {
    bytes[offset + static_cast<std::size_t>(i)] = static_cast<unsigned char>(value >> (8 * (count - 1 - i)));
  }
}

void AppendBig(CodeBytes& bytes, std::uint32_t value, int count) {
  bytes.resize(bytes.size() + static_cast<std::size_t>(count));
  PutBig(bytes, bytes.size() - static_cast<std::size_t>(count), value, count);
}

/// The head of a part of the only tile.
CodeBytes MakePartHead(std::int64_t numBytes, std::size_t number, std::size_t count) {
  CodeBytes head;
  AppendBig(head, kMarkerTilePart, 2);
  AppendBig(head, 10, 2);
  AppendBig(head, 0, 2);
  AppendBig(head, static_cast<std::uint32_t>(numBytes), 4);
  AppendBig(head, static_cast<std::uint32_t>(number), 1);
  AppendBig(head, static_cast<std::uint32_t>(count), 1);
  return head;
}

bool HoldsAny(std::span<const J2kSegment> segments, std::initializer_list<std::uint16_t> markers) {
  return std::ranges::any_of(segments, [&](const J2kSegment& segment) {
    return std::find(markers.begin(), markers.end(), segment.marker) != markers.end();
  });
}

/// Whether what is said of one component stands in front of what is said of all.
bool IsOutOfOrder(std::span<const J2kSegment> segments) {
  const auto one = std::ranges::find(segments, kMarkerComponentCoding, &J2kSegment::marker);
  return std::find_if(one, segments.end(), [](const J2kSegment& segment) { return segment.marker == kMarkerCoding; }) !=
         segments.end();
}

/// What a part that is cut short lacks. Packets that are missing are zeros then, which is how an empty packet begins. A
/// part may claim any length, and one that is open claims none.
std::int64_t CountMissing(const J2kTilePart& part, std::int64_t numBytes) {
  constexpr std::int64_t kMost = 16 << 20, kLeast = 1 << 16;
  const std::int64_t bound = std::clamp(4 * numBytes, kLeast, kMost);
  return part.isOpen ? bound : std::min(part.numBytes - numBytes, bound);
}

/// Whether no part of a tile is missing. A head tells how many parts its tile has, or leaves that open. Where all leave
/// it open, only the end of a whole codestream says that no more follow.
bool HasAllParts(const std::vector<J2kTilePart>& parts, bool isCodestreamWhole) {
  int told = 0, number = 0;
  for (const J2kTilePart& part : parts) {
    if (part.number != number++) return false;
    told = std::max(told, part.numParts);
  }
  return told > 0 ? told == number : isCodestreamWhole;
}

int RefuseTile(XString& err, const char* sentence, int tile) {
  err.Format(sentence, tile);
  return 0;
}

}  // namespace

std::shared_ptr<J2kReader> J2kReader::Open(std::shared_ptr<DiskFile> file, std::int64_t offset, std::int64_t end,
                                           XString& err) {
  std::shared_ptr<J2kReader> reader(new J2kReader);
  if (!ReadJ2kHeader(*file, offset, end, reader->header_, err)) return nullptr;
  if (!IsPlausible(reader->header_, end - offset)) {
    err = "The codestream is too short for its tiles and components";
    return nullptr;
  }
  reader->file_ = std::move(file);
  reader->offset_ = offset;
  reader->end_ = end;
  reader->packedHeads_.Take(reader->header_);
  return reader;
}

std::shared_ptr<const J2kIndex> J2kReader::MakeIndex(bool mayTakeList) {
  const std::int64_t first = offset_ + std::ssize(header_.bytes);
  auto fresh = std::make_shared<J2kIndex>();
  if (mayTakeList && fresh->TakeList(*file_, header_, first, end_)) return fresh;
  return fresh->Walk(*file_, header_, first, end_) ? fresh : nullptr;
}

std::shared_ptr<const J2kIndex> J2kReader::GetIndex() {
  const std::lock_guard lock(mutex_);
  if (!index_) index_ = MakeIndex(true);
  return index_;
}

/// Whether the parts stand where they should. They get what their heads tell.
bool J2kReader::Holds(std::vector<J2kTilePart>& parts) {
  return std::ranges::all_of(parts, [this](J2kTilePart& part) {
    J2kPartHead head;
    if (ReadJ2kPartHead(*file_, part.offset, end_, head) != J2kHeadFound::kHead || head.tile != part.tile) return false;
    part.number = head.number;
    part.numParts = head.numParts;
    return head.numBytes == 0 || head.numBytes == part.numBytes;
  });
}

/// A list that leaves a tile out, or places a part wrongly, gives way to a walk. Nothing where the disk fails.
std::optional<std::vector<J2kTilePart>> J2kReader::FindParts(int tile) {
  const auto partsIn = [tile](const J2kIndex& index) {
    return std::vector<J2kTilePart>(index.PartsOf(tile).begin(), index.PartsOf(tile).end());
  };
  const std::shared_ptr<const J2kIndex> index = GetIndex();
  if (!index) return std::nullopt;
  std::vector<J2kTilePart> parts = partsIn(*index);
  if (!index->IsFromList() || (!parts.empty() && Holds(parts))) return parts;
  const std::shared_ptr<const J2kIndex> walked = MakeIndex(false);
  if (!walked) return std::nullopt;
  const std::lock_guard lock(mutex_);
  index_ = walked;
  return partsIn(*walked);
}

/// The main header with the image cut to the tile, which becomes the first and only one.
CodeBytes J2kReader::MakeTileHeader(int tile) const {
  CodeBytes bytes(header_.bytes.begin(), header_.bytes.begin() + 2);
  // What is said of one component counts before what is said of all, in any order. Decoders take what comes last.
  for (const bool isOfOne : {false, true}) {
    for (const J2kSegment& segment : header_.segments) {
      if (std::ranges::find(kKeptMarkers, segment.marker) == std::end(kKeptMarkers)) continue;
      if (isOfOne != (segment.marker == kMarkerComponentCoding || segment.marker == kMarkerComponentSteps)) continue;
      const auto first = header_.bytes.begin() + static_cast<std::ptrdiff_t>(segment.offset);
      bytes.insert(bytes.end(), first, first + static_cast<std::ptrdiff_t>(segment.numBytes));
    }
  }
  const J2kRect rect = header_.GetTileRect(tile);
  const std::int64_t x = header_.firstTile.x0 + tile % header_.tilesAcross * header_.firstTile.Width();
  const std::int64_t y = header_.firstTile.y0 + tile / header_.tilesAcross * header_.firstTile.Height();
  // SIZ comes first, behind the marker of the codestream. Its numbers begin after its marker, its length and a profile.
  // A tile that is wider than the image can have its number of columns as it is.
  constexpr std::size_t kNumbers = 2 + 6;
  const std::int64_t numbers[] = {
      rect.x1, rect.y1, rect.x0, rect.y0, header_.firstTile.Width(), header_.firstTile.Height(), x, y};
  std::size_t offset = kNumbers;
  for (const std::int64_t number : numbers) {
    PutBig(bytes, offset, static_cast<std::uint32_t>(number), 4);
    offset += 4;
  }
  return bytes;
}

/// Whether the main header has a list of heads for each tile-part, or none at all. Damage to one list leaves it open to
/// which tile-parts the others belong, so that it counts for all tiles.
bool J2kReader::ArePackedHeadsWhole(const J2kIndex& index) const {
  if (!packedHeads_.AreThere()) return true;
  const int numLists = packedHeads_.CountParts();
  const bool areAll = index.IsWhole() ? numLists == index.CountParts() : numLists >= index.CountParts();
  return packedHeads_.AreWhole() && areAll;
}

/// Heads stand in front of their packets, or together in the main header (PPM) or in those of the tile-parts (PPT).
/// More of them than are kept are counted alone.
void J2kReader::CountHeads(const J2kTilePart& part, std::span<const unsigned char> header,
                           std::span<const J2kSegment> segments, HeadBytes& heads) const {
  constexpr std::size_t kSegmentHeadBytes = 5;
  constexpr std::int64_t kMarkBytes = 2;
  const auto add = [&heads](std::span<const unsigned char> bytes) {
    heads.areInHeaders = true;
    heads.numInHeaders += std::ssize(bytes);
    if (heads.numInHeaders > kMostKeptHeadBytes) heads.inHeaders = CodeBytes();
    if (heads.numInHeaders <= kMostKeptHeadBytes) {
      heads.inHeaders.insert(heads.inHeaders.end(), bytes.begin(), bytes.end());
    }
  };
  heads.inData += part.numBytes - J2kPartHead::kBytes - std::ssize(header) - kMarkBytes;
  if (packedHeads_.AreThere()) add(packedHeads_.ListOf(part.ordinal));
  std::map<int, J2kSegment> lists;  // by their numbers
  for (const J2kSegment& segment : segments) {
    const bool isList = segment.marker == kMarkerPackedPartHeads && segment.numBytes >= kSegmentHeadBytes;
    if (isList) lists[header[segment.offset + kSegmentHeadBytes - 1]] = segment;
  }
  for (const auto& [number, segment] : lists) {
    add(header.subspan(segment.offset + kSegmentHeadBytes, segment.numBytes - kSegmentHeadBytes));
  }
}

/// A part for which there are no heads gets an empty list.
void J2kReader::AddPackedHeads(const std::vector<J2kTilePart>& parts, CodeBytes& header) const {
  if (packedHeads_.CountParts() == 0) return;
  CodeBytes joined;
  for (const J2kTilePart& part : parts) {
    const std::span<const unsigned char> heads = packedHeads_.ListOf(part.ordinal);
    AppendBig(joined, static_cast<std::uint32_t>(heads.size()), 4);
    joined.insert(joined.end(), heads.begin(), heads.end());
  }
  constexpr std::size_t kMostBytes = 65535 - 3;
  std::uint32_t number = 0;
  for (std::size_t done = 0; done < joined.size(); ++number) {
    const std::size_t count = std::min(kMostBytes, joined.size() - done);
    AppendBig(header, kMarkerPackedHeads, 2);
    AppendBig(header, static_cast<std::uint32_t>(count + 3), 2);
    AppendBig(header, number, 1);
    const auto first = joined.begin() + static_cast<std::ptrdiff_t>(done);
    header.insert(header.end(), first, first + static_cast<std::ptrdiff_t>(count));
    done += count;
  }
}

/// The bytes between the head of a part and the marker in front of its data. Most headers are short.
J2kReader::HeaderFound J2kReader::ReadPartHeader(const J2kTilePart& part, CodeBytes& header) {
  const std::int64_t most = std::min(part.numBytes, end_ - part.offset) - J2kPartHead::kBytes;
  header.resize(static_cast<std::size_t>(std::clamp<std::int64_t>(most, 0, 4096)));
  std::size_t place = 0;
  while (file_->ReadAt(part.offset + J2kPartHead::kBytes, header.data(), std::ssize(header)) == std::ssize(header)) {
    Cursor cursor(header);
    cursor.Seek(place);
    while (!cursor.HasFailed()) {
      place = cursor.Position();
      const std::uint16_t marker = cursor.U16BE();
      if (!cursor.HasFailed() && marker == kMarkerData) {
        header.resize(place);
        return HeaderFound::kRead;
      }
      const std::size_t length = cursor.U16BE();
      if (length < 2 && !cursor.HasFailed()) return HeaderFound::kDamaged;
      cursor.Skip(length < 2 ? 0 : length - 2);
    }
    // The header goes on behind what was read: more of it is read, and the segment is looked at again.
    if (std::ssize(header) >= most || header.size() >= kMaxPartHeaderBytes) return HeaderFound::kDamaged;
    header.resize(static_cast<std::size_t>(std::min<std::int64_t>(most, std::ssize(header) * 4)));
  }
  return HeaderFound::kDiskFailed;
}

/// A tile may be coded in another way than the main header says. Its first part tells so.
J2kReader::HeaderFound J2kReader::ReadTileCoding(const J2kTilePart& first, bool isStrict, Tile& result) {
  CodeBytes header;
  const HeaderFound found = ReadPartHeader(first, header);
  if (found != HeaderFound::kRead) return found;
  std::vector<J2kSegment> segments;
  const int numComponents = static_cast<int>(header_.components.size());
  const bool isSound = ListJ2kSegments(header, 0, segments) && !IsOutOfOrder(segments) &&
                       ParseJ2kCoding(header, segments, numComponents, result.coding);
  if (isStrict) CountHeads(first, header, segments, result.heads);
  return isSound ? HeaderFound::kRead : HeaderFound::kDamaged;
}

/// Parts behind the first may not say anew how the tile is coded, and a decoder may follow them all the same.
J2kReader::HeaderFound J2kReader::CheckLaterParts(const std::vector<J2kTilePart>& parts, bool isStrict, Tile& result) {
  for (auto part = parts.begin() + 1; part != parts.end(); ++part) {
    CodeBytes header;
    std::vector<J2kSegment> segments;
    const HeaderFound found = ReadPartHeader(*part, header);
    if (found == HeaderFound::kDiskFailed) return found;
    const bool isListed = found == HeaderFound::kRead && ListJ2kSegments(header, 0, segments);
    if (isListed && HoldsAny(segments, {kMarkerCoding, kMarkerComponentCoding})) return HeaderFound::kDamaged;
    if (isStrict) CountHeads(*part, header, segments, result.heads);
  }
  return HeaderFound::kRead;
}

/// Takes the list of a part as it is.
J2kReader::PacketsFound J2kReader::ListPackets(const J2kTilePart& part, NeededPackets& packets) {
  CodeBytes header;
  std::vector<J2kSegment> segments;
  const bool isRead =
      !part.IsCut(end_) && ReadPartHeader(part, header) == HeaderFound::kRead && ListJ2kSegments(header, 0, segments);
  if (!isRead || !HoldsAny(segments, {kMarkerPacketLengths})) return PacketsFound::kNotListed;
  if (HoldsAny(segments, {kMarkerPackedPartHeads})) return PacketsFound::kNotListed;
  packets.lengths = ParsePacketLengths(header, segments);
  packets.numBytes = J2kPartHead::kBytes + std::ssize(header) + 2;
  packets.offset = part.offset + packets.numBytes;
  const std::int64_t sum = std::accumulate(packets.lengths.begin(), packets.lengths.end(), packets.numBytes);
  return sum == part.numBytes ? PacketsFound::kAdded : PacketsFound::kListedWrongly;
}

/// The first packets of a tile, as its parts list them.
J2kReader::PacketsFound J2kReader::FindNeededPackets(const std::vector<J2kTilePart>& parts, std::int64_t numNeeded,
                                                     std::vector<NeededPackets>& found) {
  for (const J2kTilePart& part : parts) {
    if (numNeeded == 0) break;
    NeededPackets& packets = found.emplace_back();
    const PacketsFound isListed = ListPackets(part, packets);
    if (isListed != PacketsFound::kAdded) return isListed;
    const auto numTaken = std::min(numNeeded, std::ssize(packets.lengths) + std::int64_t{0});
    packets.lengths.resize(static_cast<std::size_t>(numTaken));
    packets.numBytes = std::accumulate(packets.lengths.begin(), packets.lengths.end(), packets.numBytes);
    numNeeded -= numTaken;
  }
  return numNeeded == 0 ? PacketsFound::kAdded : PacketsFound::kListedWrongly;
}

/// Compares lengths with the heads of the packets. A list that is wrong by a packet would have a decoder take data of
/// one for the head of another one. A disk that fails is met again by whoever reads the whole tile.
J2kReader::PacketsFound J2kReader::CheckLengths(const std::vector<NeededPackets>& found, const TileWish& wish,
                                                const Tile& result) {
  const J2kRect rect = header_.GetTileRect(wish.tile);
  const bool canCheck = J2kPacketWalk::CanWalk(result.coding) &&
                        IsPlausible(EstimateJ2kCost(header_, result.coding, rect), result.numBytes);
  if (!canCheck) return PacketsFound::kNotListed;
  J2kPacketWalk walk(header_, result.coding, rect, wish.level, wish.cancel);
  for (const NeededPackets& packets : found) {
    const std::optional<bool> areRight = HaveLengths(*file_, packets.offset, packets.lengths, walk);
    if (!areRight) return PacketsFound::kNotListed;
    if (!*areRight) return PacketsFound::kListedWrongly;
  }
  return PacketsFound::kAdded;
}

/// Takes the packets of a level alone, where all parts list the lengths of theirs. An empty packet, which is a byte of
/// zero, stands for each of the others. Otherwise nothing is added.
J2kReader::PacketsFound J2kReader::AddNeededPackets(const std::vector<J2kTilePart>& parts, const TileWish& wish,
                                                    Tile& result) {
  const J2kRect rect = header_.GetTileRect(wish.tile);
  const std::optional<J2kPacketCount> count = CountPackets(header_, result.coding, rect, wish.level);
  if (!count || packedHeads_.CountParts() > 0 || count->needed == count->all) return PacketsFound::kNotListed;
  std::vector<NeededPackets> found;
  PacketsFound state = FindNeededPackets(parts, count->needed, found);
  if (state == PacketsFound::kAdded) state = CheckLengths(found, wish, result);
  if (state != PacketsFound::kAdded) return state;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const std::int64_t numZeros = i + 1 == found.size() ? count->all - count->needed : 0;
    result.stream->AddBytes(MakePartHead(found[i].numBytes + numZeros, i, found.size()));
    result.stream->AddRange(parts[i].offset + J2kPartHead::kBytes, found[i].numBytes - J2kPartHead::kBytes);
    result.stream->AddZeros(numZeros);
  }
  return PacketsFound::kAdded;
}

int J2kReader::AddParts(const std::vector<J2kTilePart>& parts, Tile& result, XString& err) {
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const J2kTilePart& part = parts[i];
    const std::int64_t numBytes = std::min(part.numBytes, end_ - part.offset);
    const std::int64_t numMissing = CountMissing(part, numBytes);
    if (numBytes + numMissing > UINT32_MAX) return RefuseTile(err, "A part of tile %d is too long", part.tile);
    result.stream->AddBytes(MakePartHead(numBytes + numMissing, i, parts.size()));
    result.stream->AddRange(part.offset + J2kPartHead::kBytes, numBytes - J2kPartHead::kBytes);
    result.stream->AddZeros(numMissing);
  }
  return 1;
}

/// A list of lengths that is wrong fails a strict read. Otherwise it is passed over, as decoders do.
int J2kReader::MakeStream(const std::vector<J2kTilePart>& parts, const TileWish& wish, Tile& result, XString& err) {
  result.stream = std::make_unique<J2kStream>(file_);
  CodeBytes header = MakeTileHeader(parts.front().tile);
  AddPackedHeads(parts, header);
  result.stream->AddBytes(std::move(header));
  for (const J2kTilePart& part : parts) result.numBytes += std::min(part.numBytes, end_ - part.offset);
  const PacketsFound needed = wish.level == 0 ? PacketsFound::kNotListed : AddNeededPackets(parts, wish, result);
  if (wish.isStrict && needed == PacketsFound::kListedWrongly) {
    return RefuseTile(err, "The lengths of packets that tile %d lists are wrong", parts.front().tile);
  }
  if (needed != PacketsFound::kAdded && !AddParts(parts, result, err)) return 0;
  CodeBytes mark;
  AppendBig(mark, kMarkerEnd, 2);
  result.stream->AddBytes(std::move(mark));
  return 1;
}

int J2kReader::OpenTile(const TileWish& wish, Tile& result, XString& err) {
  const int tile = wish.tile;
  const bool isStrict = wish.isStrict;
  result = {};
  std::optional<std::vector<J2kTilePart>> found = FindParts(tile);
  if (!found) return RefuseTile(err, "The disk fails in front of tile %d", tile);
  std::vector<J2kTilePart>& parts = *found;
  const bool hasAll = HasAllParts(parts, GetIndex()->IsWhole());
  if (parts.size() > kMostParts) parts.resize(kMostParts);
  // What a file that was cut holds of a part may not even be its header, which no decoder can use.
  constexpr std::int64_t kLeastBytes = 14;
  const bool isCut = std::ranges::any_of(parts, [this](const J2kTilePart& part) { return part.IsCut(end_); });
  std::erase_if(parts, [this](const J2kTilePart& part) { return end_ - part.offset < kLeastBytes; });
  if (isStrict && isCut) return RefuseTile(err, "The file ends within tile %d", tile);
  if (parts.empty()) return isStrict ? RefuseTile(err, "The file has no tile %d", tile) : 1;
  if (isStrict && !hasAll) return RefuseTile(err, "The file lacks a part of tile %d", tile);
  result.coding = header_.coding;
  HeaderFound header = ReadTileCoding(parts.front(), isStrict, result);
  if (header == HeaderFound::kDamaged && isCut && !isStrict) return 1;
  if (header == HeaderFound::kRead) header = CheckLaterParts(parts, isStrict, result);
  if (header == HeaderFound::kDiskFailed) return RefuseTile(err, "The disk fails within tile %d", tile);
  if (header == HeaderFound::kDamaged) return RefuseTile(err, "The header of tile %d is damaged", tile);
  if (isStrict && !ArePackedHeadsWhole(*GetIndex())) {
    return RefuseTile(err, "The codestream lacks heads of packets of tile %d", tile);
  }
  return MakeStream(parts, wish, result, err);
}

}  // namespace zrk
