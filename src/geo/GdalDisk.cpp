// A file system of GDAL's over our own disk. Vector drivers open files by names that begin with a prefix of ours, and
// GDAL then calls the functions below. So what GDAL reads passes the same door as everything else, where tests and fuzz
// targets put disks of their own. There is no writing and no listing of folders.
//
// GDAL does not expect exceptions from these functions. So nothing may be thrown out of them, and they tell of failures
// by errno. A handle serves one thread at a time, like a FILE.
//
// While a driver opens a file, small reads bring more than they are asked for. A small read that the disk fails counts
// as failed, whichever of the bytes that were to be brought it lacks.

#include "geo/GdalDisk.h"

#include "base/Checked.h"
#include "base/Disk.h"

#include <cpl_vsi.h>
#include <sys/stat.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zrk {

namespace {

// Absolute and relative paths have a folder each below the prefix, so that a path is found again without guessing. An
// absolute path keeps its leading separator.
constexpr const char kPrefix[] = "/vsizrkio/";
constexpr std::string_view kAbsolute = "absolute";
constexpr std::string_view kRelative = "relative/";

// Small reads have up to so many bytes. What they bring begins at a multiple of that, so that neighbours on both sides
// are there.
constexpr std::int64_t kSmallBytes = 1024, kAheadBytes = 4096;

/// What stands behind a handle of GDAL's: a file, the offset of the next read, and what a small read has brought.
struct OpenFile {
  std::shared_ptr<DiskFile> file;
  std::int64_t position = 0;
  bool isAtEnd = false;
  std::int64_t aheadBegin = 0;
  std::vector<unsigned char> ahead;

  /// Whether what was brought holds so many bytes from the next read on.
  bool Holds(std::int64_t count) const {
    return position >= aheadBegin && position - aheadBegin <= std::ssize(ahead) - count;
  }
};

/// What the calling thread's opens are kept to; null for any folder.
thread_local KeptToFolder* kept = nullptr;

/// Whether small reads of the calling thread bring more than they are asked for.
thread_local bool readsAhead = false;

/// Reads of the calling thread that gave fewer bytes than were asked for.
thread_local std::int64_t numCutReads = 0;
/// Of these, reads that ended before the file did.
thread_local std::int64_t numFailedReads = 0;

bool LeadsUp(std::string_view name) {
  return name == ".." || name.starts_with("../") || name.ends_with("/..") ||
         name.find("/../") != std::string_view::npos;
}

OpenFile* AsOpenFile(void* handle) {
  return static_cast<OpenFile*>(handle);
}

std::shared_ptr<DiskFile> OpenOnDisk(std::string_view name) {
  std::shared_ptr<DiskFile> file;
  if (name.starts_with(kRelative)) {
    name.remove_prefix(kRelative.size());
  } else if (name.starts_with(kAbsolute)) {
    name.remove_prefix(kAbsolute.size());
  } else {
    errno = ENOENT;
    return nullptr;
  }
  if (kept && !kept->Allows(name)) {
    errno = EACCES;
    return nullptr;
  }
  const std::string path(name);
  if (const int error = kept ? kept->Open(path, file) : CurrentDisk().Open(path, {}, file)) {
    errno = error;
    return nullptr;
  }
  return file;
}

void* Open(void*, const char* name, const char* access) noexcept {
  // Some drivers would repair or extend a file that they open. They get none to write to.
  if (std::string_view(access).find_first_of("wa+") != std::string_view::npos) {
    errno = EACCES;
    return nullptr;
  }
  try {
    auto opened = std::make_unique<OpenFile>();
    opened->file = OpenOnDisk(name);
    return opened->file ? opened.release() : nullptr;
  } catch (const std::exception&) {
    errno = ENOMEM;
    return nullptr;
  }
}

int Close(void* handle) noexcept {
  const std::unique_ptr<OpenFile> closing(AsOpenFile(handle));
  return 0;
}

int Stat(void*, const char* name, VSIStatBufL* stat, int) noexcept {
  try {
    // Our disk knows a file's size only when it is open. A folder can't be opened, and so does not exist for GDAL.
    const std::shared_ptr<DiskFile> file = OpenOnDisk(name);
    const std::int64_t size = file ? file->Size() : -1;
    if (size < 0) return -1;
    *stat = {};
    stat->st_mode = S_IFREG;
    stat->st_size = size;
    return 0;
  } catch (const std::exception&) {
    return -1;
  }
}

vsi_l_offset Tell(void* handle) noexcept {
  return static_cast<vsi_l_offset>(AsOpenFile(handle)->position);
}

int Seek(void* handle, vsi_l_offset offset, int origin) noexcept {
  OpenFile& opened = *AsOpenFile(handle);
  const std::int64_t base = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? opened.position : opened.file->Size();
  // GDAL hands offsets as unsigned numbers. A step back from the end comes as a huge one, and is negative again here.
  const auto target = CheckedAdd(base, static_cast<std::int64_t>(offset));
  if (base < 0 || !target || *target < 0) return -1;
  opened.position = *target;
  opened.isAtEnd = false;
  return 0;
}

/// Brings what surrounds the next read. Of a call that fails or falls short nothing is kept, because the bytes that are
/// wanted may be sound where those around them are not.
void BringAhead(OpenFile& opened, std::int64_t fileBytes) {
  opened.aheadBegin = opened.position - opened.position % kSmallBytes;
  opened.ahead.resize(static_cast<std::size_t>(std::min(kAheadBytes, fileBytes - opened.aheadBegin)));
  const std::int64_t asked = std::ssize(opened.ahead);
  if (opened.file->ReadAt(opened.aheadBegin, opened.ahead.data(), asked) != asked) opened.ahead.clear();
}

/// Reads `count` bytes at the offset of the handle. A read that reaches beyond the end of the file is left to the disk,
/// and so is one around which no more can be brought.
std::int64_t ReadAtPosition(OpenFile& opened, void* buffer, std::int64_t count) noexcept {
  const bool isSmall = readsAhead && count <= kSmallBytes;
  const std::int64_t fileBytes = isSmall && !opened.Holds(count) ? opened.file->Size() : 0;
  if (isSmall && opened.position < fileBytes && count <= fileBytes - opened.position) {
    try {
      BringAhead(opened, fileBytes);
    } catch (const std::bad_alloc&) {
      opened.ahead.clear();
    }
  }
  if (!isSmall || !opened.Holds(count)) return opened.file->ReadAt(opened.position, buffer, count);
  std::memcpy(buffer, &opened.ahead[static_cast<std::size_t>(opened.position - opened.aheadBegin)],
              static_cast<std::size_t>(count));
  return count;
}

std::size_t Read(void* handle, void* buffer, std::size_t size, std::size_t count) noexcept {
  OpenFile& opened = *AsOpenFile(handle);
  const auto wanted = CheckedMultiply(static_cast<std::int64_t>(size), static_cast<std::int64_t>(count));
  if (!wanted || *wanted <= 0) return 0;
  const std::int64_t got = ReadAtPosition(opened, buffer, *wanted);
  // A read that failed counts as the end, too: GDAL asks for no more then.
  if (got < *wanted) {
    opened.isAtEnd = true;
    ++numCutReads;
    if (got < 0 || opened.position + got < opened.file->Size()) ++numFailedReads;
  }
  if (got <= 0) return 0;
  opened.position += got;
  return static_cast<std::size_t>(got) / size;
}

int IsAtEnd(void* handle) noexcept {
  return AsOpenFile(handle)->isAtEnd ? 1 : 0;
}

struct CallbacksFree {
  void operator()(VSIFilesystemPluginCallbacksStruct* callbacks) const {
    VSIFreeFilesystemPluginCallbacksStruct(callbacks);
  }
};

/// Makes the prefix known to GDAL, once for the process. It stays, since files may be open at any time.
void Install() {
  static std::once_flag once;
  std::call_once(once, [] {
    const std::unique_ptr<VSIFilesystemPluginCallbacksStruct, CallbacksFree> callbacks(
        VSIAllocFilesystemPluginCallbacksStruct());
    callbacks->open = &Open;
    callbacks->close = &Close;
    callbacks->stat = &Stat;
    callbacks->tell = &Tell;
    callbacks->seek = &Seek;
    callbacks->read = &Read;
    callbacks->eof = &IsAtEnd;
    VSIInstallPluginHandler(kPrefix, callbacks.get());
  });
}

}  // namespace

