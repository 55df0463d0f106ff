// A decoder of JPEG 2000 makes tables for all tiles that the header of the codestream promises. What it promises is
// therefore looked at first.
//
// The data of the image is a codestream, or boxes one of which holds it. Where blocks are left out, a table of them
// stands in front, and the first four bytes of that tell the offset behind it.

#include "bands/nitf/NitfCodestream.h"

#include "base/Cursor.h"
#include "codec/J2kReader.h"
#include "codec/Jp2Boxes.h"
#include "XLimits.h"

#include <algorithm>
#include <array>

namespace zrk {

namespace {

struct BytesOfFile {
  std::int64_t begin = 0;
  std::int64_t end = 0;
};

/// The first bytes of a range, with zeros for those that the file lacks.
std::array<unsigned char, 16> HeadOf(const XFile& file, const BytesOfFile& range) {
  std::array<unsigned char, 16> head{};
  file.ReadAt(range.begin, head.data(), std::clamp<std::int64_t>(range.end - range.begin, 0, std::ssize(head)));
  return head;
}

/// Where the codestream lies in the data of an image; empty where no box holds one.
std::optional<BytesOfFile> FindCodestream(const XFile& file, BytesOfFile data) {
  constexpr int kMaxBoxes = 1000;
  if (Cursor(HeadOf(file, data)).U16BE() == kMarkerStart) return data;
  for (int i = 0; i < kMaxBoxes && data.begin < data.end; ++i) {
    const auto head = HeadOf(file, data);
    Cursor cursor(head);
    std::uint64_t length = cursor.U32BE();
    const std::uint32_t type = cursor.U32BE();
    if (length == 1) length = cursor.U64BE();
    const auto available = static_cast<std::uint64_t>(data.end - data.begin);
    if (length == 0 || length > available) length = available;
    if (length < cursor.Position()) return std::nullopt;
    const std::int64_t end = data.begin + static_cast<std::int64_t>(length);
    if (type == kBoxCodestream) return BytesOfFile{data.begin + static_cast<std::int64_t>(cursor.Position()), end};
    data.begin = end;
  }
  return std::nullopt;
}

/// Whether the tables of a decoder are within the limits, and the tiles within what the file can hold.
bool AreTilesAllowed(const J2kHeader& header, const BytesOfFile& range) {
  constexpr std::int64_t kPartBytes = 14, kTileBytes = 8192, kComponentBytes = 2048;
  const std::int64_t tiles = header.CountTiles(), components = std::ssize(header.components);
  return tiles <= (range.end - range.begin) / kPartBytes &&
         tiles * (kTileBytes + components * kComponentBytes) <= XfnGetLimits().decodedTileBytes;
}

}  // namespace

XString CheckNitfCodestream(const XFile& file, const NitfSegment& segment, const NitfImage& image) {
  BytesOfFile data{segment.DataOffset(), std::min(segment.DataOffset() + segment.dataBytes, file.GetLength())};
  if (image.compression == "M8") data.begin += Cursor(HeadOf(file, data)).U32BE();
  const auto range = data.begin < data.end ? FindCodestream(file, data) : std::nullopt;
  if (!range) return "The image has no JPEG 2000 codestream";
  XString reason;
  const auto reader = J2kReader::Open(file.GetDiskFile(), range->begin, range->end, reason);
  if (!reader) return reason;
  return AreTilesAllowed(reader->GetHeader(), *range) ? "" : "The codestream has too many tiles";
}

}  // namespace zrk
