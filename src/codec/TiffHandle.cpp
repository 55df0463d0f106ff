// A libtiff handle that reads through a file of ours. libtiff calls the functions below for every read, seek and size,
// with the handle's own offset in the file. Writing and mapping are refused, the latter because a file that is cut
// while it is read must be an error and not a signal. Messages go to a record that all handles of a file share, and
// never to stderr. TIFF files are written elsewhere, through TiffOutput.h.

#include "codec/TiffHandle.h"

#include "base/Checked.h"
#include "base/Disk.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string_view>
#include <utility>

#include <xtiffio.h>

namespace zrk {
namespace {

/// r: for reading. O: the tables of blocks are read entry by entry, as they are asked for. m: nothing is mapped. c:
/// strips are not cut into smaller ones.
constexpr const char* kMode = "rOmc";
constexpr const char* kCuttingMode = "rOm";

/// Whether the open directory is a bilevel image in one strip without compression. libtiff cuts a large strip into
/// strips of some 8,192 bytes, unless it is told otherwise. Readers of such images rely on that: of a tall strip that
/// is left whole they take the first row alone.
bool IsBilevelStrip(TIFF* tiff) {
  std::uint16_t bits = 1, samples = 1, compression = COMPRESSION_NONE;
  TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetField(tiff, TIFFTAG_COMPRESSION, &compression);
  return bits == 1 && samples == 1 && compression == COMPRESSION_NONE && !TIFFIsTiled(tiff) &&
         TIFFNumberOfStrips(tiff) == 1;
}

/// Codes that are no longer written, and are decoded as well as others.
bool IsAboutStyle(std::string_view text) {
  return text.starts_with("Old-style LZW codes") || text.starts_with("Deprecated and troublesome old-style JPEG");
}

/// An answer other than 0 keeps the message from libtiff's own handlers, which print.
int OnMessage(TIFF*, void* messages, const char*, const char* format, std::va_list arguments) {
  static_cast<TiffMessages*>(messages)->Note(format, arguments);
  return 1;
}

}  // namespace

void KnowGeoTags() {
  static std::once_flag once;
  std::call_once(once, [] { XTIFFInitialize(); });
}

TiffOptions MakeTiffOptions(TiffMessages& messages) {
  TiffOptions options(TIFFOpenOptionsAlloc());
  if (!options) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &OnMessage, &messages);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &OnMessage, &messages);
  return options;
}

void TiffMessages::Note(const char* format, std::va_list arguments) noexcept {
  if (ofFile_) {
    std::va_list again;
    va_copy(again, arguments);
    ofFile_->Note(format, again);
    va_end(again);
  }
  char text[512];
  std::vsnprintf(text, sizeof text, format, arguments);
  if (!IsAboutStyle(text)) ++numDamages_;
  const std::lock_guard lock(mutex_);
  try {
    last_ = text;
    if (!hasDamage_ && !IsAboutStyle(text)) {
      hasDamage_ = true;
      damage_ = text;
    }
  } catch (const std::exception&) {
    // Without memory for the sentence the one before stays.
  }
}

void TiffMessages::Watch() noexcept {
  const std::lock_guard lock(mutex_);
  hasDamage_ = false;
  damage_.Empty();
}

bool TiffMessages::HasDamage(XString& text) const {
  const std::lock_guard lock(mutex_);
  if (hasDamage_) text = damage_;
  return hasDamage_;
}

XString TiffMessages::GetLast() const {
  const std::lock_guard lock(mutex_);
  return last_;
}

TiffHandle::TiffHandle(std::shared_ptr<DiskFile> file, std::shared_ptr<TiffMessages> messages)
    : file_(std::move(file)), messages_(std::move(messages)) {}

TiffHandle::~TiffHandle() {
  if (tiff_) XTIFFClose(tiff_);
}

std::unique_ptr<TiffHandle> TiffHandle::Open(std::shared_ptr<DiskFile> file, const XString& name,
                                             std::shared_ptr<TiffMessages> messages, std::int64_t mostBytes) {
  KnowGeoTags();
  const TiffOptions options = MakeTiffOptions(*messages);
  if (!options) return nullptr;
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), mostBytes);
  std::unique_ptr<TiffHandle> handle(new TiffHandle(std::move(file), std::move(messages)));
  handle->OpenAs(kMode, name, options.get());
  if (handle->tiff_ && IsBilevelStrip(handle->tiff_)) {
    XTIFFClose(handle->tiff_);
    handle->OpenAs(kCuttingMode, name, options.get());
  }
  return handle->tiff_ ? std::move(handle) : nullptr;
}

void TiffHandle::OpenAs(const char* mode, const XString& name, TIFFOpenOptions* options) {
  position_ = 0;
  tiff_ = TIFFClientOpenExt(name.GetText(), mode, this, &Read, &Write, &Seek, &Close, &Size, &Map, &Unmap, options);
}

// libtiff is C and calls the functions below, so nothing may be thrown out of them.

tmsize_t TiffHandle::Read(thandle_t self, void* buffer, tmsize_t count) {
  TiffHandle& handle = *static_cast<TiffHandle*>(self);
  if (count <= 0) return 0;
  const std::int64_t got = handle.file_->ReadAt(handle.position_, buffer, count);
  if (got > 0) handle.position_ += got;
  return static_cast<tmsize_t>(std::max<std::int64_t>(got, 0));
}

tmsize_t TiffHandle::Write(thandle_t, void*, tmsize_t) {
  return 0;
}

toff_t TiffHandle::Seek(thandle_t self, toff_t offset, int origin) {
  TiffHandle& handle = *static_cast<TiffHandle*>(self);
  const std::int64_t base = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? handle.position_ : handle.file_->Size();
  // libtiff hands offsets as unsigned numbers. A step back comes as a huge one, and is negative again here.
  const auto target = CheckedAdd(base, static_cast<std::int64_t>(offset));
  if (base < 0 || !target || *target < 0) return static_cast<toff_t>(-1);
  handle.position_ = *target;
  return static_cast<toff_t>(*target);
}

int TiffHandle::Close(thandle_t) {
  return 0;
}

toff_t TiffHandle::Size(thandle_t self) {
  return static_cast<toff_t>(std::max<std::int64_t>(static_cast<TiffHandle*>(self)->file_->Size(), 0));
}

int TiffHandle::Map(thandle_t, void**, toff_t*) {
  return 0;
}

void TiffHandle::Unmap(thandle_t, void*, toff_t) {}

}  // namespace zrk
