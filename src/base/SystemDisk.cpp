// The disk of the operating system. Reads and writes are positional, so that one open file serves many threads without
// a lock of ours. A read or a write that a signal interrupts is made again, and one that does a part is continued until
// all is done. An errno goes to the caller as it is.
//
// A file is opened in steps, so that no file is emptied by mistake. It is opened without emptying, checked to be a
// regular file, locked, checked to have its name still, and only then emptied. Locks are those of `flock`. They belong
// to the open file and go with its descriptor, and other programs need not respect them.

#include "base/Checked.h"
#include "base/Disk.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace zrk {

namespace {

/// Owns a descriptor. What a close reports is asked by `CheckClose` where it matters, so that it is of no interest
/// here.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  int Number() const { return number_; }
  bool IsOpen() const { return number_ >= 0; }

 private:
  int number_ = -1;
};

/// The mapping stays valid when the file is closed.
class SystemMap : public DiskMap {
 public:
  SystemMap(void* data, std::size_t size) : data_(data), size_(size) {}
  ~SystemMap() override { ::munmap(data_, size_); }
  const unsigned char* Data() const override { return static_cast<const unsigned char*>(data_); }
  std::int64_t Size() const override { return static_cast<std::int64_t>(size_); }

 private:
  void* data_;
  std::size_t size_;
};

/// Whether the file goes by the name.
bool IsNamed(const std::string& path, const struct stat& file) {
  struct stat named;
  return ::stat(path.c_str(), &named) == 0 && named.st_dev == file.st_dev && named.st_ino == file.st_ino;
}

class SystemFile : public DiskFile {
 public:
  /// The file to work on, which is given before anything else is asked.
  void Take(Descriptor descriptor) { descriptor_ = std::move(descriptor); }

  std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) override {
    if (offset < 0 || count < 0) return -EINVAL;
    std::int64_t done = 0;
    while (done < count) {
      const ssize_t got = ::pread(descriptor_.Number(), static_cast<char*>(buffer) + done,
                                  static_cast<std::size_t>(count - done), offset + done);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) return -errno;
      // The end of the file is no error: the count tells how far the bytes went.
      if (got == 0) break;
      done += got;
    }
    return done;
  }

  int WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) override {
    if (offset < 0 || count < 0) return EINVAL;
    for (std::int64_t done = 0; done < count;) {
      const ssize_t put = ::pwrite(descriptor_.Number(), static_cast<const char*>(buffer) + done,
                                   static_cast<std::size_t>(count - done), offset + done);
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) return errno;
      // A disk that takes nothing and reports no error would keep this loop going for ever.
      if (put == 0) return EIO;
      done += put;
    }
    return 0;
  }

  std::int64_t Size() override {
    struct stat status;
    return ::fstat(descriptor_.Number(), &status) == 0 ? static_cast<std::int64_t>(status.st_size) : -errno;
  }

  int SetSize(std::int64_t size) override { return ::ftruncate(descriptor_.Number(), size) == 0 ? 0 : errno; }
  int Preallocate(std::int64_t size) override {
    int error = EINTR;
    while (error == EINTR) error = ::posix_fallocate(descriptor_.Number(), 0, size);
    return error;
  }
  int Sync() override { return ::fsync(descriptor_.Number()) == 0 ? 0 : errno; }

  /// Each close of a descriptor reports for the whole file. A copy is closed, and the file and its lock are kept.
  int CheckClose() override {
    const int copy = ::fcntl(descriptor_.Number(), F_DUPFD_CLOEXEC, 0);
    if (copy < 0) return errno;
    return ::close(copy) == 0 || errno == EINTR ? 0 : errno;
  }

  void StartSync(std::int64_t offset, std::int64_t count) override {
    ::sync_file_range(descriptor_.Number(), offset, count, SYNC_FILE_RANGE_WRITE);
  }

  bool GoesBy(const std::string& path) override {
    struct stat status;
    return ::fstat(descriptor_.Number(), &status) == 0 && IsNamed(path, status);
  }

  std::unique_ptr<DiskMap> Map() override {
    const std::int64_t size = Size();
    if (size <= 0) return nullptr;
    void* data = ::mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_SHARED, descriptor_.Number(), 0);
    if (data == MAP_FAILED) return nullptr;
    return std::make_unique<SystemMap>(data, static_cast<std::size_t>(size));
  }

 private:
  Descriptor descriptor_;
};

int OpenModeBits(const DiskOpen& how) {
  const int access = how.read && how.write ? O_RDWR : how.write ? O_WRONLY : O_RDONLY;
  // The opening does not wait, so that a pipe in the place of a file is found and refused. An existing file is emptied
  // only once it is known to be a regular one and locked.
  return access | O_CLOEXEC | O_NONBLOCK | (how.create || how.ensure ? O_CREAT : 0);
}

/// Locks hold between those who ask for one. Denying writers takes a shared lock for a reader, which other readers may
/// have too, and an exclusive one for a writer.
int LockBits(const DiskOpen& how) {
  if (how.exclusive) return LOCK_EX;
  if (how.denyWrite) return how.write ? LOCK_EX : LOCK_SH;
  return how.together ? LOCK_SH : 0;
}

/// Whether a lock that was not given must fail the opening. It need not where the file system knows no locks, as many
/// on a network. It need not either where a file is only read, because a reader does no harm to whoever holds the lock.
bool MustBeLocked(const DiskOpen& how, int error) {
  const bool isUnknown = error == ENOSYS || error == ENOLCK || error == EOPNOTSUPP || error == ENOTSUP;
  return (how.write || how.exclusive || how.together) && !isUnknown;
}

