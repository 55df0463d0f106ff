// The input is a table of contents in a folder with one more file. Everything that a caller can ask of the table is
// asked. A path that leads out of the folder without having been asked for ends the run.

#include "MemoryDisk.h"
#include "XCIBtoc.h"
#include "XFile.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr const char* kPath = "/maps/A.TOC";

/// The disk in memory with folders: what stands between slashes.
class FolderDisk : public MemoryDisk {
 public:
  bool Exists(const std::string& path) override { return path == "/maps/Onc/a.on2" || path == "/maps/Onc"; }
  int ListFolder(const std::string& folder, std::vector<std::string>& names) override {
    names = {folder == "/maps/" ? "Onc" : "a.on2"};
    return 0;
  }
  int ResolveLinks(const std::string& path, std::string& resolved) override {
    resolved = path.ends_with('/') ? path.substr(0, path.size() - 1) : path;
    return 0;
  }
};

class OpenToc : public XCIBtoc {
 public:
  using XCIBtoc::ReadColortableIndexSection;
};

void Ask(const XCIBtoc& toc, int index) {
  const tagFrameFileIndexRecordRPF& frame = *toc.GetFrameRecordAt(index);
  // A path that may not leave the folder begins with it, whatever the file says.
  const std::string path = toc.GetFramePath(index).AsStdString();
  if (!path.empty() && (!path.starts_with("/maps/") || path.find("/../") != std::string::npos)) __builtin_trap();
  toc.GetFramePath(index, true);
  toc.GetFrameFilename(index);
  toc.GetFrameFilename(frame.frameRow, frame.frameColumn, frame.boundaryIndex);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FolderDisk disk;
  disk.Add(kPath, {data, size});
  const zrk::ScopedDisk scope(disk);
  OpenToc toc;
  if (!toc.LoadFile(kPath)) return 0;
  for (int i = 0; i < std::min(toc.GetFrameRecordSize(), 50); ++i) Ask(toc, i);
  toc.GetFrameFilename(toc.GetFrameRecordSize());
  XFile file;
  if (file.Open(kPath, XFile::kRead)) toc.ReadColortableIndexSection(&file, nullptr, 0);
  volatile std::size_t sum = 0;
  for (int i = 0; i < toc.GetColortableRecordSize(); ++i) sum = sum + toc.GetColortableRecordAt(i)->rest[49];
  for (int i = 0; i < toc.GetPathRecordSize(); ++i) sum = sum + std::string(toc.GetPathRecordAt(i)->path).size();
  return 0;
}
