// The sections of a frame but for its image. Colours and lookup tables that are not as they must be leave the frame
// without them, and fail no load by that: a frame of uncompressed pixels can do without the tables.

#include "rpf/FramePaint.h"
#include "rpf/RpfBlocks.h"
#include "XCIBframe.h"

#include <algorithm>

namespace {

enum Section {
  kCoverage = 0x82,
  kCompression = 0x83,
  kLookup = 0x84,
  kColor = 0x86,
  kColorMap = 0x87,
};

constexpr int kCoverageBytes = 96;
constexpr int kCompressionBytes = 6;
constexpr int kOffsetTableBytes = 6;
constexpr int kLookupRecordBytes = 14;
constexpr int kColorSubheaderBytes = 14;
constexpr int kColorRecordBytes = 17;

/// How many bytes an entry of a colour table takes, whatever the file says; 0 for a table of no known kind.
int EntryBytesOf(int table) {
  switch (table) {
    case 1:
      return 3;
    case 2:
    case 4:
      return 4;
    case 3:
      return 1;
    default:
      return 0;
  }
}

}  // namespace

int XCIBframe::ReadCoverageSection(XFile* file, const unsigned char* buffer, int bytes) {
  const tagComponentRPF* section = FindComponent(kCoverage);
  if (!section) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  const zrk::RpfBlocks::Bytes record = blocks.Read(section->offset, kCoverageBytes);
  if (record.empty()) return 0;
  zrk::RpfFields fields(record, IsLittleEndian());
  for (double* value : {&coverage_.nwLatitude, &coverage_.nwLongitude, &coverage_.swLatitude, &coverage_.swLongitude,
                        &coverage_.neLatitude, &coverage_.neLongitude, &coverage_.seLatitude, &coverage_.seLongitude,
                        &coverage_.verticalResolution, &coverage_.horizontalResolution, &coverage_.verticalInterval,
                        &coverage_.horizontalInterval}) {
    *value = fields.F64();
  }
  return 1;
}

int XCIBframe::ReadCompressionSection(XFile* file, const unsigned char* buffer, int bytes) {
  const tagComponentRPF* section = FindComponent(kCompression);
  const tagComponentRPF* lookup = FindComponent(kLookup);
  if (!section || !lookup) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  const zrk::RpfBlocks::Bytes record = blocks.Read(section->offset, kCompressionBytes);
  if (record.empty()) return 0;
  zrk::RpfFields fields(record, IsLittleEndian());
  fields.U16();  // the algorithm
  const int numLookups = fields.U16();
  const int numParameters = fields.U16();
  if (numLookups != static_cast<int>(zrk::kLookupTables) || numParameters != 0) return 0;
  return ReadLookupTables(blocks, lookup->offset) ? 1 : 0;
}

/// Each table is taken to have 4096 entries of 4 bytes, whatever its record says. All four or none are kept.
bool XCIBframe::ReadLookupTables(zrk::RpfBlocks& blocks, std::int64_t lookup) {
  const zrk::RpfBlocks::Bytes head = blocks.Read(lookup, kOffsetTableBytes);
  if (head.empty()) return false;
  zrk::RpfFields offsets(head, IsLittleEndian());
  const std::int64_t first = lookup + offsets.U32();
  const int recordBytes = offsets.U16();

  std::vector<unsigned char> tables(zrk::kLookupTables * zrk::kLookupTableBytes);
  unsigned found = 0;
  for (int i = 0; i < static_cast<int>(zrk::kLookupTables); ++i) {
    const zrk::RpfBlocks::Bytes record = blocks.Read(first + std::int64_t{i} * recordBytes, kLookupRecordBytes);
    if (record.empty()) return false;
    const int id = zrk::RpfFields(record, IsLittleEndian()).U16();
    if (id < 1 || id > static_cast<int>(zrk::kLookupTables)) return false;
    const std::int64_t offset = lookup + zrk::RpfFields(record.subspan(10), IsLittleEndian()).U32();
    const zrk::RpfBlocks::Bytes table = blocks.Read(offset, zrk::kLookupTableBytes);
    if (table.empty()) return false;
    std::ranges::copy(table, tables.data() + static_cast<std::size_t>(id - 1) * zrk::kLookupTableBytes);
    found |= 1u << id;
  }
  if (found != 0b11110) return false;
  tables_ = std::move(tables);
  return true;
}

