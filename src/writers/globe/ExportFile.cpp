#include "writers/globe/ExportFile.h"

#include "base/Disk.h"
#include "tiles/TileFile.h"
#include "tiles/TilePlace.h"

#include <utility>

namespace zrk {

namespace {

std::shared_ptr<DiskFile> OpenForTiles(const XString& path, FileUse use) {
  DiskOpen how;
  how.write = true;
  how.denyWrite = use == FileUse::kAlone;
  std::shared_ptr<DiskFile> file;
  return CurrentDisk().Open(path.AsStdString(), how, file) == 0 ? file : nullptr;
}

}  // namespace

ExportFile::ExportFile(std::shared_ptr<DiskFile> file) : file_(std::move(file)) {}
ExportFile::~ExportFile() = default;

/// The file of tiles makes it as any store is made, and lets go of it: it would not share it with others.
std::shared_ptr<ExportFile> ExportFile::Create(const XString& path, const ExportHead& head, FileUse use) {
  if (head.header.empty() || !TileFile::Create(path, head.header, head.fileBytes)) return nullptr;
  return Open(path, head, use);
}

std::shared_ptr<ExportFile> ExportFile::Open(const XString& path, const ExportHead& head, FileUse use) {
  std::shared_ptr<DiskFile> file = OpenForTiles(path, use);
  if (!file || head.header.empty() || file->Size() != head.fileBytes) return nullptr;
  std::vector<unsigned char> header(head.header.size());
  const auto count = static_cast<std::int64_t>(header.size());
  if (file->ReadAt(0, header.data(), count) != count || header != head.header) return nullptr;
  return std::make_shared<ExportFile>(std::move(file));
}

bool ExportFile::Write(const tagXTileLevel& level, const TileStrip& strip, const unsigned char* bytes) {
  const std::optional<std::int64_t> offset = OffsetOfTile(level, strip.row, strip.col);
  return offset && file_->WriteAt(*offset, bytes, std::int64_t{strip.count} * level.storageSize) == 0;
}

bool ExportFile::Read(const tagXTileLevel& level, int row, int col, std::span<unsigned char> bytes) const {
  const std::optional<std::int64_t> offset = OffsetOfTile(level, row, col);
  const auto count = static_cast<std::int64_t>(bytes.size());
  return offset && count == level.storageSize && file_->ReadAt(*offset, bytes.data(), count) == count;
}

bool ExportFile::Sync() {
  return file_->Sync() == 0;
}

}  // namespace zrk
