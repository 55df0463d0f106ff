#pragma once

#include "XString.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <mutex>

#include <tiffio.h>

namespace zrk {

class DiskFile;

/// What libtiff had to say of a file. The handles of a file share one object, on any threads. Only the last message is
/// kept, and the first one since the last `Watch`.
class TiffMessages {
 public:
  TiffMessages() = default;
  /// For one handle of a file, whose messages `ofFile` gets as well.
  explicit TiffMessages(std::shared_ptr<TiffMessages> ofFile) : ofFile_(std::move(ofFile)) {}

  void Note(const char* format, std::va_list arguments) noexcept;
  XString GetLast() const;
  /// Begins to look out for messages that tell of damage: all but those about old ways to write a file.
  void Watch() noexcept;
  /// Whether there was one. The first is in `text`.
  bool HasDamage(XString& text) const;
  /// How many there were.
  std::int64_t CountDamage() const { return numDamages_; }

 private:
  mutable std::mutex mutex_;
  XString last_;
  XString damage_;
  bool hasDamage_ = false;
  std::atomic<std::int64_t> numDamages_ = 0;
  std::shared_ptr<TiffMessages> ofFile_;
};

struct TiffOptionsFree {
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
using TiffOptions = std::unique_ptr<TIFFOpenOptions, TiffOptionsFree>;
/// libtiff's options for a file whose messages go to `messages`, which must outlive the file. Returns null where memory
/// ran out.
TiffOptions MakeTiffOptions(TiffMessages& messages);

/// Makes the tags of GeoTIFF known to libtiff, for files that are opened from then on.
void KnowGeoTags();

/// A handle of libtiff over an open file, for reading. Tags of GeoTIFF are known to it. For one thread at a time.
///
/// Strips are those of the file, with one exception. A bilevel image in one strip without compression is cut into
/// strips of some 8,192 bytes, as libtiff does by itself. Tables of blocks are read as they are needed. Nothing is
/// mapped: a file that is cut while it is read is an error and not a signal.
class TiffHandle {
 public:
  /// Enough for the tables of any sound directory. A handle that decodes needs room for its blocks beside it.
  static constexpr std::int64_t kTableBytes = std::int64_t{64} << 20;

  /// Opens the first directory. Returns null where that fails, with the reason in `messages`. `name` is what
  /// `TIFFFileName` answers. libtiff gets no piece of memory of more than `mostBytes`.
  static std::unique_ptr<TiffHandle> Open(std::shared_ptr<DiskFile> file, const XString& name,
                                          std::shared_ptr<TiffMessages> messages, std::int64_t mostBytes);
  ~TiffHandle();
  TiffHandle(const TiffHandle&) = delete;
  TiffHandle& operator=(const TiffHandle&) = delete;

  TIFF* Get() const { return tiff_; }

 private:
  TiffHandle(std::shared_ptr<DiskFile> file, std::shared_ptr<TiffMessages> messages);
  void OpenAs(const char* mode, const XString& name, TIFFOpenOptions* options);

  static tmsize_t Read(thandle_t self, void* buffer, tmsize_t count);
  static tmsize_t Write(thandle_t self, void* buffer, tmsize_t count);
  static toff_t Seek(thandle_t self, toff_t offset, int origin);
  static int Close(thandle_t self);
  static toff_t Size(thandle_t self);
  static int Map(thandle_t self, void** base, toff_t* size);
  static void Unmap(thandle_t self, void* base, toff_t size);

  std::shared_ptr<DiskFile> file_;
  std::shared_ptr<TiffMessages> messages_;
  std::int64_t position_ = 0;
  TIFF* tiff_ = nullptr;
};

}  // namespace zrk
