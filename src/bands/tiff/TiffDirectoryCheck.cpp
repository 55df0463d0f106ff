// A directory (TIFF, Revision 6.0, section 2) is a count and so many entries. An entry has tag, type, number of values,
// and the values. If the values need more room than the entry has, it has their offset instead. Numbers have 2, 2, 4
// and 4 bytes, and in BigTIFF the last two and the count of entries have 8. Values of types that nobody knows are
// passed over.

#include "bands/tiff/TiffDirectoryCheck.h"

#include "base/Checked.h"
#include "base/Cursor.h"
#include "base/Disk.h"

#include <vector>

namespace zrk {
namespace {

/// The sizes of a directory's parts, in bytes.
struct DirectoryShape {
  explicit DirectoryShape(bool isBigTiff)
      : isBig(isBigTiff),
        countBytes(isBigTiff ? 8 : 2),
        entryBytes(isBigTiff ? 20 : 12),
        valueBytes(isBigTiff ? 8 : 4) {}

  /// Counts of values and offsets.
  std::uint64_t Number(Cursor& cursor) const { return isBig ? cursor.U64() : cursor.U32(); }

  bool isBig;
  int countBytes;
  int entryBytes;
  int valueBytes;  // that an entry itself has room for
};

/// Empty where the file ends before.
std::vector<unsigned char> ReadBytes(DiskFile& file, std::int64_t offset, std::int64_t count) {
  std::vector<unsigned char> bytes(static_cast<std::size_t>(count));
  if (offset < 0 || file.ReadAt(offset, bytes.data(), count) != count) bytes.clear();
  return bytes;
}

/// Whether the values of the next entry are in the file.
bool HoldsValues(Cursor& entries, const DirectoryShape& shape, std::int64_t fileBytes) {
  entries.U16();  // the tag
  const int width = TIFFDataWidth(static_cast<TIFFDataType>(entries.U16()));
  const auto count = static_cast<std::int64_t>(shape.Number(entries));
  const auto offset = static_cast<std::int64_t>(shape.Number(entries));
  const auto bytes = CheckedMultiply(count, width);
  if (!bytes || *bytes < 0) return false;
  return *bytes <= shape.valueBytes || FitsWithin(offset, *bytes, fileBytes);
}

}  // namespace

/// Directories have far fewer entries than 16 bits can count, in BigTIFF too.
bool HoldsTiffDirectory(TIFF* tiff, DiskFile& file) {
  constexpr std::uint64_t kMaxEntries = UINT16_MAX;
  const DirectoryShape shape(TIFFIsBigTIFF(tiff) != 0);
  const ByteOrder order = TIFFIsBigEndian(tiff) ? ByteOrder::kBig : ByteOrder::kLittle;
  const auto offset = static_cast<std::int64_t>(TIFFCurrentDirOffset(tiff));
  const std::vector<unsigned char> head = ReadBytes(file, offset, shape.countBytes);
  Cursor counter(head, order);
  const std::uint64_t count = shape.isBig ? counter.U64() : counter.U16();
  if (counter.HasFailed() || count > kMaxEntries) return false;
  const std::vector<unsigned char> bytes =
      ReadBytes(file, offset + shape.countBytes, static_cast<std::int64_t>(count) * shape.entryBytes);
  if (bytes.empty()) return count == 0;
  const std::int64_t fileBytes = file.Size();
  Cursor entries(bytes, order);
  for (std::uint64_t i = 0; i < count; ++i) {
    if (!HoldsValues(entries, shape, fileBytes)) return false;
  }
  return true;
}

}  // namespace zrk
