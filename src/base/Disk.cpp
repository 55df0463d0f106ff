#include "base/Disk.h"

#include <atomic>
#include <cerrno>

namespace zrk {

namespace {

/// Null stands for the system's disk, so that nothing has to be made before the first file is opened.
std::atomic<Disk*> current = nullptr;

}  // namespace

/// The tables of virtual functions stand here, once for the whole library.
DiskMap::~DiskMap() = default;
DiskFile::~DiskFile() = default;
Disk::~Disk() = default;

// A disk need not offer what follows. Callers cope with the refusal. Room that can't be counted is taken to be there. A
// file whose times are unknown is never the same as before. A folder that can't be listed has no names.
int Disk::CountFreeBytes(const std::string&, std::int64_t&) {
  return ENOTSUP;
}

int Disk::GetStatus(const std::string&, FileStatus&) {
  return ENOTSUP;
}

int Disk::ListFolder(const std::string&, std::vector<std::string>&) {
  return ENOTSUP;
}

int Disk::MakeFolder(const std::string&) {
  return ENOTSUP;
}

int Disk::ResolveLinks(const std::string&, std::string&) {
  return ENOTSUP;
}

/// A disk that knows no links has none to follow.
int Disk::FollowLink(const std::string& path, std::string& target) {
  target = path;
  return 0;
}

Disk& CurrentDisk() {
  Disk* disk = current.load(std::memory_order_acquire);
  return disk ? *disk : SystemDisk();
}

ScopedDisk::ScopedDisk(Disk& disk) : previous_(current.exchange(&disk)) {}

ScopedDisk::~ScopedDisk() {
  current.store(previous_);
}

}  // namespace zrk