int XCIBframe::ReadGrayscaleSection(XFile* file, const unsigned char* buffer, int bytes) {
  const tagComponentRPF* section = FindComponent(kColor);
  const tagComponentRPF* map = FindComponent(kColorMap);
  if (!section || !map) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  if (blocks.Read(section->offset, kColorSubheaderBytes).empty()) return 0;
  return ReadColors(blocks, map->offset) ? 1 : 0;
}

/// Only the first of several colour tables counts.
bool XCIBframe::ReadColors(zrk::RpfBlocks& blocks, std::int64_t map) {
  const zrk::RpfBlocks::Bytes head = blocks.Read(map, kOffsetTableBytes);
  if (head.empty()) return false;
  const std::int64_t first = map + zrk::RpfFields(head, IsLittleEndian()).U32();
  const zrk::RpfBlocks::Bytes record = blocks.Read(first, kColorRecordBytes);
  if (record.empty()) return false;
  zrk::RpfFields fields(record, IsLittleEndian());
  const int table = fields.U16();
  const std::int64_t numEntries = fields.U32();
  const int entryBytes = fields.U8();
  const int histogramRecordBytes = fields.U16();
  const std::int64_t tableOffset = fields.U32();
  const std::int64_t histogramOffset = fields.U32();
  if (!TakeColors(blocks, map + tableOffset, table, numEntries, entryBytes)) return false;
  return histogramOffset == -1 || TakeHistogram(blocks, map + histogramOffset, numEntries, histogramRecordBytes);
}

/// As many bytes are wanted as the file says that its entries have, but they are taken as entries of a fixed size. What
/// is beyond 217 entries, or beyond those bytes, is left out. A table without bytes is one of its kind all the same.
bool XCIBframe::TakeColors(zrk::RpfBlocks& blocks, std::int64_t offset, int table, std::int64_t numEntries,
                           int entryBytes) {
  const auto taken = static_cast<std::size_t>(EntryBytesOf(table));
  if (taken == 0) return true;
  const std::int64_t claimed = numEntries * (table == 3 ? 1 : entryBytes);
  const std::int64_t kept = std::min(claimed, static_cast<std::int64_t>(kNumColors * taken));
  const zrk::RpfBlocks::Bytes entries = blocks.ReadPart(offset, claimed, kept);
  if (entries.empty() && claimed != 0) return false;
  const std::size_t numKept = std::min(static_cast<std::size_t>(numEntries), entries.size() / taken);
  for (std::size_t i = 0; i < numKept; ++i) {
    for (std::size_t plane = 0; plane < taken; ++plane) colors_[plane][i] = entries[i * taken + plane];
  }
  colorTableType_ = table;
  return true;
}

bool XCIBframe::TakeHistogram(zrk::RpfBlocks& blocks, std::int64_t offset, std::int64_t numEntries, int recordBytes) {
  const std::int64_t claimed = 4 * numEntries;
  const std::int64_t kept = std::min(claimed, std::int64_t{kNumColors - 1} * recordBytes + 4);
  const zrk::RpfBlocks::Bytes counts = blocks.ReadPart(offset, claimed, kept);
  if (counts.empty() && claimed != 0) return false;
  const auto step = static_cast<std::size_t>(recordBytes);
  const auto numKept = std::min(static_cast<std::size_t>(numEntries), std::size_t{kNumColors});
  for (std::size_t i = 0; i < numKept && i * step + 4 <= counts.size(); ++i) {
    histogram_[i] = ReadUnsigned(counts.data() + i * step, 4, IsLittleEndian());
  }
  return true;
}
