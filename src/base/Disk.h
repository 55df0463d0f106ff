#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// The one door to the disk. Everything in the library that opens, reads, writes, maps, renames or removes a file
// does it through a `Disk`, so that tests can put one in its place that fails at a chosen call.

namespace zrk {

/// A read-only view of a whole file as it was when mapped. Where the file shrinks afterwards, bytes past its new
/// end must not be touched: ask `DiskFile::Size` before.
class DiskMap {
 public:
  virtual ~DiskMap();
  virtual const unsigned char* Data() const = 0;
  virtual std::int64_t Size() const = 0;
};

/// An open file. All operations may be called from many threads at once. Those that answer an int answer 0 for
/// success and an errno otherwise.
class DiskFile {
 public:
  virtual ~DiskFile();
  /// Reads until `count` bytes or the end; answers the bytes read, or a negative errno.
  virtual std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) = 0;
  /// Writes all of it.
  virtual int WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) = 0;
  /// The length in bytes now, or a negative errno.
  virtual std::int64_t Size() = 0;
  virtual int SetSize(std::int64_t size) = 0;
  virtual int Preallocate(std::int64_t size) = 0;
  virtual int Sync() = 0;
  /// What closing the file would report: some disks tell only then that something was not written. The file stays open.
  virtual int CheckClose() { return 0; }
  /// Hints that a range is written to the end, so that bringing it to the medium may begin now and `Sync` has less to
  /// wait for.
  virtual void StartSync(std::int64_t, std::int64_t) {}
  /// Whether this is the file that goes by a name now. A disk that can't tell says no.
  virtual bool GoesBy(const std::string&) { return false; }
  /// Maps the whole file for reading; null where that fails, as for an empty file.
  virtual std::unique_ptr<DiskMap> Map() = 0;
};

/// The length of a file, and when its bytes and what is known of it were last changed, in nanoseconds since 1970. The
/// time of the last change can't be set back by a program. A length of -1 is that of no file.
struct FileStatus {
  std::int64_t length = -1;
  std::int64_t modified = 0;
  std::int64_t changed = 0;
  friend bool operator==(const FileStatus&, const FileStatus&) = default;
};

/// How to open a file. Locks are asked for where the file system offers them. One that another holds fails the opening
/// of a file to be written, or to be had alone or together; a file that is read is then opened without.
struct DiskOpen {
  bool read = true;
  bool write = false;
  bool create = false;     ///< an empty file, in place of one that is there
  bool exclusive = false;  ///< nobody else may have it open with a lock
  bool denyWrite = false;  ///< nobody else may have it locked for writing
  bool together = false;   ///< nobody else may have it alone, and whoever asks for the same has it too
  bool ensure = false;     ///< an empty file where none is there; one that is there keeps its bytes
};

class Disk {
 public:
  virtual ~Disk();
  /// Opens a regular file. A folder, a pipe or a device is refused.
  virtual int Open(const std::string& path, const DiskOpen& how, std::shared_ptr<DiskFile>& file) = 0;
  virtual int Rename(const std::string& from, const std::string& to) = 0;
  virtual int Remove(const std::string& path) = 0;
  virtual int SyncFolder(const std::string& folder) = 0;
  virtual bool Exists(const std::string& path) = 0;
  /// Whether something of that name exists that this process may write to.
  virtual bool IsWritable(const std::string& path) { return Exists(path); }
  /// What is known of a regular file without opening it.
  virtual int GetStatus(const std::string& path, FileStatus& status);
  /// Hints that nobody needs what the system keeps of a file in memory.
  virtual void DropCached(const std::string&) {}
  /// How many bytes the folder of `path` has room for.
  virtual int CountFreeBytes(const std::string& path, std::int64_t& bytes);
  /// The names of what lies in a folder, in no order.
  virtual int ListFolder(const std::string& folder, std::vector<std::string>& names);
  /// Makes a folder in one that is there. A folder that is there already is no failure.
  virtual int MakeFolder(const std::string& folder);
  /// The whole name, without links on the way, of a file or folder that exists.
  virtual int ResolveLinks(const std::string& path, std::string& resolved);
  /// The path to which a file written under this one goes: where the path is a symbolic link, what it leads to in the
  /// end, be it there or not; otherwise the path itself.
  virtual int FollowLink(const std::string& path, std::string& target);
  /// Whether both names lead to one file that exists.
  virtual bool AreSame(const std::string& one, const std::string& other) { return one == other && Exists(one); }
};

/// The disk in use: that of the operating system unless a test has put another in its place.
Disk& CurrentDisk();
Disk& SystemDisk();

/// Puts another disk in place for its own lifetime. For tests; not to be nested across threads.
class ScopedDisk {
 public:
  explicit ScopedDisk(Disk& disk);
  ~ScopedDisk();
  ScopedDisk(const ScopedDisk&) = delete;
  ScopedDisk& operator=(const ScopedDisk&) = delete;

 private:
  Disk* previous_;
};

}  // namespace zrk
