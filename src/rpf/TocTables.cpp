// A table of contents has two tables, each a subheader and a subsection of its own: boundary rectangles and frame
// files. Paths stand in the subsection of the frames, each a length of 2 bytes and so many characters, to which frames
// refer by the offset. A third table, of colour tables, is not needed to find frames.

#include "rpf/TocTables.h"

#include "rpf/TocRecords.h"
#include "XCIBbase.h"
#include "XLimits.h"

#include <algorithm>

namespace zrk {
namespace {

constexpr int kBoundariesPerRead = 400;
constexpr int kFramesPerRead = 200;

/// Records of one length, one behind the other.
struct RecordTable {
  std::int64_t offset = 0;
  std::int64_t count = 0;
  std::int64_t recordBytes = 0;  ///< from one record to the next
  std::int64_t usedBytes = 0;    ///< of a record, from its beginning
};

/// Hands the used bytes of all records to `take`, reading `recordsPerRead` of them at a time. No room is made for
/// records before they are read, so that a count can't ask for more than the file has.
template <class Take>
bool ReadRecords(RpfBlocks& blocks, const RecordTable& table, int recordsPerRead, Take take) {
  if (table.recordBytes < table.usedBytes) return table.count == 0;
  if (table.count * table.recordBytes > XfnGetLimits().tableBytes) return false;
  for (std::int64_t first = 0; first < table.count; first += recordsPerRead) {
    const std::int64_t count = std::min<std::int64_t>(recordsPerRead, table.count - first);
    const auto run =
        blocks.Read(table.offset + first * table.recordBytes, (count - 1) * table.recordBytes + table.usedBytes);
    if (run.empty()) return false;
    for (std::int64_t i = 0; i < count; ++i) {
      take(run.subspan(static_cast<std::size_t>(i * table.recordBytes), static_cast<std::size_t>(table.usedBytes)));
    }
  }
  return true;
}

/// Path records are told apart by their offsets. Frames beyond those that have room lose their paths.
void CollectPaths(std::size_t numPaths, TocFrames& frames) {
  const auto add = [&](std::int32_t offset) {
    if (frames.paths.size() >= numPaths || !frames.pathAt.try_emplace(offset, frames.paths.size()).second) return;
    frames.paths.push_back({offset, 0, {}});
  };
  for (const tagFrameFileIndexRecordRPF& frame : frames.records) {
    if (frame.pathOffset != 0) add(frame.pathOffset);
  }
  // An offset of 0 marks a record as free, so that frames with that offset have a path only where one is left over.
  const auto& records = frames.records;
  if (std::ranges::find(records, 0, &tagFrameFileIndexRecordRPF::pathOffset) != records.end()) add(0);
}

bool ReadPaths(RpfBlocks& blocks, std::int64_t subsection, bool littleEndian, TocFrames& frames) {
  for (tagPathnameRecordRPF& record : frames.paths) {
    const std::int64_t offset = subsection + record.pathOffset;
    const auto length = blocks.Read(offset, 2);
    if (length.empty()) return false;
    record.pathLength = std::min(RpfFields(length, littleEndian).U16(), std::int32_t{tagPathnameRecordRPF::kMaxLength});
    if (record.pathLength == 0) continue;
    const auto text = blocks.Read(offset + 2, record.pathLength);
    if (text.empty()) return false;
    std::ranges::copy(text, record.path);
  }
  return true;
}

}  // namespace

bool ReadTocBoundaries(RpfBlocks& blocks, const tagComponentRPF& subheader, const tagComponentRPF& table,
                       bool littleEndian, TocBoundaries& boundaries) {
  const auto head = blocks.Read(subheader.offset, 8);
  if (head.empty()) return false;
  RpfFields fields(head.subspan(4), littleEndian);
  const std::int64_t count = fields.U16();
  const std::int64_t recordBytes = fields.U16();
  if (count == 0 || table.length != count * recordBytes) return false;

  // Whatever length the records are said to have, they are taken to lie side by side.
  const RecordTable records{table.offset, count, kTocBoundaryBytes, kTocBoundaryBytes};
  return ReadRecords(blocks, records, kBoundariesPerRead, [&](RpfBlocks::Bytes record) {
    boundaries.records.push_back(ParseTocBoundary(record, littleEndian));
    boundaries.productDataType = FindProductDataType(boundaries.records.back().productDataType);
  });
}

bool ReadTocFrames(RpfBlocks& blocks, const tagComponentRPF& subheader, const tagComponentRPF& subsection,
                   bool littleEndian, TocFrames& frames) {
  const auto head = blocks.Read(subheader.offset, 13);
  if (head.empty()) return false;
  RpfFields fields(head.subspan(1), littleEndian);
  const std::int64_t tableOffset = fields.U32();
  const std::int64_t numFrames = fields.U32();
  const auto numPaths = static_cast<std::size_t>(fields.U16());
  const std::int64_t recordBytes = fields.U16();
  if (numFrames < 0) return false;

  const RecordTable records{subsection.offset + tableOffset, numFrames, recordBytes, kTocFrameBytes};
  const bool isRead = ReadRecords(blocks, records, kFramesPerRead, [&](RpfBlocks::Bytes record) {
    frames.records.push_back(ParseTocFrame(record, littleEndian));
  });
  if (!isRead) return false;
  CollectPaths(numPaths, frames);
  return ReadPaths(blocks, subsection.offset, littleEndian, frames);
}

bool ReadTocColortables(RpfBlocks& blocks, const tagComponentRPF& section, bool littleEndian,
                        std::vector<tagColortableIndexRecordRPF>& colortables) {
  const auto head = blocks.Read(section.offset, 8);
  if (head.empty()) return false;
  const std::int64_t count = RpfFields(head.subspan(4), littleEndian).U16();
  const RecordTable records{std::int64_t{section.offset} + 8, count, kTocColortableBytes, kTocColortableBytes};
  return ReadRecords(blocks, records, kFramesPerRead,
                     [&](RpfBlocks::Bytes record) { colortables.push_back(ParseTocColortable(record)); });
}

}  // namespace zrk