/// Takes the lock that is asked for, as far as it must be had; answers 0 or the errno.
int Lock(const Descriptor& descriptor, const DiskOpen& how) {
  const int lock = LockBits(how);
  if (!lock || ::flock(descriptor.Number(), lock | LOCK_NB) == 0) return 0;
  const int error = errno;
  return MustBeLocked(how, error) ? error : 0;
}

/// Takes all out of a file. One that is empty is left as it is, so that a new file can't fail to be emptied and stay
/// behind. The length is asked for here because others may have written until the file was locked.
bool Empty(const Descriptor& descriptor) {
  struct stat status;
  if (::fstat(descriptor.Number(), &status) != 0) return false;
  return status.st_size == 0 || ::ftruncate(descriptor.Number(), 0) == 0;
}

std::int64_t Nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

class SystemDiskImpl : public Disk {
 public:
  int Open(const std::string& path, const DiskOpen& how, std::shared_ptr<DiskFile>& file) override {
    // The memory comes first, so that no file is made that could not be handed out.
    auto opened = std::make_shared<SystemFile>();
    Descriptor descriptor(::open(path.c_str(), OpenModeBits(how), 0666));
    if (!descriptor.IsOpen()) return errno;
    struct stat status;
    if (::fstat(descriptor.Number(), &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    if (const int error = Lock(descriptor, how)) return error;
    // Whoever held the lock before may have given the file another name since it was opened here. Emptying it now would
    // destroy what he has published.
    if (how.create && !IsNamed(path, status)) return EBUSY;
    if (how.create && !Empty(descriptor)) return errno;
    opened->Take(std::move(descriptor));
    file = std::move(opened);
    return 0;
  }

  int Rename(const std::string& from, const std::string& to) override {
    return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  }
  int Remove(const std::string& path) override { return ::unlink(path.c_str()) == 0 ? 0 : errno; }

  // A folder is synced like a file. That brings a new name in it to the medium.
  int SyncFolder(const std::string& folder) override {
    const Descriptor descriptor(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.IsOpen()) return errno;
    return ::fsync(descriptor.Number()) == 0 ? 0 : errno;
  }

  int CountFreeBytes(const std::string& path, std::int64_t& bytes) override {
    // The file itself need not exist yet, so that its folder is asked.
    const std::size_t nameAt = path.rfind('/') + 1;  // 0 where there is no folder in front
    struct statvfs status;
    if (::statvfs(nameAt == 0 ? "." : path.substr(0, nameAt).c_str(), &status) != 0) return errno;
    // A count above the largest signed number is not sound. It makes the product negative.
    const auto product =
        CheckedMultiply(static_cast<std::int64_t>(status.f_bavail), static_cast<std::int64_t>(status.f_frsize));
    if (!product || *product < 0) return EOVERFLOW;
    bytes = *product;
    return 0;
  }

  int GetStatus(const std::string& path, FileStatus& status) override {
    struct stat found;
    if (::stat(path.c_str(), &found) != 0) return errno;
    if (!S_ISREG(found.st_mode)) return EINVAL;
    status = {found.st_size, Nanoseconds(found.st_mtim), Nanoseconds(found.st_ctim)};
    return 0;
  }

  void DropCached(const std::string& path) override {
    const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (descriptor.IsOpen()) ::posix_fadvise(descriptor.Number(), 0, 0, POSIX_FADV_DONTNEED);
  }

  bool Exists(const std::string& path) override { return ::access(path.c_str(), F_OK) == 0; }
  bool IsWritable(const std::string& path) override { return ::access(path.c_str(), W_OK) == 0; }

  // The order is that of the file system. Callers sort where it matters.
  int ListFolder(const std::string& folder, std::vector<std::string>& names) override {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
      names.push_back(entry->path().filename().string());
    }
    return error.value();
  }

  int MakeFolder(const std::string& folder) override {
    std::error_code error;
    std::filesystem::create_directory(folder, error);
    return error.value();
  }

  int ResolveLinks(const std::string& path, std::string& resolved) override {
    std::error_code error;
    resolved = std::filesystem::canonical(path, error).string();
    return error.value();
  }

  // One link after another is read, because the target of the last one need not exist, and a resolution of the whole
  // would fail then. A relative link counts from its own folder.
  int FollowLink(const std::string& path, std::string& target) override {
    constexpr int kMaxLinks = 40;  // as many as the system itself follows
    std::filesystem::path place = path;
    std::error_code error;
    for (int i = 0; std::filesystem::is_symlink(place, error); ++i) {
      if (i == kMaxLinks) return ELOOP;
      const std::filesystem::path next = std::filesystem::read_symlink(place, error);
      if (error) return error.value();
      place = next.is_absolute() ? next : place.parent_path() / next;
    }
    target = place.string();
    return 0;
  }

  // Compared by device and number, which links and different spellings share.
  bool AreSame(const std::string& one, const std::string& other) override {
    struct stat status;
    return ::stat(one.c_str(), &status) == 0 && IsNamed(other, status);
  }
};

}  // namespace

/// Made at the first use and never before, so that files can be opened while other globals are made.
Disk& SystemDisk() {
  static SystemDiskImpl disk;
  return disk;
}

}  // namespace zrk
