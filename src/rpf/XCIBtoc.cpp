// A table of contents has two tables, each a subheader and a subsection of its own: boundary rectangles (components
// 0x94 and 0x95) and frame files (0x96 and 0x97). Paths stand in the subsection of the frames, each a length of 2 bytes
// and so many characters, to which frames refer by the offset. A third table, of colour tables (0x98), is not needed to
// find frames.

#include "XCIBtoc.h"

#include "base/Fence.h"
#include "rpf/FolderWalk.h"
#include "rpf/RpfBlocks.h"
#include "rpf/TocRecords.h"
#include "XFile.h"
#include "XLimits.h"
#include "XPath.h"

#include <algorithm>

namespace {

constexpr int kHeadBytes = 65536;
constexpr int kBoundarySubheader = 0x94, kBoundaryTable = 0x95;
constexpr int kFrameSubheader = 0x96, kFrameSubsection = 0x97;
constexpr int kColortableIndex = 0x98;
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
bool ReadRecords(zrk::RpfBlocks& blocks, const RecordTable& table, int recordsPerRead, Take take) {
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

/// The text up to and including its last backslash. The first character is not looked at, and always taken.
XString DirectoryOf(const XString& path) {
  return path.Left(std::max(path.ReverseFind('\\'), 0) + 1);
}

template <class Record>
const Record* RecordAt(const std::vector<Record>& records, int index) {
  const auto place = static_cast<std::size_t>(index);
  return index >= 0 && place < records.size() ? &records[place] : nullptr;
}

}  // namespace

XCIBtoc::XCIBtoc() = default;
XCIBtoc::~XCIBtoc() = default;

int XCIBtoc::LoadFile(const XString& path) {
  Forget();
  const int isLoaded = zrk::FencedRead([&] { return Load(path); });
  if (!isLoaded) Forget();
  return isLoaded;
}

void XCIBtoc::Forget() {
  Reset();
  CleanUp();
  productDataType_ = kProductUnknown;
  directory_.Empty();
  walk_.reset();
}

void XCIBtoc::CleanUp() {
  boundaries_ = {};
  frames_ = {};
  paths_ = {};
  pathAt_ = {};
  colortables_ = {};
}

int XCIBtoc::Load(const XString& path) {
  std::vector<unsigned char> head(kHeadBytes);
  int bytes = 0;
  if (!OpenHeaders(path, head.data(), kHeadBytes, bytes)) return 0;
  directory_ = DirectoryOf(path);
  walk_ = std::make_unique<zrk::FolderWalk>(XfnGetFileFolder(path).AsStdString());
  if (bytes < kHeadBytes) return ReadSections(nullptr, head.data(), bytes);
  XFile file;
  return file.Open(path, XFile::kRead | XFile::kShareDenyNone) && ReadSections(&file, head.data(), bytes);
}

int XCIBtoc::ReadSections(XFile* file, const unsigned char* buffer, int bytes) {
  return ReadBoundaryRectangleSection(file, buffer, bytes) && ReadFrameFileIndexSection(file, buffer, bytes);
}

int XCIBtoc::ReadBoundaryRectangleSection(XFile* file, const unsigned char* buffer, int bytes) {
  boundaries_.clear();
  const tagComponentRPF* subheader = FindComponent(kBoundarySubheader);
  const tagComponentRPF* table = FindComponent(kBoundaryTable);
  if (!subheader || !table) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  const auto head = blocks.Read(subheader->offset, 8);
  if (head.empty()) return 0;
  zrk::RpfFields fields(head.subspan(4), IsLittleEndian());
  const std::int64_t count = fields.U16();
  const std::int64_t recordBytes = fields.U16();
  if (count == 0 || table->length != count * recordBytes) return 0;

  // Whatever length the records are said to have, they are taken to lie side by side.
  const RecordTable records{table->offset, count, zrk::kTocBoundaryBytes, zrk::kTocBoundaryBytes};
  return ReadRecords(blocks, records, kBoundariesPerRead, [this](zrk::RpfBlocks::Bytes record) {
    boundaries_.push_back(zrk::ParseTocBoundary(record, IsLittleEndian()));
    productDataType_ = zrk::FindProductDataType(boundaries_.back().productDataType);
  });
}

int XCIBtoc::ReadFrameFileIndexSection(XFile* file, const unsigned char* buffer, int bytes) {
  frames_.clear();
  paths_.clear();
  pathAt_.clear();
  const tagComponentRPF* subheader = FindComponent(kFrameSubheader);
  const tagComponentRPF* subsection = FindComponent(kFrameSubsection);
  if (!subheader || !subsection) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  const auto head = blocks.Read(subheader->offset, 13);
  if (head.empty()) return 0;
  zrk::RpfFields fields(head.subspan(1), IsLittleEndian());
  const std::int64_t tableOffset = fields.U32();
  const std::int64_t numFrames = fields.U32();
  const auto numPaths = static_cast<std::size_t>(fields.U16());
  const std::int64_t recordBytes = fields.U16();
  if (numFrames < 0) return 0;

  const RecordTable records{subsection->offset + tableOffset, numFrames, recordBytes, zrk::kTocFrameBytes};
  const bool isRead = ReadRecords(blocks, records, kFramesPerRead, [&](zrk::RpfBlocks::Bytes record) {
    frames_.push_back(zrk::ParseTocFrame(record, IsLittleEndian()));
  });
  if (!isRead) return 0;
  CollectPaths(numPaths);
  return ReadPaths(blocks, subsection->offset);
}

/// Path records are told apart by their offsets. Frames beyond those that have room lose their paths.
void XCIBtoc::CollectPaths(std::size_t numPaths) {
  const auto add = [this, numPaths](std::int32_t offset) {
    if (paths_.size() >= numPaths || !pathAt_.try_emplace(offset, paths_.size()).second) return;
    paths_.push_back({offset, 0, {}});
  };
  for (const tagFrameFileIndexRecordRPF& frame : frames_) {
    if (frame.pathOffset != 0) add(frame.pathOffset);
  }
  // An offset of 0 marks a record as free, so that frames with that offset have a path only where one is left over.
  if (std::ranges::find(frames_, 0, &tagFrameFileIndexRecordRPF::pathOffset) != frames_.end()) add(0);
}

bool XCIBtoc::ReadPaths(zrk::RpfBlocks& blocks, std::int64_t subsection) {
  for (tagPathnameRecordRPF& record : paths_) {
    const std::int64_t offset = subsection + record.pathOffset;
    const auto length = blocks.Read(offset, 2);
    if (length.empty()) return false;
    record.pathLength =
        std::min(zrk::RpfFields(length, IsLittleEndian()).U16(), std::int32_t{tagPathnameRecordRPF::kMaxLength});
    if (record.pathLength == 0) continue;
    const auto text = blocks.Read(offset + 2, record.pathLength);
    if (text.empty()) return false;
    std::ranges::copy(text, record.path);
  }
  return true;
}

int XCIBtoc::ReadColortableIndexSection(XFile* file, const unsigned char* buffer, int bytes) {
  colortables_.clear();
  const tagComponentRPF* section = FindComponent(kColortableIndex);
  if (!section) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  const auto head = blocks.Read(section->offset, 8);
  if (head.empty()) return 0;
  const std::int64_t count = zrk::RpfFields(head.subspan(4), IsLittleEndian()).U16();
  const RecordTable records{std::int64_t{section->offset} + 8, count, zrk::kTocColortableBytes,
                            zrk::kTocColortableBytes};
  return ReadRecords(blocks, records, kFramesPerRead,
                     [this](zrk::RpfBlocks::Bytes record) { colortables_.push_back(zrk::ParseTocColortable(record)); });
}

const tagBoundaryRectangleRecordRPF* XCIBtoc::GetBoundaryRecAt(int index) const {
  return RecordAt(boundaries_, index);
}

const tagFrameFileIndexRecordRPF* XCIBtoc::GetFrameRecordAt(int index) const {
  return RecordAt(frames_, index);
}

const tagPathnameRecordRPF* XCIBtoc::GetPathRecordAt(int index) const {
  return RecordAt(paths_, index);
}

const tagColortableIndexRecordRPF* XCIBtoc::GetColortableRecordAt(int index) const {
  return RecordAt(colortables_, index);
}

const tagPathnameRecordRPF* XCIBtoc::FindPathRecord(std::int32_t pathOffset) const {
  const auto found = pathAt_.find(pathOffset);
  return found == pathAt_.end() ? nullptr : &paths_[found->second];
}
