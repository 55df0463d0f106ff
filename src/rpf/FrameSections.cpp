// The sections of a frame but for its subframes, in the layout of the standard (MIL-STD-2411): packed records without
// padding, in the byte order of the file. Offsets are counted from the beginning of the section that holds them, and -1
// stands for something absent.
//
// Coverage, description and display have to be there for what is asked. Invalid colours and lookup tables are left out
// and do not fail the load, because a frame of plain pixels can do without the tables. The results are put into the
// caller's record only when all of a table is read. Counts and lengths are the file's own word. `RpfBlocks` compares
// them with the file before memory is taken for them.

#include "rpf/FrameSections.h"

#include "rpf/FramePaint.h"

#include <algorithm>
#include <cstring>

namespace zrk {
namespace {

/// The bytes of each record as far as it is used. A record may be longer; the next one is found by the file's own
/// length.
constexpr int kCoverageBytes = 96;
constexpr int kCompressionBytes = 6;
constexpr int kOffsetTableBytes = 6;
constexpr int kLookupRecordBytes = 14;
constexpr int kColorSubheaderBytes = 14;
constexpr int kColorRecordBytes = 17;
constexpr int kDescriptionBytes = 28;
constexpr int kDisplayBytes = 9;
constexpr int kMaskHeadBytes = 7;

constexpr int kNumTables = static_cast<int>(kLookupTables);
constexpr int kNumColors = XCIBframe::kNumColors;
constexpr int kNumSubframes = XCIBframe::kNumSubframes;

/// The bytes of an entry of a colour table, whatever the file says; 0 for a table of no known kind. Kind 1 is red,
/// green and blue, 2 the same with a grey behind it, 3 grey alone, and 4 has four values.
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

/// The step is the file's own length of a record. The table was read as long as the last offset needs.
void TakeOffsets(RpfBlocks::Bytes bytes, std::int64_t step, bool littleEndian, FrameMasks::Offsets& offsets) {
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    offsets[i] = XCIBbase::ReadUnsigned(bytes.data() + i * static_cast<std::size_t>(step), 4, littleEndian);
  }
}

}  // namespace

/// A record of a colour table, as far as it is used.
struct FrameSections::ColorTable {
  int id = 0;
  std::int64_t numEntries = 0;
  int entryBytes = 0;
  int histogramRecordBytes = 0;
};

void FrameColors::Clear() {
  for (auto& plane : planes) plane.fill(0);
  std::memset(histogram.data(), 0, planes.front().size());
  numColours = 0;
}

bool FrameSections::ReadCoverage(std::int64_t offset, tagCoverageSectionSubheaderRPF& coverage) {
  const RpfBlocks::Bytes record = blocks_.Read(offset, kCoverageBytes);
  if (record.empty()) return false;
  RpfFields fields(record, littleEndian_);
  for (double* value :
       {&coverage.nwLatitude, &coverage.nwLongitude, &coverage.swLatitude, &coverage.swLongitude, &coverage.neLatitude,
        &coverage.neLongitude, &coverage.seLatitude, &coverage.seLongitude, &coverage.verticalResolution,
        &coverage.horizontalResolution, &coverage.verticalInterval, &coverage.horizontalInterval}) {
    *value = fields.F64();
  }
  return true;
}

bool FrameSections::ReadLookupTables(std::int64_t subheader, std::int64_t lookup, std::vector<unsigned char>& tables) {
  const RpfBlocks::Bytes record = blocks_.Read(subheader, kCompressionBytes);
  if (record.empty()) return false;
  RpfFields fields(record, littleEndian_);
  fields.U16();  // the algorithm
  const int numLookups = fields.U16();
  const int numParameters = fields.U16();
  return numLookups == kNumTables && numParameters == 0 && ReadTables(lookup, tables);
}

/// Each table is taken to have 4096 entries of 4 bytes, whatever its record says.
bool FrameSections::ReadTables(std::int64_t lookup, std::vector<unsigned char>& tables) {
  const RpfBlocks::Bytes head = blocks_.Read(lookup, kOffsetTableBytes);
  if (head.empty()) return false;
  RpfFields offsets(head, littleEndian_);
  const std::int64_t first = lookup + offsets.U32();
  const int recordBytes = offsets.U16();

  std::vector<unsigned char> all(kLookupTables * kLookupTableBytes);
  unsigned found = 0;
  for (int i = 0; i < kNumTables; ++i) {
    const RpfBlocks::Bytes record = blocks_.Read(first + std::int64_t{i} * recordBytes, kLookupRecordBytes);
    if (record.empty()) return false;
    const int id = RpfFields(record, littleEndian_).U16();
    if (id < 1 || id > kNumTables) return false;
    const std::int64_t offset = lookup + RpfFields(record.subspan(10), littleEndian_).U32();
    const RpfBlocks::Bytes table = blocks_.Read(offset, kLookupTableBytes);
    if (table.empty()) return false;
    std::ranges::copy(table, all.data() + static_cast<std::size_t>(id - 1) * kLookupTableBytes);
    found |= 1u << id;
  }
  // Four records that name one table twice lack another one, in whose place there would be zeros.
  if (found != 0b11110) return false;
  tables = std::move(all);
  return true;
}

