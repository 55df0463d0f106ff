// The main header of a JPEG 2000 codestream, ISO/IEC 15444-1, annex A. It begins with the marker SOC. Segments follow,
// each with a marker of two bytes and a length of two bytes that counts itself. SIZ comes first, with the reference
// grid and the components. The others come in any order: COD (how all components are coded), COC (how one is coded),
// QCD, TLM (the lengths of the tile-parts) and more. The header ends where the first tile-part begins with SOT. All
// numbers are big-endian.
//
// The image is a rectangle of the reference grid. The grid is cut into tiles of one size, and a tile that reaches
// beyond the image is cut to it. Component c has a sample at each multiple of dx and dy that lies in the image. A level
// n keeps the samples ceil(first / 2^n) to ceil(end / 2^n) - 1 of a component.
//
// Some of these numbers decide how much memory and time a decoder takes, so impossible numbers are refused here.

#include "codec/J2kHeaderReader.h"

#include "base/Checked.h"
#include "base/Cursor.h"
#include "base/Disk.h"
#include "codec/Jp2Boxes.h"
#include "XLimits.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace zrk {
namespace {

constexpr std::int64_t kMaxHeaderBytes = 32 << 20;
constexpr int kMaxSegments = 1 << 16;
constexpr int kMaxTiles = 65535;
constexpr int kMaxComponents = 4096;
constexpr int kMaxLevels = 32;
constexpr int kMaxBlockBits = 10;         // of one side
constexpr int kMaxBlockSamplesBits = 12;  // of both together
constexpr std::size_t kMarkerBytes = 2;
constexpr const char* kDiskFailsInHeader = "The disk fails within the codestream's header";

using HeaderBytes = std::span<const unsigned char>;

int RefuseHeader(XString& err, const char* sentence) {
  err = sentence;
  return 0;
}

/// The content of a segment behind its length.
Cursor ContentOf(HeaderBytes bytes, const J2kSegment& segment) {
  return Cursor(bytes.subspan(segment.offset + 4, segment.numBytes - 4));
}

bool IsSoundGrid(const J2kHeader& header) {
  const J2kRect& grid = header.grid;
  const J2kRect& tile = header.firstTile;
  return !grid.IsEmpty() && grid.x1 <= INT_MAX && grid.y1 <= INT_MAX && !tile.IsEmpty() && tile.x0 <= grid.x0 &&
         tile.y0 <= grid.y0 && tile.x1 > grid.x0 && tile.y1 > grid.y0;
}

bool HasSamplesInAllComponents(const J2kHeader& header) {
  for (int i = 0; i < std::ssize(header.components); ++i) {
    if (header.GetComponentRect(i, 0).IsEmpty()) return false;
  }
  return true;
}

int CountTilesOf(J2kHeader& header, XString& err) {
  const J2kRect& tile = header.firstTile;
  const std::int64_t across = CeilDivide(header.grid.x1 - tile.x0, tile.Width());
  const std::int64_t down = CeilDivide(header.grid.y1 - tile.y0, tile.Height());
  if (across * down > kMaxTiles) return RefuseHeader(err, "The codestream has more tiles than it can number");
  header.tilesAcross = static_cast<int>(across);
  header.tilesDown = static_cast<int>(down);
  return 1;
}

int ParseComponents(Cursor& cursor, J2kHeader& header, XString& err) {
  const int count = cursor.U16BE();
  if (count == 0) return RefuseHeader(err, "The codestream has no components");
  if (count > std::min(kMaxComponents, XfnGetLimits().channels)) {
    err.Format("The codestream has too many components: %d", count);
    return 0;
  }
  for (int i = 0; i < count; ++i) {
    const int precision = cursor.U8();
    const J2kComponent component{(precision & 0x7F) + 1, (precision & 0x80) != 0, cursor.U8(), cursor.U8()};
    if (cursor.HasFailed()) return RefuseHeader(err, "The codestream's header of sizes is too short");
    if (component.dx == 0 || component.dy == 0 || component.depth > 38) {
      return RefuseHeader(err, "The codestream has a component that cannot be");
    }
    header.components.push_back(component);
  }
  return 1;
}

/// The segment SIZ.
int ParseSize(Cursor cursor, J2kHeader& header, XString& err) {
  cursor.U16BE();  // the profile, which decoders don't need
  J2kRect& grid = header.grid;
  J2kRect& tile = header.firstTile;
  grid.x1 = cursor.U32BE();
  grid.y1 = cursor.U32BE();
  grid.x0 = cursor.U32BE();
  grid.y0 = cursor.U32BE();
  const std::int64_t tileWidth = cursor.U32BE(), tileHeight = cursor.U32BE();
  tile.x0 = cursor.U32BE();
  tile.y0 = cursor.U32BE();
  tile.x1 = tile.x0 + tileWidth;
  tile.y1 = tile.y0 + tileHeight;
  if (cursor.HasFailed()) return RefuseHeader(err, "The codestream's header of sizes is too short");
  if (!IsSoundGrid(header)) return RefuseHeader(err, "The codestream has an image or tiles of a size that cannot be");
  if (grid.Width() * grid.Height() > XfnGetLimits().imagePixels) return RefuseHeader(err, "Image is too large");
  if (!CountTilesOf(header, err) || !ParseComponents(cursor, header, err)) return 0;
  if (!HasSamplesInAllComponents(header)) return RefuseHeader(err, "The codestream has a component without samples");
  return 1;
}

/// What COD and COC tell alike. Without precincts of their own, those of a component are as large as can be.
bool ParseComponentCoding(Cursor& cursor, bool hasPrecincts, J2kCoding& coding) {
  coding.numLevels = cursor.U8();
  coding.blockWidthBits = cursor.U8() + 2;
  coding.blockHeightBits = cursor.U8() + 2;
  coding.style = cursor.U8();
  coding.isReversible = cursor.U8() == 1;
  if (cursor.HasFailed() || coding.numLevels > kMaxLevels || coding.blockWidthBits > kMaxBlockBits ||
      coding.blockHeightBits > kMaxBlockBits || coding.blockWidthBits + coding.blockHeightBits > kMaxBlockSamplesBits) {
    return false;
  }
  coding.precincts.fill(0xFF);
  for (int i = 0; hasPrecincts && i <= coding.numLevels; ++i) {
    coding.precincts[static_cast<std::size_t>(i)] = cursor.U8();
  }
  return !cursor.HasFailed();
}

/// The segment COD, which counts for all components.
bool ParseDefault(Cursor cursor, int numComponents, J2kTileCoding& coding) {
  const int style = cursor.U8();
  coding.hasPacketMarks = (style & 6) != 0;
  coding.progression = cursor.U8();
  coding.numLayers = cursor.U16BE();
  coding.mixesComponents = cursor.U8() != 0;
  J2kCoding one;
  if (!ParseComponentCoding(cursor, (style & 1) != 0, one) || coding.numLayers == 0) return false;
  coding.ofComponents.assign(static_cast<std::size_t>(numComponents), one);
  return true;
}

/// The segment COC, which counts for one component.
bool ParseOfComponent(Cursor cursor, int numComponents, J2kTileCoding& coding) {
  const int component = numComponents < 257 ? cursor.U8() : cursor.U16BE();
  const int style = cursor.U8();
  if (component >= std::ssize(coding.ofComponents)) return false;
  return ParseComponentCoding(cursor, (style & 1) != 0, coding.ofComponents[static_cast<std::size_t>(component)]);
}

/// The segment TLM. Entries of several segments follow each other in the order of the segments. A list that is not
/// whole is of no use, and neither is one of more tile-parts than there can be. The tile-parts are looked for in the
/// codestream itself then.
bool ParseListedParts(Cursor cursor, std::vector<J2kListedPart>& parts) {
  cursor.U8();
  const int form = cursor.U8();
  const int tileBytes = form >> 4 & 3;
  const bool isLong = (form & 0x40) != 0;
  const std::size_t entryBytes = static_cast<std::size_t>(tileBytes) + (isLong ? 4 : 2);
  if (cursor.HasFailed() || tileBytes == 3) return false;
  while (cursor.Remaining() >= entryBytes) {
    if (std::ssize(parts) >= kMaxJ2kParts) return false;
    J2kListedPart part;
    if (tileBytes == 1) part.tile = cursor.U8();
    if (tileBytes == 2) part.tile = cursor.U16BE();
    part.numBytes = isLong ? cursor.U32BE() : cursor.U16BE();
    parts.push_back(part);
  }
  return cursor.Remaining() == 0;
}

bool HasSegment(const J2kHeader& header, std::uint16_t marker) {
  return std::ranges::any_of(header.segments, [=](const J2kSegment& segment) { return segment.marker == marker; });
}

/// The end of the main header: where the marker of a tile-part stands in place of a segment.
int FindHeaderEnd(DiskFile& file, std::int64_t offset, std::int64_t end, std::int64_t& headerEnd, XString& err) {
  std::int64_t place = offset + static_cast<std::int64_t>(kMarkerBytes);
  for (int i = 0; i < kMaxSegments && place - offset <= kMaxHeaderBytes; ++i) {
    unsigned char head[4] = {};
    const std::int64_t numBytes = std::min<std::int64_t>(sizeof head, end - place);
    if (numBytes < 2) return RefuseHeader(err, "The codestream ends within its header");
    if (file.ReadAt(place, head, numBytes) != numBytes) return RefuseHeader(err, kDiskFailsInHeader);
    Cursor cursor(head);
    const std::uint16_t marker = cursor.U16BE();
    if (marker == kMarkerTilePart) {
      headerEnd = place;
      return 1;
    }
    const int length = cursor.U16BE();
    if (marker < 0xFF00 || length < 2) return RefuseHeader(err, "The codestream's header is damaged");
    place += static_cast<std::int64_t>(kMarkerBytes) + length;
  }
  return RefuseHeader(err, "The codestream's header is too long");
}

}  // namespace

