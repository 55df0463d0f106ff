// The header of the Raster Product Format stands in the user-defined data of a NITF header. It begins with a byte for
// the order of bytes, a length of 2 bytes, and the name of the file in 12 bytes. The offset of the location section, 4
// bytes, stands 44 bytes from its beginning. That lists what the file holds, from which a table of contents is told.

#include "rpf/FrameName.h"

#include "core/load/FirstBytes.h"
#include "rpf/NitfWalk.h"
#include "rpf/RpfBlocks.h"
#include "XPath.h"

#include <optional>

namespace zrk {
namespace {

constexpr std::size_t kHeaderBytes = 48, kNameOffset = 3, kNameBytes = 12, kLocationOffset = 44;

/// So many bytes of the head; nothing where it does not hold them all.
std::optional<FileHead> BytesAt(FileHead head, std::int64_t offset, std::size_t count) {
  const auto size = static_cast<std::int64_t>(head.size());
  if (offset < 0 || offset > size || static_cast<std::int64_t>(count) > size - offset) return std::nullopt;
  return head.subspan(static_cast<std::size_t>(offset), count);
}

/// Whether the location section lists the boundary rectangles that only a table of contents has. One that lies behind
/// the head is that of a frame, whose image comes before it.
bool ListsBoundaries(FileHead head, std::int64_t section, bool isLittleEndian) {
  constexpr std::size_t kSectionBytes = 14;
  constexpr int kBoundarySubheader = 0x94;
  const auto location = BytesAt(head, section, kSectionBytes);
  if (!location) return false;
  RpfFields fields(location->subspan(2), isLittleEndian);
  const std::int64_t table = section + fields.U32();
  const std::int64_t numRecords = fields.U16();
  const std::int64_t recordBytes = fields.U16();
  for (std::int64_t i = 0; i < numRecords; ++i) {
    const auto id = BytesAt(head, table + i * recordBytes, 2);
    if (!id) return false;
    if (RpfFields(*id, isLittleEndian).U16() == kBoundarySubheader) return true;
  }
  return false;
}

XString ExtensionOf(FileHead name) {
  const std::string_view padded = TextOf(name);
  const std::size_t end = padded.find_last_not_of(std::string_view(" \0", 2)) + 1;
  XString ext = XfnGetFileExt(std::string(padded.substr(0, end)));
  ext.MakeUpper();
  return ext;
}

}  // namespace

bool MayBeFrame(FileHead head) {
  return StartsWith(head, "NITF");
}

XString FindProductExtension(FileHead head) {
  if (!MayBeFrame(head)) return "";
  const std::int32_t found = FindRpfHeader(nullptr, head.data(), static_cast<int>(head.size()));
  const auto header = found < 0 ? std::nullopt : BytesAt(head, found, kHeaderBytes);
  if (!header) return "";
  const bool isLittleEndian = (*header)[0] == 0xFF;
  const std::int64_t location = RpfFields(header->subspan(kLocationOffset), isLittleEndian).U32();
  if (ListsBoundaries(head, location, isLittleEndian)) return "";
  return ExtensionOf(header->subspan(kNameOffset, kNameBytes));
}

}  // namespace zrk
