#include "base/Disk.h"

#include <atomic>
#include <cerrno>

namespace zrk {

namespace {

std::atomic<Disk*> current = nullptr;

}  // namespace

DiskMap::~DiskMap() = default;
DiskFile::~DiskFile() = default;
Disk::~Disk() = default;

int Disk::CountFreeBytes(const std::string&, std::int64_t&) {
  return ENOTSUP;
}

int Disk::ListFolder(const std::string&, std::vector<std::string>&) {
  return ENOTSUP;
}

int Disk::ResolveLinks(const std::string&, std::string&) {
  return ENOTSUP;
}

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
