// A load fills the records of boundary rectangles and frame files. The names of frame files are made of them: as the
// product's own systems write them, and as this system opens them.

#include "XCIBtoc.h"

#include "base/Fence.h"
#include "rpf/FolderWalk.h"
#include "rpf/TocTables.h"
#include "XFile.h"
#include "XPath.h"

#include <algorithm>
#include <string>

namespace {

constexpr int kHeadBytes = 65536;
constexpr int kBoundarySubheader = 0x94, kBoundaryTable = 0x95;
constexpr int kFrameSubheader = 0x96, kFrameSubsection = 0x97;
constexpr int kColortableIndex = 0x98;

/// The text up to and including its last backslash. The first character is not looked at, and always taken.
XString DirectoryOf(const XString& path) {
  return path.Left(std::max(path.ReverseFind('\\'), 0) + 1);
}

/// Mostly the dot and the slash that a stored path begins with.
constexpr int kDroppedCharacters = 2;

std::string WithoutTrailingBlanks(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

template <class Record>
const Record* RecordAt(const std::vector<Record>& records, int index) {
  const auto place = static_cast<std::size_t>(index);
  return index >= 0 && place < records.size() ? &records[place] : nullptr;
}

}  // namespace

struct XCIBtoc::State {
  zrk::TocBoundaries boundaries;
  zrk::TocFrames frames;
  std::vector<tagColortableIndexRecordRPF> colortables;
  XString directory;
  std::unique_ptr<zrk::FolderWalk> walk;
};

XCIBtoc::XCIBtoc() : state_(std::make_unique<State>()) {}
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
  state_->boundaries.productDataType = kProductUnknown;
  state_->directory.Empty();
  state_->walk.reset();
}

void XCIBtoc::CleanUp() {
  state_->boundaries.records = {};
  state_->frames = {};
  state_->colortables = {};
}

int XCIBtoc::Load(const XString& path) {
  std::vector<unsigned char> head(kHeadBytes);
  int bytes = 0;
  if (!OpenHeaders(path, head.data(), kHeadBytes, bytes)) return 0;
  state_->directory = DirectoryOf(path);
  state_->walk = std::make_unique<zrk::FolderWalk>(XfnGetFileFolder(path).AsStdString());
  XFile file;
  // A head that was not filled is the whole file.
  const bool hasMore = bytes == kHeadBytes;
  if (hasMore && !file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return 0;
  XFile* const behind = hasMore ? &file : nullptr;
  return ReadBoundaryRectangleSection(behind, head.data(), bytes) &&
         ReadFrameFileIndexSection(behind, head.data(), bytes);
}

int XCIBtoc::ReadBoundaryRectangleSection(XFile* file, const unsigned char* buffer, int bytes) {
  state_->boundaries.records.clear();
  const tagComponentRPF* subheader = FindComponent(kBoundarySubheader);
  const tagComponentRPF* table = FindComponent(kBoundaryTable);
  if (!subheader || !table) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return zrk::ReadTocBoundaries(blocks, *subheader, *table, IsLittleEndian(), state_->boundaries);
}

int XCIBtoc::ReadFrameFileIndexSection(XFile* file, const unsigned char* buffer, int bytes) {
  state_->frames = {};
  const tagComponentRPF* subheader = FindComponent(kFrameSubheader);
  const tagComponentRPF* subsection = FindComponent(kFrameSubsection);
  if (!subheader || !subsection) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return zrk::ReadTocFrames(blocks, *subheader, *subsection, IsLittleEndian(), state_->frames);
}

int XCIBtoc::ReadColortableIndexSection(XFile* file, const unsigned char* buffer, int bytes) {
  state_->colortables.clear();
  const tagComponentRPF* section = FindComponent(kColortableIndex);
  if (!section) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return zrk::ReadTocColortables(blocks, *section, IsLittleEndian(), state_->colortables);
}

int XCIBtoc::GetBoundaryRecSize() const {
  return static_cast<int>(state_->boundaries.records.size());
}

const tagBoundaryRectangleRecordRPF* XCIBtoc::GetBoundaryRecAt(int index) const {
  return RecordAt(state_->boundaries.records, index);
}

int XCIBtoc::GetFrameRecordSize() const {
  return static_cast<int>(state_->frames.records.size());
}

const tagFrameFileIndexRecordRPF* XCIBtoc::GetFrameRecordAt(int index) const {
  return RecordAt(state_->frames.records, index);
}

int XCIBtoc::GetPathRecordSize() const {
  return static_cast<int>(state_->frames.paths.size());
}

const tagPathnameRecordRPF* XCIBtoc::GetPathRecordAt(int index) const {
  return RecordAt(state_->frames.paths, index);
}

const tagPathnameRecordRPF* XCIBtoc::FindPathRecord(std::int32_t pathOffset) const {
  const auto found = state_->frames.pathAt.find(pathOffset);
  return found == state_->frames.pathAt.end() ? nullptr : &state_->frames.paths[found->second];
}

int XCIBtoc::GetColortableRecordSize() const {
  return static_cast<int>(state_->colortables.size());
}

const tagColortableIndexRecordRPF* XCIBtoc::GetColortableRecordAt(int index) const {
  return RecordAt(state_->colortables, index);
}

int XCIBtoc::GetProductDataType() const {
  return state_->boundaries.productDataType;
}

XString XCIBtoc::GetFrameFilename(int index) const {
  const tagFrameFileIndexRecordRPF* frame = GetFrameRecordAt(index);
  if (!frame || frame->fileName[0] == '\0') return {};
  const tagPathnameRecordRPF* record = FindPathRecord(frame->pathOffset);
  XString path = record ? XString(record->path).Mid(kDroppedCharacters) : XString();
  path.Replace("/", "\\");
  return state_->directory + path + XString(frame->fileName);
}

XString XCIBtoc::GetFrameFilename(int row, int col, int boundary) const {
  const auto isThere = [=](const tagFrameFileIndexRecordRPF& frame) {
    return frame.frameRow == row && frame.frameColumn == col && frame.boundaryIndex == boundary;
  };
  const auto found = std::ranges::find_if(state_->frames.records, isThere);
  return found == state_->frames.records.end()
             ? XString()
             : GetFrameFilename(static_cast<int>(found - state_->frames.records.begin()));
}

XString XCIBtoc::GetFramePath(int index, bool mayLeaveFolder) const {
  const tagFrameFileIndexRecordRPF* frame = GetFrameRecordAt(index);
  if (!frame || !state_->walk) return {};
  XString path;
  zrk::FencedRead([&] {
    const tagPathnameRecordRPF* record = FindPathRecord(frame->pathOffset);
    const std::string folder = record ? WithoutTrailingBlanks(record->path) : "";
    path = state_->walk->Find(folder, WithoutTrailingBlanks(frame->fileName), mayLeaveFolder);
    return 1;
  });
  return path;
}