J2kRect Intersect(const J2kRect& a, const J2kRect& b) {
  return {std::max(a.x0, b.x0), std::max(a.y0, b.y0), std::min(a.x1, b.x1), std::min(a.y1, b.y1)};
}

int J2kHeader::CountLevels() const {
  int numLevels = kMaxLevels;
  for (const J2kCoding& each : coding.ofComponents) numLevels = std::min(numLevels, each.numLevels);
  return numLevels;
}

J2kRect J2kHeader::ReduceRect(const J2kRect& onGrid, int component, int level) const {
  const J2kComponent& of = components[static_cast<std::size_t>(component)];
  const std::int64_t step = std::int64_t{1} << level;
  const auto reduce = [step](std::int64_t place, int distance) {
    return CeilDivide(CeilDivide(place, distance), step);
  };
  return {reduce(onGrid.x0, of.dx), reduce(onGrid.y0, of.dy), reduce(onGrid.x1, of.dx), reduce(onGrid.y1, of.dy)};
}

J2kRect J2kHeader::GetTileRect(int tile) const {
  const std::int64_t x = firstTile.x0 + tile % tilesAcross * firstTile.Width();
  const std::int64_t y = firstTile.y0 + tile / tilesAcross * firstTile.Height();
  return Intersect({x, y, x + firstTile.Width(), y + firstTile.Height()}, grid);
}

