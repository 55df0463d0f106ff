// Boxes of the JPEG 2000 file format, ISO/IEC 15444-1, annex I. A box begins with its length in four bytes and its type
// in four characters. A length of 1 says that eight bytes with the length follow. A length of 0 says that the box
// reaches to the end of the file. Lengths count the head of the box. The data of a `uuid` box begins with 16 bytes that
// identify it. Some boxes hold nothing but boxes. All numbers are big-endian.
//
// Lengths lead from one box to the next, so a length that is shorter than the head ends the walk. A box that is longer
// than the box or file around it is cut to that, because most damaged files are files that were cut short.

#include "bands/jp2/Jp2Walk.h"

#include "base/Cursor.h"
#include "base/Disk.h"
#include "XLimits.h"

#include <algorithm>
#include <cctype>

namespace zrk {
namespace {

constexpr std::size_t kMaxBoxes = 16384;
constexpr std::int64_t kHeadBytes = 32;  // the longest: two lengths, a type and an identifier

/// The boxes that hold nothing but boxes.
constexpr std::uint32_t kOuterBoxes[] = {kBoxHeader,      kBoxAssociation, kBoxResolution,
                                         BoxType("uinf"), BoxType("jpch"), BoxType("jplh")};

bool HoldsBoxes(std::uint32_t type) {
  return std::ranges::any_of(kOuterBoxes, [type](std::uint32_t outer) { return IsSameType(type, outer); });
}

/// A walk through all boxes of a file, down into those that hold boxes.
class Walker {
 public:
  Walker(DiskFile& file, std::vector<Jp2Box>& boxes) : file_(file), boxes_(boxes) {}

  /// The boxes between two offsets. Those of a box follow it at once.
  int Walk(std::int64_t offset, std::int64_t end, int depth, XString& err) {
    if (depth > XfnGetLimits().nestingDepth) {
      err = "The boxes of the file are nested too deeply";
      return 0;
    }
    while (offset < end) {
      std::optional<Jp2Box> box;
      if (!ReadHead(offset, end, box)) {
        err = "The disk fails within the boxes of the file";
        return 0;
      }
      if (!box || box->type == 0) return 1;
      if (boxes_.size() >= kMaxBoxes) {
        err = "The file has too many boxes";
        return 0;
      }
      box->depth = depth;
      boxes_.push_back(*box);
      if (HoldsBoxes(box->type) && !Walk(box->dataOffset, box->GetEnd(), depth + 1, err)) return 0;
      offset = box->GetEnd();
    }
    return 1;
  }

 private:
  bool ReadHead(std::int64_t offset, std::int64_t end, std::optional<Jp2Box>& box) {
    unsigned char bytes[kHeadBytes] = {};
    const std::int64_t count = std::min(kHeadBytes, end - offset);
    if (file_.ReadAt(offset, bytes, count) != count) return false;
    box = ParseBoxHead(std::span(bytes).first(static_cast<std::size_t>(count)), offset, end);
    return true;
  }

  DiskFile& file_;
  std::vector<Jp2Box>& boxes_;
};

}  // namespace

std::optional<Jp2Box> ParseBoxHead(std::span<const unsigned char> bytes, std::int64_t offset, std::int64_t end) {
  Cursor cursor(bytes);
  Jp2Box box;
  box.offset = offset;
  std::uint64_t length = cursor.U32BE();
  box.type = cursor.U32BE();
  const bool isToEnd = length == 0;
  if (length == 1) length = cursor.U64BE();
  const std::size_t headBytes = cursor.Position();
  if (cursor.HasFailed() || (!isToEnd && length < headBytes)) return std::nullopt;
  const auto available = static_cast<std::uint64_t>(end - offset);
  box.isCut = !isToEnd && length > available;
  box.numBytes = isToEnd || box.isCut ? end - offset : static_cast<std::int64_t>(length);
  box.dataOffset = offset + static_cast<std::int64_t>(headBytes);
  // A box that is too short for its identifier has none, and the boxes behind it count all the same.
  const bool hasIdentifier = box.numBytes >= static_cast<std::int64_t>(headBytes + box.uuid.size());
  if (IsSameType(box.type, kBoxUuid) && hasIdentifier) {
    const std::span<const unsigned char> uuid = cursor.Bytes(box.uuid.size());
    if (cursor.HasFailed()) return std::nullopt;
    std::ranges::copy(uuid, box.uuid.begin());
    box.dataOffset += std::ssize(box.uuid);
  }
  return box;
}

bool IsSameType(std::uint32_t type, std::uint32_t other) {
  for (int shift = 0; shift < 32; shift += 8) {
    if (std::tolower(static_cast<int>(type >> shift & 0xFF)) != std::tolower(static_cast<int>(other >> shift & 0xFF))) {
      return false;
    }
  }
  return true;
}

int WalkBoxes(DiskFile& file, std::vector<Jp2Box>& boxes, XString& err) {
  boxes.clear();
  return Walker(file, boxes).Walk(0, file.Size(), 0, err);
}

std::size_t EndOfBox(std::span<const Jp2Box> boxes, std::size_t box) {
  std::size_t end = box + 1;
  while (end < boxes.size() && boxes[end].depth > boxes[box].depth) ++end;
  return end;
}

const Jp2Box* FindBox(std::span<const Jp2Box> boxes, std::uint32_t type, const Jp2Box* within) {
  const std::size_t place = within ? static_cast<std::size_t>(within - boxes.data()) : 0;
  const std::size_t first = within ? place + 1 : 0, end = within ? EndOfBox(boxes, place) : boxes.size();
  const int depth = within ? within->depth + 1 : 0;
  for (std::size_t i = first; i < end; ++i) {
    if (IsSameType(boxes[i].type, type) && boxes[i].depth == depth) return &boxes[i];
  }
  return nullptr;
}

std::optional<std::vector<unsigned char>> ReadBoxData(DiskFile& file, const Jp2Box& box, std::int64_t most) {
  if (box.CountDataBytes() > most) return std::vector<unsigned char>();
  std::vector<unsigned char> data(static_cast<std::size_t>(box.CountDataBytes()));
  if (file.ReadAt(box.dataOffset, data.data(), std::ssize(data)) != std::ssize(data)) return std::nullopt;
  return data;
}

std::optional<std::string> ReadBoxText(DiskFile& file, const Jp2Box& box, std::int64_t most) {
  const std::optional<std::vector<unsigned char>> data = ReadBoxData(file, box, most);
  if (!data) return std::nullopt;
  return std::string(data->begin(), std::ranges::find(*data, static_cast<unsigned char>(0)));
}

XString NameBox(std::uint32_t type) {
  std::string name;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto character = static_cast<unsigned char>(type >> shift);
    name += std::isprint(character) ? static_cast<char>(character) : '.';
  }
  return XString(name);
}

XString NameUuid(const BoxUuid& uuid) {
  if (uuid == kGeoJp2Uuid) return "GeoJP2";
  if (uuid == kMsigUuid) return "MSIG";
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string name;
  for (const unsigned char byte : uuid) {
    name += kDigits[byte >> 4];
    name += kDigits[byte & 15];
  }
  return XString(name);
}

}  // namespace zrk
