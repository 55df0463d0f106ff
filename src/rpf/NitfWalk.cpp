// The header of a NITF file is text. Behind fields of fixed length come its own length, the number of image segments
// and 16 bytes for each, and five more such lists of other segments. Then comes the user-defined header, a length and
// so many bytes, the first extension of which holds the RPF header, and an extended header in the same form.

#include "rpf/NitfWalk.h"

#include "base/Checked.h"
#include "base/Cursor.h"
#include "XFile.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace zrk {

namespace {

constexpr std::int64_t kShortLayout = 354;  // where the header length stands
constexpr std::int64_t kLongLayout = 394;   // the same, behind the date of a downgrading event
constexpr std::array<std::int64_t, 6> kEntryBytes = {16, 10, 7, 9, 13, 11};
constexpr std::int64_t kBeforeRpfHeader = 5 + 3 + 6 + 5;  // length, overflow, and the extension's tag and length

class NitfWalk {
 public:
  NitfWalk(XFile* file, const unsigned char* head, int headBytes)
      : file_(file),
        head_(reinterpret_cast<const char*>(head), head && headBytes > 0 ? static_cast<std::size_t>(headBytes) : 0) {}

  bool IsLong() const { return TextAt(4, 2) == "01" || TextAt(280, 6) == "999998"; }
  /// The number that stands at the beginning of the walk.
  std::int64_t First(std::int64_t offset, std::size_t digits) {
    position_ = offset;
    return Take(offset, XFile::kBegin, digits);
  }
  /// The next number, behind `skip` bytes.
  std::int64_t Next(std::int64_t skip, std::size_t digits) {
    position_ += skip;
    return Take(skip, XFile::kCurrent, digits);
  }
  std::int64_t Position() const { return position_; }
  bool StartsSegment(std::int64_t offset) const {
    if (!FitsWithin(offset, 2, static_cast<std::int64_t>(head_.size()))) return false;
    constexpr std::array<std::string_view, 6> kMagics = {"IM", "GR", "LA", "TX", "DE", "RE"};
    return std::ranges::find(kMagics, head_.substr(static_cast<std::size_t>(offset), 2)) != kMagics.end();
  }

 private:
  bool IsInHead(std::int64_t offset, std::size_t count) const {
    return FitsWithin(offset, static_cast<std::int64_t>(count), static_cast<std::int64_t>(head_.size()));
  }
  std::string TextAt(std::int64_t offset, std::size_t count) const {
    if (IsInHead(offset, count)) return std::string(head_.substr(static_cast<std::size_t>(offset), count));
    std::string text(count, '\0');
    if (file_) file_->ReadAt(offset, text.data(), static_cast<std::int64_t>(count));
    return text;
  }
  /// A field that can't be read counts as 0. Beyond the head the step is taken from where the file stands, which is
  /// behind the head if that was all that was read so far: only a walk that never used the head finds its fields.
  std::int64_t Take(std::int64_t step, XFile::SeekOrigin origin, std::size_t digits) {
    std::string text(digits, '\0');
    if (IsInHead(position_, digits)) {
      text = head_.substr(static_cast<std::size_t>(position_), digits);
    } else if (file_ && file_->Seek(step, origin) >= 0) {
      file_->Read(text.data(), static_cast<std::int64_t>(digits));
    }
    position_ += static_cast<std::int64_t>(digits);
    return Cursor({reinterpret_cast<const unsigned char*>(text.data()), digits}).Number(digits);
  }

  XFile* file_;
  std::string_view head_;
  std::int64_t position_ = 0;
};

}  // namespace

std::int32_t FindRpfHeader(XFile* file, const unsigned char* head, int headBytes) {
  NitfWalk walk(file, head, headBytes);
  const bool isLong = walk.IsLong();
  const std::int64_t headerBytes = walk.First(isLong ? kLongLayout : kShortLayout, 6);
  std::int64_t listBytes = 0;
  for (const std::int64_t entryBytes : kEntryBytes) listBytes = walk.Next(listBytes, 3) * entryBytes;
  const std::int64_t userHeader = walk.Position() + listBytes;
  const std::int64_t userBytes = walk.Next(listBytes, 5);
  const std::int64_t extendedBytes = walk.Next(userBytes, 5);

  const std::int64_t found = userHeader + kBeforeRpfHeader;
  if (userHeader + 5 + userBytes + 5 + extendedBytes == headerBytes) return static_cast<std::int32_t>(found);
  // Some writers count the extended header wrongly; a segment that begins where the header ends proves the rest.
  if (!isLong && found < headerBytes && walk.StartsSegment(headerBytes)) return static_cast<std::int32_t>(found);
  return -1;
}

}  // namespace zrk