XString PathForGdal(const XString& path) {
  Install();
  std::string name = kPrefix;
  name += path.GetAt(0) == '/' ? kAbsolute : kRelative;
  return XString(name + path.AsStdString());
}

KeptToFolder::KeptToFolder(const XString& path)
    : folder_(path.AsStdString(), 0, path.AsStdString().rfind('/') + 1), previous_(std::exchange(kept, this)) {}

/// The folder itself may be told with "..", as the caller has told it.
bool KeptToFolder::Allows(std::string_view name) const {
  if (!name.starts_with(folder_)) return false;
  name.remove_prefix(folder_.size());
  return !name.starts_with('/') && !LeadsUp(name);
}

int KeptToFolder::Open(const std::string& name, std::shared_ptr<DiskFile>& file) {
  constexpr std::size_t kMaxOpen = 16;
  for (const auto& [path, opened] : open_) {
    if (path != name) continue;
    file = opened;
    return 0;
  }
  const int error = CurrentDisk().Open(name, {}, file);
  if (error == 0 && open_.size() < kMaxOpen) open_.emplace_back(name, file);
  return error;
}

SmallReadsAhead::SmallReadsAhead() : before_(std::exchange(readsAhead, true)) {}

SmallReadsAhead::~SmallReadsAhead() {
  readsAhead = before_;
}

WatchedReads::WatchedReads() : cutBefore_(numCutReads), failedBefore_(numFailedReads) {}

bool WatchedReads::WereCut() const {
  return numCutReads > cutBefore_;
}

bool WatchedReads::HaveFailed() const {
  return numFailedReads > failedBefore_;
}

KeptToFolder::~KeptToFolder() {
  kept = previous_;
}

XString WithPathsOfDisk(XString sentence) {
  sentence.Replace(std::string(kPrefix).append(kRelative), "");
  sentence.Replace(std::string(kPrefix).append(kAbsolute), "");
  return sentence;
}

}  // namespace zrk