bool ListJ2kSegments(HeaderBytes bytes, std::size_t begin, std::vector<J2kSegment>& segments) {
  Cursor cursor(bytes);
  cursor.Seek(begin);
  while (cursor.Remaining() > 0) {
    J2kSegment segment;
    segment.offset = cursor.Position();
    segment.marker = cursor.U16BE();
    const std::size_t length = cursor.U16BE();
    if (cursor.HasFailed() || length < 2) return false;
    cursor.Skip(length - 2);
    if (cursor.HasFailed()) return false;
    segment.numBytes = kMarkerBytes + length;
    segments.push_back(segment);
  }
  return !cursor.HasFailed();
}

/// COD counts first, wherever it stands, because COC overrules it.
bool ParseJ2kCoding(HeaderBytes bytes, std::span<const J2kSegment> segments, int numComponents, J2kTileCoding& coding) {
  for (const J2kSegment& segment : segments) {
    const bool isDefault = segment.marker == kMarkerCoding;
    if (isDefault && !ParseDefault(ContentOf(bytes, segment), numComponents, coding)) return false;
    coding.changesOrder = coding.changesOrder || segment.marker == kMarkerOrderChange;
  }
  for (const J2kSegment& segment : segments) {
    const bool isOfOne = segment.marker == kMarkerComponentCoding;
    if (isOfOne && !ParseOfComponent(ContentOf(bytes, segment), numComponents, coding)) return false;
  }
  return true;
}

int ParseJ2kHeader(std::vector<unsigned char> bytes, J2kHeader& header, XString& err) {
  header = {};
  header.bytes = std::move(bytes);
  if (header.bytes.size() < kMarkerBytes || Cursor(header.bytes).U16BE() != kMarkerStart) {
    return RefuseHeader(err, "The codestream does not begin with its marker");
  }
  if (!ListJ2kSegments(header.bytes, kMarkerBytes, header.segments)) {
    return RefuseHeader(err, "The codestream's header is damaged");
  }
  if (header.segments.empty() || header.segments.front().marker != kMarkerSize) {
    return RefuseHeader(err, "The codestream has no header of sizes");
  }
  if (!ParseSize(ContentOf(header.bytes, header.segments.front()), header, err)) return 0;
  if (!HasSegment(header, kMarkerCoding) || !HasSegment(header, kMarkerQuantization)) {
    return RefuseHeader(err, "The codestream does not say how it is coded");
  }
  if (!ParseJ2kCoding(header.bytes, header.segments, static_cast<int>(header.components.size()), header.coding)) {
    return RefuseHeader(err, "The codestream is coded in a way that cannot be");
  }
  bool isWhole = true;
  for (const J2kSegment& segment : header.segments) {
    if (segment.marker != kMarkerTileLengths) continue;
    isWhole = isWhole && ParseListedParts(ContentOf(header.bytes, segment), header.listedParts);
  }
  if (!isWhole) header.listedParts = {};
  return 1;
}

int ReadJ2kHeader(DiskFile& file, std::int64_t offset, std::int64_t end, J2kHeader& header, XString& err) {
  unsigned char start[2] = {};
  const bool isThere = end - offset >= 2;
  if (isThere && file.ReadAt(offset, start, 2) != 2) return RefuseHeader(err, kDiskFailsInHeader);
  if (!isThere || Cursor(start).U16BE() != kMarkerStart) {
    return RefuseHeader(err, "The codestream does not begin with its marker");
  }
  std::int64_t headerEnd = 0;
  if (!FindHeaderEnd(file, offset, end, headerEnd, err)) return 0;
  std::vector<unsigned char> bytes(static_cast<std::size_t>(headerEnd - offset));
  if (file.ReadAt(offset, bytes.data(), headerEnd - offset) != headerEnd - offset) {
    return RefuseHeader(err, kDiskFailsInHeader);
  }
  return ParseJ2kHeader(std::move(bytes), header, err);
}

}  // namespace zrk