/// The subheader only has to be there. How many tables it announces is not asked, because the first one is all that is
/// used.
bool FrameSections::ReadColors(std::int64_t subheader, std::int64_t map, FrameColors& colors) {
  if (blocks_.Read(subheader, kColorSubheaderBytes).empty()) return false;
  const RpfBlocks::Bytes head = blocks_.Read(map, kOffsetTableBytes);
  if (head.empty()) return false;
  const std::int64_t first = map + RpfFields(head, littleEndian_).U32();
  const RpfBlocks::Bytes record = blocks_.Read(first, kColorRecordBytes);
  if (record.empty()) return false;
  RpfFields fields(record, littleEndian_);
  ColorTable table;
  table.id = fields.U16();
  table.numEntries = fields.U32();
  table.entryBytes = fields.U8();
  table.histogramRecordBytes = fields.U16();
  const std::int64_t tableOffset = fields.U32();
  const std::int64_t histogramOffset = fields.U32();
  if (!TakeColors(map + tableOffset, table, colors)) return false;
  return histogramOffset == -1 || TakeHistogram(map + histogramOffset, table, colors);
}

/// The file has to have as many bytes as it says that the entries take, but these bytes are cut into entries of the
/// fixed size of their kind. What is beyond 217 entries, or beyond the bytes, is left out. A table without bytes still
/// counts as one of its kind, which decides how many channels the frame has.
bool FrameSections::TakeColors(std::int64_t offset, const ColorTable& table, FrameColors& colors) {
  const auto taken = static_cast<std::size_t>(EntryBytesOf(table.id));
  if (taken == 0) return true;
  const std::int64_t claimed = table.numEntries * (table.id == 3 ? 1 : table.entryBytes);
  const std::int64_t kept = std::min(claimed, static_cast<std::int64_t>(kNumColors * taken));
  const RpfBlocks::Bytes entries = blocks_.ReadPart(offset, claimed, kept);
  if (entries.empty() && claimed != 0) return false;
  const std::size_t numKept = std::min(static_cast<std::size_t>(table.numEntries), entries.size() / taken);
  for (std::size_t i = 0; i < numKept; ++i) {
    for (std::size_t plane = 0; plane < taken; ++plane) colors.planes[plane][i] = entries[i * taken + plane];
  }
  colors.tableType = table.id;
  colors.numColours = static_cast<int>(numKept);
  return true;
}

/// The last count needs its 4 bytes and not a whole record. A step of any length is therefore safe, 0 included, as long
/// as 4 bytes are left at the place of a count.
bool FrameSections::TakeHistogram(std::int64_t offset, const ColorTable& table, FrameColors& colors) {
  const std::int64_t claimed = 4 * table.numEntries;
  const std::int64_t kept = std::min(claimed, std::int64_t{kNumColors - 1} * table.histogramRecordBytes + 4);
  const RpfBlocks::Bytes counts = blocks_.ReadPart(offset, claimed, kept);
  if (counts.empty() && claimed != 0) return false;
  const auto step = static_cast<std::size_t>(table.histogramRecordBytes);
  const auto numKept = std::min(static_cast<std::size_t>(table.numEntries), std::size_t{kNumColors});
  for (std::size_t i = 0; i < numKept && i * step + 4 <= counts.size(); ++i) {
    colors.histogram[i] = XCIBbase::ReadUnsigned(counts.data() + i * step, 4, littleEndian_);
  }
  return true;
}

bool FrameSections::ReadDescription(std::int64_t offset, FrameDescription& description) {
  const RpfBlocks::Bytes record = blocks_.Read(offset, kDescriptionBytes);
  if (record.empty()) return false;
  RpfFields fields(record, littleEndian_);
  for (int* value : {&description.spectralGroups, &description.subframeTables, &description.spectralBandTables,
                     &description.spectralBandLines, &description.subframesAcross, &description.subframesDown}) {
    *value = fields.U16();
  }
  for (int* value : {&description.subframeColumns, &description.subframeRows, &description.subframeMaskOffset,
                     &description.transparencyMaskOffset}) {
    *value = fields.U32();
  }
  return true;
}

/// Both tables have 36 records, of which the last only has to have its offset. A frame without a table of subframes has
/// them one behind the other.
bool FrameSections::ReadMasks(std::int64_t offset, const FrameDescription& description, FrameMasks& masks,
                              unsigned& transparentCode) {
  const RpfBlocks::Bytes record = blocks_.Read(offset, kMaskHeadBytes);
  if (record.empty()) return false;
  RpfFields fields(record, littleEndian_);
  const std::int64_t subframeStep = fields.U16();
  const std::int64_t transparencyStep = fields.U16();
  fields.U16();  // the bits of the transparent code
  transparentCode = static_cast<unsigned>(fields.U8());

  const auto tableBytes = [](std::int64_t step) { return (kNumSubframes - 1) * step + 4; };
  if (description.subframeMaskOffset != -1) {
    const auto table = blocks_.Read(offset + description.subframeMaskOffset, tableBytes(subframeStep));
    if (table.empty()) return false;
    TakeOffsets(table, subframeStep, littleEndian_, masks.subframes);
    masks.hasSubframes = true;
  }
  if (description.transparencyMaskOffset != -1) {
    // A table in the head of the file is looked for behind 36 records, wherever it says that it stands. That is
    // harmless: nothing is decoded by the transparency of a subframe, which callers can only ask for.
    auto table = blocks_.FindInHead(offset + kNumSubframes * transparencyStep, tableBytes(transparencyStep));
    if (table.empty()) table = blocks_.Read(offset + description.transparencyMaskOffset, tableBytes(transparencyStep));
    if (table.empty()) return false;
    TakeOffsets(table, transparencyStep, littleEndian_, masks.transparency);
    masks.hasTransparency = true;
  }
  return true;
}

bool FrameSections::ReadDisplay(std::int64_t offset, FrameDisplay& display) {
  const RpfBlocks::Bytes record = blocks_.Read(offset, kDisplayBytes);
  if (record.empty()) return false;
  RpfFields fields(record, littleEndian_);
  display.imageRows = fields.U32();
  display.codesPerRow = fields.U32();
  display.elementBits = fields.U8();
  return true;
}

}  // namespace zrk
